#pragma once

#include "qzil/image/core_values.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

/// The arithmetic of the channel types, spelt out in 64-bit integers, one value at a time.
namespace qzil::test::model {

using i64 = std::int64_t;
using u8 = std::uint8_t;
using u16 = std::uint16_t;

template <class T>
inline constexpr bool kIsByte = std::is_same_v<T, u8>;
template <class T>
inline constexpr bool kIsWord = std::is_same_v<T, u16>;
template <class T>
inline constexpr bool kIsS2_14 = std::is_same_v<T, short>;
template <class T>
inline constexpr bool kIsFloat = std::is_same_v<T, float>;

/// The value that stands for 1.0.
template <class T>
constexpr T One() {
    if constexpr (kIsS2_14<T>) return 16384;
    if constexpr (kIsFloat<T>) return 1.0f;
    return std::numeric_limits<T>::max();
}

inline i64 NormMult(i64 a, i64 b) {
    return (a * b + 127) / 255;
}
inline i64 Part16(i64 w, i64 d) {
    return (w * 0x10001 * d + 0x80008000) >> 32;
}
inline i64 Part14(i64 w, i64 d) {
    return (w * d + 8192) >> 14;
}
inline short Limit14(i64 v) {
    return static_cast<short>(std::clamp<i64>(v, -32768, 32767));
}
/// Half away from zero.
inline i64 Round(double v) {
    return static_cast<i64>(v < 0 ? v - 0.5 : v + 0.5);
}
/// The same for a float sample of S2.14, limited before it becomes an integer.
inline short RoundLimit14(float v) {
    double const limited = std::clamp<double>(v, -40000.0, 40000.0);
    return Limit14(Round(limited));
}

/// By the table of products of 0 to 255.
inline u8 TableMix(i64 m, i64 p, i64 r) {
    return static_cast<u8>(NormMult(255 - m, p) + NormMult(m, r));
}

/// From p toward r by a weight between none and full.
template <class T>
T Mix(T m, T p, T r) {
    if constexpr (kIsFloat<T>) return p + m * (r - p);
    i64 const weight = static_cast<i64>(m), from = static_cast<i64>(p), way = static_cast<i64>(r) - from;
    if constexpr (kIsByte<T>) return static_cast<T>(from + ((weight * way * 257 + 32896) >> 16));
    if constexpr (kIsWord<T>) return static_cast<T>(from + Part16(weight, way));
    return static_cast<T>(Limit14(from + Part14(weight, way)));
}

/// As Mix, with the table for bytes.
template <class T>
T MixByTable(T m, T p, T r) {
    if constexpr (kIsByte<T>) return TableMix(m, p, r);
    return Mix(m, p, r);
}

template <class T>
bool IsNone(T m) {
    return m <= 0;
}
template <class T>
bool IsFull(T m) {
    return m >= One<T>();
}

/// Parameter of an effect, or component of a colour, as a channel value within 0 to 1.0.
template <class T>
T Channel(double v) {
    if constexpr (kIsFloat<T>) {
        return static_cast<float>(v);
    } else {
        return static_cast<T>(Round(v * static_cast<double>(One<T>())));
    }
}

/// Calls a function with a zero of a channel type's samples; nothing happens for other types.
template <class Fn>
void VisitType(XFChannelType type, Fn fn) {
    switch (type) {
        case XFChannelTypeUInt8: return fn(u8{});
        case XFChannelTypeUInt16: return fn(u16{});
        case XFChannelTypeS2_14: return fn(short{});
        case XFChannelTypeFloat: return fn(float{});
        default: return;
    }
}

}  // namespace qzil::test::model
