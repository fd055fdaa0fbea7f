#include "picture_run.h"

#include "clamped_convolve.h"
#include "command.h"
#include "effect_run.h"
#include "media/convert.h"
#include "media/y4m_image.h"
#include "qzil/image/image_helper.h"
#include "video_options.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace qzil::command {

namespace {

/// What has come of a chain so far.
struct State {
    Ref<IXFImage> oImage;
    int iWidth = 0, iHeight = 0;  ///< shown; images of pairs may be a column wider
    int iDepth = 0;
    bool bGrey = true;
    bool bAlpha = false;
    bool bHalf = false;
    media::Tags oTags;
};

/// The deepest of the inputs, and what they have in common.
State Together(Settings const& settings, StageSources const& sources, State const& before) {
    State all;
    bool first = true;
    for (media::Source const& source : sources.oInputs) {
        bool const isBefore = source.sPath.empty();
        media::Picture const& picture = source.oPicture;
        int const depth = isBefore ? before.iDepth : picture.iDepth;
        // Of the deepest picture, so that half floats alone stay half.
        if (depth > all.iDepth) all.bHalf = isBefore ? before.bHalf : picture.oTags.bHalf;
        all.iDepth = std::max(all.iDepth, depth);
        all.bGrey = all.bGrey && (isBefore ? before.bGrey : picture.iChannels == 1);
        all.bAlpha = all.bAlpha || (isBefore ? before.bAlpha : picture.iChannels % 2 == 0);
        if (!std::exchange(first, false)) continue;
        all.iWidth = isBefore ? before.iWidth : picture.iWidth;
        all.iHeight = isBefore ? before.iHeight : picture.iHeight;
        all.oTags = isBefore ? before.oTags : picture.oTags;
    }
    if (sources.oInputs.empty()) {
        all.iDepth = 8;
        all.bGrey = false;
        all.bAlpha = true;
    }
    if (sources.oOnto) {
        all.bAlpha = all.bAlpha || sources.oOnto->iChannels % 2 == 0;
        all.bGrey = false;
    }
    if (settings.oSize) {
        all.iWidth = settings.oSize->x;
        all.iHeight = settings.oSize->y;
    }
    return all;
}

qzILVector2l SizeOf(IXFImage& image) {
    qzILImageHelper const helper(&image);
    return {helper.m_iWidth, helper.m_iHeight};
}

/// Limits a float image to full scale.
void Clamp(IXFImage& image) {
    qzILImageHelper const helper(&image);
    std::size_t const count = helper.m_uPixelSize / sizeof(float) * static_cast<unsigned>(helper.m_iWidth);
    for (int y = 0; y < helper.m_iHeight; ++y) {
        auto* const pLine = reinterpret_cast<float*>(helper.GetPixelPtr(0, y));
        for (std::size_t i = 0; i < count; ++i) pLine[i] = pLine[i] > 0.0f ? std::min(pLine[i], 1.0f) : 0.0f;
    }
}

std::string BitsText(int bits) {
    return bits == 32 ? "float" : std::to_string(bits) + " bits";
}

class Chain {
public:
    explicit Chain(RunSettings const& run) : m_oRun(run) {}

    void RunStage(Settings const& settings, StageSources const& sources) {
        catalog::Entry const& entry = *settings.pEntry;
        State state = Together(settings, sources, m_oState);
        int const wanted = m_oRun.oFiles.oDepth.value_or(state.iDepth);
        bool const byParts = settings.bClamp && TakesKernel(entry);
        GUID const deep = state.bGrey ? MFIF_MONO_RAW_16 : MFIF_RGBA_RAW_64;
        StageFormats const formats =
            byParts ? StageFormats{deep, deep} : FormatsForPictures(settings, wanted, state.bGrey);
        NoteDepth(settings, state, formats);
        m_bPairs = media::HoldsPairs(formats.oIn) || media::HoldsPairs(formats.oOut);
        std::vector<Ref<IXFImage>> images;
        std::vector<qzILVector2l> sizes;
        for (media::Source const& source : sources.oInputs) {
            images.push_back(source.sPath.empty() ? Before(entry, formats.oIn)
                                                  : Image(entry, source.oPicture, formats.oIn));
            sizes.push_back(SizeOf(*images.back().Get()));
        }
        std::optional<qzILVector2l> maskSize;
        Ref<IXFImage> mask;
        if (sources.oMask) {
            mask = Image(entry, sources.oMask->oPicture, catalog::MaskFormatFor(formats.oIn));
            maskSize = SizeOf(*mask.Get());
        }
        if (byParts) {
            state.oImage = ConvolveClamped(settings, deep, images.at(0), wanted == 8 ? 257.0 : 1.0, mask, maskSize);
            state.bGrey = state.bGrey && IsFormatMono(deep);
            m_oState = std::move(state);
            m_bAsked = false;
            return;
        }
        for (std::optional<media::Source> const& further : sources.oFurther) {
            images.push_back(further ? Image(entry, further->oPicture, formats.oIn) : Ref<IXFImage>());
        }
        EffectRun run(settings, formats, sizes, maskSize);
        if (mask) run.SetMask(mask);
        if (sources.oOnto) run.SetOnto(Image(entry, *sources.oOnto, formats.oOut));
        run.MoveTo(m_iFrame, m_iFrames, m_oRun.bSmooth);
        std::vector<Ref<IXFImage>> outputs;
        std::size_t further = 0;
        for (catalog::Port const& port : entry.oOutputs) {
            bool const makes = !port.bOptional || !settings.oFurtherOutputs[further++].empty();
            outputs.push_back(makes ? run.MakeOutput() : Ref<IXFImage>());
        }
        auto const time = run.Execute(images, outputs);
        TellTime(entry, run, time.count() * 1000.0, formats);
        m_oResults = run.Results();
        if (outputs.empty()) return;
        if (settings.bClamp) Clamp(*outputs[0].Get());
        state.oImage = outputs[0];
        m_oFurther.assign(outputs.begin() + 1, outputs.end());
        state.bAlpha = state.bAlpha || (!IsFormatMono(formats.oOut) && ChangesAlpha(settings));
        state.bGrey = IsFormatMono(formats.oOut);
        m_oState = std::move(state);
        m_bAsked = settings.oFormat || settings.oToFormat;
    }

    std::vector<NamedNumbers> const& Results() const { return m_oResults; }
    media::Picture Result() const { return PictureOf(*m_oState.oImage.Get()); }
    /// Of an output that may be absent; its place among those.
    media::Picture Further(std::size_t index) const { return PictureOf(*m_oFurther[index].Get()); }

    media::Picture PictureOf(IXFImage& image) const {
        catalog::Entry const& entry = *m_oRun.oStages.back().pEntry;
        media::Picture picture =
            NamingEffect(entry, [&] { return Cropped(media::FromImage(image, !m_oState.bAlpha), m_oState.iWidth); });
        picture.oTags = m_oState.oTags;
        picture.oTags.bHalf = m_oState.bHalf && picture.iDepth == 32;
        int const depth = m_oRun.oFiles.oDepth.value_or(m_bAsked ? picture.iDepth : m_iDeepest);
        return depth < picture.iDepth ? media::AtDepth(picture, depth) : picture;
    }

    void SetFrame(long long frame, long long frames) {
        m_iFrame = frame;
        m_iFrames = frames;
    }
    std::string const& Times() const { return m_sTimes; }
    int Deepest() const { return m_iDeepest; }

private:
    static bool ChangesAlpha(Settings const& settings) {
        return (*ChannelBits(settings.sChannels, MFIF_RGBA_RAW_32) & 8u) != 0;
    }

    void NoteDepth(Settings const& settings, State const& state, StageFormats const& formats) {
        m_iDeepest = std::max(m_iDeepest, state.iDepth);
        int const kept = DepthOfFormat(formats.oIn);
        if (settings.oFormat || m_oRun.oFiles.oDepth || kept >= state.iDepth) return;
        Note(settings.pEntry->sName + ": " + std::to_string(kept) + " of " + std::to_string(state.iDepth) +
             " bits kept; the effect has no deeper format for such pictures.");
    }

    Ref<IXFImage> Image(catalog::Entry const& entry, media::Picture const& picture, GUID const& format) const {
        return m_bPairs ? MakeImage(entry, Padded(picture, true), format) : MakeImage(entry, picture, format);
    }

    /// The result of the effect before.
    Ref<IXFImage> Before(catalog::Entry const& entry, GUID const& format) const {
        return NamingEffect(entry, [&] {
            IXFImage& image = *m_oState.oImage.Get();
            bool const fits = SizeOf(image).x == m_oState.iWidth + (m_bPairs ? m_oState.iWidth % 2 : 0);
            if (fits && media::CanConvert(qzILImageHelper(&image).m_oFormat, format))
                return media::Convert(image, format);
            return media::ToImage(Padded(Cropped(media::FromImage(image), m_oState.iWidth), m_bPairs), format);
        });
    }

    void TellTime(catalog::Entry const& entry, EffectRun const& run, double milliseconds, StageFormats const& formats) {
        std::string const size = SizeText(run.OutputSize().x, run.OutputSize().y);
        char text[200];
        std::snprintf(text, sizeof text, "%s: %.3f ms (%s pixels, %s)\n", entry.sName.c_str(), milliseconds,
                      size.c_str(), FormatName(formats.oIn));
        if (m_oRun.bTime) m_sTimes += text;
        if (m_oRun.bVerbose) {
            Note(entry.sName + ": " + size + " pixels, worked on in " + FormatName(formats.oIn) + ", to " +
                 BitsText(DepthOfFormat(formats.oOut)) + ".");
        }
    }

    RunSettings const& m_oRun;
    State m_oState;
    std::vector<Ref<IXFImage>> m_oFurther;
    std::vector<NamedNumbers> m_oResults;
    bool m_bPairs = false;
    bool m_bAsked = false;
    int m_iDeepest = 0;
    long long m_iFrame = 0, m_iFrames = 1;
    std::string m_sTimes;
};

/// Writes a result and tells what the file does not hold of it.
void WritePicture(RunSettings const& run, std::string const& path, media::Picture picture, int deepest) {
    int const kept = std::min(picture.iDepth, media::DepthOf(path));
    int const had = std::min(deepest, picture.iDepth);
    if (kept < had && !run.oFiles.oDepth && !(picture.oTags.bHalf && kept == 16)) {
        Note("'" + path + "': " + std::to_string(kept) + " of " + std::to_string(had) +
             " bits kept; this kind of file holds no more.");
    }
    if (picture.iChannels % 2 == 0 && !media::HoldsAlpha(path)) {
        Note("'" + path + "': alpha is left out; this kind of file has none.");
    }
    WriteOutput(path, std::move(picture), run.oFiles);
}

}  // namespace

std::string RunPictures(RunSettings const& run, std::vector<StageSources> const& sources, long long frame,
                        long long frames) {
    Chain chain(run);
    chain.SetFrame(frame, frames);
    for (std::size_t i = 0; i < sources.size(); ++i) chain.RunStage(run.oStages[i], sources[i]);
    WritePicture(run, run.sOutput, chain.Result(), chain.Deepest());
    auto const& further = run.oStages.back().oFurtherOutputs;
    for (std::size_t i = 0; i < further.size(); ++i) {
        if (!further[i].empty()) WritePicture(run, further[i], chain.Further(i), chain.Deepest());
    }
    return chain.Times();
}

std::vector<NamedNumbers> NumbersOf(RunSettings const& run, std::vector<StageSources> const& sources) {
    Chain chain(run);
    for (std::size_t i = 0; i < sources.size(); ++i) chain.RunStage(run.oStages[i], sources[i]);
    return chain.Results();
}

media::Picture ResultOf(RunSettings const& run, std::vector<StageSources> const& sources) {
    Chain chain(run);
    for (std::size_t i = 0; i < sources.size(); ++i) chain.RunStage(run.oStages[i], sources[i]);
    return chain.Result();
}

}  // namespace qzil::command
