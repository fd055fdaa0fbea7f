#include "qzil/spatial/sharpen.h"

#include "qzil/frame/checks.h"
#include "qzil/frame/copy.h"
#include "qzil/image/image_ops.h"
#include "qzil/pixel/channels.h"
#include "qzil/pixel/logic.h"
#include "qzil/spatial/edges.h"
#include "qzil/spatial/ellipse.h"

using namespace qzil;

namespace {

Ref<IXFImage> MakeImage(GUID const& format, qzILVector2l size) {
    Ref<IXFImage> image;
    qzILCreateAndAllocImage(nullptr, IID_IXFImage, size.x, size.y, format, image.Out());
    return image;
}

/// The one-channel format of an image's depth.
GUID MonoOf(GUID const& format) {
    return GetChannelSizeFromFormat(format) == 1 ? MFIF_MONO_RAW_8 : MFIF_MONO_RAW_16;
}

/// Runs an effect from one image to the whole of another, of the same size as the region.
template <class Effect>
qzILStatus RunOn(Effect& effect, IXFImage* from, qzILBbox2l const& region, IXFImage* to) {
    effect.SetInputImg(from);
    effect.SetOutputImg(to);
    effect.SetROI(region);
    return effect.Execute();
}

}  // namespace

void qzILSharpenImg::Init() {
    m_uType = qzILSharpenTypeNormal;
    m_fDegree = 1.0f;
    m_dfEdgeSensitivity = 1.0;
}

qzILStatus qzILSharpenImg::BuildKernel() {
    float* const pTaps = MakeKernel(KernelSize());
    if (!pTaps) return -1;
    int count = 0;
    float* pTap = pTaps;
    for (int j = -Reach().y; j <= Reach().y; ++j) {
        for (int i = -Reach().x; i <= Reach().x; ++i, ++pTap) {
            if (!IsInEllipse(m_oRadius, i, j)) continue;
            *pTap = -m_fDegree;
            ++count;
        }
    }
    pTaps[(pTap - pTaps) / 2] = static_cast<float>(count - 1) * m_fDegree + 1.0f;
    return 1;
}

void qzILSharpenImg::FreeKernel() {
    DropKernel();
}

qzILStatus qzILSharpenImg::Verify() {
    if (qzILStatus const status = BuildKernel(); status != 1) return status;
    qzILStatus const status = qzILConvolveImg::Verify();
    FreeKernel();
    return Checks(*this, status)
        .Range(m_uType, qzILSharpenTypeNormal, qzILSharpenTypeEdge, Code::SharpenType)
        .Share(m_fDegree, Code::Degree)
        .Share(m_uType == qzILSharpenTypeEdge ? m_dfEdgeSensitivity : 1.0, Code::EdgeSensitivity);
}

qzILStatus qzILSharpenImg::Execute() {
    if (m_fDegree == 0.0f || (m_oRadius.x < 1.0f && m_oRadius.y < 1.0f)) {
        qzILCopyImg copy;
        return CopyInstead(copy);
    }
    bool const shiftsInPlace =
        m_pInputImg && SamePixels(m_pInputImg, m_pOutputImg) && !(m_oRoi.Origin == m_oOutputOffset);
    if (m_uType != qzILSharpenTypeEdge || !shiftsInPlace) return qzILMonadicImgProc::Execute();
    // The edges are looked for when parts of the output, and with it of the input, are written already.
    IXFImage* const pInput = m_pInputImg;
    Ref<IXFImage> copy;
    if (CloneWithPixels(pInput, copy) < 0) return Fail(Code::OutOfMemory);
    m_pInputImg = copy.Get();
    qzILStatus const status = qzILMonadicImgProc::Execute();
    m_pInputImg = pInput;
    return status;
}

qzILStatus qzILSharpenImg::PrepareData() {
    qzILStatus const status = BuildKernel();
    return status == 1 ? qzILConvolveImg::PrepareData() : status;
}

qzILStatus qzILSharpenImg::CleanData() {
    qzILStatus const status = qzILConvolveImg::CleanData();
    if (status == 1) FreeKernel();
    return status;
}

qzILStatus qzILSharpenImg::DoEffect() {
    return m_uType == qzILSharpenTypeEdge ? Esharpen() : qzILConvolveImg::DoEffect();
}

qzILStatus qzILSharpenImg::Esharpen() {
    if (!HasKernel()) return Fail(Code::Kernel);
    qzILVector2l const size = ActiveSize(), origin = ActiveOrigin();
    qzILBbox2l const region(origin.x, origin.y, size.x, size.y);
    Ref<IXFImage> mask;
    if (m_pMaskImg) {
        GUID const format = FormatOf(m_pMaskImg);
        mask = MakeImage(MonoOf(format), size);
        if (!mask) return Fail(Code::OutOfMemory);
        qzILBbox2l const place(origin.x - m_oMaskRect.Origin.x, origin.y - m_oMaskRect.Origin.y, size.x, size.y);
        qzILExtractChannel extract;
        extract.SetChannel(m_uMaskChannel);
        extract.SetInterruptFct(m_pInterruptFct, m_pInterruptFlag);
        qzILCopyImg copy;
        copy.SetInterruptFct(m_pInterruptFct, m_pInterruptFlag);
        qzILStatus const status = GetNumOfChannelsFromFormat(format) == 4
                                      ? RunOn(extract, m_pMaskImg, place, mask.Get())
                                      : RunOn(copy, m_pMaskImg, place, mask.Get());
        if (status != 1) return status;
    }
    Ref<IXFImage> edges = MakeImage(MonoOf(Format()), size);
    if (!edges) return Fail(Code::OutOfMemory);
    if (GetNumOfChannelsFromFormat(Format()) == 1) {
        qzILCopyImg copy;
        if (RunOn(copy, m_pInputImg, region, edges.Get()) != 1) return -1;
    } else {
        Ref<IXFImage> const gray = MakeImage(Format(), size);
        if (!gray) return Fail(Code::OutOfMemory);
        qzILGrayscaleImg grayscale;
        qzILExtractChannel extract;
        if (RunOn(grayscale, m_pInputImg, region, gray.Get()) != 1) return -1;
        if (RunOn(extract, gray.Get(), {0, 0, size.x, size.y}, edges.Get()) != 1) return -1;
    }
    if (mask) {
        qzILAndImg both;
        both.SetInputImgA(edges.Get());
        both.SetInputImgB(mask.Get());
        both.SetOutputImg(edges.Get());
        if (both.Execute() != 1) return -1;
    }
    qzILRobertsImg detector;
    detector.SetEdgeMode(qzILEdgeModeExtend);
    detector.SetEdgeSensitivity(m_dfEdgeSensitivity);
    detector.SetBias(0.0);
    detector.SetInterruptFct(m_pInterruptFct, m_pInterruptFlag);
    qzILStatus const status = RunOn(detector, edges.Get(), {0, 0, size.x, size.y}, edges.Get());
    if (status != 1) return status;

    qzILConvolveImg convolve;
    ShareSettings(convolve, m_uProcessingMode);
    convolve.SetMask(region, edges.Get(), XFImageChannelMono);
    convolve.SetInputImg(m_pInputImg);
    convolve.SetOutputImg(m_pOutputImg);
    convolve.SetEdgeMode(m_uEdgeMode);
    convolve.SetEdgeColor(m_oEdgeColor);
    convolve.SetKernel(m_pKernel, m_oRadius);
    convolve.SetInterruptFct(m_pInterruptFct, m_pInterruptFlag);
    qzILStatus const result = convolve.Execute();
    if (result != 1) SetLastError(convolve.GetLastError());
    return result;
}
