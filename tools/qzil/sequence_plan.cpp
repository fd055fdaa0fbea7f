#include "sequence_plan.h"

#include "command.h"
#include "media/convert.h"
#include "media/y4m_image.h"

#include <algorithm>
#include <cstring>

namespace qzil::command {

namespace {

constexpr int kHdWidth = 1280;
constexpr int kHdHeight = 720;
constexpr media::Y4mRatio kDefaultRate{25, 1};

bool IsRec709(Settings const& settings, int width, int height) {
    return settings.oSequence.oRec709.value_or(width >= kHdWidth || height >= kHdHeight);
}

media::Source const* FirstVideo(std::vector<media::Source> const& sources) {
    auto const found = std::find_if(sources.begin(), sources.end(), [](auto const& s) { return s.pVideo != nullptr; });
    return found != sources.end() ? &*found : nullptr;
}

/// The first of some formats from which, or to which, conversions lead; nothing when there is none.
std::optional<GUID> FirstConvertible(std::vector<GUID> const& formats, GUID const& other, bool to) {
    for (GUID const& format : formats) {
        if (to ? media::CanConvert(other, format) : media::CanConvert(format, other)) return format;
    }
    return {};
}

/// A video's own format when the effect works in it, else one that conversions lead to and back from.
GUID WorkingFormat(catalog::Entry const& entry, std::vector<GUID> const& own, bool wide) {
    for (GUID const& format : own) {
        if (Contains(entry.oFormats, format)) return format;
    }
    for (GUID const& format : {wide ? MFIF_RGBA_FLOAT : MFIF_RGBA_RAW_32, MFIF_RGBA_FLOAT, MFIF_RGBA_RAW_32}) {
        bool const works = Contains(entry.oFormats, format);
        if (works && FirstConvertible(own, format, true) && FirstConvertible(own, format, false)) return format;
    }
    throw Failure(kRefused, entry.sName + ": the video's frames are " + FormatName(own[0]) +
                                ", and the effect works in no format that they can be converted to.");
}

/// The stream that pictures become: mono and 4:4:4 for such formats, else 4:2:2.
media::Y4mHeader HeaderOf(media::Picture const& picture, GUID const& working) {
    media::Y4mHeader header;
    header.iWidth = picture.iWidth;
    header.iHeight = picture.iHeight;
    header.oRate = kDefaultRate;
    header.oAspect = {1, 1};
    header.eLayout = IsFormatMono(working)       ? media::Y4mLayout::kMono
                     : IsFormatYCCA4444(working) ? media::Y4mLayout::k444
                                                 : media::Y4mLayout::k422;
    header.eSiting = media::Y4mSiting::kLeft;
    header.iBits = GetChannelSizeFromFormat(working) == 1 ? 8 : 16;
    return header;
}

GUID PictureFormat(Settings const& settings, std::vector<media::Source> const& sources) {
    auto const& formats = settings.pEntry->oFormats;
    bool const grey =
        std::all_of(sources.begin(), sources.end(), [](auto const& s) { return s.oPicture.iChannels == 1; });
    bool const rec709 = IsRec709(settings, sources[0].Width(), sources[0].Height());
    for (GUID const& wanted :
         {grey ? MFIF_MONO_RAW_8 : MFIF_RGBA_RAW_32, rec709 ? MFIF_CbYCrY709_16 : MFIF_CbYCrY_16}) {
        if (Contains(formats, wanted)) return wanted;
    }
    return formats.front();
}

void PlanFormats(Settings const& settings, std::vector<media::Source> const& sources, SequencePlan& plan) {
    catalog::Entry const& entry = *settings.pEntry;
    bool const rec709 = IsRec709(settings, sources[0].Width(), sources[0].Height());
    if (media::Source const* const pVideo = FirstVideo(sources)) {
        plan.oOutput = media::ImageHeader(pVideo->pVideo->Header());
        std::vector<GUID> const own = media::VideoFormats(plan.oOutput, rec709);
        plan.oWorking = settings.oFormat ? *settings.oFormat : WorkingFormat(entry, own, plan.oOutput.iBits != 8);
    } else {
        plan.oWorking = settings.oFormat ? *settings.oFormat : PictureFormat(settings, sources);
        plan.oOutput = HeaderOf(sources[0].oPicture, plan.oWorking);
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
    if (settings.oSize) {
        plan.oOutput.iWidth = settings.oSize->x;
        plan.oOutput.iHeight = settings.oSize->y;
    }
    if (settings.oSequence.oRate) plan.oOutput.oRate = *settings.oSequence.oRate;
    for (media::Source const& source : sources) {
        bool const pairs = media::HoldsPairs(plan.oWorking);
        int const width = source.pVideo ? media::ImageWidth(source.pVideo->Header())
                                        : source.Width() + (pairs ? source.Width() % 2 : 0);
        plan.oSizes.emplace_back(width, source.Height());
    }
    return plan;
}

media::Picture Padded(media::Picture const& picture, GUID const& format) {
    if (picture.iWidth % 2 == 0 || !media::HoldsPairs(format)) return picture;
    media::Picture padded(picture.iWidth + 1, picture.iHeight, picture.iChannels, picture.iDepth);
    for (int y = 0; y < picture.iHeight; ++y) {
        std::memcpy(padded.Row(y), picture.Row(y), picture.RowBytes());
        std::memcpy(padded.Row(y) + picture.RowBytes(), picture.Row(y) + picture.RowBytes() - picture.PixelBytes(),
                    picture.PixelBytes());
    }
    return padded;
}

}  // namespace qzil::command
