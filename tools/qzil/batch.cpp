#include "batch.h"

#include "batch_items.h"
#include "command.h"
#include "interrupt.h"
#include "manifest.h"
#include "media/file.h"
#include "picture_run.h"

#include <signal.h>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <thread>

namespace qzil::command {

namespace fs = std::filesystem;

namespace {

class Batch {
public:
    explicit Batch(RunSettings const& run)
        : m_oRun(run), m_oItems(ItemsOf(run)), m_oManifest(CheckedManifest(), run.bResume) {
        if (!run.bResume) return;
        std::error_code ignored;
        for (RunSettings const& item : m_oItems) fs::remove(media::PartOf(item.sOutput), ignored);
    }

    void Run() {
        std::size_t const jobs =
            std::min<std::size_t>(static_cast<std::size_t>(m_oRun.oSequence.iJobs), m_oItems.size());
        Progress progress(m_oRun.oSequence.eProgress, m_oRun.Name(), static_cast<long long>(m_oItems.size()));
        std::vector<std::thread> threads;
        m_uRunning = jobs;
        for (std::size_t i = 0; i < jobs; ++i) threads.emplace_back([this] { Serve(); });
        std::unique_lock lock(m_oMutex);
        while (!m_oChange.wait_for(lock, std::chrono::milliseconds(100), [this] { return m_uRunning == 0; })) {
            if (m_oItems.size() > 1) progress.Update(static_cast<long long>(m_uDone));
            if (!IsInterrupted()) continue;
            for (std::thread& thread : threads) pthread_kill(thread.native_handle(), SIGINT);
        }
        lock.unlock();
        for (std::thread& thread : threads) thread.join();
        Summarise();
    }

private:
    std::string const& CheckedManifest() const {
        if (m_oRun.bResume && m_oRun.sManifest.empty()) {
            throw Failure(kWrongUsage, m_oRun.Name() + ": --manifest is missing, but --resume trusts what it says.");
        }
        for (RunSettings const& item : m_oItems) {
            CheckPicturePath(item.sOutput, m_oRun.Name());
            std::error_code error;
            bool const same = m_oRun.bResume && !item.oStages[0].oInputs.empty() &&
                              fs::equivalent(item.oStages[0].oInputs[0], item.sOutput, error);
            if (!same) continue;
            throw Failure(kWrongUsage, m_oRun.Name() + ": '" + item.sOutput +
                                           "' is its own input, but --resume takes outputs that are not.");
        }
        return m_oRun.sManifest;
    }

    void Serve() {
        for (std::size_t i = m_uNext++; i < m_oItems.size() && !IsInterrupted(); i = m_uNext++) {
            try {
                RunItem(m_oItems[i], static_cast<long long>(i));
            } catch (Failure const& failure) {
                Fail(failure.eCode, failure.what());
            } catch (std::bad_alloc const&) {
                Fail(kRefused, m_oItems[i].sOutput + ": there is not enough memory.");
            }
        }
        std::lock_guard const lock(m_oMutex);
        --m_uRunning;
        m_oChange.notify_all();
    }

    void RunItem(RunSettings const& item, long long index) {
        if (m_oRun.bResume && m_oManifest.Fits(item.sOutput)) {
            ++m_uKept;
            ++m_uDone;
            return;
        }
        if (m_oRun.bDryRun) return TellPlan(item, false);
        auto const start = std::chrono::steady_clock::now();
        std::vector<StageSources> const sources = OpenSources(item);
        ForEachSource(sources, [&](media::Source const& source) {
            if (!source.pVideo) return;
            throw Failure(kWrongUsage, item.Name() + ": '" + source.sPath +
                                           "' is a video, but one output for each input "
                                           "takes pictures.");
        });
        std::string const times = RunPictures(item, sources, index, static_cast<long long>(m_oItems.size()));
        std::chrono::duration<double> const seconds = std::chrono::steady_clock::now() - start;
        m_oManifest.Add(item.sOutput, seconds.count());
        std::fputs(times.c_str(), stdout);
        ++m_uDone;
    }

    void Fail(ExitCode code, std::string const& sentence) {
        std::lock_guard const lock(m_oMutex);
        if (IsInterrupted()) return;
        std::fprintf(stderr, "qzil: %s\n", sentence.c_str());
        if (m_uFailed++ == 0) m_eCode = code;
    }

    void Summarise() const {
        std::string const all = std::to_string(m_oItems.size());
        if (IsInterrupted()) {
            throw Failure(kInterrupted,
                          "interrupted; " + std::to_string(m_uDone) + " of " + all + " pictures are there.");
        }
        if (m_uFailed != 0) {
            throw Failure(m_eCode, std::to_string(m_uDone) + " of " + all + " pictures are there, " +
                                       std::to_string(m_uFailed) + " failed.");
        }
        if (m_uKept != 0) Note(std::to_string(m_uKept) + " of " + all + " pictures were there already.");
    }

    RunSettings const& m_oRun;
    std::vector<RunSettings> m_oItems;
    Manifest m_oManifest;
    std::atomic<std::size_t> m_uNext = 0, m_uDone = 0, m_uKept = 0;
    std::mutex m_oMutex;
    std::condition_variable m_oChange;
    std::size_t m_uRunning = 0, m_uFailed = 0;
    ExitCode m_eCode = kOk;
};

}  // namespace

void RunBatch(RunSettings const& run) {
    Batch(run).Run();
}

void TellPlan(RunSettings const& run, bool video) {
    std::string line = run.sOutput + ":";
    for (Settings const& stage : run.oStages) {
        line += (&stage == run.oStages.data() ? " " : " then ") + stage.pEntry->sName;
        for (std::string const& input : stage.oInputs) line += " " + input;
    }
    std::printf("%s%s\n", line.c_str(), video ? " (video)" : "");
}

}  // namespace qzil::command
