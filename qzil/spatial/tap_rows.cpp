#include "qzil/spatial/tap_rows.h"

#include "qzil/kernel/shapes.h"
#include "qzil/kernel/vector.h"

QZIL_ROWS_BEGIN
namespace {

using VectorFloat = float __attribute__((vector_size(kVectorBytes)));
using VectorWrap = u32 __attribute__((vector_size(kVectorBytes)));

template <class Sample>
struct VectorOf;
template <>
struct VectorOf<float> {
    using Type = VectorFloat;
};
template <>
struct VectorOf<s32> {
    using Type = VectorWrap;
};

/// Neighbouring sums that share what they load, and taps that are unrolled; as many as the registers hold.
constexpr int kSums = kVectorBytes == 64 ? 8 : 4;
constexpr int kTaps = 8;

/// One value in every lane, without the addition that a sum with zeros would be.
QZIL_INLINE VectorFloat Everywhere(float value) {
    s32 bits;
    __builtin_memcpy(&bits, &value, sizeof bits);
    return reinterpret_cast<VectorFloat>(AllLanes(bits));
}
QZIL_INLINE VectorWrap Everywhere(s32 value) {
    return VectorWrap{} + static_cast<u32>(value);
}

template <class Sample>
QZIL_INLINE auto LoadSamples(Sample const* from) {
    typename VectorOf<Sample>::Type v;
    __builtin_memcpy(&v, from, sizeof v);
    return v;
}

/// sums[k] += taps[j] * load(k, j) for every j in turn. What sums load alike is loaded once.
template <int kCount, int kSide, class Sample, class V, class Load>
QZIL_INLINE void AddTaps(V* sums, Sample const* taps, Load load) {
#pragma GCC unroll 8
    for (int j = 0; j < kCount; ++j) {
        V const tap = Everywhere(taps[j]);
#pragma GCC unroll 8
        for (int k = 0; k < kSide; ++k) sums[k] += load(k, j) * tap;
    }
}

template <int kSide, class Sample, class V, class Load>
QZIL_INLINE void AddRun(V* sums, Sample const* taps, int count, Load load) {
    int at = 0;
    auto const from = [&](int k, int j) { return load(k, at + j); };
    for (; at + kTaps <= count; at += kTaps) AddTaps<kTaps, kSide>(sums, taps + at, from);
    switch (count - at) {
        case 7: return AddTaps<7, kSide>(sums, taps + at, from);
        case 6: return AddTaps<6, kSide>(sums, taps + at, from);
        case 5: return AddTaps<5, kSide>(sums, taps + at, from);
        case 4: return AddTaps<4, kSide>(sums, taps + at, from);
        case 3: return AddTaps<3, kSide>(sums, taps + at, from);
        case 2: return AddTaps<2, kSide>(sums, taps + at, from);
        case 1: return AddTaps<1, kSide>(sums, taps + at, from);
        default: return;
    }
}

template <int kSide, class Sample>
QZIL_INLINE void SumPositions(TapSums<Sample> const& args, Sample const* const* lines, int position, int lane) {
    typename VectorOf<Sample>::Type sums[kSide]{};
    int const first = position * kTapSamples + lane;
    for (int r = 0; r < args.iRuns; ++r) {
        TapRun<Sample> const run = args.pRuns[r];
        Sample const* const from = lines[r] + first + std::ptrdiff_t{run.iFrom} * kTapSamples;
        AddRun<kSide>(sums, run.pTaps, run.iTaps,
                      [=](int k, int j) { return LoadSamples(from + (k + j) * kTapSamples); });
    }
    for (int k = 0; k < kSide; ++k) StoreVector(args.pOut + first + k * kTapSamples, sums[k]);
}

template <class Sample>
void Across(TapSums<Sample> const& args, Sample const* const* lines) {
    for (int lane = 0; lane < kTapSamples; lane += kLanes32) {
        int position = 0;
        for (; position + kSums <= args.iPositions; position += kSums) {
            SumPositions<kSums>(args, lines, position, lane);
        }
        for (; position < args.iPositions; ++position) SumPositions<1>(args, lines, position, lane);
    }
}

template <int kSide, class Sample>
QZIL_INLINE void SumLines(TapSums<Sample> const& args, std::ptrdiff_t outStep, Sample const* const* lines) {
    for (int at = 0; at < args.iPositions * kTapSamples; at += kLanes32) {
        typename VectorOf<Sample>::Type sums[kSide]{};
        for (int r = 0; r < args.iRuns; ++r) {
            TapRun<Sample> const run = args.pRuns[r];
            Sample const* const* const from = lines + run.iFrom;
            AddRun<kSide>(sums, run.pTaps, run.iTaps, [=](int k, int j) { return LoadSamples(from[k + j] + at); });
        }
        for (int k = 0; k < kSide; ++k) StoreVector(args.pOut + k * outStep + at, sums[k]);
    }
}

template <class Sample>
void Down(TapSums<Sample> const& args, std::ptrdiff_t outStep, Sample const* const* lines, int count, int step) {
    TapSums<Sample> group = args;
    int line = 0;
    for (; step == 1 && line + kSums <= count; line += kSums, group.pOut += kSums * outStep) {
        SumLines<kSums>(group, outStep, lines + line);
    }
    for (; line < count; ++line, group.pOut += outStep) SumLines<1>(group, outStep, lines + line * step);
}

/// Truncates toward zero, limited to 32 bits first; NaN gives the lower limit.
template <bool kFits>
QZIL_INLINE s32 Truncate(float v) {
    if constexpr (!kFits) {
        v = v > -2147483648.0f ? v : -2147483648.0f;
        v = v < 2147483520.0f ? v : 2147483520.0f;
    }
    return static_cast<s32>(v);
}

/// Truncates v + 0.5 as if added without rounding: what lies between the whole part and v decides.
template <bool kFits>
QZIL_INLINE s32 TruncateHalfAdded(float v) {
    s32 const whole = Truncate<kFits>(v);
    float const rest = v - static_cast<float>(whole);
    s32 const up = rest >= 0.5f, upBelowZero = (rest > -0.5f) & (whole < 0);
    return whole + (v >= 0.0f ? up : upBelowZero);
}

template <class T>
void Round(T* out, float const* in, int samples, TapRounding rounding) {
    float const offset = rounding.fOffset;
    auto const run = [=](auto truncate) {
        ForEach(samples, [=](int i) { out[i] = static_cast<T>(truncate(in[i] + offset)); });
    };
    if (rounding.bHalfInFloat && rounding.bFits) {
        run([](float v) { return Truncate<true>(v); });
    } else if (rounding.bHalfInFloat) {
        run([](float v) { return Truncate<false>(v); });
    } else if (rounding.bFits) {
        run([](float v) { return TruncateHalfAdded<true>(v); });
    } else {
        run([](float v) { return TruncateHalfAdded<false>(v); });
    }
}

template <class Out, class T>
void Widen(Out* out, T const* in, int samples) {
    ForEach(samples, [=](int i) { out[i] = static_cast<Out>(in[i]); });
}

/// (sum + add) >> 16 with an arithmetic shift; the addition may wrap.
QZIL_INLINE s32 Shifted(s32 sum, s32 add) {
    return static_cast<s32>(static_cast<u32>(sum) + static_cast<u32>(add)) >> 16;
}

void ShiftFixed(s32* out, s32 const* in, int samples, s32 add) {
    ForEach(samples, [=](int i) { out[i] = Shifted(in[i], add); });
}

void ShiftFixedTo8(u8* out, s32 const* in, int samples, s32 add) {
    ForEach(samples, [=](int i) { out[i] = static_cast<u8>(Clamp<s32>(Shifted(in[i], add), 0, 255)); });
}

}  // namespace

TapRows const g_oTapRows{
    {Across<float>, Down<float>},
    {Across<s32>, Down<s32>},
    Widen<float, u8>,
    Widen<float, u16>,
    Widen<s32, u8>,
    Round<u8>,
    Round<u16>,
    ShiftFixed,
    ShiftFixedTo8,
};

QZIL_ROWS_END
