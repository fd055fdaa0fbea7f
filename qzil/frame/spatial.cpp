#include "qzil/frame/spatial.h"

#include "qzil/frame/checks.h"
#include "qzil/frame/copy.h"
#include "qzil/frame/image_utils.h"
#include "qzil/frame/spatial_run.h"
#include "qzil/image/image_ops.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>

using namespace qzil;

namespace {

constexpr double kHighestRadius = 1073741824.9;

/// Truncated; what does not fit stops at the end of 32 bits, NaN at the lower one.
int WholePart(float radius) {
    return TruncateTo<int>(radius, -2147483648.0, 2147483647.0);
}

/// Bytes of the margin buffer that are filled at a time, so that they stay in the second-level cache.
constexpr std::ptrdiff_t kBandBytes = 0x28000;

/// True when two images share memory.
bool Overlap(qzILImageHelper const& a, qzILImageHelper const& b) {
    auto const end = [](qzILImageHelper const& image) {
        return image.m_pPixelArray + std::size_t{image.m_uPixelSize} * static_cast<std::size_t>(image.m_iWidth) *
                                         static_cast<std::size_t>(image.m_iHeight);
    };
    return std::less<>()(a.m_pPixelArray, end(b)) && std::less<>()(b.m_pPixelArray, end(a));
}

}  // namespace

qzILMonadicSpatialProc::qzILMonadicSpatialProc() {
    Init();
}

qzILMonadicSpatialProc::~qzILMonadicSpatialProc() {
    Trash();
}

void qzILMonadicSpatialProc::Init() {
    m_uEdgeMode = qzILEdgeModeColor;
    m_oEdgeColor = m_oDefaultColor;
    SetRadius(0.0f);
    m_pCopiedImg = nullptr;
}

void qzILMonadicSpatialProc::Trash() {
    ReleaseBuffer(&m_pCopiedImg);
    m_pSource.reset();
}

void qzILMonadicSpatialProc::SetRadius(qzILVector2f radius) {
    m_oRadius = radius;
    m_oIntegerRadius = qzILVector2l(WholePart(radius.x), WholePart(radius.y));
}

qzILVector2l qzILMonadicSpatialProc::Reach() const {
    // A call keeps what it began with.
    if (m_pSource) return m_pSource->GetReach();
    return {std::max(m_oIntegerRadius.x, LeastReach()), std::max(m_oIntegerRadius.y, LeastReach())};
}

qzILVector2l qzILMonadicSpatialProc::KernelSize() const {
    // Limited so that the size stays a number; no buffer can be made for such a radius.
    auto const size = [](int reach) { return 2 * std::min(reach, 0x3FFFFFFF) + 1; };
    return {size(Reach().x), size(Reach().y)};
}

bool qzILMonadicSpatialProc::HasGoodRadius() const {
    auto const good = [](double radius) { return radius >= 0.0 && radius <= kHighestRadius; };
    return good(m_oRadius.x) && good(m_oRadius.y);
}

qzILStatus qzILMonadicSpatialProc::Verify() {
    // Deliberately not HasGoodRadius: a radius that is not a number passes.
    return Checks(*this, VerifyOneFormat())
        .Range(m_oRadius.x, 0.0, kHighestRadius, Code::Radius)
        .Range(m_oRadius.y, 0.0, kHighestRadius, Code::Radius)
        .Range(m_uEdgeMode, qzILEdgeModeColor, qzILEdgeModeMirror, Code::EdgeMode);
}

qzILStatus qzILMonadicSpatialProc::PrepareData() {
    m_pSource.reset();
    Source const source{m_pInputImg, {}, nullptr, &m_pCopiedImg, Code::NoInput, Code::InputPixels};
    qzILStatus const status = PrepareRegion({&source, 1}, 0, m_oOutputHelper, m_oMaskHelper, m_oCopyHelper, m_oBoxes);
    return status != 1 || m_oBoxes.oProcessed.IsEmpty() ? status : PrepareBuffer();
}

qzILStatus qzILMonadicSpatialProc::PrepareBuffer() {
    qzILVector2l const reach = Reach(), size = ActiveSize();
    std::int64_t const width = std::int64_t{size.x} + 2 * std::int64_t{reach.x};
    std::int64_t const height = std::int64_t{size.y} + 2 * std::int64_t{reach.y};
    // Samples of a line are counted in 32 bits.
    if (width * m_oOutputHelper.m_iPixelStep > 0x7FFFFFFF || height > 0x7FFFFFFF) return -1;
    // Behind this the radius is far below the coordinates' range: the buffer would not fit memory otherwise.
    Ref<IXFImage> buffer;
    if (qzILCreateAndAllocImage(nullptr, IID_IXFImage, static_cast<int>(width), static_cast<int>(height), Format(),
                                buffer.Out()) < 0) {
        return -1;
    }
    qzILVector2l const origin = ActiveOrigin() - reach;
    qzILBbox2l const box(origin.x, origin.y, static_cast<int>(width), static_cast<int>(height));
    m_pSource.reset(new (std::nothrow)
                        MarginSource(Margin(m_pInputImg, box, m_uEdgeMode, m_oEdgeColor), buffer, reach));
    if (!m_pSource) return Fail(Code::OutOfMemory);
    // Lines are read when they are asked for, but a host that interrupts sees the buffer filled, and what is written
    // over the input has to be read before.
    if (HasInterrupt() || !CanFill(box) || Overlap(qzILImageHelper(m_pInputImg), m_oOutputHelper)) CompleteBuffer();
    return 1;
}

void qzILMonadicSpatialProc::CompleteBuffer() {
    // Memory of the pool holds other images' pixels, and a fill that fails or is interrupted leaves it as it is.
    if (HasInterrupt()) ClearBuffer();
    if (FillBuffer(m_pSource->GetBox()) != 1) ClearBuffer();
    m_pSource->SetComplete();
}

void qzILMonadicSpatialProc::ClearBuffer() {
    qzILImageHelper const buffer(m_pSource->GetBuffer());
    std::memset(buffer.m_pPixelArray, 0,
                std::size_t{buffer.m_uPixelSize} * static_cast<std::size_t>(buffer.m_iWidth) *
                    static_cast<std::size_t>(buffer.m_iHeight));
}

unsigned char const* qzILMonadicSpatialProc::BufferStart() {
    return m_pSource ? m_pSource->All() : nullptr;
}

std::ptrdiff_t qzILMonadicSpatialProc::LineStep() const {
    return m_pSource ? m_pSource->LineStep() : 0;
}

qzILStatus qzILMonadicSpatialProc::ProcessData() {
    FillAround(m_oBoxes, m_oCopyHelper);
    return m_oBoxes.oProcessed.IsEmpty() ? 1 : DoEffect();
}

qzILStatus qzILMonadicSpatialProc::CleanData() {
    Trash();
    for (qzILImageHelper* const pHelper : {&m_oOutputHelper, &m_oMaskHelper, &m_oCopyHelper}) {
        *pHelper = qzILImageHelper();
    }
    return 1;
}

bool qzILMonadicSpatialProc::CanFill(qzILBbox2l const& box) const {
    if (!m_pInputImg || !m_pSource || box.Intersect(WholeOf(m_pInputImg)).IsEmpty()) return false;
    qzILImageHelper const input(m_pInputImg), buffer(m_pSource->GetBuffer());
    return input.m_pLineZero && input.m_uPixelSize == buffer.m_uPixelSize &&
           qzILVector2l(buffer.m_iWidth, buffer.m_iHeight) == box.Size;
}

qzILStatus qzILMonadicSpatialProc::FillBuffer(qzILBbox2l const& box) {
    if (!CanFill(box)) return -1;
    qzILBbox2l const inner = box.Intersect(WholeOf(m_pInputImg));
    Margin const margin(m_pInputImg, box, m_uEdgeMode, m_oEdgeColor);
    qzILImageHelper const buffer(m_pSource->GetBuffer());
    bool const extends = m_uEdgeMode == qzILEdgeModeExtend;
    if (HasInterrupt() && (extends || m_uEdgeMode == qzILEdgeModeColor)) {
        qzILCopyImg copy;
        copy.SetInputImg(m_pInputImg);
        copy.SetOutputImg(buffer.m_pImage);
        copy.SetROI(extends ? inner : box);
        if (extends) copy.SetOutputOffset(inner.Origin - box.Origin);
        copy.SetInterruptFct(m_pInterruptFct, m_pInterruptFlag);
        copy.SetProcessingMode(m_uProcessingMode & ~kModeNoLines);
        copy.SetDefaultColor(m_oEdgeColor);
        if (copy.Execute() != 1) return -1;
        for (int line = 0; extends && line < box.Size.y; ++line) margin.ReadAround(buffer.GetPixelPtr(0, line), line);
    } else {
        for (int line = 0; line < box.Size.y; ++line) margin.ReadLine(buffer.GetPixelPtr(0, line), line);
    }
    m_pSource->SetComplete();
    return 1;
}

int qzILMonadicSpatialProc::SkipLine(int& parity, void** out, void** source, void** mask) const {
    bool const skips = (m_uProcessingMode & (parity == 0 ? kModeSkipOddLines : kModeSkipEvenLines)) != 0;
    parity = parity == 0;
    if (!skips) return 0;
    unsigned const wholeFrame = m_uProcessingMode & ~kModeNoLines;
    auto const moveOn = [&](void** pointer, qzILImageHelper const& helper) {
        qzILBbox2l const& box = m_oBoxes.oProcessed;
        std::ptrdiff_t const jump = JumpsOf(helper, box.Origin.x, box.Origin.y, box.Size.x, wholeFrame).iLine;
        *pointer = static_cast<unsigned char*>(*pointer) + jump + std::ptrdiff_t{helper.m_iPixelStep} * box.Size.x;
    };
    *source = static_cast<unsigned char*>(*source) + LineStep();
    moveOn(out, m_oOutputHelper);
    if (mask && !m_oMaskHelper.IsEmpty()) moveOn(mask, m_oMaskHelper);
    return 1;
}

qzILBbox2l qzILMonadicSpatialProc::KeptBox() const {
    qzILBbox2l box = m_oBoxes.oProcessed;
    AdjustProcessedRegionBbox(box);
    return box;
}

qzILMonadicSpatialProc::KeptLines qzILMonadicSpatialProc::LinesToProcess() const {
    unsigned const fields = m_uProcessingMode & kModeNoLines;
    return {SkipsLine(fields, m_oBoxes.oProcessed.Origin.y) ? 1 : 0, fields != 0 ? 2 : 1, KeptBox().Size.y};
}

bool qzILMonadicSpatialProc::Prepare(Prepared& prepared) const {
    if (!m_pSource) return false;
    prepared.oWalk.oOut = LinesOf(m_oOutputHelper, m_oBoxes.oProcessed);
    prepared.oWalk.oMask = MaskLinesOf(m_oMaskHelper, m_oBoxes.oProcessed);
    prepared.oBox = KeptBox();
    prepared.pSource = &m_oOutputHelper;
    return true;
}

Lines qzILMonadicSpatialProc::LinesFrom(unsigned char* first, std::ptrdiff_t step) const {
    KeptLines const kept = LinesToProcess();
    int const pixel = m_oOutputHelper.m_iPixelStep;
    return {first + kept.iFirst * step, kept.iStep * step - std::ptrdiff_t{pixel} * ActiveSize().x, pixel};
}

Lines qzILMonadicSpatialProc::CentreLines() const {
    MarginSource::Centres const centres = m_pSource->GetCentres();
    return LinesFrom(centres.pFirst, centres.iStep);
}

MarginLines qzILMonadicSpatialProc::GetMarginLines(int samples) const {
    KeptLines const kept = LinesToProcess();
    StopQuestion question;
    if (HasInterrupt()) {
        question = {[](void const* self) { return static_cast<qzILMonadicSpatialProc const*>(self)->IsInterrupted(); },
                    this};
    }
    return {*m_pSource,
            ActiveSize().y + KernelSize().y - 1,
            (ActiveSize().x + KernelSize().x - 1) * samples,
            ActiveSize().x * samples,
            samples,
            kept.iFirst,
            kept.iStep,
            question};
}

qzILStatus qzILMonadicSpatialProc::RunPrepared(Prepared& prepared, kernel::RowTraits const& traits,
                                               kernel::RowCall const& call) const {
    kernel::Walk& walk = prepared.oWalk;
    if (walk.oA.pFirst) return RunWalk(walk, prepared.oBox, traits, call);
    walk.oA = CentreLines();
    if (!CompleteWalk(walk, prepared.oBox, traits)) return -1;
    walk.iLineStep = LineStep();
    KeptLines const kept = LinesToProcess();
    int const around = 2 * Reach().y + kept.iFirst;
    std::ptrdiff_t const step = walk.iLineStep,
                         centre = Reach().y * step + std::ptrdiff_t{walk.oA.iPixelStep} * Reach().x;
    // A far reach makes bands higher, so that no line is read more than twice.
    int const bandLines =
        m_pSource->IsComplete() ? walk.iLines : std::max(static_cast<int>(kBandBytes / std::abs(step)) + 1, around);
    for (int line = 0; line < walk.iLines; line += bandLines) {
        kernel::Walk band = kernel::PartOf(walk, line, std::min(bandLines, walk.iLines - line));
        int const lines = around + (band.iLines - 1) * kept.iStep + 1;
        unsigned char const* const pFirst = m_pSource->Block(line * kept.iStep, lines);
        band.oA = LinesFrom(const_cast<unsigned char*>(pFirst) + centre, step);
        kernel::RunRows(band, traits, call);
    }
    return 1;
}

qzILStatus qzILMonadicSpatialProc::RunLines(Prepared& prepared, kernel::RowTraits const& traits,
                                            kernel::LineMaker& maker) {
    prepared.oWalk.oA = CentreLines();
    if (!CompleteWalk(prepared.oWalk, prepared.oBox, traits)) return -1;
    return kernel::RunLines(prepared.oWalk, traits, maker) ? 1 : Fail(Code::OutOfMemory);
}

qzILStatus qzILMonadicSpatialProc::CopyInstead(qzILCopyImg& copy) {
    copy.SetInputImg(m_pInputImg);
    copy.SetOutputImg(m_pOutputImg);
    copy.SetROI(m_oRoi);
    copy.SetOutputOffset(m_oOutputOffset);
    copy.SetInterruptFct(m_pInterruptFct, m_pInterruptFlag);
    copy.SetProcessingMode(m_uProcessingMode);
    qzILStatus const status = copy.Execute();
    if (status != 1) SetLastError(copy.GetLastError());
    return status;
}
