#include "qzil/spatial/convolve.h"

#include "qzil/frame/checks.h"
#include "qzil/frame/spatial_run.h"
#include "qzil/numeric/matrix.h"
#include "qzil/spatial/line_rows.h"
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
    if (!m_pOwnKernel) Fail(Code::OutOfMemory);
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
    return Checks(*this, qzILMonadicSpatialProc::Verify())
        .That([this] { return IsFormatSupported(); }, Code::Format)
        .That(m_pKernel != nullptr, Code::Kernel);
}

bool qzILConvolveImg::IsKernelSeparable() {
    qzILVector2l const size = KernelSize();
    if (!HasKernel() || !MayHaveRankOne(m_pKernel, size.x, size.y)) return false;
    qzILMatrix const matrix = MatrixOf(m_pKernel, size.x, size.y);
    qzILMatrix u, singular, v;
    // The taps are finite here: a decomposition lacks nothing but memory.
    if (matrix.IsNotValid() || matrix.ThinSVD(u, singular, v) != 1) {
        Fail(Code::OutOfMemory);
        return false;
    }
    int rank = 0;
    for (int i = 0; i < singular.GetNumRows(); ++i) rank += matrix.IsVerySmall(singular(i, i)) ? 0 : 1;
    return rank == 1;
}

qzILStatus qzILConvolveImg::SeparateKernel(float* x, float* y) {
    if (!HasKernel()) return Fail(Code::Kernel);
    qzILVector2l const size = KernelSize();
    qzILMatrix left, right;
    if (MatrixOf(m_pKernel, size.x, size.y).SeparateIntoTensorProduct(left, right) != 1) return Fail(Code::OutOfMemory);
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
    if (!HasKernel()) return Fail(Code::Kernel);
    qzILVector2l const size = KernelSize();
    if (size.x == 1 || size.y == 1 || !IsKernelSeparable()) return SinglePassConvolve();
    std::unique_ptr<float[]> const factors(new (std::nothrow) float[std::size_t(size.x) + std::size_t(size.y)]());
    if (!factors) return Fail(Code::OutOfMemory);
    if (qzILStatus const status = SeparateKernel(factors.get(), factors.get() + size.x); status != 1) return status;
    return DualPassConvolve(factors.get(), factors.get() + size.x);
}

qzILStatus qzILConvolveImg::SinglePassConvolve() {
    return RunSinglePass();
}

qzILStatus qzILConvolveImg::DualPassConvolve(float* x, float* y) {
    return RunDualPass(x, y);
}

qzILStatus qzILConvolveImg::RunSinglePass() {
    if (!HasBuffer() || !HasKernel()) return -1;
    bool const fits = Fits(MagnitudeOf(m_pKernel, std::ptrdiff_t{KernelSize().x} * KernelSize().y), m_fOffset);
    auto const build = [&]<class T>(As<T> call, MarginLines const& lines) {
        // Deliberately a float sum at 8 bits and four channels, a double one everywhere else.
        bool const inFloat = sizeof(T) == 1 && call.eLayout == kernel::Layout::Rgba;
        return MakeTapMaker(lines, TapKernel<float>(m_pKernel, KernelSize()),
                            {sizeof(T), inFloat ? 0.5f + m_fOffset : m_fOffset, inFloat, fits});
    };
    return RunMaker(GetKernelLines(), build, Code::None);
}

qzILStatus qzILConvolveImg::RunDualPass(float const* x, float const* y) {
    if (!HasBuffer()) return -1;
    bool const fits = Fits(MagnitudeOf(x, KernelSize().x) * MagnitudeOf(y, KernelSize().y), 0.0f);
    auto const build = [&]<class T>(As<T>, MarginLines const& lines) {
        return MakeTapMaker(lines, TapKernel<float>(x, y, KernelSize()), {sizeof(T), 0.5f, true, fits});
    };
    return RunMaker(GetKernelLines(), build, Code::None);
}

qzILStatus qzILConvolveImg::SinglePassConvolve8_Fixed() {
    if (!HasBuffer() || !HasKernel()) return -1;
    std::vector<s32> taps;
    u32 const offset = static_cast<u32>(Truncated(m_fOffset * 65536.0));
    auto const build = [&](As<u8>, MarginLines const& lines) {
        taps.resize(static_cast<std::size_t>(KernelSize().x) * static_cast<std::size_t>(KernelSize().y));
        std::transform(m_pKernel, m_pKernel + taps.size(), taps.begin(),
                       [](float tap) { return Truncated(tap * 65536.0f); });
        return MakeTapMaker(lines, TapKernel<s32>(taps.data(), KernelSize()), {static_cast<s32>(offset + 32768u)});
    };
    return RunMaker(GetFixedLines(), build, Code::None);
}

qzILStatus qzILConvolveImg::DualPassConvolve_RGBA32_Fixed(float* x, float* y) {
    if (!HasBuffer()) return -1;
    std::vector<s32> across, down;
    auto const build = [&](As<u8>, MarginLines const& lines) {
        auto const fixed = [](std::vector<s32>& values, float const* taps, int count) {
            values.resize(static_cast<std::size_t>(count));
            std::transform(taps, taps + count, values.begin(), [](float tap) { return RoundHalfAway(tap * 65536.0); });
        };
        fixed(across, x, KernelSize().x);
        fixed(down, y, KernelSize().y);
        return MakeTapMaker(lines, TapKernel<s32>(across.data(), down.data(), KernelSize()), {32768});
    };
    return RunMaker(GetFixedLines(), build, Code::None);
}
