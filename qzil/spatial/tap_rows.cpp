#include "qzil/spatial/tap_rows.h"

#include "qzil/kernel/shapes.h"
#include "qzil/kernel/vector.h"

QZIL_ROWS_BEGIN
namespace {

/// Taps stand at any pixel, so that most loads are not aligned: with vectors of half a cache line fewer of them touch
/// two lines.
constexpr int kTapBytes = kVectorBytes < 32 ? kVectorBytes : 32;
constexpr int kTapLanes = kTapBytes / 4;
using Lane = s32 __attribute__((vector_size(kTapBytes)));
using FloatLane = float __attribute__((vector_size(kTapBytes)));
using WrapLane = u32 __attribute__((vector_size(kTapBytes)));

/// Vectors that are summed at a time, so that their additions need not wait for each other.
constexpr int kSums = 8;
constexpr int kStep = kSums * kTapLanes;
static_assert(kTapBlock % kStep == 0);

template <class Sample>
struct VectorOf;
template <>
struct VectorOf<float> {
    using Type = FloatLane;
};
template <>
struct VectorOf<s32> {
    using Type = WrapLane;
};

/// The low bits of lanes.
template <class T>
struct LowOf;
template <>
struct LowOf<u8> {
    using Type = u8 __attribute__((vector_size(kTapLanes)));
};
template <>
struct LowOf<u16> {
    using Type = u16 __attribute__((vector_size(2 * kTapLanes)));
};

/// One value in every lane, without the addition that a sum with zeros would be.
QZIL_INLINE FloatLane Everywhere(float value) {
    FloatLane lanes;
    s32 bits;
    __builtin_memcpy(&bits, &value, sizeof bits);
    Lane const all = Lane{} + bits;
    __builtin_memcpy(&lanes, &all, sizeof lanes);
    return lanes;
}
QZIL_INLINE WrapLane Everywhere(s32 value) {
    return WrapLane{} + static_cast<u32>(value);
}

template <class Sample, class Put>
QZIL_INLINE void Sum(TapSum<Sample> const& sum, int samples, Put put) {
    using V = typename VectorOf<Sample>::Type;
    Sample const* const* const sources = sum.pSources;
    Sample const* const taps = sum.pTaps;
    int const count = sum.iTaps, first = sum.iAt;
    for (int at = 0; at < samples; at += kStep) {
        V sums[kSums]{};
        for (int j = 0; j < count; ++j) {
            Sample const* const from = sources[j] + first + at;
            V const tap = Everywhere(taps[j]);
            for (int k = 0; k < kSums; ++k) {
                V samplesOf;
                __builtin_memcpy(&samplesOf, from + k * kTapLanes, sizeof samplesOf);
                sums[k] += samplesOf * tap;
            }
        }
        put(at, sums);
    }
}

/// Stores the low bits of the lanes; the last block of a line may be a part of one.
template <class T>
QZIL_INLINE void StoreLow(T* out, int at, int samples, Lane const* values) {
    using Narrow = typename LowOf<T>::Type;
    if (at + kStep <= samples) {
        for (int k = 0; k < kSums; ++k) {
            Narrow const low = __builtin_convertvector(values[k], Narrow);
            __builtin_memcpy(out + at + k * kTapLanes, &low, sizeof low);
        }
        return;
    }
    T block[kStep];
    for (int k = 0; k < kSums; ++k) {
        Narrow const low = __builtin_convertvector(values[k], Narrow);
        __builtin_memcpy(block + k * kTapLanes, &low, sizeof low);
    }
    for (int i = at; i < samples; ++i) out[i] = block[i - at];
}

/// Truncates toward zero, limited to 32 bits first; NaN gives the lower limit.
template <bool kFits>
QZIL_INLINE Lane Truncate(FloatLane v) {
    if constexpr (kFits) return __builtin_convertvector(v, Lane);
    FloatLane const low = FloatLane{} - 2147483648.0f, high = FloatLane{} + 2147483520.0f;
    v = v > low ? v : low;
    v = v < high ? v : high;
    return __builtin_convertvector(v, Lane);
}

/// Truncates v + 0.5 as if added without rounding: what lies between the whole part and v decides.
template <bool kFits>
QZIL_INLINE Lane TruncateHalfAdded(FloatLane v) {
    Lane const whole = Truncate<kFits>(v);
    FloatLane const rest = v - __builtin_convertvector(whole, FloatLane);
    Lane const up = rest >= 0.5f, upBelowZero = (rest > -0.5f) & (whole < 0);
    // A comparison is -1 where it holds.
    return whole - (v >= 0.0f ? up : upBelowZero);
}

template <class T>
QZIL_INLINE void SumTo(T* out, TapSum<float> const& sum, int samples, TapRounding rounding) {
    FloatLane const offset = FloatLane{} + rounding.fOffset;
    auto const run = [=, &sum](auto truncate) {
        Sum(sum, samples, [=](int at, FloatLane const* sums) {
            Lane values[kSums];
            for (int k = 0; k < kSums; ++k) values[k] = truncate(sums[k] + offset);
            StoreLow(out, at, samples, values);
        });
    };
    if (rounding.bHalfInFloat && rounding.bFits) {
        run([](FloatLane v) { return Truncate<true>(v); });
    } else if (rounding.bHalfInFloat) {
        run([](FloatLane v) { return Truncate<false>(v); });
    } else if (rounding.bFits) {
        run([](FloatLane v) { return TruncateHalfAdded<true>(v); });
    } else {
        run([](FloatLane v) { return TruncateHalfAdded<false>(v); });
    }
}

void SumTo8(u8* out, TapSum<float> const& sum, int samples, TapRounding rounding) {
    SumTo(out, sum, samples, rounding);
}

void SumTo16(u16* out, TapSum<float> const& sum, int samples, TapRounding rounding) {
    SumTo(out, sum, samples, rounding);
}

void SumToFloat(float* out, TapSum<float> const& sum, int samples) {
    Sum(sum, samples, [=](int at, FloatLane const* sums) {
        for (int k = 0; k < kSums; ++k) StoreVector(out + at + k * kTapLanes, sums[k]);
    });
}

template <class Out, class T>
void Widen(Out* out, T const* in, int samples) {
    ForEach(samples, [=](int i) { out[i] = static_cast<Out>(in[i]); });
}

/// (sum + add) >> 16 with an arithmetic shift; the addition may wrap.
template <class V>
QZIL_INLINE Lane Shifted(V sum, s32 add) {
    return reinterpret_cast<Lane>(sum + static_cast<u32>(add)) >> 16;
}

void SumFixed(s32* out, TapSum<s32> const& sum, int samples, s32 add) {
    Sum(sum, samples, [=](int at, auto const* sums) {
        for (int k = 0; k < kSums; ++k) StoreVector(out + at + k * kTapLanes, Shifted(sums[k], add));
    });
}

void SumFixedTo8(u8* out, TapSum<s32> const& sum, int samples, s32 add) {
    Sum(sum, samples, [=](int at, auto const* sums) {
        Lane values[kSums];
        for (int k = 0; k < kSums; ++k) {
            Lane const value = Shifted(sums[k], add), positive = value > 0 ? value : Lane{};
            values[k] = positive < 255 ? positive : Lane{} + 255;
        }
        StoreLow(out, at, samples, values);
    });
}

}  // namespace

TapRows const g_oTapRows{
    Widen<float, u8>, Widen<float, u16>, SumToFloat, SumTo8, SumTo16, Widen<s32, u8>, SumFixed, SumFixedTo8,
};

QZIL_ROWS_END
