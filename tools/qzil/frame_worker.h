#pragma once

#include "effect_run.h"
#include "media/y4m_image.h"
#include "sequence_plan.h"
#include "sources.h"

#include <chrono>
#include <vector>

namespace qzil::command {

/// What one thread needs for a frame of its own: all effects of a chain. Its memory is used again for each frame.
class FrameWorker {
public:
    FrameWorker(RunSettings const& run, SequencePlan const& plan, std::vector<StageSources> const& sources);

    /// Frames of the videos, in the order of ForEachSource.
    std::vector<media::Y4mFrame>& Frames() { return m_oFrames; }
    media::Y4mFrame const& Result() const { return m_oResult; }
    std::chrono::duration<double> EffectTime(std::size_t stage) const { return m_oStages[stage].oTime; }

    void Work(long long frame);

private:
    /// A frame on its way from a stream into an effect.
    struct Stream {
        std::size_t uFrame;
        media::Y4mHeader oHeader;
        Ref<IXFImage> oImage;
    };
    struct Stage {
        EffectRun oRun;
        std::vector<Ref<IXFImage>> oInputs;           ///< in the working format; null for streams and the result before
        std::vector<std::optional<Stream>> oStreams;  ///< of the inputs
        std::optional<Stream> oMask;
        Ref<IXFImage> oOutput;
        std::chrono::duration<double> oTime{0};
    };

    std::optional<Stream> NewStream(media::Source const& source, GUID const& format, qzILVector2l const& size);
    void AddStage(std::size_t index, StageSources const& sources);
    Ref<IXFImage> ImageOf(Stream& stream, GUID const& format);
    void RunStage(std::size_t index);

    RunSettings const& m_oRun;
    SequencePlan const& m_oPlan;
    std::vector<Stage> m_oStages;
    std::vector<media::Y4mFrame> m_oFrames;
    media::Y4mFrame m_oResult;
    media::Bytes m_oScratch;
};

}  // namespace qzil::command
