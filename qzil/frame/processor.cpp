#include "qzil/frame/processor.h"

#include "qzil/image/image_ops.h"
#include "qzil/kernel/row.h"

qzILProcessorGlobalInitializer qzILProcessor::s_oGlobalInitializer;

qzILProcessor::qzILProcessor() {
    Init();
}

qzILStatus qzILProcessor::Verify() {
    return 1;
}

void qzILProcessor::Init() {
    m_uProcessingMode = kModeColor;
    m_oLastError.Init();
    m_pInterruptFct = AlwaysFalse;
    m_pInterruptFlag = nullptr;
    m_iAccelerated = s_oGlobalInitializer.GetAccelerated();
}

void qzILProcessor::SetInterruptFct(int (*function)(), int volatile* flag) {
    m_pInterruptFct = function ? function : AlwaysFalse;
    m_pInterruptFlag = flag;
}

bool qzILProcessor::IsInterrupted() const {
    return (m_pInterruptFlag && *m_pInterruptFlag != 0) || m_pInterruptFct() != 0;
}

qzILStatus qzILProcessor::Fail(unsigned code) {
    SetLastError(code);
    return -1;
}

namespace {

template <class T>
void Give(T* out, T value) {
    if (out) *out = value;
}

/// The first line from y on that the field bits keep.
int KeptLine(unsigned mode, int y) {
    return qzil::SkipsLine(mode, y) ? y + 1 : y;
}

}  // namespace

qzILProcessor::Jumps qzILProcessor::JumpsOf(qzILImageHelper const& helper, int x, int y, int width, unsigned mode) {
    // Distances are differences of line terms; pointers beyond the image are never formed for them.
    auto const lineTerm = [&helper](std::ptrdiff_t line) -> std::ptrdiff_t {
        line += helper.m_iOffsetY;
        if (!helper.m_iSplitField) return line * helper.m_iLineStepA;
        return ((line + 1) >> 1) * helper.m_iLineStepA + (line >> 1) * helper.m_iLineStepB;
    };
    std::ptrdiff_t const lineBytes = std::ptrdiff_t{width} * helper.m_iPixelStep;
    unsigned const fields = mode & kModeNoLines;
    Jumps jumps;
    jumps.iTwoLine = lineTerm(std::ptrdiff_t{y} + 2) - lineTerm(y) - lineBytes;
    int first = KeptLine(mode, y);
    int next = KeptLine(mode, first + 1);
    if (!helper.m_iSplitField) {
        jumps.pFirst = helper.GetPixelPtr(x, first);
        jumps.iLine = lineTerm(next) - lineTerm(first) - lineBytes;
    } else if (fields == 0) {
        jumps.pFirst = helper.m_pPixelArray;
    } else if (fields != kModeNoLines) {
        // A field lies together whatever y says; the helper's own line offset plays no part.
        first = fields == kModeSkipOddLines ? 0 : 1;
        next = first + 2;
        jumps.pFirst = helper.GetPixelPtr(0, first - helper.m_iOffsetY);
        jumps.iLine = lineTerm(next) - lineTerm(first) - lineBytes;
    }
    if (helper.m_iSeparateAlpha) {
        jumps.pAlphaFirst = helper.GetAlphaPtr(x, first);
        jumps.iAlphaLine =
            (std::ptrdiff_t{next} - first) * helper.m_iAlphaLineStep - std::ptrdiff_t{width} * helper.m_iAlphaPixelStep;
    }
    return jumps;
}

qzil::Lines qzILProcessor::LinesOf(qzILImageHelper const& helper, qzILBbox2l const& box, qzil::Lines* alpha) const {
    if (alpha) *alpha = {};
    if (!helper.m_pLineZero) return {};
    Jumps const jumps = JumpsOf(helper, box.Origin.x, box.Origin.y, box.Size.x, m_uProcessingMode);
    if (alpha) *alpha = {jumps.pAlphaFirst, jumps.iAlphaLine, helper.m_iAlphaPixelStep};
    return {jumps.pFirst, jumps.iLine, helper.m_iPixelStep};
}

void qzILProcessor::SetPlace(qzil::kernel::Walk& walk, qzILBbox2l const& box) const {
    walk.iWidth = box.Size.x;
    walk.iLines = box.Size.y;
    walk.iX = box.Origin.x;
    walk.iY = KeptLine(m_uProcessingMode, box.Origin.y);
    walk.iYStep = (m_uProcessingMode & kModeNoLines) != 0 ? 2 : 1;
    if (!HasInterrupt()) return;
    walk.pStop = [](void const* self) { return static_cast<qzILProcessor const*>(self)->IsInterrupted(); };
    walk.pStopContext = this;
}

void qzILProcessor::ExtractJumps(qzILImageHelper& helper, int x, int y, int width, unsigned char** firstPixel,
                                 unsigned char** lineZero, unsigned char** lineOne, int* pixelStep, int* lineJump,
                                 int* twoLineJump, unsigned char** alphaFirstPixel, int* alphaLineJump, unsigned mode) {
    if (helper.IsEmpty() || !helper.m_pLineZero) return;
    Jumps const jumps = JumpsOf(helper, x, y, width, mode);
    Give(lineZero, helper.GetPixelPtr(x, y));
    Give(lineOne, helper.GetPixelPtr(x, y + 1));
    Give(pixelStep, helper.m_iPixelStep);
    Give(firstPixel, jumps.pFirst);
    Give(lineJump, static_cast<int>(jumps.iLine));
    Give(twoLineJump, static_cast<int>(jumps.iTwoLine));
    if (!helper.m_iSeparateAlpha) return;
    Give(alphaFirstPixel, jumps.pAlphaFirst);
    Give(alphaLineJump, static_cast<int>(jumps.iAlphaLine));
}

void qzILProcessor::ExtractJumps(IXFImage* image, int x, int y, int width, unsigned char** firstPixel,
                                 unsigned char** lineZero, unsigned char** lineOne, int* pixelStep, int* lineJump,
                                 int* twoLineJump, unsigned char** alphaFirstPixel, int* alphaLineJump, unsigned mode) {
    if (!image) return;
    qzILImageHelper helper(image);
    ExtractJumps(helper, x, y, width, firstPixel, lineZero, lineOne, pixelStep, lineJump, twoLineJump, alphaFirstPixel,
                 alphaLineJump, mode);
}

void qzILProcessor::ExtractJumps(unsigned char* pixels, GUID const& format, int imageWidth, int imageHeight, int x,
                                 int y, int width, unsigned char** firstPixel, unsigned char** lineZero,
                                 unsigned char** lineOne, int* pixelStep, int* lineJump, int* twoLineJump,
                                 unsigned char** alphaFirstPixel, int* alphaLineJump, unsigned mode) {
    qzil::Ref<IXFImage> image;
    if (!qzil::ViewMemory(pixels, format, imageWidth, imageHeight, image)) return;
    ExtractJumps(image.Get(), x, y, width, firstPixel, lineZero, lineOne, pixelStep, lineJump, twoLineJump,
                 alphaFirstPixel, alphaLineJump, mode);
}
