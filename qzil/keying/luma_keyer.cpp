#include "qzil/keying/luma_keyer.h"

#include "qzil/frame/checks.h"
#include "qzil/frame/run.h"
#include "qzil/keying/luma_keyer_rows.h"

#include <algorithm>
#include <cmath>

using namespace qzil;

namespace {

constexpr double kOne20 = 1048576.0, kOne31 = 2147483648.0;

}  // namespace

qzILStatus qzILLumaKeyer::Verify() {
    return Checks(*this, qzILDyadicPixelProc::Verify())
        .Format(kRgbaFormats)
        .Selects(kModeColor)
        .Range(m_dfBrightness, -1.0, 1.0, Code::KeyerSetting)
        .Range(m_dfGain, 0.0, 2.0, Code::KeyerSetting)
        .That(m_iColorModel == XFColorModelYCC601 || m_iColorModel == XFColorModelYCC709, Code::ColorModel);
}

qzILStatus qzILLumaKeyer::DoEffect() {
    bool const rec709 = m_iColorModel == XFColorModelYCC709, keeps = m_iKeepsAlpha != 0, reverses = m_iReverse != 0;
    LumaWeights<s32> const weights =
        rec709 ? LumaWeights<s32>{13933, 46871, 4732} : LumaWeights<s32>{19595, 38470, 7471};
    // What Verify refuses is limited to what it takes.
    double const gain = m_dfGain >= 0.0 ? std::min(m_dfGain, 2.0) : 0.0;
    double const brightness = m_dfBrightness >= -1.0 ? std::min(m_dfBrightness, 1.0) : -1.0;
    auto const build = [=]<class T>(As<T>) -> LumaKey<T> {
        if constexpr (std::is_same_v<T, float>) {
            LumaWeights<float> const real =
                rec709 ? LumaWeights<float>{0.2126f, 0.7152f, 0.0722f} : LumaWeights<float>{0.299f, 0.587f, 0.114f};
            return {real, static_cast<float>(gain), static_cast<float>(brightness), reverses, keeps};
        } else if constexpr (std::is_same_v<T, u8>) {
            return {weights, static_cast<s32>(kOne20 * gain), static_cast<s32>(255.0 * brightness * kOne20), reverses,
                    keeps};
        } else {
            constexpr double kFull = kFullScale<T>;
            return {weights, std::trunc(gain * kOne31), std::trunc(kFull * brightness * kOne31), reverses, keeps};
        }
    };
    return Run(GetLumaKey(), build, Code::Format);
}
