#pragma once

#include "model/model.h"

namespace qzil::test::model {

/// B's pixels under an alpha that a rule makes of A's, whatever mask and channels.
template <class Rule>
struct KeyModel {
    Rule oRule;
    bool bKeepsAlpha = false;

    template <class T>
    void operator()(Line<T> const& line) const {
        for (int x = 0; x < line.iWidth; ++x) {
            T const *const a = line.pA + 4 * x, *const b = line.pB + 4 * x;
            T const alpha = oRule(a);
            std::copy(b, b + 3, line.pOut + 4 * x);
            line.pOut[4 * x + 3] = bKeepsAlpha ? std::min(alpha, b[3]) : alpha;
        }
    }
};

struct LinearRule {
    double dfThreshold, dfSoftness;
    qzILColor oKey;

    template <class T>
    T operator()(T const* a) const {
        using V = std::conditional_t<kIsFloat<T>, float, i64>;
        bool const blue = oKey.GetBlue() > std::max(oKey.GetRed(), oKey.GetGreen());
        auto const sample = [](double share) {
            return kIsFloat<T> ? static_cast<V>(share) : static_cast<V>(Round(share * static_cast<double>(One<T>())));
        };
        V const key = a[blue ? 2 : 1], full = One<T>();
        V const low = std::clamp<V>(std::max<V>(a[0], a[blue ? 1 : 2]) - sample(dfThreshold), 0, full);
        if (key <= low) return One<T>();
        V const high = std::clamp<V>(low + sample(dfSoftness), 0, full);
        if (key >= high) return 0;
        if constexpr (kIsFloat<T>) return (high - key) / (high - low);
        V const half = kIsByte<T> ? (high - low) / 2 : 0;
        return static_cast<T>(((high - key) * full + half) / (high - low));
    }
};

struct LumaRule {
    bool b709, bReverses;
    double dfBrightness, dfGain;

    template <class T>
    T operator()(T const* p) const {
        if constexpr (kIsFloat<T>) {
            float const luma =
                b709 ? 0.2126f * p[0] + 0.7152f * p[1] + 0.0722f * p[2] : 0.299f * p[0] + 0.587f * p[1] + 0.114f * p[2];
            float const gain = static_cast<float>(dfGain), brightness = static_cast<float>(dfBrightness);
            float const key = std::clamp(gain * luma + brightness, 0.0f, 1.0f);
            return bReverses ? 1.0f - key : key;
        } else {
            i64 const r = p[0], g = p[1], b = p[2];
            i64 const luma = (b709 ? r * 13933 + g * 46871 + b * 4732 : r * 19595 + g * 38470 + b * 7471) + 32768;
            i64 const one = i64{1} << (kIsByte<T> ? 20 : 31), full = One<T>();
            double const unit = static_cast<double>(one);
            i64 const sum = static_cast<i64>(dfGain * unit) * (luma >> 16) +
                            static_cast<i64>(static_cast<double>(full) * dfBrightness * unit);
            i64 const key = std::clamp<i64>((sum + one / 2 - (sum < 0 ? one : 0)) >> (kIsByte<T> ? 20 : 31), 0, full);
            return static_cast<T>(bReverses ? full - key : key);
        }
    }
};

}  // namespace qzil::test::model
