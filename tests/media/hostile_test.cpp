#include "tests/media/media_support.h"

#include <sys/resource.h>
#include <cstdio>

// Needs the types of <cstdio> before it.
#include <jpeglib.h>
#include <zlib.h>

namespace qzil::media::test {
namespace {

void Append(Bytes& out, Bytes const& bytes) {
    out.insert(out.end(), bytes.begin(), bytes.end());
}

Bytes BigEndian(std::uint32_t value, int size) {
    Bytes bytes;
    for (int shift = 8 * (size - 1); shift >= 0; shift -= 8)
        bytes.push_back(static_cast<unsigned char>(value >> shift));
    return bytes;
}

/// The start of an 8-bit RGB PNG of a size, up to its pixels.
Bytes PngOfSize(std::uint32_t width, std::uint32_t height) {
    Bytes header{'I', 'H', 'D', 'R'};
    Append(header, BigEndian(width, 4));
    Append(header, BigEndian(height, 4));
    Append(header, {8, 2, 0, 0, 0});
    Bytes png{0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
    Append(png, BigEndian(13, 4));
    Append(png, header);
    Append(png, BigEndian(static_cast<std::uint32_t>(crc32(0, header.data(), static_cast<uInt>(header.size()))), 4));
    Bytes const data{'I', 'D', 'A', 'T'};
    Append(png, BigEndian(0, 4));
    Append(png, data);
    Append(png, BigEndian(static_cast<std::uint32_t>(crc32(0, data.data(), 4)), 4));
    return png;
}

/// A big-endian 8-bit grey TIFF of a size, with one strip that is not there.
Bytes TiffOfSize(std::uint32_t width, std::uint32_t height) {
    Bytes tiff{'M', 'M', 0, 42, 0, 0, 0, 8, 0, 8};
    std::uint32_t const fields[][2] = {{256, width}, {257, height}, {258, 8},      {259, 1},
                                       {262, 1},     {273, 200},    {278, height}, {279, width}};
    for (auto const& [tag, value] : fields) {
        Append(tiff, BigEndian(tag, 2));
        Append(tiff, BigEndian(4, 2));
        Append(tiff, BigEndian(1, 4));
        Append(tiff, BigEndian(value, 4));
    }
    Append(tiff, Bytes(120));
    return tiff;
}

Bytes JpegOf(Picture const& picture) {
    unsigned char* pFile = nullptr;
    unsigned long size = 0;
    jpeg_compress_struct jpeg{};
    jpeg_error_mgr errors{};
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_compress(&jpeg);
    jpeg_mem_dest(&jpeg, &pFile, &size);
    jpeg.image_width = static_cast<JDIMENSION>(picture.iWidth);
    jpeg.image_height = static_cast<JDIMENSION>(picture.iHeight);
    jpeg.input_components = 3;
    jpeg.in_color_space = JCS_RGB;
    jpeg_set_defaults(&jpeg);
    jpeg_simple_progression(&jpeg);
    jpeg_start_compress(&jpeg, TRUE);
    for (int y = 0; y < picture.iHeight; ++y) {
        JSAMPROW pRow = const_cast<JSAMPROW>(picture.Row(y));
        jpeg_write_scanlines(&jpeg, &pRow, 1);
    }
    jpeg_finish_compress(&jpeg);
    Bytes const file(pFile, pFile + size);
    jpeg_destroy_compress(&jpeg);
    free(pFile);
    return file;
}

class Hostile : public FolderTest {
protected:
    /// One small file of each kind.
    std::vector<Bytes> Files() {
        Picture const picture = RandomPicture(20, 15, 4, 16, 5);
        WritePicture(Path("a.png"), picture);
        WritePicture(Path("a.tif"), picture);
        // Ends with the directory's link to the next, which libtiff does not miss.
        WritePicture(Path("grey.tif"), RandomPicture(20, 15, 1, 8, 5));
        Bytes early = TiffOfSize(8, 8);
        early[10 + 5 * 12 + 11] = 110;
        early.resize(110 + 64);
        return {LoadBytes(Path("a.png")), LoadBytes(Path("a.tif")), LoadBytes(Path("grey.tif")), early,
                JpegOf(RandomPicture(20, 15, 3, 8, 5))};
    }
};

TEST_F(Hostile, EveryShorterFileIsRefused) {
    for (Bytes const& whole : Files()) {
        SaveBytes(Path("part"), whole);
        EXPECT_NO_THROW(ReadPicture(Path("part"))) << "the whole file of " << whole.size() << " bytes";
        for (std::size_t size = 0; size < whole.size(); ++size) {
            SaveBytes(Path("part"), Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
            std::string const error = ErrorOf([&] { ReadPicture(Path("part")); });
            ASSERT_EQ(error.rfind("cannot read '" + Path("part") + "': ", 0), 0u) << size << " of " << whole.size();
            // The directory of a TIFF can be told to be cut only once its place is known.
            if (size >= 20) {
                ASSERT_NE(error.find("the file ends early"), std::string::npos)
                    << size << " of " << whole.size() << ": " << error;
            }
        }
    }
}

TEST_F(Hostile, DamagedBytesNeverCrash) {
    std::mt19937 random(11);
    for (Bytes const& whole : Files()) {
        for (int round = 0; round < 1500; ++round) {
            Bytes damaged = whole;
            int const count = 1 + static_cast<int>(random() % 4);
            for (int i = 0; i < count; ++i) damaged[random() % damaged.size()] = static_cast<unsigned char>(random());
            SaveBytes(Path("part"), damaged);
            try {
                EXPECT_TRUE(ReadPicture(Path("part")).IsSound());
            } catch (MediaError const&) {
                // As good an answer as a picture.
            }
        }
    }
}

TEST_F(Hostile, HugeSizesAreRefusedBeforeMemoryIsTaken) {
    Bytes jpeg = JpegOf(RandomPicture(20, 15, 3, 8, 5));
    Bytes const frame{0xff, 0xc2, 0, 17, 8};
    auto const size = std::search(jpeg.begin(), jpeg.end(), frame.begin(), frame.end());
    ASSERT_NE(size, jpeg.end());
    Bytes const side = BigEndian(40000, 2);
    std::copy(side.begin(), side.end(), size + 5);
    std::copy(side.begin(), side.end(), size + 7);
    struct {
        Bytes oFile;
        char const* pFault;
    } const cases[] = {
        {PngOfSize(32769, 1), "its 32769 x 1 pixels exceed the limit of 32768 a side"},
        {PngOfSize(0x7fffffff, 0x7fffffff), "its 2147483647 x 2147483647 pixels exceed the limit of 32768 a side"},
        {PngOfSize(32768, 32768), "its 32768 x 32768 pixels exceed the limit of 268435456"},
        {TiffOfSize(1, 40000), "its 1 x 40000 pixels exceed the limit of 32768 a side"},
        {TiffOfSize(100000, 100000), "its 100000 x 100000 pixels exceed the limit of 32768 a side"},
        {TiffOfSize(32768, 32768), "its 32768 x 32768 pixels exceed the limit of 268435456"},
        {jpeg, "its 40000 x 40000 pixels exceed the limit of 32768 a side"},
    };
    rusage before{}, after{};
    getrusage(RUSAGE_SELF, &before);
    for (auto const& test : cases) {
        SaveBytes(Path("huge"), test.oFile);
        EXPECT_EQ(ErrorOf([&] { ReadPicture(Path("huge")); }), "cannot read '" + Path("huge") + "': " + test.pFault);
    }
    // libtiff has words of its own for these.
    for (Bytes const& file : {TiffOfSize(0xffffffff, 0xffffffff), TiffOfSize(0, 4), TiffOfSize(4, 0)}) {
        SaveBytes(Path("huge"), file);
        EXPECT_NE(ErrorOf([&] { ReadPicture(Path("huge")); }), "");
    }
    getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 100 * 1024) << "KiB";
}

TEST_F(Hostile, WhatIsNoPictureIsNamed) {
    auto const errorFor = [&](std::string const& name) { return ErrorOf([&] { ReadPicture(Path(name)); }); };
    auto const start = [&](std::string const& name) { return "cannot read '" + Path(name) + "': "; };
    EXPECT_EQ(errorFor("none.png"), start("none.png") + "No such file or directory");
    SaveBytes(Path("empty.png"), {});
    EXPECT_EQ(errorFor("empty.png"), start("empty.png") + "the file is empty");
    SaveBytes(Path("text.png"), {'h', 'e', 'l', 'l', 'o', ' ', 'w', 'o', 'r', 'l', 'd'});
    EXPECT_EQ(errorFor("text.png"), start("text.png") + "it is not a PNG, JPEG or TIFF file");
    std::filesystem::create_directory(Path("dir"));
    EXPECT_EQ(errorFor("dir"), start("dir") + "Is a directory");
    // The content decides, not the name.
    WritePicture(Path("a.png"), Picture(3, 2, 1, 8));
    std::filesystem::rename(Path("a.png"), Path("a.tif"));
    EXPECT_EQ(ReadPicture(Path("a.tif")).iWidth, 3);
}

TEST_F(Hostile, NothingIsPrinted) {
    ::testing::internal::CaptureStderr();
    ::testing::internal::CaptureStdout();
    std::mt19937 random(12);
    for (Bytes const& whole : Files()) {
        for (int round = 0; round < 300; ++round) {
            Bytes damaged = whole;
            damaged[random() % damaged.size()] ^= static_cast<unsigned char>(1u << random() % 8);
            if (round % 3 == 0) damaged.erase(damaged.end() - round / 3 % 50, damaged.end());
            SaveBytes(Path("part"), damaged);
            try {
                ReadPicture(Path("part"));
            } catch (MediaError const&) {
            }
        }
    }
    std::string const out = ::testing::internal::GetCapturedStdout();
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(out, "");
}

}  // namespace
}  // namespace qzil::media::test
