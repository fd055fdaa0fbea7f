#include "qzil/image/image_ops.h"

#include "qzil/image/format_relations.h"
#include "qzil/image/format_row.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

using namespace qzil::platform;

namespace qzil {

bool SamePixels(IXFImage* a, IXFImage* b) {
    if (!a || !b) return false;
    if (a == b) return true;
    void* pA = nullptr;
    void* pB = nullptr;
    a->GetPixelArray(&pA);
    b->GetPixelArray(&pB);
    return pA && pA == pB;
}

bool ViewMemory(unsigned char* pixels, GUID const& format, int width, int height, Ref<IXFImage>& view) {
    if (qzILCreateImage(nullptr, IID_IXFImage, view.Out()) < 0) return false;
    view->SetFormat(format);
    unsigned pixelSize = 0;
    view->GetPixelSize(&pixelSize);
    // A format that an image does not know still has the sizes of its attributes.
    if (pixelSize == 0) {
        view->SetPixelSize(GetPixelSizeFromFormat(format));
        view->SetChannelSize(GetChannelSizeFromFormat(format));
    }
    view->SetRes(width, height);
    view->SetPixelArray(pixels);
    return true;
}

HRESULT CloneWithPixels(IXFImage* image, Ref<IXFImage>& clone) {
    HRESULT const result = qzILCloneImage(image, IID_IXFImage, clone.Out());
    return result < 0 || HasPixels(clone.Get()) ? result : kOutOfMemory;
}

namespace {

void CopyFrame(IXFImage& from, IXFImage& to) {
    Ref<IXFImageHeaderFooter> source, target;
    if (from.QueryInterface(IID_IXFImageHeaderFooter, source.Out()) < 0) return;
    if (to.QueryInterface(IID_IXFImageHeaderFooter, target.Out()) < 0) return;
    unsigned bytes = 0;
    source->GetHeaderSize(&bytes);
    target->SetHeaderSize(bytes);
    source->GetFooterSize(&bytes);
    target->SetFooterSize(bytes);
}

void CopyDescription(IXFImage& from, IXFImage& to) {
    int width = 0, height = 0;
    double x = 0, y = 0;
    unsigned attributes = 0;
    void* pUserData = nullptr;
    from.GetOriginalRes(&width, &height);
    to.SetOriginalRes(width, height);
    from.GetSize(&x, &y);
    to.SetSize(x, y);
    from.GetPos(&x, &y);
    to.SetPos(x, y);
    from.GetAllAttributes(&attributes);
    to.SetAllAttributes(attributes);
    from.GetUserData(&pUserData);
    to.SetUserData(pUserData);
    CopyFrame(from, to);
}

}  // namespace

HRESULT MakeReplacement(IXFImage* image, GUID const& format, int width, int height, Ref<IXFImage>& made) {
    if (HRESULT const result = qzILCreateImage(nullptr, IID_IXFImage, made.Out()); result < 0) return result;
    if (image) CopyDescription(*image, *made.Get());
    made->SetFormat(format);
    return made->Allocate(width, height);
}

HRESULT ReplaceBy(IXFImage* image, IXFImage* made) {
    CMFImage const* const pOwn = OwnImage(image);
    if (pOwn && !pOwn->IsExternal()) return qzILSwapImage(image, made);
    // Memory that stays where it is.
    qzILImageHelper const helper(made);
    unsigned present = 0, wanted = 0;
    image->GetPixelArraySize(&present);
    made->GetPixelArraySize(&wanted);
    if (pOwn && present != wanted) return kUnexpected;
    image->SetFormat(helper.m_oFormat);
    if (HRESULT const result = image->Allocate(helper.m_iWidth, helper.m_iHeight); result < 0) return result;
    return qzILCopyImage(made, image, nullptr, nullptr, 0);
}

void StateLength(IXFImage& image, std::uint64_t bytes) {
    if (bytes <= UINT32_MAX) image.SetPixelArraySize(static_cast<unsigned>(bytes));
}

bool IsPairFormat(GUID const& format) {
    return RowOf(format).IsPair();
}

bool CoversWholePlanes(GUID const& format, unsigned channels) {
    channels &= kModeAllChannels;
    if (channels == kModeAllChannels || GetNumOfChannelsFromFormat(format) == 1) return true;
    if (IsFormatWithSeparateAlpha(format)) return channels == kModeColor || channels == kModeAlpha;
    return channels == kModeColor && !IsFormatWithAlpha(format);
}

qzILBbox2l WholeOf(IXFImage* image) {
    qzILBbox2l whole;
    image->GetRes(&whole.Size.x, &whole.Size.y);
    return whole;
}

void CopyLines(qzILImageHelper const& source, qzILImageHelper const& destination, qzILBbox2l const& box,
               unsigned mode) {
    if (box.IsEmpty() || !source.m_pLineZero || !destination.m_pLineZero) return;
    if (source.m_iPixelStep != destination.m_iPixelStep) return;
    std::size_t const colorBytes = static_cast<std::size_t>(destination.m_iPixelStep) * box.Size.x;
    std::size_t const alphaBytes =
        destination.m_iSeparateAlpha ? std::size_t{destination.m_uChannelSize} * box.Size.x : 0;
    if (colorBytes + alphaBytes == 0) return;
    // In the order of memory: against it the processor's prefetch loses its way at every line.
    bool const backward = destination.m_iLineStepA < 0;
    for (int row = 0; row < box.Size.y; ++row) {
        int const y = box.Origin.y + (backward ? box.Size.y - 1 - row : row);
        if (SkipsLine(mode, y)) continue;
        std::memmove(destination.GetPixelPtr(box.Origin.x, y), source.GetPixelPtr(box.Origin.x, y), colorBytes);
        if (alphaBytes == 0) continue;
        std::memmove(destination.GetAlphaPtr(box.Origin.x, y), source.GetAlphaPtr(box.Origin.x, y), alphaBytes);
    }
}

namespace {

/// Writes `count` pixels made of a repeated unit; the last unit may be cut.
void FillUnits(unsigned char* out, void const* unit, std::size_t unitBytes, std::size_t bytes) {
    std::size_t const first = unitBytes < bytes ? unitBytes : bytes;
    std::memcpy(out, unit, first);
    // What is filled doubles with every copy and always starts on a whole unit.
    for (std::size_t filled = first; filled < bytes;) {
        std::size_t const next = filled < bytes - filled ? filled : bytes - filled;
        std::memcpy(out + filled, out, next);
        filled += next;
    }
}

/// Fills one plane of a box. `at` gives the address of a line's first pixel.
template <class LineAt>
void FillPlane(qzILBbox2l const& box, unsigned mode, void const* unit, std::size_t unitBytes, std::size_t lineBytes,
               LineAt at) {
    unsigned char const* pFirst = nullptr;
    for (int y = box.Origin.y; y < box.Origin.y + box.Size.y; ++y) {
        if (SkipsLine(mode, y)) continue;
        if (pFirst) {
            qzILMemCopy(pFirst, at(y), lineBytes);
        } else {
            FillUnits(at(y), unit, unitBytes, lineBytes);
            pFirst = at(y);
        }
    }
}

/// Writes single channels of every pixel of a box.
void FillChannels(qzILImageHelper const& helper, qzILBbox2l const& box, unsigned mode, unsigned char const* pixel,
                  unsigned channelCount) {
    std::size_t const size = helper.m_uChannelSize;
    for (int y = box.Origin.y; y < box.Origin.y + box.Size.y; ++y) {
        if (SkipsLine(mode, y)) continue;
        unsigned char* pOut = helper.GetPixelPtr(box.Origin.x, y);
        for (int x = 0; x < box.Size.x; ++x, pOut += helper.m_iPixelStep) {
            for (unsigned channel = 0; channel < channelCount; ++channel) {
                if (mode & (1u << channel)) std::memcpy(pOut + channel * size, pixel + channel * size, size);
            }
        }
    }
}

}  // namespace

HRESULT FillRegionLines(IXFImage* image, qzILBbox2l const& region, void const* pixel, unsigned mode) {
    if (!image || !pixel) return kFalse;
    qzILImageHelper const helper(image);
    qzILBbox2l const box = region.Intersect(WholeOf(image));
    if (box.IsEmpty()) return kOk;
    if (!helper.HasPixels()) return kInvalidArgument;

    auto const* const pBytes = static_cast<unsigned char const*>(pixel);
    std::size_t const step = static_cast<std::size_t>(helper.m_iPixelStep);
    std::size_t const size = helper.m_uChannelSize;
    std::size_t const width = static_cast<std::size_t>(box.Size.x);
    auto const colorLine = [&](int y) { return helper.GetPixelPtr(box.Origin.x, y); };

    if (helper.Format().IsPair()) {
        bool const fillColor = (mode & kModeColor) != 0;
        bool const fillAlpha = (mode & kModeAlpha) != 0;
        if (step == 3 * size) {
            // Alpha beside each luma and chroma sample.
            unsigned char unit[2 * 3 * sizeof(float)];
            for (std::size_t i = 0; i < 2; ++i) {
                std::memcpy(unit + i * step, pBytes + 2 * i * size, 2 * size);
                std::memcpy(unit + i * step + 2 * size, pBytes + 4 * size, size);
            }
            FillPlane(box, mode, unit, 2 * step, step * width, colorLine);
            return kOk;
        }
        if (fillColor) FillPlane(box, mode, pBytes, 2 * step, step * width, colorLine);
        if (fillAlpha && helper.m_iSeparateAlpha) {
            FillPlane(box, mode, pBytes + 4 * size, size, size * width,
                      [&](int y) { return helper.GetAlphaPtr(box.Origin.x, y); });
        }
        return kOk;
    }
    if (CoversWholePlanes(helper.m_oFormat, mode)) {
        FillPlane(box, mode, pBytes, step, step * width, colorLine);
    } else {
        FillChannels(helper, box, mode, pBytes, helper.Format().uChannels);
    }
    return kOk;
}

}  // namespace qzil

using namespace qzil;

HRESULT qzILCreateImage(IUnknown* outer, GUID const& iid, void** out) {
    return CMFImage::CreateInstance(outer, iid, out);
}

HRESULT qzILCreateAndAllocImage(IUnknown* outer, GUID const& iid, int width, int height, GUID const& format,
                                void** out) {
    if (!out) return kInvalidArgument;
    *out = nullptr;
    Ref<IXFImage> image;
    HRESULT result = qzILCreateImage(outer, IID_IXFImage, image.Out());
    if (result >= 0) result = image->SetFormat(format);
    if (result >= 0) result = image->Allocate(width, height);
    return result < 0 ? result : image->QueryInterface(iid, out);
}

namespace {

template <class Make>
HRESULT CloneThrough(IXFImage* image, void** out, Make make) {
    if (!out) return kInvalidArgument;
    *out = nullptr;
    if (!image) return kNullPointer;
    Ref<IXFImageClone> clone;
    if (image->QueryInterface(IID_IXFImageClone, clone.Out()) < 0) return kUnexpected;
    return make(*clone.Get());
}

template <class Exchange>
HRESULT ExchangeThrough(IXFImage* a, IXFImage* b, Exchange exchange) {
    if (!a || !b) return kNullPointer;
    Ref<IXFImageClone> cloneA, cloneB;
    if (a->QueryInterface(IID_IXFImageClone, cloneA.Out()) < 0) return kUnexpected;
    if (b->QueryInterface(IID_IXFImageClone, cloneB.Out()) < 0) return kUnexpected;
    return exchange(*cloneA.Get(), *cloneB.Get());
}

}  // namespace

HRESULT qzILCloneImage(IXFImage* image, GUID const& iid, void** out) {
    return CloneThrough(image, out, [&](IXFImageClone& clone) { return clone.Clone(iid, out); });
}

HRESULT qzILCloneImageNoData(IXFImage* image, GUID const& iid, void** out) {
    return CloneThrough(image, out, [&](IXFImageClone& clone) { return clone.CloneNoData(iid, out); });
}

HRESULT qzILCloneImage(IXFImage* image, GUID const& iid, void** out, qzILBbox2l const& region) {
    if (!out) return kInvalidArgument;
    *out = nullptr;
    Ref<IXFImage> clone;
    HRESULT const result = qzILCloneImageNoData(image, IID_IXFImage, clone.Out());
    if (result < 0) return result;
    HRESULT const copied = qzILCopyImage(image, clone.Get(), &region, nullptr, 0);
    return copied < 0 ? copied : clone->QueryInterface(iid, out);
}

HRESULT qzILSwapImage(IXFImage* a, IXFImage* b) {
    return ExchangeThrough(a, b, [](IXFImageClone& x, IXFImageClone& y) { return x.Swap(&y); });
}

HRESULT qzILSwapImageData(IXFImage* a, IXFImage* b) {
    return ExchangeThrough(a, b, [](IXFImageClone& x, IXFImageClone& y) { return x.SwapData(&y); });
}

void qzILMemCopy(void const* source, void* destination, std::size_t size) {
    if (size != 0) std::memcpy(destination, source, size);
}

unsigned char* qzILGetPixelPtr(GUID const& format, unsigned char* pixels, int width, int height, int x, int y,
                               int channel) {
    Ref<IXFImage> image;
    if (!ViewMemory(pixels, format, width, height, image)) return nullptr;
    qzILImageHelper helper(image.Get());
    helper.m_uChannelOffset = static_cast<std::uint32_t>(channel);
    return helper.GetPixelPtr(x, y);
}

HRESULT qzILCopyImage(IXFImage* source, IXFImage* destination, qzILBbox2l const* region, qzILVector2l const* offset,
                      unsigned mode) {
    if (!source || !destination) return kNullPointer;
    qzILBbox2l const sourceBox = WholeOf(source), destinationBox = WholeOf(destination);
    qzILBbox2l const from = region ? *region : sourceBox.Intersect(destinationBox);
    qzILVector2l const target = offset ? *offset : from.Origin;
    bool const same = SamePixels(source, destination);
    if (same && target == from.Origin) return kOk;

    qzILBbox2l const to(target.x, target.y, from.Size.x, from.Size.y);
    Ref<IXFImage> temporary;
    if (same && !from.Intersect(to).IsEmpty()) {
        qzILBbox2l const inside = from.Intersect(sourceBox);
        if (inside.IsEmpty()) return kOk;
        HRESULT result = qzILCreateImage(nullptr, IID_IXFImage, temporary.Out());
        if (result < 0) return result;
        GUID format{};
        unsigned pixelSize = 0, channelSize = 0;
        source->GetFormat(&format);
        source->GetPixelSize(&pixelSize);
        source->GetChannelSize(&channelSize);
        temporary->SetFormat(format);
        temporary->SetPixelSize(pixelSize);
        temporary->SetChannelSize(channelSize);
        result = temporary->Allocate(inside.Size.x, inside.Size.y);
        qzILVector2l const zero;
        if (result >= 0) result = qzILCopyImage(source, temporary.Get(), &inside, &zero, 0);
        if (result < 0) return result;
        qzILVector2l const place = target + (inside.Origin - from.Origin);
        qzILBbox2l const whole(0, 0, inside.Size.x, inside.Size.y);
        return qzILCopyImage(temporary.Get(), destination, &whole, &place, mode);
    }

    qzILImageHelper sourceHelper(source);
    qzILImageHelper const destinationHelper(destination);
    if (!sourceHelper.HasPixels() || !destinationHelper.HasPixels() || !SameLayout(sourceHelper, destinationHelper)) {
        return kInvalidArgument;
    }
    std::int64_t const shiftX = std::int64_t{target.x} - from.Origin.x, shiftY = std::int64_t{target.y} - from.Origin.y;
    if (std::abs(shiftX) > INT32_MAX || std::abs(shiftY) > INT32_MAX) return kOk;
    qzILVector2l const shift(static_cast<int>(shiftX), static_cast<int>(shiftY));
    qzILBbox2l const box = Moved(from.Intersect(sourceBox), shift).Intersect(destinationBox);
    bool const wholeImages = shift == qzILVector2l() && box == sourceBox && box == destinationBox &&
                             (mode & kModeNoLines) == 0 && sourceHelper.m_iTopDown == destinationHelper.m_iTopDown;
    if (wholeImages) {
        std::size_t const pixels = static_cast<std::size_t>(box.Size.x) * box.Size.y;
        qzILMemCopy(sourceHelper.m_pPixelArray, destinationHelper.m_pPixelArray, pixels * sourceHelper.m_uPixelSize);
        return kOk;
    }
    sourceHelper.m_iOffsetX = -shift.x;
    sourceHelper.m_iOffsetY = -shift.y;
    CopyLines(sourceHelper, destinationHelper, box, mode);
    return kOk;
}

HRESULT qzILFillRegion(IXFImage* image, qzILBbox2l const& region, void* pixel, unsigned channels) {
    return FillRegionLines(image, region, pixel, channels & kModeAllChannels);
}

void qzILSplitBoxes(qzILBbox2l const& inner, qzILBbox2l const& outer, qzILBbox2l* left, qzILBbox2l* top,
                    qzILBbox2l* right, qzILBbox2l* bottom) {
    qzILBbox2l const hole = inner.Intersect(outer);
    *top = *right = *bottom = qzILBbox2l();
    if (hole.IsEmpty()) {
        *left = outer;
        return;
    }
    std::int64_t const outerRight = std::int64_t{outer.Origin.x} + outer.Size.x;
    std::int64_t const outerBottom = std::int64_t{outer.Origin.y} + outer.Size.y;
    std::int64_t const holeRight = std::int64_t{hole.Origin.x} + hole.Size.x;
    std::int64_t const holeBottom = std::int64_t{hole.Origin.y} + hole.Size.y;
    // A part that would start behind the last coordinate is empty, and starts on it.
    auto const start = [](std::int64_t value) { return static_cast<int>(std::min<std::int64_t>(value, INT32_MAX)); };
    auto const size = [](std::int64_t value) { return static_cast<int>(value); };
    *left = {outer.Origin.x, hole.Origin.y, size(std::int64_t{hole.Origin.x} - outer.Origin.x), hole.Size.y};
    *right = {start(holeRight), hole.Origin.y, size(outerRight - holeRight), hole.Size.y};
    *top = {outer.Origin.x, outer.Origin.y, outer.Size.x, size(std::int64_t{hole.Origin.y} - outer.Origin.y)};
    *bottom = {outer.Origin.x, start(holeBottom), outer.Size.x, size(outerBottom - holeBottom)};
}

HRESULT qzILSplitYCCAImage(IXFImage* image, IXFImage** color, IXFImage** alpha) {
    if (!color || !alpha) return kInvalidArgument;
    *color = *alpha = nullptr;
    if (!image) return kNullPointer;
    GUID format{}, colorFormat{}, alphaFormat{};
    image->GetFormat(&format);
    HRESULT result = qzILSplitYCCAImageFormat(format, &colorFormat, &alphaFormat);
    if (result < 0) return result;

    qzILImageHelper const helper(image);
    if (!helper.HasPixels()) return kInvalidArgument;
    unsigned attributes = 0;
    int const width = helper.m_iWidth, height = helper.m_iHeight;
    int originalWidth = 0, originalHeight = 0;
    double sizeX = 0, sizeY = 0, posX = 0, posY = 0;
    image->GetAllAttributes(&attributes);
    image->GetOriginalRes(&originalWidth, &originalHeight);
    image->GetSize(&sizeX, &sizeY);
    image->GetPos(&posX, &posY);
    std::size_t const pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    std::size_t const colorBytes = pixels * (helper.m_uPixelSize - helper.m_uChannelSize);

    auto const makeView = [&](GUID const& viewFormat, void* viewPixels, std::size_t bytes, unsigned viewAttributes,
                              Ref<IXFImage>& view) {
        HRESULT const made = qzILCreateImage(nullptr, IID_IXFImage, view.Out());
        if (made < 0) return made;
        view->SetFormat(viewFormat);
        view->SetRes(width, height);
        view->SetOriginalRes(originalWidth, originalHeight);
        view->SetSize(sizeX, sizeY);
        view->SetPos(posX, posY);
        view->SetAllAttributes(viewAttributes);
        view->SetPixelArray(viewPixels);
        StateLength(*view.Get(), bytes);
        return kOk;
    };
    bool const turned = IsFormatTopDown(format) && !IsFormatTopDown(alphaFormat);
    unsigned const alphaAttributes = attributes | (turned ? kAttributeTopDown : 0);
    Ref<IXFImage> colorView, alphaView;
    result = makeView(colorFormat, helper.m_pPixelArray, colorBytes, attributes, colorView);
    if (result >= 0)
        result = makeView(alphaFormat, helper.m_pPixelArray + colorBytes, pixels * helper.m_uChannelSize,
                          alphaAttributes, alphaView);
    if (result < 0) return result;
    *color = colorView.Detach();
    *alpha = alphaView.Detach();
    return kOk;
}
