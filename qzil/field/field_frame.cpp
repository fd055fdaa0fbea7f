#include "qzil/field/field_frame.h"

#include "qzil/frame/codes.h"
#include "qzil/frame/image_utils.h"
#include "qzil/image/format_relations.h"
#include "qzil/image/image_ops.h"

#include <algorithm>
#include <cstring>

using namespace qzil;

namespace {

constexpr std::array kFieldFormats =
    Join(k8Bit422Formats, k8BitAlphaPlaneFormats, kFloat422Formats, kS2_14_422Formats,
         std::array{MFIF_CbYCrYA_FLOAT, MFIF_CbYCrY709A_FLOAT, MFIF_CbYCrYA_S2_14, MFIF_CbYCrY709A_S2_14,
                    MFIF_RGBA_RAW_32, MFIF_RGBA_FLOAT, MFIF_RGBA_S2_14, MFIF_RGBA_RAW_32_VIDEO, MFIF_RGBA_RAW_64,
                    MFIF_MONO_RAW_8, MFIF_MONO_RAW_8_TD, MFIF_MONO_RAW_16, MFIF_MONO_FLOAT, MFIF_MONO_S2_14});

}  // namespace

FormatList qzILFieldBasedImgProc::GetFormats() {
    return kFieldFormats;
}

void qzILFieldBasedImgProc::Init() {
    m_uProcessingMode = kModeAllChannels;
    m_iLineFlag = 1;
    m_uLineBytes = 0;
    m_oClipped = m_oOutputRect = m_oActive = qzILBbox2l();
    m_oShift = qzILVector2l();
    m_oDefaultColor = qzILColor();
    m_pInputImg = nullptr;
    m_oOutput = OutputPlace();
    m_pFormat = &kUnknownFormat;
    m_iHeight = 0;
}

void qzILFieldBasedImgProc::SetOutputImg(IXFImage* image) {
    m_oOutput.SetImage(image);
}

int qzILFieldBasedImgProc::GetImageSlots(ImageSlots& slots) {
    slots[0] = &m_pInputImg;
    slots[1] = &m_oOutput.pImage;
    return 2;
}

qzILStatus qzILFieldBasedImgProc::Execute() {
    if (!m_pInputImg || !IsFormatYCCA(FormatOf(m_pInputImg))) return ExecutePlane();
    ImageSlots slots{};
    int const count = GetImageSlots(slots);
    Ref<IXFImage> color[kMostImages], alpha[kMostImages];
    IXFImage* whole[kMostImages] = {};
    for (int i = 0; i < count; ++i) {
        whole[i] = *slots[i];
        if (!whole[i]) continue;
        // What cannot be taken apart has its code there.
        if (!HasPixels(whole[i]) || !(FormatOf(whole[i]) == FormatOf(m_pInputImg))) return ExecutePlane();
        if (qzILSplitYCCAImage(whole[i], color[i].Typed(), alpha[i].Typed()) < 0) return Fail(Code::OutOfMemory);
    }
    auto const executeOn = [&](Ref<IXFImage> const* planes) {
        for (int i = 0; i < count; ++i) *slots[i] = planes[i].Get();
        return Execute();
    };
    qzILStatus status = executeOn(color);
    if (!IsInterrupted() && status == 1) {
        qzILColor const kept = m_oDefaultColor;
        m_oDefaultColor.SetRed(kept.GetAlpha());
        status = executeOn(alpha);
        m_oDefaultColor = kept;
    }
    for (int i = 0; i < count; ++i) *slots[i] = whole[i];
    return status;
}

qzILStatus qzILFieldBasedImgProc::ExecutePlane() {
    return RunSteps(*this);
}

qzILStatus qzILFieldBasedImgProc::Verify() {
    if (qzILStatus const status = qzILProcessor::Verify(); status != 1) return status;
    if (!m_pInputImg) return Fail(Code::NoInput);
    if (!HasPixels(m_pInputImg)) return Fail(Code::InputPixels);
    if (!Contains(kFieldFormats, FormatOf(m_pInputImg))) return Fail(Code::InputFormat);
    if (m_oOutput.pImage) {
        if (unsigned const code = FindOutputFault(m_oOutput.pImage)) return Fail(code);
    }
    return (m_uProcessingMode & kModeAllChannels) == kModeAllChannels ? 1 : Fail(Code::ChannelSelection);
}

unsigned qzILFieldBasedImgProc::FindOutputFault(IXFImage* output) {
    if (!HasPixels(output)) return Code::OutputPixels;
    if (!(FormatOf(output) == FormatOf(m_pInputImg))) return Code::FormatsDiffer;
    if (!m_oOutput.FitsInto(output)) return Code::Region;
    qzILVector2l const place;
    // Without a mask none clips the region.
    return qzILVerifyROIAndMask(1, &m_pInputImg, &place, 1, output, nullptr, m_oOutput.oRoi, m_oOutput.oRoi,
                                m_oOutput.oOffset, 0);
}

qzILStatus qzILFieldBasedImgProc::FormRegion(std::span<Source const> sources, std::span<IXFImage* const> outputs) {
    m_oActive = qzILBbox2l();
    for (Source const& source : sources) {
        if (source.pImage) source.pHelper->SetImage(source.pImage);
        if (source.pImage && !source.pHelper->HasPixels()) return Fail(Code::InputPixels);
    }
    if (!sources[0].pImage) return Fail(Code::NoInput);
    qzILImageHelper const& input = *sources[0].pHelper;
    if (!Contains(kFieldFormats, input.m_oFormat)) return Fail(Code::InputFormat);
    m_oShift = m_oOutput.Shift();
    m_oOutputRect = m_oOutput.Region();
    m_oClipped = Moved(m_oOutput.oRoi.Intersect(WholeOf(sources[0].pImage)), m_oShift);
    // Verify refuses regions outside the images, and images that differ; a host that went on gets what lies in all.
    for (Source const& source : sources.subspan(1)) {
        if (!source.pImage) continue;
        if (!SameLayout(*source.pHelper, input)) return Fail(Code::FormatsDiffer);
        m_oClipped = m_oClipped.Intersect(Moved(WholeOf(source.pImage), m_oShift));
    }
    m_oActive = m_oClipped;
    for (IXFImage* const pOutput : outputs) {
        if (!pOutput) continue;
        qzILImageHelper const output(pOutput);
        if (!output.HasPixels()) return Fail(Code::OutputPixels);
        if (!SameLayout(output, input)) return Fail(Code::FormatsDiffer);
        m_oActive = m_oActive.Intersect(WholeOf(pOutput));
    }
    m_pFormat = &input.Format();
    m_iHeight = input.m_iHeight;
    if (m_oActive.IsEmpty()) return 1;
    m_uLineBytes = static_cast<unsigned>(m_oActive.Size.x * input.m_iPixelStep);
    // The parity of a difference.
    m_iLineFlag = (m_oActive.Origin.y ^ m_oShift.y ^ 1) & 1;
    return 1;
}

qzILStatus qzILFieldBasedImgProc::ViewSource(Source const& source, std::span<IXFImage* const> outputs, int around) {
    if (!source.pImage || m_oActive.IsEmpty()) return 1;
    bool const written = std::any_of(outputs.begin(), outputs.end(),
                                     [&](IXFImage* one) { return one && SamePixels(one, source.pImage); });
    if (!written) return 1;
    qzILBbox2l lines = Moved(m_oActive, Way(m_oShift, {}));
    lines.Origin.y -= around;
    lines.Size.y += 2 * around;
    lines = lines.Intersect(WholeOf(source.pImage));
    ReleaseClone(source.ppClone);
    Ref<IXFImage> clone;
    if (qzILCloneImage(source.pImage, IID_IXFImage, clone.Out(), lines) < 0 || !HasPixels(clone.Get())) {
        return Fail(Code::OutOfMemory);
    }
    source.pHelper->SetImage(clone.Get());
    *source.ppClone = clone.Detach();
    return 1;
}

void qzILFieldBasedImgProc::ReleaseClone(IXFImage** clone) {
    if (*clone) (*clone)->Release();
    *clone = nullptr;
}

qzILStatus qzILFieldBasedImgProc::ProcessData() {
    FillOutput(m_oClipped, m_oOutputRect, m_oDefaultColor);
    return m_oActive.IsEmpty() ? 1 : DoEffect();
}

void qzILFieldBasedImgProc::FillOutput(qzILBbox2l const& inner, qzILBbox2l const& outer, qzILColor const& color) {
    if (inner == outer || !m_oOutput.pImage) return;
    qzILFillImageWithColor(m_oOutput.pImage, color, m_uProcessingMode | kModeAllChannels, &outer, &inner);
}

bool qzILFieldBasedImgProc::Skips(int y) const {
    return SkipsLine(m_uProcessingMode, y);
}

unsigned char* qzILFieldBasedImgProc::OutputLine(qzILImageHelper const& helper, int y) const {
    return helper.GetPixelPtr(m_oActive.Origin.x, y);
}

unsigned char* qzILFieldBasedImgProc::SourceLine(qzILImageHelper const& helper, int s) const {
    return helper.GetPixelPtr(m_oActive.Origin.x - m_oShift.x, s);
}

void qzILFieldBasedImgProc::CopyLine(unsigned char* to, unsigned char const* from) const {
    if (to != from) std::memcpy(to, from, m_uLineBytes);
}
