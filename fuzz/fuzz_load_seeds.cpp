// Writes the seed corpus of fuzz_load: one saved image for each of some formats.

#include "qzil/qzil.h"

#include <cstdio>
#include <filesystem>
#include <string>

namespace {

bool WriteSeed(GUID const& format, int width, int height, std::string const& path) {
    qzil::Ref<IXFImage> image;
    if (qzILCreateAndAllocImage(nullptr, IID_IXFImage, width, height, format, image.Out()) != 0) return false;
    void* pixels = nullptr;
    unsigned size = 0;
    image->GetPixelArray(&pixels);
    image->GetPixelArraySize(&size);
    for (unsigned i = 0; i < size; ++i) static_cast<unsigned char*>(pixels)[i] = static_cast<unsigned char>(i * 37);
    qzil::Ref<IPersistStream> persist;
    qzil::Ref<IStream> stream;
    return image->QueryInterface(IID_IPersistStream, persist.Out()) == 0 &&
           qzil::platform::CreateFileStream(path.c_str(), qzil::platform::FileMode::Write, stream.Typed()) == 0 &&
           persist->Save(stream.Get(), 1) == 0;
}

/// Bare heads whose sizes claim much, or contradict the format.
bool WriteClaim(GUID const& format, int width, int height, unsigned pixelSize, std::string const& path) {
    qzil::Ref<IXFImage> image;
    qzil::Ref<IPersistStream> persist;
    qzil::Ref<IStream> stream;
    if (qzILCreateImage(nullptr, IID_IXFImage, image.Out()) != 0) return false;
    image->SetFormat(format);
    image->SetPixelSize(pixelSize);
    image->SetRes(width, height);
    return image->QueryInterface(IID_IPersistStream, persist.Out()) == 0 &&
           qzil::platform::CreateFileStream(path.c_str(), qzil::platform::FileMode::Write, stream.Typed()) == 0 &&
           persist->Save(stream.Get(), 1) == 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s DIRECTORY\n", argv[0]);
        return 2;
    }
    std::filesystem::path const folder(argv[1]);
    std::filesystem::create_directories(folder);
    int number = 0;
    for (GUID const& format : {MFIF_RGBA_RAW_32, MFIF_MONO_RAW_8, MFIF_MONO_RAW_16, MFIF_RGBA_FLOAT, MFIF_CbYCrY_16,
                               MFIF_CbYCrY_16_SF_TFL, MFIF_CbYCrYA_24, MFIF_RGBA_S2_14, MFIF_YCCA_24}) {
        auto const path = folder / ("seed_" + std::to_string(number++));
        if (!WriteSeed(format, 4 + number % 3, 2 + number % 2, path.string())) {
            std::fprintf(stderr, "%s cannot be written\n", path.c_str());
            return 1;
        }
    }
    bool const claimed = WriteClaim(MFIF_CbYCrYA_24, 4096, 4096, 1, (folder / "seed_claim_0").string()) &&
                         WriteClaim(MFIF_RGBA_RAW_32, 16384, 16000, 4, (folder / "seed_claim_1").string()) &&
                         WriteClaim(MFIF_RGBA_FLOAT, 20000, 50000, 1, (folder / "seed_claim_2").string()) &&
                         WriteClaim(MFIF_CbYCrYA_FLOAT, 16, 16, 4, (folder / "seed_claim_3").string());
    if (!claimed) std::fprintf(stderr, "a head cannot be written\n");
    return claimed ? 0 : 1;
}
