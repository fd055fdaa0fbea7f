#include "qzil/pixel/premult.h"

#include "qzil/frame/checks.h"
#include "qzil/frame/run.h"
#include "qzil/image/image_ops.h"
#include "qzil/pixel/premult_rows.h"

using namespace qzil;

namespace {
constexpr std::array kAdjustFormats{MFIF_RGBA_RAW_32, MFIF_RGBA_S2_14, MFIF_RGBA_FLOAT};
constexpr std::array kUnpremultiplyFormats{MFIF_RGBA_RAW_32, MFIF_RGBA_S2_14, MFIF_RGBA_FLOAT, MFIF_RGBA_RAW_64};
}  // namespace

FormatList qzILAdjustPremultImg::GetFormats() {
    return kAdjustFormats;
}

qzILStatus qzILAdjustPremultImg::Verify() {
    return Checks(*this, qzILDyadicPixelProc::Verify()).Format(kAdjustFormats);
}

qzILStatus qzILAdjustPremultImg::DoEffect() {
    return Run(GetAdjustPremult(), Code::InputFormat);
}

FormatList qzILUnpremultiplyImg::GetFormats() {
    return kUnpremultiplyFormats;
}

qzILStatus qzILUnpremultiplyImg::Verify() {
    return Checks(*this, qzILMonadicPixelProc::Verify()).Format(kUnpremultiplyFormats);
}

qzILStatus qzILUnpremultiplyImg::DoEffect() {
    auto const build = [this]<class T>(As<T>) -> Unpremultiply<T> {
        auto const convert = [](double value) {
            if constexpr (std::is_same_v<T, float>) {
                return static_cast<float>(value);
            } else {
                return TruncateTo<s32>(value * qzILFormat<T>::kScale + 0.5, 0.0, kFullScale<T>);
            }
        };
        qzILColor const& color = m_oBackgroundColor;
        double const alpha = color.GetAlpha();
        return {{convert(alpha * color.GetRed()), convert(alpha * color.GetGreen()), convert(alpha * color.GetBlue())},
                convert(alpha)};
    };
    return Run(GetUnpremultiply(), build, Code::None);
}

HRESULT qzILUnpremultiplyImage(IXFImage* image, IXFImage** result, int mode, qzILBbox2l const& region) {
    if (!result) return platform::kInvalidArgument;
    *result = nullptr;
    if (!image) return platform::kNullPointer;
    Ref<IXFImage> clone;
    HRESULT const cloned = qzILCloneImageNoData(image, IID_IXFImage, clone.Out());
    if (cloned < 0) return cloned;
    qzILUnpremultiplyImg effect;
    effect.SetProcessingMode(static_cast<unsigned>(mode));
    effect.SetInputImg(image);
    effect.SetOutputImg(clone.Get());
    effect.SetROI(region);
    if (effect.Execute() != 1) return platform::kFailure;
    *result = clone.Detach();
    return platform::kOk;
}
