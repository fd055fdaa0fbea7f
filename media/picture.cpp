#include "media/picture.h"

#include "media/codecs.h"
#include "media/file.h"
#include "qzil/image/pixel_math.h"

#include <algorithm>
#include <cstring>
#include <filesystem>

namespace qzil::media {

namespace {

using Decoder = Picture (*)(ByteView);

struct Signature {
    std::string_view oStart;
    Decoder pDecode;
};

using namespace std::string_view_literals;
constexpr Signature kSignatures[] = {
    {"\x89PNG\r\n\x1a\n"sv, DecodePng},
    {"\xff\xd8\xff"sv, DecodeJpeg},
    {"II*\0"sv, DecodeTiff},
    {"MM\0*"sv, DecodeTiff},
    {"II+\0\x08\0\0\0"sv, DecodeTiff},
    {"MM\0+\0\x08\0\0"sv, DecodeTiff},
};

Picture AsSixteenBit(Picture const& source) {
    Picture result(source.iWidth, source.iHeight, source.iChannels, 16);
    std::size_t const count = result.oBytes.size() / sizeof(u16);
    for (std::size_t i = 0; i < count; ++i) {
        float value;
        std::memcpy(&value, source.oBytes.data() + i * sizeof value, sizeof value);
        u16 const sample = qzILFormat<u16>::FromReal(value);
        std::memcpy(result.oBytes.data() + i * sizeof sample, &sample, sizeof sample);
    }
    return result;
}

void CheckPicture(Picture const& picture) {
    CheckSize(static_cast<std::uint64_t>(std::max(picture.iWidth, 0)),
              static_cast<std::uint64_t>(std::max(picture.iHeight, 0)));
    if (!picture.IsSound()) throw Fault("the picture's samples do not fit its description");
}

Bytes Encode(std::string const& path, Picture const& picture) {
    std::string extension = std::filesystem::path(path).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    bool const png = extension == ".png";
    if (!png && extension != ".tif" && extension != ".tiff") throw Fault("the name must end in .png, .tif or .tiff");
    CheckPicture(picture);
    if (!png) return EncodeTiff(picture);
    return picture.iDepth == 32 ? EncodePng(AsSixteenBit(picture)) : EncodePng(picture);
}

}  // namespace

Picture::Picture(int width, int height, int channels, int depth)
    : iWidth(width), iHeight(height), iChannels(channels), iDepth(depth) {
    oBytes.resize(RowBytes() * static_cast<unsigned>(height));
}

bool Picture::IsSound() const {
    bool const size = iWidth >= 0 && iHeight >= 0;
    bool const layout = iChannels >= 1 && iChannels <= 4;
    bool const depth = iDepth == 8 || iDepth == 16 || iDepth == 32;
    return size && layout && depth && oBytes.size() == RowBytes() * static_cast<unsigned>(iHeight);
}

void CheckSize(std::uint64_t width, std::uint64_t height) {
    std::string const size = std::to_string(width) + " x " + std::to_string(height) + " pixels";
    if (width == 0 || height == 0) throw Fault("it has no pixels (" + size + ")");
    if (width > kMaxSide || height > kMaxSide) {
        throw Fault("its " + size + " exceed the limit of " + std::to_string(kMaxSide) + " a side");
    }
    if (width * height > kMaxPixels) throw Fault("its " + size + " exceed the limit of " + std::to_string(kMaxPixels));
}

Picture DecodePicture(ByteView file) {
    if (file.empty()) throw Fault("the file is empty");
    for (Signature const& signature : kSignatures) {
        std::string_view const start = signature.oStart;
        if (file.size() >= start.size() && std::memcmp(file.data(), start.data(), start.size()) == 0) {
            return signature.pDecode(file);
        }
    }
    throw Fault("it is not a PNG, JPEG or TIFF file");
}

Picture ReadPicture(std::string const& path) {
    return NamingFile("read", path, [&] { return DecodePicture(ReadWholeFile(path)); });
}

void WritePicture(std::string const& path, Picture const& picture) {
    NamingFile("write", path, [&] { ReplaceFile(path, Encode(path, picture)); });
}

}  // namespace qzil::media
