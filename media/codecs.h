#pragma once

#include "media/picture.h"

#include <cstdint>
#include <span>
#include <stdexcept>
#include <vector>

// The file formats behind ReadPicture and WritePicture. All of them work on whole files in memory.
namespace qzil::media {

using Bytes = std::vector<unsigned char>;
using ByteView = std::span<unsigned char const>;

/// What is wrong with a file, without its name.
struct Fault : std::runtime_error {
    using std::runtime_error::runtime_error;
};

inline constexpr char const* kEndsEarly = "the file ends early";

/// Throws when a picture of this size is not to be read.
void CheckSize(std::uint64_t width, std::uint64_t height);

/// The picture of a file of any of the formats, told apart by its first bytes.
Picture DecodePicture(ByteView file);
Picture DecodePng(ByteView file);
Picture DecodeJpeg(ByteView file);
Picture DecodeTiff(ByteView file);

/// Depth 8 or 16.
Bytes EncodePng(Picture const& picture);
Bytes EncodeTiff(Picture const& picture);

}  // namespace qzil::media
