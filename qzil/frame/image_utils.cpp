#include "qzil/frame/image_utils.h"

#include "qzil/frame/frame_effects.h"
#include "qzil/image/formats.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

using namespace qzil;
using namespace qzil::platform;

void qzILCoreTermGlobal() {
    ClearEffectGlobals();
    CMFImage::ClearImagePool();
}

HRESULT qzILCopyAlpha(IXFImage* source, IXFImage* destination, unsigned mode, qzILBbox2l const* region,
                      qzILVector2l const* offset) {
    if (!source || !destination) return kNullPointer;
    qzILImageHelper from(source);
    qzILImageHelper const to(destination);
    if (!from.Format().HasAlpha()) return kFalse;
    if (!to.Format().HasAlpha()) return kFailure;
    if (from.Format().uChannelType != to.Format().uChannelType || !from.HasPixels() || !to.HasPixels()) {
        return kInvalidArgument;
    }
    qzILBbox2l const sourceBox = WholeOf(source), destinationBox = WholeOf(destination);
    qzILBbox2l const wanted = region ? *region : sourceBox.Intersect(destinationBox);
    qzILVector2l const target = offset ? *offset : wanted.Origin;
    std::int64_t const shiftX = std::int64_t{target.x} - wanted.Origin.x,
                       shiftY = std::int64_t{target.y} - wanted.Origin.y;
    if (std::abs(shiftX) > INT32_MAX || std::abs(shiftY) > INT32_MAX) return kOk;
    qzILVector2l const shift(static_cast<int>(shiftX), static_cast<int>(shiftY));
    qzILBbox2l const box = Moved(wanted.Intersect(sourceBox), shift).Intersect(destinationBox);

    Ref<IXFImage> copy;
    if (SamePixels(source, destination)) {
        if (shift == qzILVector2l()) return kOk;
        if (HRESULT const result = CloneWithPixels(source, copy); result < 0) return result;
        from.SetImage(copy.Get());
    }
    from.m_iOffsetX = -shift.x;
    from.m_iOffsetY = -shift.y;
    std::size_t const size = to.m_uChannelSize;
    for (int y = box.Origin.y; y < box.Origin.y + box.Size.y; ++y) {
        if (SkipsLine(mode, y)) continue;
        unsigned char const* pFrom = from.GetAlphaPtr(box.Origin.x, y);
        unsigned char* pTo = to.GetAlphaPtr(box.Origin.x, y);
        for (int x = 0; x < box.Size.x; ++x) {
            std::memcpy(pTo + std::ptrdiff_t{x} * to.m_iAlphaPixelStep,
                        pFrom + std::ptrdiff_t{x} * from.m_iAlphaPixelStep, size);
        }
    }
    return kOk;
}

HRESULT qzILFillImageWithColor(IXFImage* image, qzILColor const& color, unsigned mode, qzILBbox2l const* outer,
                               qzILBbox2l const* inner) {
    if (!image) return kNullPointer;
    qzILBbox2l const whole = outer ? *outer : WholeOf(image);
    qzILBbox2l const hole = inner ? *inner : qzILBbox2l();
    if (whole.IsEmpty() || hole == whole) return kOk;
    qzILBbox2l boxes[4];
    qzILSplitBoxes(hole, whole, &boxes[0], &boxes[1], &boxes[2], &boxes[3]);

    qzILImageHelper const helper(image);
    GUID const& format = helper.m_oFormat;
    if (!helper.HasPixels() || helper.m_uPixelSize > sizeof(PixelBlock)) return kInvalidArgument;
    bool const byChannel = !CoversWholePlanes(format, mode);
    PixelBlock const pixel = ColorAsPixel(color, format);
    for (qzILBbox2l const& box : boxes) {
        HRESULT const result = byChannel ? FillChannelsWithColor(image, color, mode, box)
                                         : FillRegionLines(image, box, pixel.auBytes, mode);
        if (result < 0) return result;
    }
    return kOk;
}

void qzILFillOutput(qzILImageHelper const& source, qzILImageHelper const& output, qzILBbox2l const& inner,
                    qzILBbox2l const& outer, unsigned mode) {
    qzILBbox2l boxes[4];
    qzILSplitBoxes(inner, outer, &boxes[0], &boxes[1], &boxes[2], &boxes[3]);
    for (qzILBbox2l const& box : boxes) CopyLines(source, output, box, mode);
}

namespace {

bool IsOdd(std::int64_t value) {
    return (value & 1) != 0;
}

/// A rectangle, in input coordinates, that starts on an odd output pixel, or ends within a pair of the output.
bool DividesPairs(qzILBbox2l const& box, qzILBbox2l const& roi, qzILVector2l const& outputOffset, int outputWidth) {
    std::int64_t const place = std::int64_t{box.Origin.x} - roi.Origin.x + outputOffset.x;
    return IsOdd(place) || (IsOdd(box.Size.x) && place + box.Size.x != outputWidth);
}

}  // namespace

unsigned qzILVerifyROIAndMask(int allowAnySplitFieldRegion, IXFImage** inputs, qzILVector2l const* inputOffsets,
                              unsigned count, IXFImage* output, IXFImage* mask, qzILBbox2l const& maskRect,
                              qzILBbox2l const& roi, qzILVector2l const& outputOffset, unsigned primary) {
    if (!output) return 0x10002;
    GUID format{};
    output->GetFormat(&format);
    if (IsFormatRGB(format) || IsFormatMono(format)) return 0;
    if (primary >= count || std::find(inputs, inputs + count, nullptr) != inputs + count) return 0x1000B;

    auto const rectangle = [&](unsigned i) { return Moved(WholeOf(inputs[i]), inputOffsets[i]); };
    qzILBbox2l const primaryRect = rectangle(primary).Intersect(roi);
    qzILBbox2l region = roi;
    for (unsigned i = 0; i < count; ++i) region = region.Intersect(rectangle(i));

    if (IsFormatYCC(format) && (mask || !(region.Intersect(maskRect) == region))) return 0x20001;

    qzILBbox2l const whole = WholeOf(output);
    if (IsFormatSplitField(format) && !allowAnySplitFieldRegion) {
        if (!(roi == whole) || !(outputOffset == qzILVector2l())) return 0x10060;
        for (unsigned i = 0; i < count; ++i) {
            if (!(WholeOf(inputs[i]).Size == whole.Size)) return 0x10062;
        }
        for (unsigned i = 0; i < count; ++i) {
            if (!(inputOffsets[i] == qzILVector2l())) return 0x10061;
        }
        return 0;
    }
    int const width = whole.Size.x;
    if (!region.IsEmpty()) {
        for (unsigned i = 0; i < count; ++i) {
            if (IsOdd(std::int64_t{region.Origin.x} - rectangle(i).Origin.x)) return 0x10060;
        }
        if (DividesPairs(region, roi, outputOffset, width)) return 0x10060;
    }
    bool const ownPrimary = !primaryRect.IsEmpty() && !(primaryRect == region);
    if (ownPrimary && DividesPairs(primaryRect, roi, outputOffset, width)) return 0x10060;
    bool const ownRoi = !roi.IsEmpty() && !(roi == primaryRect);
    if (ownRoi && DividesPairs(roi, roi, outputOffset, width)) return 0x10060;
    return 0;
}
