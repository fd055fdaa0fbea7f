#pragma once

#include "qzil/frame/margin.h"
#include "qzil/image/image.h"
#include "qzil/kernel/line_walk.h"
#include "qzil/spatial/filter_rows.h"

#include <memory>
#include <vector>

namespace qzil {

/// What makes the lines of a mean over a rectangle of width x height, from samples of a channel type.
std::unique_ptr<kernel::LineMaker> MakeBoxMaker(XFChannelType type, MarginLines const& lines, int width, int height);

/// A filter along one axis, its reach, and whether it does anything.
template <class Sample>
struct AxisFilter {
    FilterFunction<Sample> pPass;
    FilterOf<Sample> oFilter;
    int iReach;
    bool bActive;
};

/// The two stages of a recursive blur, in fixed point (Sample s16) or in double (float). Columns are filtered first,
/// in strips, and kept as blocks of lines side by side; those are then filtered across.
template <class Sample>
class RecursiveMaker final : public kernel::LineMaker {
public:
    RecursiveMaker(XFChannelType type, MarginLines const& lines, AxisFilter<Sample> const& down,
                   AxisFilter<Sample> const& across);

    /// The first stage, asking after each column. False when it was stopped. Throws std::bad_alloc.
    bool FilterColumns();
    void Make(int first, int count, unsigned char* out, std::ptrdiff_t step) override;
    /// Lines that are filtered side by side.
    int BlockLines() const { return kLanes / m_oLines.iPixelSamples; }

private:
    static constexpr int kLanes = sizeof(Sample) == 2 ? kFixedLanes : kDoubleLanes;

    void TakeBlocks();
    void Filter(AxisFilter<Sample> const& axis, Sample* lanes, int places);
    void KeepColumns(int column, int columns);
    /// A filtered block as samples of the output, lines still side by side.
    void Finish(Sample const* lanes, int pixels);
    /// The block of a line that is output: a place before the first one, then a place for each pixel.
    Sample* Block(int line) const { return m_pBlocks + line / BlockLines() * m_iBlockSamples; }

    XFChannelType m_uType;
    MarginLines m_oLines;
    AxisFilter<Sample> m_oDown, m_oAcross;
    int m_iPixels;  ///< of a line with its margins
    int m_iKept;    ///< output lines
    std::ptrdiff_t m_iBlockSamples;
    std::unique_ptr<Sample[]> m_pHeap;
    Ref<IXFImage> m_pScratch;
    Sample* m_pBlocks = nullptr;
    std::vector<Sample> m_aLanes;  ///< a strip of columns side by side, behind one place more
    std::vector<u8> m_aFinished;   ///< a block of output lines, side by side
};

}  // namespace qzil
