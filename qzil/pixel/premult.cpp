#include "qzil/pixel/premult.h"

#include "qzil/frame/pixel_traits.h"
#include "qzil/image/image_ops.h"
#include "qzil/pixel/premult_rows.h"

using namespace qzil;
using kernel::Bound;
using kernel::MixRule;

namespace {

constexpr std::array kAdjustFormats{MFIF_RGBA_RAW_32, MFIF_RGBA_S2_14, MFIF_RGBA_FLOAT};
constexpr std::array kUnpremultiplyFormats{MFIF_RGBA_RAW_32, MFIF_RGBA_S2_14, MFIF_RGBA_FLOAT, MFIF_RGBA_RAW_64};

/// The background premultiplied by its alpha; integers are rounded and limited to 0..full.
template <class T>
UnpremultiplyClassAttributes<T> Premultiply(qzILColor const& color) {
    using Format = qzILFormat<T>;
    auto const convert = [](double value) {
        if constexpr (std::is_same_v<T, float>) {
            return static_cast<float>(value);
        } else {
            return TruncateTo<T>(value * Format::kScale + 0.5, 0.0, Format::kFull);
        }
    };
    double const alpha = color.GetAlpha();
    return {{convert(alpha * color.GetRed()), convert(alpha * color.GetGreen()), convert(alpha * color.GetBlue())},
            convert(alpha)};
}

}  // namespace

FormatList qzILAdjustPremultImg::GetFormats() {
    return kAdjustFormats;
}

qzILStatus qzILAdjustPremultImg::Verify() {
    if (qzILStatus const status = qzILDyadicPixelProc::Verify(); status != 1) return status;
    return VerifyFormat(kAdjustFormats);
}

qzILStatus qzILAdjustPremultImg::DoEffect() {
    if (!IsFormatRGB(Format())) return Fail(0x10034);
    kernel::RowTraits const traits = PixelTraits(Format(), MixRule::Mix257);
    auto const* const pRow = EntryFor(GetPremultRows().oAdjust, GetChannelTypeFromFormat(Format()));
    if (!pRow || traits.iSamples != 4) return -1;
    AdjustPremulClassAttributes const attributes;
    return RunRows(traits, Bound(*pRow, attributes));
}

FormatList qzILUnpremultiplyImg::GetFormats() {
    return kUnpremultiplyFormats;
}

qzILStatus qzILUnpremultiplyImg::Verify() {
    if (qzILStatus const status = qzILMonadicPixelProc::Verify(); status != 1) return status;
    return VerifyFormat(kUnpremultiplyFormats);
}

qzILStatus qzILUnpremultiplyImg::DoEffect() {
    kernel::RowTraits traits = PixelTraits(Format(), MixRule::Mix257);
    if (!IsFormatRGB(Format()) || traits.iSamples != 4) return -1;
    PremultRows const& rows = GetPremultRows();
    auto const run = [&]<class T>(kernel::TypedRow<UnpremultiplyClassAttributes<T>> function) {
        auto const attributes = Premultiply<T>(m_oBackgroundColor);
        return RunRows(traits, Bound(function, attributes));
    };
    switch (GetChannelTypeFromFormat(Format())) {
        case XFChannelTypeUInt8: return run(rows.pUnpremultiply8);
        case XFChannelTypeUInt16: return run(rows.pUnpremultiply16);
        case XFChannelTypeS2_14: return run(rows.pUnpremultiplyS2_14);
        case XFChannelTypeFloat: traits.eMix = MixRule::FloatLimited; return run(rows.pUnpremultiplyFloat);
        default: return -1;
    }
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
