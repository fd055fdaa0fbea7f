#include "qzil/spatial/blur_filters.h"

#include "qzil/image/pixel_math.h"
#include "qzil/spatial/filter_passes.h"
#include "qzil/spatial/filter_rows.h"

#include <algorithm>
#include <cmath>

using namespace qzil;

namespace {

s32 Fixed(double value) {
    return RoundHalfAway(value * 65536.0);
}

/// One pass over the channels of a line side by side.
template <class Sample, class Filter>
void RunLine(Filter const& filter, FilterFunctions<Sample> const& functions, bool mono8, unsigned channels,
             unsigned length, Sample const* source, Sample* target) {
    std::ptrdiff_t const step = channels;
    FunctionFor(filter, functions)(
        {source, step, target, step, PlacesOf(length), PlacesOf(filter.GetReach()), static_cast<int>(channels)},
        RowFilterOf<Sample>(filter, mono8, false));
}

}  // namespace

void qzILBlur2Pass1D::SetSpread(double spread) {
    m_dfSpread = spread;
    ParametersHaveChanged();
}

void qzILBlur2Pass1D::SetReach(unsigned reach) {
    m_uReach = reach;
    ParametersHaveChanged();
}

void qzILBlur2Pass1D::ExecuteRGBA(unsigned length, short* line, short* scratch) {
    if (!IsActive() || length < m_uReach) return;
    Execute1PassRGBA(length, line, scratch);
    Execute1PassRGBA(length - m_uReach, scratch, line + std::size_t{4} * m_uReach);
}

void qzILBlur2Pass1D::ExecuteRGBA2Rows(unsigned length, short* lineA, short* lineB, short* scratchA, short* scratchB) {
    ExecuteRGBA(length, lineA, scratchA);
    ExecuteRGBA(length, lineB, scratchB);
}

qzILBlurIIR1D::qzILBlurIIR1D(double spread, unsigned reach) : qzILBlur2Pass1D(spread, reach), m_oCoefficients{} {
    qzILBlurIIR1D::ParametersHaveChanged();
}

void qzILBlurIIR1D::ParametersHaveChanged() {
    double const s = m_dfSpread;
    if (m_uReach == 0 || s <= 0.0) return;
    ExponentialCoefficients& c = m_oCoefficients;
    double const exact = (std::sqrt(8.0 * s * s + 4.0) - 2.0) / (2.0 * s * s);
    // Of a spread whose square is lost beside 4 nothing is left; the pole goes to 1, which filters nothing.
    double const pole = exact > 0.0 ? exact : 1.0;
    c.dfDecay = 1.0 - pole;
    double const cut = std::pow(c.dfDecay, m_uReach + 1.0);
    c.dfEnter = pole / (1.0 - cut);
    c.dfLeave = pole * cut / (1.0 - cut);
    c.iEnter = Fixed(c.dfEnter);
    c.iDecay = Fixed(c.dfDecay);
    c.iLeave = Fixed(c.dfLeave);
}

void qzILBlurIIR1D::Execute1PassRGBA(unsigned length, short* source, short* target) {
    RunLine(*this, GetFilterRows().oFixedAny, false, 4, length, source, target);
}

void qzILBlurIIR1D::Execute1PassMONO8(unsigned length, short* source, short* target) {
    RunLine(*this, GetFilterRows().oFixedAny, true, 1, length, source, target);
}

void qzILBlurIIR1D::Execute1Pass(unsigned channels, unsigned length, float* source, float* target) {
    RunLine(*this, GetFilterRows().oDoubleAny, false, channels, length, source, target);
}

qzILBlurUniformIIR1D::qzILBlurUniformIIR1D(double spread, unsigned reach)
    : qzILBlur2Pass1D(spread, reach), m_oCoefficients{} {
    qzILBlurUniformIIR1D::ParametersHaveChanged();
}

void qzILBlurUniformIIR1D::ParametersHaveChanged() {
    double const s = m_dfSpread, n = m_uReach;
    if (m_uReach == 0 || s <= 0.0) return;
    UniformCoefficients& c = m_oCoefficients;
    // The constants are an empirical fit of the shape to a Gaussian.
    double const box = s < 5.3 ? std::max(s * 1.38 - 0.28, 0.0) : (s - 5.3) * 1.61 + 7.033999999999999;
    c.dfBox = box > n ? n : box;
    c.dfDecay = std::exp(-1.83 / s);
    c.uBox = TruncateTo<unsigned>(c.dfBox, 0.0, n);
    double const whole = c.uBox;
    c.dfEnter = c.dfDecay > 0.0 ? std::exp(std::log(c.dfDecay) * (1.0 - (c.dfBox - whole))) : 0.0;
    c.dfLeave = c.dfEnter * std::pow(c.dfDecay, n - whole);
    double tail = 0.0;
    for (unsigned k = c.uBox; k < m_uReach; ++k) {
        double const next = tail * c.dfDecay + c.dfEnter;
        // It only grows, and stays the same for ever once it does so.
        if (!(next > tail)) break;
        tail = next;
    }
    c.dfNorm = tail + (whole + 1.0);
    c.dfEnter /= c.dfNorm;
    c.dfLeave /= c.dfNorm;
    c.iDecay = Fixed(c.dfDecay);
    c.iEnter = Fixed(c.dfEnter);
    c.iLeave = Fixed(c.dfLeave);
    c.iShare = Fixed(1.0 / c.dfNorm);
}

void qzILBlurUniformIIR1D::Execute1PassRGBA(unsigned length, short* source, short* target) {
    RunLine(*this, GetFilterRows().oFixedAny, false, 4, length, source, target);
}

void qzILBlurUniformIIR1D::Execute1PassMONO8(unsigned length, short* source, short* target) {
    RunLine(*this, GetFilterRows().oFixedAny, true, 1, length, source, target);
}

void qzILBlurUniformIIR1D::Execute1Pass(unsigned channels, unsigned length, float* source, float* target) {
    RunLine(*this, GetFilterRows().oDoubleAny, false, channels, length, source, target);
}
