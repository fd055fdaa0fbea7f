#include "qzil/frame/sink.h"

#include "qzil/frame/mask_check.h"
#include "qzil/frame/run.h"
#include "qzil/image/image_ops.h"

#include <algorithm>
#include <utility>

using namespace qzil;

void qzILSinkImgProc::Init() {
    m_pMaskImg = nullptr;
    m_oMaskRect = {0, 0, 0x7FFFFFFF, 0x7FFFFFFF};
    m_uMaskChannel = XFImageChannelMono;
}

void qzILSinkImgProc::SetMask(qzILBbox2l const& rectangle, IXFImage* image, XFImageChannel channel) {
    m_oMaskRect = rectangle;
    m_pMaskImg = image;
    m_uMaskChannel = channel;
}

void qzILSinkImgProc::SetMask(int x, int y, unsigned width, unsigned height, IXFImage* image, XFImageChannel channel) {
    SetMask({x, y, static_cast<int>(width), static_cast<int>(height)}, image, channel);
}

void qzILSinkImgProc::GetMask(IXFImage** image, XFImageChannel* channel) const {
    if (image) *image = m_pMaskImg;
    if (channel) *channel = m_uMaskChannel;
}

qzILStatus qzILSinkImgProc::Execute() {
    return RunSteps(*this);
}

qzILStatus qzILSinkImgProc::Verify() {
    if (!m_pMaskImg) return 1;
    unsigned const code = FindMaskFault(m_pMaskImg, m_oMaskRect, m_uMaskChannel);
    return code == 0 ? 1 : Fail(code);
}

qzILStatus qzILMonadicSinkImgProc::Verify() {
    if (qzILStatus const status = qzILSinkImgProc::Verify(); status != 1) return status;
    if (!m_pInputImg) return Fail(0x1000B);
    return HasPixels(m_pInputImg) ? 1 : Fail(0x1000C);
}

qzILStatus qzILMonadicSinkPixelProc::PrepareData() {
    if (!m_pInputImg) return Fail(0x1000B);
    if (!HasPixels(m_pInputImg)) return Fail(0x1000C);
    qzILBbox2l rectangle = m_oMaskRect;
    if (m_pMaskImg) {
        // Verify refuses an unsuitable mask, and one smaller than its rectangle; a host that went on gets a code, or
        // what lies inside both.
        qzILBbox2l const whole = WholeOf(m_pMaskImg);
        unsigned const code = FindMaskFault(m_pMaskImg, whole, m_uMaskChannel);
        if (code != 0) return Fail(code);
        rectangle.Size.x = std::min(rectangle.Size.x, whole.Size.x);
        rectangle.Size.y = std::min(rectangle.Size.y, whole.Size.y);
    }
    m_oProcessedBox = rectangle.Intersect(WholeOf(m_pInputImg));
    if (m_oProcessedBox.IsEmpty()) return 1;
    m_oInputHelper.SetImage(m_pInputImg);
    if (m_pMaskImg) {
        m_oMaskHelper.SetImage(m_pMaskImg);
        qzILVector2l const offset = m_oProcessedBox.Origin - rectangle.Origin;
        m_oMaskHelper.m_iOffsetX = offset.x;
        m_oMaskHelper.m_iOffsetY = offset.y;
    }
    return 1;
}

qzILStatus qzILMonadicSinkPixelProc::ProcessData() {
    return m_oProcessedBox.IsEmpty() ? 1 : DoEffect();
}

qzILStatus qzILMonadicSinkPixelProc::PrepareWalk(kernel::Walk& walk, bool takesMask) {
    qzILBbox2l const& box = m_oProcessedBox;
    // A sink has no field bits: it reads every line.
    unsigned const mode = std::exchange(m_uProcessingMode, kModeAllChannels);
    walk.oA = LinesOf(m_oInputHelper, box, &walk.oAlphaIn);
    bool const masked = takesMask && !m_oMaskHelper.IsEmpty();
    if (masked) {
        walk.oMask = LinesOf(m_oMaskHelper, {0, 0, box.Size.x, box.Size.y});
        walk.oMask.pFirst +=
            std::size_t{m_oMaskHelper.m_uChannelSize} * MaskChannelPlace(m_oMaskHelper.Format(), m_uMaskChannel);
    }
    SetPlace(walk, box);
    walk.uMode = std::exchange(m_uProcessingMode, mode);
    return masked && m_oMaskHelper.m_uChannelSize != m_oInputHelper.m_uChannelSize ? Fail(Code::MaskDepth) : 1;
}

qzILStatus qzILMonadicSinkPixelProc::CleanData() {
    m_oInputHelper = m_oMaskHelper = qzILImageHelper();
    return 1;
}
