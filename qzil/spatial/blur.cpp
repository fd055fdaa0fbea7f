#include "qzil/spatial/blur.h"

#include "qzil/frame/copy.h"
#include "qzil/frame/margin.h"
#include "qzil/frame/pixel_traits.h"
#include "qzil/image/image_ops.h"
#include "qzil/spatial/blur_makers.h"
#include "qzil/spatial/ellipse.h"
#include "qzil/spatial/filter_passes.h"

#include <cmath>

using namespace qzil;

namespace {

constexpr auto kAllFormats = Join(kRawFormats, std::array{MFIF_RGBA_S2_14, MFIF_MONO_S2_14, MFIF_RGBA_FLOAT,
                                                          MFIF_RGBA_FLOAT_BU, MFIF_MONO_FLOAT, MFIF_MONO_FLOAT_BU});

bool IsExponential(qzILBlurType type) {
    return type == qzILBlurTypeExponential || type == qzILBlurTypeExponentialFloat;
}

/// How the box and the filters in double mix by a mask.
kernel::RowTraits TraitsOf(GUID const& format) {
    kernel::RowTraits traits = PixelTraits(format, kernel::MixRule::Mix257);
    if (traits.eMix == kernel::MixRule::Float) traits.eMix = kernel::MixRule::FloatOrFull;
    return traits;
}

/// A filter along an axis, in the arithmetic of the sample type.
template <class Sample, class Filter>
AxisFilter<Sample> Bind(Filter const& filter, GUID const& format) {
    FilterRows const& rows = GetFilterRows();
    FilterFunction<Sample> function{};
    if constexpr (std::is_same_v<Sample, s16>) {
        function = FunctionFor(filter, rows.oFixed);
    } else {
        function = FunctionFor(filter, rows.oDouble);
    }
    return {function, RowFilterOf<Sample>(filter, format == MFIF_MONO_RAW_8, !IsFormatFloat(format)),
            static_cast<int>(filter.GetReach()), filter.IsActive()};
}

template <class Sample>
AxisFilter<Sample> FilterFor(qzILBlurType type, double spread, int reach, GUID const& format) {
    unsigned const n = static_cast<unsigned>(reach);
    return IsExponential(type) ? Bind<Sample>(qzILBlurIIR1D(spread, n), format)
                               : Bind<Sample>(qzILBlurUniformIIR1D(spread, n), format);
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
    bool const good = HasGoodRadius();
    if (good) {
        if (qzILStatus const status = BuildKernel(); status != 1) return status;
    }
    qzILStatus status = qzILConvolveImg::Verify();
    bool const notANumber = std::isnan(m_oRadius.x) || std::isnan(m_oRadius.y);
    if (notANumber && GetLastError() == 0x10021) status = Fail(0x10023);
    FreeKernel();
    if (m_uType < qzILBlurTypeEllipse || m_uType > qzILBlurTypeFastGaussFloat) return Fail(0x10024);
    return IsNoShare(m_fDegree) ? Fail(0x10026) : status;
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
    if (!HasKernel()) return Fail(0x10021);
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
    if (inFixedPoint && Format() == MFIF_RGBA_RAW_32) return Convolve2PassRGBA(m_uType);
    if (inFixedPoint && Format() == MFIF_MONO_RAW_8) return Convolve2PassMONO8(m_uType);
    return RunRecursive<float>(m_uType, TraitsOf(Format()));
}

qzILStatus qzILBlurImg::RunBox() {
    return Guarded([&] {
        if (!HasBuffer()) return -1;
        kernel::RowTraits const traits = TraitsOf(Format());
        auto const maker = MakeBoxMaker(GetChannelTypeFromFormat(Format()), GetMarginLines(traits.iSamples),
                                        KernelSize().x, KernelSize().y);
        return maker ? RunLines(traits, *maker, kernel::kBlockLines) : 1;
    });
}

qzILStatus qzILBlurImg::Convolve2PassRGBA(qzILBlurType type) {
    return Format() == MFIF_RGBA_RAW_32 ? RunRecursive<s16>(type, OperationTraits(Format())) : -1;
}

qzILStatus qzILBlurImg::Convolve2PassMONO8(qzILBlurType type) {
    return Format() == MFIF_MONO_RAW_8 ? RunRecursive<s16>(type, OperationTraits(Format())) : -1;
}

template <class Sample>
qzILStatus qzILBlurImg::RunRecursive(qzILBlurType type, kernel::RowTraits const& traits) {
    return Guarded([&] {
        if (!HasBuffer()) return -1;
        double const degree = m_fDegree;
        RecursiveMaker<Sample> maker(GetChannelTypeFromFormat(Format()), GetMarginLines(traits.iSamples),
                                     FilterFor<Sample>(type, m_oRadius.y * degree, Reach().y, Format()),
                                     FilterFor<Sample>(type, m_oRadius.x * degree, Reach().x, Format()));
        return maker.FilterColumns() ? RunLines(traits, maker, maker.BlockLines()) : 1;
    });
}
