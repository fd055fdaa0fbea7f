#pragma once

#include "qzil/image/core_values.h"
#include "qzil/image/image.h"
#include "qzil/platform/bitmap_info.h"
#include "qzil/platform/global_memory.h"

// The bridge to device-independent bitmaps: a head, a palette and bottom-up rows in one piece of memory. Served are
// bitmaps of 8, 16, 24 and 32 bits without compression, 16 bits being 5-5-5.
//
// A head is believed only if all of it makes sense: 40 to 124 bytes long in fours, one plane, a positive width and
// height (top-down bitmaps are refused), compression 0, no more palette entries than the bit count can name (256 above
// 8 bits), and an image size of 0 or at least that of all rows. Nothing is read behind what such a head promises.

/// Number of palette entries behind a head; 0 for null, and where the head's length or number of entries makes no
/// sense.
QZIL_API unsigned DIBNumColors(char* bitmap);
/// Bytes of the palette.
QZIL_API unsigned PaletteSize(char* bitmap);
/// The first row; null for null, and where the head's length or number of entries makes no sense.
QZIL_API char* FindDIBBits(char* bitmap);

/// Makes an MFIF_RGBA_RAW_32 image of a bitmap, or of the part of it that `region` covers (default: all; lines count
/// from the bottom). Alpha is full for all but 32 bits; a value that has no palette entry is black. A null `image` is
/// created, else it takes the format, the size and one more reference; on a failure it is as it was.
/// 0x80004003 for a null bitmap, 0x80070057 for a head that is not believed or a region beside the bitmap, 0x8007000E
/// without memory.
QZIL_API HRESULT qzILDIB2Img(tagBITMAPINFO* bitmap, IXFImage*& image, qzILBbox2l const* region);
/// The same from a block of global memory; also 0x80070057 when the block is shorter than its head promises.
QZIL_API HRESULT qzILDIB2Img(HGLOBAL bitmap, IXFImage*& image, qzILBbox2l const* region);

/// Makes a bitmap of an image, or of the part of it that `region` covers (default: all; lines count from the bottom),
/// as a block of global memory that the caller frees. `bits`: 8 for luminance with a grey palette, 16, 24 or 32; alpha
/// is kept at 32 bits, and full for mono images. Images of 16 bits give their high bytes.
/// On a failure `bitmap` is null. 0x80004003 for a null image, 0x80004005 for an image that is not of
/// MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_MONO_RAW_8 or MFIF_MONO_RAW_16, 0x80070057 for another bit count, an image
/// without pixels or a region beside the image, 0x8007000E without memory.
QZIL_API HRESULT qzILImg2DIB(IXFImage* image, HGLOBAL& bitmap, qzILBbox2l const* region, int bits);
