#include "qzil/spatial/edge_rows.h"

#include "qzil/kernel/loops.h"

QZIL_ROWS_BEGIN
namespace {

using kernel::Row;

/// Signed values of a neighbourhood: 16 bits hold every sum of 8-bit samples, 32 bits those of 16-bit samples.
template <class T>
struct WorkOf;
template <>
struct WorkOf<u8> {
    using Type = s16;
    static constexpr int kFull = 255;
};
template <>
struct WorkOf<u16> {
    using Type = s32;
    static constexpr int kFull = 65535;
};

/// The samples around m1, a line each; t is that of the lowest y, 0 the left one.
template <class V>
struct Neighbourhood {
    V t0, t1, t2, m0, m1, m2, b0, b1, b2;
};

/// Weights of the samples, in the order t0 to b2.
struct Weights {
    signed char aOf[9];
};

/// The gradients E, NE, N, NW, W, SW, S, SE. The reliefs have the same weights, and 1 in the centre.
constexpr Weights kDirections[8] = {
    {{-1, 0, 1, -1, 0, 1, -1, 0, 1}}, {{-1, -1, 0, -1, 0, 1, 0, 1, 1}}, {{-1, -1, -1, 0, 0, 0, 1, 1, 1}},
    {{0, -1, -1, 1, 0, -1, 1, 1, 0}}, {{1, 0, -1, 1, 0, -1, 1, 0, -1}}, {{1, 1, 0, 1, 0, -1, 0, -1, -1}},
    {{1, 1, 1, 0, 0, 0, -1, -1, -1}}, {{0, 1, 1, -1, 0, 1, -1, -1, 0}},
};

template <int kWeight, class V>
QZIL_INLINE V Weighed(V v) {
    return static_cast<V>(kWeight == 0 ? 0 : kWeight < 0 ? -v : v);
}

template <unsigned kDirection, class V>
QZIL_INLINE V Directed(Neighbourhood<V> const& h) {
    constexpr Weights k = kDirections[kDirection];
    V const t = static_cast<V>(Weighed<k.aOf[0]>(h.t0) + Weighed<k.aOf[1]>(h.t1) + Weighed<k.aOf[2]>(h.t2));
    V const m = static_cast<V>(Weighed<k.aOf[3]>(h.m0) + Weighed<k.aOf[5]>(h.m2));
    V const b = static_cast<V>(Weighed<k.aOf[6]>(h.b0) + Weighed<k.aOf[7]>(h.b1) + Weighed<k.aOf[8]>(h.b2));
    return static_cast<V>(static_cast<V>(t + m) + b);
}

template <class V>
struct Slope {
    V x, y;
};

template <bool kSobelWeights, class V>
QZIL_INLINE Slope<V> SlopeOf(Neighbourhood<V> const& h) {
    if constexpr (kSobelWeights) {
        V const x = static_cast<V>(h.t2 - h.t0 + (h.m2 >> 1) - (h.m0 >> 1) + h.b2 - h.b0);
        V const y = static_cast<V>(h.b0 - h.t0 + (h.b1 >> 1) - (h.t1 >> 1) + h.b2 - h.t2);
        return {x, y};
    } else {
        V const x = static_cast<V>(h.t2 - h.t0 + h.m2 - h.m0 + h.b2 - h.b0);
        V const y = static_cast<V>(h.t0 + h.t1 + h.t2 - h.b0 - h.b1 - h.b2);
        return {x, y};
    }
}

template <class V>
QZIL_INLINE V Magnitude(V v) {
    return Max(v, static_cast<V>(-v));
}

/// The response of an operator.
template <unsigned kOperator, class V>
QZIL_INLINE V Respond(Neighbourhood<V> const& h) {
    if constexpr (kOperator == kRoberts || kOperator == kSobel) {
        Slope<V> const slope = SlopeOf<kOperator == kSobel>(h);
        return static_cast<V>(Magnitude(slope.x) + Magnitude(slope.y));
    } else if constexpr (kOperator == kLaplace4) {
        return static_cast<V>(4 * h.m1 - h.t1 - h.m0 - h.m2 - h.b1);
    } else if constexpr (kOperator == kLaplace8) {
        return static_cast<V>(8 * h.m1 - h.t0 - h.t1 - h.t2 - h.m0 - h.m2 - h.b0 - h.b1 - h.b2);
    } else if constexpr (kOperator >= kEmboss) {
        return static_cast<V>(Directed<kOperator - kEmboss>(h) + h.m1);
    } else {
        return Directed<kOperator - kGradient>(h);
    }
}

template <class T>
struct ThreeLines {
    T const* pTop;
    T const* pMiddle;
    T const* pBottom;
    int iStep;

    QZIL_INLINE ThreeLines(Row const& row, EdgeConstants const& c)
        : pTop(reinterpret_cast<T const*>(static_cast<u8 const*>(row.pA) - c.iLineStep)),
          pMiddle(In<T>(row.pA)),
          pBottom(reinterpret_cast<T const*>(static_cast<u8 const*>(row.pA) + c.iLineStep)),
          iStep(c.iSamples) {}
};

/// Calls rule(neighbourhood) for both values of each pair.
template <class T, class Rule, class Put>
QZIL_INLINE void ForNeighbourhoods(Row const& row, EdgeConstants const& c, Rule rule, Put put) {
    using V = typename WorkOf<T>::Type;
    ThreeLines<T> const p(row, c);
    ForPairs(row.iPixels * c.iSamples, [=](Place at, auto which) {
        auto const t0 = Load(which, p.pTop + at.i - p.iStep), t1 = Load(which, p.pTop + at.i),
                   t2 = Load(which, p.pTop + at.i + p.iStep), m0 = Load(which, p.pMiddle + at.i - p.iStep),
                   m1 = Load(which, p.pMiddle + at.i), m2 = Load(which, p.pMiddle + at.i + p.iStep),
                   b0 = Load(which, p.pBottom + at.i - p.iStep), b1 = Load(which, p.pBottom + at.i),
                   b2 = Load(which, p.pBottom + at.i + p.iStep);
        auto const value = [](auto v) { return static_cast<V>(v); };
        Neighbourhood<V> const even{value(t0.oEven), value(t1.oEven), value(t2.oEven), value(m0.oEven), value(m1.oEven),
                                    value(m2.oEven), value(b0.oEven), value(b1.oEven), value(b2.oEven)};
        Neighbourhood<V> const odd{value(t0.oOdd), value(t1.oOdd), value(t2.oOdd), value(m0.oOdd), value(m1.oOdd),
                                   value(m2.oOdd), value(b0.oOdd), value(b1.oOdd), value(b2.oOdd)};
        put(at, which, Two<V>{rule(even), rule(odd)});
    });
}

template <class T, unsigned kOperator>
void Operate(Row const& row, EdgeConstants const& c, bool largest) {
    using V = typename WorkOf<T>::Type;
    constexpr V kFull = static_cast<V>(WorkOf<T>::kFull);
    V const threshold = static_cast<V>(c.iThreshold), bias = static_cast<V>(c.iBias);
    T* const out = Out<T>(row.pOut);
    auto const rule = [=](Neighbourhood<V> const& h) {
        V const v = Respond<kOperator>(h);
        if constexpr (kOperator >= kEmboss) {
            return Clamp<V>(v, 0, kFull);
        } else {
            return v <= threshold ? V{0} : Clamp<V>(static_cast<V>(v + bias), 0, kFull);
        }
    };
    if (!largest) {
        ForNeighbourhoods<T>(row, c, rule, [=](Place at, auto which, Two<V> v) { Store(which, out + at.i, v); });
    } else {
        ForNeighbourhoods<T>(row, c, rule, [=](Place at, auto which, Two<V> v) {
            auto const before = Load(which, out + at.i);
            Store(which, out + at.i,
                  Two<V>{Max(v.oEven, static_cast<V>(before.oEven)), Max(v.oOdd, static_cast<V>(before.oOdd))});
        });
    }
}

constexpr double kDegrees = 57.29564666748047, kSteps = 0.7083333134651184;

/// The angle of a slope that is not vertical, as a full circle of 255.
QZIL_INLINE s32 AngleOf(s32 gx, s32 gy) {
    double degrees = __builtin_atan2(static_cast<double>(gy), static_cast<double>(gx)) * kDegrees;
    if (degrees < 0) degrees += 360;
    return RoundHalfAway(degrees * kSteps);
}

/// The same to within a thousandth of a step, before it is rounded: a polynomial for the arc tangent of 0 to 1, whose
/// error is 1e-5, and the octant.
QZIL_INLINE float NearAngleOf(float gx, float gy) {
    constexpr float kHalfPi = 1.57079632679f, kPi = 3.14159265359f;
    float const x = gx < 0 ? -gx : gx, y = gy < 0 ? -gy : gy;
    float const t = Min(x, y) / Max(Max(x, y), 1.0f), s = t * t;
    float const arc =
        t * (0.99997726f +
             s * (-0.33262347f + s * (0.19354346f + s * (-0.11643287f + s * (0.05265332f - s * 0.01172120f)))));
    float const steep = y > x ? kHalfPi - arc : arc, left = gx < 0 ? kPi - steep : steep;
    float const degrees = (gy < 0 ? -left : left) * static_cast<float>(kDegrees);
    return (degrees < 0 ? degrees + 360.0f : degrees) * static_cast<float>(kSteps);
}

/// Angles by the approximation; where it comes near to the middle between two steps, by the definition.
template <class T, bool kSobelWeights>
void Angle(Row const& row, EdgeConstants const& c) {
    constexpr int kPiece = 256;
    constexpr float kUncertain = 2e-3f;
    ThreeLines<T> const p(row, c);
    int const s = p.iStep, samples = row.iPixels * c.iSamples;
    auto const slopeAt = [=](int i) {
        T const *t = p.pTop + i, *m = p.pMiddle + i, *b = p.pBottom + i;
        return SlopeOf<kSobelWeights>(Neighbourhood<s32>{t[-s], t[0], t[s], m[-s], m[0], m[s], b[-s], b[0], b[s]});
    };
    for (int from = 0; from < samples; from += kPiece) {
        int const count = Min(kPiece, samples - from);
        T* const out = Out<T>(row.pOut) + from;
        u8 uncertain[kPiece];
        u8* const needsExact = uncertain;
        ForEach(count, [=](int i) {
            Slope<s32> const slope = slopeAt(from + i);
            float const angle = NearAngleOf(static_cast<float>(slope.x), static_cast<float>(slope.y));
            s32 const step = static_cast<s32>(angle + 0.5f);
            float const beyond = angle + 0.5f - static_cast<float>(step);
            s32 const vertical = slope.y == 0 ? 0 : slope.y > 0 ? 64 : -65;
            out[i] = static_cast<T>(slope.x == 0 ? vertical : step);
            // Without a branch, which would keep the loop from becoming vectors.
            needsExact[i] = static_cast<u8>((slope.x != 0) & ((beyond < kUncertain) | (beyond > 1.0f - kUncertain)));
        });
        for (int i = 0; i < count; ++i) {
            if (needsExact[i]) {
                Slope<s32> const slope = slopeAt(from + i);
                out[i] = static_cast<T>(AngleOf(slope.x, slope.y));
            }
        }
    }
}

template <class T, unsigned kOperator>
QZIL_INLINE void Dispatch(unsigned which, Row const& row, EdgeConstants const& c, bool largest) {
    if constexpr (kOperator < kEdgeOperators) {
        if (which != kOperator) return Dispatch<T, kOperator + 1>(which, row, c, largest);
        if constexpr (kOperator == kRobertsAngle || kOperator == kSobelAngle) {
            Angle<T, kOperator == kSobelAngle>(row, c);
        } else {
            Operate<T, kOperator>(row, c, largest);
        }
    }
}

template <class T>
void RunEdges(Row const& row, EdgeConstants const& c) {
    bool largest = false;
    for (unsigned bit = 0; c.uSet >> bit != 0; ++bit) {
        if ((c.uSet >> bit & 1) == 0) continue;
        Dispatch<T, 0>(c.uFirst + bit, row, c, largest);
        largest = true;
    }
}

template <class T>
void Clear(Row const& row, EdgeConstants const& c) {
    T* const out = Out<T>(row.pOut);
    T const* const pass = In<T>(row.pPass);
    T const* const mask = In<T>(row.pMask);
    int const samples = c.iSamples;
    for (int i = 0; i < row.iPixels; ++i) {
        for (int k = 0; k < samples; ++k) out[i * samples + k] = mask && mask[i] == 0 ? pass[i * samples + k] : T{0};
    }
}

}  // namespace

EdgeRows const g_oEdgeRows{RunEdges<u8>, RunEdges<u16>, Clear<u8>, Clear<u16>};

QZIL_ROWS_END
