#include "qzil/image/image.h"

#include "image/image_questions.h"
#include "support/picture.h"
#include "support/plain_layout.h"
#include "support/table.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>

namespace {

using namespace qzil::test;
using namespace qzil::platform;

TEST(Image, PlacesOutsideAreRefused) {
    auto const image = MakeRandomImage(MFIF_MONO_RAW_8, 6, 5, 1);
    ByteVector const before = Snapshot(image);
    unsigned char buffer[6 * 5] = {};
    for (Row const& row : ReadTable("image/places.tsv")) {
        std::vector<int> const n = row.Numbers("place");
        HRESULT const expected = row.Number("taken") ? kOk : kInvalidArgument;
        SCOPED_TRACE(row["call"] + ' ' + row["place"]);
        if (row["call"] == "line") {
            EXPECT_EQ(image->FillLine(buffer, n[0], n[1], n[2], n[3]), expected);
        } else {
            EXPECT_EQ(image->CopyRegion(buffer, n[0], n[1], n[2], n[3]), expected);
            if (expected == kOk) continue;
            EXPECT_EQ(image->PasteRegion(buffer, n[0], n[1], n[2], n[3]), expected);
            EXPECT_EQ(image->FillRegion(buffer, n[0], n[1], n[2], n[3]), expected);
        }
    }
    EXPECT_EQ(image->CopyRegion(nullptr, 0, 0, 1, 1), kInvalidArgument);
    EXPECT_EQ(image->PasteRegion(nullptr, 0, 0, 1, 1), kInvalidArgument);
    EXPECT_EQ(image->FillRegion(nullptr, 0, 0, 1, 1), kInvalidArgument);
    EXPECT_EQ(image->FillLine(nullptr, 0, 0, 1, 1), kInvalidArgument);
    EXPECT_EQ(DescribeDifference(before, Bytes(image)), "");
}

/// An image of the format with its pixels; the sizes of MFIF_RGB_S2_14 are not set by the format.
Image Drawn(GUID const& format, int w, int h, std::uint64_t seed) {
    if (format != MFIF_RGB_S2_14) return MakeRandomImage(format, w, h, seed);
    auto image = MakeImage(MFIF_RGBA_S2_14, 1, 1);
    image->SetFormat(format);
    image->SetPixelSize(6);
    image->SetChannelSize(2);
    EXPECT_EQ(image->Allocate(w, h), kOk);
    FillRandom(image.Get(), seed);
    return image;
}

// The buffer of a region is laid out like an image of the region's size.
TEST(Region, CopyAndPasteInTheLayoutOfTheFormat) {
    Random random(8);
    std::vector<GUID> formats = DescribedFormats();
    formats.push_back(MFIF_RGB_S2_14);
    for (int round = 0; round < 12 * static_cast<int>(formats.size()); ++round) {
        int const w = random.Between(1, 8), h = random.Between(1, 8), x = random.Below(w), y = random.Below(h);
        Image const image = Drawn(formats[static_cast<std::size_t>(round / 12)], w, h, random.Next());
        PlainLayout const layout(image.Get());
        PlainLayout region = layout;
        region.iWidth = random.Between(1, w - x);
        region.iHeight = random.Between(1, h - y);
        ByteVector expected(layout.uPixelSize * static_cast<std::size_t>(region.iWidth * region.iHeight));
        ByteVector pasted = Snapshot(image), fresh = expected, actual = expected;
        for (auto& byte : fresh) byte = static_cast<unsigned char>(random.Next() >> 30);
        auto const move = [&](std::size_t inBuffer, std::size_t inImage, std::size_t size) {
            std::memcpy(&expected[inBuffer], &Bytes(image)[inImage], size);
            std::memcpy(&pasted[inImage], &fresh[inBuffer], size);
        };
        for (int i = 0; i < region.iWidth * region.iHeight; ++i) {
            int const rx = i % region.iWidth, ry = i / region.iWidth;
            move(region.Pixel(rx, ry), layout.Pixel(x + rx, y + ry), layout.PixelStep());
            if (layout.HasAlphaPlane()) move(region.Alpha(rx, ry), layout.Alpha(x + rx, y + ry), layout.uChannelSize);
        }
        ASSERT_EQ(image->CopyRegion(actual.data(), x, y, region.iWidth, region.iHeight), kOk);
        ASSERT_EQ(DescribeDifference(expected, actual), "") << NameOf(layout.oFormat) << " round " << round;
        ASSERT_EQ(image->PasteRegion(fresh.data(), x, y, region.iWidth, region.iHeight), kOk);
        ASSERT_EQ(DescribeDifference(pasted, Bytes(image)), "") << NameOf(layout.oFormat) << " round " << round;
    }
}

TEST(Region, FillCountsLinesAsTheFormatDoes) {
    for (GUID const& format : {MFIF_RGBA_RAW_32, MFIF_BGRA_RAW_32}) {
        auto const image = MakeImage(format, 4, 5);
        unsigned char pixel[4] = {1, 2, 3, 4};
        ASSERT_EQ(image->FillRegion(pixel, 1, 1, 2, 1), kOk);
        int const row = IsFormatTopDown(format) ? 3 : 1;
        for (int y = 0; y < 5; ++y) {
            for (int x = 0; x < 4; ++x) {
                bool const filled = y == row && (x == 1 || x == 2);
                ASSERT_EQ(Bytes(image)[(y * 4 + x) * 4], filled ? 1 : 0) << NameOf(format) << ' ' << x << ' ' << y;
            }
        }
    }
}

TEST(Line, EveryLineOfASmallImage) {
    constexpr int kWidth = 24, kHeight = 23;
    unsigned char one = 1;
    auto const image = MakeImage(MFIF_MONO_RAW_8, kWidth, kHeight);
    for (Row const& row : ReadTable("image/lines.tsv")) {
        int const dx = row.Number("dx"), dy = row.Number("dy");
        int const x0 = (kWidth - 1 - dx) / 2, y0 = (kHeight - 1 - dy) / 3;
        ByteVector expected(kWidth * kHeight);
        for (int i = 0; i <= std::max(dx, dy); ++i) {
            int const step = std::stoi(row["path"].substr(static_cast<std::size_t>(i), 1), nullptr, 36);
            int const x = x0 + (dy > dx ? step : i), y = y0 + (dy > dx ? i : step);
            expected[static_cast<std::size_t>(y * kWidth + x)] = 1;
        }
        std::ranges::fill(Bytes(image), static_cast<unsigned char>(0));
        ASSERT_EQ(image->FillLine(&one, x0, y0, x0 + dx, y0 + dy), kOk);
        ASSERT_EQ(DescribeDifference(expected, Bytes(image)), "") << "line of " << dx << " by " << dy;
    }
}

TEST(Line, CountsMemoryRowsAndWritesWholePixels) {
    for (GUID const& format : {MFIF_RGBA_RAW_32, MFIF_BGRA_RAW_32, MFIF_RGBA_FLOAT}) {
        auto const image = MakeImage(format, 4, 3);
        unsigned char pixel[16];
        std::memset(pixel, 5, sizeof pixel);
        ASSERT_EQ(image->FillLine(pixel, 1, 0, 3, 0), kOk);
        std::size_t const size = GetPixelSizeFromFormat(format);
        for (std::size_t i = 0; i < Bytes(image).size(); ++i) {
            ASSERT_EQ(Bytes(image)[i], i >= size && i < 4 * size ? 5 : 0) << NameOf(format) << ' ' << i;
        }
    }
}

template <class T>
void ExpectInterpolated(GUID const& format, int channels) {
    constexpr int kWidth = 5, kHeight = 4;
    auto const image = MakeRandomImage(format, kWidth, kHeight, 21);
    auto const* const p = reinterpret_cast<T const*>(Bytes(image).data());
    for (float y : {0.0f, 0.5f, 1.25f, 2.875f, 3.0f}) {
        for (float x : {0.0f, 0.25f, 1.0f, 2.5f, 3.999f, 4.0f, 4.5f}) {
            T actual[4] = {};
            ASSERT_EQ(image->GetPixel(actual, x, y), kOk) << x << ' ' << y;
            int const ix = static_cast<int>(x), iy = static_cast<int>(y);
            float const fx = x - static_cast<float>(ix), fy = y - static_cast<float>(iy);
            int const right = fx != 0 ? ix + 1 : ix, upper = fy != 0 ? iy + 1 : iy;
            if ((upper * kWidth + right) >= kWidth * kHeight) continue;  // defined only not to leave the array
            for (int c = 0; c < channels; ++c) {
                auto const at = [&](int column, int row) {
                    return static_cast<float>(p[(row * kWidth + column) * channels + c]);
                };
                float const a = at(ix, iy) + (at(right, iy) - at(ix, iy)) * fx;
                float const b = at(ix, upper) + (at(right, upper) - at(ix, upper)) * fx;
                ASSERT_EQ(actual[c], static_cast<T>(a + (b - a) * fy + 0.5f)) << NameOf(format) << ' ' << x << ' ' << y;
            }
        }
    }
}

TEST(GetPixel, InterpolatesInFloat) {
    ExpectInterpolated<unsigned char>(MFIF_RGBA_RAW_32, 4);
    ExpectInterpolated<unsigned char>(MFIF_DIB_RAW_32, 4);
    ExpectInterpolated<unsigned char>(MFIF_MONO_RAW_8, 1);
    ExpectInterpolated<std::uint16_t>(MFIF_RGBA_RAW_64, 4);
    ExpectInterpolated<std::uint16_t>(MFIF_MONO_RAW_16, 1);
}

TEST(GetPixel, RefusesPlacesOutsideAndOtherFormats) {
    auto const image = MakeRandomImage(MFIF_MONO_RAW_8, 5, 4, 2);
    unsigned char pixel[16] = {};
    float const nan = std::numeric_limits<float>::quiet_NaN();
    for (auto const& [x, y] :
         {std::pair{-0.1f, 0.0f}, {0.0f, -0.1f}, {5.0f, 0.0f}, {0.0f, 4.0f}, {1e30f, 0.0f}, {nan, 0.0f}, {0.0f, nan}}) {
        EXPECT_EQ(image->GetPixel(pixel, x, y), kInvalidArgument) << x << ' ' << y;
    }
    EXPECT_EQ(image->GetPixel(pixel, 4, 3), kOk);
    EXPECT_EQ(image->GetPixel(nullptr, 4, 3), kInvalidArgument);
    EXPECT_EQ(pixel[0], Bytes(image)[19]);
    for (GUID const& format : DescribedFormats()) {
        bool const isRead = format == MFIF_RGBA_RAW_32 || format == MFIF_DIB_RAW_32 || format == MFIF_RGBA_RAW_64 ||
                            format == MFIF_MONO_RAW_8 || format == MFIF_MONO_RAW_16;
        EXPECT_EQ(MakeImage(format, 2, 2)->GetPixel(pixel, 0, 0), isRead ? kOk : kFailure) << NameOf(format);
    }
}

// The array is a block of its own, so that an address checker sees any step beyond it.
TEST(GetPixel, NeverLeavesThePixelArray) {
    for (auto const& [format, size] : {std::pair{MFIF_RGBA_RAW_32, 4}, {MFIF_MONO_RAW_8, 1}, {MFIF_RGBA_RAW_64, 8}}) {
        auto const pixels = std::make_unique<unsigned char[]>(static_cast<std::size_t>(3 * 2 * size));
        auto const image = MakeImage(format, 3, 2);
        image->SetPixelArray(pixels.get());
        unsigned char pixel[8];
        for (float x : {2.0f, 2.5f, 2.999f}) {
            for (float y : {0.5f, 1.0f, 1.5f, 1.999f}) image->GetPixel(pixel, x, y);
        }
    }
    auto const bare = MakeImage(MFIF_MONO_RAW_8, 0, 0);
    bare->SetRes(10, 10);
    unsigned char pixel[8] = {};
    bare->GetPixel(pixel, 5, 5);
    bare->SetPixelArray(nullptr);
    bare->GetPixel(pixel, 5, 5);
    bare->FillLine(pixel, 0, 0, 9, 9);
}

}  // namespace
