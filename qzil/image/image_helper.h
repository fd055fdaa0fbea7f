#pragma once

#include "qzil/image/format_row.h"
#include "qzil/image/image.h"
#include "qzil/platform/api.h"

#include <cstddef>
#include <cstdint>

namespace qzil {

/// Attribute of an MFIF_MONO_RAW_16_TD image whose lines run top-down: the alpha plane split off a 10.6 image has that
/// format, which is not top-down, yet keeps the direction of its parent.
inline constexpr unsigned kAttributeTopDown = 0x80000000;

/// Where the lines of an image lie. Logical line 0 of a top-down format is its last memory row, so y grows upward.
struct LineOrder {
    bool bTopDown = false;
    bool bSplitField = false;
    bool bSplitFieldEven = false;

    /// Memory row of a logical line of an image of the given height.
    std::int64_t MemoryRow(std::int64_t line, std::int64_t height) const;
};

}  // namespace qzil

/// Cached view of one image, used by all line walking. An empty helper has no image and all fields zero.
class QZIL_API qzILImageHelper {
public:
    QZIL_CLASS_NAME(qzILImageHelper)
    char const* GetActualClassName() const { return m_ClassName; }

    qzILImageHelper() = default;
    explicit qzILImageHelper(IXFImage* image) { SetImage(image); }

    /// Derives every field from the image but the two offsets and the channel offset, which stay. Null empties it.
    /// The lines stay null for an image whose memory does not hold its format, its sizes and its resolution.
    void SetImage(IXFImage* image);
    bool IsEmpty() const { return m_pImage == nullptr; }
    /// Empties the view, the offsets included.
    void Init() { *this = qzILImageHelper(); }
    void Trash() {}
    /// The image's memory holds its format, its sizes and its resolution, of at least one pixel: the sizes of channels
    /// and pixels are those of the format, where it has any, and every address of a plane lies in the pixel array.
    bool HasPixels() const { return m_pLineZero != nullptr; }
    /// The row of the image's format.
    qzil::FormatRow const& Format() const { return *m_pFormatRow; }
    /// Address of a colour pixel; null without pixels.
    unsigned char* GetPixelPtr(int x, int y) const;
    /// Address of a pixel's alpha, interleaved or in its plane; null without pixels.
    unsigned char* GetAlphaPtr(int x, int y) const;

    IXFImage* m_pImage = nullptr;
    std::uint32_t m_uPixelSize = 0;
    std::uint32_t m_uChannelSize = 0;
    std::int32_t m_iWidth = 0;
    std::int32_t m_iHeight = 0;
    unsigned char* m_pPixelArray = nullptr;
    unsigned char* m_pLineZero = nullptr;       ///< line 0, column 0 of the colour plane
    unsigned char* m_pAlphaLineZero = nullptr;  ///< the same of the alpha channel or plane
    std::int32_t m_iTopDown = 0;
    std::int32_t m_iSplitField = 0;
    std::int32_t m_iSplitFieldEven = 0;
    std::int32_t m_iSeparateAlpha = 0;
    std::int32_t m_iOffsetX = 0;  ///< added to the coordinates of every address
    std::int32_t m_iOffsetY = 0;
    std::uint32_t m_uChannelOffset = 0;  ///< channel index added to every colour address
    std::int32_t m_iPixelStep = 0;       ///< colour bytes per pixel
    std::ptrdiff_t m_iLineStepA = 0;     ///< from line 0 to line 1
    std::ptrdiff_t m_iLineStepB = 0;     ///< from line 1 to line 2
    std::int32_t m_iAlphaPixelStep = 0;
    std::ptrdiff_t m_iAlphaLineStep = 0;
    GUID m_oFormat{};

private:
    bool HoldsPixels() const;

    qzil::FormatRow const* m_pFormatRow = &qzil::kUnknownFormat;
};

namespace qzil {

/// The image as the library's own class; null for one of a host's.
CMFImage* OwnImage(IXFImage* image);

/// Pixels may be copied between the two as bytes: the formats are one and, where these leave them open, the sizes.
inline bool SameLayout(qzILImageHelper const& a, qzILImageHelper const& b) {
    return a.m_oFormat == b.m_oFormat && a.m_uPixelSize == b.m_uPixelSize && a.m_uChannelSize == b.m_uChannelSize;
}

/// As qzILImageHelper::HasPixels: what is asked of every image that something is read from or written to.
bool HasPixels(IXFImage* image);

}  // namespace qzil
