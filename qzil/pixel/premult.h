#pragma once

#include "qzil/frame/dyadic.h"
#include "qzil/frame/monadic.h"

/// Rescales B's colours from A's alpha to B's own: colour of B times alpha of B / alpha of A, with B's alpha. Where A's
/// alpha is 0 or equals B's, B's colour stays.
///
/// Formats: MFIF_RGBA_RAW_32, MFIF_RGBA_S2_14, MFIF_RGBA_FLOAT. Verify adds 0x1000D for another format; Execute gives
/// 0x10034 for a format that is not RGB.
class QZIL_API qzILAdjustPremultImg : public qzILDyadicPixelProc {
    QZIL_EFFECT_CLASS(qzILAdjustPremultImg)
public:
    qzILAdjustPremultImg() { Init(); }

    static std::span<GUID const> GetFormats();
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    void Init() {}
    void Trash() {}
};

/// Removes a background colour from an image and rebuilds its alpha as the least that explains every channel. With a
/// background of alpha 0 it is the usual unpremultiplication, with alpha recomputed from the largest channel.
///
/// Formats: MFIF_RGBA_RAW_32, MFIF_RGBA_S2_14, MFIF_RGBA_FLOAT, MFIF_RGBA_RAW_64. Verify adds 0x1000D for another
/// format.
class QZIL_API qzILUnpremultiplyImg : public qzILMonadicPixelProc {
    QZIL_PLAIN_EFFECT_CLASS(qzILUnpremultiplyImg, m_oBackgroundColor = m_oDefaultColor)
    static std::span<GUID const> GetFormats();
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    /// Straight colour and alpha; default: the default colour as it is at construction, all zero.
    void SetBackgroundColor(qzILColor const& color) { m_oBackgroundColor = color; }
    qzILColor const& GetBackgroundColor() const { return m_oBackgroundColor; }

private:
    qzILColor m_oBackgroundColor;
};

/// A new image of the size of the source with the unpremultiplied pixels of `region` at its origin; `mode` is the
/// processing mode. Pixels beyond them are undefined.
/// 0x80004003 for a null image, 0x80004005 for a format that cannot be unpremultiplied.
QZIL_API HRESULT qzILUnpremultiplyImage(IXFImage* image, IXFImage** result, int mode, qzILBbox2l const& region);
