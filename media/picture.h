#pragma once

#include "qzil/image/image.h"

#include <cstddef>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace qzil::media {

/// What went wrong with a picture, as a full sentence that names the file: "cannot read 'a.png': the file ends early".
struct MediaError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Limits on what is read: anything larger is refused before memory is taken for it.
inline constexpr int kMaxSide = 32768;
inline constexpr long long kMaxPixels = 1ll << 28;

/// A decoded picture, independent of file and image formats. Rows run from the top of the picture down, without
/// padding; a pixel's samples are grey, grey + alpha, RGB or RGBA, in the machine's byte order. Alpha is straight.
struct Picture {
    int iWidth = 0;
    int iHeight = 0;
    int iChannels = 0;  ///< 1 grey, 2 grey + alpha, 3 RGB, 4 RGBA
    int iDepth = 0;     ///< bits of a sample: 8 or 16 unsigned, 32 float with 1.0 as full scale
    std::vector<unsigned char> oBytes;

    Picture() = default;
    /// A black, transparent picture.
    Picture(int width, int height, int channels, int depth);

    /// Whether channels and depth are among those above and the bytes fit the size.
    bool IsSound() const;
    std::size_t PixelBytes() const { return static_cast<std::size_t>(iChannels) * static_cast<unsigned>(iDepth) / 8; }
    std::size_t RowBytes() const { return PixelBytes() * static_cast<unsigned>(iWidth); }
    unsigned char* Row(int y) { return oBytes.data() + RowBytes() * static_cast<unsigned>(y); }
    unsigned char const* Row(int y) const { return oBytes.data() + RowBytes() * static_cast<unsigned>(y); }
};

/// Reads a PNG, JPEG or TIFF file, told apart by its content. The samples are taken as they stand: no gamma, profile or
/// premultiplication is applied. Palettes and depths below 8 bits are expanded, transparent colours become alpha, TIFF
/// orientations are undone. Throws MediaError.
Picture ReadPicture(std::string const& path);

/// Writes a PNG (.png) or TIFF (.tif, .tiff) file. Float samples become 16 bits in a PNG, limited to 0..1, and stay
/// float in a TIFF. The file appears complete or not at all: a failure leaves what stood there. Throws MediaError.
void WritePicture(std::string const& path, Picture const& picture);

/// The image formats that ToImage and FromImage serve by themselves.
std::span<GUID const> WorkingFormats();

/// A new image that shows the picture upright in a working format. Samples of the format's own type are copied; others
/// become value / full scale in double and are stored by the rule of qzILFormat<T>::FromReal. Mono formats take Rec.
/// 601 luma of a coloured picture and drop its alpha; missing alpha is full. Other formats are converted to, from
/// RGBA_RAW_32 for 8 bits and RGBA_FLOAT for more. Throws MediaError.
Ref<IXFImage> ToImage(Picture const& picture, GUID const& format);

/// The picture that an image of a working format shows: 8 and 16-bit channels keep their depth, S2.14 and float become
/// float, values outside 0..1 included. Mono gives grey, RGB_RAW_24 gives RGB, all others RGBA. Images of other formats
/// are converted to RGBA_RAW_32 or, with larger channels, RGBA_FLOAT first. Throws MediaError.
Picture FromImage(IXFImage& image);

}  // namespace qzil::media
