#pragma once

#include "qzil/spatial/blur.h"

/// Lets bright parts glow: the blurred picture, weighed by its luma between two thresholds and by the presence, is
/// screened over the source. Alpha is the source's.
///
/// Diffusion level: the radius of the blur, 3 at first, of type 3. Diffusion presence: 0 to 1, 0.8 at first.
/// Thresholds: luma from which the glow starts and from which it is full, 0 to 1, 0.1 and 0.9 at first. A mask mixes by
/// the table of products.
///
/// What is not a number passes Verify: a presence counts as 0, a threshold lies below every luma.
///
/// Verify adds 0x1000D for a format other than MFIF_RGBA_RAW_32, 0x10026 for a presence outside, 0x1001C for a
/// threshold outside.
class QZIL_API qzILOpticGlowImg : public qzILBlurImg {
    QZIL_EFFECT_CLASS(qzILOpticGlowImg)
public:
    qzILOpticGlowImg() { Init(); }

    static std::span<GUID const> GetFormats();
    qzILStatus Verify() override;
    qzILStatus ProcessData() override;

    void Init();
    void SetDiffusionLevel(double level) { SetRadius(static_cast<float>(level)); }
    double GetDiffusionLevel() const { return GetRadiusX(); }
    void SetDiffusionPresence(double presence) { m_dfPresence = presence; }
    double GetDiffusionPresence() const { return m_dfPresence; }
    void SetThresholds(double low, double high);
    /// Each pointer may be null.
    void GetThresholds(double* low, double* high) const;

    qzILStatus OpticGlow8();
    qzILStatus OpticGlow16() const { return 1; }

private:
    double m_dfPresence;
    double m_dfLow;
    double m_dfHigh;
};
