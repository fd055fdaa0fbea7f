#include "media/file.h"

#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>

namespace qzil::media {

namespace fs = std::filesystem;

namespace {

constexpr char kThere[] = "it is there already";

/// A link is followed, so that the file it names is replaced and not the link.
fs::path TargetOf(std::string const& path, bool keepOld) {
    std::error_code error;
    fs::path target = fs::weakly_canonical(path, error);
    if (error) target = path;
    if (!fs::exists(target, error)) return target;
    // A directory cannot be replaced, and a device must not be.
    if (!fs::is_regular_file(target, error)) throw Fault("it is not a regular file");
    if (keepOld) throw Fault(kThere);
    if (access(target.c_str(), W_OK) != 0) throw SystemFault(errno);
    return target;
}

/// A new file is made as the user's mask has it; one that stands there tells what it may be.
void CopyRights(fs::path const& target, std::FILE* file) {
    struct stat status = {};
    if (stat(target.c_str(), &status) != 0) return;
    // The owner first: a change of owner takes away some of the mode.
    if (fchown(fileno(file), status.st_uid, status.st_gid) != 0 &&
        fchown(fileno(file), ~uid_t{0}, status.st_gid) != 0) {
        status.st_mode &= 0777;
    }
    fchmod(fileno(file), status.st_mode & 07777);
}

}  // namespace

Fault SystemFault(int error) {
    return Fault(error != 0 ? std::strerror(error) : "the system gives no reason");
}

std::string NameOf(std::string const& path, bool input) {
    if (path == "-") return input ? "the standard input" : "the standard output";
    return "'" + path + "'";
}

std::string PartOf(std::string const& path) {
    return path + ".part";
}

TemporaryFile::TemporaryFile(std::string const& path, bool keepOld)
    : m_oTarget(TargetOf(path, keepOld)), m_bKeepOld(keepOld) {
    for (int attempt = 0; attempt < 1000; ++attempt) {
        m_oPath = PartOf(m_oTarget);
        if (attempt > 0) m_oPath += std::to_string(attempt);
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
    CopyRights(m_oTarget, m_pFile.get());
    // Closing writes what is buffered, so a full disk may show only here.
    if (std::fclose(m_pFile.release()) != 0) throw SystemFault(errno);
    std::error_code error;
    if (m_bKeepOld) {
        // A link does not replace what has come to stand there since.
        fs::create_hard_link(m_oPath, m_oTarget, error);
        if (error == std::errc::file_exists) throw Fault(kThere);
        if (!error) {
            fs::remove(m_oPath, error);
            m_bKept = true;
            return;
        }
    }
    fs::rename(m_oPath, m_oTarget, error);
    if (error) throw Fault(error.message());
    m_bKept = true;
}

}  // namespace qzil::media
