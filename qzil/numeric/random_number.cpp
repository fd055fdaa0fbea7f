#include "qzil/numeric/random_number.h"

#include <cmath>
#include <ctime>

namespace {

constexpr std::int32_t kMultiplier = 16807;
constexpr std::int32_t kModulus = 2147483647;
constexpr std::int32_t kSchrageQuotient = 127773;
constexpr std::int32_t kSchrageRemainder = 2836;
constexpr std::int32_t kTableDivisor = 67108864;
constexpr int kWarmUpSteps = 40;
constexpr float kReciprocal = 0x1p-31F;
constexpr float kLargestFraction = 0x1.fffffcp-1F;
/// By far more than uniform deviates of 0 to 1 ever need; others may never come to an end.
constexpr int kMaxPolarTries = 1 << 20;

/// The smallest number stays as it is.
std::int32_t Negated(std::int32_t value) {
    return static_cast<std::int32_t>(0U - static_cast<std::uint32_t>(value));
}

}  // namespace

void qzILRandomNumber::SetFixedSeed(int seed) {
    m_iSeed = Negated(seed);
}

void qzILRandomNumber::SetRandomSeed() {
    // The low 31 bits: a seed stored as a positive number would not start a sequence.
    m_iSeed = -static_cast<std::int32_t>(std::time(nullptr) & kModulus);
}

void qzILRandomNumber::SetUniform(float min, float max) {
    m_eDistribution = kUniform;
    m_fMin = min;
    m_fMax = max;
}

void qzILRandomNumber::SetGaussian(float mean, float sigma) {
    m_eDistribution = kGaussian;
    m_fMean = mean;
    m_fSigma = sigma;
}

void qzILRandomNumber::SetExponential(float parameter) {
    m_eDistribution = kExponential;
    m_fExponential = parameter;
}

void qzILRandomNumber::SetWeibull(float scale, float shape) {
    m_eDistribution = kWeibull;
    m_fWeibullScale = scale;
    m_fWeibullShape = shape;
}

float qzILRandomNumber::GetNumber() {
    switch (m_eDistribution) {
        case kUniform: return Uniform();
        case kGaussian: return Gaussian();
        case kExponential: return Exponential();
        default: return Weibull();
    }
}

/// Multiplies the seed by the multiplier, modulo the modulus, without leaving 32 bits for any seed: the remainder is
/// below the quotient in magnitude, and both products have the sign of the seed.
void qzILRandomNumber::Step() {
    std::int32_t const k = m_iSeed / kSchrageQuotient;
    m_iSeed = kMultiplier * (m_iSeed - k * kSchrageQuotient) - kSchrageRemainder * k;
    if (m_iSeed < 0) m_iSeed += kModulus;
}

void qzILRandomNumber::FillTable() {
    if (m_iSeed == 0) m_iSeed = 1;
    if (m_iSeed < 0) m_iSeed = Negated(m_iSeed);
    for (int j = kWarmUpSteps - 1; j >= 0; --j) {
        Step();
        if (j < kTableSize) m_piTable[j] = m_iSeed;
    }
    m_iLast = m_piTable[0];
}

float qzILRandomNumber::Uniform() {
    if (m_iSeed <= 0 || m_iLast == 0) FillTable();
    Step();
    // After a step every seed is 0 to the modulus, so the index is at most 31.
    std::int32_t const j = m_iLast / kTableDivisor;
    m_iLast = m_piTable[j];
    m_piTable[j] = m_iSeed;
    float fraction = static_cast<float>(m_iLast) * kReciprocal;
    if (fraction > kLargestFraction) fraction = kLargestFraction;
    return (m_fMax - m_fMin) * fraction + m_fMin;
}

float qzILRandomNumber::Gaussian() {
    if (m_bSpare) {
        m_bSpare = false;
        return m_fSigma * m_fSpare + m_fMean;
    }
    for (int i = 0; i < kMaxPolarTries; ++i) {
        float const u = 2 * Uniform() - 1;
        float const v = 2 * Uniform() - 1;
        float const r = u * u + v * v;
        if (!(r > 0 && r < 1)) continue;
        double const factor = std::sqrt(-2 * std::log(static_cast<double>(r)) / r);
        m_fSpare = static_cast<float>(u * factor);
        m_bSpare = true;
        return static_cast<float>(v * m_fSigma * factor + m_fMean);
    }
    return m_fMean;
}

float qzILRandomNumber::Exponential() {
    return static_cast<float>(-std::log(static_cast<double>(Uniform() / m_fExponential)));
}

float qzILRandomNumber::Weibull() {
    double const scaled = std::log(static_cast<double>(Uniform())) * (-1.0 / m_fWeibullScale);
    return static_cast<float>(std::pow(scaled, 1.0 / m_fWeibullShape));
}
