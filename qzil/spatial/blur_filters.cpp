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

/// Channels of a line side by side.
template <class Sample>
FilterPass<Sample> LinePass(unsigned channels, unsigned length, unsigned reach, Sample const* source, Sample* target) {
    std::ptrdiff_t const step = channels;
    return {source, step, target, step, static_cast<int>(length), static_cast<int>(reach), static_cast<int>(channels)};
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
    if (!IsActive()) return;
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
    IirCoefficients& c = m_oCoefficients;
    double const pole = (std::sqrt(8.0 * s * s + 4.0) - 2.0) / (2.0 * s * s);
    c.dfB = 1.0 - pole;
    double const cut = std::pow(c.dfB, m_uReach + 1.0);
    c.dfA = pole / (1.0 - cut);
    c.dfC = pole * cut / (1.0 - cut);
    c.iA = Fixed(c.dfA);
    c.iB = Fixed(c.dfB);
    c.iC = Fixed(c.dfC);
}

void qzILBlurIIR1D::Execute1PassRGBA(unsigned length, short* source, short* target) {
    GetFilterRows().pIirAny(LinePass(4, length, m_uReach, source, target), FixedFilterOf(*this, false));
}

void qzILBlurIIR1D::Execute1PassMONO8(unsigned length, short* source, short* target) {
    GetFilterRows().pIirAny(LinePass(1, length, m_uReach, source, target), FixedFilterOf(*this, true));
}

void qzILBlurIIR1D::Execute1Pass(unsigned channels, unsigned length, float* source, float* target) {
    GetFilterRows().pIirDoubleAny(LinePass(channels, length, m_uReach, source, target), DoubleFilterOf(*this, false));
}

qzILBlurUniformIIR1D::qzILBlurUniformIIR1D(double spread, unsigned reach)
    : qzILBlur2Pass1D(spread, reach), m_oCoefficients{} {
    qzILBlurUniformIIR1D::ParametersHaveChanged();
}

void qzILBlurUniformIIR1D::ParametersHaveChanged() {
    double const s = m_dfSpread, n = m_uReach;
    if (m_uReach == 0 || s <= 0.0) return;
    UniformIirCoefficients& c = m_oCoefficients;
    // The constants are an empirical fit of the shape to a Gaussian.
    double const box = s < 5.3 ? std::max(s * 1.38 - 0.28, 0.0) : (s - 5.3) * 1.61 + 7.033999999999999;
    c.dfBox = box > n ? n : box;
    c.dfR = std::exp(-1.83 / s);
    c.uQ = TruncateTo<unsigned>(c.dfBox, 0.0, n);
    double const q = c.uQ;
    c.dfG1 = c.dfR > 0.0 ? std::exp(std::log(c.dfR) * (1.0 - (c.dfBox - q))) : 0.0;
    c.dfG2 = c.dfG1 * std::pow(c.dfR, n - q);
    double tail = 0.0;
    for (unsigned k = c.uQ + 1; k <= m_uReach; ++k) tail = tail * c.dfR + c.dfG1;
    c.dfN = tail + (q + 1.0);
    c.dfG1 /= c.dfN;
    c.dfG2 /= c.dfN;
    c.iR = Fixed(c.dfR);
    c.iG1 = Fixed(c.dfG1);
    c.iG2 = Fixed(c.dfG2);
    c.iOneByN = Fixed(1.0 / c.dfN);
}

void qzILBlurUniformIIR1D::Execute1PassRGBA(unsigned length, short* source, short* target) {
    GetFilterRows().pUniformIirAny(LinePass(4, length, m_uReach, source, target), FixedFilterOf(*this, false));
}

void qzILBlurUniformIIR1D::Execute1PassMONO8(unsigned length, short* source, short* target) {
    GetFilterRows().pUniformIirAny(LinePass(1, length, m_uReach, source, target), FixedFilterOf(*this, true));
}

void qzILBlurUniformIIR1D::Execute1Pass(unsigned channels, unsigned length, float* source, float* target) {
    GetFilterRows().pUniformIirDoubleAny(LinePass(channels, length, m_uReach, source, target),
                                         DoubleFilterOf(*this, false));
}
