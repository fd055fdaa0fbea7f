#pragma once

#include "media/codecs.h"

#include <cstdio>
#include <filesystem>
#include <memory>
#include <new>
#include <string>
#include <string_view>

namespace qzil::media {

/// What the system says about an error number.
Fault SystemFault(int error);

/// A new file beside `path` that vanishes unless it takes the place of what stands there, with its mode and, where the
/// system allows that, its owner. All throw Fault; so does a path where something else than a file stands, a file that
/// must not be written, or, with `keepOld`, any file.
class TemporaryFile {
public:
    TemporaryFile(std::string const& path, bool keepOld);
    ~TemporaryFile();
    TemporaryFile(TemporaryFile const&) = delete;
    TemporaryFile& operator=(TemporaryFile const&) = delete;

    void Write(ByteView content);
    /// Ends the writing and moves the file to its place.
    void Keep();

private:
    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    std::filesystem::path m_oTarget;
    std::filesystem::path m_oPath;
    std::unique_ptr<std::FILE, CloseFile> m_pFile;
    bool m_bKeepOld;
    bool m_bKept = false;
};

/// The name that a file has while it is written.
std::string PartOf(std::string const& path);

/// A path for a sentence: in quotes, or what "-" stands for.
std::string NameOf(std::string const& path, bool input);

/// Runs a step with a file; its faults become sentences that begin "cannot <verb> '<path>'".
template <class Step>
auto NamingFile(char const* verb, std::string const& path, Step step) {
    auto const sentence = [&](char const* fault) {
        bool const input = verb == std::string_view("read");
        return MediaError(std::string("cannot ") + verb + " " + NameOf(path, input) + ": " + fault);
    };
    try {
        return step();
    } catch (Fault const& fault) {
        throw sentence(fault.what());
    } catch (std::bad_alloc const&) {
        throw sentence("there is not enough memory for it");
    }
}

}  // namespace qzil::media
