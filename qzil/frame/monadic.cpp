#include "qzil/frame/monadic.h"

#include "qzil/frame/copy.h"
#include "qzil/frame/image_utils.h"
#include "qzil/frame/operation_rows.h"
#include "qzil/frame/run.h"
#include "qzil/image/formats.h"
#include "qzil/image/image_ops.h"

#include <memory>

using namespace qzil;

qzILStatus qzILMonadicImgProc::Execute() {
    if ((m_uProcessingMode & kModeNoLines) == kModeNoLines) return 1;
    if (!HasSplitPlanes()) return qzILImgProc::Execute();
    Source const source{m_pInputImg, {}, nullptr, nullptr, 0x1000B, 0x1000C};
    if (unsigned const code = FindPlaneFault({&source, 1})) return Fail(code);

    Ref<IXFImage> inputColor, inputAlpha, outputColor, outputAlpha;
    if (qzILSplitYCCAImage(m_pInputImg, inputColor.Typed(), inputAlpha.Typed()) < 0 ||
        qzILSplitYCCAImage(m_pOutputImg, outputColor.Typed(), outputAlpha.Typed()) < 0) {
        return Fail(0x10001);
    }
    auto const copy = [this](IXFImage* input, IXFImage* output, unsigned mode) {
        qzILCopyImg effect;
        ShareSettings(effect, mode);
        effect.SetInputImg(input);
        effect.SetOutputImg(output);
        qzILStatus const status = effect.Execute();
        if (status != 1) SetLastError(effect.GetLastError());
        return status;
    };
    qzILStatus status = 1;
    if (m_uProcessingMode & kModeColor) {
        IXFImage* const pInput = m_pInputImg;
        IXFImage* const pOutput = m_pOutputImg;
        m_pInputImg = inputColor.Get();
        m_pOutputImg = outputColor.Get();
        status = Execute();
        m_pInputImg = pInput;
        m_pOutputImg = pOutput;
    } else {
        status = copy(inputColor.Get(), outputColor.Get(), m_uProcessingMode | kModeColor);
    }
    if (IsInterrupted() || status != 1) return status;
    if (m_uProcessingMode & kModeAlpha) return ExecuteAlphaPart(inputAlpha.Get(), outputAlpha.Get());
    return copy(inputAlpha.Get(), outputAlpha.Get(), m_uProcessingMode | XFImageChannelMono);
}

qzILStatus qzILMonadicImgProc::ExecuteAlphaPart(IXFImage* input, IXFImage* output) {
    qzILColor const color = m_oDefaultColor;
    IXFImage* const pInput = m_pInputImg;
    IXFImage* const pOutput = m_pOutputImg;
    m_pInputImg = input;
    m_pOutputImg = output;
    // A one-channel image takes the first value of a colour.
    m_oDefaultColor.SetRed(color.GetAlpha());
    qzILStatus const status = Execute();
    m_oDefaultColor = color;
    m_pInputImg = pInput;
    m_pOutputImg = pOutput;
    return status;
}

qzILStatus qzILMonadicImgProc::Verify() {
    if (qzILStatus const status = qzILImgProc::Verify(); status != 1) return status;
    if (!m_pInputImg) return Fail(0x1000B);
    if (!HasPixels(m_pInputImg)) return Fail(0x1000C);
    return MaskMayBeOutput(m_pInputImg, m_oOutputOffset) ? 1 : Fail(0x1006C);
}

qzILStatus qzILMonadicImgProc::VerifyOneFormat() {
    if (qzILStatus const status = qzILMonadicImgProc::Verify(); status != 1) return status;
    qzILVector2l const place;
    unsigned const code = qzILVerifyROIAndMask(0, &m_pInputImg, &place, 1, m_pOutputImg, m_pMaskImg, m_oMaskRect,
                                               m_oRoi, m_oOutputOffset, 0);
    if (code != 0) return Fail(code);
    GUID inputFormat{}, outputFormat{};
    m_pInputImg->GetFormat(&inputFormat);
    m_pOutputImg->GetFormat(&outputFormat);
    return inputFormat == outputFormat ? 1 : Fail(0x1000E);
}

qzILStatus qzILMonadicPixelProcBase::Verify() {
    return VerifyOneFormat();
}

qzILStatus qzILMonadicPixelProcBase::PrepareData() {
    Source const source{m_pInputImg, {}, &m_oInputHelper, &m_pBufferImg, 0x1000B, 0x1000C};
    return PrepareRegion({&source, 1}, 0, m_oOutputHelper, m_oMaskHelper, m_oCopyHelper, m_oBoxes);
}

qzILStatus qzILMonadicPixelProcBase::ProcessData() {
    FillAround(m_oBoxes, m_oCopyHelper);
    return m_oBoxes.oProcessed.IsEmpty() ? 1 : DoEffect();
}

qzILStatus qzILMonadicPixelProcBase::CleanData() {
    ReleaseBuffer(&m_pBufferImg);
    for (qzILImageHelper* const pHelper : {&m_oInputHelper, &m_oOutputHelper, &m_oMaskHelper, &m_oCopyHelper}) {
        *pHelper = qzILImageHelper();
    }
    return 1;
}

qzILStatus qzILMonadicPixelProc::PrepareData() {
    qzILStatus const status = qzILMonadicPixelProcBase::PrepareData();
    qzILBbox2l const& box = m_oBoxes.oProcessed;
    if (status != 1 || box.IsEmpty()) return status;
    m_oInputLines = LinesOf(m_oInputHelper, box, &m_oInputAlphaLines);
    m_oOutputLines = LinesOf(m_oOutputHelper, box, &m_oOutputAlphaLines);
    m_oMaskLines = MaskLinesOf(m_oMaskHelper, box);
    OnAdjustProcessedRegionBbox();
    return status;
}

void qzILMonadicPixelProc::OnAdjustProcessedRegionBbox() {
    AdjustProcessedRegionBbox(m_oBoxes.oProcessed);
}

qzILStatus qzILMonadicPixelProc::CleanData() {
    m_oInputLines = m_oOutputLines = m_oMaskLines = m_oInputAlphaLines = m_oOutputAlphaLines = {};
    return qzILMonadicPixelProcBase::CleanData();
}

bool qzILMonadicPixelProc::Prepare(Prepared& prepared) const {
    prepared.oWalk.oA = m_oInputLines;
    prepared.oWalk.oOut = m_oOutputLines;
    prepared.oWalk.oMask = m_oMaskLines;
    prepared.oWalk.oAlphaIn = m_oInputAlphaLines;
    prepared.oWalk.oAlphaOut = m_oOutputAlphaLines;
    prepared.oBox = m_oBoxes.oProcessed;
    prepared.pSource = &m_oInputHelper;
    return true;
}

unsigned char qzILMonadicPixelProc::Operation8(unsigned char) const {
    return 0;
}

unsigned short qzILMonadicPixelProc::Operation16(unsigned short) const {
    return 0;
}

qzILStatus qzILMonadicPixelProc::DoEffect() {
    if (!Contains(kRawFormats, Format())) return 1;
    // A one-channel value function is a table: every value once instead of a virtual call per sample.
    bool const wide = GetChannelSizeFromFormat(Format()) == 2;
    std::unique_ptr<u16[]> const table(new (std::nothrow) u16[wide ? 65536 : 128]);
    if (!table) return Fail(Code::OutOfMemory);
    Run(GetLut(), [&]<class T>(As<T>) {
        T* const pTable = reinterpret_cast<T*>(table.get());
        for (int i = 0; i <= kFullScale<T>; ++i) {
            if constexpr (sizeof(T) == 1) {
                pTable[i] = Operation8(static_cast<T>(i));
            } else {
                pTable[i] = Operation16(static_cast<T>(i));
            }
        }
        return Lut<T>{{pTable, pTable, pTable, pTable}};
    });
    return 1;
}
