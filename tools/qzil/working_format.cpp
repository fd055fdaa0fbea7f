#include "working_format.h"

#include "command.h"
#include "media/convert.h"
#include "qzil/image/formats.h"
#include "qzil/image/image_ops.h"
#include "video_options.h"

#include <algorithm>

namespace qzil::command {

namespace {

/// Masks and single channels are not for formats of shared chroma.
bool NeedsRgba(Settings const& settings) {
    return !settings.sMask.empty() || settings.oMaskRect || ChannelBits(settings.sChannels, MFIF_RGBA_RAW_32) != 7u;
}

/// The pairs that settings leave; of an effect that keeps its format, that format twice.
std::vector<StageFormats> Candidates(Settings const& settings) {
    catalog::Entry const& entry = *settings.pEntry;
    std::vector<StageFormats> candidates;
    for (GUID const& format : entry.oFormats) candidates.push_back({format, format});
    for (catalog::FormatPair const& pair : entry.oPairs) candidates.push_back({pair.oFrom, pair.oTo});
    std::erase_if(candidates, [&](StageFormats const& formats) {
        return (settings.oFormat && !(formats.oIn == *settings.oFormat)) ||
               (settings.oToFormat && !(formats.oOut == *settings.oToFormat)) ||
               (settings.bClamp && DepthOfFormat(formats.oOut) != 32) || !media::HoldsPictures(formats.oIn) ||
               !media::HoldsPictures(formats.oOut);
    });
    if (candidates.empty() && settings.bClamp) {
        throw Failure(kWrongUsage, entry.sName + ": --clamp is given, but this effect does not work in float.");
    }
    if (candidates.empty() && settings.oFormat && settings.oToFormat) {
        throw Failure(kWrongUsage, entry.sName + ": --to is '" + FormatName(*settings.oToFormat) +
                                       "', but takes a format that is made of " + FormatName(*settings.oFormat) + ".");
    }
    return candidates;
}

/// How well a format serves pictures; the smallest number is best. More bits than asked for lose nothing but time.
int Cost(Settings const& settings, StageFormats const& formats, int depth, bool grey) {
    auto const of = [&](GUID const& format, bool in) {
        static constexpr GUID kPlain[] = {MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_RGBA_FLOAT,
                                          MFIF_MONO_RAW_8,  MFIF_MONO_RAW_16, MFIF_MONO_FLOAT};
        int const has = DepthOfFormat(format);
        int cost = has == depth ? 0 : has > depth ? 100 + has : 500 - has;
        bool const mono = IsFormatMono(format);
        // What pictures are decides which of two plain formats suits; conversions have reasons of their own.
        if (in && mono != grey) cost += mono ? 400 : 10;
        if (!Contains(kPlain, format)) cost += 50;
        if (IsFormatYCC422(format) && NeedsRgba(settings)) cost += 20;
        return cost;
    };
    return of(formats.oIn, true) + of(formats.oOut, false);
}

}  // namespace

int DepthOfFormat(GUID const& format) {
    return static_cast<int>(8 * std::min(GetChannelSizeFromFormat(format), 4u));
}

bool Works(Settings const& settings, StageFormats const& formats) {
    catalog::Instance instance = settings.pEntry->Make();
    std::vector<Ref<IXFImage>> images(settings.pEntry->oInputs.size() + 1);
    for (std::size_t i = 0; i < images.size(); ++i) {
        GUID const& format = i + 1 < images.size() ? formats.oIn : formats.oOut;
        if (qzILCreateAndAllocImage(nullptr, IID_IXFImage, 2, 2, format, images[i].Out()) < 0) return false;
    }
    for (std::size_t i = 0; i + 1 < images.size(); ++i) instance.SetInput(i, images[i].Get());
    for (std::size_t i = 0; i < settings.oValues.size(); ++i) instance.Set(i, settings.oValues[i]);
    for (std::size_t i = 0; i < settings.pEntry->oOutputs.size(); ++i) {
        if (!settings.pEntry->oOutputs[i].bOptional) instance.SetOutput(images.back().Get(), i);
    }
    return instance.Effect().Verify() == 1 || !(instance.Effect().GetLastError() == 0x1000Du);
}

StageFormats FormatsForPictures(Settings const& settings, int depth, bool grey) {
    catalog::Entry const& entry = *settings.pEntry;
    std::vector<StageFormats> candidates = Candidates(settings);
    std::stable_sort(candidates.begin(), candidates.end(), [&](StageFormats const& a, StageFormats const& b) {
        return Cost(settings, a, depth, grey) < Cost(settings, b, depth, grey);
    });
    // With a format that was asked for the effect may say itself what is wrong.
    if (settings.oFormat && !candidates.empty()) return candidates[0];
    auto const found = std::find_if(candidates.begin(), candidates.end(),
                                    [&](StageFormats const& formats) { return Works(settings, formats); });
    if (found != candidates.end()) return *found;
    if (!candidates.empty()) return candidates[0];
    throw Failure(kRefused, entry.sName + ": none of this effect's formats can show a picture.");
}

StageFormats FormatsForFrames(Settings const& settings, std::span<GUID const> own) {
    catalog::Entry const& entry = *settings.pEntry;
    std::vector<StageFormats> const candidates = Candidates(settings);
    if (settings.oFormat) {
        if (candidates.empty()) return {*settings.oFormat, *settings.oFormat};
        return candidates[0];
    }
    auto const works = [&](GUID const& format) -> std::optional<StageFormats> {
        for (StageFormats const& formats : candidates) {
            if (formats.oIn == format && Works(settings, formats)) return formats;
        }
        return {};
    };
    for (GUID const& format : own) {
        if (!IsFormatMono(format) && NeedsRgba(settings)) continue;
        if (auto const found = works(format)) return *found;
    }
    std::vector<GUID> const all(own.begin(), own.end());
    for (GUID const& format : {MFIF_RGBA_FLOAT, MFIF_RGBA_RAW_64, MFIF_RGBA_RAW_32, MFIF_MONO_FLOAT}) {
        auto const found = works(format);
        if (found && FirstConvertible(all, found->oIn, false) && FirstConvertible(all, found->oOut, true))
            return *found;
    }
    throw Failure(kRefused, entry.sName + ": the video's frames are " + FormatName(own[0]) +
                                ", and the effect works in no format that they can be converted to.");
}

}  // namespace qzil::command
