#pragma once

#include "qzil/frame/monadic.h"
#include "qzil/numeric/matrix_3d.h"

/// Grades a picture by hue, saturation, contrast and brightness: one or two matrices, with optional tables of offsets
/// by luma and of output values by channel.
///
/// Formats: MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_HLSA_RAW_32, MFIF_HLSA_RAW_64, the 8-bit 4:2:2 formats, and
/// MFIF_CbYCrYA_24 and MFIF_CbYCrY709A_24. Parameters are plain fields, unchecked but for the colour model. The fourth
/// channel is scaled by the contrast and offset by the brightness. 4:2:2 pixels take no mask.
///
/// HLSA formats: every execution continues the matrix of the one before, deliberately; Init starts anew.
///
/// Verify adds 0x1000D for another format, and 0x1006B for a colour model that does not fit the format: 0 fits YCC, 64
/// Rec. 601 and RGBA, 512 Rec. 709 and RGBA, 4 HLSA.
class QZIL_API qzILColorCorrectionImg : public qzILMonadicPixelProc {
    QZIL_EFFECT_CLASS(qzILColorCorrectionImg)
public:
    /// The first effect makes the matrices of the whole process.
    qzILColorCorrectionImg();

    static std::span<GUID const> GetFormats();
    qzILStatus Execute() override;
    qzILStatus Verify() override;
    qzILStatus PrepareData() override;
    /// The alpha plane; of an odd width the last pixel is left out.
    qzILStatus ExecuteAlphaPart(IXFImage* input, IXFImage* output) override;
    qzILStatus DoEffect() override;
    void Init();
    void Trash() {}
    /// Gives the matrices of the whole process back; the next effect makes them again.
    static void ClearMatrices();

    double m_dfHue;         ///< degrees; default 0
    double m_dfSaturation;  ///< percent; default 100
    double m_dfContrast;    ///< percent; default 100
    double m_dfBrightness;  ///< percent of full scale; default 0
    /// Offsets of luma, Cb, Cr and alpha, for each luma: 256 x 4 values, 65536 x 4 for 64-bit formats. The caller's, or
    /// null. Not used in colour model 4.
    short const* m_pLevelTable;
    /// Four tables in a row, for the channels in the order of memory (4:2:2: red, green, blue, alpha): 4 x 256 bytes, 4
    /// x 65536 unsigned shorts for 64-bit formats. The caller's, or null.
    void const* m_pChannelTable;
    std::int32_t m_iColorModel;  ///< 64 Rec. 601, 512 Rec. 709, 4 HLS, 0 that of a YCC format; default 64
    std::int32_t m_iLegalClamp;  ///< not 0: 4:2:2 is limited to luma 16 to 235 and chroma 16 to 240; default 0
    /// On pixels as column vectors. PrepareData makes them.
    qzILMatrix3D m_oFirstMatrix, m_oSecondMatrix, m_oThirdMatrix;

    static qzILMatrix *s_pRGB2YCC, *s_pYCC2RGB, *s_pRGB2YCC709, *s_pYCC7092RGB;

protected:
    void ColorCorrectionRGBA32_NoMask() const {}
    void ColorCorrectionYCC422_NoRGBALut_SSE2() const {}
    void ColorCorrectionAlpha8_NoRGBALut_SSE2() const {}

private:
    static bool MakeMatrices();
    void Adjust(double brightness);
    void PrepareHls(qzil::FormatRow const& format);
    void PrepareRgb(qzil::FormatRow const& format);
    void PrepareYcc(qzil::FormatRow const& format);
    qzILStatus ColorCorrectionYCC422();
    qzILStatus ColorCorrectionAlpha8();
};
