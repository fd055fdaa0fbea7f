#include "sequence_plan.h"

#include "command.h"
#include "media/y4m_image.h"
#include "qzil/image/image_ops.h"
#include "video_options.h"

#include <algorithm>

namespace qzil::command {

namespace {

bool UsesRec709(Settings const& settings, int width, int height) {
    return IsRec709(settings.oSequence.sMatrix, width, height);
}

media::Source const* FirstVideo(std::vector<media::Source> const& sources) {
    auto const found = std::find_if(sources.begin(), sources.end(), [](auto const& s) { return s.pVideo != nullptr; });
    return found != sources.end() ? &*found : nullptr;
}

/// Masks and single channels are not for formats of shared chroma.
bool NeedsRgba(Settings const& settings) {
    return !settings.sMask.empty() || settings.oMaskRect || ChannelBits(settings.sChannels, MFIF_RGBA_RAW_32) != 7u;
}

/// The effect works in the format with these values: some of them are for some of its formats only.
bool Works(Settings const& settings, GUID const& format) {
    if (!Contains(settings.pEntry->oFormats, format)) return false;
    catalog::Instance instance = settings.pEntry->Make();
    std::vector<Ref<IXFImage>> images(settings.oInputs.size() + 1);
    for (auto& image : images) {
        if (qzILCreateAndAllocImage(nullptr, IID_IXFImage, 2, 2, format, image.Out()) < 0) return false;
    }
    for (std::size_t i = 0; i < settings.oInputs.size(); ++i) instance.SetInput(i, images[i].Get());
    for (std::size_t i = 0; i < settings.oValues.size(); ++i) instance.Set(i, settings.oValues[i]);
    instance.SetOutput(images.back().Get());
    return instance.Effect().Verify() == 1 || !(instance.Effect().GetLastError() == 0x1000Du);
}

/// A video's own format when the effect works in it, else the one that keeps the most of those that conversions lead to
/// and back from.
GUID WorkingFormat(Settings const& settings, std::vector<GUID> const& own) {
    catalog::Entry const& entry = *settings.pEntry;
    for (GUID const& format : own) {
        bool const suits = IsFormatMono(format) || !NeedsRgba(settings);
        if (suits && Works(settings, format)) return format;
    }
    for (GUID const& format : {MFIF_RGBA_FLOAT, MFIF_RGBA_RAW_64, MFIF_RGBA_RAW_32}) {
        if (Works(settings, format) && FirstConvertible(own, format, true) && FirstConvertible(own, format, false))
            return format;
    }
    throw Failure(kRefused, entry.sName + ": the video's frames are " + FormatName(own[0]) +
                                ", and the effect works in no format that they can be converted to.");
}

GUID PictureFormat(Settings const& settings, std::vector<media::Source> const& sources) {
    auto const& formats = settings.pEntry->oFormats;
    bool const grey =
        std::all_of(sources.begin(), sources.end(), [](auto const& s) { return s.oPicture.iChannels == 1; });
    bool const rec709 = UsesRec709(settings, sources[0].Width(), sources[0].Height());
    for (GUID const& wanted :
         {grey ? MFIF_MONO_RAW_8 : MFIF_RGBA_RAW_32, rec709 ? MFIF_CbYCrY709_16 : MFIF_CbYCrY_16}) {
        if (Contains(formats, wanted)) return wanted;
    }
    return formats.front();
}

void PlanFormats(Settings const& settings, std::vector<media::Source> const& sources, SequencePlan& plan) {
    catalog::Entry const& entry = *settings.pEntry;
    bool const rec709 = UsesRec709(settings, sources[0].Width(), sources[0].Height());
    if (media::Source const* const pVideo = FirstVideo(sources)) {
        plan.oOutput = media::ImageHeader(pVideo->pVideo->Header());
        std::vector<GUID> const own = media::VideoFormats(plan.oOutput, rec709);
        plan.oWorking = settings.oFormat ? *settings.oFormat : WorkingFormat(settings, own);
    } else {
        plan.oWorking = settings.oFormat ? *settings.oFormat : PictureFormat(settings, sources);
        plan.oOutput = HeaderFor(plan.oWorking, sources[0].Width(), sources[0].Height());
    }
    auto const noWay = [&](GUID const& own) {
        return Failure(kRefused, entry.sName + ": no conversion leads from " + FormatName(own) + " to " +
                                     FormatName(plan.oWorking) + " and back.");
    };
    for (media::Source const& source : sources) {
        GUID format = plan.oWorking;
        if (source.pVideo) {
            auto const own = media::VideoFormats(source.pVideo->Header(), rec709);
            auto const found = FirstConvertible(own, plan.oWorking, false);
            if (!found) throw noWay(own[0]);
            format = *found;
        }
        plan.oStreamFormats.push_back(format);
    }
    auto const own = media::VideoFormats(plan.oOutput, rec709);
    auto const found = FirstConvertible(own, plan.oWorking, true);
    if (!found) throw noWay(own[0]);
    plan.oOutputFormat = *found;
}

/// Counts what can be counted: for ramps and for the progress.
void PlanFrames(Settings const& settings, std::vector<media::Source> const& sources, SequencePlan& plan) {
    catalog::Entry const& entry = *settings.pEntry;
    plan.oFrames = settings.oSequence.oFrames;
    plan.oTotal = plan.oFrames;
    if (plan.oFrames) return;
    bool const needed = !settings.oRamps.empty();
    for (media::Source const& source : sources) {
        // The standard input cannot be read twice, even when it is a file.
        if (!source.pVideo || !source.pVideo->IsFile() || source.sPath == "-") continue;
        long long const frames = media::CountFrames(source.sPath);
        plan.oTotal = std::min(frames, plan.oTotal.value_or(frames));
    }
    if (!FirstVideo(sources)) {
        throw Failure(kWrongUsage, entry.sName + ": --frames is missing, but a video of pictures needs their number.");
    }
    if (needed && !plan.oTotal) {
        throw Failure(kWrongUsage, entry.sName +
                                       ": --frames is missing, but a ramp needs the number of frames, and a "
                                       "pipe does not tell it.");
    }
}

}  // namespace

SequencePlan PlanSequence(Settings const& settings, std::vector<media::Source> const& sources) {
    SequencePlan plan;
    PlanFormats(settings, sources, plan);
    PlanFrames(settings, sources, plan);
    plan.bPairs = plan.oOutput.eLayout == media::Y4mLayout::k422;
    if (settings.oSize) {
        if (plan.bPairs && settings.oSize->x % 2 != 0) {
            throw Failure(kWrongUsage, settings.pEntry->sName + ": --size is '" + std::to_string(settings.oSize->x) +
                                           "," + std::to_string(settings.oSize->y) +
                                           "', but takes an even width for a 4:2:2 video.");
        }
        plan.oOutput.iWidth = settings.oSize->x;
        plan.oOutput.iHeight = settings.oSize->y;
    }
    if (settings.oSequence.oRate) plan.oOutput.oRate = *settings.oSequence.oRate;
    for (media::Source const& source : sources) {
        int const width = source.pVideo ? media::ImageWidth(source.pVideo->Header())
                                        : source.Width() + (plan.bPairs ? source.Width() % 2 : 0);
        plan.oSizes.emplace_back(width, source.Height());
    }
    return plan;
}

}  // namespace qzil::command
