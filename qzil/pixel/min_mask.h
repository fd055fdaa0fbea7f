#pragma once

#include "qzil/frame/monadic.h"

/// Multiplies a picture by its mask: each selected colour channel becomes colour times mask, a selected alpha the
/// smaller of mask and alpha. A full mask copies the pixel, an empty one clears the selected channels. Not interrupted
/// within a frame.
///
/// The output's attribute 1 (filled alpha) is cleared, since the picture changes its premultiplication; so is
/// attribute 2 when the mode has bit 8 and is not exactly 15.
/// Formats: MFIF_RGBA_RAW_32, MFIF_RGBA_S2_14, MFIF_RGBA_FLOAT. Mask values below 0 count as 0, those above full scale
/// as full. Verify adds 0x1000D for another format, 0x10005 without a mask image.
class QZIL_API qzILMinMaskImg : public qzILMonadicPixelProc {
    QZIL_EFFECT_CLASS(qzILMinMaskImg)
public:
    qzILMinMaskImg() { Init(); }

    static std::span<GUID const> GetFormats();
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    void Init() {}
    void Trash() {}
};
