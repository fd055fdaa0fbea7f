#include "qzil/frame/img_proc.h"

#include "qzil/frame/image_utils.h"
#include "qzil/frame/mask_check.h"
#include "qzil/frame/run.h"
#include "qzil/image/format_relations.h"
#include "qzil/image/image_ops.h"

#include <algorithm>

using namespace qzil;

void qzILImgProc::Init() {
    m_pOutputImg = nullptr;
    m_oDefaultColor = qzILColor();
    m_oMaskRect = {0, 0, 0x7FFFFFFF, 0x7FFFFFFF};
    m_pMaskImg = nullptr;
    m_uMaskChannel = XFImageChannelMono;
    m_oRoi = {0, 0, -1, -1};
    m_oOutputOffset = qzILVector2l();
    m_iFirstLineEven = 1;
    m_iRoiSet = 0;
}

void qzILImgProc::SetOutputImg(IXFImage* image) {
    m_pOutputImg = image;
    if (image && !m_iRoiSet) m_oRoi.Size = WholeOf(image).Size;
}

void qzILImgProc::SetROI(qzILBbox2l const& roi) {
    m_oRoi = roi;
    m_iRoiSet = 1;
}

void qzILImgProc::SetMask(qzILBbox2l const& rectangle, IXFImage* image, XFImageChannel channel) {
    m_oMaskRect = rectangle;
    m_pMaskImg = image;
    m_uMaskChannel = channel;
}

void qzILImgProc::SetMask(int x, int y, unsigned width, unsigned height, IXFImage* image, XFImageChannel channel) {
    SetMask({x, y, static_cast<int>(width), static_cast<int>(height)}, image, channel);
}

void qzILImgProc::GetMask(IXFImage** image, XFImageChannel* channel) const {
    if (image) *image = m_pMaskImg;
    if (channel) *channel = m_uMaskChannel;
}

qzILStatus qzILImgProc::Execute() {
    return RunSteps(*this);
}

qzILStatus qzILImgProc::Verify() {
    if (!m_pOutputImg) return Fail(0x10002);
    if (!HasPixels(m_pOutputImg)) return Fail(0x10003);
    GUID const format = FormatOf(m_pOutputImg);
    if (m_pMaskImg) {
        unsigned maskChannelSize = 0, channelSize = 0;
        m_pMaskImg->GetChannelSize(&maskChannelSize);
        m_pOutputImg->GetChannelSize(&channelSize);
        if (unsigned const code = FindMaskFault(m_pMaskImg, m_oMaskRect, m_uMaskChannel)) return Fail(code);
        if (maskChannelSize != channelSize) return Fail(0x10009);
    }
    qzILBbox2l const region(m_oOutputOffset.x, m_oOutputOffset.y, m_oRoi.Size.x, m_oRoi.Size.y);
    if (!(region.Intersect(WholeOf(m_pOutputImg)) == region)) return Fail(0x1000A);
    if (!IsFormatYCC(format)) return 1;
    unsigned const channels = m_uProcessingMode & kModeAllChannels;
    if (!IsFormatWithAlpha(format)) return (channels & kModeColor) == kModeColor ? 1 : Fail(0x20002);
    bool const selectable = channels == kModeAllChannels || channels == kModeColor || channels == kModeAlpha;
    return selectable ? 1 : Fail(0x20002);
}

bool qzILImgProc::OutputHasFormatOf(FormatList formats) const {
    return m_pOutputImg && Contains(formats, FormatOf(m_pOutputImg));
}

qzILStatus qzILImgProc::VerifyFormat(FormatList formats) {
    return OutputHasFormatOf(formats) ? 1 : Fail(0x1000D);
}

bool qzILImgProc::MaskMayBeOutput(IXFImage* input, qzILVector2l const& offset) const {
    if (!SamePixels(m_pMaskImg, m_pOutputImg)) return true;
    return SamePixels(input, m_pOutputImg) && GetNumOfChannelsFromFormat(FormatOf(m_pOutputImg)) > 1 &&
           (m_uProcessingMode & m_uMaskChannel) == 0 && m_oRoi.Origin == offset;
}

bool qzILImgProc::HasSplitPlanes() const {
    if (!m_pOutputImg) return false;
    GUID color{}, alpha{};
    GUID const format = FormatOf(m_pOutputImg);
    return IsFormatYCCA(format) && qzILSplitYCCAImageFormat(format, &color, &alpha) >= 0;
}

void qzILImgProc::ShareSettings(qzILImgProc& other, unsigned mode) const {
    other.SetROI(m_oRoi);
    other.SetMask(m_oMaskRect, m_pMaskImg, m_uMaskChannel);
    other.SetOutputOffset(m_oOutputOffset);
    other.SetDefaultColor(m_oDefaultColor);
    other.SetProcessingMode(mode);
}

unsigned qzILImgProc::FindFault(std::span<Source const> sources) const {
    if (!m_pOutputImg) return 0x10002;
    if (!HasPixels(m_pOutputImg)) return 0x10003;
    qzILImageHelper const output(m_pOutputImg);
    for (Source const& source : sources) {
        if (!source.pImage) return source.uAbsentCode;
        if (!HasPixels(source.pImage)) return source.uNoPixelsCode;
    }
    for (Source const& source : sources) {
        qzILImageHelper const input(source.pImage);
        if (input.m_oFormat != output.m_oFormat || input.m_iPixelStep != output.m_iPixelStep ||
            input.m_uChannelSize != output.m_uChannelSize) {
            return 0x1000E;
        }
    }
    if (!m_pMaskImg) return 0;
    if (unsigned const code = FindMaskFault(m_pMaskImg, WholeOf(m_pMaskImg), m_uMaskChannel)) return code;
    qzILImageHelper const mask(m_pMaskImg);
    bool const natural = mask.m_uPixelSize == GetPixelSizeFromFormat(mask.m_oFormat);
    return natural && mask.m_uChannelSize == output.m_uChannelSize ? 0 : 0x10009;
}

qzILStatus qzILImgProc::PrepareRegion(std::span<Source const> sources, unsigned primary, qzILImageHelper& output,
                                      qzILImageHelper& mask, qzILImageHelper& copy, Boxes& boxes) {
    boxes = Boxes{};
    if (unsigned const code = FindFault(sources)) return Fail(code);

    qzILVector2l const delta = m_oOutputOffset - m_oRoi.Origin;
    qzILVector2l const back = m_oRoi.Origin - m_oOutputOffset;
    // Verify refuses a region that leaves the output, and a mask image smaller than its rectangle; a host that went on
    // gets what lies inside both.
    qzILBbox2l const region(m_oOutputOffset.x, m_oOutputOffset.y, m_oRoi.Size.x, m_oRoi.Size.y);
    boxes.oOutput = region.Intersect(WholeOf(m_pOutputImg));
    qzILBbox2l const roi = boxes.oOutput == region ? m_oRoi : Moved(boxes.oOutput, back);
    qzILBbox2l maskRect = m_oMaskRect;
    if (m_pMaskImg) {
        maskRect.Size.x = std::min(maskRect.Size.x, WholeOf(m_pMaskImg).Size.x);
        maskRect.Size.y = std::min(maskRect.Size.y, WholeOf(m_pMaskImg).Size.y);
    }

    Source const& main = sources[primary];
    qzILBbox2l const input = Moved(WholeOf(main.pImage), main.oPlace).Intersect(roi);
    qzILBbox2l masked = input;
    for (Source const& source : sources) masked = masked.Intersect(Moved(WholeOf(source.pImage), source.oPlace));
    masked = masked.Intersect(maskRect);

    // Views a source directly, or through a copy of the rectangle when the output would overwrite what is still to
    // read.
    auto const view = [&](Source const& source, qzILBbox2l const& rectangle, qzILImageHelper& helper) {
        qzILBbox2l const own(m_oRoi.Origin.x - source.oPlace.x, m_oRoi.Origin.y - source.oPlace.y, m_oRoi.Size.x,
                             m_oRoi.Size.y);
        bool const overlaps = SamePixels(source.pImage, m_pOutputImg) && !(own.Origin == m_oOutputOffset) &&
                              !own.Intersect(region).IsEmpty();
        qzILVector2l offset = back - source.oPlace;
        qzILImageHelper& holder = source.pHelper ? *source.pHelper : helper;
        if (overlaps && !*source.ppBuffer) {
            qzILBbox2l const place = Moved(rectangle, qzILVector2l() - source.oPlace);
            if (BufferImage(source.pImage, source.ppBuffer, place) != 1) return false;
            holder.m_iOffsetX = back.x - rectangle.Origin.x;
            holder.m_iOffsetY = back.y - rectangle.Origin.y;
        }
        if (overlaps) offset = qzILVector2l(holder.m_iOffsetX, holder.m_iOffsetY);
        helper.SetImage(overlaps ? *source.ppBuffer : source.pImage);
        helper.m_iOffsetX = offset.x;
        helper.m_iOffsetY = offset.y;
        return true;
    };
    bool viewed = true;
    if (!input.IsEmpty() && !(masked == input)) viewed = view(main, input, copy);
    if (!masked.IsEmpty()) {
        for (Source const& source : sources) {
            if (source.pHelper) viewed = viewed && view(source, masked, *source.pHelper);
        }
        if (m_pMaskImg) {
            mask.SetImage(m_pMaskImg);
            qzILVector2l const offset = back - maskRect.Origin;
            mask.m_iOffsetX = offset.x;
            mask.m_iOffsetY = offset.y;
        }
    }
    if (!viewed) return Fail(0x10001);

    output.SetImage(m_pOutputImg);
    // A field of a split-field image is walked as a whole, from its own start: Verify lets nothing else through.
    bool const oneField = output.m_iSplitField && (m_uProcessingMode & kModeNoLines) != 0;
    bool const whole = delta == qzILVector2l() && masked == WholeOf(m_pOutputImg);
    if (oneField && !whole && !masked.IsEmpty()) return Fail(0x10060);
    for (Source const& source : sources) {
        bool const sameSize = WholeOf(source.pImage).Size == WholeOf(m_pOutputImg).Size;
        if (oneField && !masked.IsEmpty() && (!sameSize || !(source.oPlace == qzILVector2l()))) return Fail(0x10060);
    }
    boxes.oInput = boxes.oCopy = Moved(input, delta);
    boxes.oMasked = boxes.oProcessed = Moved(masked, delta);
    m_iFirstLineEven = (boxes.oProcessed.Origin.y & 1) == 0;
    return 1;
}

void qzILImgProc::FillAround(Boxes const& boxes, qzILImageHelper const& copy) {
    FillOutput(boxes.oInput, boxes.oOutput, m_oDefaultColor);
    FillOutput(boxes.oMasked, boxes.oCopy, copy);
}

void qzILImgProc::FillOutput(qzILBbox2l const& inner, qzILBbox2l const& outer, qzILColor const& color) {
    if (inner == outer) return;
    qzILFillImageWithColor(m_pOutputImg, color, m_uProcessingMode | kModeAllChannels, &outer, &inner);
}

void qzILImgProc::FillOutput(qzILBbox2l const& inner, qzILBbox2l const& outer, qzILImageHelper const& source) {
    if (inner == outer) return;
    qzILImageHelper const output(m_pOutputImg);
    qzILFillOutput(source, output, inner, outer, m_uProcessingMode);
}

qzILStatus qzILImgProc::BufferImage(IXFImage* image, IXFImage** buffer, qzILBbox2l const& rectangle) {
    if (!image || !buffer) return -1;
    *buffer = nullptr;
    Ref<IXFImage> copy;
    if (qzILCreateImage(nullptr, IID_IXFImage, copy.Out()) < 0) return -1;
    unsigned pixelSize = 0, channelSize = 0;
    image->GetPixelSize(&pixelSize);
    image->GetChannelSize(&channelSize);
    copy->SetFormat(FormatOf(image));
    copy->SetPixelSize(pixelSize);
    copy->SetChannelSize(channelSize);
    if (copy->Allocate(rectangle.Size.x, rectangle.Size.y) < 0) return -1;
    qzILVector2l const origin;
    if (qzILCopyImage(image, copy.Get(), &rectangle, &origin, 0) < 0) return -1;
    *buffer = copy.Detach();
    return 1;
}

void qzILImgProc::ReleaseBuffer(IXFImage** buffer) {
    if (*buffer) (*buffer)->Release();
    *buffer = nullptr;
}

void qzILImgProc::AdjustProcessedRegionBbox(qzILBbox2l& box) const {
    unsigned const fields = m_uProcessingMode & kModeNoLines;
    if (fields == 0) return;
    int const odd = SkipsLine(fields, box.Origin.y) ? 0 : 1;
    box.Size.y = fields == kModeNoLines ? 0 : (box.Size.y + odd) >> 1;
}

Lines qzILImgProc::LinesOf(qzILImageHelper const& helper, qzILBbox2l const& box, Lines* alpha) const {
    if (alpha) *alpha = {};
    if (!helper.m_pLineZero) return {};
    Jumps const jumps = JumpsOf(helper, box.Origin.x, box.Origin.y, box.Size.x, m_uProcessingMode);
    if (alpha) *alpha = {jumps.pAlphaFirst, jumps.iAlphaLine, helper.m_iAlphaPixelStep};
    return {jumps.pFirst, jumps.iLine, helper.m_iPixelStep};
}

Lines qzILImgProc::MaskLinesOf(qzILImageHelper const& mask, qzILBbox2l const& box) const {
    if (mask.IsEmpty()) return {};
    Lines lines = LinesOf(mask, box);
    lines.pFirst += std::size_t{mask.m_uChannelSize} * MaskChannelPlace(mask.m_oFormat, m_uMaskChannel);
    return lines;
}

void qzILImgProc::ShiftStarts(int n, std::initializer_list<Lines*> lines, qzILBbox2l& box) {
    for (Lines* const pLines : lines) {
        if (!pLines->pFirst) continue;
        std::ptrdiff_t const bytes = std::ptrdiff_t{n} * pLines->iPixelStep;
        pLines->pFirst += bytes;
        pLines->iJump += bytes;
    }
    box.Origin.x += n;
    box.Size.x -= n;
}

bool qzILImgProc::CompleteWalk(kernel::Walk& walk, qzILBbox2l const& box, kernel::RowTraits const& traits) const {
    int const pixelBytes = traits.iSamples * traits.iSampleBytes;
    bool const fits = walk.oA.iPixelStep == pixelBytes && walk.oOut.iPixelStep == pixelBytes &&
                      (!walk.oB.pFirst || walk.oB.iPixelStep == pixelBytes);
    bool const maskFits = !walk.oMask.pFirst || walk.oMask.iPixelStep % traits.iSampleBytes == 0;
    if (!fits || !maskFits) return false;
    walk.iWidth = box.Size.x;
    walk.iLines = box.Size.y;
    walk.bOddX = (m_oOutputOffset.x & 1) != 0;
    walk.uMode = m_uProcessingMode;
    if (HasInterrupt()) {
        walk.pStop = [](void const* self) { return static_cast<qzILImgProc const*>(self)->IsInterrupted(); };
        walk.pStopContext = this;
    }
    return true;
}

qzILStatus qzILImgProc::RunWalk(kernel::Walk& walk, qzILBbox2l const& box, kernel::RowTraits const& traits,
                                kernel::RowCall const& call) const {
    if (!CompleteWalk(walk, box, traits)) return -1;
    kernel::RunRows(walk, traits, call);
    return 1;
}

bool qzILImgProc::Prepare(Prepared&) const {
    return false;
}

bool qzILImgProc::Has(kernel::Forms const& forms) const {
    Prepared prepared;
    kernel::Call call;
    return Prepare(prepared) && FindForm(forms, prepared, call);
}

kernel::Form const* qzILImgProc::FindForm(kernel::Forms const& forms, Prepared const& prepared,
                                          kernel::Call& call) const {
    call.pFormat = &prepared.pSource->m_oFormat;
    call.eLayout = LayoutOf(*call.pFormat);
    call.bMasked = prepared.oWalk.oMask.pFirst != nullptr;
    call.bPassB = prepared.oWalk.bPassB;
    kernel::Form const* const pForm = forms.Find(call.eLayout, ChannelTypeOf(*call.pFormat));
    call.uSelected = pForm && pForm->oTraits.bHasChannels ? m_uProcessingMode & kModeAllChannels : kModeAllChannels;
    return pForm;
}
