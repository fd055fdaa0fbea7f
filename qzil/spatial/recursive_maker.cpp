#include "qzil/image/image_ops.h"
#include "qzil/spatial/blur_makers.h"

#include <algorithm>
#include <new>
#include <vector>

namespace qzil {
namespace {

template <class Sample, class T>
void Load(StripLoad<Sample> const& strip) {
    FilterRows const& rows = GetFilterRows();
    if constexpr (std::is_same_v<Sample, s16>)
        rows.pTimes64(strip);
    else if constexpr (std::is_same_v<T, u8>)
        rows.pFloatsOf8(strip);
    else if constexpr (std::is_same_v<T, u16>)
        rows.pFloatsOf16(strip);
    else if constexpr (std::is_same_v<T, s16>)
        rows.pFloatsOfS2_14(strip);
    else
        rows.pFloats(strip);
}

template <class Sample, class T>
void Finish(T* out, Sample const* in, int samples) {
    FilterRows const& rows = GetFilterRows();
    if constexpr (std::is_same_v<Sample, s16>)
        rows.pBy64(out, in, samples);
    else if constexpr (std::is_same_v<T, u8>)
        rows.pTo8(out, in, samples);
    else if constexpr (std::is_same_v<T, u16>)
        rows.pTo16(out, in, samples);
    else if constexpr (std::is_same_v<T, s16>)
        rows.pToS2_14(out, in, samples);
    else
        rows.pToFloat(out, in, samples);
}

/// The two stages. Columns are filtered first, in strips, and kept as blocks of lines side by side; those are then
/// filtered across.
template <class Sample, class T>
class RecursiveMaker final : public kernel::LineMaker {
public:
    RecursiveMaker(MarginLines const& lines, AxisFilter<Sample> const& down, AxisFilter<Sample> const& across);

    /// The first stage. False when it was told to stop.
    bool FilterColumns();
    void Make(int first, int count, unsigned char* out, std::ptrdiff_t step) override;
    /// Lines that are filtered side by side.
    int BlockLines() const override { return kLanes / m_oLines.iPixelSamples; }

private:
    static constexpr int kLanes = sizeof(Sample) == 2 ? kFixedLanes : kDoubleLanes;

    void TakeBlocks();
    void Filter(AxisFilter<Sample> const& axis, Sample* lanes, int places);
    void KeepColumns(int column, int columns);
    /// A filtered block as samples of the output, lines still side by side.
    void FinishBlock(Sample const* lanes, int pixels);
    /// The block of a line that is output: a place before the first one, then a place for each pixel.
    Sample* Block(int line) const { return m_pBlocks + line / BlockLines() * m_iBlockSamples; }

    MarginLines m_oLines;
    AxisFilter<Sample> m_oDown, m_oAcross;
    int m_iPixels;  ///< of a line with its margins
    int m_iKept;    ///< output lines
    std::ptrdiff_t m_iBlockSamples;
    std::unique_ptr<Sample[]> m_pHeap;
    Ref<IXFImage> m_pScratch;
    Sample* m_pBlocks = nullptr;
    std::vector<Sample> m_aLanes;  ///< a strip of columns side by side, behind one place more
    std::vector<T> m_aFinished;    ///< a block of output lines, side by side
};

template <class Sample, class T>
RecursiveMaker<Sample, T>::RecursiveMaker(MarginLines const& lines, AxisFilter<Sample> const& down,
                                          AxisFilter<Sample> const& across)
    : m_oLines(lines),
      m_oDown(down),
      m_oAcross(across),
      m_iPixels(lines.iSamples / lines.iPixelSamples),
      m_iKept((lines.iLines - 2 * m_oDown.iReach - lines.iFirstKept + lines.iKeptStep - 1) / lines.iKeptStep),
      m_iBlockSamples((std::ptrdiff_t{m_iPixels} + 1) * kLanes) {
}

/// The pool keeps one free block of up to 32 MiB, which is the margin buffer's, and one of the sizes above: scratch up
/// to there comes from the heap, which keeps such blocks, too.
template <class Sample, class T>
void RecursiveMaker<Sample, T>::TakeBlocks() {
    constexpr std::size_t kMostOnHeap = 0x2000000;
    int const blocks = (m_iKept + BlockLines() - 1) / BlockLines();
    std::size_t const samples = static_cast<std::size_t>(m_iBlockSamples) * static_cast<std::size_t>(blocks);
    if (samples * sizeof(Sample) <= kMostOnHeap) {
        m_pHeap.reset(new Sample[samples]);
        m_pBlocks = m_pHeap.get();
    } else {
        GUID const format = sizeof(Sample) == 2 ? MFIF_MONO_S2_14 : MFIF_MONO_FLOAT;
        void* pPixels = nullptr;
        if (m_iBlockSamples > 0x7FFFFFFF ||
            qzILCreateAndAllocImage(nullptr, IID_IXFImage, static_cast<int>(m_iBlockSamples), blocks, format,
                                    m_pScratch.Out()) < 0 ||
            m_pScratch->GetPixelArray(&pPixels) < 0) {
            throw std::bad_alloc();
        }
        m_pBlocks = static_cast<Sample*>(pPixels);
    }
    // Lanes without a line are filtered, too: what memory held before could pass the range of sums.
    if (m_iKept % BlockLines() != 0) std::fill_n(Block(m_iKept), m_iBlockSamples, Sample{0});
}

/// Filters sequences that stand side by side, in place. `lanes` has a place before the first one: the forward pass puts
/// its output where the sample stood that has just left its reach, one place before the first input; the backward pass
/// puts its own into natural order behind the reach.
template <class Sample, class T>
void RecursiveMaker<Sample, T>::Filter(AxisFilter<Sample> const& axis, Sample* lanes, int places) {
    if (!axis.bActive) return;
    int const reach = axis.iReach;
    Sample *const first = lanes + kLanes, *const last = lanes + std::ptrdiff_t{places - 1 - reach} * kLanes;
    axis.pPass({first, kLanes, last, -kLanes, places, reach, kLanes}, axis.oFilter);
    axis.pPass({last, -kLanes, first + std::ptrdiff_t{reach} * kLanes, kLanes, places - reach, reach, kLanes},
               axis.oFilter);
}

template <class Sample, class T>
bool RecursiveMaker<Sample, T>::FilterColumns() {
    TakeBlocks();
    m_aLanes.resize((static_cast<std::size_t>(m_oLines.iLines) + 1) * kLanes);
    m_aFinished.resize(static_cast<std::size_t>(m_iPixels) * kLanes);
    MarginSource& source = m_oLines.oSource;
    int const columns = BlockLines();
    // Strips begin where the image does, so that they share no line of the cache.
    for (int at = 0, end = source.FirstInside() % columns; at < m_iPixels; at = end, end += columns) {
        int const count = std::min(end, m_iPixels) - at;
        if (count == 0) continue;
        MarginSource::Strip const strip = source.Columns(at, count);
        Load<Sample, T>(
            {m_aLanes.data() + kLanes, strip.pLines, strip.iAt, count * m_oLines.iPixelSamples, m_oLines.iLines});
        Filter(m_oDown, m_aLanes.data(), m_oLines.iLines);
        KeepColumns(at, count);
        for (int column = 0; column < count; ++column) {
            if (m_oLines.oQuestion.Stops()) return false;
        }
    }
    return true;
}

template <class Sample, class T>
void RecursiveMaker<Sample, T>::FinishBlock(Sample const* lanes, int pixels) {
    constexpr int kPiece = 1 << 16;  // so that the lanes of a very wide image can be counted
    for (int x = 0; x < pixels; x += kPiece) {
        std::ptrdiff_t const at = std::ptrdiff_t{x} * kLanes;
        Finish(m_aFinished.data() + at, lanes + at, std::min(kPiece, pixels - x) * kLanes);
    }
}

/// Turns a strip of finished columns, so that in each block of lines the lines stand side by side.
template <class Sample, class T>
void RecursiveMaker<Sample, T>::KeepColumns(int column, int columns) {
    int const laneBytes = kLanes * int{sizeof(Sample)};
    auto const target = [&](int line) {
        return reinterpret_cast<u8*>(Block(line) + (std::ptrdiff_t{column} + 1) * kLanes);
    };
    for (int first = 0; first < m_iKept; first += BlockLines()) {
        u8 const* const later = target(std::min(first + 4 * BlockLines(), m_iKept - 1));
        for (int i = 0; i < columns * laneBytes; i += 64) __builtin_prefetch(later + i, 1, 2);
        int const line = m_oDown.iReach + m_oLines.ActiveLine(first);
        GetFilterRows().pToTile(
            {target(first), laneBytes, reinterpret_cast<u8*>(m_aLanes.data() + (std::ptrdiff_t{line} + 1) * kLanes),
             std::ptrdiff_t{laneBytes} * m_oLines.iKeptStep, std::min(BlockLines(), m_iKept - first), columns,
             m_oLines.iPixelSamples * int{sizeof(Sample)}});
    }
}

template <class Sample, class T>
void RecursiveMaker<Sample, T>::Make(int first, int count, unsigned char* out, std::ptrdiff_t step) {
    int const pixelBytes = m_oLines.iPixelSamples * int{sizeof(T)}, pixels = m_iPixels - 2 * m_oAcross.iReach;
    while (count > 0) {
        int const place = first % BlockLines(), lines = std::min(count, BlockLines() - place);
        if (place == 0) {
            Sample* const lanes = Block(first);
            Filter(m_oAcross, lanes, m_iPixels);
            FinishBlock(lanes + (std::ptrdiff_t{m_oAcross.iReach} + 1) * kLanes, pixels);
        }
        GetFilterRows().pFromTile({reinterpret_cast<u8*>(m_aFinished.data()) + std::ptrdiff_t{place} * pixelBytes,
                                   kLanes * int{sizeof(T)}, out, step, lines, pixels, pixelBytes});
        first += lines;
        count -= lines;
        out += lines * step;
    }
}

}  // namespace

template <class Sample, class T>
std::unique_ptr<kernel::LineMaker> MakeRecursiveMaker(MarginLines const& lines, AxisFilter<Sample> const& down,
                                                      AxisFilter<Sample> const& across) {
    auto maker = std::make_unique<RecursiveMaker<Sample, T>>(lines, down, across);
    if (!maker->FilterColumns()) return nullptr;
    return maker;
}

template <class Sample>
using Axis = AxisFilter<Sample> const&;
template std::unique_ptr<kernel::LineMaker> MakeRecursiveMaker<s16, u8>(MarginLines const&, Axis<s16>, Axis<s16>);
template std::unique_ptr<kernel::LineMaker> MakeRecursiveMaker<float, u8>(MarginLines const&, Axis<float>, Axis<float>);
template std::unique_ptr<kernel::LineMaker> MakeRecursiveMaker<float, u16>(MarginLines const&, Axis<float>,
                                                                           Axis<float>);
template std::unique_ptr<kernel::LineMaker> MakeRecursiveMaker<float, s16>(MarginLines const&, Axis<float>,
                                                                           Axis<float>);
template std::unique_ptr<kernel::LineMaker> MakeRecursiveMaker<float, float>(MarginLines const&, Axis<float>,
                                                                             Axis<float>);

}  // namespace qzil
