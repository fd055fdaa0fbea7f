// Writes the seed corpus of fuzz_picture: small pictures of each kind, with tags.

#include "media/picture.h"

#include <cstdio>
#include <filesystem>

using namespace qzil::media;

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s DIRECTORY\n", argv[0]);
        return 2;
    }
    std::filesystem::path const folder(argv[1]);
    std::filesystem::create_directories(folder);
    for (int channels = 1; channels <= 4; ++channels) {
        for (int const depth : {8, 16, 32}) {
            Picture picture(7, 5, channels, depth);
            for (std::size_t i = 0; i < picture.oBytes.size(); ++i) {
                picture.oBytes[i] = static_cast<unsigned char>(depth == 32 && i % 4 == 3 ? 0x3e : i * 37);
            }
            picture.oTags.oExif = {'I', 'I', 42, 0, 8, 0, 0, 0, 1, 0, 18, 1, 3, 0, 1, 0, 0, 0, 6, 0, 0, 0, 0, 0, 0, 0};
            picture.oTags.iOrientation = 6;
            picture.oTags.bHalf = channels < 3;
            picture.oTags.dfDotsX = picture.oTags.dfDotsY = 2835.0;
            WriteOptions options;
            options.bProgressive = channels == 3;
            for (char const* const kind : {"png", "jpg", "tif", "exr", "webp", "pnm", "pam"}) {
                std::string const name = std::to_string(channels) + "-" + std::to_string(depth) + "." + kind;
                WritePicture((folder / name).string(), picture, options);
            }
        }
    }
    return 0;
}
