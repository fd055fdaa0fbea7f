#include "sequence.h"

#include "command.h"
#include "encoder.h"
#include "frame_queue.h"
#include "frame_worker.h"
#include "interrupt.h"
#include "sequence_plan.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace qzil::command {

namespace {

/// The inputs of a sequence, which one thread at a time reads.
class Inputs {
public:
    Inputs(RunSettings const& run, SequencePlan const& plan, std::vector<StageSources>& sources)
        : m_oRun(run), m_oPlan(plan) {
        ForEachSource(sources, [this](media::Source& source) {
            if (source.pVideo) m_oVideos.push_back(&source);
        });
    }

    /// Reads a frame of every video; false behind the last one. Throws Failure when the videos do not end together, or
    /// end before the number of frames that was asked for.
    bool Read(long long frame, std::vector<media::Y4mFrame>& frames) {
        if (m_oPlan.oFrames && frame == *m_oPlan.oFrames) return false;
        bool ended = false, more = false;
        for (std::size_t i = 0; i < m_oVideos.size(); ++i) {
            bool const got = WithCode(kUnreadable, [&] { return m_oVideos[i]->pVideo->Read(frames[i]); });
            (got ? more : ended) = true;
        }
        if (ended) CheckEnd(frame, more);
        return !ended;
    }

private:
    void CheckEnd(long long frame, bool more) const {
        if (frame == 0) throw Short(0, "has no frames");
        if (m_oPlan.oFrames) {
            throw Short(frame, "ends after " + FramesText(frame) + ", but --frames asks for " +
                                   std::to_string(*m_oPlan.oFrames));
        }
        if (!more || m_oRun.oSequence.bShortest) return;
        media::Source const& longer = **std::find_if(
            m_oVideos.begin(), m_oVideos.end(), [&](auto const* source) { return source->pVideo->Frames() > frame; });
        throw Short(frame, "has " + FramesText(frame) + ", but '" + longer.sPath + "' has " + CountOf(longer) +
                               "; --shortest ends with the shorter one");
    }

    /// A sentence about the first video that has only this many frames.
    Failure Short(long long frames, std::string const& what) const {
        media::Source const& source = **std::find_if(m_oVideos.begin(), m_oVideos.end(),
                                                     [&](auto const* s) { return s->pVideo->Frames() == frames; });
        return Failure(kUnreadable, m_oRun.Name() + ": '" + source.sPath + "' " + what + ".");
    }

    static std::string FramesText(long long frames) {
        return std::to_string(frames) + (frames == 1 ? " frame" : " frames");
    }

    /// The rest of a file is counted; a pipe might never end.
    static std::string CountOf(media::Source const& source) {
        if (!source.pVideo->IsFile()) return "more";
        WithCode(kUnreadable, [&] {
            while (source.pVideo->Skip()) {
            }
        });
        return std::to_string(source.pVideo->Frames());
    }

    RunSettings const& m_oRun;
    SequencePlan const& m_oPlan;
    std::vector<media::Source*> m_oVideos;
};

void TellTime(RunSettings const& run, SequencePlan const& plan, std::vector<FrameWorker> const& workers,
              long long frames) {
    for (std::size_t i = 0; i < run.oStages.size(); ++i) {
        std::chrono::duration<double, std::milli> time{0};
        for (FrameWorker const& worker : workers) time += worker.EffectTime(i);
        // The standard output may be the video's.
        std::fprintf(run.sOutput == "-" ? stderr : stdout, "%s: %.3f ms a frame (%s pixels, %s)\n",
                     run.oStages[i].pEntry->sName.c_str(), time.count() / static_cast<double>(std::max(frames, 1ll)),
                     SizeText(plan.oOutput.iWidth, plan.oOutput.iHeight).c_str(),
                     FormatName(plan.oStages[i].oWorking.oIn));
    }
}

/// An interrupt ends waiting calls with all kinds of errors.
Failure Interrupted(RunSettings const& run, long long frames) {
    bool const some = run.sOutput == "-" && frames > 0;
    std::string const what = some ? std::to_string(frames) + " frames were written" : "nothing was written";
    return Failure(kInterrupted, "interrupted; " + what + ".");
}

/// The sound of the first input, where both its kind and the output's have one.
std::string SoundOf(std::vector<StageSources> const& sources) {
    std::string path;
    ForEachSource(sources, [&](media::Source const& source) {
        if (path.empty() && source.pVideo && IsForeignVideo(source.sPath)) path = source.sPath;
    });
    return path;
}

}  // namespace

void RunSequence(RunSettings const& run, std::vector<StageSources> sources) {
    bool const encodes = IsForeignVideoPath(run.sOutput);
    if (run.sOutput != "-" && !IsVideoPath(run.sOutput)) {
        throw Failure(kWrongUsage, run.Name() + ": --output is '" + run.sOutput +
                                       "', but a video takes a name that ends in .y4m, or -.");
    }
    SequencePlan const plan = WithCode(kUnreadable, [&] { return PlanSequence(run, sources); });
    std::vector<FrameWorker> frameWorkers;
    frameWorkers.reserve(static_cast<std::size_t>(run.oSequence.iJobs));
    for (int i = 0; i < run.oSequence.iJobs; ++i) frameWorkers.emplace_back(run, plan, sources);
    Inputs inputs(run, plan, sources);
    std::optional<Encoder> encoder;
    if (encodes) {
        encoder.emplace(run.sOutput, run.oSequence.sEncode, SoundOf(sources), run.oFiles.oWrite.bKeepOld);
    }
    std::optional<media::Y4mWriter> writer;
    WithCode(kUnwritable, [&] {
        writer.emplace(encodes ? encoder->Path() : run.sOutput, plan.oOutput, run.oFiles.oWrite.bKeepOld);
    });
    std::vector<FrameQueue::Worker> workers;
    for (FrameWorker& worker : frameWorkers) {
        workers.push_back({[&](long long frame) { return inputs.Read(frame, worker.Frames()); },
                           [&](long long frame) { worker.Work(frame); },
                           [&](long long) { WithCode(kUnwritable, [&] { writer->Write(worker.Result()); }); }});
    }
    Progress progress(run.oSequence.eProgress, run.Name(), plan.oTotal);
    FrameQueue queue;
    try {
        queue.Run(workers, [&](long long written) { progress.Update(written); });
        CheckForeignVideos();
        WithCode(kUnwritable, [&] { writer->Finish(); });
        writer.reset();
        if (encoder) encoder->Finish();
    } catch (...) {
        progress.GiveUp(queue.Written());
        if (IsInterrupted()) throw Interrupted(run, queue.Written());
        writer.reset();
        // What ffmpeg says tells more than that it has closed its pipe.
        if (encoder) encoder->Finish();
        throw;
    }
    progress.Finish(queue.Written());
    if (run.bTime) TellTime(run, plan, frameWorkers, queue.Written());
}

}  // namespace qzil::command
