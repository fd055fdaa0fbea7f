#include "qzil/field/field_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN
namespace {

using kernel::Row;

/// In floats of single precision, as samples are; differences of 16 bits take more than those hold.
template <class T>
QZIL_INLINE double Difference(T a, T b) {
    if constexpr (std::is_same_v<T, float>) {
        return __builtin_fabsf(a - b);
    } else {
        return Max(s32{a}, s32{b}) - Min(s32{a}, s32{b});
    }
}

/// Mixed by the motion; 16-bit sums take 64 bits.
template <class T>
QZIL_INLINE T Mixed(MotionMean<T> const& m, double motion, T inTime, T inSpace) {
    if (motion <= m.dfLow) return inTime;
    if (motion >= m.dfHigh) return inSpace;
    if constexpr (std::is_same_v<T, float>) {
        double const share = (motion - m.dfLow) / (m.dfHigh - m.dfLow);
        return static_cast<float>(inTime * (1.0 - share) + inSpace * share);
    } else {
        using Plain = qzILImageMath<qzILFormat<T>>;
        using Math = std::conditional_t<
            sizeof(T) == 1, qzILFixedPoint<Plain, 20>,
            std::conditional_t<std::is_signed_v<T>, qzILSignedFixedPoint<Plain, 31>, qzILFixedPoint<Plain, 31>>>;
        auto const weight = static_cast<typename Math::Sum>(static_cast<s64>(motion - m.dfLow) * m.iSlope);
        return Math::Interpolate(inTime, inSpace, weight);
    }
}

/// The luma that motion of RGBA is measured by.
template <class T>
QZIL_INLINE double LumaOf(MotionMean<T> const& m, T const* pixel) {
    if constexpr (std::is_same_v<T, float>) {
        return 0.299 * pixel[0] + 0.587 * pixel[1] + 0.114 * pixel[2];
    } else if constexpr (std::is_signed_v<T>) {
        // Of the least samples the sum leaves no room for the unit that a negative one is pulled down by.
        s64 const sum = s64{m.aLuma[0]} * pixel[0] + s64{m.aLuma[1]} * pixel[1] + s64{m.aLuma[2]} * pixel[2];
        return static_cast<double>((sum + (sum < 0 ? -65536 : 0) + 32768) >> 16);
    } else {
        u32 const sum = static_cast<u32>(m.aLuma[0]) * pixel[0] + static_cast<u32>(m.aLuma[1]) * pixel[1] +
                        static_cast<u32>(m.aLuma[2]) * pixel[2] + static_cast<u32>(m.aLuma[3]);
        return static_cast<T>(sum >> 16);
    }
}

/// Samples that are mixed by one motion: a mono sample, a pixel of RGBA, a pair of 4:2:2 or its half at a line's end.
template <class T, kernel::Layout kLayout>
QZIL_INLINE double Motion(MotionMean<T> const& m, T const* current, T const* comparison, int samples) {
    if constexpr (kLayout == kernel::Layout::Mono) {
        return Difference(*current, *comparison);
    } else if constexpr (kLayout == kernel::Layout::Rgba) {
        return __builtin_fabs(LumaOf(m, current) - LumaOf(m, comparison));
    } else {
        constexpr int kLuma = kLayout == kernel::Layout::ChromaFirst ? 1 : 0;
        auto const of = [=](int i) { return Difference(current[i], comparison[i]); };
        return samples == 4 ? Max(of(kLuma), of(kLuma + 2)) : of(kLuma);
    }
}

template <class T, kernel::Layout kLayout>
void MotionRow(Row const& row, MotionMean<T> const& rule) {
    MotionMean<T> const m = rule;
    T* const out = Out<T>(row.pOut);
    auto const* const above = In<T>(row.pA);
    auto const* const below = In<T>(row.pB);
    constexpr int kGroup = kLayout == kernel::Layout::Mono ? 1 : 4;
    int const samples = row.iSamples;
    for (int i = 0; i < samples; i += kGroup) {
        int const group = Min(kGroup, samples - i);
        double const motion = Motion<T, kLayout>(m, m.pCurrent + i, m.pComparison + i, group);
        for (int k = i; k < i + group; ++k) {
            out[k] = Mixed(m, motion, Mean(m.pCurrent[k], m.pComparison[k]), Mean(above[k], below[k]));
        }
    }
}

constexpr With kLines{.uLayouts = kGraphics | kVideo, .bHasChannels = false};

constexpr With In1(kernel::Layout layout) {
    With with = kLines;
    with.uLayouts = 1u << static_cast<int>(layout);
    return with;
}

template <class T>
constexpr auto MotionForms() {
    using kernel::Layout;
    return kStretch<MotionMean, T, MotionRow<T, Layout::Mono>, In1(Layout::Mono)> |
           kStretch<MotionMean, T, MotionRow<T, Layout::Rgba>, In1(Layout::Rgba)> |
           kStretch<MotionMean, T, MotionRow<T, Layout::LumaFirst>, In1(Layout::LumaFirst)> |
           kStretch<MotionMean, T, MotionRow<T, Layout::ChromaFirst>, In1(Layout::ChromaFirst)>;
}

}  // namespace

kernel::Operation<LineMean> const g_oLineMean = kCompose<LineMean, kLines>;
kernel::Operation<MotionMean> const g_oMotionMean =
    MotionForms<u8>() | MotionForms<u16>() | MotionForms<s16>() | MotionForms<float>();

QZIL_ROWS_END
