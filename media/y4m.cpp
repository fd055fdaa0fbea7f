#include "media/y4m.h"

#include "media/file.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace qzil::media {

namespace {

constexpr std::size_t kLongestLine = 4096;
/// Memory that a header alone may claim; beyond it memory is taken as the bytes arrive.
constexpr std::size_t kTrustedBytes = std::size_t{1} << 26;
constexpr char kMagic[] = "YUV4MPEG2";

ByteView BytesOf(std::string const& text) {
    return {reinterpret_cast<unsigned char const*>(text.data()), text.size()};
}

}  // namespace

bool Y4mReader::IsY4m(InputStream& stream) {
    ByteView const start = stream.Peek(sizeof kMagic - 1);
    return start.size() == sizeof kMagic - 1 && std::memcmp(start.data(), kMagic, start.size()) == 0;
}

Y4mReader::Y4mReader(InputStream stream, std::string name) : m_oStream(std::move(stream)), m_sName(std::move(name)) {
    NamingFile("read", m_sName, [&] {
        auto const line = m_oStream.ReadLine(kLongestLine, "the header of the video");
        m_oHeader = ParseY4mHeader(line.value_or(""));
    });
}

bool Y4mReader::ReadFrameLine(std::string& parameters) {
    std::string const name = "the header of frame " + std::to_string(m_iFrames + 1);
    auto const line = m_oStream.ReadLine(kLongestLine, name);
    if (!line) return false;
    constexpr std::string_view kWord = "FRAME";
    std::string_view const rest = std::string_view(*line).substr(std::min(kWord.size(), line->size()));
    if (!line->starts_with(kWord) || (!rest.empty() && rest[0] != ' ')) throw Fault(name + " is damaged");
    parameters = rest;
    return true;
}

void Y4mReader::RequireWhole(std::uint64_t bytes) const {
    if (bytes == m_oHeader.FrameBytes()) return;
    throw Fault("frame " + std::to_string(m_iFrames + 1) + " ends early, after " + std::to_string(bytes) + " of " +
                std::to_string(m_oHeader.FrameBytes()) + " bytes");
}

bool Y4mReader::Read(Y4mFrame& frame) {
    return NamingFile("read", m_sName, [&] {
        if (!ReadFrameLine(frame.sParameters)) return false;
        std::size_t const whole = m_oHeader.FrameBytes();
        std::size_t filled = 0;
        while (filled < whole) {
            std::size_t const next = std::min(whole, std::max({frame.oBytes.capacity(), 2 * filled, kTrustedBytes}));
            frame.oBytes.resize(next);
            filled += m_oStream.Read(std::span(frame.oBytes).subspan(filled));
            if (filled < next) break;
        }
        RequireWhole(filled);
        ++m_iFrames;
        return true;
    });
}

bool Y4mReader::Skip() {
    return NamingFile("read", m_sName, [&] {
        std::string parameters;
        if (!ReadFrameLine(parameters)) return false;
        RequireWhole(m_oStream.Skip(m_oHeader.FrameBytes()));
        ++m_iFrames;
        return true;
    });
}

long long CountFrames(std::string const& path) {
    Y4mReader reader(NamingFile("read", path, [&] { return InputStream::Open(path); }), path);
    while (reader.Skip()) {
    }
    return reader.Frames();
}

Y4mWriter::Y4mWriter(std::string path, Y4mHeader const& header, bool keepOld)
    : m_sPath(std::move(path)), m_oHeader(header) {
    NamingFile("write", m_sPath, [&] {
        m_pStream = OutputStream::Open(m_sPath, keepOld);
        m_pStream->Write(BytesOf(header.Line() + "\n"));
    });
}

void Y4mWriter::Write(Y4mFrame const& frame) {
    NamingFile("write", m_sPath, [&] {
        if (frame.oBytes.size() != m_oHeader.FrameBytes()) throw Fault("a frame does not fit the header of the video");
        m_pStream->Write(BytesOf("FRAME" + frame.sParameters + "\n"));
        m_pStream->Write(frame.oBytes);
    });
}

void Y4mWriter::Finish() {
    NamingFile("write", m_sPath, [&] { m_pStream->Finish(); });
}

}  // namespace qzil::media
