#include "sequence.h"

#include "command.h"
#include "effect_run.h"
#include "frame_queue.h"
#include "interrupt.h"
#include "media/convert.h"
#include "media/y4m_image.h"
#include "qzil/image/image_ops.h"
#include "sequence_plan.h"
#include "video_options.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace qzil::command {

namespace {

/// The inputs of a sequence, which one thread at a time reads.
class Inputs {
public:
    Inputs(Settings const& settings, SequencePlan const& plan, std::vector<media::Source>& sources)
        : m_oSettings(settings), m_oPlan(plan), m_oSources(sources) {}

    /// Reads a frame of every video; false behind the last one. Throws Failure when the videos do not end together, or
    /// end before the number of frames that was asked for.
    bool Read(long long frame, std::vector<media::Y4mFrame>& frames) {
        if (m_oPlan.oFrames && frame == *m_oPlan.oFrames) return false;
        bool ended = false, more = false;
        for (std::size_t i = 0; i < m_oSources.size(); ++i) {
            if (!m_oSources[i].pVideo) continue;
            bool const got = WithCode(kUnreadable, [&] { return m_oSources[i].pVideo->Read(frames[i]); });
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
        if (!more || m_oSettings.oSequence.bShortest) return;
        media::Source const& longer = *std::find_if(m_oSources.begin(), m_oSources.end(), [&](auto const& source) {
            return source.pVideo && source.pVideo->Frames() > frame;
        });
        throw Short(frame, "has " + FramesText(frame) + ", but '" + longer.sPath + "' has " + CountOf(longer) +
                               "; --shortest ends with the shorter one");
    }

    /// A sentence about the first video that has only this many frames.
    Failure Short(long long frames, std::string const& what) const {
        media::Source const& source = *std::find_if(m_oSources.begin(), m_oSources.end(), [&](auto const& s) {
            return s.pVideo && s.pVideo->Frames() == frames;
        });
        return Failure(kUnreadable, m_oSettings.pEntry->sName + ": '" + source.sPath + "' " + what + ".");
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

    Settings const& m_oSettings;
    SequencePlan const& m_oPlan;
    std::vector<media::Source>& m_oSources;
};

/// What one thread needs for a frame of its own. Its memory is used again for each frame.
class FrameWorker {
public:
    FrameWorker(Settings const& settings, SequencePlan const& plan, std::vector<media::Source> const& sources,
                std::vector<Ref<IXFImage>> const& pictures, media::Picture const& mask)
        : m_oSettings(settings),
          m_oPlan(plan),
          m_oRun(settings, plan.oWorking, plan.oSizes, mask),
          m_oFrames(sources.size()),
          m_oInputs(pictures),
          m_oStreamImages(sources.size()),
          m_oOutput(m_oRun.MakeOutput()) {
        for (std::size_t i = 0; i < sources.size(); ++i) {
            if (!sources[i].pVideo) {
                m_oHeaders.emplace_back();
                continue;
            }
            m_oHeaders.push_back(sources[i].pVideo->Header());
            m_oStreamImages[i] = NewImage(plan.oStreamFormats[i], plan.oSizes[i]);
        }
    }

    std::vector<media::Y4mFrame>& Frames() { return m_oFrames; }
    media::Y4mFrame const& Result() const { return m_oResult; }
    std::chrono::duration<double> EffectTime() const { return m_oEffectTime; }

    void Work(long long frame) {
        for (Ramp const& ramp : m_oSettings.oRamps) m_oRun.SetParameter(ramp.uParameter, RampValue(ramp, frame));
        NamingEffect(*m_oSettings.pEntry, [&] { MakeInputs(); });
        m_oEffectTime += m_oRun.Execute(m_oInputs, *m_oOutput.Get());
        NamingEffect(*m_oSettings.pEntry, [&] { MakeResult(); });
    }

private:
    Ref<IXFImage> NewImage(GUID const& format, qzILVector2l const& size) const {
        Ref<IXFImage> image;
        if (qzILCreateAndAllocImage(nullptr, IID_IXFImage, size.x, size.y, format, image.Out()) < 0) {
            throw std::bad_alloc();
        }
        return image;
    }

    double RampValue(Ramp const& ramp, long long frame) const {
        long long const last = *m_oPlan.oTotal - 1;
        if (frame >= last) return last > 0 ? ramp.dfTo : ramp.dfFrom;
        double const part = static_cast<double>(frame) / static_cast<double>(last);
        return ramp.dfFrom + (ramp.dfTo - ramp.dfFrom) * part;
    }

    void MakeInputs() {
        bool first = true;
        for (std::size_t i = 0; i < m_oFrames.size(); ++i) {
            if (!m_oStreamImages[i]) continue;
            if (std::exchange(first, false)) m_oResult.sParameters = m_oFrames[i].sParameters;
            media::ToImageLayout(m_oHeaders[i], m_oFrames[i], m_oScratch);
            IXFImage& image = *m_oStreamImages[i].Get();
            media::FrameToImage(media::ImageHeader(m_oHeaders[i]), m_oFrames[i], image);
            m_oInputs[i] = media::Convert(image, m_oPlan.oWorking);
        }
    }

    void MakeResult() {
        Ref<IXFImage> const image = media::Convert(*m_oOutput.Get(), m_oPlan.oOutputFormat);
        media::ImageToFrame(*image.Get(), m_oPlan.oOutput, m_oResult);
    }

    Settings const& m_oSettings;
    SequencePlan const& m_oPlan;
    EffectRun m_oRun;
    std::vector<media::Y4mHeader> m_oHeaders;
    std::vector<media::Y4mFrame> m_oFrames;
    std::vector<Ref<IXFImage>> m_oInputs;        ///< in the working format
    std::vector<Ref<IXFImage>> m_oStreamImages;  ///< in the formats of the streams; null for pictures
    Ref<IXFImage> m_oOutput;
    media::Y4mFrame m_oResult;
    media::Bytes m_oScratch;
    std::chrono::duration<double> m_oEffectTime{0};
};

void TellTime(Settings const& settings, SequencePlan const& plan, std::vector<FrameWorker> const& workers,
              long long frames) {
    std::chrono::duration<double, std::milli> time{0};
    for (FrameWorker const& worker : workers) time += worker.EffectTime();
    // The standard output may be the video's.
    std::fprintf(settings.sOutput == "-" ? stderr : stdout, "%s: %.3f ms a frame (%s pixels, %s)\n",
                 settings.pEntry->sName.c_str(), time.count() / static_cast<double>(std::max(frames, 1ll)),
                 SizeText(plan.oOutput.iWidth, plan.oOutput.iHeight).c_str(), FormatName(plan.oWorking));
}

/// An interrupt ends waiting calls with all kinds of errors.
Failure Interrupted(Settings const& settings, long long frames) {
    bool const some = settings.sOutput == "-" && frames > 0;
    std::string const what = some ? std::to_string(frames) + " frames were written" : "nothing was written";
    return Failure(kInterrupted, "interrupted; " + what + ".");
}

}  // namespace

bool IsVideoPath(std::string const& path) {
    return path == "-" || path.ends_with(".y4m");
}

void RunSequence(Settings const& settings, std::vector<media::Source> sources, media::Picture const& mask) {
    catalog::Entry const& entry = *settings.pEntry;
    if (!IsVideoPath(settings.sOutput)) {
        throw Failure(kWrongUsage, entry.sName + ": --output is '" + settings.sOutput +
                                       "', but a video takes a name that ends in .y4m, or -.");
    }
    SequencePlan const plan = WithCode(kUnreadable, [&] { return PlanSequence(settings, sources); });
    std::vector<Ref<IXFImage>> pictures;
    for (media::Source const& source : sources) {
        pictures.push_back(source.pVideo ? Ref<IXFImage>()
                                         : MakeImage(entry, Padded(source.oPicture, plan.bPairs), plan.oWorking));
    }
    std::vector<FrameWorker> frameWorkers;
    frameWorkers.reserve(static_cast<std::size_t>(settings.oSequence.iJobs));
    for (int i = 0; i < settings.oSequence.iJobs; ++i) {
        frameWorkers.emplace_back(settings, plan, sources, pictures, Padded(mask, plan.bPairs));
    }
    Inputs inputs(settings, plan, sources);
    media::Y4mWriter writer = WithCode(kUnwritable, [&] { return media::Y4mWriter(settings.sOutput, plan.oOutput); });
    std::vector<FrameQueue::Worker> workers;
    for (FrameWorker& worker : frameWorkers) {
        workers.push_back({[&](long long frame) { return inputs.Read(frame, worker.Frames()); },
                           [&](long long frame) { worker.Work(frame); },
                           [&](long long) { WithCode(kUnwritable, [&] { writer.Write(worker.Result()); }); }});
    }
    Progress progress(settings.oSequence.eProgress, entry.sName, plan.oTotal);
    FrameQueue queue;
    try {
        queue.Run(workers, [&](long long written) { progress.Update(written); });
        WithCode(kUnwritable, [&] { writer.Finish(); });
    } catch (...) {
        progress.Finish(queue.Written());
        if (IsInterrupted()) throw Interrupted(settings, queue.Written());
        throw;
    }
    progress.Finish(queue.Written());
    if (settings.bTime) TellTime(settings, plan, frameWorkers, queue.Written());
}

}  // namespace qzil::command
