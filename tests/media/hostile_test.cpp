#include "tests/media/media_support.h"

#include <sys/resource.h>
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
    Bytes png{0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
    auto const append = [&png](Bytes const& chunk) {
        Append(png, BigEndian(static_cast<std::uint32_t>(chunk.size() - 4), 4));
        Append(png, chunk);
        Append(png, BigEndian(static_cast<std::uint32_t>(crc32(0, chunk.data(), static_cast<uInt>(chunk.size()))), 4));
    };
    Bytes header{'I', 'H', 'D', 'R'};
    Append(header, BigEndian(width, 4));
    Append(header, BigEndian(height, 4));
    Append(header, {8, 2, 0, 0, 0});
    append(header);
    append({'I', 'D', 'A', 'T'});
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

class Hostile : public FolderTest {
protected:
    Bytes FileOf(std::string const& name, Picture const& picture, WriteOptions const& options = {}) {
        WritePicture(Path(name), picture, options);
        return LoadBytes(Path(name));
    }
    /// One small file of each kind.
    std::vector<Bytes> Files() {
        Picture const picture = RandomPicture(20, 15, 4, 16, 5);
        Bytes early = TiffOfSize(8, 8);
        early[10 + 5 * 12 + 11] = 110;
        early.resize(110 + 64);
        return {FileOf("a.png", picture), FileOf("a.tif", picture), early, SmallJpeg(), FileOf("a.exr", picture),
                FileOf("a.webp", picture), FileOf("a.pam", picture), FileOf("a.ppm", picture),
                // Ends with the directory's link to the next, which libtiff does not miss.
                FileOf("grey.tif", RandomPicture(20, 15, 1, 8, 5))};
    }
    /// A progressive one, whose frame is a marker 0xC2.
    Bytes SmallJpeg() { return FileOf("a.jpg", RandomPicture(20, 15, 3, 8, 5), {.bProgressive = true}); }
};

TEST_F(Hostile, EveryShorterFileIsRefused) {
    for (Bytes const& whole : Files()) {
        SaveBytes(Path("part"), whole);
        EXPECT_NO_THROW(ReadPicture(Path("part"))) << "the whole file of " << whole.size() << " bytes";
        for (std::size_t size = 0; size < whole.size(); ++size) {
            SaveBytes(Path("part"), Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
            std::string const error = ErrorOf([&] { ReadPicture(Path("part")); });
            ASSERT_EQ(error.rfind(CannotRead(Path("part"), ""), 0), 0u) << size << " of " << whole.size();
            // The directory of a TIFF can be told to be cut only once its place is known.
            if (size >= 20) {
                ASSERT_NE(error.find("the file ends early"), std::string::npos)
                    << size << " of " << whole.size() << ": " << error;
            }
        }
    }
}

TEST_F(Hostile, DamagedBytesNeverCrashAndPrintNothing) {
    ::testing::internal::CaptureStderr();
    ::testing::internal::CaptureStdout();
    std::mt19937 random(11);
    for (Bytes const& whole : Files()) {
        for (int round = 0; round < 1000; ++round) {
            Bytes damaged = whole;
            int const count = 1 + static_cast<int>(random() % 4);
            for (int i = 0; i < count; ++i) damaged[random() % damaged.size()] = static_cast<unsigned char>(random());
            if (round % 3 == 0) damaged.erase(damaged.end() - round / 3 % 50, damaged.end());
            SaveBytes(Path("part"), damaged);
            try {
                EXPECT_TRUE(ReadPicture(Path("part")).IsSound());
            } catch (MediaError const&) {
                // As good an answer as a picture.
            }
        }
    }
    EXPECT_EQ(::testing::internal::GetCapturedStderr() + ::testing::internal::GetCapturedStdout(), "");
}

TEST_F(Hostile, HugeSizesAreRefusedBeforeMemoryIsTaken) {
    Bytes jpeg = SmallJpeg();
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
        EXPECT_EQ(ErrorOf([&] { ReadPicture(Path("huge")); }), CannotRead(Path("huge"), test.pFault));
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
    SaveBytes(Path("empty.png"), {});
    SaveBytes(Path("text.png"), {'h', 'e', 'l', 'l', 'o', ' ', 'w', 'o', 'r', 'l', 'd'});
    std::filesystem::create_directory(Path("dir"));
    for (auto const& [name, fault] : {std::pair{"none.png", "No such file or directory"},
                                      {"empty.png", "the file is empty"},
                                      {"text.png", "it is not a PNG, JPEG, TIFF, OpenEXR, WebP, PNM or PAM file"},
                                      {"dir", "Is a directory"}}) {
        EXPECT_EQ(ErrorOf([&, name = name] { ReadPicture(Path(name)); }), CannotRead(Path(name), fault));
    }
    // The content decides, not the name.
    WritePicture(Path("a.png"), Picture(3, 2, 1, 8));
    std::filesystem::rename(Path("a.png"), Path("a.tif"));
    EXPECT_EQ(ReadPicture(Path("a.tif")).iWidth, 3);
}

}  // namespace
}  // namespace qzil::media::test
