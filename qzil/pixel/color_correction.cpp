#include "qzil/pixel/color_correction.h"

#include "qzil/frame/checks.h"
#include "qzil/frame/run.h"
#include "qzil/image/image_ops.h"
#include "qzil/pixel/color_correction_rows.h"

#include <atomic>
#include <new>

using namespace qzil;

qzILMatrix* qzILColorCorrectionImg::s_pRGB2YCC = nullptr;
qzILMatrix* qzILColorCorrectionImg::s_pYCC2RGB = nullptr;
qzILMatrix* qzILColorCorrectionImg::s_pRGB2YCC709 = nullptr;
qzILMatrix* qzILColorCorrectionImg::s_pYCC7092RGB = nullptr;

namespace {

constexpr double kRadiansPerDegree = 0.017453292519943295;

constexpr std::array kGraphicsFormats{MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_HLSA_RAW_32, MFIF_HLSA_RAW_64};
constexpr std::array kPlaneFormats{MFIF_CbYCrYA_24, MFIF_CbYCrY709A_24};
constexpr auto kFormats = Join(kGraphicsFormats, k8Bit422Formats, kPlaneFormats);

bool ModelFits(int model, FormatRow const& format) {
    bool const rgba = format.IsRgb(), hls = format.uColorModel == XFColorModelHLS;
    switch (model) {
        case 0: return format.IsYcc();
        case XFColorModelYCC601: return format.Is601() || rgba;
        case XFColorModelYCC709: return format.Is709() || rgba;
        case XFColorModelHLS: return hls;
        default: return false;
    }
}

/// One matrix of the process. Of two first effects made side by side, the later one's is dropped.
bool Make(qzILMatrix*& shared, double const (&rows)[4][4]) {
    std::atomic_ref<qzILMatrix*> const place(shared);
    if (place.load()) return true;
    // The arrays are meant for row vectors.
    auto* const pMade = new (std::nothrow)
        qzILMatrix(rows[0], 4, 4, qzILMatrixColumnAfterColumn, qzILMatrixFirstRowFirst, qzILMatrixFirstColumnFirst);
    qzILMatrix* pNone = nullptr;
    bool const taken = pMade && pMade->IsValid() && place.compare_exchange_strong(pNone, pMade);
    if (!taken) delete pMade;
    return taken || pNone;
}

bool IsWhole(qzILMatrix const& matrix) {
    return matrix.GetNumRows() == 4 && matrix.GetNumCols() == 4;
}

void ToFullLevels(qzILMatrix3D& matrix) {
    (void)matrix.Translate(0, -128, -128);
    (void)matrix.Scale(1.1643835616438356, 1.1383928571428572, 1.1383928571428572);
    (void)matrix.Translate(-16, -16, -16);
}

void ToVideoLevels(qzILMatrix3D& matrix) {
    (void)matrix.Translate(16, 16, 16);
    (void)matrix.Scale(0.8588235294117647, 0.8784313725490196, 0.8784313725490196);
    (void)matrix.Translate(0, 128, 128);
}

ColorMatrix Fixed(qzILMatrix const& matrix) {
    return ColorMatrix::Of(matrix.GetElemsPtr());
}

/// Percents as samples.
double Samples(double percents, FormatRow const& format) {
    return percents * (format.ChannelBytes() == 1 ? 2.55 : 655.35);
}

}  // namespace

qzILColorCorrectionImg::qzILColorCorrectionImg() {
    MakeMatrices();
    Init();
}

void qzILColorCorrectionImg::Init() {
    m_dfHue = m_dfBrightness = 0.0;
    m_dfSaturation = m_dfContrast = 100.0;
    m_pLevelTable = nullptr;
    m_pChannelTable = nullptr;
    m_iColorModel = XFColorModelYCC601;
    m_iLegalClamp = 0;
    for (qzILMatrix3D* const pMatrix : {&m_oFirstMatrix, &m_oSecondMatrix, &m_oThirdMatrix}) pMatrix->Init();
}

bool qzILColorCorrectionImg::MakeMatrices() {
    return Make(s_pRGB2YCC, qzILColor::s_dfArrayRGBAtoYCCA) && Make(s_pYCC2RGB, qzILColor::s_dfArrayYCCAtoRGBA) &&
           Make(s_pRGB2YCC709, qzILColor::s_dfArrayRGBAtoYCCA709) &&
           Make(s_pYCC7092RGB, qzILColor::s_dfArrayYCCA709toRGBA);
}

void qzILColorCorrectionImg::ClearMatrices() {
    for (qzILMatrix** const ppMatrix : {&s_pRGB2YCC, &s_pYCC2RGB, &s_pRGB2YCC709, &s_pYCC7092RGB}) {
        delete *ppMatrix;
        *ppMatrix = nullptr;
    }
}

FormatList qzILColorCorrectionImg::GetFormats() {
    return kFormats;
}

qzILStatus qzILColorCorrectionImg::Verify() {
    auto const fits = [this] { return ModelFits(m_iColorModel, RowOf(FormatOf(m_pOutputImg))); };
    return Checks(*this, qzILMonadicPixelProc::Verify()).Format(kFormats).That(fits, Code::ColorModel);
}

qzILStatus qzILColorCorrectionImg::Execute() {
    unsigned const kPlanes = kModeColor | kModeAlpha;
    bool const inPlace = m_pInputImg && SamePixels(m_pInputImg, m_pOutputImg) && HasPixels(m_pInputImg);
    if (!m_pLevelTable || !inPlace || !HasSplitPlanes() || (m_uProcessingMode & kPlanes) <= kModeAlpha) {
        return qzILMonadicPixelProc::Execute();
    }
    // The offsets of alpha follow the luma of the input, which the colour part would have overwritten.
    Ref<IXFImage> copy;
    if (CloneWithPixels(m_pInputImg, copy) < 0) return Fail(Code::OutOfMemory);
    IXFImage* const pInput = m_pInputImg;
    m_pInputImg = copy.Get();
    qzILStatus const status = qzILMonadicPixelProc::Execute();
    m_pInputImg = pInput;
    return status;
}

qzILStatus qzILColorCorrectionImg::PrepareData() {
    if (qzILStatus const status = qzILMonadicPixelProc::PrepareData(); status != 1) return status;
    FormatRow const& format = m_oOutputHelper.Format();
    qzILMatrix3D* const matrices[] = {&m_oFirstMatrix, &m_oSecondMatrix, &m_oThirdMatrix};
    for (qzILMatrix3D* const pMatrix : matrices) {
        if (!IsWhole(*pMatrix)) pMatrix->Init();
        if (!IsWhole(*pMatrix)) return Fail(Code::OutOfMemory);
    }
    if (!MakeMatrices()) return Fail(Code::OutOfMemory);
    if (format.uColorModel == XFColorModelHLS) {
        PrepareHls(format);
    } else if (format.IsRgb()) {
        PrepareRgb(format);
    } else {
        PrepareYcc(format);
    }
    m_oFirstMatrix(3, 0) = m_dfContrast * 0.01;
    m_oFirstMatrix(3, 3) = Samples(m_dfBrightness, format);
    return 1;
}

/// What all models but HLS have in common, in YCC.
void qzILColorCorrectionImg::Adjust(double brightness) {
    double const saturation = m_dfSaturation * 0.01, contrast = m_dfContrast * 0.01;
    (void)m_oFirstMatrix.Translate(brightness, 0, 0);
    (void)m_oFirstMatrix.Scale(contrast, contrast, contrast);
    (void)m_oFirstMatrix.Scale(1, saturation, saturation);
    (void)m_oFirstMatrix.RotateXAxis(m_dfHue * kRadiansPerDegree);
}

/// Continues the matrix of the execution before, deliberately.
void qzILColorCorrectionImg::PrepareHls(FormatRow const& format) {
    double const full = format.ChannelBytes() == 1 ? 255.0 : 65535.0, contrast = m_dfContrast * 0.01;
    (void)m_oFirstMatrix.Translate(0, Samples(m_dfBrightness, format), 0);
    (void)m_oFirstMatrix.Scale(1, contrast, contrast);
    (void)m_oFirstMatrix.Scale(1, 1, m_dfSaturation * 0.01);
    (void)m_oFirstMatrix.Translate(m_dfHue / 360 * full, 0, 0);
}

void qzILColorCorrectionImg::PrepareRgb(FormatRow const& format) {
    bool const rec601 = m_iColorModel == XFColorModelYCC601;
    qzILMatrix const& toRgb = rec601 ? *s_pYCC2RGB : *s_pYCC7092RGB;
    if (m_pLevelTable) {
        m_oFirstMatrix.SetToIdentity();
        m_oSecondMatrix = toRgb;
    } else {
        m_oFirstMatrix = toRgb;
    }
    Adjust(Samples(m_dfBrightness, format));
    m_oFirstMatrix.PostMultiply(rec601 ? *s_pRGB2YCC : *s_pRGB2YCC709);
}

void qzILColorCorrectionImg::PrepareYcc(FormatRow const& format) {
    bool const rec601 = m_iColorModel == XFColorModelYCC601 || (m_iColorModel == 0 && format.Is601());
    m_oFirstMatrix.SetToIdentity();
    if (m_pChannelTable) {
        (m_pLevelTable ? m_oSecondMatrix : m_oFirstMatrix) = rec601 ? *s_pYCC2RGB : *s_pYCC7092RGB;
        m_oThirdMatrix.SetToIdentity();
        ToVideoLevels(m_oThirdMatrix);
        m_oThirdMatrix.PostMultiply(rec601 ? *s_pRGB2YCC : *s_pRGB2YCC709);
    } else {
        qzILMatrix3D& last = m_pLevelTable ? m_oSecondMatrix : m_oFirstMatrix;
        last.SetToIdentity();
        ToVideoLevels(last);
    }
    Adjust(Samples(m_dfBrightness, format));
    ToFullLevels(m_oFirstMatrix);
}

qzILStatus qzILColorCorrectionImg::DoEffect() {
    if (Has(GetPairCorrection())) return ColorCorrectionYCC422();
    ColorMatrix const first = Fixed(m_oFirstMatrix);
    bool const hls = m_iColorModel == XFColorModelHLS;
    if (m_pChannelTable || (m_pLevelTable && !hls)) {
        return Run(GetTableCorrection(), [&]<class T>(As<T>) {
            return TableCorrection<T>{
                first, Fixed(m_oSecondMatrix), {m_pLevelTable}, static_cast<T const*>(m_pChannelTable), hls};
        });
    }
    if (hls) return Run(GetHlsCorrection(), [&]<class T>(As<T>) { return HlsCorrection<T>{first}; });
    return Run(GetColorCorrection(), [&]<class T>(As<T>) { return ColorCorrection<T>{first}; });
}

qzILStatus qzILColorCorrectionImg::ColorCorrectionYCC422() {
    YccLimits const limits = m_iLegalClamp ? YccLimits{16, 235, 240} : YccLimits{0, 255, 255};
    ColorMatrix const first = Fixed(m_oFirstMatrix), second = Fixed(m_oSecondMatrix);
    if (m_pChannelTable) {
        return Run(GetPairTableCorrection(), [&]<class T>(As<T>) {
            auto const* const pTables = static_cast<T const*>(m_pChannelTable);
            return PairTableCorrection<T>{
                first,  second,          Fixed(m_oThirdMatrix),
                limits, {m_pLevelTable}, {OpenTable(pTables), OpenTable(pTables + 256), OpenTable(pTables + 512)}};
        });
    }
    if (m_pLevelTable) {
        return Run(GetPairLevelCorrection(), [&]<class T>(As<T>) {
            return PairLevelCorrection<T>{{first, limits}, second, {m_pLevelTable}};
        });
    }
    return Run(GetPairCorrection(), [&]<class T>(As<T>) { return PairCorrection<T>{first, limits}; });
}

/// Works on the whole images, not on their planes: the offsets of alpha follow the luma.
qzILStatus qzILColorCorrectionImg::ExecuteAlphaPart(IXFImage*, IXFImage*) {
    unsigned const mode = m_uProcessingMode;
    m_uProcessingMode &= ~kModeColor;
    qzILStatus status = Verify();
    if (status == 1) status = PrepareData();
    if (status == 1) status = ColorCorrectionAlpha8();
    CleanData();
    m_uProcessingMode = mode;
    return status;
}

qzILStatus qzILColorCorrectionImg::ColorCorrectionAlpha8() {
    FillAround(m_oBoxes, m_oCopyHelper);
    if (m_oBoxes.oProcessed.IsEmpty()) return 1;
    return Run(GetPlaneCorrection(), [this]<class T>(As<T>) {
        auto const* const pTables = static_cast<T const*>(m_pChannelTable);
        return PlaneCorrection<T>{Fixed(m_oFirstMatrix), {m_pLevelTable}, pTables ? pTables + 768 : nullptr};
    });
}
