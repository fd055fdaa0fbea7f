#pragma once

#include "media/codecs.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

// Bytes in and out of files and pipes, in order and in large blocks. All failures are thrown as Fault.
namespace qzil::media {

/// Where bytes come from.
class ByteSource {
public:
    virtual ~ByteSource() = default;
    /// Up to `bytes.size()` bytes; 0 only at the end.
    virtual std::size_t Read(std::span<unsigned char> bytes) = 0;
    /// Leaves out up to `count` bytes without reading them, and says how many; 0 where that is not possible.
    virtual std::uint64_t Skip(std::uint64_t) { return 0; }
    /// Bytes of a regular file, counted from where it was opened.
    virtual std::optional<std::uint64_t> Size() const { return {}; }
    /// Bytes at a place within the size, wherever the reading is. Fewer only at the end.
    virtual std::size_t ReadAt(std::uint64_t, std::span<unsigned char>) { return 0; }
};

/// A source with a look ahead. Reads of large blocks go past its buffer.
class InputStream {
public:
    /// A file, a named pipe, or the standard input for "-".
    static InputStream Open(std::string const& path);
    /// Bytes that outlive the stream.
    static InputStream OfMemory(ByteView bytes);

    /// The next bytes without taking them: `count`, at most 4096, or what is left.
    ByteView Peek(std::size_t count);
    /// The bytes before the next line end, which is taken too. Nothing at the end of the stream; a fault named `what`
    /// when the stream ends within the line or the line is longer than `longest`.
    std::optional<std::string> ReadLine(std::size_t longest, std::string const& what);
    /// Fills `bytes` unless the stream ends; says how many there were.
    std::size_t Read(std::span<unsigned char> bytes);
    /// As Read, but drops the bytes.
    std::uint64_t Skip(std::uint64_t count);
    /// Everything that is left, up to 4 GiB.
    Bytes ReadRest();
    /// Bytes of a regular file from its start; nothing for pipes.
    std::optional<std::uint64_t> FileSize() const { return m_pSource->Size(); }
    /// Bytes at a place of a stream that has a size. What has been read before makes no difference.
    std::size_t ReadAt(std::uint64_t place, std::span<unsigned char> bytes) { return m_pSource->ReadAt(place, bytes); }

private:
    explicit InputStream(std::unique_ptr<ByteSource> source);
    bool Fill();
    ByteView Buffered() const { return ByteView(m_oBuffer).subspan(m_uFirst, m_uLast - m_uFirst); }
    std::size_t TakeBuffered(std::span<unsigned char> bytes);

    std::unique_ptr<ByteSource> m_pSource;
    Bytes m_oBuffer;
    std::size_t m_uFirst = 0;
    std::size_t m_uLast = 0;
};

/// Where bytes go.
class OutputStream {
public:
    virtual ~OutputStream() = default;
    virtual void Write(ByteView bytes) = 0;
    /// Everything was written: a file takes its place now, and vanishes if this is not called.
    virtual void Finish() = 0;

    /// The standard output for "-"; a pipe or device that stands at `path`; else a new file, which with `keepOld` must
    /// not be there yet.
    static std::unique_ptr<OutputStream> Open(std::string const& path, bool keepOld = false);
};

}  // namespace qzil::media
