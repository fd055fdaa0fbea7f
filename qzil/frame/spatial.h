#pragma once

#include "qzil/frame/monadic.h"

#include <cstddef>
#include <exception>
#include <memory>

class qzILCopyImg;

namespace qzil {
struct MarginLines;
class MarginSource;
namespace kernel {
class LineMaker;
}  // namespace kernel
}  // namespace qzil

/// What a neighbourhood sees beyond the W x H input.
using qzILEdgeMode = std::uint32_t;
inline constexpr qzILEdgeMode qzILEdgeModeColor = 1;   ///< the edge colour
inline constexpr qzILEdgeMode qzILEdgeModeWrap = 2;    ///< the input, tiled
inline constexpr qzILEdgeMode qzILEdgeModeExtend = 3;  ///< the nearest border pixel
inline constexpr qzILEdgeMode qzILEdgeModeMirror = 4;  ///< the input, reflected: column -1 is column 0, W is W - 1

/// Effects whose output pixel depends on a neighbourhood of input pixels. They read from a copy of the region that is
/// larger by the radius on every side and filled there by the edge mode, so that no loop tests for the border, and
/// every effect may run in place. Field bits leave out output lines; the neighbourhood has the lines of both fields.
///
/// Radius: pixels, x and y, 0 at first; the neighbourhood reaches as far as its whole part. Edge mode 1 at first; the
/// edge colour is the default colour at the time of Init. A radius that is not a number reaches 0 pixels. Float pixels
/// that are not numbers are copied as they are; what they do to their neighbours is the effect's to say.
///
/// A class that overrides DoEffect finds its input at BufferStart().
///
/// Verify adds the codes of qzILVerifyROIAndMask, and: 0x1000E input and output differ in format, 0x10023 a radius
/// outside 0 to 1073741824.9 (NaN passes), 0x10020 an edge mode outside 1 to 4.
class QZIL_API qzILMonadicSpatialProc : public qzILMonadicImgProc {
    QZIL_EFFECT_CLASS(qzILMonadicSpatialProc)
public:
    qzILMonadicSpatialProc();
    ~qzILMonadicSpatialProc() override;

    qzILStatus Verify() override = 0;
    qzILStatus PrepareData() override;
    qzILStatus ProcessData() override;
    qzILStatus CleanData() override;
    /// Processes the active rectangle; not called when it is empty.
    virtual qzILStatus DoEffect() = 0;

    void Init();
    void Trash();

    void SetRadius(float radius) { SetRadius(qzILVector2f(radius, radius)); }
    void SetRadius(float x, float y) { SetRadius(qzILVector2f(x, y)); }
    void SetRadius(qzILVector2f radius);
    qzILVector2f GetRadius() const { return m_oRadius; }
    float GetRadiusX() const { return m_oRadius.x; }
    float GetRadiusY() const { return m_oRadius.y; }
    void SetEdgeMode(qzILEdgeMode mode) { m_uEdgeMode = mode; }
    qzILEdgeMode GetEdgeMode() const { return m_uEdgeMode; }
    void SetEdgeColor(qzILColor const& color) { m_oEdgeColor = color; }
    qzILColor const& GetEdgeColor() const { return m_oEdgeColor; }

    /// Fills the margin buffer, which has the size of `box`, with the pixels that the box covers in input coordinates.
    /// 1, or -1 when the box misses the input or a copy fails.
    qzILStatus FillBuffer(qzILBbox2l const& box);
    /// For loops of their own: 1 when the field bits leave the line out, with the pointers moved on by one line, else
    /// 0. `parity` starts as LineParity() and changes with every line.
    int SkipLine(int& parity, void** out, void** source, void** mask) const;

protected:
    /// Runs row functions over the active rectangle. Their input is the pixel under the kernel's centre; the
    /// neighbourhood lies around it.
    bool Prepare(Prepared& prepared) const override;
    qzILStatus RunPrepared(Prepared& prepared, qzil::kernel::RowTraits const& traits,
                           qzil::kernel::RowCall const& call) const override;
    /// Run with two inputs: first the output itself, then, passing through, the centre pixel without neighbours.
    template <template <class> class Rule, class... T, class Build>
    QZIL_HIDDEN qzILStatus RunOverOutput(qzil::kernel::Operation<Rule, T...> const& operation, Build const& build,
                                         unsigned noForm = 0x1000D);
    /// Has the lines of the active rectangle made by what `build(As<T>, MarginLines)` gives, a pointer to a maker; null
    /// where there is nothing left to do. -1 with 0x10001 without memory.
    template <template <class> class Rule, class... T, class Build>
    QZIL_HIDDEN qzILStatus RunMaker(qzil::kernel::Operation<Rule, T...> const& operation, Build const& build,
                                    unsigned noForm = 0x1000D);
    /// Runs what takes memory: 0x10001 where there is none.
    template <class Work>
    QZIL_HIDDEN qzILStatus Guarded(Work work) {
        try {
            return work();
        } catch (std::exception const&) {  // no memory, or a length that none has
            return Fail(0x10001);
        }
    }
    /// The lines of the active rectangle that the field bits keep: the first one, and the step to the next.
    struct KeptLines {
        int iFirst;
        int iStep;
        int iCount;
    };
    KeptLines LinesToProcess() const;
    /// Where makers of lines get theirs. Only where there is a buffer.
    qzil::MarginLines GetMarginLines(int samples) const;

    GUID const& Format() const { return m_oOutputHelper.m_oFormat; }
    qzILVector2l ActiveSize() const { return m_oBoxes.oProcessed.Size; }
    /// There is a margin buffer: between PrepareData and CleanData, where there are pixels to process.
    bool HasBuffer() const { return m_pSource != nullptr; }
    /// Pixel (0, 0) of the margin buffer, every pixel of which is filled then; null without a buffer.
    unsigned char const* BufferStart();
    /// Bytes from a line of the margin buffer to the next.
    std::ptrdiff_t LineStep() const;
    int LineParity() const { return (m_oBoxes.oProcessed.Origin.y ^ 1) & 1; }
    /// Reach of the neighbourhood on either side, and its size. Never negative.
    qzILVector2l Reach() const;
    qzILVector2l KernelSize() const;
    /// The active rectangle's origin in input coordinates.
    qzILVector2l ActiveOrigin() const { return m_oBoxes.oProcessed.Origin + m_oRoi.Origin - m_oOutputOffset; }
    /// Copies the region instead of processing it.
    qzILStatus CopyInstead(qzILCopyImg& copy);
    /// Both radii are numbers that Verify accepts.
    bool HasGoodRadius() const;
    /// Of effects whose neighbourhood does not depend on the radius.
    virtual int LeastReach() const { return 0; }

    qzILEdgeMode m_uEdgeMode;
    qzILColor m_oEdgeColor;
    qzILVector2f m_oRadius;
    qzILVector2l m_oIntegerRadius;
    qzILImageHelper m_oOutputHelper;
    qzILImageHelper m_oMaskHelper;
    qzILImageHelper m_oCopyHelper;  ///< where pixels outside the mask rectangle come from
    Boxes m_oBoxes;

private:
    qzILStatus PrepareBuffer();
    qzILStatus RunLines(Prepared& prepared, qzil::kernel::RowTraits const& traits, qzil::kernel::LineMaker& maker);
    /// The input of a walk: the pixels under the centres, where they lie alone.
    qzil::Lines CentreLines() const;
    qzil::Lines LinesFrom(unsigned char* first, std::ptrdiff_t step) const;
    /// The input has pixels in the box, and they fit the buffer.
    bool CanFill(qzILBbox2l const& box) const;
    /// Fills the buffer, or clears it where the input does not fit.
    void CompleteBuffer();
    void ClearBuffer();
    /// The active rectangle, as high as the lines that are kept.
    qzILBbox2l KeptBox() const;

    IXFImage* m_pCopiedImg;  ///< the clipped rectangle of an output that is the input too, shifted
    std::unique_ptr<qzil::MarginSource> m_pSource;
};
