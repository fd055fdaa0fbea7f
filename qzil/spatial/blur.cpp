#include "qzil/spatial/blur.h"

#include "qzil/frame/checks.h"
#include "qzil/frame/copy.h"
#include "qzil/frame/spatial_run.h"
#include "qzil/spatial/blur_makers.h"
#include "qzil/spatial/ellipse.h"
#include "qzil/spatial/filter_passes.h"
#include "qzil/spatial/line_rows.h"

#include <cmath>

using namespace qzil;

namespace {

constexpr auto kAllFormats = Join(kRawFormats, std::array{MFIF_RGBA_S2_14, MFIF_MONO_S2_14, MFIF_RGBA_FLOAT,
                                                          MFIF_RGBA_FLOAT_BU, MFIF_MONO_FLOAT, MFIF_MONO_FLOAT_BU});

bool IsExponential(qzILBlurType type) {
    return type == qzILBlurTypeExponential || type == qzILBlurTypeExponentialFloat;
}

/// A filter along an axis, in the arithmetic of the sample type.
template <class Sample, class Filter>
AxisFilter<Sample> Bind(Filter const& filter, bool mono8, bool finite) {
    FilterRows const& rows = GetFilterRows();
    FilterFunction<Sample> function{};
    if constexpr (std::is_same_v<Sample, s16>) {
        function = FunctionFor(filter, rows.oFixed);
    } else {
        function = FunctionFor(filter, rows.oDouble);
    }
    return {function, RowFilterOf<Sample>(filter, mono8, finite), static_cast<int>(filter.GetReach()),
            filter.IsActive()};
}

}  // namespace

FormatList qzILBlurImg::GetFormats() {
    return kAllFormats;
}

void qzILBlurImg::Init() {
    m_uType = qzILBlurTypeEllipse;
    m_fDegree = 1.0f;
}

qzILStatus qzILBlurImg::Execute() {
    if (m_fDegree == 0.0f || (m_oRadius.x < 1.0f && m_oRadius.y < 1.0f)) {
        qzILCopyImg copy;
        copy.SetDefaultColor(m_oDefaultColor);
        return CopyInstead(copy);
    }
    if ((m_uProcessingMode & kModeNoLines) == kModeNoLines) return 1;
    return qzILMonadicImgProc::Execute();
}

qzILStatus qzILBlurImg::Verify() {
    if (HasGoodRadius()) {
        if (qzILStatus const status = BuildKernel(); status != 1) return status;
    }
    qzILStatus status = qzILConvolveImg::Verify();
    bool const notANumber = std::isnan(m_oRadius.x) || std::isnan(m_oRadius.y);
    if (notANumber && GetLastError() == Code::Kernel) status = Fail(Code::Radius);
    FreeKernel();
    // Told whatever else is wrong.
    qzILStatus const own = Checks(*this, 1)
                               .Range(m_uType, qzILBlurTypeEllipse, qzILBlurTypeFastGaussFloat, Code::BlurType)
                               .Share(m_fDegree, Code::Degree);
    return own == 1 ? status : own;
}

qzILStatus qzILBlurImg::PrepareData() {
    qzILStatus const status = BuildKernel();
    return status == 1 ? qzILConvolveImg::PrepareData() : status;
}

qzILStatus qzILBlurImg::CleanData() {
    qzILStatus const status = qzILConvolveImg::CleanData();
    if (status == 1) FreeKernel();
    return status;
}

bool qzILBlurImg::IsFormatSupported() const {
    bool const kernelOnly = m_uType == qzILBlurTypeEllipse || m_uType == qzILBlurTypeGauss;
    return kernelOnly ? OutputHasFormatOf(kRawFormats) : OutputHasFormatOf(kAllFormats);
}

bool qzILBlurImg::IsConvolutionFasterThanFastGauss() const {
    return m_oIntegerRadius.x <= 4 && m_oIntegerRadius.y <= 4;
}

bool qzILBlurImg::IsKernelSeparable() {
    bool const gauss =
        m_uType == qzILBlurTypeGauss || (m_uType == qzILBlurTypeFastGauss && IsConvolutionFasterThanFastGauss());
    return gauss || qzILConvolveImg::IsKernelSeparable();
}

qzILStatus qzILBlurImg::SeparateKernel(float* x, float* y) {
    if (m_uType == qzILBlurTypeEllipse) return qzILConvolveImg::SeparateKernel(x, y);
    if (!HasKernel()) return Fail(Code::Kernel);
    qzILVector2l const size = KernelSize();
    auto const normalize = [](float* factor, int count) {
        float sum = 0.0f;
        for (int i = 0; i < count; ++i) sum += factor[i];
        for (int i = 0; i < count; ++i) factor[i] *= 1.0f / sum;
    };
    for (int i = 0; i < size.x; ++i) x[i] = m_pKernel[std::ptrdiff_t{size.y / 2} * size.x + i];
    for (int j = 0; j < size.y; ++j) y[j] = m_pKernel[std::ptrdiff_t{j} * size.x + size.x / 2];
    normalize(x, size.x);
    normalize(y, size.y);
    return 1;
}

void qzILBlurImg::FreeKernel() {
    DropKernel();
}

qzILStatus qzILBlurImg::BuildKernel() {
    bool const gauss =
        m_uType == qzILBlurTypeGauss || (m_uType == qzILBlurTypeFastGauss && IsConvolutionFasterThanFastGauss());
    // Where no kernel is used there is one of a single tap all the same: Verify asks for one.
    float* const pTaps = MakeKernel(m_uType == qzILBlurTypeEllipse || gauss ? KernelSize() : qzILVector2l(1, 1));
    if (!pTaps) return -1;
    if (gauss) BuildGauss(pTaps);
    if (m_uType == qzILBlurTypeEllipse) BuildEllipse(pTaps);
    return 1;
}

void qzILBlurImg::BuildEllipse(float* taps) const {
    float* tap = taps;
    int count = 0;
    for (int j = -Reach().y; j <= Reach().y; ++j) {
        for (int i = -Reach().x; i <= Reach().x; ++i, ++tap) {
            if (!IsInEllipse(m_oRadius, i, j)) continue;
            *tap = 1.0f;
            ++count;
        }
    }
    float const share = m_fDegree / static_cast<float>(count);
    for (float* p = taps; p != tap; ++p) *p *= share;
    taps[(tap - taps) / 2] = 1.0f - share * static_cast<float>(count - 1);
}

void qzILBlurImg::BuildGauss(float* taps) const {
    auto const inverse = [](float spread) { return spread == 0.0f ? 0.0f : 1.0f / (spread * spread); };
    float const ix = inverse(m_fDegree * m_oRadius.x), iy = inverse(m_fDegree * m_oRadius.y);
    float* tap = taps;
    float sum = 0.0f;
    for (int j = -Reach().y; j <= Reach().y; ++j) {
        for (int i = -Reach().x; i <= Reach().x; ++i) {
            *tap = std::exp((SquareOf(i) * ix + SquareOf(j) * iy) * -0.5f);
            sum += *tap++;
        }
    }
    float const factor = 1.0f / sum;
    for (float* p = taps; p != tap; ++p) *p *= factor;
}

bool qzILBlurImg::RunsAsKernel() const {
    if (m_uType == qzILBlurTypeEllipse || m_uType == qzILBlurTypeGauss) return true;
    return m_uType == qzILBlurTypeFastGauss && IsConvolutionFasterThanFastGauss() && OutputHasFormatOf(kRawFormats);
}

qzILStatus qzILBlurImg::DoEffect() {
    if (RunsAsKernel()) return qzILConvolveImg::DoEffect();
    if (!OutputHasFormatOf(kAllFormats)) return 1;
    if (m_uType == qzILBlurTypeUniform) return RunBox();
    bool const inFixedPoint = m_uType == qzILBlurTypeExponential || m_uType == qzILBlurTypeFastGauss;
    return inFixedPoint && Has(GetFixedLines()) ? RunFixed(m_uType) : RunRecursive<float>(GetMeanLines(), m_uType);
}

qzILStatus qzILBlurImg::RunBox() {
    auto const build = [this]<class T>(As<T>, MarginLines const& lines) {
        return MakeBoxMaker<T>(lines, KernelSize().x, KernelSize().y);
    };
    return RunMaker(GetMeanLines(), build, Code::None);
}

qzILStatus qzILBlurImg::RunFixed(qzILBlurType type) {
    return RunRecursive<s16>(GetFixedLines(), type);
}

template <class Sample, class Operation>
qzILStatus qzILBlurImg::RunRecursive(Operation const& operation, qzILBlurType type) {
    auto const build = [&]<class T>(As<T> call, MarginLines const& lines) {
        auto const along = [&](float radius, int reach) {
            bool const mono8 = call.eLayout == kernel::Layout::Mono, finite = !std::is_same_v<T, float>;
            double const spread = radius * double{m_fDegree};
            unsigned const n = static_cast<unsigned>(reach);
            return IsExponential(type) ? Bind<Sample>(qzILBlurIIR1D(spread, n), mono8, finite)
                                       : Bind<Sample>(qzILBlurUniformIIR1D(spread, n), mono8, finite);
        };
        return MakeRecursiveMaker<Sample, T>(lines, along(m_oRadius.y, Reach().y), along(m_oRadius.x, Reach().x));
    };
    return RunMaker(operation, build, Code::None);
}
