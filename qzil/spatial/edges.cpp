#include "qzil/spatial/edges.h"

#include "qzil/frame/pixel_traits.h"
#include "qzil/pixel/logic.h"
#include "qzil/spatial/edge_rows.h"

using namespace qzil;

namespace {

/// A share of full scale; what no parameter that Verify accepts gives stops where it makes no further difference.
int LevelOf(double share, int full) {
    return Clamp(RoundHalfAway(share * full), -8 * full, 8 * full);
}

}  // namespace

void Effect3x3::Init() {
    SetRadius(1.0f);
}

FormatList Effect3x3::GetFormats() {
    return kRawFormats;
}

qzILStatus Effect3x3::Verify() {
    qzILStatus const status = qzILMonadicSpatialProc::Verify();
    return status == 1 ? VerifyFormat(kRawFormats) : status;
}

qzILStatus Effect3x3::RunOperators(unsigned first, unsigned set, double sensitivity, double bias) {
    kernel::RowTraits const traits = OperationTraits(Format());
    if (traits.iSampleBytes == 0) return Fail(0x1000D);
    int const full = traits.iSampleBytes == 1 ? 255 : 65535;
    EdgeConstants const constants{LineStep(),          traits.iSamples, LevelOf(1.0 - sensitivity, full),
                                  LevelOf(bias, full), first,           set};
    EdgeRows const& rows = GetEdgeRows();
    return RunRows(traits, kernel::Bound(traits.iSampleBytes == 1 ? rows.pRow8 : rows.pRow16, constants));
}

qzILStatus Effect3x3::AddOperators(unsigned first, unsigned set, double sensitivity, double bias) {
    if (Format() == GUID_NULL) return Fail(0x1000D);
    qzILBbox2l const& box = m_oBoxes.oProcessed;
    IXFImage* pBefore = nullptr;
    if (BufferImage(m_pOutputImg, &pBefore, box) != 1) return Fail(0x10001);
    qzILStatus status = RunOperators(first, set, sensitivity, bias);
    if (status == 1) {
        qzILMaxImg larger;
        larger.SetInputImgA(pBefore);
        larger.SetInputImgB(m_pOutputImg);
        larger.SetInputOffset(qzILVector2l() - box.Origin);
        larger.SetOutputImg(m_pOutputImg);
        larger.SetROI({0, 0, box.Size.x, box.Size.y});
        larger.SetOutputOffset(box.Origin);
        larger.SetProcessingMode(m_uProcessingMode | kModeAllChannels);
        status = larger.Execute();
    }
    ReleaseBuffer(&pBefore);
    return status;
}

qzILStatus Effect3x3::ClearOutput() {
    kernel::RowTraits traits = OperationTraits(Format());
    if (traits.iSampleBytes == 0) return Fail(0x1000D);
    traits.bTakesMask = true;
    traits.eMaskLayout = kernel::MaskLayout::Pixel;
    EdgeConstants const constants{LineStep(), traits.iSamples, 0, 0, 0, 0};
    EdgeRows const& rows = GetEdgeRows();
    return RunRows(traits, kernel::Bound(traits.iSampleBytes == 1 ? rows.pClear8 : rows.pClear16, constants));
}

void EdgeDetector::Init() {
    m_dfEdgeSensitivity = 1.0;
    m_dfBias = 0.0;
}

qzILStatus EdgeDetector::VerifyLevels() {
    if (IsNoShare(m_dfEdgeSensitivity)) return Fail(0x1002A);
    return IsNoShare(m_dfBias) ? Fail(0x10029) : 1;
}

qzILStatus SlopeDetector::Verify() {
    if (qzILStatus const status = Effect3x3::Verify(); status != 1) return status;
    if (m_uType == qzILEdgeDetectTypeAngle) return 1;
    return m_uType == qzILEdgeDetectTypeMagnitude ? VerifyLevels() : Fail(0x10049);
}

qzILStatus SlopeDetector::DetectSlope(unsigned magnitude, unsigned angle) {
    if (m_uType != qzILEdgeDetectTypeMagnitude) return Detect(angle, 1);
    return m_dfEdgeSensitivity == 0.0 ? ClearOutput() : Detect(magnitude, 1);
}

qzILStatus qzILRobertsImg::DoEffect() {
    return DetectSlope(kRoberts, kRobertsAngle);
}

qzILStatus qzILRobertsImg::Roberts8() {
    return Detect(kRoberts, 1);
}

qzILStatus qzILRobertsImg::RobertsAngle8() {
    return Detect(kRobertsAngle, 1);
}

qzILStatus qzILSobelImg::DoEffect() {
    return DetectSlope(kSobel, kSobelAngle);
}

qzILStatus qzILSobelImg::Sobel8() {
    return Detect(kSobel, 1);
}

qzILStatus qzILSobelImg::SobelAngle8() {
    return Detect(kSobelAngle, 1);
}

qzILStatus qzILLaplaceImg::Verify() {
    if (qzILStatus const status = Effect3x3::Verify(); status != 1) return status;
    return m_iType == 1 || m_iType == 2 ? VerifyLevels() : Fail(0x10027);
}

qzILStatus qzILLaplaceImg::DoEffect() {
    if (m_dfEdgeSensitivity == 0.0) return ClearOutput();
    return m_iType == 1 ? DLaplace8() : SLaplace8();
}

qzILStatus qzILLaplaceImg::DLaplace8() {
    return Detect(kLaplace4, 1);
}

qzILStatus qzILLaplaceImg::SLaplace8() {
    return Detect(kLaplace8, 1);
}
