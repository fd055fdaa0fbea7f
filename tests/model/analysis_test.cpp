// Histograms and gradients against plain models.

#include "scene/scene.h"
#include "support/levels.h"

#include "qzil/analysis/color_grade.h"
#include "qzil/analysis/histogram.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace qzil::test {
namespace {

using Float = std::numeric_limits<float>;

TEST(Histogram, RangesAndBins) {
    struct {
        double dfWidth, dfLower, dfUpper;
        int iSize;  ///< 0: refused
    } const ranges[] = {{1.0 / 256, 0, 1, 256}, {0.3, 0, 1, 4},   {1, 0, 1, 0},           {1.5, 0, 1, 0},
                        {0, 0, 1, 0},           {-0.1, 0, 1, 0},  {0.5, -1, 1, 4},        {1.0 / 70000, 0, 1, 0},
                        {0.1, 1, 0, 0},         {1, 0, 65535, 0}, {1, 0, 65534.5, 65535}, {NAN, 0, 1, 0}};
    for (auto const& r : ranges) {
        qzILHistogram histogram;
        EXPECT_EQ(histogram.SetHistoRange(r.dfWidth, r.dfLower, r.dfUpper), r.iSize != 0 ? 1 : -1) << r.dfWidth;
        EXPECT_EQ(histogram.GetSize(), r.iSize) << r.dfWidth;
        EXPECT_EQ(histogram.Verify(), r.iSize != 0 ? 1 : -1) << r.dfWidth;
    }
    qzILHistogram bins, copy;
    ASSERT_EQ(bins.SetHistoRange(0.25, 0, 1), 1);
    EXPECT_EQ(bins.SetHistoRange(2, 0, 1), -1);
    ASSERT_EQ(bins.GetSize(), 4) << "a bad range leaves the old bins";
    std::ranges::copy(std::array{3.0f, 5.0f, 5.0f, 1.0f}, bins.GetBins());
    EXPECT_EQ(bins.Normalize(0), -1);
    ASSERT_EQ(bins.Normalize(2), 1);
    copy = bins;
    EXPECT_EQ(copy.GetLargest(), 2.5f);
    EXPECT_EQ(copy.GetSecondLargest(), 1.5f) << "one that equals the largest is no second";
    EXPECT_EQ(copy.GetBins()[3], 0.5f);
}

/// What the seven histograms of an image should hold.
struct Counts {
    std::array<std::vector<float>, 7> oBins;
    unsigned uPixels = 0;
    float fSetup = 7.5f;
    bool b709 = false;

    explicit Counts(int bins) {
        for (auto& one : oBins) one.resize(static_cast<std::size_t>(bins));
    }
    void Add(std::size_t which, float value, double low = -0.25, double high = 1.25) {
        auto& bins = oBins[which];
        auto const n = static_cast<double>(bins.size());
        double const place = (value - low) / (high - low) * n;
        bins[static_cast<std::size_t>(value > high ? n - 1 : place > 0 ? std::min(std::floor(place), n - 1) : 0)] += 1;
    }
    void AddComposite(float y, float cb, float cr) {
        float const range = 100.0f - fSetup, level = (y * 255.0f - 16.0f) * range * 0.00456621f + fSetup;
        float const a = cb * range * 0.992679f, b = cr * range * 1.40022f, swing = std::sqrt(a * a + b * b);
        for (float const end : {level - swing, level + swing}) {
            Add(6, static_cast<float>((end + 30.0) * 0.00714286), 0.0, 1.0);
        }
    }
    void AddColors(float c0, float c1, float c2) { Add(0, c0), Add(1, c1), Add(2, c2), Add(4, (c0 + c1 + c2) / 3.0f); }
};

/// Columns of a matrix that belong to the result, narrowed.
std::array<float, 3> Through(double const (&m)[4][4], float a, float b, float c) {
    std::array<float, 3> result;
    for (std::size_t i = 0; i < 3; ++i) {
        result[i] = static_cast<float>(m[0][i] * a + m[1][i] * b + m[2][i] * c + m[3][i]);
    }
    return result;
}

void ExpectCounts(GUID const& format, unsigned matrix, bool masked, bool composite, qzILBbox2l const& region,
                  int width) {
    constexpr int kHeight = 8;
    auto const image = MakeRandomImage(format, width, kHeight, 3),
               mask = MakeImage(MFIF_MONO_FLOAT, region.Size.x, region.Size.y);
    FillEnds(image.Get(), static_cast<std::uint64_t>(width), false);
    qzILImageHelper const in(image.Get()), of(mask.Get());
    auto const maskAt = [&](int x, int y) { return reinterpret_cast<float*>(of.GetPixelPtr(x, y)); };
    constexpr float kMask[] = {0.0f, -0.001f, 1.0f, Float::quiet_NaN(), 0.5f, -1.0f, -0.0f};
    for (int i = 0; i < region.Size.x * region.Size.y; ++i)
        *maskAt(i % region.Size.x, i / region.Size.x) = kMask[i % 7];
    std::array<qzILHistogram, 7> actual;
    qzILHistoImg effect;
    for (auto& one : actual)
        ASSERT_EQ(one.SetHistoRange(&one == &actual[6] ? 0.02 : 0.03, &one == &actual[6] ? 0 : -0.25,
                                    &one == &actual[6] ? 1 : 1.25),
                  1);
    effect.m_pChannel0 = &actual[0], effect.m_pChannel1 = &actual[1], effect.m_pChannel2 = &actual[2];
    effect.m_pChannel3 = &actual[3], effect.m_pAverage = &actual[4], effect.m_pLuma = &actual[5];
    if (composite) effect.m_pComposite = &actual[6];
    effect.m_uMatrix = matrix;
    effect.SetInputImg(image.Get());
    effect.SetMask(region, masked ? mask.Get() : nullptr, XFImageChannelMono);
    ASSERT_EQ(effect.Verify(), 1);
    ASSERT_EQ(effect.Execute(), 1);

    Counts expected(50);
    bool const ycc = IsFormatYCC(format);
    expected.b709 = matrix == 512 || (matrix == 0 && IsFormat709(format));
    // The height counts as a number.
    for (int y = region.Origin.y; y < region.Size.y; ++y) {
        int const pixels = ycc ? region.Size.x & ~1 : region.Size.x;
        for (int k = 0; k < pixels; ++k) {
            int const x = region.Origin.x + k;
            if (!ycc && masked && !(*maskAt(k, y - region.Origin.y) >= 0.0f)) continue;
            auto const sample = [&](int px, int c) { return reinterpret_cast<float const*>(in.GetPixelPtr(px, y))[c]; };
            ++expected.uPixels;
            if (ycc) {
                int const even = x - k % 2, next = k % 2 == 1 && k + 1 < pixels ? even + 2 : even;
                auto const chroma = [&](int c) {
                    float const own = sample(even + c, 0);
                    return next == even ? own : (own + sample(next + c, 0)) * 0.5f;
                };
                float const luma = sample(x, 1), cb = chroma(0), cr = chroma(1);
                auto const rgb = Through(
                    expected.b709 ? qzILColor::s_dfArrayYCCA709toRGBA : qzILColor::s_dfArrayYCCAtoRGBA, luma, cb, cr);
                expected.AddColors(rgb[0], rgb[1], rgb[2]);
                expected.Add(3, *reinterpret_cast<float const*>(in.GetAlphaPtr(x, y)));
                expected.Add(5, luma);
                expected.AddComposite(luma, cb, cr);
                continue;
            }
            float const c0 = sample(x, 0), c1 = sample(x, 1), c2 = sample(x, 2);
            auto const yccOf =
                Through(expected.b709 ? qzILColor::s_dfArrayRGBAtoYCCA709 : qzILColor::s_dfArrayRGBAtoYCCA, c0, c1, c2);
            expected.AddColors(c0, c1, c2);
            expected.Add(3, sample(x, 3));
            expected.Add(5, composite       ? yccOf[0]
                            : expected.b709 ? 0.2126f * c0 + 0.7152f * c1 + 0.0722f * c2
                                            : static_cast<float>(0.299 * c0 + 0.587 * c1 + 0.114 * c2));
            expected.AddComposite(yccOf[0], yccOf[1], yccOf[2]);
        }
    }
    for (std::size_t n = 0; n < (composite ? 7u : 6u); ++n) {
        for (std::size_t i = 0; i < expected.oBins[n].size(); ++i) {
            float const share =
                expected.uPixels == 0 ? 0.0f : expected.oBins[n][i] * static_cast<float>(1.0 / expected.uPixels);
            ASSERT_EQ(actual[n].GetBins()[i], share)
                << NameOf(format) << " matrix " << matrix << " histogram " << n << " bin " << i;
        }
    }
}

TEST(Histogram, OfImagesEqualsItsModel) {
    ForEachLevel([] {
        for (qzILBbox2l const& region : {qzILBbox2l(0, 0, 23, 8), {4, 3, 11, 5}, {2, 6, 5, 2}}) {
            for (bool const composite : {false, true}) {
                for (unsigned const matrix : {64u, 512u}) {
                    for (bool const masked : {false, true})
                        ExpectCounts(MFIF_RGBA_FLOAT, matrix, masked, composite, region, 23);
                }
                ExpectCounts(MFIF_CbYCrYA_FLOAT, 64, false, composite, region, 23);
                ExpectCounts(MFIF_CbYCrY709A_FLOAT, 0, true, composite, region, 23);
            }
        }
    });
}

/// A gradient and where it is looked at.
struct Gradient {
    unsigned uType;
    qzILVector2l oStart, oVector;
    double dfRatio = 1.0;
    bool bInvert = false;
    qzILBbox2l oBox{0, 0, 24, 14};
};

constexpr double kStops[3][4] = {{0.1, 0.9, 0.2, 1.0}, {0.8, 0.3, 0.55, 0.4}, {0.503, 0.0, 1.0, 0.7}};
constexpr int kWeights[] = {5, 40, 92};
constexpr double kCorners[4][4] = {
    {1, 0, 0, 1}, {0, 0.4, 0, 1}, {1, 1, 1, 0.5}, {0, 0.1, 1, 1}};  ///< from the upper left on

/// A channel of the pixel at x, y with its place in the gradient's table, truncated; of a flat region, rounded.
double Expected(Gradient const& g, double full, int x, int y, int c) {
    double const dx = g.oVector.x, dy = g.oVector.y, length = std::hypot(dx, dy);
    auto const value = [&](double share) { return std::trunc(share * full); };
    if (g.uType == 3) {
        double const w = std::abs(dx), h = std::abs(dy), x0 = g.oStart.x + std::min(dx, 0.0),
                     y0 = g.oStart.y + std::min(dy, 0.0);
        double const right = g.oBox.Origin.x + g.oBox.Size.x, up = g.oBox.Origin.y + g.oBox.Size.y;
        if (right <= x0 || g.oBox.Origin.x >= x0 + w || up <= y0 || g.oBox.Origin.y >= y0 + h) {
            bool const isRight = right + g.oBox.Origin.x > 2 * x0 + w, isUp = up + g.oBox.Origin.y > 2 * y0 + h;
            return std::round(kCorners[isUp ? (isRight ? 1 : 0) : (isRight ? 2 : 3)][c] * full);
        }
        double const along = std::clamp((x - x0) / (w - 1), 0.0, 1.0), above = std::clamp((y - y0) / (h - 1), 0.0, 1.0);
        double const left = kCorners[3][c] + (kCorners[0][c] - kCorners[3][c]) * above;
        return value(left + (kCorners[2][c] + (kCorners[1][c] - kCorners[2][c]) * above - left) * along);
    }
    int const angle = static_cast<int>(std::lround(std::atan2(dy, dx) * 57.29564666748047));
    auto const distance = [&](int px, int py) {
        double const u = px - g.oStart.x, v = py - g.oStart.y;
        if (g.uType == 2) return std::sqrt(u * u + v * g.dfRatio * v * g.dfRatio);
        if (angle % 180 == 0) return dx < 0 ? -u : u;
        if (angle % 180 == 90 || angle % 180 == -90) return dy < 0 ? -v : v;
        return (u * dx + v * g.dfRatio * dy) / (dx * dx + dy * dy) * length;
    };
    int const n = static_cast<int>(std::ceil(length)), right = g.oBox.Origin.x + g.oBox.Size.x - 1,
              top = g.oBox.Origin.y + g.oBox.Size.y - 1;
    int before = 0, behind = 0, beyond = 0;
    for (int py = g.oBox.Origin.y; py <= top; ++py) {
        for (int px = g.oBox.Origin.x; px <= right; ++px) {
            double const u = px - g.oStart.x, v = py - g.oStart.y;
            before += g.uType == 1 && distance(px, py) < 0;
            behind += g.uType == 1 && distance(px, py) > length;
            beyond +=
                g.uType == 2 && u * u + v * v > dx * dx + dy * dy;  // a box outside the circle has no corner in it
        }
    }
    int const pixels = g.oBox.Size.x * g.oBox.Size.y;
    if (before == pixels) return std::round(kStops[g.bInvert ? 2 : 0][c] * full);
    if (behind == pixels || beyond == pixels) return std::round(kStops[g.bInvert ? 0 : 2][c] * full);
    double const d = distance(x, y);
    int entry = d <= 0 ? 0 : d >= length ? n - 1 : std::min(static_cast<int>(d), n - 1);
    if (g.bInvert) entry = n - 1 - entry;
    int const at[] = {kWeights[0] * n / 100, kWeights[1] * n / 100, kWeights[2] * n / 100};
    if (entry < at[0]) return value(kStops[0][c]);
    if (entry >= at[2]) return value(kStops[2][c]);
    int const i = entry >= at[1] ? 1 : 0;
    double const share = (entry - at[i]) / static_cast<double>(at[i + 1] - at[i]);
    return value(kStops[i][c] + (kStops[i + 1][c] - kStops[i][c]) * share);
}

void PutInto(qzILColorGradeImg& effect, Gradient const& g, IXFImage* output) {
    qzILColor stops[3];
    for (int i = 0; i < 3; ++i) stops[i] = {kStops[i][0], kStops[i][1], kStops[i][2], kStops[i][3]};
    auto const corner = [](int i) { return qzILColor(kCorners[i][0], kCorners[i][1], kCorners[i][2], kCorners[i][3]); };
    effect.SetType(g.uType);
    effect.SetVector(g.oStart.x, g.oStart.y, g.oVector.x, g.oVector.y);
    effect.SetRatio(g.dfRatio);
    effect.SetInvertFlag(g.bInvert);
    effect.SetColors(stops, kWeights, 3);
    effect.SetColorUL(corner(0)), effect.SetColorUR(corner(1)), effect.SetColorLR(corner(2)),
        effect.SetColorLL(corner(3));
    effect.SetROI({0, 0, g.oBox.Size.x, g.oBox.Size.y});
    effect.SetOutputOffset(g.oBox.Origin);
    effect.SetOutputImg(output);
}

TEST(Ramp, EqualsItsModel) {
    Gradient const cases[] = {
        {1, {3, 2}, {17, 0}},
        {1, {20, 2}, {-15, 0}, 3.0},
        {1, {3, 2}, {0, 9}, 2.0},
        {1, {3, 12}, {0, -9}, 2.0, true},
        {1, {4, 3}, {12, 7}, 1.5},
        {1, {20, 11}, {-13, -8}, 0.7, true},
        {1, {2, 2}, {200, 1}},
        {1, {30, 2}, {17, 0}, 1.0, false},  // before
        {1, {-9, 0}, {5, 3}, 1.0, true},    // behind
        {1, {5, 2}, {4, 9}, 1.0, false, {6, 3, 9, 5}},
        {2, {11, 6}, {7, 4}},
        {2, {11, 6}, {9, 0}, 2.0, true},
        {2, {11, -9}, {0, 8}, 0.5},  // the ellipse reaches in, the circle does not
        {2, {27, 6}, {4, 0}},        // one column touches the circle
        {2, {0, 0}, {3, 4}, 1.0, false, {3, 4, 5, 5}},
        {3, {4, 3}, {15, 8}},
        {3, {19, 11}, {-15, -8}},
        {3, {40, 30}, {9, 9}},
        {3, {30, 3}, {9, 8}},
        {3, {4, 3}, {2, 2}, 1.0, false, {2, 1, 9, 9}},
    };
    for (GUID const& format : {MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_MONO_RAW_8, MFIF_MONO_RAW_16}) {
        bool const words = GetChannelSizeFromFormat(format) == 2;
        for (Gradient const& g : cases) {
            auto const image = MakeRandomImage(format, 24, 14, 5), before = MakeRandomImage(format, 24, 14, 5);
            qzILColorGradeImg effect;
            PutInto(effect, g, image.Get());
            ASSERT_EQ(effect.Verify(), 1) << &g - cases;
            ASSERT_EQ(effect.Execute(), 1) << &g - cases;
            qzILImageHelper const out(image.Get()), old(before.Get());
            for (int i = 0; i < 24 * 14 * 4; ++i) {
                int const x = i / 4 % 24, y = i / 4 / 24, c = i % 4;
                if (c >= static_cast<int>(GetNumOfChannelsFromFormat(format))) continue;
                auto const at = [&](qzILImageHelper const& helper) {
                    unsigned char const* const p = helper.GetPixelPtr(x, y);
                    return words ? int{reinterpret_cast<unsigned short const*>(p)[c]} : int{p[c]};
                };
                double const expected = Covers(g.oBox, x, y) ? Expected(g, words ? 65535 : 255, x, y, c) : at(old);
                ASSERT_EQ(at(out), expected)
                    << NameOf(format) << " case " << &g - cases << " at " << x << ',' << y << " channel " << c;
            }
        }
    }
}

TEST(Ramp, RefusesInItsOrder) {
    auto const image = MakeImage(MFIF_RGBA_RAW_32, 8, 8), other = MakeImage(MFIF_RGBA_FLOAT, 8, 8),
               empty = MakeImage(MFIF_RGBA_FLOAT, 0, 0);
    qzILColorGradeImg effect;
    qzILColor const colors[2];
    int weights[] = {0, 100};
    effect.SetColors(colors, weights, 2);
    effect.SetRatio(0.0);
    effect.SetType(4);
    effect.SetProcessingMode(0x107);
    effect.SetROI({0, 0, 9, 8});
    auto const expect = [&](unsigned code) {
        EXPECT_EQ(effect.Verify(), code == 0 ? 1 : -1);
        EXPECT_EQ(effect.GetLastError().GetErrorCode(), code);
        effect.SetLastError(0);
    };
    expect(0x20002), effect.SetProcessingMode(0x10F);
    expect(0x10075), effect.SetProcessingMode(15);
    expect(0x10002), effect.SetOutputImg(empty.Get());
    expect(0x10003), effect.SetOutputImg(other.Get());
    expect(0x1000D), effect.SetOutputImg(image.Get());
    expect(0x1000A), effect.SetROI({0, 0, 8, 8});
    expect(0x1003E), effect.SetType(3), effect.SetVector(0, 0, 2, -1);
    expect(0x1003F), effect.SetVector(0, 0, 2, -2);
    expect(0x10045), effect.SetRatio(1.0);
    expect(0x10047), weights[1] = 99, effect.SetColors(colors, weights, 2);
    expect(0), effect.SetType(1), effect.SetVector(1, 1, 0, 0);
    expect(0x1003F);
    EXPECT_EQ(effect.GetAngle(), 270);
    effect.SetVector(0, 0, -5, -5);
    EXPECT_EQ(effect.GetAngle(), 225);
}

}  // namespace
}  // namespace qzil::test
