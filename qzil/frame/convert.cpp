#include "qzil/frame/convert.h"

#include "qzil/frame/image_utils.h"
#include "qzil/frame/mask_check.h"
#include "qzil/image/image_ops.h"
#include "qzil/kernel/convert_walk.h"

using namespace qzil;

void qzILMonadicConvertProc::Init() {
    m_uProcessingMode = kModeAllChannels;
}

qzILStatus qzILMonadicConvertProc::Execute() {
    return qzILImgProc::Execute();
}

qzILStatus qzILMonadicConvertProc::Verify() {
    // Not what qzILMonadicImgProc asks of masks: here every mask is refused, with one code.
    if (qzILStatus const status = qzILImgProc::Verify(); status != 1) return status;
    if (!m_pInputImg) return Fail(0x1000B);
    if (!HasPixels(m_pInputImg)) return Fail(0x1000C);
    qzILVector2l const place;
    unsigned const code = qzILVerifyROIAndMask(0, &m_pInputImg, &place, 1, m_pOutputImg, m_pMaskImg, m_oMaskRect,
                                               m_oRoi, m_oOutputOffset, 0);
    if (code != 0) return Fail(code);
    if (SamePixels(m_pInputImg, m_pOutputImg)) return Fail(0x10033);
    if ((m_uProcessingMode & kModeAllChannels) != kModeAllChannels) return Fail(0x20002);
    qzILBbox2l const whole = WholeOf(m_pInputImg);
    return !m_pMaskImg && m_oMaskRect.Intersect(whole) == whole ? 1 : Fail(0x20001);
}

qzILStatus qzILMonadicConvertProc::VerifyFormats(bool (*accepts)(GUID const&),
                                                 bool (*converts)(GUID const&, GUID const&)) {
    if (qzILStatus const status = qzILMonadicConvertProc::Verify(); status != 1) return status;
    GUID input{}, output{};
    m_pInputImg->GetFormat(&input);
    m_pOutputImg->GetFormat(&output);
    return CheckFormats(input, output, accepts, converts);
}

qzILStatus qzILMonadicConvertProc::CheckFormats(GUID const& input, GUID const& output, bool (*accepts)(GUID const&),
                                                bool (*converts)(GUID const&, GUID const&)) {
    if (!accepts(input)) return Fail(0x10034);
    return converts(input, output) ? 1 : Fail(0x1000D);
}

qzILStatus qzILMonadicConvertProc::PrepareData() {
    m_oInputBox = m_oOutputBox = m_oProcessedBox = qzILBbox2l(0, 0, 0, 0);
    if (!m_pOutputImg) return Fail(0x10002);
    m_oOutputHelper.SetImage(m_pOutputImg);
    if (!m_oOutputHelper.HasPixels()) return Fail(0x10003);
    if (!m_pInputImg) return Fail(0x1000B);
    m_oInputHelper.SetImage(m_pInputImg);
    if (!m_oInputHelper.HasPixels()) return Fail(0x1000C);
    qzILVector2l const delta = Way(m_oRoi.Origin, m_oOutputOffset), back = Way(m_oOutputOffset, m_oRoi.Origin);
    // Verify refuses a region that leaves the output; a host that went on gets what lies inside it.
    qzILBbox2l const region(m_oOutputOffset.x, m_oOutputOffset.y, m_oRoi.Size.x, m_oRoi.Size.y);
    m_oOutputBox = region.Intersect(WholeOf(m_pOutputImg));
    qzILBbox2l const roi = m_oOutputBox == region ? m_oRoi : Moved(m_oOutputBox, back);
    m_oInputBox = m_oProcessedBox = Moved(roi.Intersect(WholeOf(m_pInputImg)), delta);
    m_oInputHelper.m_iOffsetX = back.x;
    m_oInputHelper.m_iOffsetY = back.y;
    return 1;
}

qzILStatus qzILMonadicConvertProc::ProcessData() {
    FillOutput(m_oInputBox, m_oOutputBox, m_oDefaultColor);
    return m_oProcessedBox.IsEmpty() ? 1 : DoEffect();
}

qzILStatus qzILMonadicConvertProc::CleanData() {
    m_oInputHelper = m_oOutputHelper = qzILImageHelper();
    return 1;
}

qzILStatus qzILMonadicConvertProc::RunRows(kernel::ConvertTraits const& traits, kernel::ConvertCall const& call) const {
    kernel::ConvertWalk walk;
    walk.pIn = &m_oInputHelper;
    walk.pOut = &m_oOutputHelper;
    walk.oBox = m_oProcessedBox;
    walk.uMode = m_uProcessingMode;
    if (HasInterrupt()) {
        walk.pStop = [](void const* self) { return static_cast<qzILMonadicConvertProc const*>(self)->IsInterrupted(); };
        walk.pStopContext = this;
    }
    return kernel::RunConversion(walk, traits, call) ? 1 : -1;
}
