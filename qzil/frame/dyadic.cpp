#include "qzil/frame/dyadic.h"

#include "qzil/frame/copy.h"
#include "qzil/frame/image_utils.h"
#include "qzil/frame/operation_rows.h"
#include "qzil/frame/run.h"
#include "qzil/image/formats.h"
#include "qzil/image/image_ops.h"

using namespace qzil;

void qzILDyadicImgProc::Init() {
    m_pInputImgA = m_pInputImgB = m_pDominantInput = nullptr;
    m_oInputOffset = qzILVector2l();
    m_iDominantSet = 0;
}

void qzILDyadicImgProc::SetInputImgA(IXFImage* image) {
    m_pInputImgA = image;
    if (!m_iDominantSet) m_pDominantInput = image;
}

void qzILDyadicImgProc::SetDominantInput(IXFImage* image) {
    m_pDominantInput = image;
    m_iDominantSet = 1;
}

qzILStatus qzILDyadicImgProc::ExecuteOn(IXFImage* inputA, IXFImage* inputB, IXFImage* output) {
    IXFImage* const pInputA = m_pInputImgA;
    IXFImage* const pInputB = m_pInputImgB;
    IXFImage* const pDominant = m_pDominantInput;
    IXFImage* const pOutput = m_pOutputImg;
    m_pDominantInput = BIsDominant() ? inputB : inputA;
    m_pInputImgA = inputA;
    m_pInputImgB = inputB;
    m_pOutputImg = output;
    qzILStatus const status = Execute();
    m_pInputImgA = pInputA;
    m_pInputImgB = pInputB;
    m_pDominantInput = pDominant;
    m_pOutputImg = pOutput;
    return status;
}

qzILStatus qzILDyadicImgProc::Execute() {
    if ((m_uProcessingMode & kModeNoLines) == kModeNoLines) return 1;
    if (!HasSplitPlanes()) return qzILImgProc::Execute();
    Source const sources[] = {{m_pInputImgA, {}, nullptr, nullptr, 0x10013, 0x10015},
                              {m_pInputImgB, m_oInputOffset, nullptr, nullptr, 0x10014, 0x10016}};
    if (unsigned const code = FindPlaneFault(sources)) return Fail(code);

    Ref<IXFImage> colorA, alphaA, colorB, alphaB, color, alpha;
    if (qzILSplitYCCAImage(m_pOutputImg, color.Typed(), alpha.Typed()) < 0 ||
        qzILSplitYCCAImage(m_pInputImgA, colorA.Typed(), alphaA.Typed()) < 0 ||
        qzILSplitYCCAImage(m_pInputImgB, colorB.Typed(), alphaB.Typed()) < 0) {
        return Fail(0x10001);
    }
    bool const dominantB = BIsDominant();
    auto const copy = [this, dominantB](Ref<IXFImage> const& a, Ref<IXFImage> const& b, IXFImage* output,
                                        unsigned mode) {
        qzILCopyImg effect;
        ShareSettings(effect, mode);
        if (dominantB) {
            // The copy sees B in B's own coordinates, and the mask rectangle moves along.
            qzILVector2l const back = qzILVector2l() - m_oInputOffset;
            effect.SetROI(Moved(m_oRoi, back));
            effect.SetMask(Moved(m_oMaskRect, back), m_pMaskImg, m_uMaskChannel);
        }
        effect.SetInputImg(dominantB ? b.Get() : a.Get());
        effect.SetOutputImg(output);
        qzILStatus const status = effect.Execute();
        if (status != 1) SetLastError(effect.GetLastError());
        return status;
    };
    qzILStatus status = 1;
    if (m_uProcessingMode & kModeColor) {
        status = ExecuteOn(colorA.Get(), colorB.Get(), color.Get());
    } else {
        status = copy(colorA, colorB, color.Get(), m_uProcessingMode | kModeColor);
    }
    if (IsInterrupted() || status != 1) return status;
    if (m_uProcessingMode & kModeAlpha) return ExecuteAlphaPart(alphaA.Get(), alphaB.Get(), alpha.Get());
    return copy(alphaA, alphaB, alpha.Get(), m_uProcessingMode | XFImageChannelMono);
}

qzILStatus qzILDyadicImgProc::ExecuteAlphaPart(IXFImage* inputA, IXFImage* inputB, IXFImage* output) {
    qzILColor const color = m_oDefaultColor;
    // A one-channel image takes the first value of a colour.
    m_oDefaultColor.SetRed(color.GetAlpha());
    qzILStatus const status = ExecuteOn(inputA, inputB, output);
    m_oDefaultColor = color;
    return status;
}

qzILStatus qzILDyadicImgProc::Verify() {
    if (qzILStatus const status = qzILImgProc::Verify(); status != 1) return status;
    if (!m_pInputImgA) return Fail(0x10013);
    if (!m_pInputImgB) return Fail(0x10014);
    if (!HasPixels(m_pInputImgA)) return Fail(0x10015);
    if (!HasPixels(m_pInputImgB)) return Fail(0x10016);
    if (m_pDominantInput != m_pInputImgA && m_pDominantInput != m_pInputImgB) return Fail(0x10017);
    qzILVector2l const offset = BIsDominant() ? m_oOutputOffset + m_oInputOffset : m_oOutputOffset;
    return MaskMayBeOutput(m_pDominantInput, offset) ? 1 : Fail(0x1006C);
}

qzILDyadicPixelProcBase::~qzILDyadicPixelProcBase() {
    ReleaseBuffer(&m_pBufferImgA);
    ReleaseBuffer(&m_pBufferImgB);
}

qzILStatus qzILDyadicPixelProcBase::Verify() {
    if (qzILStatus const status = qzILDyadicImgProc::Verify(); status != 1) return status;
    IXFImage* inputs[] = {m_pInputImgA, m_pInputImgB};
    qzILVector2l const places[] = {{}, m_oInputOffset};
    unsigned const code = qzILVerifyROIAndMask(0, inputs, places, 2, m_pOutputImg, m_pMaskImg, m_oMaskRect, m_oRoi,
                                               m_oOutputOffset, BIsDominant() ? 1 : 0);
    if (code != 0) return Fail(code);
    GUID formatA{}, formatB{}, outputFormat{};
    m_pInputImgA->GetFormat(&formatA);
    m_pInputImgB->GetFormat(&formatB);
    m_pOutputImg->GetFormat(&outputFormat);
    return formatA == formatB && formatA == outputFormat ? 1 : Fail(0x1000E);
}

qzILStatus qzILDyadicPixelProcBase::PrepareData() {
    Source const sources[] = {{m_pInputImgA, {}, &m_oInputHelperA, &m_pBufferImgA, 0x10013, 0x10015},
                              {m_pInputImgB, m_oInputOffset, &m_oInputHelperB, &m_pBufferImgB, 0x10014, 0x10016}};
    return PrepareRegion(sources, BIsDominant() ? 1 : 0, m_oOutputHelper, m_oMaskHelper, m_oCopyHelper, m_oBoxes);
}

qzILStatus qzILDyadicPixelProcBase::ProcessData() {
    FillAround(m_oBoxes, m_oCopyHelper);
    return m_oBoxes.oProcessed.IsEmpty() ? 1 : DoEffect();
}

qzILStatus qzILDyadicPixelProcBase::CleanData() {
    ReleaseBuffer(&m_pBufferImgA);
    ReleaseBuffer(&m_pBufferImgB);
    for (qzILImageHelper* const pHelper :
         {&m_oInputHelperA, &m_oInputHelperB, &m_oOutputHelper, &m_oMaskHelper, &m_oCopyHelper}) {
        *pHelper = qzILImageHelper();
    }
    return 1;
}

qzILStatus qzILDyadicPixelProc::PrepareData() {
    qzILStatus const status = qzILDyadicPixelProcBase::PrepareData();
    qzILBbox2l const& box = m_oBoxes.oProcessed;
    if (status != 1 || box.IsEmpty()) return status;
    m_oInputLinesA = LinesOf(m_oInputHelperA, box);
    m_oInputLinesB = LinesOf(m_oInputHelperB, box);
    m_oOutputLines = LinesOf(m_oOutputHelper, box);
    m_oMaskLines = MaskLinesOf(m_oMaskHelper, box);
    OnAdjustProcessedRegionBbox();
    return status;
}

void qzILDyadicPixelProc::OnAdjustProcessedRegionBbox() {
    AdjustProcessedRegionBbox(m_oBoxes.oProcessed);
}

qzILStatus qzILDyadicPixelProc::CleanData() {
    m_oInputLinesA = m_oInputLinesB = m_oOutputLines = m_oMaskLines = {};
    return qzILDyadicPixelProcBase::CleanData();
}

bool qzILDyadicPixelProc::Prepare(Prepared& prepared) const {
    prepared.oWalk.oA = m_oInputLinesA;
    prepared.oWalk.oB = m_oInputLinesB;
    prepared.oWalk.oOut = m_oOutputLines;
    prepared.oWalk.oMask = m_oMaskLines;
    prepared.oWalk.bPassB = BIsDominant();
    prepared.oBox = m_oBoxes.oProcessed;
    prepared.pSource = &m_oInputHelperA;
    return true;
}

unsigned char qzILDyadicPixelProc::Operation8(unsigned char, unsigned char) const {
    return 0;
}

unsigned short qzILDyadicPixelProc::Operation16(unsigned short, unsigned short) const {
    return 0;
}

qzILStatus qzILDyadicPixelProc::DoEffect() {
    if (!Contains(kRawFormats, Format())) return 1;
    Run(GetPairFunction(), [this]<class T>(As<T>) {
        auto const function = [](void const* self, T a, T b) -> T {
            auto const& effect = *static_cast<qzILDyadicPixelProc const*>(self);
            if constexpr (sizeof(T) == 1) {
                return effect.Operation8(a, b);
            } else {
                return effect.Operation16(a, b);
            }
        };
        return PairFunction<T>{function, this};
    });
    return 1;
}
