#include "encoder.h"

#include "command.h"
#include "media/byte_stream.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <algorithm>
#include <csignal>
#include <filesystem>
#include <sstream>
#include <vector>

namespace qzil::command {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kExtensions[] = {".mp4", ".mov", ".mkv", ".webm", ".avi", ".mpg", ".mpeg", ".ts", ".mxf"};

/// A descriptor of ours that no other program gets.
class Owned {
public:
    explicit Owned(int number = -1) : m_iNumber(number) {}
    ~Owned() { Close(); }
    Owned(Owned const&) = delete;
    Owned& operator=(Owned const&) = delete;
    void Close() {
        if (m_iNumber >= 0) close(m_iNumber);
        m_iNumber = -1;
    }
    void Take(int number) {
        Close();
        m_iNumber = number;
    }
    int Number() const { return m_iNumber; }

private:
    int m_iNumber;
};

/// An ffmpeg with a pipe to its standard input, or from its standard output.
class Ffmpeg {
public:
    Ffmpeg(std::vector<std::string> arguments, bool writes, std::string path) : m_sPath(std::move(path)) {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) throw Failure(kRefused, "there is no pipe to ffmpeg to be had.");
        m_oPipe.Take(ends[writes ? 1 : 0]);
        Owned const theirs(ends[writes ? 0 : 1]);
        m_oErrors.Take(memfd_create("errors", MFD_CLOEXEC));
        std::vector<char*> words;
        arguments.insert(arguments.begin(), {"ffmpeg", "-nostdin", "-hide_banner", "-v", "error"});
        for (std::string& word : arguments) words.push_back(word.data());
        words.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawnattr_t attributes;
        posix_spawn_file_actions_init(&actions);
        posix_spawnattr_init(&attributes);
        posix_spawn_file_actions_adddup2(&actions, theirs.Number(), writes ? STDIN_FILENO : STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, m_oErrors.Number(), STDERR_FILENO);
        sigset_t usual;
        sigemptyset(&usual);
        sigaddset(&usual, SIGPIPE);
        posix_spawnattr_setsigdefault(&attributes, &usual);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
        int const failed = posix_spawnp(&m_iProcess, "ffmpeg", &actions, &attributes, words.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
        if (failed == 0) return;
        m_iProcess = -1;
        throw Failure(writes ? kUnwritable : kUnreadable,
                      "'" + m_sPath + "' needs ffmpeg, which is not there; " +
                          (writes ? "-o - | ffmpeg -i - " + m_sPath
                                  : "ffmpeg -i " + m_sPath + " -f yuv4mpegpipe - | qzil ... -") +
                          " does the same with one from elsewhere.");
    }
    ~Ffmpeg() {
        if (m_iProcess <= 0) return;
        m_oPipe.Close();
        kill(m_iProcess, SIGTERM);
        waitpid(m_iProcess, nullptr, 0);
    }
    Ffmpeg(Ffmpeg const&) = delete;
    Ffmpeg& operator=(Ffmpeg const&) = delete;

    std::string PipePath() const { return "/dev/fd/" + std::to_string(m_oPipe.Number()); }
    void ClosePipe() { m_oPipe.Close(); }
    std::string const& Path() const { return m_sPath; }

    /// Whether it ended well. A reader that was told enough ends by the closed pipe, which is not its fault.
    bool Wait() {
        int status = 0;
        m_oPipe.Close();
        while (waitpid(m_iProcess, &status, 0) < 0 && errno == EINTR) {
        }
        m_iProcess = -1;
        return (WIFEXITED(status) && WEXITSTATUS(status) == 0) || (WIFSIGNALED(status) && WTERMSIG(status) == SIGPIPE);
    }

    /// The last line that it had to say.
    std::string LastWords() const {
        char text[2048];
        off_t const size = lseek(m_oErrors.Number(), 0, SEEK_END);
        off_t const start = std::max<off_t>(size - static_cast<off_t>(sizeof text), 0);
        auto const got = pread(m_oErrors.Number(), text, sizeof text, start);
        std::istringstream lines(std::string(text, got > 0 ? static_cast<std::size_t>(got) : 0));
        std::string line, last;
        while (std::getline(lines, line)) {
            if (!line.empty()) last = line;
        }
        return last;
    }

private:
    std::string m_sPath;
    pid_t m_iProcess = -1;
    Owned m_oPipe;
    Owned m_oErrors;
};

/// Readers live as long as the command: their streams only know a pipe.
std::vector<std::unique_ptr<Ffmpeg>>& Readers() {
    static std::vector<std::unique_ptr<Ffmpeg>> l_oReaders;
    return l_oReaders;
}

}  // namespace

bool IsForeignVideoPath(std::string const& path) {
    std::string const extension = fs::path(path).extension().string();
    return std::find(std::begin(kExtensions), std::end(kExtensions), extension) != std::end(kExtensions);
}

bool IsForeignVideo(std::string const& path) {
    std::error_code error;
    if (path == "-" || !fs::is_regular_file(path, error)) return false;
    try {
        media::InputStream stream = media::InputStream::Open(path);
        media::ByteView const start = stream.Peek(12);
        std::string_view const text(reinterpret_cast<char const*>(start.data()), start.size());
        if (text.starts_with("YUV4MPEG2") || text.empty()) return false;
        bool const known = text.starts_with("\x1a\x45\xdf\xa3") || (text.size() >= 12 && text.substr(8, 4) == "AVI ");
        bool const box = text.size() >= 8 && (text.substr(4, 4) == "ftyp" || text.substr(4, 4) == "moov");
        return known || box || IsForeignVideoPath(path);
    } catch (std::runtime_error const&) {
        return false;
    }
}

media::Source OpenForeignVideo(std::string const& path) {
    auto reader = std::make_unique<Ffmpeg>(std::vector<std::string>{"-i", fs::absolute(path).string(), "-map", "0:v:0",
                                                                    "-strict", "-1", "-f", "yuv4mpegpipe", "pipe:1"},
                                           false, path);
    media::Source source{path, {}, nullptr};
    try {
        media::InputStream stream = media::InputStream::Open(reader->PipePath());
        reader->ClosePipe();
        source.pVideo = std::make_unique<media::Y4mReader>(std::move(stream), path);
    } catch (std::runtime_error const& error) {
        reader->Wait();
        std::string const words = reader->LastWords();
        throw Failure(kUnreadable,
                      "cannot read '" + path + "': ffmpeg says: " + (words.empty() ? error.what() : words));
    }
    Readers().push_back(std::move(reader));
    return source;
}

void CheckForeignVideos() {
    for (auto& reader : Readers()) {
        if (reader->Wait()) continue;
        throw Failure(kUnreadable, "cannot read '" + reader->Path() + "': ffmpeg says: " + reader->LastWords());
    }
    Readers().clear();
}

struct Encoder::Process {
    Process(std::vector<std::string> arguments, std::string const& path, fs::path part)
        : m_oPart(std::move(part)), m_oFfmpeg(std::move(arguments), true, path) {}
    ~Process() {
        std::error_code ignored;
        fs::remove(m_oPart, ignored);
    }
    fs::path m_oPart;
    Ffmpeg m_oFfmpeg;
};

Encoder::Encoder(std::string const& path, std::string const& options, std::string const& sound, bool keepOld) {
    std::error_code error;
    if (keepOld && fs::exists(path, error))
        throw Failure(kUnwritable, "cannot write '" + path + "': it is there already");
    fs::path const target = fs::absolute(path);
    fs::path const part = target.parent_path() / (target.stem().string() + ".part0" + target.extension().string());
    std::vector<std::string> arguments = {"-y", "-f", "yuv4mpegpipe", "-i", "pipe:0"};
    if (!sound.empty()) {
        arguments.insert(arguments.end(),
                         {"-i", fs::absolute(sound).string(), "-map", "0:v", "-map", "1:a?", "-c:a", "copy"});
    }
    // Players want 4:2:0; other layouts are for those who ask.
    std::istringstream words(options.empty() ? "-pix_fmt yuv420p" : options);
    for (std::string word; words >> word;) arguments.push_back(word);
    arguments.push_back(part.string());
    m_pProcess = std::make_unique<Process>(std::move(arguments), path, part);
}

Encoder::~Encoder() = default;

std::string Encoder::Path() const {
    return m_pProcess->m_oFfmpeg.PipePath();
}

void Encoder::Finish() {
    Ffmpeg& ffmpeg = m_pProcess->m_oFfmpeg;
    auto const fail = [&](std::string const& why) {
        return Failure(kUnwritable, "cannot write '" + ffmpeg.Path() + "': " + why);
    };
    if (!ffmpeg.Wait()) throw fail("ffmpeg says: " + ffmpeg.LastWords());
    std::error_code error;
    fs::rename(m_pProcess->m_oPart, ffmpeg.Path(), error);
    if (error) throw fail(error.message());
}

}  // namespace qzil::command
