#include "media/file.h"

#include "media/byte_stream.h"

#include <cerrno>
#include <cstring>

namespace qzil::media {

namespace fs = std::filesystem;

namespace {

/// A link is followed, so that the file it names is replaced and not the link.
fs::path TargetOf(std::string const& path) {
    std::error_code error;
    fs::path target = fs::weakly_canonical(path, error);
    if (error) target = path;
    // A directory cannot be replaced, and a device must not be.
    if (fs::exists(target, error) && !fs::is_regular_file(target, error)) throw Fault("it is not a regular file");
    return target;
}

}  // namespace

Fault SystemFault(int error) {
    return Fault(error != 0 ? std::strerror(error) : "the system gives no reason");
}

std::string NameOf(std::string const& path, bool input) {
    if (path == "-") return input ? "the standard input" : "the standard output";
    return "'" + path + "'";
}

TemporaryFile::TemporaryFile(std::string const& path) : m_oTarget(TargetOf(path)) {
    for (int attempt = 0; attempt < 1000; ++attempt) {
        m_oPath = m_oTarget;
        m_oPath += ".part" + std::to_string(attempt);
        m_pFile.reset(std::fopen(m_oPath.c_str(), "wbx"));
        if (m_pFile) return;
        if (errno != EEXIST) break;
    }
    throw SystemFault(errno);
}

TemporaryFile::~TemporaryFile() {
    if (m_bKept) return;
    m_pFile.reset();
    std::error_code ignored;
    fs::remove(m_oPath, ignored);
}

void TemporaryFile::Write(ByteView content) {
    if (std::fwrite(content.data(), 1, content.size(), m_pFile.get()) != content.size()) throw SystemFault(errno);
}

void TemporaryFile::Keep() {
    // Closing writes what is buffered, so a full disk may show only here.
    if (std::fclose(m_pFile.release()) != 0) throw SystemFault(errno);
    std::error_code error;
    fs::rename(m_oPath, m_oTarget, error);
    if (error) throw Fault(error.message());
    m_bKept = true;
}

Bytes ReadWholeFile(std::string const& path) {
    return InputStream::Open(path).ReadRest();
}

void ReplaceFile(std::string const& path, ByteView content) {
    TemporaryFile temporary(path);
    temporary.Write(content);
    temporary.Keep();
}

}  // namespace qzil::media
