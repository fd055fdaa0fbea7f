#include "qzil/frame/bitmap.h"

#include "qzil/frame/bitmap_lines.h"
#include "qzil/image/image_helper.h"
#include "qzil/image/image_ops.h"
#include "qzil/image/pixel_math.h"

#include <cstring>
#include <memory>
#include <new>
#include <optional>

using namespace qzil;
using namespace qzil::platform;

namespace {

constexpr std::uint32_t kHeadSize = sizeof(BITMAPINFOHEADER);
constexpr std::uint32_t kLongestHead = 124;
constexpr std::uint32_t kMostColors = 256;

BITMAPINFOHEADER HeadOf(void const* bitmap) {
    BITMAPINFOHEADER head;
    std::memcpy(&head, bitmap, sizeof head);
    return head;
}

/// The number of palette entries; nothing where the head's length or their number makes no sense.
std::optional<std::uint32_t> ColorsOf(BITMAPINFOHEADER const& head) {
    if (head.biSize < kHeadSize || head.biSize > kLongestHead || head.biSize % 4 != 0) return {};
    std::uint32_t const named = head.biBitCount >= 1 && head.biBitCount <= 8 ? 1u << head.biBitCount : 0;
    if (head.biClrUsed == 0) return named;
    if (head.biClrUsed > (named != 0 ? named : kMostColors)) return {};
    return head.biClrUsed;
}

bool IsServed(int bits) {
    return bits == 8 || bits == 16 || bits == 24 || bits == 32;
}

/// Where the parts of a bitmap lie.
struct Layout {
    int iWidth, iHeight, iBits;
    std::uint32_t uColors;
    std::size_t uPalette;  ///< offset of the palette
    std::size_t uRows;     ///< offset of the rows
    std::size_t uStride;   ///< bytes of a row
    std::uint64_t uEnd;    ///< bytes of the whole

    /// Below 2^64: a side is below 2^31, a pixel at most four bytes.
    std::uint64_t RowBytes() const { return std::uint64_t{uStride} * static_cast<std::uint64_t>(iHeight); }
};

Layout LayoutOf(BITMAPINFOHEADER const& head, std::uint32_t colors) {
    Layout layout{head.biWidth, head.biHeight, head.biBitCount, colors, head.biSize, 0, 0, 0};
    layout.uRows = layout.uPalette + colors * sizeof(RGBQUAD);
    layout.uStride = (static_cast<std::size_t>(layout.iWidth) * head.biBitCount + 31) / 32 * 4;
    layout.uEnd = layout.uRows + layout.RowBytes();
    return layout;
}

/// The layout that a head promises, if it is believed.
std::optional<Layout> Believed(BITMAPINFOHEADER const& head) {
    auto const colors = ColorsOf(head);
    if (!colors || !IsServed(head.biBitCount) || head.biPlanes != 1 || head.biCompression != 0) return {};
    if (head.biWidth <= 0 || head.biHeight <= 0) return {};
    Layout const layout = LayoutOf(head, *colors);
    if (head.biSizeImage != 0 && head.biSizeImage < layout.RowBytes()) return {};
    return layout;
}

/// What a region covers of a rectangle at the origin; all of it without a region.
qzILBbox2l Covered(int width, int height, qzILBbox2l const* region) {
    qzILBbox2l const whole(0, 0, width, height);
    return region ? region->Intersect(whole) : whole;
}

void RowToRgba(int bits, u8 const* from, u8* to, RGBQUAD const* palette, int count) {
    switch (bits) {
        case 8: return qzILRowDib8ToRgba32(from, to, palette, count);
        case 16: return qzILRowDib16ToRgba32(reinterpret_cast<u16 const*>(from), to, count);
        case 24: return qzILRowDib24ToRgba32(from, to, count);
        default: return qzILRowDib32ToRgba32(from, to, count);
    }
}

HRESULT ImageOf(void const* bitmap, Layout const& layout, IXFImage*& image, qzILBbox2l const* region) {
    qzILBbox2l const box = Covered(layout.iWidth, layout.iHeight, region);
    if (box.IsEmpty()) return kInvalidArgument;
    Ref<IXFImage> made;
    HRESULT const result = MakeReplacement(image, MFIF_RGBA_RAW_32, box.Size.x, box.Size.y, made);
    if (result < 0) return result;
    qzILImageHelper const lines(made.Get());

    auto const* const bytes = static_cast<u8 const*>(bitmap);
    RGBQUAD palette[kMostColors] = {};
    std::memcpy(palette, bytes + layout.uPalette, layout.uColors * sizeof(RGBQUAD));
    std::size_t const left = static_cast<std::size_t>(box.Origin.x) * static_cast<std::size_t>(layout.iBits / 8);
    u8 const* row = bytes + layout.uRows + static_cast<std::size_t>(box.Origin.y) * layout.uStride + left;
    for (int y = 0; y < box.Size.y; ++y, row += layout.uStride) {
        RowToRgba(layout.iBits, row, lines.GetPixelPtr(0, y), palette, box.Size.x);
    }
    if (!image) {
        image = made.Detach();
        return kOk;
    }
    HRESULT const replaced = ReplaceBy(image, made.Get());
    if (replaced >= 0) image->AddRef();
    return replaced;
}

}  // namespace

unsigned DIBNumColors(char* bitmap) {
    return bitmap ? ColorsOf(HeadOf(bitmap)).value_or(0) : 0;
}

unsigned PaletteSize(char* bitmap) {
    return DIBNumColors(bitmap) * static_cast<unsigned>(sizeof(RGBQUAD));
}

char* FindDIBBits(char* bitmap) {
    if (!bitmap || !ColorsOf(HeadOf(bitmap))) return nullptr;
    return bitmap + HeadOf(bitmap).biSize + PaletteSize(bitmap);
}

HRESULT qzILDIB2Img(tagBITMAPINFO* bitmap, IXFImage*& image, qzILBbox2l const* region) {
    if (!bitmap) return kNullPointer;
    auto const layout = Believed(HeadOf(bitmap));
    return layout ? ImageOf(bitmap, *layout, image, region) : kInvalidArgument;
}

HRESULT qzILDIB2Img(HGLOBAL bitmap, IXFImage*& image, qzILBbox2l const* region) {
    void const* const pBlock = GlobalLock(bitmap);
    if (!pBlock) return kNullPointer;
    HRESULT result = kInvalidArgument;
    if (GlobalSize(bitmap) >= kHeadSize) {
        auto const layout = Believed(HeadOf(pBlock));
        if (layout && layout->uEnd <= GlobalSize(bitmap)) result = ImageOf(pBlock, *layout, image, region);
    }
    GlobalUnlock(bitmap);
    return result;
}

namespace {

/// Lines of an image as rows of a bitmap: every line becomes 24 bits, and these what the bitmap holds.
class LineWriter {
public:
    LineWriter(GUID const& format, int width, int bits)
        : m_oFormat(format), m_iWidth(width), m_iBits(bits), m_pColors(new (std::nothrow) u8[std::size_t{3} * width]) {}

    explicit operator bool() const { return m_pColors != nullptr; }
    void Write(u8 const* line, u8* row) const {
        if (m_iBits == 24) return ToDib24(line, row);
        if (m_iBits == 32 && m_oFormat == MFIF_RGBA_RAW_32) return qzILRowRgba32ToDib32(line, row, m_iWidth);
        u8* color = m_pColors.get();
        ToDib24(line, color);
        for (int x = 0; x < m_iWidth; ++x, color += 3, row += m_iBits / 8) {
            switch (m_iBits) {
                case 8: *row = static_cast<u8>((299 * color[2] + 587 * color[1] + 114 * color[0]) / 1000); break;
                case 16: Put555(color, row); break;
                default:
                    std::memcpy(row, color, 3);
                    row[3] = m_oFormat == MFIF_RGBA_RAW_64 ? line[std::size_t{8} * x + 7] : 255;
            }
        }
    }

private:
    void ToDib24(u8 const* line, u8* row) const {
        auto const* const words = reinterpret_cast<u16 const*>(line);
        if (m_oFormat == MFIF_RGBA_RAW_32) return qzILRowRgba32ToDib24(line, row, m_iWidth);
        if (m_oFormat == MFIF_RGBA_RAW_64) return qzILRowRgba64ToDib24(words, row, m_iWidth);
        if (m_oFormat == MFIF_MONO_RAW_8) return qzILRowMono8ToDib24(line, row, m_iWidth);
        qzILRowMono16ToDib24(words, row, m_iWidth);
    }
    static void Put555(u8 const* color, u8* row) {
        auto const word = static_cast<u16>(color[2] >> 3 << 10 | color[1] >> 3 << 5 | color[0] >> 3);
        std::memcpy(row, &word, sizeof word);
    }

    GUID m_oFormat;
    int m_iWidth, m_iBits;
    std::unique_ptr<u8[]> m_pColors;
};

BITMAPINFOHEADER MakeHead(qzILVector2l const& size, int bits) {
    BITMAPINFOHEADER head{};
    head.biSize = kHeadSize;
    head.biWidth = size.x;
    head.biHeight = size.y;
    head.biPlanes = 1;
    head.biBitCount = static_cast<std::uint16_t>(bits);
    return head;
}

void PutGreyPalette(u8* palette) {
    for (unsigned i = 0; i < kMostColors; ++i) {
        auto const grey = static_cast<u8>(i);
        RGBQUAD const color{grey, grey, grey, 0};
        std::memcpy(palette + i * sizeof color, &color, sizeof color);
    }
}

}  // namespace

HRESULT qzILImg2DIB(IXFImage* image, HGLOBAL& bitmap, qzILBbox2l const* region, int bits) {
    bitmap = nullptr;
    if (!image) return kNullPointer;
    qzILImageHelper const lines(image);
    if (!Contains(kRawFormats, lines.m_oFormat)) return kFailure;
    qzILBbox2l const box = Covered(lines.m_iWidth, lines.m_iHeight, region);
    if (!IsServed(bits) || !lines.HasPixels() || box.IsEmpty()) return kInvalidArgument;

    BITMAPINFOHEADER head = MakeHead(box.Size, bits);
    Layout const layout = LayoutOf(head, bits == 8 ? kMostColors : 0);
    LineWriter const writer(lines.m_oFormat, box.Size.x, bits);
    if (layout.uEnd > UINT32_MAX || !writer) return kOutOfMemory;
    head.biSizeImage = static_cast<std::uint32_t>(layout.RowBytes());
    HGLOBAL const block = GlobalAlloc(kGlobalMoveable | kGlobalZeroInit, layout.uEnd);
    if (!block) return kOutOfMemory;
    auto* const bytes = static_cast<u8*>(GlobalLock(block));
    std::memcpy(bytes, &head, sizeof head);
    if (bits == 8) PutGreyPalette(bytes + layout.uPalette);
    for (int y = 0; y < box.Size.y; ++y) {
        u8* const row = bytes + layout.uRows + static_cast<std::size_t>(y) * layout.uStride;
        writer.Write(lines.GetPixelPtr(box.Origin.x, box.Origin.y + y), row);
    }
    GlobalUnlock(block);
    bitmap = block;
    return kOk;
}
