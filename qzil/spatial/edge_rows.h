#pragma once

#include "qzil/kernel/operation.h"

namespace qzil {

template <class V>
QZIL_INLINE V Magnitude(V v) {
    return Max(v, static_cast<V>(-v));
}

/// Differences from left to right, and between the lines above and below.
template <class V>
struct Slope {
    V x, y;

    QZIL_INLINE V Length() const { return static_cast<V>(Magnitude(x) + Magnitude(y)); }
};

/// All weights 1.
template <class V>
QZIL_INLINE Slope<V> RobertsSlope(Neighbourhood<V> const& n) {
    return {static_cast<V>(n.t2 - n.t0 + n.m2 - n.m0 + n.b2 - n.b0),
            static_cast<V>(n.t0 + n.t1 + n.t2 - n.b0 - n.b1 - n.b2)};
}
/// The middle samples halved, each one truncated.
template <class V>
QZIL_INLINE Slope<V> SobelSlope(Neighbourhood<V> const& n) {
    return {static_cast<V>(n.t2 - n.t0 + (n.m2 >> 1) - (n.m0 >> 1) + n.b2 - n.b0),
            static_cast<V>(n.b0 - n.t0 + (n.b1 >> 1) - (n.t1 >> 1) + n.b2 - n.t2)};
}

/// What becomes of a response: 0 up to the threshold, else the response and the bias, limited to the channel.
template <class T>
struct Detection {
    AreaSum<T> oThreshold, oBias;

    QZIL_INLINE AreaSum<T> Of(AreaSum<T> v) const {
        using V = AreaSum<T>;
        return v <= oThreshold ? V{0} : Clamp<V>(static_cast<V>(v + oBias), 0, kFullScale<T>);
    }
};

template <class T>
struct Roberts : Detection<T> {
    QZIL_INLINE AreaSum<T> operator()(Neighbourhood<AreaSum<T>> const& n) const {
        return this->Of(RobertsSlope(n).Length());
    }
};
QZIL_OPERATION(Roberts, u8, u16)

template <class T>
struct Sobel : Detection<T> {
    QZIL_INLINE AreaSum<T> operator()(Neighbourhood<AreaSum<T>> const& n) const {
        return this->Of(SobelSlope(n).Length());
    }
};
QZIL_OPERATION(Sobel, u8, u16)

template <class T>
struct FourNeighbours : Detection<T> {
    QZIL_INLINE AreaSum<T> operator()(Neighbourhood<AreaSum<T>> const& n) const {
        return this->Of(static_cast<AreaSum<T>>(4 * n.m1 - n.t1 - n.m0 - n.m2 - n.b1));
    }
};
QZIL_OPERATION(FourNeighbours, u8, u16)

template <class T>
struct EightNeighbours : Detection<T> {
    QZIL_INLINE AreaSum<T> operator()(Neighbourhood<AreaSum<T>> const& n) const {
        return this->Of(static_cast<AreaSum<T>>(8 * n.m1 - n.t0 - n.t1 - n.t2 - n.m0 - n.m2 - n.b0 - n.b1 - n.b2));
    }
};
QZIL_OPERATION(EightNeighbours, u8, u16)

/// The angle of a slope as a full circle of 255.
template <class T>
struct RobertsAngle {
    template <class V>
    QZIL_INLINE static Slope<V> SlopeOf(Neighbourhood<V> const& n) {
        return RobertsSlope(n);
    }
};
QZIL_OPERATION(RobertsAngle, u8, u16)

template <class T>
struct SobelAngle {
    template <class V>
    QZIL_INLINE static Slope<V> SlopeOf(Neighbourhood<V> const& n) {
        return SobelSlope(n);
    }
};
QZIL_OPERATION(SobelAngle, u8, u16)

/// The weight of each sample, from t0 to b2.
struct Weights {
    signed char aOf[9];
};

/// E, NE, N, NW, W, SW, S, SE. Of a relief the centre's weight is 1.
inline constexpr int kDirections = 8;
inline constexpr Weights kDirectionWeights[kDirections] = {
    {{-1, 0, 1, -1, 0, 1, -1, 0, 1}}, {{-1, -1, 0, -1, 0, 1, 0, 1, 1}}, {{-1, -1, -1, 0, 0, 0, 1, 1, 1}},
    {{0, -1, -1, 1, 0, -1, 1, 1, 0}}, {{1, 0, -1, 1, 0, -1, 1, 0, -1}}, {{1, 1, 0, 1, 0, -1, 0, -1, -1}},
    {{1, 1, 1, 0, 0, 0, -1, -1, -1}}, {{0, 1, 1, -1, 0, 1, -1, -1, 0}},
};

template <int kWeight, class V>
QZIL_INLINE V Weighed(V v) {
    return static_cast<V>(kWeight == 0 ? 0 : kWeight < 0 ? -v : v);
}
template <int kDirection, class V>
QZIL_INLINE V DirectedDifference(Neighbourhood<V> const& n) {
    constexpr Weights k = kDirectionWeights[kDirection];
    V const t = static_cast<V>(Weighed<k.aOf[0]>(n.t0) + Weighed<k.aOf[1]>(n.t1) + Weighed<k.aOf[2]>(n.t2));
    V const m = static_cast<V>(Weighed<k.aOf[3]>(n.m0) + Weighed<k.aOf[5]>(n.m2));
    V const b = static_cast<V>(Weighed<k.aOf[6]>(n.b0) + Weighed<k.aOf[7]>(n.b1) + Weighed<k.aOf[8]>(n.b2));
    return static_cast<V>(static_cast<V>(t + m) + b);
}

/// Differences in a set of directions, of which the largest counts.
template <class T>
struct Gradient : Detection<T> {
    unsigned uDirections;

    template <int kDirection>
    QZIL_INLINE AreaSum<T> In(Neighbourhood<AreaSum<T>> const& n) const {
        return this->Of(DirectedDifference<kDirection>(n));
    }
};
QZIL_OPERATION(Gradient, u8, u16)

template <class T>
struct Relief {
    unsigned uDirections;

    template <int kDirection>
    QZIL_INLINE AreaSum<T> In(Neighbourhood<AreaSum<T>> const& n) const {
        using V = AreaSum<T>;
        return Clamp<V>(static_cast<V>(DirectedDifference<kDirection>(n) + n.m1), 0, kFullScale<T>);
    }
};
QZIL_OPERATION(Relief, u8, u16)

/// 0, or the passed pixel where the mask is 0.
template <class T>
struct Cleared {
    QZIL_INLINE Wide<T> operator()(Wide<T>) const { return 0; }
    QZIL_INLINE Wide<T> Masked(Wide<T> v, Wide<T> mask) const { return mask == 0 ? v : Wide<T>{0}; }
};
QZIL_OPERATION(Cleared, u8, u16)

}  // namespace qzil
