#include "catalog/effect.h"
#include "qzil/analysis/color_grade.h"
#include "qzil/analysis/histogram.h"

#include <algorithm>
#include <array>

namespace qzil::catalog {

namespace {

/// The effect with histograms of its own, all over one range.
struct Histogram : qzILHistoImg {
    std::array<qzILHistogram, 7> aoHistograms;
    long iBins = 256;
    double dfLower = 0.0, dfUpper = 1.0;

    Histogram() {
        m_uMatrix = 0;
        SetRange();
        m_pChannel0 = &aoHistograms[0];
        m_pChannel1 = &aoHistograms[1];
        m_pChannel2 = &aoHistograms[2];
        m_pChannel3 = &aoHistograms[3];
        m_pAverage = &aoHistograms[4];
        m_pLuma = &aoHistograms[5];
        m_pComposite = &aoHistograms[6];
    }
    /// A range that is none leaves histograms without bins, which Verify refuses.
    void SetRange() {
        for (std::size_t i = 0; i < aoHistograms.size(); ++i) {
            bool const composite = i == 6;
            double const lower = composite ? 0.0 : dfLower, upper = composite ? 1.0 : dfUpper;
            double const width = (upper - lower) / static_cast<double>(iBins);
            if (aoHistograms[i].SetHistoRange(width, lower, upper) != 1) aoHistograms[i].Reset();
        }
    }
    void SetBins(int bins) {
        iBins = bins;
        SetRange();
    }
    void SetBounds(std::vector<double> const& bounds) {
        dfLower = bounds[0];
        dfUpper = bounds[1];
        SetRange();
    }
    void SetMatrix(unsigned matrix) { m_uMatrix = matrix; }
    void SetSetup(double setup) { m_fSetup = static_cast<float>(setup); }
    /// 0 asks the format, which RGBA does not tell.
    qzILStatus Verify() override {
        bool const rgba = m_pInputImg && !IsFormatYCC(qzILImageHelper(m_pInputImg).m_oFormat);
        unsigned const matrix = m_uMatrix;
        if (rgba && matrix == 0) m_uMatrix = XFColorModelYCC601;
        qzILStatus const status = qzILHistoImg::Verify();
        m_uMatrix = matrix;
        return status;
    }

    template <int kIndex>
    std::vector<double> Bins() const {
        qzILHistogram const& one = aoHistograms[kIndex];
        return {one.GetBins(), one.GetBins() + one.GetSize()};
    }
};

/// The effect takes start and direction, and colours and positions, together.
struct Ramp : qzILColorGradeImg {
    qzILVector2l oStart, oDirection{256, 128};
    std::array<qzILColor, 3> aoColors;
    std::vector<double> oStops{0.0, 50.0, 99.0};

    void SetStart(qzILVector2l const& start) {
        oStart = start;
        SetVector(oStart.x, oStart.y, oDirection.x, oDirection.y);
    }
    void SetDirection(qzILVector2l const& direction) {
        oDirection = direction;
        SetVector(oStart.x, oStart.y, oDirection.x, oDirection.y);
    }
    template <int kIndex>
    void SetColor(qzILColor const& color) {
        aoColors[kIndex] = color;
        SetStops(oStops);
    }
    void SetStops(std::vector<double> const& stops) {
        oStops = stops;
        int const weights[] = {static_cast<int>(stops[0]), static_cast<int>(stops[1]), static_cast<int>(stops[2])};
        SetColors(aoColors.data(), weights, 3);
    }
    void SetInvert(int invert) { SetInvertFlag(invert != 0); }
};

}  // namespace

std::vector<Entry> AnalysisEffects() {
    std::vector<catalog::Choice> const matrices{
        {"format", 0}, {"601", XFColorModelYCC601}, {"709", XFColorModelYCC709}};
    return {
        Effect<Histogram>("histogram", "analysis", "Counts how often each level occurs, as shares of the pixels")
            .Input("input", &Histogram::SetInputImg)
            .Integer("bins", &Histogram::SetBins, {2, 65534}, "256", "number of bins")
            .Numbers("range", &Histogram::SetBounds, {-100.0, 100.0}, "0,1", "lower and upper end of the levels")
            .Choice("model", &Histogram::SetMatrix, matrices, "format",
                    "luma of Rec. 601 or 709; RGB is taken as 601 unless told otherwise")
            .Real("setup", &Histogram::SetSetup, {0.0, 50.0}, "7.5", "black level of the composite signal", "IRE")
            .Open()
            .Result("red", &Histogram::Bins<0>, "shares of the first channel's levels")
            .Result("green", &Histogram::Bins<1>, "of the second channel's")
            .Result("blue", &Histogram::Bins<2>, "of the third channel's")
            .Result("alpha", &Histogram::Bins<3>, "of alpha")
            .Result("average", &Histogram::Bins<4>, "of the mean of the three channels")
            .Result("luma", &Histogram::Bins<5>, "of luma")
            .Result("composite", &Histogram::Bins<6>,
                    "of the composite signal's swing, -30 to 110 IRE as 0 to 1, two for each pixel"),

        Effect<Ramp>("ramp", "analysis", "Makes a gradient along a vector, around a point, or between four corners")
            // What lies wholly before or behind the gradient is rounded, the gradient itself truncated.
            .RegionMatters([](std::span<Value const>, GUID const&) { return true; })
            .Choice("type", &Ramp::SetType,
                    {{"linear", qzILRampLinear}, {"radial", qzILRampRadial}, {"square", qzILRampSquare}}, "linear",
                    "along the vector, by the distance from where it starts, or over the rectangle that it spans")
            .Point("from", &Ramp::SetStart, "0,0", "where the gradient starts, y from the bottom")
            .Point("vector", &Ramp::SetDirection, "256,128", "way from there to the end, y upward")
            .Real("ratio", &Ramp::SetRatio, {0.01, 100.0}, "1", "by which distances in y count")
            .Open()
            .Flag("invert", &Ramp::SetInvert, "off", "runs from the last colour to the first")
            .Color("color-1", &Ramp::SetColor<0>, "0,0,0,1", "colour of the first stop")
            .Color("color-2", &Ramp::SetColor<1>, "0.5,0.5,0.5,1", "colour of the second stop")
            .Color("color-3", &Ramp::SetColor<2>, "1,1,1,1", "colour of the third stop")
            .Numbers("stops", &Ramp::SetStops, {0.0, 99.0}, "0,50,99", "places of the stops, rising", "per cent")
            .Color("upper-left", &Ramp::SetColorUL, "1,0,0,1", "corner of the square type")
            .Color("upper-right", &Ramp::SetColorUR, "0,0,0,1", "corner of the square type")
            .Color("lower-right", &Ramp::SetColorLR, "1,1,1,1", "corner of the square type")
            .Color("lower-left", &Ramp::SetColorLL, "0,0,1,1", "corner of the square type"),
    };
}

}  // namespace qzil::catalog
