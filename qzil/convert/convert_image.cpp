#include "qzil/convert/convert_image.h"

#include "qzil/convert/hls.h"
#include "qzil/convert/rgba_to_rgba.h"
#include "qzil/convert/rgba_to_ycca.h"
#include "qzil/convert/ycc_layouts.h"
#include "qzil/convert/ycca_to_rgba.h"
#include "qzil/image/image_ops.h"

#include <cstring>

using namespace qzil;

namespace {

/// What one step of a conversion needs beside the effect.
struct Step {
    IXFImage* pSource;
    IXFImage* pDestination;
    unsigned uFlags;
    qzILBbox2l const* pRegion;
    qzILVector2l const* pOffset;
};

qzILStatus Run(qzILMonadicConvertProc& effect, Step const& step) {
    effect.SetInputImg(step.pSource);
    effect.SetOutputImg(step.pDestination);
    if (step.pRegion) {
        effect.SetROI(*step.pRegion);
        effect.SetOutputOffset(step.pOffset ? *step.pOffset : step.pRegion->Origin);
    }
    return effect.Execute();
}

template <class Effect>
qzILStatus RunYcc(Effect&& effect, Step const& step, unsigned filter) {
    effect.SetDoFiltering((step.uFlags & filter) != 0);
    effect.SetDoDithering((step.uFlags & kConvertDither) != 0);
    return Run(effect, step);
}

bool IsYcc(GUID const& format) {
    XFColorModel const model = GetColorModelFromFormat(format);
    return model == XFColorModelYCC601 || model == XFColorModelYCC709;
}

/// The effect that serves two formats, by their colour models: asked whether it does, and run.
struct Route {
    bool (*pConverts)(GUID const& from, GUID const& to);
    qzILStatus (*pRun)(Step const& step);
};

qzILStatus RunRgba(Step const& step) {
    qzILRGBA2RGBA effect;
    effect.SetDoDithering((step.uFlags & kConvertDither) != 0);
    return Run(effect, step);
}

qzILStatus RunToYcc(Step const& step) {
    return RunYcc(qzILRGBAORDIB2YCCA(), step, kConvertFilterToYcc);
}

qzILStatus RunFromYcc(Step const& step) {
    return RunYcc(qzILYCCA2RGBA(), step, kConvertFilterFromYcc);
}

qzILStatus RunLayouts(Step const& step) {
    return RunYcc(qzILYCCA2YCCA(), step, kConvertFilterFromYcc);
}

qzILStatus RunSplit(Step const& step) {
    qzILYCCA2YCCYCC effect;
    effect.SetOutputImgB(nullptr);
    return RunYcc(effect, step, kConvertFilterFromYcc);
}

qzILStatus RunJoin(Step const& step) {
    qzILYCCYCC2YCCA effect;
    effect.SetInputImgB(nullptr);
    effect.SetFillMissingInput(1);
    return RunYcc(effect, step, kConvertFilterFromYcc);
}

template <class Effect>
qzILStatus RunPlain(Step const& step) {
    Effect effect;
    return Run(effect, step);
}

Route RouteOf(GUID const& from, GUID const& to) {
    if (GetColorModelFromFormat(to) == XFColorModelHLS) return {qzILRGBA2HLSA::Converts, RunPlain<qzILRGBA2HLSA>};
    if (GetColorModelFromFormat(from) == XFColorModelHLS) return {qzILHLSA2RGBA::Converts, RunPlain<qzILHLSA2RGBA>};
    if (!IsYcc(from))
        return IsYcc(to) ? Route{qzILRGBAORDIB2YCCA::Converts, RunToYcc} : Route{qzILRGBA2RGBA::Converts, RunRgba};
    if (!IsYcc(to)) return {qzILYCCA2RGBA::Converts, RunFromYcc};
    bool const fromPlane = IsFormatWithSeparateAlpha(from), toPlane = IsFormatWithSeparateAlpha(to);
    if (fromPlane && !IsFormatWithAlpha(to)) return {qzILYCCA2YCCYCC::Converts, RunSplit};
    if (toPlane && !IsFormatWithAlpha(from)) return {qzILYCCYCC2YCCA::Converts, RunJoin};
    return {qzILYCCA2YCCA::Converts, RunLayouts};
}

/// The conversions of MFIF_BGRA_RAW_32 that no effect has go through MFIF_RGBA_RAW_32.
bool GoesThroughRgba(GUID const& from, GUID const& to) {
    bool const bgra = from == MFIF_BGRA_RAW_32 || to == MFIF_BGRA_RAW_32;
    GUID const& over = MFIF_RGBA_RAW_32;
    return bgra && RouteOf(from, over).pConverts(from, over) && RouteOf(over, to).pConverts(over, to);
}

HRESULT Convert(GUID const& from, GUID const& to, Step const& step) {
    Route const route = RouteOf(from, to);
    if (route.pConverts(from, to)) return route.pRun(step) == 1 ? platform::kOk : platform::kFailure;
    qzILBbox2l const whole = WholeOf(step.pSource);
    Ref<IXFImage> between;
    HRESULT const made =
        qzILCreateAndAllocImage(nullptr, IID_IXFImage, whole.Size.x, whole.Size.y, MFIF_RGBA_RAW_32, between.Out());
    if (made < 0) return made;
    // Where the order of channels comes first it changes in the whole image: filters read around the region.
    qzILBbox2l const* const pFirstRegion = from == MFIF_BGRA_RAW_32 ? nullptr : step.pRegion;
    HRESULT const first =
        Convert(from, MFIF_RGBA_RAW_32, {step.pSource, between.Get(), step.uFlags, pFirstRegion, nullptr});
    if (first < 0) return first;
    return Convert(MFIF_RGBA_RAW_32, to, {between.Get(), step.pDestination, step.uFlags, step.pRegion, step.pOffset});
}

/// For new pixels that a conversion may leave out: their memory may hold those of another image.
void ClearPixels(IXFImage* image) {
    void* pPixels = nullptr;
    unsigned size = 0;
    image->GetPixelArray(&pPixels);
    image->GetPixelArraySize(&size);
    if (pPixels) std::memset(pPixels, 0, size);
}

HRESULT ConvertOrCopy(GUID const& from, GUID const& to, Step const& step) {
    if (from == to) return qzILCopyImage(step.pSource, step.pDestination, step.pRegion, step.pOffset, 0);
    return Convert(from, to, step);
}

/// Converts into an image that gets another format by it, and is as it was if that fails.
HRESULT ConvertAnew(GUID const& from, GUID const& to, Step const& step) {
    qzILVector2l const size = WholeOf(step.pDestination).Size;
    Ref<IXFImage> made;
    HRESULT result = MakeReplacement(step.pDestination, to, size.x, size.y, made);
    if (result < 0) return result;
    ClearPixels(made.Get());
    result = ConvertOrCopy(from, to, {step.pSource, made.Get(), step.uFlags, step.pRegion, step.pOffset});
    return result < 0 ? result : ReplaceBy(step.pDestination, made.Get());
}

}  // namespace

bool qzil::CanConvert(GUID const& from, GUID const& to) {
    return from == to || RouteOf(from, to).pConverts(from, to) || GoesThroughRgba(from, to);
}

HRESULT qzILConvertImage(IXFImage* source, IXFImage* destination, GUID format, unsigned flags, qzILBbox2l const* region,
                         qzILVector2l const* offset) {
    if (!source || !destination) return platform::kNullPointer;
    if (offset && !region) return platform::kInvalidArgument;
    GUID from{}, present{};
    source->GetFormat(&from);
    destination->GetFormat(&present);
    if (format == GUID_NULL) format = present;
    if (from == present && from == format) return qzILCopyImage(source, destination, region, offset, 0);
    qzILBbox2l const whole = WholeOf(source);
    bool const same = SamePixels(source, destination);
    if (same && region && !(region->Intersect(whole) == whole)) return platform::kInvalidArgument;
    if (!CanConvert(from, format)) return platform::kFailure;
    if (format != present) return ConvertAnew(from, format, {source, destination, flags, region, offset});
    Ref<IXFImage> copy;
    if (same) {
        if (HRESULT const cloned = CloneWithPixels(source, copy); cloned < 0) return cloned;
        source = copy.Get();
    }
    return ConvertOrCopy(from, format, {source, destination, flags, region, offset});
}

HRESULT qzILConvertImage(IXFImage* source, IXFImage** result, GUID format, unsigned flags) {
    if (!result) return platform::kNullPointer;
    *result = nullptr;
    if (!source) return platform::kNullPointer;
    if (format == GUID_NULL) source->GetFormat(&format);
    qzILVector2l const size = WholeOf(source).Size;
    Ref<IXFImage> image;
    HRESULT const made = qzILCreateAndAllocImage(nullptr, IID_IXFImage, size.x, size.y, format, image.Out());
    if (made < 0) return made;
    if (size.x % 2 != 0) ClearPixels(image.Get());  // half a pair is not converted
    HRESULT const converted = qzILConvertImage(source, image.Get(), format, flags, nullptr, nullptr);
    if (converted < 0) return converted;
    *result = image.Detach();
    return converted;
}
