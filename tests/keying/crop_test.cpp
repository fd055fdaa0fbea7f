// The crop box of keyers: what it keys, and its limits in frames and fields.

#include "qzil/keying/linear_keyer.h"
#include "support/picture.h"

#include "qzil/image/formats.h"

#include <gtest/gtest.h>

#include <array>

namespace qzil::test {
namespace {

using Lines = std::array<int, 4>;

struct Keyer : qzILLinearKeyer {
    Keyer(Ref<IXFImage> const& a, Ref<IXFImage> const& b, Ref<IXFImage> const& output, unsigned mode,
          qzILBbox2l const& box) {
        SetInputImgA(a.Get());
        SetInputImgB(b.Get());
        SetOutputImg(output.Get());
        SetProcessingMode(mode);
        SetSoftness(0.5);
        SetCropBox(box);
    }
    std::array<int, 2> Margins() const { return {m_iLeftMargin, m_iRightMargin}; }
    Lines Intervals() const { return {m_iFirstStart, m_iFirstEnd, m_iSecondStart, m_iSecondEnd}; }
};

TEST(KeyerCrop, LeavesMarginsAndOtherLinesToTheBackground) {
    constexpr int kWidth = 45, kHeight = 7;
    auto const make = [](std::uint64_t seed) { return MakeRandomImage(MFIF_RGBA_RAW_32, kWidth, kHeight, seed); };
    auto const a = make(1), b = make(2), whole = make(3), old = make(4);
    EXPECT_EQ(Keyer(a, b, whole, 15, {0, 0, kWidth, kHeight}).Execute(), 1);
    for (qzILBbox2l const& box : {qzILBbox2l(3, 2, 30, 3), {44, 6, 1, 1}, {7, 1, 1, 4}, {0, 0, 0, 0}, {5, 3, 9, 4}}) {
        for (unsigned const mode : {15u, 0x10Fu, 0x20Fu}) {
            auto const output = make(4);
            Keyer keyer(a, b, output, mode, box);
            ASSERT_EQ(keyer.Verify(), 1);
            ASSERT_EQ(keyer.Execute(), 1);
            for (int i = 0; i < kWidth * kHeight * 4; ++i) {
                int const x = i / 4 % kWidth, y = i / 4 / kWidth;
                bool const columns = x >= box.Origin.x && x < box.Origin.x + box.Size.x;
                bool const lines = y >= box.Origin.y && y < box.Origin.y + box.Size.y;
                bool const skipped = (mode & ((y & 1) == 0 ? 0x100u : 0x200u)) != 0;
                Ref<IXFImage> const& from = skipped ? old : columns && lines ? whole : b;
                auto const at = static_cast<std::size_t>(i);
                ASSERT_EQ(Bytes(output)[at], Bytes(from)[at]) << "mode " << mode << " at " << x << ',' << y;
            }
        }
    }
    for (qzILBbox2l const& box : {qzILBbox2l(0, 0, kWidth + 1, kHeight), {-1, 0, 4, 4}, {0, 5, 2, 3}, {3, 3, 0, 0}}) {
        Keyer keyer(a, b, whole, 7, box);
        EXPECT_EQ(keyer.Verify(), -1);
        EXPECT_EQ(keyer.GetLastError().GetErrorCode(), 0x1000Au);
    }
}

// In each picture the box leaves 2 columns and 3 lines at its origin, 4 columns and 1 line at the other corner.
TEST(KeyerCrop, LimitsOfFramesAndFields) {
    constexpr GUID const &kFrame = MFIF_CbYCrY_16, &kOddFirst = MFIF_YCC_422_16_SF_PAL,
                         &kEvenFirst = MFIF_YCC_422_16_SF_NTSC;
    struct {
        GUID oFormat;
        int iHeight;
        unsigned uMode;
        Lines aLines;
    } const cases[] = {
        {kFrame, 12, 15, {3, 11, -1, -1}},      {kFrame, 12, 0x10F, {1, 5, -1, -1}},
        {kFrame, 12, 0x20F, {2, 6, -1, -1}},    {kOddFirst, 12, 15, {1, 5, 6, 10}},
        {kOddFirst, 13, 15, {0, 5, 7, 11}},     {kOddFirst, 12, 0x10F, {1, 5, -1, -1}},
        {kOddFirst, 12, 0x20F, {0, 4, -1, -1}}, {kEvenFirst, 12, 15, {0, 4, 7, 11}},
        {kEvenFirst, 13, 15, {1, 5, 7, 12}},    {kEvenFirst, 12, 0x20F, {1, 5, -1, -1}},
    };
    for (auto const& c : cases) {
        auto const image = MakeImage(c.oFormat, 12, c.iHeight);
        Keyer keyer(image, image, image, c.uMode, {2, 3, 6, c.iHeight - 4});
        ASSERT_EQ(keyer.PrepareData(), 1);
        EXPECT_EQ(keyer.Margins(), (std::array{2, 4}));
        EXPECT_EQ(keyer.Intervals(), c.aLines) << NameOf(c.oFormat) << ' ' << c.iHeight << " mode " << c.uMode;
        keyer.CleanData();
    }
}

}  // namespace
}  // namespace qzil::test
