#pragma once

#include "qzil/platform/api.h"

#include <array>
#include <cstdint>

/// A seeded generator of pseudo-random numbers: the minimal standard generator of Park and Miller (1988) with the
/// shuffle of Bays and Durham. Equal seeds give equal numbers on every machine for the uniform distribution; the others
/// pass through the logarithm and the power of the C library. Not for secrets.
class QZIL_API qzILRandomNumber {
public:
    QZIL_CLASS_NAME(qzILRandomNumber)
    virtual char const* GetActualClassName() const { return m_ClassName; }

    qzILRandomNumber() = default;
    qzILRandomNumber(qzILRandomNumber const&) = default;
    virtual ~qzILRandomNumber() = default;
    qzILRandomNumber& operator=(qzILRandomNumber const&) = default;

    /// As made.
    void Init() { *this = qzILRandomNumber(); }
    void Trash() {}
    /// Starts the sequence of a seed of 0 or more; 0 and 1 start the same one. A negative seed replaces the state of a
    /// running sequence without starting a new one.
    void SetFixedSeed(int seed);
    /// Starts a sequence by the clock, in seconds.
    void SetRandomSeed();

    /// Each of these chooses what `GetNumber` gives, and keeps its parameters; at first it is uniform.
    void SetUniform(float min, float max);
    void SetGaussian(float mean, float sigma);
    void SetExponential(float parameter);
    void SetWeibull(float scale, float shape);

    /// The next number of the chosen distribution.
    float GetNumber();

    /// From the minimum, 0 at first, to the maximum, 1 at first; below it, but for the rounding of wide ranges.
    float Uniform();
    /// Normal deviates, two for each two or more uniform ones. Draws by `Uniform` with its minimum and maximum as they
    /// stand: leave them at 0 and 1. The mean, when these never fall into the unit disc.
    float Gaussian();
    /// -ln(uniform / parameter): the parameter divides inside the logarithm, deliberately.
    float Exponential();
    /// (-ln(uniform) / scale) to the power of 1 / shape.
    float Weibull();

private:
    enum Distribution : std::int32_t { kUniform, kGaussian, kExponential, kWeibull };
    static constexpr int kTableSize = 32;

    void Step();
    void FillTable();

    std::int32_t m_iSeed = -1;
    std::array<std::int32_t, kTableSize> m_piTable{};
    std::int32_t m_eDistribution = kUniform;
    float m_fMean = 0;
    float m_fSigma = 1;
    float m_fMin = 0;
    float m_fMax = 1;
    float m_fExponential = 1;
    float m_fWeibullScale = 1;
    float m_fWeibullShape = 2;
    std::int32_t m_iLast = 0;
    bool m_bSpare = false;
    float m_fSpare = 0;
};
