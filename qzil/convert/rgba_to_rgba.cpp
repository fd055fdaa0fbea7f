#include "qzil/convert/rgba_to_rgba.h"

#include "qzil/convert/depth.h"
#include "qzil/convert/diffusion.h"
#include "qzil/convert/dither.h"
#include "qzil/convert/formats.h"

#include <utility>

using namespace qzil;

namespace {

constexpr std::array kFloatRgba{MFIF_RGBA_FLOAT, MFIF_RGBA_FLOAT_BU};
constexpr std::array kFloatRgb{MFIF_RGB_FLOAT, MFIF_RGB_FLOAT_BU};
constexpr std::array kVideoRgba{MFIF_RGBA_RAW_32_VIDEO, MFIF_BGRA_RAW_32_VIDEO};
/// Any two of one of these lists that differ in depth are converted into each other.
constexpr std::array kDepthRgba{MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_32_VIDEO, MFIF_BGRA_RAW_32_VIDEO,
                                MFIF_RGBA_S2_14,  MFIF_RGBA_FLOAT,        MFIF_RGBA_FLOAT_BU};
constexpr std::array kDepthMono{MFIF_MONO_RAW_8, MFIF_MONO_RAW_8_TD, MFIF_MONO_S2_14, MFIF_MONO_FLOAT,
                                MFIF_MONO_FLOAT_BU};

using CopyRow = kernel::TypedConvertRow<SampleCount> DepthRows::*;

/// Conversions that move or widen samples, by the format on either side.
struct Move {
    FormatList oFrom, oTo;
    CopyRow pRow;
    int iSamples;
    bool bPolls;
};

constexpr std::array kRgba32{MFIF_RGBA_RAW_32}, kBgra32{MFIF_BGRA_RAW_32}, kRgbaVideo{MFIF_RGBA_RAW_32_VIDEO},
    kBgraVideo{MFIF_BGRA_RAW_32_VIDEO}, kRgba64{MFIF_RGBA_RAW_64}, kMono8{MFIF_MONO_RAW_8}, kMono16{MFIF_MONO_RAW_16},
    kRgb24{MFIF_RGB_RAW_24}, kRgbFloat{MFIF_RGB_FLOAT}, kRgbaFloat{MFIF_RGBA_FLOAT}, kRgbFloatBu{MFIF_RGB_FLOAT_BU},
    kRgbaFloatBu{MFIF_RGBA_FLOAT_BU};
constexpr Move kMoves[] = {
    {kRgba64, kRgba32, &DepthRows::pNarrow16, 4, false},
    {kMono16, kMono8, &DepthRows::pNarrow16, 1, false},
    {kRgba32, kRgba64, &DepthRows::pWiden8, 4, false},
    {kMono8, kMono16, &DepthRows::pWiden8, 1, false},
    {kRgba32, kBgra32, &DepthRows::pSwap8, 4, false},
    {kBgra32, kRgba32, &DepthRows::pSwap8, 4, false},
    {kRgbaVideo, kBgraVideo, &DepthRows::pSwap8, 4, false},
    {kBgraVideo, kRgbaVideo, &DepthRows::pSwap8, 4, false},
    {kRgba32, kRgb24, &DepthRows::pRemoveAlpha8, 4, true},
    {kRgb24, kRgba32, &DepthRows::pAddAlpha8, 4, true},
    {kRgbFloat, kRgbaFloat, &DepthRows::pAddAlphaFloat, 4, true},
    {kRgbFloatBu, kRgbaFloatBu, &DepthRows::pAddAlphaFloat, 4, true},
    {kFloatRgba, kFloatRgb, &DepthRows::pRemoveAlphaFloat, 4, true},
};

Move const* FindMove(GUID const& input, GUID const& output) {
    for (Move const& move : kMoves) {
        if (Contains(move.oFrom, input) && Contains(move.oTo, output)) return &move;
    }
    return nullptr;
}

bool ChangesLevels(GUID const& input, GUID const& output) {
    return (input == MFIF_RGBA_RAW_32 && Contains(kVideoRgba, output)) ||
           (Contains(kVideoRgba, input) && output == MFIF_RGBA_RAW_32);
}

bool ChangesDepth(GUID const& input, GUID const& output) {
    bool const listed = (Contains(kDepthRgba, input) && Contains(kDepthRgba, output)) ||
                        (Contains(kDepthMono, input) && Contains(kDepthMono, output));
    return listed && GetChannelTypeFromFormat(input) != GetChannelTypeFromFormat(output);
}

}  // namespace

bool qzILRGBA2RGBA::Converts(GUID const& input, GUID const& output) {
    return ChangesLevels(input, output) || FindMove(input, output) || ChangesDepth(input, output);
}

qzILStatus qzILRGBA2RGBA::Verify() {
    if (qzILStatus const status = qzILMonadicConvertProc::Verify(); status != 1) return status;
    GUID input{}, output{};
    m_pInputImg->GetFormat(&input);
    m_pOutputImg->GetFormat(&output);
    return Converts(input, output) ? 1 : Fail(0x10034);
}

void* qzILRGBA2RGBA::GetConvertedColor(qzILColor const& color) {
    return ColorForOutput(m_pOutputImg, color, m_oConverted);
}

qzILStatus qzILRGBA2RGBA::DoEffect() {
    StartDither(m_oRandom);
    GUID const &input = InputFormat(), &output = OutputFormat();
    if (ChangesLevels(input, output)) return ConvertVideoToGraphicsOrGraphicsToVideo();
    if (Move const* const pMove = FindMove(input, output)) {
        kernel::ConvertTraits traits = PixelTraitsOf(input, output);
        traits.bPolls = pMove->bPolls;
        SampleCount const count{pMove->iSamples};
        return RunRows(traits, kernel::BoundConversion(GetDepthRows().*pMove->pRow, count));
    }
    return ChangesDepth(input, output) ? ConvertToOrFromFloatOrS2_14() : Fail(0x10034);
}

qzILStatus qzILRGBA2RGBA::ConvertVideoToGraphicsOrGraphicsToVideo() {
    bool const toGraphics = OutputFormat() == MFIF_RGBA_RAW_32;
    GUID const& video = toGraphics ? InputFormat() : OutputFormat();
    // 255 / 219 and 219 / 255 in 16.16; the offsets take the black level and the rounding.
    LevelShift const shift{toGraphics ? 76309 : 56283, toGraphics ? -1188176 : 0x108000, IsBgrOrder(video)};
    return RunRows(PixelTraitsOf(InputFormat(), OutputFormat()),
                   kernel::BoundConversion(GetDepthRows().pLevels, shift));
}

namespace {

template <class From, class To>
kernel::TypedConvertRow<LinearDepth> LinearRow(DepthRows const& rows) {
    if constexpr (std::is_same_v<From, u8>) {
        if constexpr (std::is_same_v<To, s16>) {
            return rows.pUbyteToS2_14;
        } else {
            return rows.pUbyteToFloat;
        }
    } else if constexpr (std::is_same_v<From, s16>) {
        if constexpr (std::is_same_v<To, u8>) {
            return rows.pS2_14ToUbyte;
        } else {
            return rows.pS2_14ToFloat;
        }
    } else if constexpr (std::is_same_v<To, u8>) {
        return rows.pFloatToUbyte;
    } else {
        return rows.pFloatToS2_14;
    }
}

/// A dithered conversion on its way: every line starts its errors anew.
template <class From, int kChannels>
struct DitheredRows {
    using Diffusion =
        std::conditional_t<std::is_same_v<From, float>, FloatDiffusion<kChannels>, FixedDiffusion<kChannels>>;

    qzILRandomNumber& oRandom;
    bool bSwap;
    bool bVideo;
    Diffusion oDiffusion{};

    void Start() {
        float errors[4] = {};
        for (int c = 0; c < kChannels; ++c) errors[c] = oRandom.GetNumber();
        if constexpr (std::is_same_v<From, float>) {
            oDiffusion = {{errors[0], errors[1], errors[2], errors[3]}, bVideo};
        } else {
            oDiffusion = FixedDiffusionOf<kChannels>(errors, bVideo);
        }
    }
    static void Row(kernel::ConvertRow const& row, void const* self) {
        auto& rows = *static_cast<DitheredRows*>(const_cast<void*>(self));
        if (row.bLineStart) rows.Start();
        rows.oDiffusion.Row(reinterpret_cast<From const*>(row.pIn), row.pOut, row.iPixels);
        if (!rows.bSwap) return;
        for (int i = 0; i < row.iPixels; ++i) std::swap(row.pOut[4 * i], row.pOut[4 * i + 2]);
    }
};

/// A change of depth; `run` takes traits and a call, and runs them.
template <class Run>
struct DepthChange {
    kernel::ConvertTraits oTraits;
    XFChannelType uTarget;
    int iSamples;
    bool bSwap, bVideo;
    qzILRandomNumber* pRandom;  ///< null without dithering
    Run oRun;

    template <class From, class To>
    qzILStatus Plain() {
        if constexpr (std::is_same_v<From, To>) {
            return -1;
        } else {
            LinearDepth const c = LinearDepthOf<From, To>(bVideo ? Levels::Video : Levels::Full, iSamples, bSwap);
            return oRun(oTraits, kernel::BoundConversion(LinearRow<From, To>(GetDepthRows()), c));
        }
    }
    template <class From, int kChannels>
    qzILStatus Dithered() {
        DitheredRows<From, kChannels> rows{*pRandom, bSwap, bVideo};
        oTraits.bOrdered = true;
        return oRun(oTraits, kernel::ConvertCall{&rows.Row, &rows});
    }
    template <class From>
    qzILStatus Of() {
        switch (uTarget) {
            case XFChannelTypeUInt8:
                if constexpr (!std::is_same_v<From, u8>) {
                    if (pRandom) return iSamples == 1 ? Dithered<From, 1>() : Dithered<From, 4>();
                }
                return Plain<From, u8>();
            case XFChannelTypeS2_14: return Plain<From, s16>();
            default: return Plain<From, float>();
        }
    }
};

}  // namespace

qzILStatus qzILRGBA2RGBA::ConvertToOrFromFloatOrS2_14() {
    auto const run = [this](auto const& traits, auto const& call) { return RunRows(traits, call); };
    DepthChange<decltype(run)> change{PixelTraitsOf(InputFormat(), OutputFormat()),
                                      GetChannelTypeFromFormat(OutputFormat()),
                                      IsFormatMono(OutputFormat()) ? 1 : 4,
                                      IsBgrOrder(InputFormat()) || IsBgrOrder(OutputFormat()),
                                      IsFormatVideoLevels(InputFormat()) || IsFormatVideoLevels(OutputFormat()),
                                      m_iDithering ? &m_oRandom : nullptr,
                                      run};
    switch (GetChannelTypeFromFormat(InputFormat())) {
        case XFChannelTypeUInt8: return change.Of<u8>();
        case XFChannelTypeS2_14: return change.Of<s16>();
        default: return change.Of<float>();
    }
}
