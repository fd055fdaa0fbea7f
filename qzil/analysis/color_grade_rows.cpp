#include "qzil/analysis/color_grade_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN
namespace {

using kernel::Row;

/// The entry for a distance from 0 to the length, which ends both.
template <class T>
QZIL_INLINE double Entry(RampEntries<T> const& g, double distance) {
    if (!(distance > 0.0)) return 0.0;
    return distance >= g.dfLength ? g.dfLast : Min(__builtin_trunc(distance), g.dfLast);
}

template <class T, int kSamples, class EntryOf>
QZIL_INLINE void Fill(Row const& row, RampEntries<T> const& g, EntryOf entryOf) {
    T* const out = Out<T>(row.pOut);
    T const* const table = g.pTable;
    double const x0 = row.iX - g.dfX, first = g.dfTableFirst;
    for (int i = 0; i < row.iPixels; ++i) {
        T const* const pixel = table + kSamples * static_cast<s64>(entryOf(x0 + i) - first);
        for (int k = 0; k < kSamples; ++k) out[kSamples * i + k] = pixel[k];
    }
}

template <class T, int kSamples>
QZIL_INLINE void GradientLine(Row const& row, RampEntries<T> const& rule) {
    RampEntries<T> const g = rule;
    double const v = row.iY - g.dfY;
    switch (g.eShape) {
        case GradeShape::AlongX:
            return Fill<T, kSamples>(row, g, [=](double u) { return Entry(g, g.dfDx < 0.0 ? -u : u); });
        case GradeShape::AlongY:
            return Fill<T, kSamples>(row, g, [=](double) { return Entry(g, g.dfDy < 0.0 ? -v : v); });
        case GradeShape::AlongVector: {
            double const square = g.dfDx * g.dfDx + g.dfDy * g.dfDy;
            return Fill<T, kSamples>(row, g, [=](double u) {
                double const place = (u * g.dfDx + v * g.dfRatio * g.dfDy) / square;
                return place >= 1.0 ? g.dfLast : Entry(g, place * g.dfLength);
            });
        }
        case GradeShape::Radial: {
            double const square = g.dfDx * g.dfDx + g.dfDy * g.dfDy, w = v * g.dfRatio;
            return Fill<T, kSamples>(row, g, [=](double u) {
                double const distance = u * u + w * w;
                return distance < square ? Min(__builtin_trunc(__builtin_sqrt(distance)), g.dfLast) : g.dfLast;
            });
        }
    }
}

template <class T>
void GradientRow(Row const& row, RampEntries<T> const& rule) {
    row.iSamples == row.iPixels ? GradientLine<T, 1>(row, rule) : GradientLine<T, 4>(row, rule);
}

QZIL_INLINE double Place(double distance, double last) {
    return distance > 0.0 ? Min(distance, last) / last : 0.0;
}

template <class T>
void CornersRow(Row const& row, RampCorners<T> const& c) {
    T* const out = Out<T>(row.pOut);
    int const samples = row.iSamples / row.iPixels;
    double const up = Place(row.iY - c.dfY, c.dfLastY);
    double left[4], right[4];
    for (int k = 0; k < 4; ++k) {
        left[k] = c.aLowerLeft[k] + (c.aUpperLeft[k] - c.aLowerLeft[k]) * up;
        right[k] = c.aLowerRight[k] + (c.aUpperRight[k] - c.aLowerRight[k]) * up;
    }
    for (int i = 0; i < row.iPixels; ++i) {
        double const along = Place(row.iX + i - c.dfX, c.dfLastX);
        for (int k = 0; k < samples; ++k) {
            out[samples * i + k] = Truncated<T>(left[k] + (right[k] - left[k]) * along);
        }
    }
}

template <class T>
void FlatRow(Row const& row, RampFlat<T> const& rule) {
    T* const out = Out<T>(row.pOut);
    int const samples = row.iSamples / row.iPixels;
    for (int i = 0; i < row.iPixels; ++i) {
        for (int k = 0; k < samples; ++k) out[samples * i + k] = rule.oColor.aValues[k];
    }
}

constexpr With kMade{.uLayouts = kGraphics, .bHasChannels = false, .bPolls = false};

}  // namespace

kernel::Operation<RampEntries, u8, u16> const g_oRampEntries =
    kStretch<RampEntries, u8, GradientRow<u8>, kMade> | kStretch<RampEntries, u16, GradientRow<u16>, kMade>;
kernel::Operation<RampCorners, u8, u16> const g_oRampCorners =
    kStretch<RampCorners, u8, CornersRow<u8>, kMade> | kStretch<RampCorners, u16, CornersRow<u16>, kMade>;
kernel::Operation<RampFlat, u8, u16> const g_oRampFlat =
    kStretch<RampFlat, u8, FlatRow<u8>, kMade> | kStretch<RampFlat, u16, FlatRow<u16>, kMade>;

QZIL_ROWS_END
