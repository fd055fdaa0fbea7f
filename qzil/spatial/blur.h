#pragma once

#include "qzil/spatial/convolve.h"

using qzILBlurType = std::uint32_t;
inline constexpr qzILBlurType qzILBlurTypeEllipse = 1;           ///< a flat ellipse
inline constexpr qzILBlurType qzILBlurTypeGauss = 2;             ///< a Gaussian, cut at the radius
inline constexpr qzILBlurType qzILBlurTypeUniform = 3;           ///< the mean of a rectangle
inline constexpr qzILBlurType qzILBlurTypeExponential = 4;       ///< recursive, in fixed point at 8 bits
inline constexpr qzILBlurType qzILBlurTypeExponentialFloat = 5;  ///< recursive, in double
inline constexpr qzILBlurType qzILBlurTypeFastGauss = 6;         ///< recursive; up to radius 4 as type 2
inline constexpr qzILBlurType qzILBlurTypeFastGaussFloat = 7;    ///< recursive, in double

/// Blurs. The whole part of the radius is the reach; the standard deviation of types 2 and 4 to 7 is radius x degree.
/// In type 1 a smaller degree keeps more of the centre; type 3 ignores it. A degree of 0, or both radii below 1,
/// copies. The time that types 3 to 7 take does not grow with the radius.
///
/// Type 1 at first; degree 0 to 1, 1.0 at first. Formats: MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_MONO_RAW_8 and
/// MFIF_MONO_RAW_16, for types 3 to 7 MFIF_RGBA_S2_14, MFIF_MONO_S2_14, MFIF_RGBA_FLOAT, MFIF_RGBA_FLOAT_BU,
/// MFIF_MONO_FLOAT and MFIF_MONO_FLOAT_BU, too. Mono ignores the channel bits. In 8 bits, the kernels and the recursive
/// filters in fixed point mix by the table of products under a mask, all others by the 257 mix.
///
/// In float formats type 3 carries a sample that is not finite on to all lines of higher y, and along each to all
/// higher x; types 4 to 7 carry it through its whole column and from there through all lines. A degree that is not a
/// number passes Verify: kernels then give 0, types 3 to 7 ignore it.
///
/// Verify adds 0x10024 for another type and 0x10026 for a degree outside (NaN passes): both are reported even where an
/// earlier check has failed. A radius that is not a number is 0x10023, one whose kernel does not fit memory 0x10001.
class QZIL_API qzILBlurImg : public qzILConvolveImg {
    QZIL_EFFECT_CLASS(qzILBlurImg)
public:
    qzILBlurImg() { Init(); }
    ~qzILBlurImg() override { Trash(); }

    static std::span<GUID const> GetFormats();
    qzILStatus Execute() override;
    qzILStatus Verify() override;
    qzILStatus PrepareData() override;
    qzILStatus CleanData() override;
    qzILStatus DoEffect() override;
    bool IsFormatSupported() const override;
    bool IsKernelSeparable() override;
    qzILStatus SeparateKernel(float* x, float* y) override;

    void Init();
    void Trash() { FreeKernel(); }
    void SetType(qzILBlurType type) { m_uType = type; }
    qzILBlurType GetType() const { return m_uType; }
    void SetDegree(float degree) { m_fDegree = degree; }
    float GetDegree() const { return m_fDegree; }

    /// Both whole radii are at most 4.
    bool IsConvolutionFasterThanFastGauss() const;
    /// Make and drop the kernel that the type runs with; 0x10001 without memory.
    qzILStatus BuildKernel();
    void FreeKernel();

    qzILStatus Convolve2PassRGBA(qzILBlurType type) { return RunFixed(type); }
    qzILStatus Convolve2PassMONO8(qzILBlurType type) { return RunFixed(type); }
    qzILStatus UConvolve_SSE2() const { return 1; }
    qzILStatus UConvolveMMX() const { return 1; }

protected:
    qzILBlurType m_uType;
    float m_fDegree;

private:
    bool RunsAsKernel() const;
    void BuildEllipse(float* taps) const;
    void BuildGauss(float* taps) const;
    qzILStatus RunBox();
    qzILStatus RunFixed(qzILBlurType type);
    template <class Sample, class Operation>
    qzILStatus RunRecursive(Operation const& operation, qzILBlurType type);
};
