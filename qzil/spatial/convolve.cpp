#include "qzil/spatial/convolve.h"

#include "qzil/frame/pixel_traits.h"
#include "qzil/kernel/line_walk.h"
#include "qzil/spatial/margin_lines.h"
#include "qzil/spatial/tap_rows.h"
#include "qzil/transform/numeric/matrix.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <vector>

using namespace qzil;

namespace {

/// Samples of a strip of lines that the second-level cache holds with ease.
constexpr int kStripSamples = 12288;
/// Samples of a line that are widened and summed at a time; whole tap blocks.
constexpr int kPieceSamples = 1920;
static_assert(kPieceSamples % kTapBlock == 0);

/// Kernels of more than 2 GiB count as out of memory.
constexpr std::int64_t kMostTaps = 0x1FFFFFFF;

s32 Truncated(double value) {
    return TruncateTo<s32>(value, -2147483648.0, 2147483647.0);
}

/// The sum of the magnitudes of taps.
double MagnitudeOf(std::vector<float> const& taps) {
    double sum = 0.0;
    for (float const tap : taps) sum += std::abs(tap);
    return sum;
}

/// True when sums of the largest samples, weighed like that, are far from the ends of 32 bits. False for NaN.
bool Fits(double magnitude, float offset) {
    return magnitude * 65536.0 + std::abs(offset) < 1e9;
}

/// Where a tap stands in the lines of the first step, from the place of the first tap on.
struct TapPlace {
    int iLine;
    int iAcross;
};

}  // namespace

namespace qzil {

/// What a convolution does to a line of the margin buffer, and to the lines that come out of that. Taps of 0 are left
/// out.
template <class Sample>
struct TapKernel {
    struct Across {
        std::vector<int> aiPlaces;
        std::vector<Sample> aTaps;
    };
    int iHeight;
    bool bTwoPasses;
    Across oAcross;  ///< of the first pass
    std::vector<TapPlace> aPlaces;
    std::vector<Sample> aTaps;

    TapKernel(Sample const* taps, qzILVector2l size, int samples) : iHeight(size.y), bTwoPasses(false) {
        for (int j = 0; j < size.y; ++j) {
            for (int i = 0; i < size.x; ++i) Add(taps[std::ptrdiff_t{j} * size.x + i], j, i * samples);
        }
    }
    TapKernel(Sample const* x, Sample const* y, qzILVector2l size, int samples) : iHeight(size.y), bTwoPasses(true) {
        for (int i = 0; i < size.x; ++i) {
            if (x[i] == Sample{0}) continue;
            oAcross.aiPlaces.push_back(i * samples);
            oAcross.aTaps.push_back(x[i]);
        }
        for (int j = 0; j < size.y; ++j) Add(y[j], j, 0);
    }

private:
    void Add(Sample tap, int line, int across) {
        if (tap == Sample{0}) return;
        aPlaces.push_back({line, across});
        aTaps.push_back(tap);
    }
};

}  // namespace qzil

namespace {

/// The row functions of a convolution in float, or in 16.16.
struct FloatRoutines {
    using Sample = float;
    int iSampleBytes;
    TapRounding oRounding;

    void Widen(float* out, unsigned char const* in, int samples) const {
        TapRows const& rows = GetTapRows();
        if (iSampleBytes == 1) {
            rows.pWiden8(out, in, samples);
        } else {
            rows.pWiden16(out, reinterpret_cast<u16 const*>(in), samples);
        }
    }
    void Sum(float* out, TapSum<float> const& sum, int samples) const { GetTapRows().pSum(out, sum, samples); }
    void Finish(unsigned char* out, TapSum<float> const& sum, int samples) const {
        TapRows const& rows = GetTapRows();
        if (iSampleBytes == 1) {
            rows.pSumTo8(out, sum, samples, oRounding);
        } else {
            rows.pSumTo16(reinterpret_cast<u16*>(out), sum, samples, oRounding);
        }
    }
};

struct FixedRoutines {
    using Sample = s32;
    static constexpr int iSampleBytes = 1;
    s32 iAdd;

    void Widen(s32* out, unsigned char const* in, int samples) const { GetTapRows().pWidenFixed8(out, in, samples); }
    void Sum(s32* out, TapSum<s32> const& sum, int samples) const { GetTapRows().pSumFixed(out, sum, samples, 32768); }
    void Finish(unsigned char* out, TapSum<s32> const& sum, int samples) const {
        GetTapRows().pSumFixedTo8(out, sum, samples, iAdd);
    }
};

/// Makes lines of a convolution. What comes out of the first step, widened samples or sums across, is held for as many
/// lines as the kernel and a block of lines need.
template <class Routines>
class TapMaker final : public kernel::LineMaker {
    using Sample = typename Routines::Sample;

public:
    TapMaker(MarginLines const& lines, TapKernel<Sample> const& kernel, Routines const& routines, int held)
        : m_oLines(lines), m_oKernel(kernel), m_oRoutines(routines), m_iHeld(held) {
        int const samples = kernel.bTwoPasses ? lines.iActiveSamples : lines.iSamples;
        m_iPitch = std::ptrdiff_t{samples / kTapBlock + 2} * kTapBlock;
        m_aMemory.resize(static_cast<std::size_t>(m_iPitch * held) + kTapBlock);
        m_pHeld = Aligned(m_aMemory);
        if (!kernel.bTwoPasses) return;
        int const halo = lines.iSamples - lines.iActiveSamples;
        m_aWidenedMemory.resize(static_cast<std::size_t>(kPieceSamples + halo) + 3 * kTapBlock);
        m_pWidened = Aligned(m_aWidenedMemory);
    }

    /// Takes the first step for all lines up to `end`; ends for good when `stops` says so after a line.
    template <class Stops>
    void Advance(int end, Stops stops) {
        for (; m_iDone < end; ++m_iDone) {
            unsigned char const* const pLine = m_oLines.Line(m_iDone);
            if (!m_oKernel.bTwoPasses) {
                m_oRoutines.Widen(Held(m_iDone), pLine, m_oLines.iSamples);
            } else {
                SumAcross(pLine, Held(m_iDone));
            }
            if (stops()) m_iDone = m_oLines.iLines;
        }
    }

    void Make(int first, int count, unsigned char* out, std::ptrdiff_t step) override {
        int const top = m_oLines.ActiveLine(first), bottom = m_oLines.ActiveLine(first + count - 1);
        Advance(bottom + m_oKernel.iHeight, [] { return false; });
        m_aSources.clear();
        for (int line = 0; line < count; ++line) {
            for (TapPlace const& place : m_oKernel.aPlaces) {
                m_aSources.push_back(Held(m_oLines.ActiveLine(first + line) + place.iLine) + place.iAcross);
            }
        }
        std::size_t const taps = m_oKernel.aPlaces.size();
        int const strip = std::max(kStripSamples / (bottom - top + m_oKernel.iHeight) / kTapBlock, 2) * kTapBlock;
        for (int at = 0; at < m_oLines.iActiveSamples; at += strip) {
            int const samples = std::min(strip, m_oLines.iActiveSamples - at);
            for (int line = 0; line < count; ++line) {
                TapSum<Sample> const sum{m_aSources.data() + taps * static_cast<std::size_t>(line),
                                         m_oKernel.aTaps.data(), static_cast<int>(taps), at};
                m_oRoutines.Finish(out + line * step + std::ptrdiff_t{at} * m_oRoutines.iSampleBytes, sum, samples);
            }
        }
    }

private:
    /// The first of two passes, in pieces that stay in the first-level cache.
    void SumAcross(unsigned char const* line, Sample* sums) {
        int const halo = m_oLines.iSamples - m_oLines.iActiveSamples;
        m_aSources.clear();
        for (int const place : m_oKernel.oAcross.aiPlaces) m_aSources.push_back(m_pWidened + place);
        TapSum<Sample> const sum{m_aSources.data(), m_oKernel.oAcross.aTaps.data(), static_cast<int>(m_aSources.size()),
                                 0};
        for (int at = 0; at < m_oLines.iActiveSamples; at += kPieceSamples) {
            int const samples = std::min(kPieceSamples, m_oLines.iActiveSamples - at);
            m_oRoutines.Widen(m_pWidened, line + std::ptrdiff_t{at} * m_oRoutines.iSampleBytes, samples + halo);
            m_oRoutines.Sum(sums + at, sum, samples);
        }
    }
    /// The first place at a vector's boundary.
    static Sample* Aligned(std::vector<Sample>& memory) {
        std::uintptr_t const misaligned =
            reinterpret_cast<std::uintptr_t>(memory.data()) % (kTapBlock * sizeof(Sample));
        return memory.data() + (misaligned == 0 ? 0 : kTapBlock - misaligned / sizeof(Sample));
    }
    Sample* Held(int line) { return m_pHeld + line % m_iHeld * m_iPitch; }

    MarginLines m_oLines;
    TapKernel<Sample> const& m_oKernel;
    Routines m_oRoutines;
    std::vector<Sample> m_aMemory;
    std::vector<Sample> m_aWidenedMemory;
    Sample* m_pHeld;
    Sample* m_pWidened = nullptr;
    std::ptrdiff_t m_iPitch;
    int m_iHeld;
    int m_iDone = 0;  ///< lines whose first step is done
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

/// True when two rows and columns alone show that there is more than one factor: a matrix has no smaller second
/// singular value than a part of it. Saves most kernels the decomposition.
bool IsPlainlyInseparable(float const* kernel, int width, int height) {
    constexpr double kPlainly = 4e-6;
    std::ptrdiff_t const taps = std::ptrdiff_t{width} * height;
    std::ptrdiff_t const largest =
        std::max_element(kernel, kernel + taps, [](float a, float b) { return std::abs(a) < std::abs(b); }) - kernel;
    std::ptrdiff_t const row = largest / width * width, column = largest % width;
    double const a = kernel[largest];
    for (std::ptrdiff_t k = 0; k < taps; ++k) {
        double const b = kernel[row + k % width], c = kernel[k / width * width + column], d = kernel[k];
        double const determinant = std::abs(a * d - b * c);
        if (determinant > kPlainly * std::sqrt(a * a + b * b + c * c + d * d)) return std::isfinite(determinant);
    }
    return false;
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
    return m_pKernel = m_pOwnKernel.get();
}

void qzILConvolveImg::DropKernel() {
    m_pOwnKernel.reset();
    m_pKernel = nullptr;
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
    if (!m_pKernel || IsPlainlyInseparable(m_pKernel, size.x, size.y)) return false;
    qzILMatrix const matrix = MatrixOf(m_pKernel, size.x, size.y);
    if (matrix.IsNotValid()) {
        Fail(0x10001);
        return false;
    }
    return matrix.IsSeparable();
}

void qzILConvolveImg::SeparateKernel(float* x, float* y) {
    qzILVector2l const size = KernelSize();
    qzILMatrix left, right;
    MatrixOf(m_pKernel, size.x, size.y).SeparateIntoTensorProduct(left, right);
    bool const transposed = size.x > size.y;
    qzILMatrix const &columns = transposed ? left : right, &rows = transposed ? right : left;
    for (int i = 0; i < columns.GetNumRows(); ++i) x[i] = static_cast<float>(columns(i, 0));
    for (int j = 0; j < rows.GetNumRows(); ++j) y[j] = static_cast<float>(rows(j, 0));
}

int qzILConvolveImg::CenterPixelOffset() const {
    return static_cast<int>(Reach().y * LineStep()) + Reach().x * m_oOutputHelper.m_iPixelStep;
}

int qzILConvolveImg::NextRow() const {
    return static_cast<int>(LineStep()) - KernelSize().x * m_oOutputHelper.m_iPixelStep;
}

qzILStatus qzILConvolveImg::DoEffect() {
    if (!m_pKernel) return Fail(0x10021);
    qzILVector2l const size = KernelSize();
    if (size.x == 1 || size.y == 1 || !IsKernelSeparable()) return SinglePassConvolve();
    std::unique_ptr<float[]> const factors(new (std::nothrow) float[std::size_t(size.x) + std::size_t(size.y)]());
    if (!factors) return Fail(0x10001);
    SeparateKernel(factors.get(), factors.get() + size.x);
    return DualPassConvolve(factors.get(), factors.get() + size.x);
}

qzILStatus qzILConvolveImg::SinglePassConvolve() {
    return RunSinglePass();
}

qzILStatus qzILConvolveImg::DualPassConvolve(float* x, float* y) {
    return RunDualPass(x, y);
}

MarginLines qzILConvolveImg::GetMarginLines(int samples) const {
    KeptLines const kept = LinesToProcess();
    return {BufferStart(),
            LineStep(),
            ActiveSize().y + KernelSize().y - 1,
            (ActiveSize().x + KernelSize().x - 1) * samples,
            ActiveSize().x * samples,
            samples,
            kept.iFirst,
            kept.iStep};
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
        if (!m_pKernel || traits.iSampleBytes == 0 || !BufferStart()) return -1;
        // Deliberately a float sum at 8 bits and four channels, a double one everywhere else.
        bool const inFloat = traits.iSampleBytes == 1 && traits.iSamples == 4;
        TapKernel<float> const kernel(m_pKernel, KernelSize(), traits.iSamples);
        TapRounding const rounding{inFloat ? 0.5f + m_fOffset : m_fOffset, inFloat,
                                   Fits(MagnitudeOf(kernel.aTaps), m_fOffset)};
        return Run(kernel, FloatRoutines{traits.iSampleBytes, rounding});
    });
}

qzILStatus qzILConvolveImg::RunDualPass(float const* x, float const* y) {
    return Guarded([&] {
        kernel::RowTraits const traits = OperationTraits(Format());
        if (traits.iSampleBytes == 0 || !BufferStart()) return -1;
        TapKernel<float> const kernel(x, y, KernelSize(), traits.iSamples);
        bool const fits = Fits(MagnitudeOf(kernel.oAcross.aTaps) * MagnitudeOf(kernel.aTaps), 0.0f);
        return Run(kernel, FloatRoutines{traits.iSampleBytes, {0.5f, true, fits}});
    });
}

qzILStatus qzILConvolveImg::SinglePassConvolve8_Fixed() {
    return Guarded([&] {
        kernel::RowTraits const traits = OperationTraits(Format());
        if (!m_pKernel || traits.iSampleBytes != 1 || !BufferStart()) return -1;
        std::vector<s32> taps(static_cast<std::size_t>(KernelSize().x) * static_cast<std::size_t>(KernelSize().y));
        std::transform(m_pKernel, m_pKernel + taps.size(), taps.begin(),
                       [](float tap) { return Truncated(tap * 65536.0f); });
        TapKernel<s32> const kernel(taps.data(), KernelSize(), traits.iSamples);
        u32 const offset = static_cast<u32>(Truncated(m_fOffset * 65536.0));
        return Run(kernel, FixedRoutines{static_cast<s32>(offset + 32768u)});
    });
}

qzILStatus qzILConvolveImg::DualPassConvolve_RGBA32_Fixed(float* x, float* y) {
    return Guarded([&] {
        kernel::RowTraits const traits = OperationTraits(Format());
        if (traits.iSampleBytes != 1 || !BufferStart()) return -1;
        auto const fixed = [](float const* taps, int count) {
            std::vector<s32> values(static_cast<std::size_t>(count));
            std::transform(taps, taps + count, values.begin(), [](float tap) { return RoundHalfAway(tap * 65536.0); });
            return values;
        };
        std::vector<s32> const across = fixed(x, KernelSize().x), down = fixed(y, KernelSize().y);
        TapKernel<s32> const kernel(across.data(), down.data(), KernelSize(), traits.iSamples);
        return Run(kernel, FixedRoutines{32768});
    });
}
