#include "qzil/spatial/tap_rows.h"

#include "qzil/kernel/loops.h"
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

/// Keeps the compiler from loading a value again for each of its uses.
template <class V>
QZIL_INLINE V InRegister(V v) {
#if defined(__AVX512F__)
    asm("" : "+v"(v));
#elif defined(__SSE2__)
    asm("" : "+x"(v));
#endif
    return v;
}

/// sums[k] += taps[j] * load(k * kApart + j) for every j in turn; what several sums weigh is loaded once.
template <int kCount, int kSide, int kApart, class Sample, class V, class Load>
QZIL_INLINE void AddTaps(V* sums, Sample const* taps, Load load) {
    V tap[kCount];
    for (int j = 0; j < kCount; ++j) tap[j] = Everywhere(taps[j]);
#pragma GCC unroll 64
    for (int n = 0; n < (kSide - 1) * kApart + kCount; ++n) {
        V const loaded = InRegister(load(n));
#pragma GCC unroll 8
        for (int k = 0; k < kSide; ++k) {
            int const j = n - k * kApart;
            if (j >= 0 && j < kCount) sums[k] += loaded * tap[j];
        }
    }
}

/// What the taps of a run weigh: samples of a line that stand a step apart, or the same place of one line after
/// another.
template <int kStep, class Sample>
struct Beside {
    Sample const* pFrom;

    QZIL_INLINE auto operator()(int n) const { return LoadSamples(pFrom + n * kStep); }
    QZIL_INLINE void Skip(int n) { pFrom += n * kStep; }
};
template <class Sample>
struct Below {
    Sample const* const* pLines;
    std::ptrdiff_t iAt;

    QZIL_INLINE auto operator()(int n) const { return LoadSamples(pLines[n] + iAt); }
    QZIL_INLINE void Skip(int n) { pLines += n; }
};

template <int kSide, int kApart, class Sample, class V, class Load>
QZIL_INLINE void AddRun(V* sums, Sample const* taps, int count, Load load) {
    for (; count >= kTaps; count -= kTaps, taps += kTaps, load.Skip(kTaps)) {
        AddTaps<kTaps, kSide, kApart>(sums, taps, load);
    }
    switch (count) {
        case 7: return AddTaps<7, kSide, kApart>(sums, taps, load);
        case 6: return AddTaps<6, kSide, kApart>(sums, taps, load);
        case 5: return AddTaps<5, kSide, kApart>(sums, taps, load);
        case 4: return AddTaps<4, kSide, kApart>(sums, taps, load);
        case 3: return AddTaps<3, kSide, kApart>(sums, taps, load);
        case 2: return AddTaps<2, kSide, kApart>(sums, taps, load);
        case 1: return AddTaps<1, kSide, kApart>(sums, taps, load);
        default: return;
    }
}

/// Limited to 32 bits first, where something may lie outside, then truncated toward zero; NaN gives the lower limit.
template <bool kFits>
QZIL_INLINE Vector Truncate(VectorFloat v) {
    if constexpr (!kFits) {
        VectorFloat const low = Everywhere(-2147483648.0f), high = Everywhere(2147483520.0f);
        v = v > low ? v : low;
        v = v < high ? v : high;
    }
    return __builtin_convertvector(v, Vector);
}

/// Truncates v + 0.5 as if added without rounding: what lies between the whole part and v decides.
template <bool kFits>
QZIL_INLINE Vector TruncateHalfAdded(VectorFloat v) {
    Vector const whole = Truncate<kFits>(v);
    VectorFloat const rest = v - __builtin_convertvector(whole, VectorFloat);
    Vector const up = rest >= 0.5f, upBelowZero = (rest > -0.5f) & (whole < 0);
    return whole - (v >= 0.0f ? up : upBelowZero);
}

/// (sum + add) >> 16 with an arithmetic shift; the addition may wrap.
QZIL_INLINE Vector Shifted(VectorWrap sum, s32 add) {
    return reinterpret_cast<Vector>(sum + static_cast<u32>(add)) >> 16;
}

template <bool kFits>
QZIL_INLINE Vector RoundSums(VectorFloat sums, TapRounding const& rounding) {
    VectorFloat const shifted = sums + rounding.fOffset;
    return rounding.bHalfInFloat ? Truncate<kFits>(shifted) : TruncateHalfAdded<kFits>(shifted);
}
template <bool>
QZIL_INLINE Vector RoundSums(VectorWrap sums, FixedRounding const& rounding) {
    return LimitLanes(Shifted(sums, rounding.iAdd), 255);
}

/// Stores the low bits of the lanes as samples, no more than there are.
template <class T>
QZIL_INLINE void StoreSamples(T* out, Vector v, int samples) {
    auto const store = [v](T* to) { sizeof(T) == 1 ? StoreLowBytes(to, v) : StoreLowHalves(to, v); };
    if (samples >= kLanes32) return store(out);
    T all[kLanes32];
    store(all);
    for (int i = 0; i < samples; ++i) out[i] = all[i];
}

/// Samples from a vector of sums to the one beside it.
template <int kStep>
inline constexpr int kAhead = kStep > kLanes32 ? kStep : kLanes32;

/// Neighbouring vectors of sums from sample `first` on; kUsual where all samples exist and every sum fits.
template <int kSide, int kStep, bool kUsual, class Sample, class Rounding>
QZIL_INLINE void SumAcross(TapAcross<Sample, Rounding> const& args, int first) {
    typename VectorOf<Sample>::Type sums[kSide]{};
    for (int r = 0; r < args.iRuns; ++r) {
        TapRun<Sample> const run = args.pRuns[r];
        Sample const* const from = args.pLines[r] + first + std::ptrdiff_t{run.iFrom} * kStep;
        AddRun<kSide, kAhead<kStep> / kStep>(sums, run.pTaps, run.iTaps, Beside<kStep, Sample>{from});
    }
    auto const forEach = [&](auto store) {
#pragma GCC unroll 8
        for (int k = 0; k < kSide; ++k) store(first + k * kAhead<kStep>, sums[k]);
    };
    if (args.pSums) return forEach([&](int at, auto sum) { StoreVector(args.pSums + at, sum); });
    auto const rounded = [&](auto* out) {
        Rounding const rounding = args.oRounding;
        forEach([&](int at, auto sum) {
            StoreSamples(out + at, RoundSums<kUsual>(sum, rounding), kUsual ? kLanes32 : args.iSamples - at);
        });
    };
    args.oRounding.iSampleBytes == 1 ? rounded(args.pOut) : rounded(reinterpret_cast<u16*>(args.pOut));
}

template <int kStep, class Sample, class Rounding>
void Across(TapAcross<Sample, Rounding> const& args) {
    constexpr int kGroup = kSums * kAhead<kStep>;
    bool const usual = args.pSums || args.oRounding.bFits;
    for (int lane = 0; lane < kStep; lane += kLanes32) {
        int at = lane;
        for (; usual && at + kGroup - kAhead<kStep> + kLanes32 <= args.iSamples; at += kGroup) {
            SumAcross<kSums, kStep, true>(args, at);
        }
        for (; at < args.iSamples; at += kAhead<kStep>) SumAcross<1, kStep, false>(args, at);
    }
}

/// Neighbouring lines from `line` on; where every sum fits and there is a vector of samples, without a look at either.
template <class T, int kSide, bool kUsual, class Sample, class Rounding>
QZIL_INLINE void SumLines(TapDown<Sample, Rounding> const& args, int line) {
    Sample const* const* const lines = args.pLines + line * args.iStep;
    u8* const first = args.pOut + line * args.iOutStep;
    Rounding const rounding = args.oRounding;
    for (int next = 0; next < args.iSamples; next += kLanes32) {
        int const at = kUsual ? Min(next, args.iSamples - kLanes32) : next;
        typename VectorOf<Sample>::Type sums[kSide]{};
        for (int r = 0; r < args.iRuns; ++r) {
            TapRun<Sample> const run = args.pRuns[r];
            AddRun<kSide, 1>(sums, run.pTaps, run.iTaps, Below<Sample>{lines + run.iFrom, args.iFirst + at});
        }
        T* const out = reinterpret_cast<T*>(first) + at;
#pragma GCC unroll 8
        for (int k = 0; k < kSide; ++k) {
            StoreSamples(reinterpret_cast<T*>(reinterpret_cast<u8*>(out) + k * args.iOutStep),
                         RoundSums<kUsual>(sums[k], rounding), kUsual ? kLanes32 : args.iSamples - at);
        }
    }
}

template <class T, class Sample, class Rounding>
void DownAs(TapDown<Sample, Rounding> const& args) {
    int line = 0;
    bool const usual = args.iStep == 1 && args.oRounding.bFits && args.iSamples >= kLanes32;
    for (; usual && line + kSums <= args.iLines; line += kSums) SumLines<T, kSums, true>(args, line);
    for (; line < args.iLines; ++line) SumLines<T, 1, false>(args, line);
}

template <class Sample, class Rounding>
void Down(TapDown<Sample, Rounding> const& args) {
    if (args.oRounding.iSampleBytes == 1) return DownAs<u8>(args);
    DownAs<u16>(args);
}

template <class Out, class T>
void Widen(Out* out, T const* in, int samples) {
    ForEach(samples, [=](int i) { out[i] = static_cast<Out>(in[i]); });
}

void ShiftFixed(s32* sums, int samples) {
    for (int at = 0; at < samples; at += kLanes32) StoreVector(sums + at, Shifted(LoadSamples(sums + at), 32768));
}

}  // namespace

TapRows const g_oTapRows{
    {Across<kPixelSamples, float>, Across<kTileSamples, float>, Down<float>},
    {Across<kPixelSamples, s32>, Across<kTileSamples, s32>, Down<s32>},
    Widen<float, u8>,
    Widen<float, u16>,
    Widen<s32, u8>,
    ShiftFixed,
};

QZIL_ROWS_END
