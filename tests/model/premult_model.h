#pragma once

#include "model/model.h"

#include "qzil/image/color.h"

namespace qzil::test::model {

struct AdjustPremultModel {
    template <class T>
    static T Scaled(T c, T alphaA, T alphaB) {
        if (alphaA == 0 || alphaA == alphaB) return c;
        double const ratio = static_cast<double>(alphaB) / static_cast<double>(alphaA);
        if constexpr (kIsFloat<T>) {
            return static_cast<float>(static_cast<double>(c) * ratio);
        } else if constexpr (kIsByte<T>) {
            return static_cast<T>(std::min<i64>((c * static_cast<i64>(ratio * 65536.0) + 32768) >> 16, 255));
        } else {
            i64 const p = static_cast<i64>(c) * static_cast<i64>(ratio * 2147483648.0);
            if constexpr (kIsWord<T>) return static_cast<T>(std::clamp<i64>((p + 0x40000000) >> 31, 0, 65535));
            return static_cast<T>(Limit14((p + 0x40000000 - (p < 0 ? 0x80000000 : 0)) >> 31));
        }
    }
    template <class T>
    void operator()(Line<T> const& line) const {
        for (int x = 0; x < line.iWidth; ++x) {
            T const *const a = line.pA + 4 * x, *const b = line.pB + 4 * x;
            T const result[4] = {Scaled(b[0], a[3], b[3]), Scaled(b[1], a[3], b[3]), Scaled(b[2], a[3], b[3]), b[3]};
            line.Commit(x, result, Mix<T>);
        }
    }
};

struct UnpremultiplyModel {
    qzILColor oBackground;

    template <class T>
    void operator()(Line<T> const& line) const {
        double const alpha = oBackground.GetAlpha();
        T const g[4] = {Channel<T>(alpha * oBackground.GetRed()), Channel<T>(alpha * oBackground.GetGreen()),
                        Channel<T>(alpha * oBackground.GetBlue()), Channel<T>(alpha)};
        for (int x = 0; x < line.iWidth; ++x) {
            T result[4];
            if constexpr (kIsFloat<T>) {
                Pixel(line.pA + 4 * x, g, result);
                // A full mask takes the same sum as any other.
                if (line.pMask && IsFull(line.pMask[x])) {
                    for (int c = 0; c < 4; ++c) result[c] = Mix(1.0f, line.pA[4 * x + c], result[c]);
                }
            } else {
                IntegerPixel(line.pA + 4 * x, g, result);
            }
            line.Commit(x, result, Mix<T>);
        }
    }

private:
    /// Half the divisor added to the magnitude before the division.
    static i64 Divide(i64 numerator, i64 divisor, i64 low, i64 high) {
        if (divisor == 0) return numerator < 0 ? low : numerator > 0 ? high : 0;
        if (divisor < 0) numerator = -numerator, divisor = -divisor;
        return (numerator < 0 ? numerator - divisor / 2 : numerator + divisor / 2) / divisor;
    }

    template <class T>
    static void IntegerPixel(T const* in, T const* g, T* out) {
        i64 const hi = One<T>(), lo = 0, ba = g[3];
        i64 n = ba == 0 ? in[3] : ba == hi ? 0 : std::clamp(Divide((in[3] - ba) * hi, hi - ba, lo, hi), lo, hi);
        for (int c = 0; c < 3; ++c) {
            i64 const d = i64{in[c]} - g[c];
            n = std::max(n, Divide(d * hi, d >= 0 ? hi - g[c] : lo - g[c], lo, hi));
        }
        n = std::min<i64>(n, std::numeric_limits<T>::max());  // the new alpha is a channel value
        int const shift = kIsByte<T> ? 15 : 31;
        i64 const half = i64{1} << (shift - 1);
        for (int c = 0; c < 3; ++c) {
            if (n == 0) {
                out[c] = static_cast<T>(in[c] > g[c] ? hi : lo);
                continue;
            }
            i64 const k = static_cast<i64>(static_cast<double>(hi) / static_cast<double>(n) *
                                           (kIsByte<T> ? 32768.0 : 2147483648.0));
            i64 const product = (ba == 0 ? i64{in[c]} : i64{in[c]} - g[c]) * k;
            i64 const part = kIsS2_14<T> && product < 0 ? -((-product + half) >> shift) : (product + half) >> shift;
            out[c] = static_cast<T>(std::clamp((ba == 0 ? 0 : g[c]) + part, lo, hi));
        }
        out[3] = static_cast<T>(n);
    }

    static void Pixel(float const* in, float const* g, float* out) {
        constexpr float kHigh = 1e6f, kLow = -1e6f;
        float n = g[3] == 0 ? in[3] : g[3] == 1 ? 0 : std::clamp((in[3] - g[3]) / (1.0f - g[3]), 0.0f, 1.0f);
        for (int c = 0; c < 3; ++c) {
            float const d = in[c] - g[c];
            n = std::max(n, in[c] >= g[c] ? d * kHigh / (kHigh - g[c]) : d * kHigh / (kLow - g[c]));
        }
        double const k = 1.0 / static_cast<double>(n);
        for (int c = 0; c < 3; ++c) {
            double const d = static_cast<double>(in[c] - g[c]);
            if (n == 0) {
                out[c] = in[c] > g[c] ? kHigh : in[c] < g[c] ? kLow : 0.0f;
            } else {
                out[c] =
                    static_cast<float>(g[3] == 0 ? static_cast<double>(in[c]) * k : static_cast<double>(g[c]) + d * k);
            }
        }
        out[3] = n;
    }
};

}  // namespace qzil::test::model
