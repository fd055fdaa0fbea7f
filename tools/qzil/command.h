#pragma once

#include "media/picture.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <optional>
#include <stdexcept>
#include <string>

namespace qzil::command {

enum ExitCode {
    kOk = 0,
    kDifferent = 1,      ///< diff found differences
    kWrongUsage = 2,     ///< an argument is unknown, missing or out of its range
    kUnreadable = 3,     ///< an input cannot be read
    kRefused = 4,        ///< the effect refused its images or parameters, or there was not enough memory
    kUnwritable = 5,     ///< the output cannot be written
    kInterrupted = 130,  ///< as a shell reports an interrupt
};

/// Ends the command with a sentence for the user and an exit code.
struct Failure : std::runtime_error {
    Failure(ExitCode code, std::string const& sentence) : std::runtime_error(sentence), eCode(code) {}
    ExitCode eCode;
};

/// Runs a step; an error of the media layer becomes a Failure, with a word in front.
template <class Step>
auto WithCode(ExitCode code, Step step, std::string const& prefix = "") {
    try {
        return step();
    } catch (media::MediaError const& error) {
        throw Failure(code, prefix + error.what());
    }
}

/// The format of a name in capital or small letters, with or without MFIF_ in front; nothing for other texts.
std::optional<GUID> FormatNamed(std::string const& text);

/// A line on the error output about what a user may not expect, unless that is silenced.
void Note(std::string const& sentence);
void SilenceNotes();

struct FileSettings;
/// All throw Failure. Reading notes pictures that are left out.
media::Picture ReadInput(std::string const& path, FileSettings const& files);
void WriteOutput(std::string const& path, media::Picture picture, FileSettings const& files);
void NotePages(std::string const& path, media::Picture const& picture, FileSettings const& files);
/// Refuses a path that names no kind of pictures.
void CheckPicturePath(std::string const& path, std::string const& command);
/// Whether an output stands for one of each input.
bool IsPattern(std::string const& path);
/// A sample with 1.0 as full scale.
double SampleOf(media::Picture const& picture, int x, int y, int channel);
std::string SizeText(int width, int height);

// Each adds its subcommand. The subcommand runs while the arguments are parsed, and puts its exit code into `result`.
void AddList(CLI::App& app, int& result);
void AddDescribe(CLI::App& app, int& result);
void AddInfo(CLI::App& app, int& result);
void AddRun(CLI::App& app, int& result);
void AddDiff(CLI::App& app, int& result);
void AddHash(CLI::App& app, int& result);
void AddSheet(CLI::App& app, int& result);
void AddConvert(CLI::App& app, int& result);
void AddPan(CLI::App& app, int& result);
void AddPreview(CLI::App& app, int& result);
void AddComplete(CLI::App& app, int& result);

}  // namespace qzil::command
