#include "frame_worker.h"

#include "command.h"
#include "media/convert.h"
#include "qzil/image/image_ops.h"
#include "video_options.h"

#include <utility>

namespace qzil::command {

FrameWorker::FrameWorker(RunSettings const& run, SequencePlan const& plan, std::vector<StageSources> const& sources)
    : m_oRun(run), m_oPlan(plan) {
    m_oStages.reserve(sources.size());
    for (std::size_t i = 0; i < sources.size(); ++i) AddStage(i, sources[i]);
}

std::optional<FrameWorker::Stream> FrameWorker::NewStream(media::Source const& source, GUID const& format,
                                                          qzILVector2l const& size) {
    if (!source.pVideo) return {};
    Stream stream{m_oFrames.size(), source.pVideo->Header(), {}};
    if (qzILCreateAndAllocImage(nullptr, IID_IXFImage, size.x, size.y, format, stream.oImage.Out()) < 0) {
        throw std::bad_alloc();
    }
    m_oFrames.emplace_back();
    return stream;
}

void FrameWorker::AddStage(std::size_t index, StageSources const& sources) {
    Settings const& settings = m_oRun.oStages[index];
    StagePlan const& plan = m_oPlan.oStages[index];
    catalog::Entry const& entry = *settings.pEntry;
    auto const image = [&](media::Picture const& picture, GUID const& format) {
        return MakeImage(entry, Padded(picture, m_oPlan.bPairs), format);
    };
    Stage stage{EffectRun(settings, plan.oWorking, plan.oSizes, plan.oMask), {}, {}, {}, {}, {}};
    for (std::size_t i = 0; i < sources.oInputs.size(); ++i) {
        media::Source const& source = sources.oInputs[i];
        stage.oStreams.push_back(NewStream(source, plan.oStreamFormats[i], plan.oSizes[i]));
        bool const picture = !source.pVideo && !source.sPath.empty();
        stage.oInputs.push_back(picture ? image(source.oPicture, plan.oWorking.oIn) : Ref<IXFImage>());
    }
    if (sources.oMask) {
        stage.oMask = NewStream(*sources.oMask, plan.oMaskFormat, *plan.oMask);
        if (!stage.oMask) {
            stage.oRun.SetMask(image(sources.oMask->oPicture, catalog::MaskFormatFor(plan.oWorking.oIn)));
        }
    }
    if (sources.oOnto) stage.oRun.SetOnto(image(*sources.oOnto, plan.oWorking.oOut));
    stage.oOutput = stage.oRun.MakeOutput();
    m_oStages.push_back(std::move(stage));
}

Ref<IXFImage> FrameWorker::ImageOf(Stream& stream, GUID const& format) {
    media::Y4mFrame& frame = m_oFrames[stream.uFrame];
    if (stream.uFrame == 0) m_oResult.sParameters = frame.sParameters;
    media::ToImageLayout(stream.oHeader, frame, m_oScratch);
    media::FrameToImage(media::ImageHeader(stream.oHeader), frame, *stream.oImage.Get());
    return media::Convert(*stream.oImage.Get(), format);
}

void FrameWorker::RunStage(std::size_t index) {
    Stage& stage = m_oStages[index];
    GUID const working = m_oPlan.oStages[index].oWorking.oIn;
    std::vector<Ref<IXFImage>> inputs = stage.oInputs;
    NamingEffect(*m_oRun.oStages[index].pEntry, [&] {
        for (std::size_t i = 0; i < inputs.size(); ++i) {
            if (stage.oStreams[i]) inputs[i] = ImageOf(*stage.oStreams[i], working);
            if (!inputs[i]) inputs[i] = media::Convert(*m_oStages[index - 1].oOutput.Get(), working);
        }
        if (stage.oMask) stage.oRun.SetMask(ImageOf(*stage.oMask, catalog::MaskFormatFor(working)));
    });
    stage.oTime += stage.oRun.Execute(inputs, {&stage.oOutput, 1});
}

void FrameWorker::Work(long long frame) {
    for (std::size_t i = 0; i < m_oStages.size(); ++i) {
        m_oStages[i].oRun.MoveTo(frame, m_oPlan.oTotal.value_or(frame + 2), m_oRun.bSmooth);
        RunStage(i);
    }
    NamingEffect(*m_oRun.oStages.back().pEntry, [&] {
        Ref<IXFImage> const image = media::Convert(*m_oStages.back().oOutput.Get(), m_oPlan.oOutputFormat);
        media::ImageToFrame(*image.Get(), m_oPlan.oOutput, m_oResult);
    });
}

}  // namespace qzil::command
