#pragma once

#include <cstdio>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace qzil::command {

/// A file with a line for each output: name, size, hash of its bytes and seconds, apart by tabs.
class Manifest {
public:
    /// Takes over the lines that are whole and fit their files, when a run is to be resumed, and else starts anew.
    /// Without a path nothing is kept. Throws Failure.
    Manifest(std::string path, bool resume);

    /// Whether an output is as its line says.
    bool Fits(std::string const& output) const { return m_oLines.contains(output); }
    /// Adds a line, which stands in the file when this returns. Threads may call it.
    void Add(std::string const& output, double seconds);

private:
    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    std::string m_sPath;
    std::map<std::string, std::string> m_oLines;
    std::unique_ptr<std::FILE, CloseFile> m_pFile;
    std::mutex m_oMutex;
};

}  // namespace qzil::command
