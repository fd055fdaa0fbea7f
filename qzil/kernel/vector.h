#pragma once

#include "qzil/kernel/indices.h"
#include "qzil/kernel/row.h"

#if defined(__SSE2__)
#include <immintrin.h>
#endif

// One vector of 32-bit lanes, for the few loops whose shape a compiler does not find by itself: products of 16-bit
// pairs, and lanes that serve two channels at a time. The lanes of a pixel pair are the even and the odd one of 64
// bits.

QZIL_ROWS_BEGIN

#if defined(__AVX512BW__)
inline constexpr int kVectorBytes = 64;
#elif defined(__AVX2__)
inline constexpr int kVectorBytes = 32;
#else
inline constexpr int kVectorBytes = 16;
#endif
inline constexpr int kLanes32 = kVectorBytes / 4;

using Vector = s32 __attribute__((vector_size(kVectorBytes)));
using Vector16 = u16 __attribute__((vector_size(kVectorBytes)));
using Vector8 = u8 __attribute__((vector_size(kVectorBytes)));
using Vector64 = u64 __attribute__((vector_size(kVectorBytes)));
using VectorDouble = double __attribute__((vector_size(kVectorBytes)));
inline constexpr int kLanes64 = kVectorBytes / 8;

QZIL_INLINE Vector LoadVector(void const* from) {
    Vector v;
    __builtin_memcpy(&v, from, sizeof v);
    return v;
}

template <class V>
QZIL_INLINE void StoreVector(void* to, V v) {
    __builtin_memcpy(to, &v, sizeof v);
}

/// The same value in every lane.
QZIL_INLINE Vector AllLanes(s32 value) {
    return Vector{} + value;
}

/// One value in the even lanes, another one in the odd lanes.
QZIL_INLINE Vector EvenOddLanes(s32 even, s32 odd) {
    return reinterpret_cast<Vector>(Vector64{} +
                                    (static_cast<u64>(static_cast<u32>(odd)) << 32 | static_cast<u32>(even)));
}

/// Two 16-bit values as the halves of a lane, the first one low.
QZIL_INLINE constexpr s32 Halves(s32 low, s32 high) {
    return static_cast<s32>(static_cast<u32>(low & 0xFFFF) | static_cast<u32>(high) << 16);
}

/// Per lane, the sum of the products of the low halves and of the high halves, taken as signed 16-bit numbers.
QZIL_INLINE Vector DotHalves(Vector a, Vector b) {
#if defined(__AVX512BW__)
    return reinterpret_cast<Vector>(_mm512_madd_epi16(reinterpret_cast<__m512i>(a), reinterpret_cast<__m512i>(b)));
#elif defined(__AVX2__)
    return reinterpret_cast<Vector>(_mm256_madd_epi16(reinterpret_cast<__m256i>(a), reinterpret_cast<__m256i>(b)));
#elif defined(__SSE2__)
    return reinterpret_cast<Vector>(_mm_madd_epi16(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b)));
#else
    return (a << 16 >> 16) * (b << 16 >> 16) + (a >> 16) * (b >> 16);
#endif
}

/// Per 16 bits, the sum of the low byte times `low` and the high byte times `high`; the bytes are unsigned, the sum has
/// to fit.
QZIL_INLINE Vector16 DotBytes(Vector bytes, int low, int high) {
    int const weights = (low & 0xFF) | (high & 0xFF) << 8;
#if defined(__AVX512BW__)
    return reinterpret_cast<Vector16>(
        _mm512_maddubs_epi16(reinterpret_cast<__m512i>(bytes), _mm512_set1_epi16(static_cast<short>(weights))));
#elif defined(__AVX2__)
    return reinterpret_cast<Vector16>(
        _mm256_maddubs_epi16(reinterpret_cast<__m256i>(bytes), _mm256_set1_epi16(static_cast<short>(weights))));
#else
    static_cast<void>(weights);
    Vector16 const pairs = reinterpret_cast<Vector16>(bytes);
    return (pairs & 0xFF) * static_cast<u16>(low) + (pairs >> 8) * static_cast<u16>(high);
#endif
}

/// Where bytes move within each 64 bits: byte i of the result is byte `aFrom[i]`, or 0 for 8 and more.
struct BytePattern {
    u8 aFrom[8];
};

/// A pattern in the form that MoveBytes takes.
QZIL_INLINE Vector8 PatternOf(BytePattern pattern) {
    u64 bytes = 0;
    for (int i = 0; i < 8; ++i) {
        u64 const from = pattern.aFrom[i] < 8 ? pattern.aFrom[i] : 0x80;
        bytes |= from << (8 * i);
    }
    // Every other 64 bits start at byte 8 of what the instruction sees.
    Vector64 second{};
    for (int i = 1; i < kVectorBytes / 8; i += 2) second[i] = 0x0808080808080808u;
    return reinterpret_cast<Vector8>(Vector64{} + bytes + second);
}

/// Whether MoveBytes is one instruction.
#if defined(__SSSE3__)
inline constexpr bool kMovesBytes = true;
#else
inline constexpr bool kMovesBytes = false;
#endif

QZIL_INLINE Vector MoveBytes(Vector v, Vector8 pattern) {
#if defined(__AVX512BW__)
    return reinterpret_cast<Vector>(
        _mm512_shuffle_epi8(reinterpret_cast<__m512i>(v), reinterpret_cast<__m512i>(pattern)));
#elif defined(__AVX2__)
    return reinterpret_cast<Vector>(
        _mm256_shuffle_epi8(reinterpret_cast<__m256i>(v), reinterpret_cast<__m256i>(pattern)));
#else
    Vector8 const from = reinterpret_cast<Vector8>(v);
    Vector8 to{};
    for (int i = 0; i < kVectorBytes; ++i) to[i] = pattern[i] & 0x80 ? u8{0} : from[pattern[i] & 15];
    return reinterpret_cast<Vector>(to);
#endif
}

/// Limits lanes to 0..high.
QZIL_INLINE Vector LimitLanes(Vector v, s32 high) {
    Vector const zero{}, limit = AllLanes(high);
    Vector const positive = v > zero ? v : zero;
    return positive < limit ? positive : limit;
}

/// Stores the low halves of the lanes one after the other.
QZIL_INLINE void StoreLowHalves(void* to, Vector v) {
    using Half = s16 __attribute__((vector_size(kVectorBytes / 2)));
    Half const half = __builtin_convertvector(v, Half);
    __builtin_memcpy(to, &half, sizeof half);
}

/// The same for the low bytes.
QZIL_INLINE void StoreLowBytes(void* to, Vector v) {
#if defined(__AVX512BW__)
    _mm_storeu_si128(static_cast<__m128i*>(to),
                     _mm512_maskz_cvtepi32_epi8(0xFFFF, reinterpret_cast<__m512i>(v)));  // all lanes
#else
    using Half = s16 __attribute__((vector_size(kVectorBytes / 2)));
    using Quarter = signed char __attribute__((vector_size(kVectorBytes / 4)));
    Quarter const quarter = __builtin_convertvector(__builtin_convertvector(v, Half), Quarter);
    __builtin_memcpy(to, &quarter, sizeof quarter);
#endif
}

/// 16-bit values of a and b in turn, a's in the low halves of the lanes; Low and High together take all of them, in an
/// order that PackHalves undoes.
QZIL_INLINE Vector InterleaveLow(Vector a, Vector b) {
#if defined(__AVX512BW__)
    return reinterpret_cast<Vector>(_mm512_unpacklo_epi16(reinterpret_cast<__m512i>(a), reinterpret_cast<__m512i>(b)));
#elif defined(__AVX2__)
    return reinterpret_cast<Vector>(_mm256_unpacklo_epi16(reinterpret_cast<__m256i>(a), reinterpret_cast<__m256i>(b)));
#elif defined(__SSE2__)
    return reinterpret_cast<Vector>(_mm_unpacklo_epi16(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b)));
#else
    return (a & 0xFFFF) | b << 16;
#endif
}
QZIL_INLINE Vector InterleaveHigh(Vector a, Vector b) {
#if defined(__AVX512BW__)
    return reinterpret_cast<Vector>(_mm512_unpackhi_epi16(reinterpret_cast<__m512i>(a), reinterpret_cast<__m512i>(b)));
#elif defined(__AVX2__)
    return reinterpret_cast<Vector>(_mm256_unpackhi_epi16(reinterpret_cast<__m256i>(a), reinterpret_cast<__m256i>(b)));
#elif defined(__SSE2__)
    return reinterpret_cast<Vector>(_mm_unpackhi_epi16(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b)));
#else
    return (a >> 16 & 0xFFFF) | (b >> 16 << 16);
#endif
}
/// The lanes of both as 16-bit values, which they have to fit.
QZIL_INLINE Vector PackHalves(Vector low, Vector high) {
#if defined(__AVX512BW__)
    return reinterpret_cast<Vector>(
        _mm512_packs_epi32(reinterpret_cast<__m512i>(low), reinterpret_cast<__m512i>(high)));
#elif defined(__AVX2__)
    return reinterpret_cast<Vector>(
        _mm256_packs_epi32(reinterpret_cast<__m256i>(low), reinterpret_cast<__m256i>(high)));
#elif defined(__SSE2__)
    return reinterpret_cast<Vector>(_mm_packs_epi32(reinterpret_cast<__m128i>(low), reinterpret_cast<__m128i>(high)));
#else
    return (low & 0xFFFF) | high << 16;
#endif
}

/// The high halves of the lanes of both as 16-bit values: of `low` in the low halves, of `high` in the high ones.
QZIL_INLINE Vector JoinHighHalves(Vector low, Vector high) {
    using Unsigned = u32 __attribute__((vector_size(kVectorBytes)));
    Unsigned const upper = reinterpret_cast<Unsigned>(high) & 0xFFFF0000u;
    return reinterpret_cast<Vector>(reinterpret_cast<Unsigned>(low) >> 16 | upper);
}

/// Stores the signed 16-bit values of two vectors one after the other as bytes, limited to 0..255.
QZIL_INLINE void StoreLimitedBytes(void* to, Vector first, Vector second) {
#if defined(__AVX512BW__)
    __m512i const order = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
    StoreVector(to, _mm512_maskz_permutexvar_epi64(
                        0xFF, order,  // all lanes
                        _mm512_packus_epi16(reinterpret_cast<__m512i>(first), reinterpret_cast<__m512i>(second))));
#elif defined(__AVX2__)
    StoreVector(to,
                _mm256_permute4x64_epi64(
                    _mm256_packus_epi16(reinterpret_cast<__m256i>(first), reinterpret_cast<__m256i>(second)), 0xD8));
#elif defined(__SSE2__)
    StoreVector(to, _mm_packus_epi16(reinterpret_cast<__m128i>(first), reinterpret_cast<__m128i>(second)));
#else
    using Signed16 = s16 __attribute__((vector_size(kVectorBytes)));
    u8* const bytes = static_cast<u8*>(to);
    Signed16 const a = reinterpret_cast<Signed16>(first), b = reinterpret_cast<Signed16>(second);
    for (int i = 0; i < kVectorBytes / 2; ++i) {
        bytes[i] = static_cast<u8>(Clamp<int>(a[i], 0, 255));
        bytes[i + kVectorBytes / 2] = static_cast<u8>(Clamp<int>(b[i], 0, 255));
    }
#endif
}

/// Eighths of signed 16-bit values, rounded to nearest, halves up.
QZIL_INLINE Vector RoundedEighths(Vector16 v) {
#if defined(__AVX512BW__)
    return reinterpret_cast<Vector>(_mm512_mulhrs_epi16(reinterpret_cast<__m512i>(v), _mm512_set1_epi16(4096)));
#elif defined(__AVX2__)
    return reinterpret_cast<Vector>(_mm256_mulhrs_epi16(reinterpret_cast<__m256i>(v), _mm256_set1_epi16(4096)));
#else
    using Signed16 = s16 __attribute__((vector_size(kVectorBytes)));
    return reinterpret_cast<Vector>(reinterpret_cast<Signed16>(v + 4) >> 3);
#endif
}

/// Floats as doubles, and doubles rounded to floats.
QZIL_INLINE VectorDouble LoadDoubles(float const* from) {
#if defined(__AVX512BW__)
    return _mm512_maskz_cvtps_pd(0xFF, _mm256_loadu_ps(from));  // all lanes
#elif defined(__AVX2__)
    return _mm256_cvtps_pd(_mm_loadu_ps(from));
#else
    VectorDouble v{};
    for (int i = 0; i < kLanes64; ++i) v[i] = from[i];
    return v;
#endif
}
QZIL_INLINE void StoreFloats(float* to, VectorDouble v) {
#if defined(__AVX512BW__)
    _mm256_storeu_ps(to, _mm512_maskz_cvtpd_ps(0xFF, v));
#elif defined(__AVX2__)
    _mm_storeu_ps(to, _mm256_cvtpd_ps(v));
#else
    for (int i = 0; i < kLanes64; ++i) to[i] = static_cast<float>(v[i]);
#endif
}

/// Division by one number, correctly rounded. Where products and sums are fused, the remainder of a quotient is exact,
/// and a quotient that is off by less than its last bit is corrected by it (Markstein 1990). To come so near, the
/// reciprocal is held in two parts. Takes a third of the time of divisions.
struct Divisor {
    VectorDouble by, reciprocal, rest;

    QZIL_INLINE explicit Divisor(double number)
        : by(VectorDouble{} + number), reciprocal(VectorDouble{} + 1.0 / number), rest{} {
#if defined(__FMA__)
        rest += __builtin_fma(-number, reciprocal[0], 1.0) * reciprocal[0];
#endif
    }

    /// Infinities, which have no remainder, only without kFinite.
    template <bool kFinite>
    QZIL_INLINE VectorDouble Divide(VectorDouble a) const {
#if defined(__AVX512BW__)
        VectorDouble const near = _mm512_fmadd_pd(a, reciprocal, a * rest);
        VectorDouble const exact = _mm512_fmadd_pd(_mm512_fnmadd_pd(near, by, a), reciprocal, near);
#elif defined(__AVX2__) && defined(__FMA__)
        VectorDouble const near = _mm256_fmadd_pd(a, reciprocal, a * rest);
        VectorDouble const exact = _mm256_fmadd_pd(_mm256_fnmadd_pd(near, by, a), reciprocal, near);
#else
        return a / by;
#endif
#if defined(__FMA__)
        if constexpr (kFinite) return exact;
        return a - a == 0.0 ? exact : a * reciprocal;
#endif
    }
};

QZIL_ROWS_END
