#pragma once

#include "media/tags.h"
#include "qzil/image/image.h"

#include <cstddef>
#include <optional>
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
/// padding; a pixel's samples are grey, grey + alpha, RGB or RGBA, in the machine's byte order. Alpha is straight. A
/// picture of which only the head was read has no bytes.
struct Picture {
    int iWidth = 0;
    int iHeight = 0;
    int iChannels = 0;  ///< 1 grey, 2 grey + alpha, 3 RGB, 4 RGBA
    int iDepth = 0;     ///< bits of a sample: 8 or 16 unsigned, 32 float with 1.0 as full scale
    std::vector<unsigned char> oBytes;
    Tags oTags;

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

struct ReadOptions {
    bool bOrient = true;   ///< turn the picture upright as its tags tell
    int iPage = 1;         ///< which of several pictures in a file
    bool bSamples = true;  ///< else only the head is read
};

/// Reads a file of one of the kinds of FileKinds(), told apart by its first bytes, or the standard input for "-". The
/// samples are taken as they stand: no gamma or profile is applied. Palettes and depths below 8 bits are expanded,
/// transparent colours become alpha, associated alpha is divided out. CMYK becomes RGB by c * k / full, of the stored,
/// inverted samples. Throws MediaError.
Picture ReadPicture(std::string const& path, ReadOptions const& options = {});

enum class ChromaSampling { k420, k422, k444 };

struct WriteOptions {
    std::optional<int> oQuality = {};  ///< 1 to 100, of JPEG (else 90) and WebP (else without loss)
    ChromaSampling eSampling = ChromaSampling::k420;
    bool bProgressive = false;
    std::optional<int> oCompression = {};  ///< 0 to 9, of PNG (else 6)
    bool bStrip = false;                   ///< leave out the tags
    bool bKeepOld = false;                 ///< refuse to replace a file
};

/// Writes a file of the kind that the extension names, or a word in front, as in "png:-" for the standard output.
/// Samples are narrowed to what the kind holds, limited to 0..1. A file appears complete or not at all: a failure
/// leaves what stood there. Throws MediaError.
void WritePicture(std::string const& path, Picture picture, WriteOptions const& options = {});

/// The deepest samples that the kind of a path holds: 8, 16 or 32 bits; 0 for a path that names no kind.
int DepthOf(std::string const& path);
bool HoldsAlpha(std::string const& path);
/// Whether a path, without the word of a kind, is the standard output.
bool IsStandard(std::string const& path);
/// The names of all kinds with those of their extensions, for help and sentences.
std::string FileKinds(bool written);
/// The samples in another depth: value / full scale in double, rounded and limited as qzILFormat<T>::FromReal does.
Picture AtDepth(Picture const& picture, int depth);

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
/// Full alpha everywhere can be left out.
Picture FromImage(IXFImage& image, bool dropFullAlpha = false);

}  // namespace qzil::media
