#pragma once

#include "model/model.h"

#include "qzil/image/pixel_math.h"

namespace qzil::test::model {

template <class T>
T Luminance(T const* p) {
    if constexpr (kIsFloat<T>) {
        return 0.299f * p[0] + 0.587f * p[1] + 0.114f * p[2];
    } else {
        return static_cast<T>((i64{299} * p[0] + i64{587} * p[1] + i64{114} * p[2]) / 1000);
    }
}

/// Colour becomes luminance by the mask alone; the mode has no say.
struct GrayModel {
    template <class T>
    void operator()(Line<T> const& line) const {
        for (int x = 0; x < line.iWidth; ++x) {
            T const* const p = line.pA + 4 * x;
            T const y = Luminance(p), m = line.pMask ? line.pMask[x] : One<T>(), alpha = p[3];
            T result[3];
            for (int c = 0; c < 3; ++c) result[c] = IsNone(m) ? p[c] : IsFull(m) ? y : Mix(m, p[c], y);
            std::copy_n(result, 3, line.pOut + 4 * x);
            line.pOut[4 * x + 3] = alpha;
        }
    }
};

struct ToAlphaModel {
    template <class T>
    void operator()(Line<T> const& line) const {
        for (int x = 0; x < line.iWidth; ++x) {
            T const* const p = line.pA + 4 * x;
            T const m = line.pMask ? line.pMask[x] : One<T>();
            if (m == 0) {
                std::copy_n(p, 4, line.pOut + 4 * x);
            } else {
                line.pOut[4 * x + 3] = IsFull(m) ? Luminance(p) : MixByTable(m, p[3], Luminance(p));
            }
        }
    }
};

struct SwitchModel {
    int aSources[4];

    static void Work(u8 const* p, u8* working) {
        for (int c = 0; c < 4; ++c) {
            working[c] = p[c];
            working[4 + c] = static_cast<u8>(~p[c]);
        }
        int const r = p[0], g = p[1], b = p[2];
        int const mx = std::max({r, g, b}), mn = std::min({r, g, b}), s = mx + mn, d = mx - mn;
        int const lightness = (s + 1) >> 1;
        int hue = 0;
        if (d == 0) {
            hue = 0;
        } else if (r == mx) {
            hue = g < b ? -ilHueTable[b - g][d] : ilHueTable[g - b][d];
        } else if (g == mx) {
            hue = b >= r ? 85 + ilHueTable[b - r][d] : 85 - ilHueTable[r - b][d];
        } else {
            hue = r >= g ? ilHueTable[r - g][d] - 86 : 170 - ilHueTable[g - r][d];
        }
        working[8] = static_cast<u8>(hue);
        working[9] = static_cast<u8>(lightness);
        working[10] = lightness >= 128 ? ilNormDiv[d][510 - s] : ilNormDiv[d][s];
        working[11] = 0;
        working[12] = 255;
    }
    template <class T>
    void operator()(Line<T> const& line) const {
        if constexpr (kIsByte<T>) {
            for (int x = 0; x < line.iWidth; ++x) {
                u8 working[13], result[4];
                Work(line.pA + 4 * x, working);
                for (int c = 0; c < 4; ++c) {
                    result[c] = working[aSources[c] < 0 || aSources[c] > 12 ? 11 : aSources[c]];
                }
                line.Commit(x, result, [](i64 m, i64 p, i64 r) { return TableMix(m, p, r); });
            }
        }
    }
};

struct MinMaskModel {
    template <class T>
    static T Product(T c, T m) {
        if constexpr (kIsFloat<T>) {
            return c * m;
        } else {
            i64 const value = c, weight = m;
            if constexpr (kIsByte<T>) return static_cast<T>((value * weight * 257 + 32896) >> 16);
            return static_cast<T>(Part14(weight, value));
        }
    }
    template <class T>
    void operator()(Line<T> const& line) const {
        for (int i = 0; i < 4 * line.iWidth; ++i) {
            T const v = line.pA[i], m = line.pMask[i / 4];
            if (!line.Selects(i % 4) || IsFull(m)) {
                line.pOut[i] = v;
            } else if (IsNone(m)) {
                line.pOut[i] = 0;
            } else {
                line.pOut[i] = i % 4 == 3 ? std::min(m, v) : Product(v, m);
            }
        }
    }
};

}  // namespace qzil::test::model
