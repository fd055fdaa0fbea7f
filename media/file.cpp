#include "media/file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <utility>

namespace qzil::media {

namespace fs = std::filesystem;

namespace {

/// A picture within the limits never needs more, and a device that never ends must not fill the memory.
constexpr std::size_t kMaxFileBytes = std::size_t{1} << 32;

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

Fault SystemFault(int error) {
    return Fault(error != 0 ? std::strerror(error) : "the system gives no reason");
}

/// A new file that vanishes unless it is kept.
class TemporaryFile {
public:
    explicit TemporaryFile(fs::path const& target) {
        for (int attempt = 0; attempt < 1000; ++attempt) {
            m_oPath = target;
            m_oPath += ".part" + std::to_string(attempt);
            m_oFile.reset(std::fopen(m_oPath.c_str(), "wbx"));
            if (m_oFile) return;
            if (errno != EEXIST) break;
        }
        throw SystemFault(errno);
    }
    ~TemporaryFile() {
        if (m_bKept) return;
        m_oFile.reset();
        std::error_code ignored;
        fs::remove(m_oPath, ignored);
    }
    TemporaryFile(TemporaryFile const&) = delete;
    TemporaryFile& operator=(TemporaryFile const&) = delete;

    void Write(ByteView content) {
        if (std::fwrite(content.data(), 1, content.size(), m_oFile.get()) != content.size()) throw SystemFault(errno);
        // Closing writes what is buffered, so a full disk may show only here.
        if (std::fclose(m_oFile.release()) != 0) throw SystemFault(errno);
    }

    void MoveTo(fs::path const& target) {
        std::error_code error;
        fs::rename(m_oPath, target, error);
        if (error) throw Fault(error.message());
        m_bKept = true;
    }

private:
    fs::path m_oPath;
    File m_oFile;
    bool m_bKept = false;
};

}  // namespace

Bytes ReadWholeFile(std::string const& path) {
    errno = 0;
    File const file(std::fopen(path.c_str(), "rb"));
    if (!file) throw SystemFault(errno);
    Bytes content;
    std::size_t filled = 0;
    for (;;) {
        if (filled == content.size()) content.resize(filled + filled / 2 + (std::size_t{1} << 20));
        std::size_t const got = std::fread(content.data() + filled, 1, content.size() - filled, file.get());
        filled += got;
        if (std::ferror(file.get())) throw SystemFault(errno);
        if (got == 0) break;
        if (filled > kMaxFileBytes) throw Fault("the file is larger than 4 GiB");
    }
    content.resize(filled);
    return content;
}

void ReplaceFile(std::string const& path, ByteView content) {
    std::error_code error;
    // A link is followed, so that the file it names is replaced and not the link.
    fs::path target = fs::weakly_canonical(path, error);
    if (error) target = path;
    // A directory cannot be replaced, and a device must not be.
    if (fs::exists(target, error) && !fs::is_regular_file(target, error)) throw Fault("it is not a regular file");
    TemporaryFile temporary(target);
    temporary.Write(content);
    temporary.MoveTo(target);
}

}  // namespace qzil::media
