#pragma once

#include "qzil/image/formats.h"
#include "qzil/image/image.h"

#include <cstddef>
#include <vector>

/// Where the pixels of an image lie, worked out plainly from its format, apart from the library's own addressing.
namespace qzil::test {

struct PlainLayout {
    GUID oFormat{};
    int iWidth = 0;
    int iHeight = 0;
    unsigned uPixelSize = 0;
    unsigned uChannelSize = 0;

    PlainLayout() = default;
    explicit PlainLayout(IXFImage* image) {
        image->GetFormat(&oFormat);
        image->GetRes(&iWidth, &iHeight);
        image->GetPixelSize(&uPixelSize);
        image->GetChannelSize(&uChannelSize);
    }

    bool HasAlphaPlane() const { return IsFormatWithSeparateAlpha(oFormat); }
    std::size_t PixelStep() const { return HasAlphaPlane() ? uPixelSize - uChannelSize : uPixelSize; }

    /// Memory row of logical line y.
    int Row(int y) const {
        int const m = IsFormatTopDown(oFormat) ? iHeight - 1 - y : y;
        if (!IsFormatSplitField(oFormat)) return m;
        bool const evenFirst = IsFormatSplitFieldEven(oFormat);
        if (y % 2 == 0) return evenFirst ? m / 2 : iHeight / 2 + m / 2;
        return evenFirst ? m / 2 + (iHeight + 1) / 2 : m / 2;
    }
    /// Offset of a colour pixel from the pixel array's start.
    std::size_t Pixel(int x, int y) const {
        return (static_cast<std::size_t>(Row(y)) * static_cast<std::size_t>(iWidth) + static_cast<std::size_t>(x)) *
               PixelStep();
    }
    /// Offset of a pixel's alpha, in its plane or behind the colours.
    std::size_t Alpha(int x, int y) const {
        if (!HasAlphaPlane()) return Pixel(x, y) + uPixelSize - uChannelSize;
        int const row = IsFormatTopDown(oFormat) ? iHeight - 1 - y : y;
        std::size_t const plane = PixelStep() * static_cast<std::size_t>(iWidth) * static_cast<std::size_t>(iHeight);
        return plane +
               (static_cast<std::size_t>(row) * static_cast<std::size_t>(iWidth) + static_cast<std::size_t>(x)) *
                   uChannelSize;
    }
};

/// The formats whose pixels an image can hold as soon as the format is set.
inline std::vector<GUID> DescribedFormats() {
    std::vector<GUID> formats;
    for (auto const& entry : AllFormats()) {
        if (GetPixelSizeFromFormat(entry.oFormat) != 0 && entry.oFormat != MFIF_RGB_S2_14) {
            formats.push_back(entry.oFormat);
        }
    }
    for (GUID const& format :
         {MFIF_RGBA_RAW_32_VIDEO, MFIF_RGB_RAW_48, MFIF_RGB_HF_BU, MFIF_RGBA_HF_BU, MFIF_MONO_HF_BU}) {
        formats.push_back(format);
    }
    return formats;
}

}  // namespace qzil::test
