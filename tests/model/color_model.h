#pragma once

#include "model/model.h"

#include "qzil/image/color.h"

#include <array>

namespace qzil::test::model {

inline XFColorModel VideoModel(GUID const& format) {
    return IsFormat601(format) ? XFColorModelYCC601 : XFColorModelYCC709;
}
inline qzILColor Premultiplied(qzILColor const& c) {
    double const a = c.GetAlpha();
    return {a * c.GetRed(), a * c.GetGreen(), a * c.GetBlue(), a};
}
inline std::array<double, 4> Components(qzILColor const& c) {
    return {c.GetRed(), c.GetGreen(), c.GetBlue(), c.GetAlpha()};
}
/// Two pixels of a colour, in the byte order of the format.
inline std::array<u8, 4> ByteUnit(qzILColor const& color, GUID const& format) {
    u8 v[4];
    color.GetColorAs24(v, VideoModel(format));
    if (IsFormatAlternateYUV(format)) return {v[1], v[0], v[2], v[0]};
    return {v[0], v[1], v[0], v[2]};
}
/// Y, Cb, Cr and alpha of a colour in float.
inline std::array<float, 4> FloatVideo(qzILColor const& color, GUID const& format) {
    std::array<float, 4> v;
    color.GetColorAsFloat(v.data(), VideoModel(format));
    return v;
}
/// Component of (Y, Cb, Cr, A) that sample i of a Cb Y Cr Y line holds.
inline std::size_t VideoComponent(int i) {
    return i % 2 ? 0 : i % 4 ? 2 : 1;
}
inline void ByteVideoOverUnit(Line<u8> const& line, qzILColor const& color, double share) {
    auto const unit = ByteUnit(color, line.oFormat);
    for (int i = 0; i < 2 * line.iWidth; ++i) {
        line.pOut[i] = TableMix(Round(255 * share) & 255, unit[static_cast<std::size_t>(i % 4)], line.pA[i]);
    }
}

struct ImgOverColorModel {
    qzILColor oBackground;
    bool bPremultiplied;
    double dfOpacity;

    template <class T>
    void operator()(Line<T> const& line) const {
        if constexpr (kIsByte<T>) {
            if (line.eKind == Kind::Rgba) return Bytes(line);
            if (line.pMask) return;
            if (line.pAlphaIn) return BytePairs(line);
            return ByteVideoOverUnit(line, Premultiplied(oBackground), dfOpacity);
        } else if constexpr (kIsFloat<T> || kIsS2_14<T>) {
            for (int x = 0; x < line.iWidth; ++x) line.eKind == Kind::Rgba ? RealPixel(line, x) : RealVideo(line, x);
        }
    }

private:
    void Bytes(Line<u8> const& line) const {
        auto const color = Components(Premultiplied(oBackground));
        i64 const f = Round(255 * dfOpacity);
        for (int x = 0; x < line.iWidth; ++x) {
            i64 const m = line.pMask ? line.pMask[x] : 255, alpha = line.pA[4 * x + 3];
            for (int c = 0; c < 4; ++c) {
                i64 const in = line.pA[4 * x + c], bg = Round(255 * color[static_cast<std::size_t>(c)]);
                i64 const r = bPremultiplied ? Premult(in, alpha, bg, f, m, line.pMask)
                                             : Straight(c == 3, in, alpha, bg, f, m, line.pMask);
                line.pOut[4 * x + c] = static_cast<u8>(m == 0 || !line.Selects(c) ? in : r);
            }
        }
    }
    static i64 Premult(i64 in, i64 alpha, i64 bg, i64 f, i64 m, bool masked) {
        i64 t = 0;
        if (masked) {
            i64 const w = NormMult(m, f);
            if (w != m) in = NormMult(in, 255 - (m - w));
            t = (m - NormMult(w, alpha)) & 255;
        } else {
            if (f < 255) in = NormMult(in, f), alpha = NormMult(alpha, f);
            t = 255 - alpha;
        }
        return std::min<i64>(255, in + NormMult(t, bg));
    }
    static i64 Straight(bool isAlpha, i64 in, i64 alpha, i64 bg, i64 f, i64 m, bool masked) {
        i64 const fa = NormMult(alpha, f), over = NormMult(255 - fa, bg) + NormMult(fa, isAlpha ? 255 : in);
        if (!masked) return over;
        i64 const w = 255 - NormMult(m, 255 - fa);
        return isAlpha ? NormMult(255 - m, alpha) + NormMult(m, over) : NormMult(255 - w, bg) + NormMult(w, in);
    }

    void BytePairs(Line<u8> const& line) const {
        u8 bg[4];
        Premultiplied(oBackground).GetColorAs24(bg, VideoModel(line.oFormat));
        i64 const f = Round(255 * dfOpacity), bgAlpha = Round(255 * oBackground.GetAlpha());
        auto const part = [](i64 x, i64 w) { return (x * w * 257 + 32896) >> 16; };
        for (int x = 0; x + 1 < line.iWidth; x += 2) {
            i64 t[2];
            for (int k = 0; k < 2; ++k) {
                i64 const alpha = line.pAlphaIn[x + k], w = alpha == 255 ? f : NormMult(alpha, f);
                t[k] = 255 - w;
                bool const selected = line.uMode & 8;
                line.pAlphaOut[x + k] =
                    static_cast<u8>(selected ? std::min<i64>(255, w + NormMult(t[k], bgAlpha)) : alpha);
            }
            for (int i = 0; i < 4; ++i) {
                i64 const zero = i % 2 ? 16 : 128;
                i64 v = line.pA[2 * x + i] - zero;
                if (!bPremultiplied) v = part(v, line.pAlphaIn[i == 3 ? x + 1 : x]);
                if (f < 255) v = part(v, f);
                v += part(bg[VideoComponent(i)] - zero, t[i == 3]) + zero;
                line.pOut[2 * x + i] = static_cast<u8>(std::clamp<i64>(v, 0, 255));
            }
        }
    }

    struct Weights {
        float fForeground, fBackground, fAlpha;
    };
    template <class T>
    static float Unit(T v) {
        return static_cast<float>(v) / static_cast<float>(One<T>());
    }
    template <class T>
    Weights WeightsAt(T const* mask, T const* alpha, int x) const {
        float const f = static_cast<float>(dfOpacity);
        float const m = mask ? std::min(Unit(mask[x]), 1.0f) : 1.0f;
        if (!alpha) {
            float const background = (1.0f - f) * m;
            return {1.0f - background, background, 0.0f};
        }
        float const background = (1.0f - std::clamp(Unit(*alpha), 0.0f, 1.0f) * f) * m;
        float const k = 1.0f - (1.0f - f) * m;
        return {bPremultiplied ? k : 1.0f - background, background, k};
    }
    template <class T>
    static T Sum(float w, T c, float wb, float bg) {
        if constexpr (kIsFloat<T>) return w * c + wb * bg;
        return static_cast<T>(RoundLimit14(w * static_cast<float>(c) + wb * (bg * 16384.0f)));
    }
    template <class T>
    void RealPixel(Line<T> const& line, int x) const {
        auto const bg = Components(Premultiplied(oBackground));
        T const* const in = line.pA + 4 * x;
        Weights const w = WeightsAt(line.pMask, in + 3, x);
        for (int c = 0; c < 4; ++c) {
            bool const keep = !line.Selects(c) || (line.pMask && IsNone(line.pMask[x]));
            T const sum = Sum(c == 3 ? w.fAlpha : w.fForeground, in[c], w.fBackground,
                              static_cast<float>(bg[static_cast<std::size_t>(c)]));
            line.pOut[4 * x + c] = keep ? in[c] : sum;
        }
    }
    /// An even pixel's alpha and mask drive the pair's chroma.
    template <class T>
    void RealVideo(Line<T> const& line, int x) const {
        auto bg = FloatVideo(oBackground, line.oFormat);
        for (int c = 0; c < 3; ++c) bg[static_cast<std::size_t>(c)] *= bg[3];
        T const* const alpha = line.pAlphaIn ? line.pAlphaIn + x : nullptr;
        Weights const w = WeightsAt(line.pMask, alpha, x);
        bool const keep = line.pMask && IsNone(line.pMask[x]);
        for (int i = 2 * x; i < std::min(2 * x + 3, 2 * line.iWidth); ++i) {
            if (x % 2 && i != 2 * x + 1) continue;
            line.pOut[i] = keep ? line.pA[i] : Sum(w.fForeground, line.pA[i], w.fBackground, bg[VideoComponent(i)]);
        }
        if (!alpha) return;
        line.pAlphaOut[x] = keep || !(line.uMode & 8) ? *alpha : Sum(w.fAlpha, *alpha, w.fBackground, bg[3]);
    }
};

struct ColorBlendModel {
    qzILColor oColor;
    double dfAlpha;

    template <class T>
    void operator()(Line<T> const& line) const {
        // An alpha plane blends toward the colour's alpha.
        bool const plane = line.eKind == Kind::Mono && IsFormatYCC(line.oFormat);
        auto color = Components(oColor);
        if (plane) color[0] = color[3];
        auto const video = line.eKind == Kind::Video ? FloatVideo(oColor, line.oFormat) : std::array<float, 4>{};
        auto const unit = ByteUnit(oColor, line.oFormat);
        for (int x = 0, n = line.Samples(); x < line.iWidth; ++x) {
            for (int c = 0; c < n; ++c) {
                int const i = x * n + c;
                T const in = line.pA[i];
                if (line.eKind == Kind::Video) {
                    if constexpr (kIsByte<T>) {
                        line.pOut[i] = TableMix(Round(255 * dfAlpha) & 255, in, unit[static_cast<std::size_t>(i % 4)]);
                    } else if constexpr (!kIsWord<T>) {
                        line.pOut[i] = Real(in, video[VideoComponent(i)], static_cast<float>(dfAlpha));
                    }
                    continue;
                }
                bool const keep = !line.Selects(c) || (line.pMask && IsNone(line.pMask[x]));
                T const* const mask = line.pMask ? line.pMask + x : nullptr;
                line.pOut[i] = keep ? in : Mixed(in, color[static_cast<std::size_t>(c)], mask, line.eKind);
            }
        }
    }

private:
    template <class T>
    static T Real(T in, float color, float w) {
        if constexpr (kIsFloat<T>) return (1.0f - w) * in + color * w;
        return static_cast<T>(RoundLimit14((1.0f - w) * static_cast<float>(in) + color * 16384.0f * w));
    }
    template <class T>
    T Mixed(T in, double color, T const* mask, Kind kind) const {
        if constexpr (kIsByte<T>) {
            i64 const a = Round(255 * dfAlpha) & 255, w = !mask || *mask == 255 ? a : NormMult(*mask, a);
            return TableMix(w, in, Round(255 * color));
        } else if constexpr (kIsWord<T>) {
            i64 const a = Round(65535 * dfAlpha), w = mask ? *mask * a / 65535 : a;
            return static_cast<T>(in + Part16(w, Round(65535 * color) - in));
        } else {
            if (kIsS2_14<T> && kind == Kind::Mono) {
                // A full mask takes the same weight as any other.
                i64 const w =
                    !mask ? Round(dfAlpha * 16384)
                          : (std::min<i64>(static_cast<i64>(*mask), 16384) * Round(dfAlpha * 65536) + 32768) >> 16;
                i64 const from = static_cast<i64>(in);
                return static_cast<T>(Limit14(from + Part14(w, Round(color * 16384) - from)));
            }
            float const m = mask ? std::min(static_cast<float>(*mask) / static_cast<float>(One<T>()), 1.0f) : 1.0f;
            return Real(in, static_cast<float>(color), static_cast<float>(dfAlpha) * m);
        }
    }
};

struct OutputAlphaModel {
    bool bReverse;
    unsigned uAlphaMode;

    template <class T>
    void operator()(Line<T> const& line) const {
        for (int x = 0; x < line.iWidth; ++x) {
            if (line.eKind == Kind::Rgba) {
                T const v = Shown(line.pA[4 * x + 3]);
                T const result[4] = {v, v, v, Alpha(v)};
                line.Commit(x, result, Mix<T>);
            } else {
                int const luma = IsFormatAlternateYUV(line.oFormat) ? 1 : 0;
                T const v = Shown(line.pAlphaIn[x]);
                line.pOut[2 * x + luma] =
                    kIsByte<T> ? static_cast<T>((static_cast<i64>(v) * 56283 + 0x108000) >> 16) : v;
                line.pOut[2 * x + 1 - luma] = kIsByte<T> ? T{128} : T{0};
                line.pAlphaOut[x] = Alpha(v);
            }
        }
    }

private:
    template <class T>
    T Shown(T alpha) const {
        if (!bReverse) return alpha;
        if constexpr (kIsFloat<T>) return 1.0f - alpha;
        i64 const v = static_cast<i64>(One<T>()) - static_cast<i64>(alpha);
        return static_cast<T>(kIsS2_14<T> ? Limit14(v) : v);
    }
    template <class T>
    T Alpha(T shown) const {
        return uAlphaMode == 3 ? shown : uAlphaMode == 2 ? One<T>() : T{0};
    }
};

}  // namespace qzil::test::model
