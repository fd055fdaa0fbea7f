#include "qzil/spatial/convolve.h"

#include "qzil/frame/margin.h"
#include "qzil/frame/pixel_traits.h"
#include "qzil/kernel/line_walk.h"
#include "qzil/spatial/filter_rows.h"
#include "qzil/spatial/tap_rows.h"
#include "qzil/transform/numeric/matrix.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <vector>

using namespace qzil;

namespace {

/// Samples that are summed at a time, so that they stay in the first-level cache; across, and down of each line.
constexpr int kPieceAcross = 2048;
constexpr int kPieceDown = 512;

/// Kernels of more than 2 GiB count as out of memory.
constexpr std::int64_t kMostTaps = 0x1FFFFFFF;

s32 Truncated(double value) {
    return TruncateTo<s32>(value, -2147483648.0, 2147483647.0);
}

/// The sum of the magnitudes of taps.
double MagnitudeOf(float const* taps, std::ptrdiff_t count) {
    double sum = 0.0;
    for (std::ptrdiff_t i = 0; i < count; ++i) sum += std::abs(taps[i]);
    return sum;
}

/// True when sums of the largest samples, weighed like that, are far from the ends of 32 bits. False for NaN.
bool Fits(double magnitude, float offset) {
    return magnitude * 65536.0 + std::abs(offset) < 1e9;
}

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

}  // namespace

namespace qzil {

/// What a convolution does to a line of the margin buffer, and to the lines that come out of that.
template <class Sample>
struct TapKernel {
    int iHeight;
    int iWidth;
    bool bTwoPasses;
    std::vector<TapRun<Sample>> aAcross;
    std::vector<int> aiLines;           ///< of one pass: the kernel's line that a run belongs to
    std::vector<TapRun<Sample>> aDown;  ///< of the second pass

    TapKernel(Sample const* taps, qzILVector2l size) : iHeight(size.y), iWidth(size.x), bTwoPasses(false) {
        for (int j = 0; j < size.y; ++j) {
            AddRuns(aAcross, taps + std::ptrdiff_t{j} * size.x, size.x);
            aiLines.resize(aAcross.size(), j);
        }
    }
    TapKernel(Sample const* x, Sample const* y, qzILVector2l size) : iHeight(size.y), iWidth(size.x), bTwoPasses(true) {
        AddRuns(aAcross, x, size.x);
        AddRuns(aDown, y, size.y);
    }
};

}  // namespace qzil

namespace {

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
    TapMaker(MarginLines const& lines, TapKernel<Sample> const& kernel, Routines const& routines, int held)
        : m_oLines(lines),
          m_oKernel(kernel),
          m_oRoutines(routines),
          m_iHeld(held),
          m_bTiles(lines.iPixelSamples == 1),
          m_iStep(m_bTiles ? kTileSamples : kPixelSamples),
          m_iStripStep(m_bTiles ? lines.iActiveSamples / kTileSamples : 0),
          m_iSamples(m_bTiles ? (lines.iActiveSamples - (kTileSamples - 1) * m_iStripStep) * kTileSamples
                              : lines.iActiveSamples),
          m_iHalo(std::ptrdiff_t{kernel.iWidth - 1} * m_iStep) {
        m_iPitch = SpreadPitch(kernel.bTwoPasses ? m_iSamples : m_iSamples + m_iHalo);
        m_oHeld.Take(static_cast<std::size_t>(m_iPitch) * static_cast<std::size_t>(held));
        m_oWidened.Take(kernel.bTwoPasses ? static_cast<std::size_t>(kPieceAcross + m_iHalo) : 0);
        if (!m_bTiles) return;
        m_iTileBytes = std::ptrdiff_t{std::max(m_iSamples, kPieceAcross)} * SampleBytes();
        m_aTile.resize(static_cast<std::size_t>(m_iTileBytes) * kernel::kBlockLines);
    }

    /// Takes the first step for all lines up to `end`; ends for good when `stops` says so after a line.
    template <class Stops>
    void Advance(int end, Stops stops) {
        for (; m_iDone < end; ++m_iDone) {
            unsigned char const* const pLine = m_oLines.oSource.Line(m_iDone, 1);
            if (!m_oKernel.bTwoPasses) {
                Widen(Held(m_iDone), pLine, 0, m_iSamples + m_iHalo);
            } else {
                MakeFirst(pLine, Held(m_iDone));
            }
            if (stops()) m_iDone = m_oLines.iLines;
        }
    }

    void Make(int first, int count, unsigned char* out, std::ptrdiff_t step) override {
        int const top = m_oLines.ActiveLine(first), bottom = m_oLines.ActiveLine(first + count - 1);
        Advance(bottom + m_oKernel.iHeight, [] { return false; });
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
    TapKernel<Sample> const& m_oKernel;
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

/// The kernel as a matrix, which has the last row first; of a kernel wider than high the transpose, since a
/// decomposition wants no more columns than rows.
qzILMatrix MatrixOf(float const* kernel, int width, int height) {
    qzILMatrix matrix(height, width);
    if (matrix.IsNotValid()) return matrix;
    for (int j = 0; j < height; ++j) {
        for (int i = 0; i < width; ++i) matrix(height - 1 - j, i) = kernel[std::ptrdiff_t{j} * width + i];
    }
    return width > height ? matrix.Transpose() : matrix;
}

/// False when two rows and columns alone show a higher rank: a matrix has no smaller second singular value than a part
/// of it. Saves most kernels the decomposition. False, too, for taps that are not finite.
bool MayHaveRankOne(float const* kernel, int width, int height) {
    constexpr double kSecondValue = 4e-6;
    std::ptrdiff_t const taps = std::ptrdiff_t{width} * height;
    if (!std::all_of(kernel, kernel + taps, [](float tap) { return std::isfinite(tap); })) return false;
    std::ptrdiff_t const largest =
        std::max_element(kernel, kernel + taps, [](float a, float b) { return std::abs(a) < std::abs(b); }) - kernel;
    std::ptrdiff_t const row = largest / width * width, column = largest % width;
    double const a = kernel[largest];
    for (std::ptrdiff_t k = 0; k < taps; ++k) {
        double const b = kernel[row + k % width], c = kernel[k / width * width + column], d = kernel[k];
        double const determinant = std::abs(a * d - b * c);
        if (determinant > kSecondValue * std::sqrt(a * a + b * b + c * c + d * d)) return false;
    }
    return true;
}

}  // namespace

FormatList qzILConvolveImg::GetFormats() {
    return kRawFormats;
}

void qzILConvolveImg::Init() {
    m_pKernel = nullptr;
    m_fOffset = 0.0f;
}

void qzILConvolveImg::SetKernel(float* kernel, qzILVector2f radius) {
    m_pKernel = kernel;
    SetRadius(radius);
}

float* qzILConvolveImg::MakeKernel(qzILVector2l size) {
    DropKernel();
    std::int64_t const taps = std::int64_t{size.x} * size.y;
    if (taps <= kMostTaps) m_pOwnKernel.reset(new (std::nothrow) float[static_cast<std::size_t>(taps)]());
    if (!m_pOwnKernel) Fail(0x10001);
    m_oOwnSize = size;
    return m_pKernel = m_pOwnKernel.get();
}

void qzILConvolveImg::DropKernel() {
    m_pOwnKernel.reset();
    m_pKernel = nullptr;
}

bool qzILConvolveImg::HasKernel() const {
    return m_pKernel && (m_pKernel != m_pOwnKernel.get() || m_oOwnSize == KernelSize());
}

bool qzILConvolveImg::IsFormatSupported() const {
    return OutputHasFormatOf(kRawFormats);
}

qzILStatus qzILConvolveImg::Verify() {
    if (qzILStatus const status = qzILMonadicSpatialProc::Verify(); status != 1) return status;
    if (!IsFormatSupported()) return Fail(0x1000D);
    return m_pKernel ? 1 : Fail(0x10021);
}

bool qzILConvolveImg::IsKernelSeparable() {
    qzILVector2l const size = KernelSize();
    if (!HasKernel() || !MayHaveRankOne(m_pKernel, size.x, size.y)) return false;
    qzILMatrix const matrix = MatrixOf(m_pKernel, size.x, size.y);
    qzILMatrix u, singular, v;
    // The taps are finite here: a decomposition lacks nothing but memory.
    if (matrix.IsNotValid() || matrix.ThinSVD(u, singular, v) != 1) {
        Fail(0x10001);
        return false;
    }
    int rank = 0;
    for (int i = 0; i < singular.GetNumRows(); ++i) rank += matrix.IsVerySmall(singular(i, i)) ? 0 : 1;
    return rank == 1;
}

qzILStatus qzILConvolveImg::SeparateKernel(float* x, float* y) {
    if (!HasKernel()) return Fail(0x10021);
    qzILVector2l const size = KernelSize();
    qzILMatrix left, right;
    if (MatrixOf(m_pKernel, size.x, size.y).SeparateIntoTensorProduct(left, right) != 1) return Fail(0x10001);
    bool const transposed = size.x > size.y;
    qzILMatrix const &columns = transposed ? left : right, &rows = transposed ? right : left;
    for (int i = 0; i < columns.GetNumRows(); ++i) x[i] = static_cast<float>(columns(i, 0));
    for (int j = 0; j < rows.GetNumRows(); ++j) y[j] = static_cast<float>(rows(j, 0));
    return 1;
}

int qzILConvolveImg::CenterPixelOffset() const {
    return static_cast<int>(Reach().y * LineStep()) + Reach().x * m_oOutputHelper.m_iPixelStep;
}

int qzILConvolveImg::NextRow() const {
    return static_cast<int>(LineStep()) - KernelSize().x * m_oOutputHelper.m_iPixelStep;
}

qzILStatus qzILConvolveImg::DoEffect() {
    if (!HasKernel()) return Fail(0x10021);
    qzILVector2l const size = KernelSize();
    if (size.x == 1 || size.y == 1 || !IsKernelSeparable()) return SinglePassConvolve();
    std::unique_ptr<float[]> const factors(new (std::nothrow) float[std::size_t(size.x) + std::size_t(size.y)]());
    if (!factors) return Fail(0x10001);
    if (qzILStatus const status = SeparateKernel(factors.get(), factors.get() + size.x); status != 1) return status;
    return DualPassConvolve(factors.get(), factors.get() + size.x);
}

qzILStatus qzILConvolveImg::SinglePassConvolve() {
    return RunSinglePass();
}

qzILStatus qzILConvolveImg::DualPassConvolve(float* x, float* y) {
    return RunDualPass(x, y);
}

template <class Routines>
qzILStatus qzILConvolveImg::Run(TapKernel<typename Routines::Sample> const& kernel, Routines const& routines) {
    kernel::RowTraits const traits = OperationTraits(Format());
    MarginLines const lines = GetMarginLines(traits.iSamples);
    // A host that interrupts sees the first pass end before the second one begins.
    bool const wholePass = kernel.bTwoPasses && HasInterrupt();
    int const held =
        wholePass ? lines.iLines : std::min(lines.iLines, kernel.iHeight + (kernel::kBlockLines - 1) * lines.iKeptStep);
    TapMaker<Routines> maker(lines, kernel, routines, held);
    if (wholePass) maker.Advance(lines.iLines, [this] { return IsInterrupted(); });
    return RunLines(traits, maker, kernel::kBlockLines);
}

qzILStatus qzILConvolveImg::RunSinglePass() {
    return Guarded([&] {
        kernel::RowTraits const traits = OperationTraits(Format());
        if (!HasKernel() || traits.iSampleBytes == 0 || !HasBuffer()) return -1;
        // Deliberately a float sum at 8 bits and four channels, a double one everywhere else.
        bool const inFloat = traits.iSampleBytes == 1 && traits.iSamples == 4;
        TapKernel<float> const kernel(m_pKernel, KernelSize());
        TapRounding const rounding{
            traits.iSampleBytes, inFloat ? 0.5f + m_fOffset : m_fOffset, inFloat,
            Fits(MagnitudeOf(m_pKernel, std::ptrdiff_t{KernelSize().x} * KernelSize().y), m_fOffset)};
        return Run(kernel, FloatRoutines{rounding});
    });
}

qzILStatus qzILConvolveImg::RunDualPass(float const* x, float const* y) {
    return Guarded([&] {
        kernel::RowTraits const traits = OperationTraits(Format());
        if (traits.iSampleBytes == 0 || !HasBuffer()) return -1;
        TapKernel<float> const kernel(x, y, KernelSize());
        bool const fits = Fits(MagnitudeOf(x, KernelSize().x) * MagnitudeOf(y, KernelSize().y), 0.0f);
        return Run(kernel, FloatRoutines{{traits.iSampleBytes, 0.5f, true, fits}});
    });
}

qzILStatus qzILConvolveImg::SinglePassConvolve8_Fixed() {
    return Guarded([&] {
        kernel::RowTraits const traits = OperationTraits(Format());
        if (!HasKernel() || traits.iSampleBytes != 1 || !HasBuffer()) return -1;
        std::vector<s32> taps(static_cast<std::size_t>(KernelSize().x) * static_cast<std::size_t>(KernelSize().y));
        std::transform(m_pKernel, m_pKernel + taps.size(), taps.begin(),
                       [](float tap) { return Truncated(tap * 65536.0f); });
        TapKernel<s32> const kernel(taps.data(), KernelSize());
        u32 const offset = static_cast<u32>(Truncated(m_fOffset * 65536.0));
        return Run(kernel, FixedRoutines{{static_cast<s32>(offset + 32768u)}});
    });
}

qzILStatus qzILConvolveImg::DualPassConvolve_RGBA32_Fixed(float* x, float* y) {
    return Guarded([&] {
        kernel::RowTraits const traits = OperationTraits(Format());
        if (traits.iSampleBytes != 1 || !HasBuffer()) return -1;
        auto const fixed = [](float const* taps, int count) {
            std::vector<s32> values(static_cast<std::size_t>(count));
            std::transform(taps, taps + count, values.begin(), [](float tap) { return RoundHalfAway(tap * 65536.0); });
            return values;
        };
        std::vector<s32> const across = fixed(x, KernelSize().x), down = fixed(y, KernelSize().y);
        TapKernel<s32> const kernel(across.data(), down.data(), KernelSize());
        return Run(kernel, FixedRoutines{{32768}});
    });
}
