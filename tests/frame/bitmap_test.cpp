// The bridge to device-independent bitmaps, against pixels worked out from the head, the palette and the rows.

#include "qzil/frame/bitmap.h"
#include "qzil/image/image_ops.h"
#include "support/picture.h"
#include "support/table.h"

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cstring>
#include <functional>
#include <vector>

namespace qzil::test {
namespace {

using u8 = unsigned char;
using Pixel = std::array<int, 4>;

constexpr int kWidth = 7, kHeight = 5;

/// A bitmap in memory of exactly the size that its head promises.
struct Bitmap {
    BITMAPINFOHEADER oHead{};
    std::vector<RGBQUAD> oPalette;
    std::vector<u8> oRows;
    std::size_t uStride;

    Bitmap(int width, int height, int bits, unsigned colors = 0, unsigned headSize = 40) {
        oHead.biSize = headSize;
        oHead.biWidth = width;
        oHead.biHeight = height;
        oHead.biPlanes = 1;
        oHead.biBitCount = static_cast<std::uint16_t>(bits);
        oHead.biClrUsed = colors;
        for (unsigned i = 0; i < (bits == 8 && colors == 0 ? 256u : colors); ++i) {
            oPalette.push_back({static_cast<u8>(i * 3), static_cast<u8>(i * 5 + 1), static_cast<u8>(255 - i), 77});
        }
        uStride = static_cast<std::size_t>((width * bits + 31) / 32 * 4);
        Random random(static_cast<std::uint64_t>(bits));
        for (std::size_t i = 0; i < uStride * static_cast<std::size_t>(height); ++i) {
            oRows.push_back(static_cast<u8>(random.Next()));
        }
    }
    std::vector<char> Memory() const {
        std::vector<char> memory(oHead.biSize);
        std::memcpy(memory.data(), &oHead, sizeof oHead);
        auto const append = [&memory](void const* bytes, std::size_t size) {
            memory.insert(memory.end(), static_cast<char const*>(bytes), static_cast<char const*>(bytes) + size);
        };
        append(oPalette.data(), oPalette.size() * sizeof(RGBQUAD));
        append(oRows.data(), oRows.size());
        return memory;
    }
    /// Red, green, blue and alpha; y counts from the bottom.
    Pixel At(int x, int y) const {
        u8 const* const row = &oRows[static_cast<std::size_t>(y) * uStride];
        u8 const* const p = row + x * oHead.biBitCount / 8;
        if (oHead.biBitCount == 8) {
            if (*p >= oPalette.size()) return {0, 0, 0, 255};
            RGBQUAD const& color = oPalette[*p];
            return {color.rgbRed, color.rgbGreen, color.rgbBlue, 255};
        }
        if (oHead.biBitCount == 16) {
            int const word = p[0] + 256 * p[1];
            auto const field = [](int v) { return v * 8 + v / 4; };
            return {field(word / 1024 % 32), field(word / 32 % 32), field(word % 32), 255};
        }
        return {p[2], p[1], p[0], oHead.biBitCount == 32 ? p[3] : 255};
    }
};

/// Both forms of the function; the result of the one with a pointer is checked against the other's.
HRESULT Convert(std::vector<char>& memory, IXFImage*& image, qzILBbox2l const* region) {
    HGLOBAL const block = platform::GlobalAlloc(platform::kGlobalMoveable, memory.size());
    std::memcpy(platform::GlobalLock(block), memory.data(), memory.size());
    Ref<IXFImage> other;
    HRESULT const ofBlock = qzILDIB2Img(block, *other.Typed(), region);
    platform::GlobalFree(block);
    HRESULT const result = qzILDIB2Img(reinterpret_cast<tagBITMAPINFO*>(memory.data()), image, region);
    // A size that no memory holds is more than the block promises.
    EXPECT_TRUE(result == ofBlock || (result == platform::kOutOfMemory && ofBlock == platform::kInvalidArgument));
    EXPECT_EQ(other.Get() != nullptr, ofBlock == 0);
    if (image && other) {
        EXPECT_EQ(DescribeDifference(Bytes(image), Bytes(other)), "");
    }
    return result;
}

struct Shape {
    int iBits;
    unsigned uColors, uHeadSize;
};

TEST(Bitmap, BecomesAnImage) {
    qzILBbox2l const regions[] = {{0, 0, kWidth, kHeight}, {2, 1, 3, 3}, {-4, -1, 100, INT_MAX}, {6, 4, 1, 1}};
    Shape const shapes[] = {{8, 0, 40},    {8, 256, 40}, {8, 17, 40},   {8, 1, 124}, {16, 0, 40},
                            {16, 12, 108}, {24, 0, 40},  {24, 256, 44}, {32, 0, 40}, {32, 3, 40}};
    for (Shape const& shape : shapes) {
        for (int width : {kWidth, kWidth + 1, kWidth + 2, 1, 515}) {
            Bitmap const bitmap(width, kHeight, shape.iBits, shape.uColors, shape.uHeadSize);
            std::vector<char> memory = bitmap.Memory();
            char* const start = memory.data();
            EXPECT_EQ(DIBNumColors(start), bitmap.oPalette.size());
            EXPECT_EQ(PaletteSize(start), 4 * bitmap.oPalette.size());
            EXPECT_EQ(FindDIBBits(start), start + memory.size() - bitmap.oRows.size());
            for (qzILBbox2l const& region : regions) {
                qzILBbox2l const box = region.Intersect({0, 0, width, kHeight});
                if (box.IsEmpty()) continue;
                Ref<IXFImage> image;
                ASSERT_EQ(Convert(memory, *image.Typed(), &region), 0);
                EXPECT_EQ(FormatOf(image.Get()), MFIF_RGBA_RAW_32);
                int w = 0, h = 0;
                image->GetRes(&w, &h);
                ASSERT_EQ(qzILVector2l(w, h), box.Size);
                for (int i = 0; i < w * h; ++i) {
                    // The first line of memory is the lowest of the picture in the bitmap and in the image.
                    Pixel const expected = bitmap.At(box.Origin.x + i % w, box.Origin.y + i / w);
                    u8 const* const p = &Bytes(image)[static_cast<std::size_t>(i) * 4];
                    ASSERT_EQ((Pixel{p[0], p[1], p[2], p[3]}), expected) << shape.iBits << " bits, pixel " << i;
                }
            }
        }
    }
}

TEST(Bitmap, TakesAReferenceOnAGivenImage) {
    std::vector<char> memory = Bitmap(kWidth, kHeight, 24).Memory();
    auto* const bitmap = reinterpret_cast<tagBITMAPINFO*>(memory.data());
    Ref<IXFImage> const own = MakeImage(MFIF_MONO_RAW_8, 3, 3);
    IXFImage* image = own.Get();
    ASSERT_EQ(qzILDIB2Img(bitmap, image, nullptr), 0);
    EXPECT_EQ(image, own.Get());
    EXPECT_EQ(Bytes(own).size(), 4u * kWidth * kHeight);
    EXPECT_EQ(image->Release(), 1u);
    bitmap->bmiHeader.biPlanes = 0;
    EXPECT_EQ(qzILDIB2Img(bitmap, image, nullptr), platform::kInvalidArgument);
    EXPECT_EQ(image, own.Get());
    EXPECT_EQ(image->AddRef(), 2u) << "a failure adds no reference";
    image->Release();
    bitmap->bmiHeader.biPlanes = 1;
    u8 lent[4] = {};
    own->SetPixelArray(lent);
    own->SetPixelArraySize(sizeof lent);
    own->SetFormat(MFIF_MONO_RAW_8);
    own->SetRes(2, 2);
    EXPECT_LT(qzILDIB2Img(bitmap, image, nullptr), 0) << "the memory of another does not grow";
    EXPECT_EQ(FormatOf(image), MFIF_MONO_RAW_8) << "as it was";
}

TEST(Bitmap, HostileHeadsAreRefused) {
    for (int const bits : {8, 16, 24, 32}) {
        for (Row const& row : ReadTable("frame/bitmap_heads.tsv")) {
            Bitmap bitmap(kWidth, kHeight, bits);
            int const value = row.Number("value");
            std::memcpy(reinterpret_cast<char*>(&bitmap.oHead) + row.Number("place"), &value,
                        static_cast<unsigned>(row.Number("bytes")));
            if (value == INT_MAX) bitmap.oHead.biWidth = bitmap.oHead.biHeight = value;
            std::vector<char> memory = Bitmap(kWidth, kHeight, bits).Memory();
            std::memcpy(memory.data(), &bitmap.oHead, sizeof bitmap.oHead);
            SCOPED_TRACE(row["field"] + ' ' + row["value"] + " at " + std::to_string(bits));
            IXFImage* image = nullptr;
            EXPECT_LT(Convert(memory, image, nullptr), 0);
            EXPECT_EQ(image, nullptr);
            bool const found = FindDIBBits(memory.data()) != nullptr;
            bool const sound = bitmap.oHead.biSize == 40 && bitmap.oHead.biClrUsed == 0;
            EXPECT_EQ(found, sound);
        }
    }
    IXFImage* image = nullptr;
    EXPECT_EQ(qzILDIB2Img(static_cast<tagBITMAPINFO*>(nullptr), image, nullptr), platform::kNullPointer);
    EXPECT_EQ(qzILDIB2Img(static_cast<HGLOBAL>(nullptr), image, nullptr), platform::kNullPointer);
    EXPECT_EQ(DIBNumColors(nullptr), 0u);
    EXPECT_EQ(FindDIBBits(nullptr), nullptr);
    std::vector<char> memory = Bitmap(kWidth, kHeight, 24).Memory();
    for (qzILBbox2l const& beside : {qzILBbox2l(kWidth, 0, 1, 1), {0, -1, 1, 1}, {0, 0, -1, -1}, {0, 0, 0, 0}}) {
        EXPECT_EQ(Convert(memory, image, &beside), platform::kInvalidArgument);
    }
}

TEST(Bitmap, BlocksShorterThanTheirHeadsPromise) {
    for (int const bits : {8, 32}) {
        std::vector<char> const memory = Bitmap(kWidth, kHeight, bits).Memory();
        for (std::size_t size = 1; size <= memory.size(); ++size) {
            HGLOBAL const block = platform::GlobalAlloc(platform::kGlobalFixed, size);
            std::memcpy(platform::GlobalLock(block), memory.data(), size);
            Ref<IXFImage> image;
            HRESULT const expected = size == memory.size() ? platform::kOk : platform::kInvalidArgument;
            EXPECT_EQ(qzILDIB2Img(block, *image.Typed(), nullptr), expected) << size << " bytes";
            EXPECT_EQ(platform::GlobalFree(block), nullptr);
        }
    }
}

/// The pixel of an image in bytes; words give their high bytes.
Pixel PixelOf(Ref<IXFImage> const& image, int x, int y) {
    qzILImageHelper const helper(image.Get());
    u8 const* const p = helper.GetPixelPtr(x, y);
    std::size_t const size = helper.m_uChannelSize, top = size - 1;
    if (helper.m_uPixelSize == size) return {p[top], p[top], p[top], 255};
    return {p[top], p[size + top], p[2 * size + top], p[3 * size + top]};
}

TEST(Bitmap, IsMadeOfAnImage) {
    qzILBbox2l const region(1, 2, 5, 100);
    for (GUID const& format : {MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_MONO_RAW_8, MFIF_MONO_RAW_16}) {
        constexpr int kWide = 515;
        auto const image = MakeRandomImage(format, kWide, kHeight, 9);
        for (int const bits : {8, 16, 24, 32}) {
            for (qzILBbox2l const* const pRegion : {static_cast<qzILBbox2l const*>(nullptr), &region}) {
                qzILBbox2l const box = pRegion ? qzILBbox2l(1, 2, 5, 3) : qzILBbox2l(0, 0, kWide, kHeight);
                HGLOBAL block = &block;
                ASSERT_EQ(qzILImg2DIB(image.Get(), block, pRegion, bits), 0);
                auto* const head = static_cast<BITMAPINFOHEADER*>(platform::GlobalLock(block));
                EXPECT_EQ(head->biSize, 40u);
                EXPECT_EQ(head->biBitCount, bits);
                EXPECT_EQ(qzILVector2l(head->biWidth, head->biHeight), box.Size);
                Ref<IXFImage> back;
                ASSERT_EQ(qzILDIB2Img(block, *back.Typed(), nullptr), 0);
                platform::GlobalUnlock(block);
                platform::GlobalFree(block);
                for (int i = 0; i < box.Size.x * box.Size.y; ++i) {
                    int const x = i % box.Size.x, y = i / box.Size.x;
                    Pixel const old = PixelOf(image, box.Origin.x + x, box.Origin.y + y);
                    int const grey = (299 * old[0] + 587 * old[1] + 114 * old[2]) / 1000;
                    auto const five = [](int v) { return v / 8 * 8 + v / 32; };
                    Pixel const expected = bits == 8    ? Pixel{grey, grey, grey, 255}
                                           : bits == 16 ? Pixel{five(old[0]), five(old[1]), five(old[2]), 255}
                                           : bits == 24 ? Pixel{old[0], old[1], old[2], 255}
                                                        : old;
                    ASSERT_EQ(PixelOf(back, x, y), expected) << NameOf(format) << ' ' << bits << " bits, pixel " << i;
                }
            }
        }
    }
}

TEST(Bitmap, ImagesThatDoNotBecomeOne) {
    auto const rgba = MakeImage(MFIF_RGBA_RAW_32, 4, 4), video = MakeImage(MFIF_CbYCrY_16, 4, 4),
               empty = MakeImage(MFIF_RGBA_RAW_32, 0, 0);
    qzILBbox2l const beside(4, 0, 1, 1);
    struct Case {
        IXFImage* pImage;
        int iBits;
        qzILBbox2l const* pRegion;
        HRESULT iResult;
    };
    for (Case const& c : {Case{nullptr, 24, nullptr, platform::kNullPointer},
                          {video.Get(), 24, nullptr, platform::kFailure},
                          {empty.Get(), 24, nullptr, platform::kInvalidArgument},
                          {rgba.Get(), 0, nullptr, platform::kInvalidArgument},
                          {rgba.Get(), 4, nullptr, platform::kInvalidArgument},
                          {rgba.Get(), -8, nullptr, platform::kInvalidArgument},
                          {rgba.Get(), 64, nullptr, platform::kInvalidArgument},
                          {rgba.Get(), 24, &beside, platform::kInvalidArgument}}) {
        HGLOBAL block = &block;
        EXPECT_EQ(qzILImg2DIB(c.pImage, block, c.pRegion, c.iBits), c.iResult) << c.iBits;
        EXPECT_EQ(block, nullptr);
    }
}

TEST(GlobalMemory, IsZeroFilledAndKnowsItsSize) {
    using namespace platform;
    for (std::size_t const size : {std::size_t{0}, std::size_t{1}, std::size_t{4097}}) {
        HGLOBAL const block = GlobalAlloc(kGlobalMoveable | kGlobalZeroInit, size);
        auto const* const bytes = static_cast<u8 const*>(GlobalLock(block));
        ASSERT_NE(bytes, nullptr);
        EXPECT_EQ(GlobalSize(block), size);
        for (std::size_t i = 0; i < size; ++i) ASSERT_EQ(bytes[i], 0);
        EXPECT_TRUE(GlobalUnlock(block));
        GlobalFree(block);
    }
    EXPECT_EQ(GlobalAlloc(4, 1), nullptr);
    EXPECT_EQ(GlobalAlloc(0, SIZE_MAX), nullptr);
    EXPECT_EQ(GlobalSize(nullptr), 0u);
    EXPECT_FALSE(GlobalUnlock(nullptr));
    EXPECT_EQ(GlobalFree(nullptr), nullptr);
}

}  // namespace
}  // namespace qzil::test
