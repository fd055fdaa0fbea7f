#include "qzil/frame/spatial.h"

#include "qzil/frame/copy.h"
#include "qzil/frame/image_utils.h"
#include "qzil/image/image_ops.h"
#include "qzil/kernel/line_walk.h"
#include "qzil/kernel/row.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

using namespace qzil;

namespace {

constexpr double kHighestRadius = 1073741824.9;

/// Truncated; what does not fit stops at the end of 32 bits, NaN at the lower one.
int WholePart(float radius) {
    return TruncateTo<int>(radius, -2147483648.0, 2147483647.0);
}

/// A coordinate of the tiled or mirrored input, in a period of one or of two sizes.
int Fold(int position, int period) {
    int const rest = position % period;
    return rest < 0 ? rest + period : rest;
}

/// Writes one pixel over and over.
void RepeatPixel(unsigned char* to, unsigned char const* pixel, int count, std::size_t bytes) {
    if (count <= 0) return;
    std::memcpy(to, pixel, bytes);
    std::size_t const all = bytes * static_cast<std::size_t>(count);
    for (std::size_t done = bytes; done < all;) {
        std::size_t const more = std::min(done, all - done);
        std::memcpy(to + done, to, more);
        done += more;
    }
}

/// The margin buffer being filled, and the input that it shows.
class Margin {
public:
    Margin(IXFImage* input, IXFImage* buffer, qzILBbox2l const& box)
        : m_oInput(input), m_oBuffer(buffer), m_oBox(box), m_uBytes(m_oInput.m_uPixelSize) {}

    /// Every pixel outside `inner`, which holds the input already, gets the nearest border pixel.
    void Extend(qzILBbox2l const& inner) const {
        int const left = inner.Origin.x - m_oBox.Origin.x;
        int const right = m_oBox.Size.x - left - inner.Size.x;
        for (int line = 0; line < m_oBox.Size.y; ++line) {
            int const y = m_oBox.Origin.y + line, from = std::clamp(y, 0, m_oInput.m_iHeight - 1);
            unsigned char* const pLine = m_oBuffer.GetPixelPtr(0, line);
            RepeatPixel(pLine, m_oInput.GetPixelPtr(0, from), left, m_uBytes);
            RepeatPixel(m_oBuffer.GetPixelPtr(left + inner.Size.x, line),
                        m_oInput.GetPixelPtr(m_oInput.m_iWidth - 1, from), right, m_uBytes);
            if (y == from) continue;
            std::memcpy(m_oBuffer.GetPixelPtr(left, line), m_oInput.GetPixelPtr(inner.Origin.x, from),
                        m_uBytes * static_cast<std::size_t>(inner.Size.x));
        }
    }

    /// The input without end, side by side or, mirrored, every other one turned over.
    void Tile(bool mirrored) const {
        int const period = mirrored ? 2 : 1;
        for (int line = 0; line < m_oBox.Size.y; ++line) {
            int y = Fold(m_oBox.Origin.y + line, period * m_oInput.m_iHeight);
            if (y >= m_oInput.m_iHeight) y = 2 * m_oInput.m_iHeight - 1 - y;
            TileLine(m_oBuffer.GetPixelPtr(0, line), y, period);
        }
    }

private:
    void TileLine(unsigned char* to, int y, int period) const {
        int const width = m_oInput.m_iWidth;
        for (int done = 0, run = 0; done < m_oBox.Size.x; done += run) {
            int const x = Fold(m_oBox.Origin.x + done, period * width);
            bool const backward = x >= width;
            run = std::min((backward ? 2 * width : width) - x, m_oBox.Size.x - done);
            unsigned char const* pFrom = m_oInput.GetPixelPtr(backward ? 2 * width - 1 - x : x, y);
            if (!backward) std::memcpy(to, pFrom, m_uBytes * static_cast<std::size_t>(run));
            for (int i = 0; backward && i < run; ++i, pFrom -= m_uBytes) {
                std::memcpy(to + m_uBytes * static_cast<std::size_t>(i), pFrom, m_uBytes);
            }
            to += m_uBytes * static_cast<std::size_t>(run);
        }
    }

    qzILImageHelper m_oInput;
    qzILImageHelper m_oBuffer;
    qzILBbox2l m_oBox;
    std::size_t m_uBytes;
};

}  // namespace

void qzILMonadicSpatialProc::Init() {
    m_uEdgeMode = qzILEdgeModeColor;
    m_oEdgeColor = m_oDefaultColor;
    SetRadius(0.0f);
    m_iLeastReach = 0;
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
    if (width > 0x7FFFFFFF || height > 0x7FFFFFFF) return -1;
    // Behind this the radius is far below the coordinates' range: the buffer would not fit memory otherwise.
    if (qzILCreateAndAllocImage(nullptr, IID_IXFImage, static_cast<int>(width), static_cast<int>(height), Format(),
                                m_pBufferImg.Out()) < 0) {
        return -1;
    }
    qzILBbox2l const box(ActiveOrigin().x - reach.x, ActiveOrigin().y - reach.y, static_cast<int>(width),
                         static_cast<int>(height));
    // Memory of the pool holds other images' pixels, and a fill that fails or is interrupted leaves it as it is.
    auto const clear = [&] {
        qzILImageHelper const buffer(m_pBufferImg.Get());
        std::memset(buffer.m_pPixelArray, 0,
                    std::size_t{buffer.m_uPixelSize} * static_cast<std::size_t>(width * height));
    };
    if (HasInterrupt()) clear();
    if (FillBuffer(box) != 1) clear();
    qzILImageHelper const buffer(m_pBufferImg.Get());
    Jumps const jumps = JumpsOf(buffer, 0, 0, size.x, m_uProcessingMode & ~kModeNoLines);
    m_pFirst = jumps.pFirst;
    m_iLineStep = jumps.iLine + std::ptrdiff_t{buffer.m_iPixelStep} * size.x;
    return 1;
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
    return 1;
}

qzILStatus qzILMonadicSpatialProc::FillBuffer(qzILBbox2l const& box) {
    if (!m_pInputImg || !m_pBufferImg) return -1;
    qzILBbox2l const inner = box.Intersect(WholeOf(m_pInputImg));
    if (inner.IsEmpty() || !(WholeOf(m_pBufferImg.Get()).Size == box.Size)) return -1;
    if (qzILImageHelper(m_pInputImg).m_uPixelSize != qzILImageHelper(m_pBufferImg.Get()).m_uPixelSize) return -1;
    Margin const margin(m_pInputImg, m_pBufferImg.Get(), box);
    if (m_uEdgeMode == qzILEdgeModeWrap || m_uEdgeMode == qzILEdgeModeMirror) {
        margin.Tile(m_uEdgeMode == qzILEdgeModeMirror);
        return 1;
    }
    bool const extends = m_uEdgeMode == qzILEdgeModeExtend;
    qzILCopyImg copy;
    copy.SetInputImg(m_pInputImg);
    copy.SetOutputImg(m_pBufferImg.Get());
    copy.SetROI(extends ? inner : box);
    if (extends) copy.SetOutputOffset(inner.Origin - box.Origin);
    copy.SetInterruptFct(m_pInterruptFct, m_pInterruptFlag);
    copy.SetProcessingMode(m_uProcessingMode & ~kModeNoLines);
    copy.SetDefaultColor(m_oEdgeColor);
    if (copy.Execute() != 1) return -1;
    if (extends) margin.Extend(inner);
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

kernel::Walk qzILMonadicSpatialProc::MakeWalk() const {
    qzILBbox2l const& box = m_oBoxes.oProcessed;
    KeptLines const lines = LinesToProcess();
    int const pixelBytes = m_oOutputHelper.m_iPixelStep;
    std::ptrdiff_t const lineBytes = std::ptrdiff_t{pixelBytes} * box.Size.x;
    kernel::Walk walk;
    walk.oA.pFirst = m_pFirst + (Reach().y + lines.iFirst) * m_iLineStep + std::ptrdiff_t{pixelBytes} * Reach().x;
    walk.oA.iJump = lines.iStep * m_iLineStep - lineBytes;
    walk.oA.iPixelStep = pixelBytes;
    walk.oOut = LinesOf(m_oOutputHelper, box);
    walk.oMask = MaskLinesOf(m_oMaskHelper, box);
    return walk;
}

qzILStatus qzILMonadicSpatialProc::RunRows(kernel::RowTraits const& traits, kernel::RowCall const& call) const {
    kernel::Walk walk = MakeWalk();
    return RunWalk(walk, KeptBox(), traits, call);
}

qzILStatus qzILMonadicSpatialProc::RunOverOutput(kernel::RowTraits const& traits, kernel::RowCall const& call) const {
    kernel::Walk walk = MakeWalk();
    walk.oB = walk.oA;
    walk.oA = walk.oOut;
    walk.bPassB = true;
    return RunWalk(walk, KeptBox(), traits, call);
}

qzILStatus qzILMonadicSpatialProc::RunLines(kernel::RowTraits const& traits, kernel::LineMaker& maker, int blockLines) {
    kernel::Walk walk = MakeWalk();
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
