#pragma once

#include "qzil/spatial/convolve.h"

using qzILSharpenType = std::uint32_t;
inline constexpr qzILSharpenType qzILSharpenTypeNormal = 1;  ///< everywhere
inline constexpr qzILSharpenType qzILSharpenTypeEdge = 2;    ///< by the strength of the edges that qzILRobertsImg finds

/// Sharpens by subtracting the neighbourhood in the ellipse of the radius from the pixel: its taps are -degree, and the
/// centre's makes their sum 1. A degree of 0, or both radii below 1, copies.
///
/// Type 1 at first; degree 0 to 1, 1.0 at first; edge sensitivity 0 to 1, 1.0 at first, for type 2 only. Formats, mask
/// and overshooting as for qzILConvolveImg.
///
/// Verify adds 0x10025 for another type, 0x10026 and 0x1002A for a degree and a sensitivity outside (NaN passes; as
/// degree it gives 0, as sensitivity every response of the detector counts).
class QZIL_API qzILSharpenImg : public qzILConvolveImg {
    QZIL_EFFECT_CLASS(qzILSharpenImg)
public:
    qzILSharpenImg() { Init(); }
    ~qzILSharpenImg() override { Trash(); }

    qzILStatus Execute() override;
    qzILStatus Verify() override;
    qzILStatus PrepareData() override;
    qzILStatus CleanData() override;
    qzILStatus DoEffect() override;

    void Init();
    void Trash() { FreeKernel(); }
    void SetType(qzILSharpenType type) { m_uType = type; }
    qzILSharpenType GetType() const { return m_uType; }
    void SetDegree(float degree) { m_fDegree = degree; }
    float GetDegree() const { return m_fDegree; }
    void SetEdgeSensitivity(double sensitivity) { m_dfEdgeSensitivity = sensitivity; }
    double GetEdgeSensitivity() const { return m_dfEdgeSensitivity; }

    /// Make and drop the kernel of the radius and the degree; 0x10001 without memory.
    qzILStatus BuildKernel();
    void FreeKernel();
    /// Finds the edges of the active rectangle and sharpens with them as the mask.
    qzILStatus Esharpen();

private:
    qzILSharpenType m_uType;
    float m_fDegree;
    double m_dfEdgeSensitivity;
};
