#include "manifest.h"

#include "command.h"
#include "fnv.h"
#include "media/byte_stream.h"

#include <fstream>
#include <iterator>
#include <optional>
#include <vector>

namespace qzil::command {

namespace {

struct Content {
    std::uint64_t uSize = 0;
    std::string sHash;
};

std::optional<Content> ContentOf(std::string const& path) {
    try {
        media::InputStream stream = media::InputStream::Open(path);
        if (!stream.FileSize()) return {};
        Fnv fnv;
        Content content;
        media::Bytes block(std::size_t{1} << 16);
        while (std::size_t const got = stream.Read(block)) {
            fnv.Add({block.data(), got});
            content.uSize += got;
        }
        content.sHash = fnv.Text();
        return content;
    } catch (std::runtime_error const&) {
        return {};
    }
}

std::string LineStart(std::string const& output, Content const& content) {
    return output + "\t" + std::to_string(content.uSize) + "\t" + content.sHash + "\t";
}

}  // namespace

Manifest::Manifest(std::string path, bool resume) : m_sPath(std::move(path)) {
    if (m_sPath.empty()) return;
    auto const fail = [this] { return Failure(kUnwritable, "cannot write '" + m_sPath + "'."); };
    if (resume) {
        std::ifstream file(m_sPath);
        std::string const text(std::istreambuf_iterator<char>(file), {});
        // The last line may have been cut by what ended the run; a line that is whole has its end.
        for (std::size_t start = 0, end = text.find('\n'); end != std::string::npos; end = text.find('\n', start)) {
            std::string const line = text.substr(start, end - start);
            start = end + 1;
            std::string const output = line.substr(0, line.find('\t'));
            auto const content = ContentOf(output);
            if (content && line.starts_with(LineStart(output, *content))) m_oLines[output] = line;
        }
    }
    std::string const next = m_sPath + ".next";
    {
        std::ofstream file(next, std::ios::trunc);
        for (auto const& [output, line] : m_oLines) file << line << '\n';
        file.flush();
        if (!file) throw fail();
    }
    // At no moment are the lines of the run before lost.
    if (std::rename(next.c_str(), m_sPath.c_str()) != 0) throw fail();
    m_pFile.reset(std::fopen(m_sPath.c_str(), "a"));
    if (!m_pFile) throw fail();
}

void Manifest::Add(std::string const& output, double seconds) {
    if (m_sPath.empty()) return;
    auto const content = ContentOf(output);
    if (!content) throw Failure(kUnwritable, "cannot write '" + output + "': it is no longer there.");
    std::lock_guard const lock(m_oMutex);
    std::fprintf(m_pFile.get(), "%s%.3f\n", LineStart(output, *content).c_str(), seconds);
    if (std::fflush(m_pFile.get()) != 0) throw Failure(kUnwritable, "cannot write '" + m_sPath + "'.");
}

}  // namespace qzil::command
