#include "qzil/spatial/tap_maker.h"

#include "qzil/spatial/filter_rows.h"

#include <algorithm>
#include <utility>

namespace qzil {
namespace {

/// Samples that are summed at a time, so that they stay in the first-level cache; across, and down of each line.
constexpr int kPieceAcross = 2048;
constexpr int kPieceDown = 512;

/// Adds the taps of a line of a kernel, or of a column, without those that are 0.
template <class Sample>
void AddRuns(std::vector<TapRun<Sample>>& runs, Sample const* taps, int count) {
    for (int i = 0; i < count; ++i) {
        if (taps[i] == Sample{0}) continue;
        int const from = i;
        while (i < count && taps[i] != Sample{0}) ++i;
        runs.push_back({taps + from, i - from, from});
    }
}

/// The row functions of a convolution in float, or in 16.16.
struct FloatRoutines {
    using Sample = float;
    TapRounding oRounding;

    static auto const& Functions() { return GetTapRows().oFloat; }
    void Widen(float* out, unsigned char const* in, int samples) const {
        TapRows const& rows = GetTapRows();
        if (oRounding.iSampleBytes == 1) {
            rows.pWiden8(out, in, samples);
        } else {
            rows.pWiden16(out, reinterpret_cast<u16 const*>(in), samples);
        }
    }
    static void EndFirstPass(float*, int) {}
};

struct FixedRoutines {
    using Sample = s32;
    FixedRounding oRounding;

    static auto const& Functions() { return GetTapRows().oFixed; }
    static void Widen(s32* out, unsigned char const* in, int samples) { GetTapRows().pWidenFixed8(out, in, samples); }
    static void EndFirstPass(s32* sums, int samples) { GetTapRows().pShiftFixed(sums, samples); }
};

/// Makes lines of a convolution. What comes out of the first step, widened samples or sums across, is held for as many
/// lines as the kernel and a block of lines need.
template <class Routines>
class TapMaker final : public kernel::LineMaker {
    using Sample = typename Routines::Sample;

public:
    TapMaker(MarginLines const& lines, TapKernel<Sample> kernel, Routines const& routines, bool holdsAll)
        : m_oLines(lines),
          m_oKernel(std::move(kernel)),
          m_oRoutines(routines),
          m_iHeld(holdsAll ? lines.iLines
                           : std::min(lines.iLines, m_oKernel.iHeight + (kernel::kBlockLines - 1) * lines.iKeptStep)),
          m_bTiles(lines.iPixelSamples == 1),
          m_iStep(m_bTiles ? kTileSamples : kPixelSamples),
          m_iStripStep(m_bTiles ? lines.iActiveSamples / kTileSamples : 0),
          m_iSamples(m_bTiles ? (lines.iActiveSamples - (kTileSamples - 1) * m_iStripStep) * kTileSamples
                              : lines.iActiveSamples),
          m_iHalo(std::ptrdiff_t{m_oKernel.iWidth - 1} * m_iStep) {
        m_iPitch = SpreadPitch(m_oKernel.bTwoPasses ? m_iSamples : m_iSamples + m_iHalo);
        m_oHeld.Take(static_cast<std::size_t>(m_iPitch) * static_cast<std::size_t>(m_iHeld));
        m_oWidened.Take(m_oKernel.bTwoPasses ? static_cast<std::size_t>(kPieceAcross + m_iHalo) : 0);
        if (!m_bTiles) return;
        m_iTileBytes = std::ptrdiff_t{std::max(m_iSamples, kPieceAcross)} * SampleBytes();
        m_aTile.resize(static_cast<std::size_t>(m_iTileBytes) * kernel::kBlockLines);
    }

    /// Takes the first step for all lines up to `end`; a first pass of two ends for good when it is told to stop.
    void Advance(int end) {
        for (; m_iDone < end; ++m_iDone) {
            unsigned char const* const pLine = m_oLines.oSource.Line(m_iDone, 1);
            if (!m_oKernel.bTwoPasses) {
                Widen(Held(m_iDone), pLine, 0, m_iSamples + m_iHalo);
            } else {
                MakeFirst(pLine, Held(m_iDone));
            }
            if (m_oKernel.bTwoPasses && m_oLines.oQuestion.Stops()) m_iDone = m_oLines.iLines;
        }
    }

    void Make(int first, int count, unsigned char* out, std::ptrdiff_t step) override {
        int const top = m_oLines.ActiveLine(first), bottom = m_oLines.ActiveLine(first + count - 1);
        Advance(bottom + m_oKernel.iHeight);
        m_pOut = m_bTiles ? m_aTile.data() : out;
        m_iOutStep = m_bTiles ? m_iTileBytes : step;
        if (m_oKernel.bTwoPasses) MakeDown(top, bottom + m_oKernel.iHeight - top, count);
        for (int line = 0; !m_oKernel.bTwoPasses && line < count; ++line) {
            MakeAcross(line, m_oLines.ActiveLine(first + line));
        }
        for (int line = 0; m_bTiles && line < count; ++line) {
            GetFilterRows().pFromTile(
                MoveOf(m_aTile.data() + line * m_iTileBytes, out + line * step, m_iSamples / kTileSamples));
        }
    }

private:
    /// Memory that starts on a line of the cache.
    class Memory {
    public:
        void Take(std::size_t samples) {
            m_aMemory.resize(samples + kAlign + kTileSamples);
            std::uintptr_t const misaligned =
                reinterpret_cast<std::uintptr_t>(m_aMemory.data()) / sizeof(Sample) % kAlign;
            m_pFirst = m_aMemory.data() + (kAlign - misaligned) % kAlign;
        }
        Sample* First() const { return m_pFirst; }

    private:
        static constexpr std::size_t kAlign = 64 / sizeof(Sample);
        std::vector<Sample> m_aMemory;
        Sample* m_pFirst = nullptr;
    };

    /// Samples of a line that the next one follows, so that the same place of many lines does not fall to a few sets of
    /// the first-level cache.
    static std::ptrdiff_t SpreadPitch(std::ptrdiff_t samples) {
        constexpr int kSets = 64, kApart = 5, kPerLine = 64 / sizeof(Sample);
        return ((samples + kPerLine - 1) / kPerLine / kSets * kSets + kSets + kApart) * kPerLine;
    }

    template <class Op>
    static void ForPieces(std::ptrdiff_t samples, int piece, Op op) {
        for (std::ptrdiff_t at = 0; at < samples; at += piece) {
            op(at, static_cast<int>(std::min<std::ptrdiff_t>(piece, samples - at)));
        }
    }

    /// Between a tile and the strips of a line.
    TileMove MoveOf(unsigned char* tile, unsigned char* line, int positions) const {
        int const bytes = SampleBytes();
        return {tile, kTileSamples * bytes, line, std::ptrdiff_t{m_iStripStep} * bytes, kTileSamples, positions, bytes};
    }
    /// Samples of a line or of its tile, counted from `first`, widened.
    void Widen(Sample* out, unsigned char const* line, std::ptrdiff_t first, std::ptrdiff_t all) {
        ForPieces(all, kPieceAcross, [&](std::ptrdiff_t at, int samples) {
            auto* pFrom =
                const_cast<unsigned char*>(line) + (first + at) / m_iStep * m_oLines.iPixelSamples * SampleBytes();
            if (m_bTiles) {
                GetFilterRows().pToTile(MoveOf(m_aTile.data(), pFrom, samples / kTileSamples));
                pFrom = m_aTile.data();
            }
            m_oRoutines.Widen(out + at, pFrom, samples);
        });
    }
    int SampleBytes() const { return m_oRoutines.oRounding.iSampleBytes; }
    unsigned char* OutAt(int line, std::ptrdiff_t at) const { return m_pOut + line * m_iOutStep + at * SampleBytes(); }
    /// Across the sources, into sums or, rounded, into the output.
    void SumAcross(Sample* sums, unsigned char* out, int samples) {
        auto const& functions = Routines::Functions();
        (m_bTiles ? functions.pAcrossTiles
                  : functions.pAcrossPixels)({m_oKernel.aAcross.data(), static_cast<int>(m_oKernel.aAcross.size()),
                                              m_aSources.data(), sums, out, samples, m_oRoutines.oRounding});
    }

    /// The first of two passes.
    void MakeFirst(unsigned char const* line, Sample* sums) {
        m_aSources.assign(m_oKernel.aAcross.size(), m_oWidened.First());
        ForPieces(m_iSamples, kPieceAcross, [&](std::ptrdiff_t at, int samples) {
            Widen(m_oWidened.First(), line, at, samples + m_iHalo);
            SumAcross(sums + at, nullptr, samples);
            Routines::EndFirstPass(sums + at, samples);
        });
    }
    /// The second one, for lines from `top` on.
    void MakeDown(int top, int lines, int count) {
        m_aSources.clear();
        for (int line = 0; line < lines; ++line) m_aSources.push_back(Held(top + line));
        ForPieces(m_iSamples, kPieceDown, [&](std::ptrdiff_t at, int samples) {
            Routines::Functions().pDown({m_oKernel.aDown.data(), static_cast<int>(m_oKernel.aDown.size()),
                                         m_aSources.data(), at, m_oLines.iKeptStep, OutAt(0, at), m_iOutStep, count,
                                         samples, m_oRoutines.oRounding});
        });
    }
    /// The only pass, of the line of the block whose first source is `top`.
    void MakeAcross(int line, int top) {
        m_aSources.clear();
        for (int const below : m_oKernel.aiLines) m_aSources.push_back(Held(top + below));
        SumAcross(nullptr, OutAt(line, 0), m_iSamples);
    }
    Sample* Held(int line) { return m_oHeld.First() + line % m_iHeld * m_iPitch; }

    MarginLines m_oLines;
    TapKernel<Sample> m_oKernel;
    Routines m_oRoutines;
    int m_iHeld;
    int m_iDone = 0;                  ///< lines whose first step is done
    bool m_bTiles;                    ///< lines of single samples
    int m_iStep;                      ///< samples from a position to the next
    int m_iStripStep;                 ///< pixels from a tile's strip to the next; the last ones may overlap
    int m_iSamples;                   ///< of an output line or its tile
    std::ptrdiff_t m_iHalo;           ///< samples that the input has beyond
    std::ptrdiff_t m_iPitch;          ///< samples from a held line to the next
    std::ptrdiff_t m_iTileBytes = 0;  ///< of an output line
    unsigned char* m_pOut = nullptr;  ///< lines of the block that is made, or their tiles
    std::ptrdiff_t m_iOutStep = 0;
    Memory m_oHeld, m_oWidened;
    std::vector<unsigned char> m_aTile;
    std::vector<Sample const*> m_aSources;
};

template <class Routines, class Sample>
std::unique_ptr<kernel::LineMaker> Make(MarginLines const& lines, TapKernel<Sample> kernel, Routines const& routines) {
    // A host that interrupts sees the first pass end before the second one begins.
    bool const wholePass = kernel.bTwoPasses && lines.oQuestion.pStops;
    auto maker = std::make_unique<TapMaker<Routines>>(lines, std::move(kernel), routines, wholePass);
    if (wholePass) maker->Advance(lines.iLines);
    return maker;
}

}  // namespace

template <class Sample>
TapKernel<Sample>::TapKernel(Sample const* taps, qzILVector2l size)
    : iHeight(size.y), iWidth(size.x), bTwoPasses(false) {
    for (int j = 0; j < size.y; ++j) {
        AddRuns(aAcross, taps + std::ptrdiff_t{j} * size.x, size.x);
        aiLines.resize(aAcross.size(), j);
    }
}

template <class Sample>
TapKernel<Sample>::TapKernel(Sample const* x, Sample const* y, qzILVector2l size)
    : iHeight(size.y), iWidth(size.x), bTwoPasses(true) {
    AddRuns(aAcross, x, size.x);
    AddRuns(aDown, y, size.y);
}

template struct TapKernel<float>;
template struct TapKernel<s32>;

std::unique_ptr<kernel::LineMaker> MakeTapMaker(MarginLines const& lines, TapKernel<float> kernel,
                                                TapRounding const& rounding) {
    return Make(lines, std::move(kernel), FloatRoutines{rounding});
}

std::unique_ptr<kernel::LineMaker> MakeTapMaker(MarginLines const& lines, TapKernel<s32> kernel,
                                                FixedRounding const& rounding) {
    return Make(lines, std::move(kernel), FixedRoutines{rounding});
}

}  // namespace qzil
