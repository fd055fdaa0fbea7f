#pragma once

#include "media/source.h"

#include <memory>
#include <string>

namespace qzil::command {

/// Whether a file holds a video of a kind that ffmpeg reads and this command does not.
bool IsForeignVideo(std::string const& path);
/// Whether a name ends as those of such videos do.
bool IsForeignVideoPath(std::string const& path);

/// Starts ffmpeg, which sends the video as y4m. Throws Failure, which tells what to do where there is no ffmpeg.
media::Source OpenForeignVideo(std::string const& path);

/// ffmpeg that writes a video of what is written to Path() as y4m. The file appears when that is finished.
class Encoder {
public:
    /// `options` are those of the output; sound is copied from `sound` unless that is empty. Throws Failure.
    Encoder(std::string const& path, std::string const& options, std::string const& sound, bool keepOld);
    /// Ends ffmpeg, when Finish was not called, and leaves nothing behind.
    ~Encoder();
    Encoder(Encoder const&) = delete;
    Encoder& operator=(Encoder const&) = delete;

    /// What the video is to be written to.
    std::string Path() const;
    /// Waits for the end of ffmpeg and puts the file in its place. Throws Failure with ffmpeg's last sentence.
    void Finish();

private:
    struct Process;
    std::unique_ptr<Process> m_pProcess;
};

/// Waits for the readers that were started; throws Failure when one of them failed.
void CheckForeignVideos();

}  // namespace qzil::command
