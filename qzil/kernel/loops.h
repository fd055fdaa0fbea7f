#pragma once

#include "qzil/kernel/row.h"

#include <type_traits>

// The loops of row functions. Included by row sources only: everything here belongs to the namespace of one CPU level.
//
// The loops are plain code for the compiler's vectors. A loop's pointers and constants are locals of the function that
// it is inlined into: a store of bytes may alias any record they would otherwise stand in.

QZIL_ROWS_BEGIN

/// Samples of one turn of a block loop; a multiple of every pixel size, so that lane patterns repeat within it.
inline constexpr int kBlock = 64;

/// An integer anywhere in memory, over samples of any type. A struct, since the attributes of an alias are no part of
/// its type and are lost in templates.
template <class Word>
struct [[gnu::packed, gnu::may_alias]] Unaligned {
    Word uValue;

    QZIL_INLINE operator Word() const {
        return uValue;
    }
    QZIL_INLINE Unaligned& operator=(Word value) {
        uValue = value;
        return *this;
    }
};
/// Four bytes of samples.
using PixelWord = Unaligned<u32>;

/// Calls op(i) for every index. No turn may depend on what another one writes.
template <class Op>
QZIL_INLINE void ForEach(int count, Op op) {
#pragma GCC ivdep
    for (int i = 0; i < count; ++i) op(i);
}

/// Calls op(i, lane) for every sample, lane being its place in a block.
template <class Op>
QZIL_INLINE void ForLanes(int samples, Op op) {
    int i = 0;
    for (; i + kBlock <= samples; i += kBlock) {
#pragma GCC ivdep
        for (int lane = 0; lane < kBlock; ++lane) op(i + lane, lane);
    }
#pragma GCC ivdep
    for (int lane = 0; lane < samples - i; ++lane) op(i + lane, lane);
}

/// Two neighbouring samples of 8 or 16 bits in the halves of one word, each widened to the width of the word. Integer
/// rules work on such pairs: no vector has to be unpacked, widened or packed again.
template <class Value>
struct SamplePair {
    Value oEven;
    Value oOdd;
};

template <class T>
struct Widened;
template <>
struct Widened<u8> {
    using Value = u16;
    using Bits = u16;
    using Word = Unaligned<Bits>;
};
template <>
struct Widened<u16> {
    using Value = u32;
    using Bits = u32;
    using Word = Unaligned<Bits>;
};
template <>
struct Widened<s16> {
    using Value = s32;
    using Bits = u32;
    using Word = Unaligned<Bits>;
};

/// How many samples of a pair exist: both, or the first only, at the end of an odd count.
struct WholePair {};
struct LastSample {};

template <class T>
QZIL_INLINE auto Load(WholePair, T const* p) -> SamplePair<typename Widened<T>::Value> {
    u32 const word = *reinterpret_cast<typename Widened<T>::Word const*>(p);
    if constexpr (T(-1) < T(0)) {
        return {static_cast<s32>(word << 16) >> 16, static_cast<s32>(word) >> 16};
    } else {
        constexpr int kBits = 8 * sizeof(T);
        using Value = typename Widened<T>::Value;
        return {static_cast<Value>(word & static_cast<T>(~T{0})), static_cast<Value>(word >> kBits)};
    }
}
template <class T>
QZIL_INLINE auto Load(LastSample, T const* p) -> SamplePair<typename Widened<T>::Value> {
    return {static_cast<typename Widened<T>::Value>(*p), 0};
}

/// Stores values that fit their samples.
template <class T, class Value>
QZIL_INLINE void Store(WholePair, T* p, SamplePair<Value> v) {
    using Word = typename Widened<T>::Word;
    constexpr int kBits = 8 * sizeof(T);
    u32 const low = static_cast<u32>(v.oEven) & static_cast<std::make_unsigned_t<T>>(~T{0});
    *reinterpret_cast<Word*>(p) = static_cast<typename Widened<T>::Bits>(low | static_cast<u32>(v.oOdd) << kBits);
}
template <class T, class Value>
QZIL_INLINE void Store(LastSample, T* p, SamplePair<Value> v) {
    *p = static_cast<T>(v.oEven);
}

/// Applies a rule to both halves of pairs.
template <class Rule, class Value, class... Values>
QZIL_INLINE auto ApplyToPair(Rule rule, SamplePair<Value> first, SamplePair<Values>... more) {
    using Result = decltype(rule(first.oEven, more.oEven...));
    return SamplePair<Result>{rule(first.oEven, more.oEven...), rule(first.oOdd, more.oOdd...)};
}

/// Stores the bits that `select` names from values, the others from `pass`; all lie at the same lanes.
template <class T, class Value>
QZIL_INLINE void StoreSelected(WholePair, T* p, SamplePair<Value> v, T const* pass, T const* select) {
    using Word = typename Widened<T>::Word;
    T packed[2];
    Store(WholePair{}, packed, v);
    u32 const taken = *reinterpret_cast<Word const*>(packed), passed = *reinterpret_cast<Word const*>(pass);
    u32 const bits = *reinterpret_cast<Word const*>(select);
    *reinterpret_cast<Word*>(p) = static_cast<typename Widened<T>::Bits>((taken & bits) | (passed & ~bits));
}
template <class T, class Value>
QZIL_INLINE void StoreSelected(LastSample, T* p, SamplePair<Value> v, T const* pass, T const* select) {
    *p = static_cast<T>((static_cast<T>(v.oEven) & *select) | (*pass & ~*select));
}

/// How mask values lie beside the samples: a value per sample, or one widened value for the two samples of a pair,
/// which belong to one pixel.
struct PerSample {};
struct PerPair {};

/// Where a pair stands: its first sample, the place of that in a block, and the number of the pair.
struct PairPlace {
    int i;
    int iLane;
    int iPair;
};

template <class T, class Which>
QZIL_INLINE auto LoadMask(Which which, PerSample, void const* mask, PairPlace at) {
    return Load(which, static_cast<T const*>(mask) + at.i);
}
template <class T, class Which>
QZIL_INLINE auto LoadMask(Which, PerPair, void const* mask, PairPlace at) {
    using Value = typename Widened<T>::Value;
    Value const value = static_cast<Value const*>(mask)[at.iPair];
    return SamplePair<Value>{value, value};
}

/// Calls f with the layout of a row's mask.
template <class F>
QZIL_INLINE void WithMaskLayout(kernel::Row const& row, F f) {
    if (row.bMaskPerPair) {
        f(PerPair{});
    } else {
        f(PerSample{});
    }
}

/// Calls op(place, which) for every two samples.
template <class Op>
QZIL_INLINE void ForSamplePairs(int samples, Op op) {
    constexpr int kPairs = kBlock / 2;
    int const pairs = samples / 2;
    int pair = 0;
    for (; pair + kPairs <= pairs; pair += kPairs) {
#pragma GCC ivdep
        for (int k = 0; k < kPairs; ++k) op(PairPlace{2 * (pair + k), 2 * k, pair + k}, WholePair{});
    }
    int const rest = pairs - pair;
#pragma GCC ivdep
    for (int k = 0; k < rest; ++k) op(PairPlace{2 * (pair + k), 2 * k, pair + k}, WholePair{});
    if (samples & 1) op(PairPlace{samples - 1, 2 * rest, pairs}, LastSample{});
}

/// Four values, one for each channel of a pixel, repeated over a block.
template <class T>
struct Lanes {
    T aValues[kBlock];

    QZIL_INLINE explicit Lanes(T const* values) : Lanes(values[0], values[1], values[2], values[3]) {}
    QZIL_INLINE Lanes(T c0, T c1, T c2, T c3) {
        T const values[4] = {c0, c1, c2, c3};
        // Whole pixels at a time: sample by sample this would cost as much as the row that it serves.
        for (int i = 0; i < kBlock; i += 4) __builtin_memcpy(aValues + i, values, sizeof values);
    }
    QZIL_INLINE T operator[](int lane) const { return aValues[lane]; }
    QZIL_INLINE T const* At(int lane) const { return aValues + lane; }
};

template <class T>
QZIL_INLINE T const* In(void const* line) {
    return static_cast<T const*>(line);
}

template <class T>
QZIL_INLINE T* Out(void* line) {
    return static_cast<T*>(line);
}

QZIL_ROWS_END
