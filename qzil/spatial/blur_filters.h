#pragma once

#include "qzil/platform/api.h"

#include <cstdint>

/// A one-dimensional filter of finite reach, applied once in each direction. A pass reads `length` pixels and writes
/// `length - reach` of them in reverse order: input i goes to output length - 1 - i. The first `reach` inputs warm the
/// filter up, whose state starts at zero, so that no rule for borders is needed. Two passes give a symmetric response.
/// A sample that is not a number makes all outputs of its sequence behind it so. A spread that is not a number is none.
class QZIL_API qzILBlur2Pass1D {
public:
    virtual ~qzILBlur2Pass1D() = default;

    /// Both passes over a line of four interleaved channels; `scratch` takes length - reach pixels. The result, in
    /// natural order, starts at pixel `reach` of the line and has length - 2 * reach pixels. Without a spread above 0
    /// and a reach nothing happens.
    virtual void ExecuteRGBA(unsigned length, short* line, short* scratch);
    virtual void ExecuteRGBA2Rows(unsigned length, short* lineA, short* lineB, short* scratchA, short* scratchB);
    /// Derives the coefficients from spread and reach.
    virtual void ParametersHaveChanged() = 0;
    /// One pass over four interleaved channels, in fixed point.
    virtual void Execute1PassRGBA(unsigned length, short* source, short* target) = 0;
    virtual void Execute1PassRGBA2Rows_SSE2(unsigned, short*, short*, short*, short*) {}
    /// One pass over up to four interleaved channels, in double.
    virtual void Execute1Pass(unsigned channels, unsigned length, float* source, float* target) = 0;
    virtual void Execute1PassRGBA_SSE2(unsigned, float*, float*) {}
    /// One pass over a single channel, in fixed point.
    virtual void Execute1PassMONO8(unsigned length, short* source, short* target) = 0;
    virtual int Convolve2PassFloatVerticalPass_SSE2(unsigned char*, int, int, int, float*, int, int) { return 0; }
    virtual int Convolve2PassFloatVerticalPass_SSE2(unsigned short*, int, int, int, float*, int, int) { return 0; }
    virtual int Convolve2PassFloatVerticalPass_SSE2(float*, int, int, int, float*, int, int) { return 0; }
    virtual int Convolve2PassFloatVerticalPass_SSE2(short*, int, int, int, float*, int, int) { return 0; }

    /// Spread: standard deviation in pixels. Reach: pixels; a line that is shorter is left as it is.
    void SetSpread(double spread);
    void SetReach(unsigned reach);
    double GetSpread() const { return m_dfSpread; }
    unsigned GetReach() const { return m_uReach; }
    bool IsActive() const { return m_dfSpread > 0.0 && m_uReach != 0; }

protected:
    explicit qzILBlur2Pass1D(double spread = 0.0, unsigned reach = 0) : m_dfSpread(spread), m_uReach(reach) {}

    double m_dfSpread;
    unsigned m_uReach;
};

namespace qzil {

/// y := decay * y + enter * x[i] - leave * x[i - reach - 1], with the factors in double and in 16.16.
struct ExponentialCoefficients {
    double dfEnter, dfDecay, dfLeave;
    std::int32_t iEnter, iDecay, iLeave;
};

/// A box of whole samples, the one at i included, and a decaying tail up to the reach; q is the sample that has left
/// the box, i - box - 1. sum := sum + (x[i] - x[q]) / norm; tail := decay * tail + enter * x[q] - leave * x[i - reach -
/// 1]; the output is sum + tail.
struct UniformCoefficients {
    double dfBox;   ///< the length of the box, with a fraction
    unsigned uBox;  ///< its whole part
    double dfDecay, dfEnter, dfLeave, dfNorm;
    std::int32_t iDecay, iEnter, iLeave;
    std::int32_t iShare;  ///< 1 / norm
};

}  // namespace qzil

/// A decaying exponential, cut at the reach: its sum is exactly 1, and both passes together have the variance of the
/// spread.
class QZIL_API qzILBlurIIR1D : public qzILBlur2Pass1D {
public:
    qzILBlurIIR1D(double spread = 0.0, unsigned reach = 0);

    void ParametersHaveChanged() override;
    void Execute1PassRGBA(unsigned length, short* source, short* target) override;
    void Execute1Pass(unsigned channels, unsigned length, float* source, float* target) override;
    /// Deliberately takes the delayed sample two places nearer than the other passes.
    void Execute1PassMONO8(unsigned length, short* source, short* target) override;
    qzil::ExponentialCoefficients const& GetCoefficients() const { return m_oCoefficients; }

private:
    qzil::ExponentialCoefficients m_oCoefficients;
};

/// A flat box with an exponential tail, fitted to a Gaussian of the spread.
class QZIL_API qzILBlurUniformIIR1D : public qzILBlur2Pass1D {
public:
    qzILBlurUniformIIR1D(double spread = 0.0, unsigned reach = 0);

    void ParametersHaveChanged() override;
    void Execute1PassRGBA(unsigned length, short* source, short* target) override;
    void Execute1Pass(unsigned channels, unsigned length, float* source, float* target) override;
    void Execute1PassMONO8(unsigned length, short* source, short* target) override;
    qzil::UniformCoefficients const& GetCoefficients() const { return m_oCoefficients; }

private:
    qzil::UniformCoefficients m_oCoefficients;
};
