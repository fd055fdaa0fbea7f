#include "media/convert.h"

#include "qzil/image/color.h"
#include "qzil/image/image_helper.h"
#include "qzil/image/image_ops.h"
#include "qzil/image/pixel_math.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <vector>

namespace qzil::media {

namespace {

/// Formats that a way may lead over; those that keep the most come first.
constexpr GUID kBetween[] = {MFIF_RGBA_FLOAT,  MFIF_CbYCrA_FLOAT_4444, MFIF_CbYCr709A_FLOAT_4444,
                             MFIF_RGBA_RAW_64, MFIF_MONO_FLOAT,        MFIF_RGBA_RAW_32};

GUID FormatOf(IXFImage& image) {
    GUID format{};
    image.GetFormat(&format);
    return format;
}

/// A pixel of 4:4:4:4 to RGBA, without a loss of chroma.
template <double const (&kMatrix)[4][4]>
void MatrixLine(void const* from, void* to, int width) {
    auto const* const pIn = static_cast<float const*>(from);
    auto* const pOut = static_cast<float*>(to);
    for (std::ptrdiff_t x = 0; x < 4 * std::ptrdiff_t{width}; x += 4) {
        double const ycc[] = {pIn[x + 1], pIn[x], pIn[x + 2]};
        for (int i = 0; i < 3; ++i) {
            pOut[x + i] = static_cast<float>(ycc[0] * kMatrix[0][i] + ycc[1] * kMatrix[1][i] + ycc[2] * kMatrix[2][i]);
        }
        pOut[x + 3] = pIn[x + 3];
    }
}

template <int kChannels>
void WordsToFloat(void const* from, void* to, int width) {
    auto const* const pIn = static_cast<u16 const*>(from);
    auto* const pOut = static_cast<float*>(to);
    for (std::ptrdiff_t i = 0; i < kChannels * std::ptrdiff_t{width}; ++i)
        pOut[i] = static_cast<float>(pIn[i]) / 65535.0f;
}

template <int kChannels>
void FloatToWords(void const* from, void* to, int width) {
    auto const* const pIn = static_cast<float const*>(from);
    auto* const pOut = static_cast<u16*>(to);
    for (std::ptrdiff_t i = 0; i < kChannels * std::ptrdiff_t{width}; ++i) pOut[i] = RoundToWord(pIn[i] * 65535.0f);
}

/// The steps that the library does not have, line by line.
struct LineStep {
    GUID oFrom, oTo;
    void (*pLine)(void const* from, void* to, int width);
};
constexpr LineStep kLineSteps[] = {
    {MFIF_CbYCrA_FLOAT_4444, MFIF_RGBA_FLOAT, MatrixLine<qzILColor::s_dfArrayYCCAtoRGBA>},
    {MFIF_CbYCr709A_FLOAT_4444, MFIF_RGBA_FLOAT, MatrixLine<qzILColor::s_dfArrayYCCA709toRGBA>},
    {MFIF_RGBA_RAW_64, MFIF_RGBA_FLOAT, WordsToFloat<4>},
    {MFIF_RGBA_FLOAT, MFIF_RGBA_RAW_64, FloatToWords<4>},
    {MFIF_MONO_RAW_16, MFIF_MONO_FLOAT, WordsToFloat<1>},
    {MFIF_MONO_FLOAT, MFIF_MONO_RAW_16, FloatToWords<1>},
};

LineStep const* FindLineStep(GUID const& from, GUID const& to) {
    auto const found = std::find_if(std::begin(kLineSteps), std::end(kLineSteps),
                                    [&](LineStep const& step) { return step.oFrom == from && step.oTo == to; });
    return found != std::end(kLineSteps) ? &*found : nullptr;
}

/// The library narrows 16 bits to their low bytes, the inverse of its widening: no picture survives that unless it was
/// widened from 8 bits.
bool KeepsLowBytes(GUID const& from, GUID const& to) {
    return (from == MFIF_RGBA_RAW_64 && (to == MFIF_RGBA_RAW_32 || to == MFIF_BGRA_RAW_32)) ||
           (from == MFIF_MONO_RAW_16 && to == MFIF_MONO_RAW_8);
}

bool HasStep(GUID const& from, GUID const& to) {
    return FindLineStep(from, to) || (qzil::CanConvert(from, to) && !KeepsLowBytes(from, to));
}

Ref<IXFImage> TakeStep(IXFImage& source, GUID const& format, unsigned flags) {
    Ref<IXFImage> result;
    LineStep const* const pStep = FindLineStep(FormatOf(source), format);
    if (!pStep) {
        HRESULT const converted = qzILConvertImage(&source, result.Typed(), format, flags);
        if (converted < 0) throw MediaError(std::string("the conversion to ") + FormatName(format) + " failed");
        return result;
    }
    qzILImageHelper const from(&source);
    if (qzILCreateAndAllocImage(nullptr, IID_IXFImage, from.m_iWidth, from.m_iHeight, format, result.Out()) < 0) {
        throw std::bad_alloc();
    }
    qzILImageHelper const to(result.Get());
    if (!from.m_pLineZero) throw MediaError("the image has no pixels");
    for (int y = 0; y < from.m_iHeight; ++y) pStep->pLine(from.GetPixelPtr(0, y), to.GetPixelPtr(0, y), from.m_iWidth);
    return result;
}

/// The formats after the first one on a shortest way; nothing when there is none.
std::optional<std::vector<GUID>> FindWay(GUID const& from, GUID const& to, int steps) {
    if (HasStep(from, to)) return std::vector<GUID>{to};
    if (steps == 1) return {};
    for (GUID const& between : kBetween) {
        if (between == from || !HasStep(from, between)) continue;
        if (auto rest = FindWay(between, to, steps - 1)) {
            rest->insert(rest->begin(), between);
            return rest;
        }
    }
    return {};
}

std::optional<std::vector<GUID>> FindShortestWay(GUID const& from, GUID const& to) {
    std::optional<std::vector<GUID>> way;
    for (int steps = 1; steps <= 3 && !way; ++steps) way = FindWay(from, to, steps);
    return way;
}

std::string NameOrUnknown(GUID const& format) {
    char const* const name = FormatName(format);
    return name ? name : "an unknown format";
}

}  // namespace

Ref<IXFImage> Convert(IXFImage& source, GUID const& format, unsigned flags) {
    GUID const from = FormatOf(source);
    source.AddRef();
    Ref<IXFImage> image(&source);
    if (from == format) return image;
    auto const way = FindShortestWay(from, format);
    if (!way) {
        throw MediaError("no conversion leads from " + NameOrUnknown(from) + " to " + NameOrUnknown(format));
    }
    for (GUID const& next : *way) image = TakeStep(*image.Get(), next, flags);
    return image;
}

bool CanConvert(GUID const& from, GUID const& to) {
    return from == to || FindShortestWay(from, to).has_value();
}

bool HoldsPictures(GUID const& format) {
    if (Contains(WorkingFormats(), format)) return true;
    return CanConvert(MFIF_RGBA_RAW_32, format) && CanConvert(format, MFIF_RGBA_RAW_32);
}

}  // namespace qzil::media
