// Keyers of luma and of one channel against their rules in wide integers and doubles, and the crop box of all keyers.

#include "qzil/keying/linear_keyer.h"
#include "qzil/keying/luma_keyer.h"
#include "support/levels.h"
#include "support/picture.h"

#include "qzil/image/formats.h"
#include "qzil/image/image_helper.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace qzil::test {
namespace {

using Pixel = std::array<double, 4>;
constexpr int kWidth = 45, kHeight = 7;

Pixel PixelOf(qzILImageHelper const& image, int x, int y) {
    unsigned char const* const p = image.GetPixelPtr(x, y);
    auto const sample = [p]<class T>(std::size_t c, T value) {
        std::memcpy(&value, p + c * sizeof value, sizeof value);
        return static_cast<double>(value);
    };
    Pixel pixel{};
    for (std::size_t c = 0; c < 4; ++c) {
        switch (GetChannelTypeFromFormat(image.m_oFormat)) {
            case XFChannelTypeUInt8: pixel[c] = sample(c, static_cast<unsigned char>(0)); break;
            case XFChannelTypeUInt16: pixel[c] = sample(c, static_cast<unsigned short>(0)); break;
            case XFChannelTypeS2_14: pixel[c] = sample(c, short{0}); break;
            default: pixel[c] = sample(c, 0.0f);
        }
    }
    return pixel;
}

double FullOf(GUID const& format) {
    return GetChannelSizeFromFormat(format) == 1 ? 255.0
           : IsFormatFloat(format)               ? 1.0
           : IsFormatS2_14(format)               ? 16384.0
                                                 : 65535.0;
}

/// The alpha of a pixel of A, by rules with a full scale of `full`.
struct LinearModel {
    double dfThreshold, dfSoftness;
    bool bBlue;

    double operator()(Pixel const& a, double full) const {
        double const k = a[bBlue ? 2 : 1], others = std::max(a[0], a[bBlue ? 1 : 2]);
        if (full == 1.0) {
            auto const key = static_cast<float>(k), threshold = static_cast<float>(dfThreshold);
            float const low = std::clamp(static_cast<float>(others) - threshold, 0.0f, 1.0f);
            float const high = std::min(low + static_cast<float>(dfSoftness), 1.0f);
            return key <= low ? 1.0f : key >= high ? 0.0f : (high - key) / (high - low);
        }
        double const low = std::clamp(others - std::round(dfThreshold * full), 0.0, full);
        double const high = std::min(low + std::round(dfSoftness * full), full);
        auto const n = static_cast<long>(high - k), d = static_cast<long>(high - low), f = static_cast<long>(full);
        return k <= low ? full : k >= high ? 0.0 : static_cast<double>((n * f + (f == 255 ? d / 2 : 0)) / d);
    }
};

struct LumaModel {
    int iModel;
    double dfBrightness, dfGain;
    bool bReverses;

    double operator()(Pixel const& a, double full) const {
        bool const rec709 = iModel == 512;
        if (full == 1.0) {
            auto const r = static_cast<float>(a[0]), g = static_cast<float>(a[1]), b = static_cast<float>(a[2]);
            float const y = rec709 ? 0.2126f * r + 0.7152f * g + 0.0722f * b : 0.299f * r + 0.587f * g + 0.114f * b;
            float const v = static_cast<float>(dfGain) * y + static_cast<float>(dfBrightness);
            float const key = std::clamp(v, 0.0f, 1.0f);
            return bReverses ? 1.0f - key : key;
        }
        auto const product = [&](std::size_t c, long w601, long w709) {
            return static_cast<long>(a[c]) * (rec709 ? w709 : w601);
        };
        long const y = (product(0, 19595, 13933) + product(1, 38470, 46871) + product(2, 7471, 4732) + 32768) >> 16;
        int const bits = full == 255.0 ? 20 : 31;
        long const one = 1L << bits, gain = static_cast<long>(std::trunc(dfGain * static_cast<double>(one)));
        long const v = gain * y + static_cast<long>(std::trunc(full * dfBrightness * static_cast<double>(one)));
        long const key = std::clamp((v + one / 2 - (v < 0 ? one : 0)) >> bits, 0L, static_cast<long>(full));
        return bReverses ? full - static_cast<double>(key) : static_cast<double>(key);
    }
};

/// Runs an effect and expects B's pixels, with a model's alpha where `keyed` has a pixel.
template <class Effect, class Model, class Keyed>
void Expect(Effect& effect, GUID const& format, Model const& model, bool keepsAlpha, unsigned mode, Keyed keyed) {
    auto const a = MakeRandomImage(format, kWidth, kHeight, 1), b = MakeRandomImage(format, kWidth, kHeight, 2),
               output = MakeRandomImage(format, kWidth, kHeight, 3),
               before = MakeRandomImage(format, kWidth, kHeight, 3);
    effect.SetInputImgA(a.Get());
    effect.SetInputImgB(b.Get());
    effect.SetOutputImg(output.Get());
    effect.SetProcessingMode(mode);
    ASSERT_EQ(effect.Verify(), 1);
    ASSERT_EQ(effect.Execute(), 1);
    qzILImageHelper const inA(a.Get()), inB(b.Get()), out(output.Get()), old(before.Get());
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            Pixel expected = PixelOf(inB, x, y);
            double const alpha = model(PixelOf(inA, x, y), FullOf(format));
            if (keyed(x, y)) expected[3] = keepsAlpha ? std::min(alpha, expected[3]) : alpha;
            bool const skipped = (mode & ((y & 1) == 0 ? 0x100u : 0x200u)) != 0;
            ASSERT_EQ(PixelOf(out, x, y), skipped ? PixelOf(old, x, y) : expected)
                << NameOf(format) << " mode " << mode << " at " << x << ',' << y;
        }
    }
}

bool Everywhere(int, int) {
    return true;
}

TEST(LinearKeyer, EqualsModel) {
    ForEachLevel([] {
        for (GUID const& format : qzILLinearKeyer::GetFormats()) {
            for (auto const& [threshold, softness] :
                 {std::pair{0.0, 0.0}, {0.1, 0.3}, {-0.2, 1.0}, {-1.0, 0.4}, {1.0, 0.7}}) {
                for (bool const blue : {false, true}) {
                    qzILLinearKeyer effect;
                    effect.SetCropBox({0, 0, kWidth, kHeight});
                    effect.SetKeyColor({0.2, 0.5, blue ? 0.6 : 0.5});
                    effect.SetThreshold(threshold);
                    effect.SetSoftness(softness);
                    Expect(effect, format, LinearModel{threshold, softness, blue}, false, 15, Everywhere);
                }
            }
        }
    });
}

TEST(LumaKeyer, EqualsModel) {
    ForEachLevel([] {
        for (GUID const& format : qzILLumaKeyer::GetFormats()) {
            for (auto const& [brightness, gain] :
                 {std::pair{0.0, 1.0}, {-0.3, 1.7}, {0.4, 0.6}, {-1.0, 2.0}, {1.0, 2.0}}) {
                for (int flags = 0; flags < 8; ++flags) {
                    qzILLumaKeyer effect;
                    effect.SetBrightness(brightness);
                    effect.SetGain(gain);
                    effect.SetReverseFlag(flags & 1);
                    effect.SetKeepOrigAlphaFlag(flags & 2);
                    effect.m_iColorModel = (flags & 4) != 0 ? 512 : 64;
                    LumaModel const model{effect.m_iColorModel, brightness, gain, (flags & 1) != 0};
                    Expect(effect, format, model, (flags & 2) != 0, 7, Everywhere);
                }
            }
        }
    });
}

TEST(KeyerCrop, LeavesMarginsAndLinesToTheBackground) {
    for (qzILBbox2l const& box :
         {qzILBbox2l(3, 2, 30, 3), {0, 0, 45, 7}, {44, 6, 1, 1}, {7, 1, 1, 4}, {0, 0, 0, 0}, {5, 3, 9, 4}}) {
        for (unsigned const mode : {15u, 0x10Fu, 0x20Fu}) {
            qzILLinearKeyer effect;
            effect.SetCropBox(box);
            effect.SetSoftness(0.5);
            auto const inside = [&](int x, int y) {
                return x >= box.Origin.x && x < box.Origin.x + box.Size.x && y >= box.Origin.y &&
                       y < box.Origin.y + box.Size.y;
            };
            Expect(effect, MFIF_RGBA_RAW_32, LinearModel{0.0, 0.5, false}, false, mode, inside);
        }
    }
}

struct Probe : qzILLinearKeyer {
    std::array<int, 6> Limits() const {
        return {m_iLeftMargin, m_iRightMargin, m_iFirstStart, m_iFirstEnd, m_iSecondStart, m_iSecondEnd};
    }
};

// In each picture the box leaves 2 columns and 3 lines at its origin, 4 columns and 1 line at the other corner.
TEST(KeyerCrop, LimitsOfFramesAndFields) {
    struct {
        GUID oFormat;
        int iHeight;
        unsigned uMode;
        std::array<int, 4> aLines;
    } const cases[] = {
        {MFIF_CbYCrY_16, 12, 15, {3, 11, -1, -1}},           {MFIF_CbYCrY_16, 12, 0x10F, {1, 5, -1, -1}},
        {MFIF_CbYCrY_16, 12, 0x20F, {2, 6, -1, -1}},         {MFIF_YCC_422_16_SF_PAL, 12, 15, {1, 5, 6, 10}},
        {MFIF_YCC_422_16_SF_PAL, 13, 15, {0, 5, 7, 11}},     {MFIF_YCC_422_16_SF_PAL, 12, 0x10F, {1, 5, -1, -1}},
        {MFIF_YCC_422_16_SF_PAL, 12, 0x20F, {0, 4, -1, -1}}, {MFIF_YCC_422_16_SF_NTSC, 12, 15, {0, 4, 7, 11}},
        {MFIF_YCC_422_16_SF_NTSC, 13, 15, {1, 5, 7, 12}},    {MFIF_YCC_422_16_SF_NTSC, 12, 0x20F, {1, 5, -1, -1}},
    };
    for (auto const& c : cases) {
        auto const image = MakeImage(c.oFormat, 12, c.iHeight);
        Probe probe;
        probe.SetInputImgA(image.Get());
        probe.SetInputImgB(image.Get());
        probe.SetOutputImg(image.Get());
        probe.SetProcessingMode(c.uMode);
        probe.SetCropBox({2, 3, 6, c.iHeight - 4});
        ASSERT_EQ(probe.PrepareData(), 1);
        std::array<int, 6> const expected{2, 4, c.aLines[0], c.aLines[1], c.aLines[2], c.aLines[3]};
        EXPECT_EQ(probe.Limits(), expected) << NameOf(c.oFormat) << ' ' << c.iHeight << " mode " << c.uMode;
        probe.CleanData();
    }
}

TEST(Keyers, RefuseSettings) {
    auto const a = MakeImage(MFIF_RGBA_RAW_32, 8, 6), b = MakeImage(MFIF_RGBA_RAW_32, 8, 6);
    auto const code = [&](auto set) {
        return [&, set](auto effect, unsigned mode) {
            effect.SetInputImgA(a.Get());
            effect.SetInputImgB(b.Get());
            effect.SetOutputImg(b.Get());
            effect.SetProcessingMode(mode);
            set(effect);
            return effect.Verify() == 1 ? 0u : effect.GetLastError().GetErrorCode();
        };
    };
    EXPECT_EQ(code([](auto& e) { e.SetCropBox({0, 0, 8, 6}); })(qzILLinearKeyer(), 15), 0u);
    EXPECT_EQ(code([](auto& e) { e.SetCropBox({0, 0, 9, 6}); })(qzILLinearKeyer(), 15), 0x1000Au);
    EXPECT_EQ(code([](auto& e) { e.SetCropBox({-1, 0, 4, 4}); })(qzILLinearKeyer(), 7), 0x1000Au);
    EXPECT_EQ(code([](auto&) {})(qzILLinearKeyer(), 7), 0x20002u);
    EXPECT_EQ(code([](auto& e) { e.SetThreshold(1.01); })(qzILLinearKeyer(), 15), 0x20002u);
    EXPECT_EQ(code([](auto& e) { e.SetSoftness(-0.01); })(qzILLinearKeyer(), 15), 0x20002u);
    EXPECT_EQ(code([](auto&) {})(qzILLumaKeyer(), 7), 0u);
    EXPECT_EQ(code([](auto&) {})(qzILLumaKeyer(), 14), 0x20002u);
    EXPECT_EQ(code([](auto& e) { e.SetGain(2.01); })(qzILLumaKeyer(), 7), 0x20002u);
    EXPECT_EQ(code([](auto& e) { e.SetBrightness(-1.01); })(qzILLumaKeyer(), 7), 0x20002u);
    EXPECT_EQ(code([](auto& e) { e.m_iColorModel = 4; })(qzILLumaKeyer(), 7), 65643u);
}

}  // namespace
}  // namespace qzil::test
