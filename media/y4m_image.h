#pragma once

#include "media/y4m.h"
#include "qzil/image/image.h"

#include <vector>

// Frames of a stream in and out of images. Planes become the pixels of a video format and come back without a change of
// any sample.
namespace qzil::media {

/// A stream as images hold it, and as it is written: 4:2:0 has become 4:2:2, samples of 9 to 16 bits have 16.
Y4mHeader ImageHeader(Y4mHeader const& stream);

/// The formats that hold frames of a stream directly, the one with its own samples first. Float formats hold any depth
/// and range, the others the depth and range that they are named for; mono takes samples as they stand.
///
/// | stream | formats, of Rec. 601 or 709 |
/// |---|---|
/// | 4:2:0, 4:2:2 | CbYCrY_16 or 10_6, at full range their _FR forms; float |
/// | 4:4:4 | CbYCrA_8_4444 or 10_6_4444, not at full range; float |
/// | mono | MONO_RAW_8 or MONO_RAW_16; float |
std::vector<GUID> VideoFormats(Y4mHeader const& stream, bool rec709);

/// Whether a format stores pixels in pairs that share their chroma.
bool HoldsPairs(GUID const& format);

/// Width of the image of a frame: 4:2:2 is made of pairs, so an odd width gets a last column with the luma of the one
/// before, which does not come back.
int ImageWidth(Y4mHeader const& stream);

/// Rewrites a frame of the stream as one of ImageHeader(stream). Both are changed.
///
/// Samples of B bits become v << (16 - B), at full range round(v * 65535 / (2^B - 1)); too large ones are limited
/// first. Chroma lines of 4:2:0 lie halfway between two lines: a line of 4:2:2 is 3/4 of the nearer and 1/4 of the
/// farther chroma line. In interlaced streams each field is a picture of its own whose chroma lies a quarter of a field
/// line nearer to the frame's: the shares are 7/8, 1/8 and 5/8, 3/8 in the top field, 5/8, 3/8 and 7/8, 1/8 in the
/// bottom field. Centred chroma (420jpeg) moves to the even pixel as 3/4 of its own and 1/4 of the sample to its left;
/// the other sitings are already there. Sums are formed exactly and rounded once, halves up; edges repeat.
void ToImageLayout(Y4mHeader const& stream, Y4mFrame& frame, Bytes& scratch);

/// Puts a frame of ImageHeader(stream) into an image of one of VideoFormats(stream) and of ImageWidth(stream).
void FrameToImage(Y4mHeader const& header, Y4mFrame const& frame, IXFImage& image);

/// The inverse, for a header as ImageHeader gives it. Float samples are rounded, and limited to the depth.
void ImageToFrame(IXFImage& image, Y4mHeader const& header, Y4mFrame& frame);

}  // namespace qzil::media
