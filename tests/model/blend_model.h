#pragma once

#include "model/model.h"

namespace qzil::test::model {

struct BlendModel {
    double dfAlpha;

    template <class T>
    T Result(T a, T b) const {
        if constexpr (kIsByte<T>) return TableMix(Round(255 * dfAlpha) & 255, a, b);
        if constexpr (kIsWord<T>) return static_cast<T>(a + Part16(Round(65535 * dfAlpha), b - a));
        return Weighted<T>(a, b, Weight<T>());
    }

    template <class T>
    void operator()(Line<T> const& line) const {
        if constexpr (kIsByte<T>) {
            if (line.eKind == Kind::Video) return line.pMask ? Video8(line) : EverySample(line);
        }
        if constexpr (kIsS2_14<T> || kIsFloat<T>) {
            if (line.eKind == Kind::Video) return line.pMask ? VideoReal(line) : EverySample(line);
            if (line.eKind == Kind::Rgba || kIsS2_14<T>) return Real(line);
        }
        for (int x = 0, n = line.Samples(); x < line.iWidth; ++x) {
            T result[4] = {};
            for (int c = 0; c < n; ++c) result[c] = Result(line.pA[x * n + c], line.pB[x * n + c]);
            line.Commit(x, result, MixByTable<T>);
        }
    }

private:
    template <class T>
    using WeightOf = std::conditional_t<kIsFloat<T>, float, i64>;

    template <class T>
    WeightOf<T> Weight() const {
        if constexpr (kIsFloat<T>) {
            return static_cast<float>(dfAlpha);
        } else {
            return Round(dfAlpha * 16384);
        }
    }
    template <class T>
    static T Weighted(T a, T b, WeightOf<T> w) {
        if constexpr (kIsFloat<T>) {
            return a + (b - a) * w;
        } else {
            return static_cast<T>(Limit14(a + Part14(w, b - a)));
        }
    }
    /// The weight that leads from A to B when a mask folds into alpha.
    template <class T>
    WeightOf<T> Folded(T m, bool dominantB) const {
        if (IsFull(m)) return Weight<T>();
        if constexpr (kIsFloat<T>) {
            float const alpha = static_cast<float>(dfAlpha);
            return dominantB ? 1.0f - m + m * alpha : alpha * m;
        } else {
            i64 const w = (Round(dfAlpha * 65536) * m + 32768) >> 16;
            return static_cast<short>(dominantB ? w - m + 16384 : w);
        }
    }
    template <class T>
    void EverySample(Line<T> const& line) const {
        for (int i = 0; i < line.iWidth * line.Samples(); ++i) line.pOut[i] = Result(line.pA[i], line.pB[i]);
    }
    /// RGBA of S2.14 and float, mono of S2.14.
    template <class T>
    void Real(Line<T> const& line) const {
        WeightOf<T> const full = kIsFloat<T> ? 1 : 16384;
        for (int x = 0, n = line.Samples(); x < line.iWidth; ++x) {
            for (int c = 0; c < n; ++c) {
                int const i = x * n + c;
                T const a = line.pA[i], b = line.pB[i];
                if (line.pMask && (IsNone(line.pMask[x]) || !line.Selects(c))) {
                    line.pOut[i] = line.pP[i];
                } else if (line.pMask) {
                    line.pOut[i] = Weighted<T>(a, b, Folded(line.pMask[x], line.bDominantB));
                } else {
                    line.pOut[i] = Weighted<T>(a, b, line.Selects(c) ? Weight<T>() : line.bDominantB ? full : 0);
                }
            }
        }
    }
    /// A pixel's mask drives its luma, that of an even pixel also the pair's chroma.
    template <class T>
    void VideoReal(Line<T> const& line) const {
        for (int x = 0; x < line.iWidth; ++x) {
            for (int place : {0, 1, 2}) {
                int const i = 2 * x + place;
                if ((x % 2 != 0 && place != 1) || i >= 2 * line.iWidth) continue;
                T const m = line.pMask[x];
                line.pOut[i] = IsNone(m) ? line.pP[i] : Weighted<T>(line.pA[i], line.pB[i], Folded(m, line.bDominantB));
            }
        }
    }
    void Video8(Line<u8> const& line) const {
        for (int x = 0; x < line.iWidth; x += 2) {
            bool const pair = x + 1 < line.iWidth;
            int const m0 = line.pMask[x], m1 = pair ? line.pMask[x + 1] : 0;
            int const mean = (m0 + m1) >> 1;
            int const weights[4] = {m0, mean, m1, mean};
            for (int k = 0; k < (pair ? 4 : 2); ++k) {
                int const i = 2 * x + k;
                line.pOut[i] = TableMix(weights[k], line.pP[i], Result(line.pA[i], line.pB[i]));
            }
        }
    }
};

struct GeneralBlendModel {
    double dfA, dfB;

    template <class T>
    void operator()(Line<T> const& line) const {
        if constexpr (kIsByte<T> || kIsWord<T>) {
            int const shift = kIsByte<T> ? 16 : 15;
            i64 const wa = Round(dfA * (1 << shift)), wb = Round(dfB * (1 << shift));
            for (int x = 0, n = line.Samples(); x < line.iWidth; ++x) {
                T result[4] = {};
                for (int c = 0; c < n; ++c) {
                    i64 const sum = line.pA[x * n + c] * wa + line.pB[x * n + c] * wb;
                    result[c] = static_cast<T>(static_cast<std::uint32_t>(sum) >> shift);
                }
                line.Commit(x, result, MixByTable<T>);
            }
        }
    }
};

struct CompositeModel {
    double dfAlpha;
    unsigned uAlphaMode;

    template <class T>
    void operator()(Line<T> const& line) const {
        if constexpr (kIsByte<T> || kIsWord<T>) {
            i64 const full = One<T>(), a = Round(static_cast<double>(full) * dfAlpha);
            for (int x = 0; x < line.iWidth; ++x) {
                i64 const m = line.pMask[x];
                i64 const w = m == full ? a : kIsByte<T> ? NormMult(m, a) : m * a / 65535;
                for (int c = 0; c < 3; ++c) {
                    T const p = line.pA[4 * x + c], b = line.pB[4 * x + c];
                    T const mixed =
                        kIsByte<T> ? static_cast<T>(TableMix(w, p, b)) : static_cast<T>(p + Part16(w, b - p));
                    line.pOut[4 * x + c] = m == 0 ? p : mixed;
                }
                T const both = static_cast<T>(line.pA[4 * x + 3] | line.pB[4 * x + 3]);
                line.pOut[4 * x + 3] = uAlphaMode == 3 ? both : uAlphaMode == 2 ? One<T>() : T{0};
            }
        }
    }
};

struct CopyOverModel {
    template <class T>
    void operator()(Line<T> const& line) const {
        for (int x = 0; x < line.iWidth; ++x) line.Commit(x, line.pB + x * line.Samples(), Mix<T>);
    }
};

}  // namespace qzil::test::model
