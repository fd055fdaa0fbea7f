#pragma once

#include "qzil/image/color.h"
#include "qzil/image/image_ops.h"

/// The host's last call: destroys the image pool. No image may be alive.
QZIL_API void qzILCoreTermGlobal();

/// Copies the alpha of `region` (default: what both images cover) to `offset` (default: the region's origin), clipped
/// to both images, between formats with alpha of one channel type. `mode` bits 0x100 and 0x200 leave out lines of the
/// destination. 1 when the source has no alpha, 0x80004003 for a null image, 0x80070057 for different channel types or
/// an image without pixels, 0x80004005 for a destination without alpha.
QZIL_API HRESULT qzILCopyAlpha(IXFImage* source, IXFImage* destination, unsigned mode, qzILBbox2l const* region,
                               qzILVector2l const* offset);

/// Fills `outer` (default: the whole image) minus `inner` (default: nothing) with a colour in the image's format.
/// `mode`: the channels and the line bits. 0x80004003 for a null image, 0x80004005 when a selection of channels is not
/// possible in the format.
QZIL_API HRESULT qzILFillImageWithColor(IXFImage* image, qzILColor const& color, unsigned mode, qzILBbox2l const* outer,
                                        qzILBbox2l const* inner);

/// Copies whole pixels of outer minus inner between two views, leaving out lines by `mode`.
QZIL_API void qzILFillOutput(qzILImageHelper const& source, qzILImageHelper const& output, qzILBbox2l const& inner,
                             qzILBbox2l const& outer, unsigned mode);

/// Checks what 4:2:2 pixel pairs, shared chroma and split fields ask of a region. 0, or: 0x20001 a YCC format with a
/// mask or a clipping mask rectangle; 0x10060 a split-field region that is not the whole output, or a region that
/// divides pixel pairs; 0x10062 and 0x10061 a split-field input that differs in size or is offset. `primary` is the
/// index of the input that decides which pixels exist. RGB and mono outputs pass.
QZIL_API unsigned qzILVerifyROIAndMask(int allowAnySplitFieldRegion, IXFImage** inputs,
                                       qzILVector2l const* inputOffsets, unsigned count, IXFImage* output,
                                       IXFImage* mask, qzILBbox2l const& maskRect, qzILBbox2l const& roi,
                                       qzILVector2l const& outputOffset, unsigned primary);
