#pragma once

#include <optional>
#include <vector>

namespace qzil::media {

/// What a file tells beside the samples.
struct Tags {
    std::vector<unsigned char> oProfile;  ///< ICC profile
    std::vector<unsigned char> oExif;     ///< as in a TIFF file, from the byte order on
    std::optional<double> oGamma;         ///< exponent of the samples, as PNG has it
    double dfDotsX = 0.0;                 ///< dots a metre; 0 is unknown
    double dfDotsY = 0.0;
    int iOrientation = 1;  ///< 1 to 8 as TIFF counts; 1 is upright
    int iPages = 1;        ///< pictures in the file
    bool bHalf = false;    ///< float samples had 16 bits
};

struct Picture;

/// The orientation that EXIF data tell; 1 when they do not.
int ExifOrientation(std::vector<unsigned char> const& exif);
/// The same data with another orientation. Data that cannot be understood are dropped.
std::vector<unsigned char> WithOrientation(std::vector<unsigned char> const& exif, int orientation);

/// Turns a stored picture so that its first row is the top and its first column the left side.
Picture Upright(Picture stored);

/// Colours that were multiplied by alpha are divided by it: c * full / alpha, rounded to the nearest, halves up, and
/// limited to full; in float c / alpha. Where alpha is 0 colours become 0.
void DivideByAlpha(Picture& picture);
/// The inverse for float samples.
void MultiplyByAlpha(Picture& picture);

/// Whether an ICC profile is one for grey, or else for RGB pictures.
bool ProfileSuits(std::vector<unsigned char> const& profile, bool grey);

}  // namespace qzil::media
