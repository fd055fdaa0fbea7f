#pragma once

#include "qzil/frame/spatial.h"

#include <functional>

// Effects on the 3 x 3 pixels around each pixel. All take MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_MONO_RAW_8 and
// MFIF_MONO_RAW_16, channel by channel; the neighbourhood is 3 x 3 whatever the radius. A mask mixes toward the result
// by the table of products at 8 bits, by the 16-bit mix otherwise. Mono ignores the channel bits.

/// What an edge detector writes: the strength of an edge, or its direction.
using qzILEdgeDetectType = std::uint32_t;
inline constexpr qzILEdgeDetectType qzILEdgeDetectTypeMagnitude = 1;
inline constexpr qzILEdgeDetectType qzILEdgeDetectTypeAngle = 2;

namespace qzil {

/// What all 3 x 3 effects share. Verify adds 0x1000D for other formats.
class QZIL_API Effect3x3 : public qzILMonadicSpatialProc {
public:
    static std::span<GUID const> GetFormats();
    qzILStatus Verify() override;
    void Init() { SetRadius(1.0f); }

protected:
    Effect3x3() { Init(); }
    int LeastReach() const override { return 1; }

    /// Runs what writes the output; of every sample the larger one stays, of that and what the output held before.
    qzILStatus AddToOutput(std::function<qzILStatus()> const& run);
    /// Writes 0 to the selected channels; the centre pixel to the others, and where the mask is 0.
    qzILStatus ClearOutput();
};

/// What the detectors share: edge sensitivity, 0 to 1, 1.0 at first, and bias, 0 to 1, 0.0 at first, in units of full
/// scale F. With v the response of the kernels, the result is 0 for v <= round((1 - sensitivity) * F), otherwise
/// v + round(bias * F), limited to 0..F. Verify: 0x1002A and 0x10029 for values outside (NaN passes; the threshold
/// or the bias is then 0).
class QZIL_API EdgeDetector : public Effect3x3 {
public:
    void SetEdgeSensitivity(double sensitivity) { m_dfEdgeSensitivity = sensitivity; }
    double GetEdgeSensitivity() const { return m_dfEdgeSensitivity; }
    void SetBias(double bias) { m_dfBias = bias; }
    double GetBias() const { return m_dfBias; }
    void Init();

protected:
    EdgeDetector() { Init(); }

    /// Runs a rule of Detection, by the levels.
    template <template <class> class Rule>
    qzILStatus Detect(qzil::kernel::Operation<Rule, unsigned char, unsigned short> const& operation);

    double m_dfEdgeSensitivity;
    double m_dfBias;
};

/// A detector by the differences gx from left to right and gy between the lines of lower and of higher y.
///
/// Type 1, the default: the response is |gx| + |gy|; with a sensitivity of exactly 0 the output is cleared. Type 2: the
/// angle of (gx, gy) as a full circle of 255, rounded; where gx is 0 it is 0, 64, or the low bits of -65. Sensitivity
/// and bias play no part then. Verify adds 0x10049 for another type.
class QZIL_API SlopeDetector : public EdgeDetector {
public:
    qzILStatus Verify() override;
    void SetType(qzILEdgeDetectType type) { m_uType = type; }
    qzILEdgeDetectType GetType() const { return m_uType; }
    qzILStatus ClearOutput8() { return ClearOutput(); }
    qzILStatus ClearOutput16() { return ClearOutput(); }
    void Init() { m_uType = qzILEdgeDetectTypeMagnitude; }

protected:
    SlopeDetector() { Init(); }

    qzILEdgeDetectType m_uType;
};

}  // namespace qzil

/// Edges by slopes with all weights 1.
class QZIL_API qzILRobertsImg : public qzil::SlopeDetector {
    QZIL_EFFECT_CLASS(qzILRobertsImg)
public:
    qzILRobertsImg() { Init(); }

    qzILStatus DoEffect() override;
    void Init() {}

    qzILStatus Roberts8();
    qzILStatus Roberts16() { return Roberts8(); }
    qzILStatus RobertsAngle8();
    qzILStatus RobertsAngle16() { return RobertsAngle8(); }
};

/// Edges by slopes whose middle samples are halved, each one truncated.
class QZIL_API qzILSobelImg : public qzil::SlopeDetector {
    QZIL_EFFECT_CLASS(qzILSobelImg)
public:
    qzILSobelImg() { Init(); }

    qzILStatus DoEffect() override;
    void Init() {}

    qzILStatus Sobel8();
    qzILStatus Sobel16() { return Sobel8(); }
    qzILStatus SobelAngle8();
    qzILStatus SobelAngle16() { return SobelAngle8(); }
};

/// The second derivative. Type 1, the default: 4 times the centre less its neighbours above, below, right and left;
/// type 2: 8 times the centre less all eight. A sensitivity of exactly 0 clears the output. Only positive responses
/// show. Verify adds 0x10027 for another type.
class QZIL_API qzILLaplaceImg : public qzil::EdgeDetector {
    QZIL_EFFECT_CLASS(qzILLaplaceImg)
public:
    qzILLaplaceImg() { Init(); }

    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    void Init() { m_iType = 1; }
    void SetType(int type) { m_iType = type; }
    int GetType() const { return m_iType; }

    qzILStatus DLaplace8();
    qzILStatus DLaplace16() { return DLaplace8(); }
    qzILStatus SLaplace8();
    qzILStatus SLaplace16() { return SLaplace8(); }
    qzILStatus ClearOutput8() { return ClearOutput(); }
    qzILStatus ClearOutput16() { return ClearOutput(); }

private:
    std::int32_t m_iType;
};
