#include "media/convert.h"

#include "qzil/convert/convert_image.h"
#include "qzil/image/color.h"
#include "qzil/image/image_helper.h"
#include "qzil/image/image_ops.h"

#include <optional>
#include <vector>

namespace qzil::media {

namespace {

/// Formats that a way may lead over; those that keep the most come first.
constexpr GUID kBetween[] = {MFIF_RGBA_FLOAT, MFIF_CbYCrA_FLOAT_4444, MFIF_CbYCr709A_FLOAT_4444, MFIF_RGBA_RAW_32};

GUID FormatOf(IXFImage& image) {
    GUID format{};
    image.GetFormat(&format);
    return format;
}

/// The one step that the library does not have: a pixel of 4:4:4:4 to RGBA, without a loss of chroma.
bool IsMatrixStep(GUID const& from, GUID const& to) {
    return to == MFIF_RGBA_FLOAT && (from == MFIF_CbYCrA_FLOAT_4444 || from == MFIF_CbYCr709A_FLOAT_4444);
}

void ApplyMatrix(qzILImageHelper const& source, qzILImageHelper const& result) {
    bool const rec709 = IsFormat709(source.m_oFormat);
    auto const& matrix = rec709 ? qzILColor::s_dfArrayYCCA709toRGBA : qzILColor::s_dfArrayYCCAtoRGBA;
    for (int y = 0; y < source.m_iHeight; ++y) {
        auto const* const pIn = reinterpret_cast<float const*>(source.GetPixelPtr(0, y));
        auto* const pOut = reinterpret_cast<float*>(result.GetPixelPtr(0, y));
        for (std::ptrdiff_t x = 0; x < 4 * std::ptrdiff_t{source.m_iWidth}; x += 4) {
            double const ycc[] = {pIn[x + 1], pIn[x], pIn[x + 2]};
            for (int i = 0; i < 3; ++i) {
                pOut[x + i] = static_cast<float>(ycc[0] * matrix[0][i] + ycc[1] * matrix[1][i] + ycc[2] * matrix[2][i]);
            }
            pOut[x + 3] = pIn[x + 3];
        }
    }
}

bool HasStep(GUID const& from, GUID const& to) {
    return IsMatrixStep(from, to) || qzil::CanConvert(from, to);
}

Ref<IXFImage> TakeStep(IXFImage& source, GUID const& format) {
    Ref<IXFImage> result;
    if (!IsMatrixStep(FormatOf(source), format)) {
        unsigned const flags = kConvertFilterToYcc | kConvertFilterFromYcc;
        HRESULT const converted = qzILConvertImage(&source, result.Typed(), format, flags);
        if (converted < 0) throw MediaError(std::string("the conversion to ") + FormatName(format) + " failed");
        return result;
    }
    int width = 0, height = 0;
    source.GetRes(&width, &height);
    if (qzILCreateAndAllocImage(nullptr, IID_IXFImage, width, height, format, result.Out()) < 0) throw std::bad_alloc();
    ApplyMatrix(qzILImageHelper(&source), qzILImageHelper(result.Get()));
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

Ref<IXFImage> Convert(IXFImage& source, GUID const& format) {
    GUID const from = FormatOf(source);
    source.AddRef();
    Ref<IXFImage> image(&source);
    if (from == format) return image;
    auto const way = FindShortestWay(from, format);
    if (!way) {
        throw MediaError("no conversion leads from " + NameOrUnknown(from) + " to " + NameOrUnknown(format));
    }
    for (GUID const& next : *way) image = TakeStep(*image.Get(), next);
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
