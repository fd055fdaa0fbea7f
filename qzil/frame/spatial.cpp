#include "qzil/frame/spatial.h"

#include "qzil/frame/copy.h"
#include "qzil/frame/image_utils.h"
#include "qzil/frame/margin.h"
#include "qzil/image/image_ops.h"
#include "qzil/kernel/line_walk.h"
#include "qzil/kernel/row.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>

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

void qzILMonadicSpatialProc::Init() {
    m_uEdgeMode = qzILEdgeModeColor;
    m_oEdgeColor = m_oDefaultColor;
    SetRadius(0.0f);
    m_iLeastReach = 0;
    m_bReadsLines = false;
    m_bOnDemand = false;
    m_pCopiedImg = nullptr;
    m_pFirst = nullptr;
    m_iLineStep = 0;
}

void qzILMonadicSpatialProc::Trash() {
    ReleaseBuffer(&m_pCopiedImg);
    m_pBufferImg.Reset();
}

void qzILMonadicSpatialProc::SetRadius(qzILVector2f radius) {
    m_oRadius = radius;
    m_oIntegerRadius = qzILVector2l(WholePart(radius.x), WholePart(radius.y));
}

qzILVector2l qzILMonadicSpatialProc::Reach() const {
    return {std::max(m_oIntegerRadius.x, m_iLeastReach), std::max(m_oIntegerRadius.y, m_iLeastReach)};
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
    if (qzILStatus const status = VerifyOneFormat(); status != 1) return status;
    // Deliberately not HasGoodRadius: a radius that is not a number is not below and not above the range.
    auto const outside = [](double radius) { return radius < 0.0 || radius > kHighestRadius; };
    if (outside(m_oRadius.x) || outside(m_oRadius.y)) return Fail(0x10023);
    return m_uEdgeMode >= qzILEdgeModeColor && m_uEdgeMode <= qzILEdgeModeMirror ? 1 : Fail(0x10020);
}

qzILStatus qzILMonadicSpatialProc::PrepareData() {
    Source const source{m_pInputImg, {}, nullptr, &m_pCopiedImg, 0x1000B, 0x1000C};
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
    if (qzILCreateAndAllocImage(nullptr, IID_IXFImage, static_cast<int>(width), static_cast<int>(height), Format(),
                                m_pBufferImg.Out()) < 0) {
        return -1;
    }
    qzILImageHelper const buffer(m_pBufferImg.Get());
    Jumps const jumps = JumpsOf(buffer, 0, 0, size.x, m_uProcessingMode & ~kModeNoLines);
    m_pFirst = jumps.pFirst;
    m_iLineStep = jumps.iLine + std::ptrdiff_t{buffer.m_iPixelStep} * size.x;
    // A host that interrupts sees the buffer filled, and what is written over the input has to be read before.
    m_bOnDemand = true;
    if (!m_bReadsLines || HasInterrupt() || !CanFill(MarginBox()) ||
        Overlap(qzILImageHelper(m_pInputImg), m_oOutputHelper)) {
        CompleteBuffer();
    }
    return 1;
}

void qzILMonadicSpatialProc::CompleteBuffer() {
    if (!m_bOnDemand) return;
    m_bOnDemand = false;
    // Memory of the pool holds other images' pixels, and a fill that fails or is interrupted leaves it as it is.
    auto const clear = [&] {
        qzILImageHelper const buffer(m_pBufferImg.Get());
        std::memset(buffer.m_pPixelArray, 0,
                    std::size_t{buffer.m_uPixelSize} * static_cast<std::size_t>(buffer.m_iWidth) *
                        static_cast<std::size_t>(buffer.m_iHeight));
    };
    if (HasInterrupt()) clear();
    if (FillBuffer(MarginBox()) != 1) clear();
}

qzILBbox2l qzILMonadicSpatialProc::MarginBox() const {
    qzILImageHelper const buffer(m_pBufferImg.Get());
    qzILVector2l const origin = ActiveOrigin(), reach = Reach();
    return {origin.x - reach.x, origin.y - reach.y, buffer.m_iWidth, buffer.m_iHeight};
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
    m_pFirst = nullptr;
    m_iLineStep = 0;
    m_bOnDemand = false;
    return 1;
}

bool qzILMonadicSpatialProc::CanFill(qzILBbox2l const& box) const {
    if (!m_pInputImg || !m_pBufferImg || box.Intersect(WholeOf(m_pInputImg)).IsEmpty()) return false;
    qzILImageHelper const input(m_pInputImg), buffer(m_pBufferImg.Get());
    return input.m_pLineZero && input.m_uPixelSize == buffer.m_uPixelSize &&
           WholeOf(m_pBufferImg.Get()).Size == box.Size;
}

qzILStatus qzILMonadicSpatialProc::FillBuffer(qzILBbox2l const& box) {
    if (!CanFill(box)) return -1;
    qzILBbox2l const inner = box.Intersect(WholeOf(m_pInputImg));
    Margin const margin(m_pInputImg, box, m_uEdgeMode, m_oEdgeColor);
    qzILImageHelper const buffer(m_pBufferImg.Get());
    bool const extends = m_uEdgeMode == qzILEdgeModeExtend;
    if (HasInterrupt() && (extends || m_uEdgeMode == qzILEdgeModeColor)) {
        qzILCopyImg copy;
        copy.SetInputImg(m_pInputImg);
        copy.SetOutputImg(m_pBufferImg.Get());
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
    *source = static_cast<unsigned char*>(*source) + m_iLineStep;
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

kernel::Walk qzILMonadicSpatialProc::MakeWalk(Centres centres) const {
    qzILBbox2l const& box = m_oBoxes.oProcessed;
    KeptLines const lines = LinesToProcess();
    kernel::Walk walk;
    std::ptrdiff_t lineStep = m_iLineStep;
    walk.oA.iPixelStep = m_oOutputHelper.m_iPixelStep;
    if (m_bOnDemand && centres == Centres::Alone) {
        qzILImageHelper const input(m_pInputImg);
        Jumps const jumps =
            JumpsOf(input, ActiveOrigin().x, ActiveOrigin().y, box.Size.x, m_uProcessingMode & ~kModeNoLines);
        walk.oA.pFirst = jumps.pFirst;
        lineStep = jumps.iLine + std::ptrdiff_t{input.m_iPixelStep} * box.Size.x;
    } else {
        walk.oA.pFirst = m_pFirst + Reach().y * lineStep + std::ptrdiff_t{walk.oA.iPixelStep} * Reach().x;
    }
    walk.oA.pFirst += lines.iFirst * lineStep;
    walk.oA.iJump = lines.iStep * lineStep - std::ptrdiff_t{walk.oA.iPixelStep} * box.Size.x;
    walk.oOut = LinesOf(m_oOutputHelper, box);
    walk.oMask = MaskLinesOf(m_oMaskHelper, box);
    return walk;
}

MarginLines qzILMonadicSpatialProc::GetMarginLines(int samples, int held) const {
    KeptLines const kept = LinesToProcess();
    MarginLines lines{m_pFirst,
                      m_iLineStep,
                      ActiveSize().y + KernelSize().y - 1,
                      (ActiveSize().x + KernelSize().x - 1) * samples,
                      ActiveSize().x * samples,
                      samples,
                      kept.iFirst,
                      kept.iStep,
                      held,
                      {}};
    if (m_bOnDemand) lines.oMargin.emplace(m_pInputImg, MarginBox(), m_uEdgeMode, m_oEdgeColor);
    return lines;
}

qzILStatus qzILMonadicSpatialProc::RunRows(kernel::RowTraits const& traits, kernel::RowCall const& call) const {
    kernel::Walk walk = MakeWalk(Centres::WithNeighbours);
    if (!CompleteWalk(walk, KeptBox(), traits)) return -1;
    if (!m_bOnDemand) {
        kernel::RunRows(walk, traits, call);
        return 1;
    }
    // Every band of lines is read, with its neighbours, to the start of the buffer.
    Margin const margin(m_pInputImg, MarginBox(), m_uEdgeMode, m_oEdgeColor);
    KeptLines const kept = LinesToProcess();
    int const around = 2 * Reach().y + kept.iFirst;
    // A far reach makes bands higher, so that no line is read more than twice.
    int const bandLines = std::max(static_cast<int>(kBandBytes / std::abs(m_iLineStep)) + 1, around);
    for (int line = 0; line < walk.iLines; line += bandLines) {
        kernel::Walk band = kernel::PartOf(walk, line, std::min(bandLines, walk.iLines - line));
        band.oA.pFirst = walk.oA.pFirst;
        int const lines = around + (band.iLines - 1) * kept.iStep + 1;
        for (int i = 0; i < lines; ++i) margin.ReadLine(m_pFirst + i * m_iLineStep, line * kept.iStep + i);
        kernel::RunRows(band, traits, call);
    }
    return 1;
}

qzILStatus qzILMonadicSpatialProc::RunOverOutput(kernel::RowTraits const& traits, kernel::RowCall const& call) const {
    kernel::Walk walk = MakeWalk(Centres::Alone);
    walk.oB = walk.oA;
    walk.oA = walk.oOut;
    walk.bPassB = true;
    return RunWalk(walk, KeptBox(), traits, call);
}

qzILStatus qzILMonadicSpatialProc::RunLines(kernel::RowTraits const& traits, kernel::LineMaker& maker, int blockLines) {
    kernel::Walk walk = MakeWalk(Centres::Alone);
    if (!CompleteWalk(walk, KeptBox(), traits)) return -1;
    return kernel::RunLines(walk, traits, maker, blockLines) ? 1 : Fail(0x10001);
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
