#pragma once

#include "media/byte_stream.h"
#include "media/y4m_header.h"

#include <memory>
#include <optional>
#include <string>

namespace qzil::media {

/// One frame as it stands in a stream: planes Y, Cb, Cr and alpha, as far as the layout has them, each from the top row
/// down and without padding.
struct Y4mFrame {
    std::string sParameters;  ///< what stands behind the word FRAME, with its blank
    Bytes oBytes;             ///< FrameBytes() of the header
};

/// Reads a stream frame by frame. No frame that is not there as a whole is given out. All throw MediaError, which names
/// the file.
class Y4mReader {
public:
    /// Reads the header.
    Y4mReader(InputStream stream, std::string name);

    static bool IsY4m(InputStream& stream);

    std::string const& Name() const { return m_sName; }
    Y4mHeader const& Header() const { return m_oHeader; }
    /// Frames read or left out so far.
    long long Frames() const { return m_iFrames; }
    /// Reads the next frame into one whose memory is used again; false at the end of the stream.
    bool Read(Y4mFrame& frame);
    /// Leaves out the next frame; false at the end of the stream.
    bool Skip();
    /// Whether the stream is a regular file, whose frames can be counted.
    bool IsFile() const { return m_oStream.FileSize().has_value(); }

private:
    bool ReadFrameLine(std::string& parameters);
    void RequireWhole(std::uint64_t bytes) const;

    InputStream m_oStream;
    std::string m_sName;
    Y4mHeader m_oHeader;
    long long m_iFrames = 0;
};

/// Counts the frames of a regular file. Throws MediaError as a reader of the whole file would.
long long CountFrames(std::string const& path);

/// Writes a stream to a file, a pipe, or for "-" the standard output. A file appears when it is finished. All throw
/// MediaError, which names the file.
class Y4mWriter {
public:
    Y4mWriter(std::string path, Y4mHeader const& header, bool keepOld = false);

    Y4mHeader const& Header() const { return m_oHeader; }
    void Write(Y4mFrame const& frame);
    void Finish();

private:
    std::string m_sPath;
    Y4mHeader m_oHeader;
    std::unique_ptr<OutputStream> m_pStream;
};

}  // namespace qzil::media
