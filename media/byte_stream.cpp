#include "media/byte_stream.h"

#include "media/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace qzil::media {

namespace {

constexpr std::size_t kBufferBytes = std::size_t{1} << 12;
constexpr int kPipeBytes = 1 << 20;
/// A picture within the limits never needs more, and a device that never ends must not fill the memory.
constexpr std::size_t kMaxFileBytes = std::size_t{1} << 32;

/// A file of the system; those of the standard streams stay open.
class Descriptor {
public:
    explicit Descriptor(int number, bool owned) : m_iNumber(number), m_bOwned(owned) {
        if (number < 0) throw SystemFault(errno);
            // Fewer switches between the two ends. A system that refuses it is merely slower.
#ifdef F_SETPIPE_SZ
        fcntl(number, F_SETPIPE_SZ, kPipeBytes);
#endif
    }
    ~Descriptor() {
        if (m_bOwned) close(m_iNumber);
    }
    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;
    int Number() const {
        return m_iNumber;
    }

private:
    int m_iNumber;
    bool m_bOwned;
};

class FileSource : public ByteSource {
public:
    FileSource(int number, bool owned) : m_oFile(number, owned) {
        struct stat status = {};
        if (fstat(number, &status) != 0) throw SystemFault(errno);
        if (!S_ISREG(status.st_mode)) return;
        // A shell may have read the start of what is now the standard input.
        m_oStart = std::max<off_t>(lseek(number, 0, SEEK_CUR), 0);
        m_oSize = static_cast<std::uint64_t>(std::max<off_t>(status.st_size - m_oStart, 0));
    }
    std::size_t Read(std::span<unsigned char> bytes) override {
        auto const got = read(m_oFile.Number(), bytes.data(), bytes.size());
        if (got < 0) throw SystemFault(errno);
        return static_cast<std::size_t>(got);
    }
    std::uint64_t Skip(std::uint64_t count) override {
        off_t const place = m_oSize ? lseek(m_oFile.Number(), 0, SEEK_CUR) - m_oStart : -1;
        if (place < 0 || static_cast<std::uint64_t>(place) >= *m_oSize) return 0;
        std::uint64_t const step = std::min(count, *m_oSize - static_cast<std::uint64_t>(place));
        return lseek(m_oFile.Number(), static_cast<off_t>(step), SEEK_CUR) < 0 ? 0 : step;
    }
    std::optional<std::uint64_t> Size() const override { return m_oSize; }
    std::size_t ReadAt(std::uint64_t place, std::span<unsigned char> bytes) override {
        std::size_t filled = 0;
        while (filled < bytes.size()) {
            auto const got = pread(m_oFile.Number(), bytes.data() + filled, bytes.size() - filled,
                                   m_oStart + static_cast<off_t>(place + filled));
            if (got < 0) throw SystemFault(errno);
            if (got == 0) break;
            filled += static_cast<std::size_t>(got);
        }
        return filled;
    }

private:
    Descriptor m_oFile;
    off_t m_oStart = 0;
    std::optional<std::uint64_t> m_oSize;
};

class MemorySource : public ByteSource {
public:
    explicit MemorySource(ByteView bytes) : m_oWhole(bytes), m_oRest(bytes) {}
    std::size_t Read(std::span<unsigned char> bytes) override {
        std::size_t const count = std::min(bytes.size(), m_oRest.size());
        std::copy_n(m_oRest.begin(), count, bytes.begin());
        m_oRest = m_oRest.subspan(count);
        return count;
    }
    std::optional<std::uint64_t> Size() const override { return m_oWhole.size(); }
    std::size_t ReadAt(std::uint64_t place, std::span<unsigned char> bytes) override {
        ByteView const rest =
            m_oWhole.subspan(static_cast<std::size_t>(std::min<std::uint64_t>(place, m_oWhole.size())));
        std::size_t const count = std::min(bytes.size(), rest.size());
        std::copy_n(rest.begin(), count, bytes.begin());
        return count;
    }

private:
    ByteView m_oWhole;
    ByteView m_oRest;
};

class PipeOutput : public OutputStream {
public:
    PipeOutput(int number, bool owned) : m_oFile(number, owned) {}
    void Write(ByteView bytes) override {
        while (!bytes.empty()) {
            auto const done = write(m_oFile.Number(), bytes.data(), bytes.size());
            if (done < 0 && errno == EPIPE) throw Fault("its reader has closed the pipe");
            if (done < 0) throw SystemFault(errno);
            bytes = bytes.subspan(static_cast<std::size_t>(done));
        }
    }
    void Finish() override {}

private:
    Descriptor m_oFile;
};

class FileOutput : public OutputStream {
public:
    FileOutput(std::string const& path, bool keepOld) : m_oFile(path, keepOld) {}
    void Write(ByteView bytes) override { m_oFile.Write(bytes); }
    void Finish() override { m_oFile.Keep(); }

private:
    TemporaryFile m_oFile;
};

}  // namespace

InputStream::InputStream(std::unique_ptr<ByteSource> source) : m_pSource(std::move(source)), m_oBuffer(kBufferBytes) {
}

InputStream InputStream::Open(std::string const& path) {
    bool const standard = path == "-";
    int const number = standard ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    return InputStream(std::make_unique<FileSource>(number, !standard));
}

InputStream InputStream::OfMemory(ByteView bytes) {
    return InputStream(std::make_unique<MemorySource>(bytes));
}

/// Puts more bytes behind those of the buffer; false at the end of the stream or with a full buffer.
bool InputStream::Fill() {
    std::copy(m_oBuffer.begin() + static_cast<std::ptrdiff_t>(m_uFirst),
              m_oBuffer.begin() + static_cast<std::ptrdiff_t>(m_uLast), m_oBuffer.begin());
    m_uLast -= std::exchange(m_uFirst, 0);
    if (m_uLast == m_oBuffer.size()) return false;
    std::size_t const got = m_pSource->Read(std::span(m_oBuffer).subspan(m_uLast));
    m_uLast += got;
    return got != 0;
}

ByteView InputStream::Peek(std::size_t count) {
    while (Buffered().size() < count && Fill()) {
    }
    return Buffered().first(std::min(count, Buffered().size()));
}

std::optional<std::string> InputStream::ReadLine(std::size_t longest, std::string const& what) {
    std::string line;
    for (;;) {
        if (Buffered().empty() && !Fill()) {
            if (line.empty()) return {};
            throw Fault(what + " ends early");
        }
        ByteView const bytes = Buffered();
        auto const end = std::find(bytes.begin(), bytes.end(), '\n');
        line.append(bytes.begin(), end);
        if (line.size() > longest) {
            throw Fault(what + " is longer than " + std::to_string(longest) + " bytes");
        }
        m_uFirst += static_cast<std::size_t>(end - bytes.begin());
        if (end == bytes.end()) continue;
        ++m_uFirst;
        return line;
    }
}

std::size_t InputStream::TakeBuffered(std::span<unsigned char> bytes) {
    std::size_t const count = std::min(bytes.size(), Buffered().size());
    std::copy_n(Buffered().begin(), count, bytes.begin());
    m_uFirst += count;
    return count;
}

std::size_t InputStream::Read(std::span<unsigned char> bytes) {
    std::size_t filled = TakeBuffered(bytes);
    while (filled < bytes.size()) {
        std::size_t const got = m_pSource->Read(bytes.subspan(filled));
        if (got == 0) break;
        filled += got;
    }
    return filled;
}

std::uint64_t InputStream::Skip(std::uint64_t count) {
    std::uint64_t skipped = std::min<std::uint64_t>(count, Buffered().size());
    m_uFirst += static_cast<std::size_t>(skipped);
    if (skipped < count) skipped += m_pSource->Skip(count - skipped);
    while (skipped < count && (!Buffered().empty() || Fill())) {
        auto const step = std::min<std::uint64_t>(count - skipped, Buffered().size());
        m_uFirst += static_cast<std::size_t>(step);
        skipped += step;
    }
    return skipped;
}

Bytes InputStream::ReadRest() {
    Bytes content;
    std::size_t filled = 0;
    for (;;) {
        if (filled == content.size()) content.resize(filled + filled / 2 + (std::size_t{1} << 20));
        std::size_t const got = Read(std::span(content).subspan(filled));
        filled += got;
        if (filled < content.size()) break;
        if (filled > kMaxFileBytes) throw Fault("the file is larger than 4 GiB");
    }
    content.resize(filled);
    return content;
}

std::unique_ptr<OutputStream> OutputStream::Open(std::string const& path, bool keepOld) {
    if (path == "-") return std::make_unique<PipeOutput>(STDOUT_FILENO, false);
    // A shell may have sent /dev/stdout to a file, which is the shell's to replace.
    struct stat status = {};
    bool const pipe = stat(path.c_str(), &status) == 0 &&
                      (S_ISFIFO(status.st_mode) || S_ISCHR(status.st_mode) || path.starts_with("/dev/"));
    if (pipe) return std::make_unique<PipeOutput>(open(path.c_str(), O_WRONLY | O_CLOEXEC), true);
    return std::make_unique<FileOutput>(path, keepOld);
}

}  // namespace qzil::media
