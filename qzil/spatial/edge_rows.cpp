#include "qzil/spatial/edge_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN
namespace {

using kernel::Row;

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
template <class Rule, class T, int kStep>
void AngleRow(Row const& row, void const*) {
    constexpr int kPiece = 256;
    constexpr float kUncertain = 2e-3f;
    auto const line = [&](std::ptrdiff_t step) {
        return reinterpret_cast<T const*>(static_cast<u8 const*>(row.pA) + step);
    };
    T const *const top = line(-row.iLineStep), *const middle = line(0), *const bottom = line(row.iLineStep);
    auto const slopeAt = [=](int i) {
        T const *t = top + i, *m = middle + i, *b = bottom + i;
        return Rule::SlopeOf(
            Neighbourhood<s32>{t[-kStep], t[0], t[kStep], m[-kStep], m[0], m[kStep], b[-kStep], b[0], b[kStep]});
    };
    for (int from = 0; from < row.iSamples; from += kPiece) {
        int const count = Min(kPiece, row.iSamples - from);
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

template <template <class> class Rule>
constexpr auto kAngles = RowForms<Rule, With{}, kGraphics, u8, u16>([]<kernel::Layout kLayout, class Sample>() {
    return AngleRow<Rule<Sample>, Sample, kernel::SamplesOf(kLayout)>;
});

/// One direction; of what is there already the larger one stays. A function of its own, so that the compiler sees one
/// loop at a time.
template <class Rule, class T, int kStep, int kDirection>
[[gnu::noinline]] void AddDirection(Row const& row, Rule const& constants, bool first) {
    Rule const rule = constants;
    T* const out = Out<T>(row.pOut);
    auto const in = [=](Neighbourhood<AreaSum<T>> const& n) { return rule.template In<kDirection>(n); };
    if (first) {
        ForNeighbourhoods<T, kStep>(row, in, [=](PairPlace at, auto which, auto v) { Store(which, out + at.i, v); });
    } else {
        ForNeighbourhoods<T, kStep>(row, in, [=](PairPlace at, auto which, auto v) {
            auto const larger = [](AreaSum<T> a, auto b) { return Max(a, static_cast<AreaSum<T>>(b)); };
            Store(which, out + at.i, ApplyToPair(larger, v, Load(which, out + at.i)));
        });
    }
}

template <class Rule, class T, int kStep>
void DirectionsRow(Row const& row, void const* constants) {
    Rule const& rule = *static_cast<Rule const*>(constants);
    bool first = true;
    auto const add = [&]<int kDirection>() {
        if ((rule.uDirections >> kDirection & 1) == 0) return;
        AddDirection<Rule, T, kStep, kDirection>(row, rule, first);
        first = false;
    };
    [&]<int... kDirection>(Indices<kDirection...>) {
        (add.template operator()<kDirection>(), ...);
    }
    (IndicesTo<kDirections>{});
}

template <template <class> class Rule>
constexpr auto kDirected = RowForms<Rule, With{}, kGraphics, u8, u16>([]<kernel::Layout kLayout, class Sample>() {
    return DirectionsRow<Rule<Sample>, Sample, kernel::SamplesOf(kLayout)>;
});

}  // namespace

kernel::Operation<Roberts, u8, u16> const g_oRoberts = kArea<Roberts, With{}, u8, u16>;
kernel::Operation<Sobel, u8, u16> const g_oSobel = kArea<Sobel, With{}, u8, u16>;
kernel::Operation<FourNeighbours, u8, u16> const g_oFourNeighbours = kArea<FourNeighbours, With{}, u8, u16>;
kernel::Operation<EightNeighbours, u8, u16> const g_oEightNeighbours = kArea<EightNeighbours, With{}, u8, u16>;
kernel::Operation<RobertsAngle, u8, u16> const g_oRobertsAngle = kAngles<RobertsAngle>;
kernel::Operation<SobelAngle, u8, u16> const g_oSobelAngle = kAngles<SobelAngle>;
kernel::Operation<Gradient, u8, u16> const g_oGradient = kDirected<Gradient>;
kernel::Operation<Relief, u8, u16> const g_oRelief = kDirected<Relief>;
kernel::Operation<Cleared, u8, u16> const g_oCleared = kPoint<Cleared, With{}, u8, u16>;

QZIL_ROWS_END
