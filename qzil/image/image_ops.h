#pragma once

#include "qzil/image/image.h"
#include "qzil/image/image_helper.h"

#include <cstddef>

/// Makes an empty image. Results as CMFImage::CreateInstance.
QZIL_API HRESULT qzILCreateImage(IUnknown* outer, GUID const& iid, void** out);
/// Makes an image of a format with pixel memory. `*out` stays null on any failure.
QZIL_API HRESULT qzILCreateAndAllocImage(IUnknown* outer, GUID const& iid, int width, int height, GUID const& format,
                                         void** out);
/// Copies of an image; 0x8000FFFF when the object cannot be cloned. Where there is no memory for the pixels,
/// qzILCloneImage deliberately answers 0 with an empty image, while the other gives 0x8007000E.
QZIL_API HRESULT qzILCloneImage(IXFImage* image, GUID const& iid, void** out);
QZIL_API HRESULT qzILCloneImageNoData(IXFImage* image, GUID const& iid, void** out);
/// A clone of the source's size that holds the pixels of the rectangle only.
QZIL_API HRESULT qzILCloneImage(IXFImage* image, GUID const& iid, void** out, qzILBbox2l const& region);
/// Exchange all data, or the pixel memory; 0x8000FFFF when an object cannot.
QZIL_API HRESULT qzILSwapImage(IXFImage* a, IXFImage* b);
QZIL_API HRESULT qzILSwapImageData(IXFImage* a, IXFImage* b);

/// Copies bytes between places that do not overlap.
QZIL_API void qzILMemCopy(void const* source, void* destination, std::size_t size);

/// Address of a channel of a pixel in memory laid out as an image of the format and size.
QZIL_API unsigned char* qzILGetPixelPtr(GUID const& format, unsigned char* pixels, int width, int height, int x, int y,
                                        int channel);

/// Copies whole pixels of `region` (default: what both images cover) to `offset` (default: the region's origin),
/// clipped to both images. Both must have one format. `mode` bits 0x100 and 0x200 leave out the even and the odd lines
/// of the destination. Within one image the result is as if from a separate copy.
/// 0x80004003 for a null image, 0x80070057 for different formats or an image without pixels.
QZIL_API HRESULT qzILCopyImage(IXFImage* source, IXFImage* destination, qzILBbox2l const* region,
                               qzILVector2l const* offset, unsigned mode);

/// Fills a rectangle, clipped to the image, with one pixel of the image's format; on 4:2:2 formats with the two-pixel
/// unit of qzILGetColorInFormat, which starts at the rectangle's first column. `channels` 15 writes whole pixels; on
/// formats with an alpha plane bit 8 stands for that plane and bits 1, 2, 4 for the colour plane.
/// 1 for a null image or pixel, else 0.
QZIL_API HRESULT qzILFillRegion(IXFImage* image, qzILBbox2l const& region, void* pixel, unsigned channels);

/// outer minus inner as four rectangles: left and right have the rows of inner, top (smaller y) and bottom the full
/// width of outer. An empty inner gives left = outer.
QZIL_API void qzILSplitBoxes(qzILBbox2l const& inner, qzILBbox2l const& outer, qzILBbox2l* left, qzILBbox2l* top,
                             qzILBbox2l* right, qzILBbox2l* bottom);

/// Views of the colour and the alpha plane of an image with a row in the split table. They borrow its pixels.
QZIL_API HRESULT qzILSplitYCCAImage(IXFImage* image, IXFImage** color, IXFImage** alpha);

namespace qzil {

/// True when a line is left out by the field bits of a processing mode.
constexpr bool SkipsLine(unsigned mode, std::int64_t y) {
    return (mode & ((y & 1) == 0 ? kModeSkipEvenLines : kModeSkipOddLines)) != 0;
}

/// The format of an image.
inline GUID FormatOf(IXFImage* image) {
    GUID format{};
    image->GetFormat(&format);
    return format;
}

/// Two images are one when they share their pixel memory: the planes of one image count as that image.
bool SamePixels(IXFImage* a, IXFImage* b);

/// Makes an image over memory of the caller, laid out as the format and size say; false without memory for it.
bool ViewMemory(unsigned char* pixels, GUID const& format, int width, int height, Ref<IXFImage>& view);

/// qzILCloneImage for the library's own use: without pixels it fails.
HRESULT CloneWithPixels(IXFImage* image, Ref<IXFImage>& clone);

/// Makes an image of a format and size that is otherwise like `image`, null for none, but for the pixels.
HRESULT MakeReplacement(IXFImage* image, GUID const& format, int width, int height, Ref<IXFImage>& made);
/// Gives an image all of its replacement, which is not to be used any more. On a failure the image is as it was: a lent
/// pixel array has to be of the size already.
HRESULT ReplaceBy(IXFImage* image, IXFImage* made);

/// Sets the size of a pixel array, where it has one: what is longer than 32 bits can say stays the caller's to know.
void StateLength(IXFImage& image, std::uint64_t bytes);

/// True for the formats that hold two pixels as luma, chroma, luma, chroma, with alpha in a plane or none.
bool IsPairFormat(GUID const& format);

/// True when a fill of these channels covers whole pixels of the format, or whole planes of it.
bool CoversWholePlanes(GUID const& format, unsigned channels);

/// As qzILFillRegion, leaving out the lines that the field bits of `mode` name.
HRESULT FillRegionLines(IXFImage* image, qzILBbox2l const& region, void const* pixel, unsigned mode);

/// Copies whole pixels of a box, given in the coordinates of both helpers,
/// leaving out lines by `mode`. An alpha plane moves along.
void CopyLines(qzILImageHelper const& source, qzILImageHelper const& destination, qzILBbox2l const& box, unsigned mode);

/// The rectangle of an image: origin (0, 0) and its resolution.
qzILBbox2l WholeOf(IXFImage* image);

}  // namespace qzil
