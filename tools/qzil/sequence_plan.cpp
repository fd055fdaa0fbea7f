#include "sequence_plan.h"

#include "command.h"
#include "media/convert.h"
#include "media/y4m_image.h"
#include "video_options.h"

#include <algorithm>

namespace qzil::command {

namespace {

media::Y4mReader const* FirstVideo(std::vector<StageSources> const& sources) {
    media::Y4mReader const* pFirst = nullptr;
    ForEachSource(sources, [&](media::Source const& source) {
        if (!pFirst && source.pVideo) pFirst = source.pVideo.get();
    });
    return pFirst;
}

/// The format of a video made of pictures.
StageFormats PictureFormats(Settings const& settings, std::vector<media::Source> const& sources, bool rec709) {
    auto const& formats = settings.pEntry->oFormats;
    bool const grey =
        std::all_of(sources.begin(), sources.end(), [](auto const& s) { return s.oPicture.iChannels == 1; });
    for (GUID const& wanted :
         {grey ? MFIF_MONO_RAW_8 : MFIF_RGBA_RAW_32, rec709 ? MFIF_CbYCrY709_16 : MFIF_CbYCrY_16}) {
        if (!settings.oFormat && Contains(formats, wanted)) return {wanted, wanted};
    }
    return FormatsForPictures(settings, 8, grey);
}

Failure NoWay(Settings const& settings, GUID const& own, GUID const& working) {
    return Failure(kRefused, settings.pEntry->sName + ": no conversion leads from " + FormatName(own) + " to " +
                                 FormatName(working) + " and back.");
}

GUID StreamFormat(Settings const& settings, media::Source const& source, GUID const& working, bool rec709) {
    if (!source.pVideo) return working;
    auto const own = media::VideoFormats(source.pVideo->Header(), rec709);
    auto const found = FirstConvertible(own, working, false);
    if (!found) throw NoWay(settings, own[0], working);
    return *found;
}

class Planner {
public:
    Planner(RunSettings const& run, std::vector<StageSources> const& sources)
        : m_oRun(run), m_oSources(sources), m_pVideo(FirstVideo(sources)) {}

    SequencePlan Plan() {
        PlanFormats();
        PlanFrames();
        m_oPlan.bPairs = m_oPlan.oOutput.eLayout == media::Y4mLayout::k422;
        for (std::size_t i = 0; i < m_oSources.size(); ++i) PlanSizes(i);
        if (m_oRun.oSequence.oRate) m_oPlan.oOutput.oRate = *m_oRun.oSequence.oRate;
        return m_oPlan;
    }

private:
    void PlanFormats() {
        media::Source const& first = m_oSources[0].oInputs.at(0);
        bool const rec709 = IsRec709(m_oRun.oSequence.sMatrix, first.Width(), first.Height());
        std::vector<GUID> own;
        if (m_pVideo) {
            m_oPlan.oOutput = media::ImageHeader(m_pVideo->Header());
            own = media::VideoFormats(m_oPlan.oOutput, rec709);
        }
        for (std::size_t i = 0; i < m_oSources.size(); ++i) {
            Settings const& settings = m_oRun.oStages[i];
            StageSources const& sources = m_oSources[i];
            StagePlan stage;
            stage.oWorking =
                own.empty() ? PictureFormats(settings, sources.oInputs, rec709) : FormatsForFrames(settings, own);
            for (media::Source const& source : sources.oInputs) {
                stage.oStreamFormats.push_back(StreamFormat(settings, source, stage.oWorking.oIn, rec709));
            }
            if (sources.oMask) {
                GUID const mask = catalog::MaskFormatFor(stage.oWorking.oIn);
                stage.oMaskFormat = StreamFormat(settings, *sources.oMask, mask, rec709);
            }
            // What an effect has worked in comes first for the next.
            std::erase(own, stage.oWorking.oOut);
            own.insert(own.begin(), stage.oWorking.oOut);
            m_oPlan.oStages.push_back(stage);
        }
        GUID const last = m_oPlan.oStages.back().oWorking.oOut;
        if (!m_pVideo) m_oPlan.oOutput = HeaderFor(last, first.Width(), first.Height());
        auto const formats = media::VideoFormats(m_oPlan.oOutput, rec709);
        auto const found = FirstConvertible(formats, last, true);
        if (!found) throw NoWay(m_oRun.oStages.back(), formats[0], last);
        m_oPlan.oOutputFormat = *found;
    }

    /// Counts what can be counted: for values that change and for the progress.
    void PlanFrames() {
        m_oPlan.oFrames = m_oRun.oSequence.oFrames;
        m_oPlan.oTotal = m_oPlan.oFrames;
        if (m_oPlan.oFrames) return;
        ForEachSource(m_oSources, [this](media::Source const& source) {
            // The standard input cannot be read twice, even when it is a file.
            if (!source.pVideo || !source.pVideo->IsFile() || source.sPath == "-") return;
            long long const frames = media::CountFrames(source.sPath);
            m_oPlan.oTotal = std::min(frames, m_oPlan.oTotal.value_or(frames));
        });
        if (!m_pVideo) {
            throw Failure(kWrongUsage,
                          m_oRun.Name() + ": --frames is missing, but a video of pictures needs their number.");
        }
        bool needed = false;
        for (Settings const& stage : m_oRun.oStages) {
            for (Track const& track : stage.oTracks) needed = needed || track.oKeys.NeedsEnd();
            for (PlaceTrack const& track : stage.oPlaces) needed = needed || track.oKeys.NeedsEnd();
        }
        if (needed && !m_oPlan.oTotal) {
            throw Failure(kWrongUsage, m_oRun.Name() +
                                           ": --frames is missing, but a ramp needs the number of frames, and a "
                                           "pipe does not tell it.");
        }
    }

    qzILVector2l SizeOf(media::Source const& source) const {
        int const width = source.pVideo ? media::ImageWidth(source.pVideo->Header())
                                        : source.Width() + (m_oPlan.bPairs ? source.Width() % 2 : 0);
        return {width, source.Height()};
    }

    void PlanSizes(std::size_t index) {
        Settings const& settings = m_oRun.oStages[index];
        StagePlan& stage = m_oPlan.oStages[index];
        if (settings.oSize) {
            if (m_oPlan.bPairs && settings.oSize->x % 2 != 0) {
                throw Failure(kWrongUsage,
                              settings.pEntry->sName + ": --size is '" + std::to_string(settings.oSize->x) + "," +
                                  std::to_string(settings.oSize->y) + "', but takes an even width for a 4:2:2 video.");
            }
            m_oPlan.oOutput.iWidth = settings.oSize->x;
            m_oPlan.oOutput.iHeight = settings.oSize->y;
        }
        for (media::Source const& source : m_oSources[index].oInputs) {
            stage.oSizes.push_back(source.sPath.empty() ? m_oBefore : SizeOf(source));
        }
        if (m_oSources[index].oMask) stage.oMask = SizeOf(*m_oSources[index].oMask);
        m_oBefore = settings.oSize.value_or(stage.oSizes.at(0));
    }

    RunSettings const& m_oRun;
    std::vector<StageSources> const& m_oSources;
    media::Y4mReader const* m_pVideo;
    SequencePlan m_oPlan;
    qzILVector2l m_oBefore;
};

}  // namespace

SequencePlan PlanSequence(RunSettings const& run, std::vector<StageSources> const& sources) {
    if (sources[0].oInputs.empty()) {
        throw Failure(kWrongUsage, run.Name() + ": a video takes an effect with an input at the start of the chain.");
    }
    return Planner(run, sources).Plan();
}

}  // namespace qzil::command
