#include "qzil/spatial/convolve.h"

#include "qzil/frame/pixel_traits.h"
#include "qzil/numeric/matrix.h"
#include "qzil/spatial/tap_maker.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <vector>

using namespace qzil;

namespace {

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

template <class Sample, class Rounding>
qzILStatus qzILConvolveImg::RunTaps(TapKernel<Sample> const& kernel, Rounding const& rounding) {
    kernel::RowTraits const traits = OperationTraits(Format());
    auto const maker = MakeTapMaker(GetMarginLines(traits.iSamples), kernel, rounding);
    return RunLines(traits, *maker, kernel::kBlockLines);
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
        return RunTaps(kernel, rounding);
    });
}

qzILStatus qzILConvolveImg::RunDualPass(float const* x, float const* y) {
    return Guarded([&] {
        kernel::RowTraits const traits = OperationTraits(Format());
        if (traits.iSampleBytes == 0 || !HasBuffer()) return -1;
        TapKernel<float> const kernel(x, y, KernelSize());
        bool const fits = Fits(MagnitudeOf(x, KernelSize().x) * MagnitudeOf(y, KernelSize().y), 0.0f);
        return RunTaps(kernel, TapRounding{traits.iSampleBytes, 0.5f, true, fits});
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
        return RunTaps(kernel, FixedRounding{static_cast<s32>(offset + 32768u)});
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
        return RunTaps(kernel, FixedRounding{32768});
    });
}
