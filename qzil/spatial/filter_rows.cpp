#include "qzil/spatial/filter_rows.h"

#include "qzil/kernel/loops.h"
#include "qzil/kernel/vector.h"

QZIL_ROWS_BEGIN
namespace {

/// 16-bit values of a vector, and vectors whose chains of operations run side by side.
constexpr int kHalves = kVectorBytes / 2;
constexpr int kChains = 2;
static_assert(kFixedLanes % (kChains * kHalves) == 0);

alignas(64) constexpr s16 kNoSamples[kFixedLanes]{};
alignas(64) constexpr float kNoFloats[kDoubleLanes]{};

/// Where the samples of a pass stand: those that have not come yet are 0.
template <class Sample>
struct Source {
    Sample const* pIn;
    std::ptrdiff_t iStep;
    Sample const* pNone;

    QZIL_INLINE Source(FilterPass<Sample> const& pass, Sample const* none)
        : pIn(pass.pIn), iStep(pass.iInStep), pNone(none) {}
    QZIL_INLINE Sample const* At(int i) const { return pIn + i * iStep; }
    /// The sample `delay` places before i, from place `from` on.
    QZIL_INLINE Sample const* Before(int i, int delay, int from) const { return i >= from ? At(i - delay) : pNone; }
};

template <class Sample>
QZIL_INLINE Sample* Target(FilterPass<Sample> const& pass, int i) {
    return pass.pOut + std::ptrdiff_t{pass.iLength - 1 - i} * pass.iOutStep;
}

QZIL_INLINE void StoreHalves(FilterPass<s16> const& pass, int i, int lane, Vector const* results) {
    s16* const out = Target(pass, i) + lane;
    for (int k = 0; k < kChains; ++k) StoreVector(out + k * kHalves, results[k]);
}

/// The two halves of a vector of 16-bit values, as lanes.
struct Wide {
    Vector low, high;
};
QZIL_INLINE Wide Widened(Vector v) {
    return {InterleaveLow(Vector{}, v) >> 16, InterleaveHigh(Vector{}, v) >> 16};
}

/// Pairs of 16-bit coefficients serve when all of them fit: products of pairs are twice as fast as those of lanes.
constexpr bool FitsHalf(s32 value) {
    return value >= 0 && value <= 32767;
}
/// A decay near 1 is held as its distance from 1.
constexpr bool DecaysSlowly(s32 value) {
    return value >= 32768 && value <= 65536;
}

/// (b y + a x - c d + 32768) >> 16 in lanes.
template <bool kPairs>
struct IirLanes {
    Vector y[kChains][2]{};
    Vector a, b, c;

    QZIL_INLINE explicit IirLanes(FixedIir const& f)
        : a(kPairs ? AllLanes(Halves(f.iA, -f.iC)) : AllLanes(f.iA)),
          b(kPairs ? AllLanes(Halves(f.iB - 65536, 0)) : AllLanes(f.iB)),
          c(AllLanes(f.iC)) {}

    QZIL_INLINE Vector Step(int chain, Vector x, Vector d) {
        Vector const half = AllLanes(32768);
        if constexpr (kPairs) {
            Vector const low = DotHalves(InterleaveLow(x, d), a) + half,
                         high = DotHalves(InterleaveHigh(x, d), a) + half;
            y[chain][0] += (DotHalves(y[chain][0], b) + low) >> 16;
            y[chain][1] += (DotHalves(y[chain][1], b) + high) >> 16;
            return PackHalves(y[chain][0], y[chain][1]);
        } else {
            Wide const wx = Widened(x), wd = Widened(d);
            y[chain][0] = (b * y[chain][0] + a * wx.low - c * wd.low + half) >> 16;
            y[chain][1] = (b * y[chain][1] + a * wx.high - c * wd.high + half) >> 16;
            return PackHalves(y[chain][0] << 16 >> 16, y[chain][1] << 16 >> 16);
        }
    }
};

template <bool kPairs>
QZIL_INLINE void RunIir(FilterPass<s16> const& pass, FixedIir const& f) {
    Source<s16> const source(pass, kNoSamples);
    for (int lane = 0; lane < kFixedLanes; lane += kChains * kHalves) {
        IirLanes<kPairs> lanes(f);
        for (int i = 0; i < pass.iLength; ++i) {
            s16 const *const x = source.At(i) + lane, *const d = source.Before(i, f.iDelay, pass.iReach + 1) + lane;
            Vector result[kChains];
            for (int k = 0; k < kChains; ++k) {
                result[k] = lanes.Step(k, LoadVector(x + k * kHalves), LoadVector(d + k * kHalves));
            }
            if (i < pass.iReach) continue;
            StoreHalves(pass, i, lane, result);
        }
    }
}

void Iir(FilterPass<s16> const& pass, FixedIir const& filter) {
    FixedIir const f = filter;
    if (FitsHalf(f.iA) && FitsHalf(f.iC) && DecaysSlowly(f.iB)) {
        RunIir<true>(pass, f);
    } else {
        RunIir<false>(pass, f);
    }
}

/// A running sum times 1 / N, and a tail that decays by r.
template <bool kPairs>
struct UniformLanes {
    Vector sum[kChains][2];
    Vector tail[kChains][2]{};
    Vector n, r, g1, g2;

    QZIL_INLINE explicit UniformLanes(FixedUniformIir const& f)
        : n(kPairs ? AllLanes(Halves(f.iOneByN, -f.iOneByN)) : AllLanes(f.iOneByN)),
          r(kPairs ? AllLanes(Halves(0, f.iR - 65536)) : AllLanes(f.iR)),
          g1(kPairs ? AllLanes(Halves(f.iG1, -f.iG2)) : AllLanes(f.iG1)),
          g2(AllLanes(f.iG2)) {
        for (auto& chain : sum) chain[0] = chain[1] = AllLanes(32768);
    }

    QZIL_INLINE Vector Step(int chain, Vector x, Vector q, Vector d) {
        auto &s = sum[chain], &t = tail[chain];
        if constexpr (kPairs) {
            Vector const whole = AllLanes(-65536);
            s[0] += DotHalves(InterleaveLow(x, q), n);
            s[1] += DotHalves(InterleaveHigh(x, q), n);
            t[0] = DotHalves(t[0], r) + (t[0] & whole) + DotHalves(InterleaveLow(q, d), g1);
            t[1] = DotHalves(t[1], r) + (t[1] & whole) + DotHalves(InterleaveHigh(q, d), g1);
        } else {
            Wide const wx = Widened(x), wq = Widened(q), wd = Widened(d);
            s[0] += (wx.low - wq.low) * n;
            s[1] += (wx.high - wq.high) * n;
            t[0] = (t[0] >> 16) * r + wq.low * g1 - wd.low * g2;
            t[1] = (t[1] >> 16) * r + wq.high * g1 - wd.high * g2;
        }
        return PackHalves((s[0] + t[0]) >> 16, (s[1] + t[1]) >> 16);
    }
};

template <bool kPairs>
QZIL_INLINE void RunUniformIir(FilterPass<s16> const& pass, FixedUniformIir const& f) {
    Source<s16> const source(pass, kNoSamples);
    for (int lane = 0; lane < kFixedLanes; lane += kChains * kHalves) {
        UniformLanes<kPairs> lanes(f);
        for (int i = 0; i < pass.iLength; ++i) {
            s16 const *const x = source.At(i) + lane, *const q = source.Before(i, f.iQ + 1, f.iQ + 1) + lane,
                             *const d = source.Before(i, pass.iReach + 1, pass.iReach + 1) + lane;
            Vector result[kChains];
            for (int k = 0; k < kChains; ++k) {
                int const at = k * kHalves;
                result[k] = lanes.Step(k, LoadVector(x + at), LoadVector(q + at), LoadVector(d + at));
            }
            if (i < pass.iReach) continue;
            StoreHalves(pass, i, lane, result);
        }
    }
}

void UniformIir(FilterPass<s16> const& pass, FixedUniformIir const& filter) {
    FixedUniformIir const f = filter;
    if (FitsHalf(f.iG1) && FitsHalf(f.iG2) && FitsHalf(f.iOneByN) && DecaysSlowly(f.iR)) {
        RunUniformIir<true>(pass, f);
    } else {
        RunUniformIir<false>(pass, f);
    }
}

constexpr int kDoubleChains = 4;
static_assert(kDoubleLanes % (kDoubleChains * kLanes64) == 0);

void IirDouble(FilterPass<float> const& pass, DoubleIir const& f) {
    Source<float> const source(pass, kNoFloats);
    VectorDouble const a = VectorDouble{} + f.dfA, b = VectorDouble{} + f.dfB, c = VectorDouble{} + f.dfC;
    for (int lane = 0; lane < kDoubleLanes; lane += kDoubleChains * kLanes64) {
        VectorDouble y[kDoubleChains]{};
        for (int i = 0; i < pass.iLength; ++i) {
            float const* const x = source.At(i) + lane;
            float const* const d = source.Before(i, pass.iReach + 1, pass.iReach + 1) + lane;
            for (int k = 0; k < kDoubleChains; ++k) {
                y[k] = b * y[k] + a * LoadDoubles(x + k * kLanes64) - c * LoadDoubles(d + k * kLanes64);
            }
            if (i < pass.iReach) continue;
            float* const out = Target(pass, i) + lane;
            for (int k = 0; k < kDoubleChains; ++k) StoreFloats(out + k * kLanes64, y[k]);
        }
    }
}

template <bool kFinite>
QZIL_INLINE void RunUniformIirDouble(FilterPass<float> const& pass, DoubleUniformIir const& f) {
    Source<float> const source(pass, kNoFloats);
    VectorDouble const r = VectorDouble{} + f.dfR, g1 = VectorDouble{} + f.dfG1, g2 = VectorDouble{} + f.dfG2;
    Divisor const n(f.dfN);
    for (int lane = 0; lane < kDoubleLanes; lane += kDoubleChains * kLanes64) {
        VectorDouble sum[kDoubleChains]{}, tail[kDoubleChains]{};
        for (int i = 0; i < pass.iLength; ++i) {
            float const* const x = source.At(i) + lane;
            float const* const q = source.Before(i, f.iQ + 1, f.iQ + 1) + lane;
            float const* const d = source.Before(i, pass.iReach + 1, pass.iReach + 1) + lane;
            for (int k = 0; k < kDoubleChains; ++k) {
                VectorDouble const left = LoadDoubles(q + k * kLanes64);
                sum[k] = sum[k] + n.template Divide<kFinite>(LoadDoubles(x + k * kLanes64) - left);
                tail[k] = r * tail[k] + g1 * left - g2 * LoadDoubles(d + k * kLanes64);
            }
            if (i < pass.iReach) continue;
            float* const out = Target(pass, i) + lane;
            for (int k = 0; k < kDoubleChains; ++k) StoreFloats(out + k * kLanes64, sum[k] + tail[k]);
        }
    }
}

void UniformIirDouble(FilterPass<float> const& pass, DoubleUniformIir const& filter) {
    DoubleUniformIir const f = filter;
    if (f.bFinite) {
        RunUniformIirDouble<true>(pass, f);
    } else {
        RunUniformIirDouble<false>(pass, f);
    }
}

/// The plain forms: lane after lane.
template <class Sample, class Filter>
QZIL_INLINE void ForLanesOf(FilterPass<Sample> const& pass, Filter filter) {
    for (int lane = 0; lane < pass.iLanes; ++lane) filter(lane);
}

/// The sample `delay` places before i, from place `from` on.
template <class Sample>
QZIL_INLINE Sample Past(FilterPass<Sample> const& pass, int lane, int i, int delay, int from) {
    return i >= from ? pass.pIn[(i - delay) * pass.iInStep + lane] : Sample{0};
}

void IirAny(FilterPass<s16> const& pass, FixedIir const& f) {
    ForLanesOf(pass, [&](int lane) {
        s32 y = 0;
        for (int i = 0; i < pass.iLength; ++i) {
            s32 const x = Past(pass, lane, i, 0, 0), d = Past(pass, lane, i, f.iDelay, pass.iReach + 1);
            u32 const sum = static_cast<u32>(f.iB) * static_cast<u32>(y) +
                            static_cast<u32>(f.iA) * static_cast<u32>(x) -
                            static_cast<u32>(f.iC) * static_cast<u32>(d) + 32768u;
            y = static_cast<s32>(sum) >> 16;
            if (i >= pass.iReach) Target(pass, i)[lane] = static_cast<s16>(y);
        }
    });
}

void UniformIirAny(FilterPass<s16> const& pass, FixedUniformIir const& f) {
    ForLanesOf(pass, [&](int lane) {
        u32 sum = 32768, tail = 0;
        for (int i = 0; i < pass.iLength; ++i) {
            s32 const x = Past(pass, lane, i, 0, 0), q = Past(pass, lane, i, f.iQ + 1, f.iQ + 1),
                      d = Past(pass, lane, i, pass.iReach + 1, pass.iReach + 1);
            sum += static_cast<u32>(x - q) * static_cast<u32>(f.iOneByN);
            tail = static_cast<u32>(static_cast<s32>(tail) >> 16) * static_cast<u32>(f.iR) +
                   static_cast<u32>(q) * static_cast<u32>(f.iG1) - static_cast<u32>(d) * static_cast<u32>(f.iG2);
            if (i >= pass.iReach) Target(pass, i)[lane] = static_cast<s16>(static_cast<s32>(sum + tail) >> 16);
        }
    });
}

void IirDoubleAny(FilterPass<float> const& pass, DoubleIir const& f) {
    ForLanesOf(pass, [&](int lane) {
        double y = 0.0;
        for (int i = 0; i < pass.iLength; ++i) {
            double const x = Past(pass, lane, i, 0, 0), d = Past(pass, lane, i, pass.iReach + 1, pass.iReach + 1);
            y = f.dfB * y + f.dfA * x - f.dfC * d;
            if (i >= pass.iReach) Target(pass, i)[lane] = static_cast<float>(y);
        }
    });
}

void UniformIirDoubleAny(FilterPass<float> const& pass, DoubleUniformIir const& f) {
    ForLanesOf(pass, [&](int lane) {
        double sum = 0.0, tail = 0.0;
        for (int i = 0; i < pass.iLength; ++i) {
            double const x = Past(pass, lane, i, 0, 0), q = Past(pass, lane, i, f.iQ + 1, f.iQ + 1),
                         d = Past(pass, lane, i, pass.iReach + 1, pass.iReach + 1);
            sum = sum + (x - q) / f.dfN;
            tail = f.dfR * tail + f.dfG1 * q - f.dfG2 * d;
            if (i >= pass.iReach) Target(pass, i)[lane] = static_cast<float>(sum + tail);
        }
    });
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
QZIL_INLINE Row Interleave(Row a, Row b, Places<kPlaces...>) {
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
        constexpr auto kPlaces = PlacesTo<kCount>();
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
    Iir,           UniformIir,    IirDouble,           UniformIirDouble, IirAny,
    UniformIirAny, IirDoubleAny,  UniformIirDoubleAny, MoveTile<true>,   MoveTile<false>,
    Times64,       FloatsOf<u8>,  FloatsOf<u16>,       FloatsOf<s16>,    FloatsOf<float>,
    By64,          ToInteger<u8>, ToInteger<u16>,      ToInteger<s16>,   ToFloat,
};

QZIL_ROWS_END
