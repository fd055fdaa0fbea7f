#include "qzil/spatial/filter_rows.h"

#include "qzil/kernel/loops.h"
#include "qzil/kernel/vector.h"

QZIL_ROWS_BEGIN
namespace {

/// 16-bit values of a vector.
constexpr int kHalves = kVectorBytes / 2;

alignas(64) constexpr s16 kNoSamples[kFixedLanes]{};
alignas(64) constexpr float kNoFloats[kDoubleLanes]{};
QZIL_INLINE s16 const* None(s16 const*) {
    return kNoSamples;
}
QZIL_INLINE float const* None(float const*) {
    return kNoFloats;
}

/// One pass of a recurrence over sequences side by side, as many at a time as it has lanes. Each step takes the sample
/// that enters, the one that leaves the box, and the one that leaves the reach; those that have not come yet are 0.
template <class Recurrence, class Sample, class Filter>
QZIL_INLINE void RunPass(FilterPass<Sample> const& pass, Filter const& filter, int lanes) {
    std::ptrdiff_t const step = pass.iInStep;
    int const length = pass.iLength, reach = pass.iReach, box = filter.iBox, delay = filter.iDelay;
    for (int lane = 0; lane < lanes; lane += Recurrence::kLanes) {
        Sample const *const in = pass.pIn + lane, *const none = None(in);
        Sample* const out = pass.pOut + lane;
        Recurrence recurrence(filter);
        for (int i = 0; i < length; ++i) {
            recurrence.Step(in + i * step, i >= box ? in + (i - box) * step : none,
                            i > reach ? in + (i - delay) * step : none);
            if (i >= reach) recurrence.Store(out + std::ptrdiff_t{length - 1 - i} * pass.iOutStep);
        }
    }
}

/// Lanes of 32 bits whose sums and products may wrap, or one such number.
using VectorWrap = u32 __attribute__((vector_size(kVectorBytes)));

template <class V>
QZIL_INLINE V LoadWide(s16 const* from) {
    if constexpr (std::is_same_v<V, u32>) {
        return static_cast<u32>(s32{*from});
    } else {
        s16 __attribute__((vector_size(kVectorBytes / 2))) half;
        __builtin_memcpy(&half, from, sizeof half);
        return reinterpret_cast<V>(__builtin_convertvector(half, Vector));
    }
}
template <class V>
QZIL_INLINE V ShiftDown(V v) {
    if constexpr (std::is_same_v<V, u32>) {
        return static_cast<u32>(static_cast<s32>(v) >> 16);
    } else {
        return reinterpret_cast<V>(reinterpret_cast<Vector>(v) >> 16);
    }
}
template <class V>
QZIL_INLINE void StoreLow(s16* to, V v) {
    if constexpr (std::is_same_v<V, u32>) {
        *to = static_cast<s16>(v);
    } else {
        StoreLowHalves(to, reinterpret_cast<Vector>(v));
    }
}

/// y := (decay y + enter x - leave d + 32768) >> 16.
template <class V, int kChains>
struct WideExponential {
    static constexpr int kApart = sizeof(V) / 4, kLanes = kChains * kApart;
    V y[kChains]{};
    V decay, enter, leave;

    QZIL_INLINE explicit WideExponential(FixedFilter const& f)
        : decay(V{} + static_cast<u32>(f.iDecay)),
          enter(V{} + static_cast<u32>(f.iEnter)),
          leave(V{} + static_cast<u32>(f.iLeave)) {}
    QZIL_INLINE void Step(s16 const* x, s16 const*, s16 const* d) {
        for (int k = 0; k < kChains; ++k) {
            V const in = LoadWide<V>(x + k * kApart), gone = LoadWide<V>(d + k * kApart);
            y[k] = ShiftDown<V>(decay * y[k] + enter * in - leave * gone + 32768u);
        }
    }
    QZIL_INLINE void Store(s16* out) const {
        for (int k = 0; k < kChains; ++k) StoreLow<V>(out + k * kApart, y[k]);
    }
};

/// A running sum times 1 / N, and a tail that decays.
template <class V, int kChains>
struct WideUniform {
    static constexpr int kApart = sizeof(V) / 4, kLanes = kChains * kApart;
    V sum[kChains], tail[kChains]{};
    V share, decay, enter, leave;

    QZIL_INLINE explicit WideUniform(FixedFilter const& f)
        : share(V{} + static_cast<u32>(f.iShare)),
          decay(V{} + static_cast<u32>(f.iDecay)),
          enter(V{} + static_cast<u32>(f.iEnter)),
          leave(V{} + static_cast<u32>(f.iLeave)) {
        for (V& chain : sum) chain = V{} + 32768u;
    }
    QZIL_INLINE void Step(s16 const* x, s16 const* q, s16 const* d) {
        for (int k = 0; k < kChains; ++k) {
            V const in = LoadWide<V>(x + k * kApart), left = LoadWide<V>(q + k * kApart),
                    gone = LoadWide<V>(d + k * kApart);
            sum[k] += (in - left) * share;
            tail[k] = ShiftDown<V>(tail[k]) * decay + left * enter - gone * leave;
        }
    }
    QZIL_INLINE void Store(s16* out) const {
        for (int k = 0; k < kChains; ++k) StoreLow<V>(out + k * kApart, ShiftDown<V>(sum[k] + tail[k]));
    }
};

/// Pairs of 16-bit coefficients serve when all of them fit: products of pairs are twice as fast as those of lanes.
constexpr bool FitsHalf(s32 value) {
    return value >= 0 && value <= 32767;
}
/// A decay near 1 is held as its distance from 1.
constexpr bool DecaysSlowly(s32 value) {
    return value >= 32768 && value <= 65536;
}

/// The same recurrences by pairs; vectors whose chains of operations run side by side.
constexpr int kPairChains = 2;
static_assert(kFixedLanes % (kPairChains * kHalves) == 0);

struct PairExponential {
    static constexpr int kLanes = kPairChains * kHalves;
    Vector y[kPairChains][2]{};
    Vector in, decay;

    QZIL_INLINE explicit PairExponential(FixedFilter const& f)
        : in(AllLanes(Halves(f.iEnter, -f.iLeave))), decay(AllLanes(Halves(f.iDecay - 65536, 0))) {}
    QZIL_INLINE void Step(s16 const* x, s16 const*, s16 const* d) {
        Vector const half = AllLanes(32768);
        for (int k = 0; k < kPairChains; ++k) {
            Vector const entering = LoadVector(x + k * kHalves), gone = LoadVector(d + k * kHalves);
            Vector const low = DotHalves(InterleaveLow(entering, gone), in) + half,
                         high = DotHalves(InterleaveHigh(entering, gone), in) + half;
            y[k][0] += (DotHalves(y[k][0], decay) + low) >> 16;
            y[k][1] += (DotHalves(y[k][1], decay) + high) >> 16;
        }
    }
    QZIL_INLINE void Store(s16* out) const {
        for (int k = 0; k < kPairChains; ++k) StoreVector(out + k * kHalves, PackHalves(y[k][0], y[k][1]));
    }
};

struct PairUniform {
    static constexpr int kLanes = kPairChains * kHalves;
    Vector sum[kPairChains][2], tail[kPairChains][2]{};
    Vector share, decay, in;

    QZIL_INLINE explicit PairUniform(FixedFilter const& f)
        : share(AllLanes(Halves(f.iShare, -f.iShare))),
          decay(AllLanes(Halves(0, f.iDecay - 65536))),
          in(AllLanes(Halves(f.iEnter, -f.iLeave))) {
        for (auto& chain : sum) chain[0] = chain[1] = AllLanes(32768);
    }
    QZIL_INLINE void Step(s16 const* x, s16 const* q, s16 const* d) {
        Vector const whole = AllLanes(-65536);
        for (int k = 0; k < kPairChains; ++k) {
            Vector const entering = LoadVector(x + k * kHalves), left = LoadVector(q + k * kHalves),
                         gone = LoadVector(d + k * kHalves);
            auto &s = sum[k], &t = tail[k];
            s[0] += DotHalves(InterleaveLow(entering, left), share);
            s[1] += DotHalves(InterleaveHigh(entering, left), share);
            t[0] = DotHalves(t[0], decay) + (t[0] & whole) + DotHalves(InterleaveLow(left, gone), in);
            t[1] = DotHalves(t[1], decay) + (t[1] & whole) + DotHalves(InterleaveHigh(left, gone), in);
        }
    }
    QZIL_INLINE void Store(s16* out) const {
        for (int k = 0; k < kPairChains; ++k) {
            StoreVector(out + k * kHalves, PackHalves((sum[k][0] + tail[k][0]) >> 16, (sum[k][1] + tail[k][1]) >> 16));
        }
    }
};

/// Lanes of doubles, or one.
template <class V>
QZIL_INLINE V LoadDouble(float const* from) {
    if constexpr (std::is_same_v<V, double>) {
        return static_cast<double>(*from);
    } else {
        return LoadDoubles(from);
    }
}
template <class V>
QZIL_INLINE void StoreDouble(float* to, V v) {
    if constexpr (std::is_same_v<V, double>) {
        *to = static_cast<float>(v);
    } else {
        StoreFloats(to, v);
    }
}

template <class V, int kChains>
struct RealExponential {
    static constexpr int kApart = sizeof(V) / 8, kLanes = kChains * kApart;
    V y[kChains]{};
    V decay, enter, leave;

    QZIL_INLINE explicit RealExponential(DoubleFilter const& f)
        : decay(V{} + f.dfDecay), enter(V{} + f.dfEnter), leave(V{} + f.dfLeave) {}
    QZIL_INLINE void Step(float const* x, float const*, float const* d) {
        for (int k = 0; k < kChains; ++k) {
            y[k] = decay * y[k] + enter * LoadDouble<V>(x + k * kApart) - leave * LoadDouble<V>(d + k * kApart);
        }
    }
    QZIL_INLINE void Store(float* out) const {
        for (int k = 0; k < kChains; ++k) StoreDouble<V>(out + k * kApart, y[k]);
    }
};

/// Division of one number.
struct PlainDivisor {
    double by;
    template <bool>
    QZIL_INLINE double Divide(double a) const {
        return a / by;
    }
};

template <class V, int kChains, bool kFinite>
struct RealUniform {
    static constexpr int kApart = sizeof(V) / 8, kLanes = kChains * kApart;
    V sum[kChains]{}, tail[kChains]{};
    V decay, enter, leave;
    std::conditional_t<std::is_same_v<V, double>, PlainDivisor, Divisor> norm;

    QZIL_INLINE explicit RealUniform(DoubleFilter const& f)
        : decay(V{} + f.dfDecay), enter(V{} + f.dfEnter), leave(V{} + f.dfLeave), norm{f.dfNorm} {}
    QZIL_INLINE void Step(float const* x, float const* q, float const* d) {
        for (int k = 0; k < kChains; ++k) {
            V const left = LoadDouble<V>(q + k * kApart);
            sum[k] = sum[k] + norm.template Divide<kFinite>(LoadDouble<V>(x + k * kApart) - left);
            tail[k] = decay * tail[k] + enter * left - leave * LoadDouble<V>(d + k * kApart);
        }
    }
    QZIL_INLINE void Store(float* out) const {
        for (int k = 0; k < kChains; ++k) StoreDouble<V>(out + k * kApart, sum[k] + tail[k]);
    }
};

constexpr int kChains = 4;
static_assert(kFixedLanes % (kChains * kLanes32) == 0 && kDoubleLanes % (kChains * kLanes64) == 0);

void Exponential(FilterPass<s16> const& pass, FixedFilter const& f) {
    if (FitsHalf(f.iEnter) && FitsHalf(f.iLeave) && DecaysSlowly(f.iDecay)) {
        RunPass<PairExponential>(pass, f, kFixedLanes);
    } else {
        RunPass<WideExponential<VectorWrap, kChains>>(pass, f, kFixedLanes);
    }
}

void Uniform(FilterPass<s16> const& pass, FixedFilter const& f) {
    if (FitsHalf(f.iEnter) && FitsHalf(f.iLeave) && FitsHalf(f.iShare) && DecaysSlowly(f.iDecay)) {
        RunPass<PairUniform>(pass, f, kFixedLanes);
    } else {
        RunPass<WideUniform<VectorWrap, kChains>>(pass, f, kFixedLanes);
    }
}

void RealExponentials(FilterPass<float> const& pass, DoubleFilter const& f) {
    RunPass<RealExponential<VectorDouble, kChains>>(pass, f, kDoubleLanes);
}

void RealUniforms(FilterPass<float> const& pass, DoubleFilter const& f) {
    if (f.bFinite) {
        RunPass<RealUniform<VectorDouble, kChains, true>>(pass, f, kDoubleLanes);
    } else {
        RunPass<RealUniform<VectorDouble, kChains, false>>(pass, f, kDoubleLanes);
    }
}

/// Any number of sequences, one after the other.
template <class Recurrence, class Sample, class Filter>
void OneByOne(FilterPass<Sample> const& pass, Filter const& f) {
    RunPass<Recurrence>(pass, f, pass.iLanes);
}

/// 16 bytes of elements.
template <class Element>
struct RowOf {
    static constexpr int kCount = 16 / sizeof(Element);
    typedef Element Type __attribute__((vector_size(16)));
};

struct Bytes16 {
    u64 aWords[2];
};
template <>
struct RowOf<Bytes16> {
    static constexpr int kCount = 1;
    using Type = Bytes16;
};

/// The elements of a and b in turn, from the first half of both or from the second one.
template <bool kSecond, class Row, int... kPlaces>
QZIL_INLINE Row Interleave(Row a, Row b, Indices<kPlaces...>) {
    constexpr int kCount = sizeof...(kPlaces), kFrom = kSecond ? kCount / 2 : 0;
    return __builtin_shufflevector(a, b, (kPlaces % 2 * kCount + kFrom + kPlaces / 2)...);
}

/// A square of elements, from rows to columns: a row and the one half the square below interleave, again and again.
template <class Element>
QZIL_INLINE void MoveSquare(u8* to, std::ptrdiff_t toStep, u8 const* from, std::ptrdiff_t fromStep) {
    using Row = typename RowOf<Element>::Type;
    constexpr int kCount = RowOf<Element>::kCount;
    Row rows[kCount];
    for (int k = 0; k < kCount; ++k) __builtin_memcpy(&rows[k], from + k * fromStep, 16);
    if constexpr (kCount > 1) {
        constexpr auto kPlaces = IndicesTo<kCount>();
        for (int size = 1; size < kCount; size *= 2) {
            Row next[kCount];
            for (int k = 0; k < kCount / 2; ++k) {
                next[2 * k] = Interleave<false>(rows[k], rows[k + kCount / 2], kPlaces);
                next[2 * k + 1] = Interleave<true>(rows[k], rows[k + kCount / 2], kPlaces);
            }
            for (int k = 0; k < kCount; ++k) rows[k] = next[k];
        }
    }
    for (int k = 0; k < kCount; ++k) __builtin_memcpy(to + k * toStep, &rows[k], 16);
}

template <class Element, bool kToTile>
QZIL_INLINE void MoveElements(TileMove const& move) {
    constexpr int kBytes = sizeof(Element), kCount = RowOf<Element>::kCount;
    // The tile's lines of the cache are met once, not once for every few lines.
    constexpr int kPixels = 64;
    std::ptrdiff_t const tileStep = move.iTileStep, lineStep = move.iLineStep;
    int const pixels = move.iPixels, squares = pixels >= kCount ? move.iLines / kCount * kCount : 0;
    for (int block = 0; block < pixels; block += kPixels) {
        int const end = Min(block + kPixels, pixels);
        for (int line = 0; line < squares; line += kCount) {
            for (int x = block; x < end; x += kCount) {
                // The last square ends with the line.
                std::ptrdiff_t const at = Min(x, pixels - kCount);
                u8* const inTile = move.pTile + at * tileStep + line * kBytes;
                u8* const inLine = move.pLine + line * lineStep + at * kBytes;
                if constexpr (kToTile) {
                    MoveSquare<Element>(inTile, tileStep, inLine, lineStep);
                } else {
                    MoveSquare<Element>(inLine, lineStep, inTile, tileStep);
                }
            }
        }
    }
    for (int line = squares; line < move.iLines; ++line) {
        for (int x = 0; x < pixels; ++x) {
            u8* const one = move.pTile + x * tileStep + line * kBytes;
            u8* const other = move.pLine + line * lineStep + std::ptrdiff_t{x} * kBytes;
            __builtin_memcpy(kToTile ? one : other, kToTile ? other : one, kBytes);
        }
    }
}

template <bool kToTile>
void MoveTile(TileMove const& move) {
    switch (move.iElement) {
        case 1: return MoveElements<u8, kToTile>(move);
        case 2: return MoveElements<u16, kToTile>(move);
        case 4: return MoveElements<u32, kToTile>(move);
        case 8: return MoveElements<u64, kToTile>(move);
        default: return MoveElements<Bytes16, kToTile>(move);
    }
}

template <class In, class Out, class Change>
QZIL_INLINE void LoadStrip(StripLoad<Out> const& strip, Change change) {
    constexpr int kLanes = sizeof(Out) == 2 ? kFixedLanes : kDoubleLanes;
    Out* out = strip.pOut;
    int const samples = strip.iSamples, lines = strip.iLines;
    // Every line is on a page of its own, which the processor's prefetch does not foresee.
    constexpr int kAhead = 48;
    for (int line = 0; line < lines; ++line, out += kLanes) {
        if (line + kAhead < lines) __builtin_prefetch(strip.pLines[line + kAhead] + strip.iAt);
        In const* const in = reinterpret_cast<In const*>(strip.pLines[line] + strip.iAt);
        if (samples == kLanes) {
#pragma GCC ivdep
            for (int i = 0; i < kLanes; ++i) out[i] = change(in[i]);
        } else {
            for (int i = 0; i < samples; ++i) out[i] = change(in[i]);
        }
    }
}

void Times64(StripLoad<s16> const& strip) {
    LoadStrip<u8>(strip, [](u8 value) { return static_cast<s16>(value << 6); });
}

template <class T>
void FloatsOf(StripLoad<float> const& strip) {
    LoadStrip<T>(strip, [](T value) { return static_cast<float>(value); });
}

void By64(u8* out, s16 const* in, int samples) {
    ForEach(samples, [=](int i) { out[i] = static_cast<u8>(Clamp<s16>(static_cast<s16>(in[i] >> 6), 0, 255)); });
}

/// Truncated behind the addition of 0.5, limited to the channel.
template <class T>
void ToInteger(T* out, float const* in, int samples) {
    constexpr float kLow = qzILFormat<T>::kLowest, kHigh = qzILFormat<T>::kHighest;
    ForEach(samples, [=](int i) {
        float const value = in[i] + 0.5f;
        float const above = value > kLow ? value : kLow;
        out[i] = static_cast<T>(static_cast<s32>(above < kHigh ? above : kHigh));
    });
}

/// A negative zero becomes a positive one.
void ToFloat(float* out, float const* in, int samples) {
    ForEach(samples, [=](int i) { out[i] = in[i] + 0.0f; });
}

}  // namespace

FilterRows const g_oFilterRows{
    .oFixed = {.pExponential = Exponential, .pUniform = Uniform},
    .oFixedAny = {.pExponential = OneByOne<WideExponential<u32, 1>>, .pUniform = OneByOne<WideUniform<u32, 1>>},
    .oDouble = {.pExponential = RealExponentials, .pUniform = RealUniforms},
    .oDoubleAny = {.pExponential = OneByOne<RealExponential<double, 1>>,
                   .pUniform = OneByOne<RealUniform<double, 1, false>>},
    .pToTile = MoveTile<true>,
    .pFromTile = MoveTile<false>,
    .pTimes64 = Times64,
    .pFloatsOf8 = FloatsOf<u8>,
    .pFloatsOf16 = FloatsOf<u16>,
    .pFloatsOfS2_14 = FloatsOf<s16>,
    .pFloats = FloatsOf<float>,
    .pBy64 = By64,
    .pTo8 = ToInteger<u8>,
    .pTo16 = ToInteger<u16>,
    .pToS2_14 = ToInteger<s16>,
    .pToFloat = ToFloat,
};

QZIL_ROWS_END
