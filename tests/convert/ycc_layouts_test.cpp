// Conversions among YCC layouts: what has to come out is known from the formats themselves.

#include "qzil/convert/ycc_layouts.h"
#include "model/convert_model.h"
#include "qzil/image/image_ops.h"
#include "support/picture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

namespace qzil::test {
namespace {

constexpr int kWidth = 14, kHeight = 6;

/// Samples of an image by meaning: plane 0 luma of a pixel, 1 and 2 chroma of its site, 3 alpha.
class Samples {
public:
    explicit Samples(Ref<IXFImage> const& image)
        : m_pImage(image),
          m_oSamples(image.Get(), Bytes(image)),
          m_bInterleaved(Format() == MFIF_YCCA_RAW_32 || Format() == MFIF_YCCA_RAW_64) {}
    bool IsPairs() const { return !m_bInterleaved && !IsFormatYCCA4444(Format()); }
    double Get(int x, int y, int plane) const {
        if (IsPlane(plane)) return double{m_oSamples.GetPlane(x, y)};
        return double{m_oSamples.Get(Column(x, plane), y, Place(plane))};
    }
    void Set(int x, int y, int plane, int value) {
        float const v = static_cast<float>(value);
        IsPlane(plane) ? m_oSamples.PutPlane(x, y, v) : m_oSamples.Put(Column(x, plane), y, Place(plane), v);
    }

private:
    GUID const& Format() const { return m_oSamples.Format(); }
    bool IsPlane(int plane) const { return plane == 3 && IsFormatWithSeparateAlpha(Format()); }
    int Column(int x, int plane) const { return IsPairs() && plane != 0 ? x & ~1 : x; }
    int Place(int plane) const {
        if (m_bInterleaved) return plane;
        if (!IsPairs()) return std::array{1, 0, 2, 3}[static_cast<std::size_t>(plane)];
        int const chroma = IsFormatAlternateYUV(Format()) ? 0 : 1;
        return plane == 0 ? 1 - chroma : chroma + 2 * (plane - 1);
    }

    Ref<IXFImage> m_pImage;
    model::Samples m_oSamples;
    bool m_bInterleaved;
};

Ref<IXFImage> Convert(Ref<IXFImage> const& input, GUID const& format, bool filter = false, bool dither = false) {
    Ref<IXFImage> const output = MakeImage(format, kWidth, kHeight);
    qzILYCCA2YCCA effect;
    effect.SetInputImg(input.Get());
    effect.SetOutputImg(output.Get());
    effect.SetDoFiltering(filter);
    effect.SetDoDithering(dither);
    EXPECT_EQ(effect.Verify(), 1) << NameOf(FormatOf(input.Get())) << " to " << NameOf(format);
    EXPECT_EQ(effect.Execute(), 1);
    return output;
}

constexpr GUID kLayouts[] = {
    MFIF_YCC_422_16,       MFIF_YCC_422_16_SF_NTSC, MFIF_YCC_422_16_SF_PAL, MFIF_CbYCrY_16,
    MFIF_CbYCrY_16_SF_TFL, MFIF_CbYCrY_16_SF_TFF,   MFIF_CbYCrYA_24,        MFIF_YCCA_24,
    MFIF_CbYCrA_8_4444,    MFIF_YCCA_RAW_32,        MFIF_CbYCrY_10_6,       MFIF_CbYCrYA_10_6,
    MFIF_CbYCrA_10_6_4444, MFIF_CbYCrY_S2_14,       MFIF_CbYCrYA_S2_14,     MFIF_CbYCrA_S2_14_4444,
    MFIF_CbYCrY_FLOAT,     MFIF_CbYCrYA_FLOAT,      MFIF_CbYCrA_FLOAT_4444};

TEST(YccLayouts, SamplesOfOneTypeMoveUnchanged) {
    for (GUID const& from : kLayouts) {
        for (GUID const& to : kLayouts) {
            if (from == to || GetChannelTypeFromFormat(from) != GetChannelTypeFromFormat(to)) continue;
            Ref<IXFImage> const input = MakeRandomImage(from, kWidth, kHeight, 3), output = Convert(input, to);
            Samples const in(input), out(output);
            for (int y = 0; y < kHeight; ++y) {
                for (int x = 0; x < kWidth; ++x) {
                    // Between pixels and pairs, chroma is the site's, or the even pixel's.
                    int const site = in.IsPairs() || out.IsPairs() ? x & ~1 : x;
                    for (int plane = 0; plane < (IsFormatWithAlpha(to) ? 4 : 3); ++plane) {
                        bool const filled = plane == 3 && !IsFormatWithAlpha(from);
                        double const expected =
                            filled ? double{model::FullOf(to)} : in.Get(plane % 3 ? site : x, y, plane);
                        ASSERT_EQ(out.Get(x, y, plane), expected) << NameOf(from) << ' ' << NameOf(to) << ' ' << plane;
                    }
                }
            }
        }
    }
}

TEST(YccLayouts, ARegionMayStartInsideAPair) {
    Ref<IXFImage> const input = MakeRandomImage(MFIF_CbYCrY_16, kWidth, kHeight, 5),
                        output = MakeImage(MFIF_CbYCrA_8_4444, kWidth, kHeight);
    qzILYCCA2YCCA effect;
    effect.SetInputImg(input.Get());
    effect.SetOutputImg(output.Get());
    effect.SetROI({3, 1, 6, 4});
    effect.SetOutputOffset({4, 2});
    ASSERT_EQ(effect.Execute(), 1);
    Samples const whole(Convert(input, MFIF_CbYCrA_8_4444)), part(output);
    for (int i = 0; i < 6 * 4 * 4; ++i) {
        int const x = i / 4 % 6, y = i / 24, plane = i % 4;
        ASSERT_EQ(part.Get(4 + x, 2 + y, plane), whole.Get(3 + x, 1 + y, plane)) << x << ' ' << y << ' ' << plane;
    }
}

/// What a sample becomes between two formats of one standard.
struct Level {
    GUID oFrom, oTo;
    int iPlane;
    double dfFrom, dfTo;
};

TEST(YccLayouts, LevelsAndDepths) {
    Level const levels[] = {
#include "convert/levels.inc"
    };
    for (Level const& level : levels) {
        Ref<IXFImage> const input = MakeImage(level.oFrom, kWidth, kHeight);
        Samples in(input);
        for (int x = 0; x < kWidth; ++x) in.Set(x, 2, level.iPlane, static_cast<int>(level.dfFrom));
        Samples const out(Convert(input, level.oTo));
        ASSERT_NEAR(out.Get(4, 2, level.iPlane), level.dfTo, IsFormatFloat(level.oTo) ? 1e-6 : 0.0)
            << NameOf(level.oFrom) << " plane " << level.iPlane << " of " << level.dfFrom << " to "
            << NameOf(level.oTo);
    }
}

// The standards meet in RGB: a colour is as far from it by one matrix as by the two of qzILColor.
TEST(YccLayouts, StandardsMeetInRgb) {
    Random random(4);
    for (bool const to709 : {true, false}) {
        GUID const from = to709 ? MFIF_CbYCrA_8_4444 : MFIF_CbYCr709A_8_4444;
        GUID const to = to709 ? MFIF_CbYCr709A_8_4444 : MFIF_CbYCrA_8_4444;
        Ref<IXFImage> const input = MakeImage(from, kWidth, kHeight);
        Samples in(input);
        std::vector<qzILColor> colors;
        for (int i = 0; i < kWidth * kHeight; ++i) {
            colors.push_back(
                qzILColor(random.Below(256) / 255.0, random.Below(256) / 255.0, random.Below(256) / 255.0));
            unsigned char ycc[4];
            colors.back().GetColorAs32(ycc, to709 ? XFColorModelYCC601 : XFColorModelYCC709);
            for (int plane = 0; plane < 4; ++plane) in.Set(i % kWidth, i / kWidth, plane, ycc[plane]);
        }
        Samples const out(Convert(input, to));
        for (int i = 0; i < kWidth * kHeight; ++i) {
            unsigned char ycc[4];
            colors[static_cast<std::size_t>(i)].GetColorAs32(ycc, to709 ? XFColorModelYCC709 : XFColorModelYCC601);
            for (int plane = 0; plane < 4; ++plane) {
                // The input was rounded once, by half, and the matrix gives errors of chroma on to luma.
                ASSERT_NEAR(out.Get(i % kWidth, i / kWidth, plane), ycc[plane], 1.0) << "plane " << plane;
            }
        }
    }
}

TEST(YccLayouts, ChromaBetweenPairsAndPixels) {
    Ref<IXFImage> const pairs = MakeRandomImage(MFIF_CbYCrY_10_6, kWidth, kHeight, 9),
                        pixels = MakeRandomImage(MFIF_CbYCrA_10_6_4444, kWidth, kHeight, 10);
    Samples const in422(pairs), out444(Convert(pairs, MFIF_CbYCrA_10_6_4444, true));
    Samples const in444(pixels), out422(Convert(pixels, MFIF_CbYCrY_10_6, true));
    for (int x = 0; x < kWidth; ++x) {
        for (int plane = 1; plane < 3; ++plane) {
            double const next = x + 1 < kWidth ? in422.Get(x + 1, 1, plane) : in422.Get(x, 1, plane);
            double const mean = (in422.Get(x & ~1, 1, plane) + (x % 2 ? next : in422.Get(x, 1, plane))) / 2;
            ASSERT_EQ(out444.Get(x, 1, plane), std::floor(mean + 0.5)) << x;
            if (x % 2) continue;
            auto const at = [&](int i) { return in444.Get(std::clamp(i, 0, kWidth - 1), 1, plane); };
            double const sum = -at(x - 2) + 2 * at(x - 1) + 6 * at(x) + 2 * at(x + 1) - at(x + 2);
            ASSERT_EQ(out422.Get(x, 1, plane), std::clamp(std::floor(sum / 8 + 0.5), 0.0, 65535.0)) << x;
        }
    }
}

TEST(YccLayouts, DitheringKeepsTheMeanAndRepeats) {
    Ref<IXFImage> const input = MakeImage(MFIF_CbYCrA_10_6_4444, kWidth, kHeight);
    Samples in(input);
    for (int i = 0; i < kWidth * kHeight; ++i) {
        for (int plane = 0; plane < 4; ++plane) in.Set(i % kWidth, i / kWidth, plane, 100 * 256 + 64);
    }
    Ref<IXFImage> const once = Convert(input, MFIF_CbYCrA_8_4444, false, true);
    ASSERT_EQ(DescribeDifference(Bytes(once), Bytes(Convert(input, MFIF_CbYCrA_8_4444, false, true))), "");
    Samples const out(once);
    for (int y = 0; y < kHeight; ++y) {
        double sum = 0;
        for (int x = 0; x < kWidth; ++x) sum += out.Get(x, y, 0);
        ASSERT_NEAR(sum / kWidth, 100.25, 1.0 / kWidth);
    }
}

// A key is a grey picture with the alpha at its own levels. Fill and key joined again give what was split.
TEST(YccLayouts, FillAndKey) {
    for (GUID const& format : {MFIF_CbYCrYA_24, MFIF_CbYCrYA_FLOAT, MFIF_CbYCrYA_10_6}) {
        GUID const fillFormat = format == MFIF_CbYCrYA_24      ? MFIF_CbYCrY_16
                                : format == MFIF_CbYCrYA_FLOAT ? MFIF_CbYCrY_FLOAT
                                                               : MFIF_CbYCrY_10_6;
        Ref<IXFImage> const input = MakeRandomImage(format, kWidth, kHeight, 12),
                            fill = MakeImage(fillFormat, kWidth, kHeight),
                            key = MakeImage(MFIF_CbYCrY_10_6, kWidth, kHeight),
                            joined = MakeImage(format, kWidth, kHeight);
        Samples in(input);
        in.Set(0, 0, 3, 0);
        qzILYCCA2YCCYCC split;
        split.SetInputImg(input.Get());
        split.SetOutputImgA(fill.Get());
        split.SetOutputImgB(key.Get());
        ASSERT_EQ(split.Verify(), 1);
        ASSERT_EQ(split.Execute(), 1);
        Samples const grey(key);
        EXPECT_EQ(grey.Get(0, 0, 0), 4096);
        EXPECT_EQ(grey.Get(3, 2, 1), 32768);
        EXPECT_EQ(grey.Get(3, 2, 2), 32768);
        qzILYCCYCC2YCCA join;
        join.SetInputImgA(fill.Get());
        join.SetInputImgB(key.Get());
        join.SetOutputImg(joined.Get());
        ASSERT_EQ(join.Verify(), 1);
        ASSERT_EQ(join.Execute(), 1);
        Samples const out(joined);
        for (int x = 0; x < kWidth; ++x) {
            // 56064 steps of a key hold 8 bits exactly, and deeper alpha to a step.
            double const step = format == MFIF_CbYCrYA_24 ? 0.0 : double{model::FullOf(format)} / 56064.0;
            double const alpha =
                std::clamp(in.Get(x, 3, 3), 0.0 - 4096 * step, double{model::FullOf(format)} + 5375 * step);
            EXPECT_NEAR(out.Get(x, 3, 3), alpha, step) << NameOf(format);
            EXPECT_EQ(out.Get(x, 3, 0), in.Get(x, 3, 0));
        }
    }
}

TEST(YccLayouts, AKeyMayBeMissingOnlyWhenToldSo) {
    Ref<IXFImage> const fill = MakeRandomImage(MFIF_CbYCrY_16, kWidth, kHeight, 1),
                        small = MakeImage(MFIF_CbYCrY_16, kWidth - 2, kHeight),
                        mono = MakeImage(MFIF_MONO_RAW_8, kWidth, kHeight),
                        output = MakeRandomImage(MFIF_CbYCrYA_24, kWidth, kHeight, 2);
    qzILYCCYCC2YCCA join;
    join.SetInputImgA(fill.Get());
    join.SetOutputImg(output.Get());
    auto const code = [&join] { return join.Verify() == 1 ? 0u : join.GetLastError().GetErrorCode(); };
    EXPECT_EQ(code(), 0x1000Bu);
    join.SetInputImgB(small.Get());
    EXPECT_EQ(code(), 0x10062u);
    join.SetInputImgB(mono.Get());
    EXPECT_EQ(code(), 0x1000Du);
    join.SetInputImgB(nullptr);
    double const before = Samples(output).Get(5, 5, 3);
    ASSERT_EQ(join.Execute(), 1);
    EXPECT_EQ(Samples(output).Get(5, 5, 3), before);
    join.SetFillMissingInput(1);
    EXPECT_EQ(code(), 0u);
    ASSERT_EQ(join.Execute(), 1);
    EXPECT_EQ(Samples(output).Get(5, 5, 3), 255);
}

}  // namespace
}  // namespace qzil::test
