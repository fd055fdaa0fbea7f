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
    qzILImageHelper const output(m_pOutputImg);
    if (!output.HasPixels()) return Fail(0x10003);
    if (m_pMaskImg) {
        qzILImageHelper const mask(m_pMaskImg);
        if (unsigned const code = FindMaskFault(mask, m_oMaskRect.Size, m_uMaskChannel)) return Fail(code);
        if (mask.m_uChannelSize != output.m_uChannelSize) return Fail(0x10009);
    }
    qzILBbox2l const region(m_oOutputOffset.x, m_oOutputOffset.y, m_oRoi.Size.x, m_oRoi.Size.y);
    if (!(region.Intersect(WholeOf(m_pOutputImg)) == region)) return Fail(0x1000A);
    if (!output.Format().IsYcc()) return 1;
    unsigned const channels = m_uProcessingMode & kModeAllChannels;
    if (!output.Format().HasAlpha()) return (channels & kModeColor) == kModeColor ? 1 : Fail(0x20002);
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
    FormatRow const& format = RowOf(FormatOf(m_pOutputImg));
    GUID color{}, alpha{};
    return format.IsYcca() && qzILSplitYCCAImageFormat(format.oFormat, &color, &alpha) >= 0;
}

void qzILImgProc::ShareSettings(qzILImgProc& other, unsigned mode) const {
    other.SetROI(m_oRoi);
    other.SetMask(m_oMaskRect, m_pMaskImg, m_uMaskChannel);
    other.SetOutputOffset(m_oOutputOffset);
    other.SetDefaultColor(m_oDefaultColor);
    other.SetProcessingMode(mode);
}

unsigned qzILImgProc::ViewImages(std::span<Source const> sources, qzILImageHelper& output,
                                 qzILImageHelper& mask) const {
    if (!m_pOutputImg) return 0x10002;
    output.SetImage(m_pOutputImg);
    if (!output.HasPixels()) return 0x10003;
    for (Source const& source : sources) {
        if (!source.pImage) return source.uAbsentCode;
    }
    bool sameLayouts = true;
    for (Source const& source : sources) {
        qzILImageHelper unread;
        qzILImageHelper& input = source.pHelper ? *source.pHelper : unread;
        input.SetImage(source.pImage);
        if (!input.HasPixels()) return source.uNoPixelsCode;
        sameLayouts = sameLayouts && input.m_oFormat == output.m_oFormat && input.m_uPixelSize == output.m_uPixelSize &&
                      input.m_uChannelSize == output.m_uChannelSize;
    }
    if (!sameLayouts) return 0x1000E;
    if (!m_pMaskImg) return 0;
    mask.SetImage(m_pMaskImg);
    if (unsigned const code = FindMaskFault(mask, {mask.m_iWidth, mask.m_iHeight}, m_uMaskChannel)) return code;
    return mask.m_uChannelSize == output.m_uChannelSize ? 0 : 0x10009;
}

unsigned qzILImgProc::FindPlaneFault(std::span<Source const> sources) const {
    if (!HasPixels(m_pOutputImg)) return 0x10003;
    for (Source const& source : sources) {
        if (source.pImage && !HasPixels(source.pImage)) return source.uNoPixelsCode;
    }
    return 0;
}

qzILImgProc::Region qzILImgProc::FormRegion(std::span<Source const> sources, unsigned primary) const {
    Region region;
    region.oDelta = Way(m_oRoi.Origin, m_oOutputOffset);
    region.oBack = Way(m_oOutputOffset, m_oRoi.Origin);
    // Verify refuses a region that leaves the output, and a mask image smaller than its rectangle; a host that went on
    // gets what lies inside both.
    region.oWanted = {m_oOutputOffset.x, m_oOutputOffset.y, m_oRoi.Size.x, m_oRoi.Size.y};
    region.oOutput = region.oWanted.Intersect(WholeOf(m_pOutputImg));
    qzILBbox2l const roi = region.oOutput == region.oWanted ? m_oRoi : Moved(region.oOutput, region.oBack);
    region.oMaskRect = m_oMaskRect;
    if (m_pMaskImg) {
        region.oMaskRect.Size.x = std::min(region.oMaskRect.Size.x, WholeOf(m_pMaskImg).Size.x);
        region.oMaskRect.Size.y = std::min(region.oMaskRect.Size.y, WholeOf(m_pMaskImg).Size.y);
    }
    region.oInput = Moved(WholeOf(sources[primary].pImage), sources[primary].oPlace).Intersect(roi);
    region.oMasked = region.oInput;
    for (Source const& source : sources) {
        if (&source == &sources[primary]) continue;
        region.oMasked = region.oMasked.Intersect(Moved(WholeOf(source.pImage), source.oPlace));
    }
    region.oMasked = region.oMasked.Intersect(region.oMaskRect);
    return region;
}

bool qzILImgProc::ViewSource(Source const& source, qzILBbox2l const& rectangle, Region const& region,
                             qzILImageHelper& helper) const {
    qzILVector2l const origin = Way(source.oPlace, m_oRoi.Origin);
    qzILVector2l offset = Way(source.oPlace, region.oBack);
    bool const overlaps =
        SamePixels(source.pImage, m_pOutputImg) && !(origin == m_oOutputOffset) &&
        !qzILBbox2l(origin.x, origin.y, m_oRoi.Size.x, m_oRoi.Size.y).Intersect(region.oWanted).IsEmpty();
    if (overlaps) {
        qzILBbox2l const place = Moved(rectangle, Way(source.oPlace, {}));
        ReleaseBuffer(source.ppBuffer);
        if (BufferImage(source.pImage, source.ppBuffer, place) != 1) return false;
        offset = Way(rectangle.Origin, region.oBack);
    }
    IXFImage* const pImage = overlaps ? *source.ppBuffer : source.pImage;
    if (helper.m_pImage != pImage) helper.SetImage(pImage);
    helper.m_iOffsetX = offset.x;
    helper.m_iOffsetY = offset.y;
    return true;
}

bool qzILImgProc::FieldIsWhole(std::span<Source const> sources, Region const& region,
                               qzILImageHelper const& output) const {
    // A field of a split-field image is walked as a whole, from its own start: Verify lets nothing else through.
    bool const oneField = output.m_iSplitField && (m_uProcessingMode & kModeNoLines) != 0;
    if (!oneField || region.oMasked.IsEmpty()) return true;
    qzILBbox2l const whole(0, 0, output.m_iWidth, output.m_iHeight);
    return region.oDelta == qzILVector2l() && region.oMasked == whole &&
           std::all_of(sources.begin(), sources.end(), [&](Source const& source) {
               return WholeOf(source.pImage).Size == whole.Size && source.oPlace == qzILVector2l();
           });
}

qzILStatus qzILImgProc::PrepareRegion(std::span<Source const> sources, unsigned primary, qzILImageHelper& output,
                                      qzILImageHelper& mask, qzILImageHelper& copy, Boxes& boxes) {
    boxes = Boxes{};
    if (unsigned const code = ViewImages(sources, output, mask)) return Fail(code);
    Region const region = FormRegion(sources, primary);
    bool const copies = !region.oInput.IsEmpty() && !(region.oMasked == region.oInput);
    for (Source const& source : sources) {
        bool const copied = copies && &source == &sources[primary];
        if (!copied && (region.oMasked.IsEmpty() || !source.pHelper)) continue;
        qzILImageHelper& helper = source.pHelper ? *source.pHelper : copy;
        if (!ViewSource(source, copied ? region.oInput : region.oMasked, region, helper)) return Fail(0x10001);
        if (copied) copy = helper;
    }
    qzILVector2l const maskOffset = Way(region.oMaskRect.Origin, region.oBack);
    mask.m_iOffsetX = maskOffset.x;
    mask.m_iOffsetY = maskOffset.y;
    if (!FieldIsWhole(sources, region, output)) return Fail(0x10060);
    boxes.oOutput = region.oOutput;
    boxes.oInput = boxes.oCopy = Moved(region.oInput, region.oDelta);
    boxes.oMasked = boxes.oProcessed = Moved(region.oMasked, region.oDelta);
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

Lines qzILImgProc::MaskLinesOf(qzILImageHelper const& mask, qzILBbox2l const& box) const {
    if (mask.IsEmpty()) return {};
    Lines lines = LinesOf(mask, box);
    lines.pFirst += std::size_t{mask.m_uChannelSize} * MaskChannelPlace(mask.Format(), m_uMaskChannel);
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
    walk.bOddX = (m_oOutputOffset.x & 1) != 0;
    walk.uMode = m_uProcessingMode;
    SetPlace(walk, box);
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

qzILStatus qzILImgProc::RunPrepared(Prepared& prepared, kernel::RowTraits const& traits,
                                    kernel::RowCall const& call) const {
    if (!prepared.oCrop) return RunWalk(prepared.oWalk, prepared.oBox, traits, call);
    if (!CompleteWalk(prepared.oWalk, prepared.oBox, traits)) return -1;
    kernel::RunCropped(prepared.oWalk, traits, call, *prepared.oCrop);
    return 1;
}

bool qzILImgProc::Has(kernel::Forms const& forms) const {
    Prepared prepared;
    kernel::Call call;
    return Prepare(prepared) && FindForm(forms, prepared, call);
}

kernel::Form const* qzILImgProc::FindForm(kernel::Forms const& forms, Prepared const& prepared,
                                          kernel::Call& call) const {
    call = CallIn(prepared.pSource->Format(), m_uProcessingMode);
    call.bMasked = prepared.oWalk.oMask.pFirst != nullptr;
    call.bPassB = prepared.oWalk.bPassB;
    kernel::Form const* const pForm = qzil::FindForm(forms, call);
    if (!pForm || !pForm->oTraits.bHasChannels) call.uSelected = kModeAllChannels;
    return pForm;
}
