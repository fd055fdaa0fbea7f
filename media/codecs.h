#pragma once

#include "media/picture.h"

#include <cstdint>
#include <span>
#include <stdexcept>
#include <vector>

// The kinds of files behind ReadPicture and WritePicture. Readers take bytes as they come; writers make a whole file in
// memory.
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

class InputStream;

/// The picture of a stream of any of the kinds, told apart by its first bytes.
Picture DecodePicture(InputStream& stream, ReadOptions const& options);

// The kinds. A picture of fewer pages than are asked for is a Fault. Readers leave the orientation to others.
Picture DecodePng(InputStream& stream, ReadOptions const& options);
Picture DecodeJpeg(InputStream& stream, ReadOptions const& options);
Picture DecodeTiff(InputStream& stream, ReadOptions const& options);
Picture DecodeWebp(InputStream& stream, ReadOptions const& options);
Picture DecodeExr(InputStream& stream, ReadOptions const& options);
Picture DecodePnm(InputStream& stream, ReadOptions const& options);

// A picture has a depth that the kind holds.
Bytes EncodePng(Picture const& picture, WriteOptions const& options);
Bytes EncodeJpeg(Picture const& picture, WriteOptions const& options);
Bytes EncodeTiff(Picture const& picture, WriteOptions const& options);
Bytes EncodeWebp(Picture const& picture, WriteOptions const& options);
Bytes EncodeExr(Picture const& picture, WriteOptions const& options);
Bytes EncodePnm(Picture const& picture, WriteOptions const& options);
Bytes EncodePam(Picture const& picture, WriteOptions const& options);

/// Throws when the wanted page is not among those of the file.
void CheckPage(ReadOptions const& options, int pages);

/// Gives a picture whose size, layout and depth are set its bytes as they arrive: a head alone claims little memory.
class GrowingRows {
public:
    explicit GrowingRows(Picture& picture) : m_oPicture(picture) {}
    /// The row, when all before it have been asked for.
    unsigned char* Row(int y);

private:
    Picture& m_oPicture;
};

}  // namespace qzil::media
