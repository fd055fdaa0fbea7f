#include "qzil/image/image_helper.h"

#include <typeinfo>

namespace {
/// Far above any that exist; the product of both stays in 63 bits.
constexpr unsigned kLargestPixel = 0xFFFF;
constexpr std::uint64_t kMostPixels = std::uint64_t{1} << 47;
}  // namespace

namespace qzil {

std::int64_t LineOrder::MemoryRow(std::int64_t line, std::int64_t height) const {
    std::int64_t const row = bTopDown ? height - 1 - line : line;
    if (!bSplitField) return row;
    bool const odd = (line & 1) != 0;
    if (bSplitFieldEven) return (row >> 1) + (odd ? (height + 1) >> 1 : 0);
    return (row >> 1) + (odd ? 0 : height >> 1);
}

CMFImage* OwnImage(IXFImage* image) {
    if (!image) return nullptr;
    // Nearly every image is of the class itself, which one comparison tells.
    if (typeid(*image) == typeid(CMFImage)) return static_cast<CMFImage*>(image);
    return dynamic_cast<CMFImage*>(image);
}

bool HasPixels(IXFImage* image) {
    return qzILImageHelper(image).HasPixels();
}

}  // namespace qzil

void qzILImageHelper::SetImage(IXFImage* image) {
    qzILImageHelper fresh;
    fresh.m_iOffsetX = m_iOffsetX;
    fresh.m_iOffsetY = m_iOffsetY;
    fresh.m_uChannelOffset = m_uChannelOffset;
    *this = fresh;
    if (!image) return;

    m_pImage = image;
    void* pPixels = nullptr;
    unsigned attributes = 0;
    image->GetPixelSize(&m_uPixelSize);
    image->GetChannelSize(&m_uChannelSize);
    image->GetRes(&m_iWidth, &m_iHeight);
    image->GetPixelArray(&pPixels);
    image->GetFormat(&m_oFormat);
    image->GetAllAttributes(&attributes);
    m_pPixelArray = static_cast<unsigned char*>(pPixels);
    qzil::FormatRow const& format = qzil::RowOf(m_oFormat);
    m_pFormatRow = &format;
    bool const turned = m_oFormat == MFIF_MONO_RAW_16_TD && (attributes & qzil::kAttributeTopDown) != 0;
    m_iTopDown = format.IsTopDown() || turned;
    m_iSplitField = format.IsSplitField();
    m_iSplitFieldEven = format.IsSplitFieldEven();
    m_iSeparateAlpha = format.HasAlphaPlane();
    if (!HoldsPixels()) return;

    qzil::LineOrder const order{m_iTopDown != 0, m_iSplitField != 0, m_iSplitFieldEven != 0};
    std::int64_t const row0 = order.MemoryRow(0, m_iHeight);
    std::int64_t const row1 = order.MemoryRow(1, m_iHeight);
    std::int64_t const row2 = order.MemoryRow(2, m_iHeight);
    std::int64_t const channel = m_uChannelSize;
    m_iPixelStep = static_cast<std::int32_t>(m_iSeparateAlpha ? m_uPixelSize - m_uChannelSize : m_uPixelSize);
    std::ptrdiff_t const lineBytes = std::ptrdiff_t{m_iPixelStep} * m_iWidth;
    m_iLineStepA = lineBytes * (row1 - row0);
    m_iLineStepB = lineBytes * (row2 - row1);
    m_iAlphaPixelStep = m_iSeparateAlpha ? static_cast<std::int32_t>(channel) : m_iPixelStep;
    m_iAlphaLineStep = !m_iSeparateAlpha ? m_iLineStepA : (m_iTopDown ? -channel : channel) * m_iWidth;

    m_pLineZero = m_pPixelArray + lineBytes * row0;
    if (m_iSeparateAlpha) {
        unsigned char* const pPlane = m_pPixelArray + lineBytes * m_iHeight;
        m_pAlphaLineZero = m_iTopDown ? pPlane + channel * m_iWidth * (m_iHeight - 1) : pPlane;
    } else {
        m_pAlphaLineZero = m_pLineZero + (std::int64_t{m_uPixelSize} - channel);
    }
}

bool qzILImageHelper::HoldsPixels() const {
    if (!m_pPixelArray || m_iWidth <= 0 || m_iHeight <= 0) return false;
    // Where setting the format stores no sizes they may be unset, and every address is the pixel array's. A format that
    // has none at all takes what was set by hand.
    bool const unset = m_uPixelSize == 0 && m_uChannelSize == 0 && m_pFormatRow->oStored.uPixelSize == 0;
    unsigned const pixelBytes = m_pFormatRow->PixelBytes();
    bool const agree = pixelBytes != 0 ? m_uPixelSize == pixelBytes && m_uChannelSize == m_pFormatRow->ChannelBytes()
                                       : m_uChannelSize <= m_uPixelSize && m_uPixelSize <= kLargestPixel;
    if (!agree && !unset) return false;
    std::uint64_t const pixels = static_cast<std::uint64_t>(m_iWidth) * static_cast<std::uint64_t>(m_iHeight);
    if (pixels > kMostPixels) return false;
    CMFImage const* const pOwn = qzil::OwnImage(m_pImage);
    return !pOwn || pixels * m_uPixelSize <= pOwn->PixelMemory();
}

unsigned char* qzILImageHelper::GetPixelPtr(int x, int y) const {
    if (!m_pLineZero) return nullptr;
    std::ptrdiff_t const column = std::ptrdiff_t{x} + m_iOffsetX;
    std::ptrdiff_t const line = std::ptrdiff_t{y} + m_iOffsetY;
    std::ptrdiff_t const lineTerm =
        m_iSplitField ? ((line + 1) >> 1) * m_iLineStepA + (line >> 1) * m_iLineStepB : line * m_iLineStepA;
    return m_pLineZero + column * m_iPixelStep + lineTerm + std::ptrdiff_t{m_uChannelOffset} * m_uChannelSize;
}

unsigned char* qzILImageHelper::GetAlphaPtr(int x, int y) const {
    if (!m_pAlphaLineZero) return nullptr;
    return m_pAlphaLineZero + (std::ptrdiff_t{x} + m_iOffsetX) * m_iAlphaPixelStep +
           (std::ptrdiff_t{y} + m_iOffsetY) * m_iAlphaLineStep;
}
