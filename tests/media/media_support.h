#pragma once

#include "media/picture.h"
#include "qzil/image/formats.h"
#include "tests/support/table.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

// Needs the types of <cstdio> before it.
#include <jpeglib.h>

namespace qzil::media::test {

using Bytes = std::vector<unsigned char>;
using qzil::test::ReadTable;
using qzil::test::Row;

/// The format that a cell of a table names.
inline GUID FormatNamed(std::string const& cell) {
    for (auto const& entry : AllFormats()) {
        if (entry.pName == "MFIF_" + cell) return entry.oFormat;
    }
    ADD_FAILURE() << "no format " << cell;
    return GUID_NULL;
}

/// The numbers of a cell, each that of a float.
inline std::vector<double> Reals(std::string const& cell) {
    std::istringstream words(cell);
    std::vector<double> reals;
    for (std::string word; words >> word;) reals.push_back(double{std::stof(word)});
    return reals;
}

/// A folder of its own for each test, removed at the end.
class FolderTest : public ::testing::Test {
protected:
    void SetUp() override {
        char name[] = "/tmp/qzil_media_XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        m_oFolder = name;
    }
    void TearDown() override { std::filesystem::remove_all(m_oFolder); }

    std::string Path(std::string const& name) const { return m_oFolder / name; }

    std::filesystem::path m_oFolder;
};

inline void SaveBytes(std::string const& path, Bytes const& bytes) {
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<char const*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

inline Bytes LoadBytes(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

/// A JPEG file of a picture's samples, which are those of the colour space.
inline Bytes JpegOf(Picture const& picture, J_COLOR_SPACE colors) {
    unsigned char* pFile = nullptr;
    unsigned long size = 0;
    jpeg_compress_struct jpeg{};
    jpeg_error_mgr errors{};
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_compress(&jpeg);
    jpeg_mem_dest(&jpeg, &pFile, &size);
    jpeg.image_width = static_cast<JDIMENSION>(picture.iWidth);
    jpeg.image_height = static_cast<JDIMENSION>(picture.iHeight);
    jpeg.input_components = picture.iChannels;
    jpeg.in_color_space = colors;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, 95, TRUE);
    jpeg_start_compress(&jpeg, TRUE);
    for (int y = 0; y < picture.iHeight; ++y) {
        JSAMPROW pRow = const_cast<JSAMPROW>(picture.Row(y));
        jpeg_write_scanlines(&jpeg, &pRow, 1);
    }
    jpeg_finish_compress(&jpeg);
    jpeg_destroy_compress(&jpeg);
    Bytes const file(pFile, pFile + size);
    free(pFile);
    return file;
}

/// What `ReadPicture` says of a file that it refuses.
inline std::string CannotRead(std::string const& path, std::string const& fault) {
    return "cannot read '" + path + "': " + fault;
}

template <class T>
Picture MakePicture(int width, int height, int channels, std::vector<T> const& samples) {
    Picture picture(width, height, channels, static_cast<int>(sizeof(T)) * 8);
    EXPECT_EQ(picture.oBytes.size(), samples.size() * sizeof(T));
    std::memcpy(picture.oBytes.data(), samples.data(), picture.oBytes.size());
    return picture;
}

template <class T>
std::vector<T> Samples(Picture const& picture) {
    EXPECT_EQ(picture.iDepth, static_cast<int>(sizeof(T)) * 8);
    std::vector<T> samples(picture.oBytes.size() / sizeof(T));
    std::memcpy(samples.data(), picture.oBytes.data(), samples.size() * sizeof(T));
    return samples;
}

/// Random bytes for integer depths; finite numbers around 0..1 for float.
inline Picture RandomPicture(int width, int height, int channels, int depth, unsigned seed) {
    std::mt19937 random(seed);
    Picture picture(width, height, channels, depth);
    if (depth == 32) {
        for (std::size_t i = 0; i < picture.oBytes.size(); i += sizeof(float)) {
            float const value = static_cast<float>(random() % 3000000) / 1000000.0f - 1.0f;
            std::memcpy(picture.oBytes.data() + i, &value, sizeof value);
        }
    } else {
        for (unsigned char& byte : picture.oBytes) byte = static_cast<unsigned char>(random());
    }
    return picture;
}

inline void ExpectEqual(Picture const& actual, Picture const& expected, std::string const& what) {
    ASSERT_EQ(actual.iWidth, expected.iWidth) << what;
    ASSERT_EQ(actual.iHeight, expected.iHeight) << what;
    ASSERT_EQ(actual.iChannels, expected.iChannels) << what;
    ASSERT_EQ(actual.iDepth, expected.iDepth) << what;
    ASSERT_EQ(actual.oBytes.size(), expected.oBytes.size()) << what;
    for (std::size_t i = 0; i < expected.oBytes.size(); ++i) {
        ASSERT_EQ(int{actual.oBytes[i]}, int{expected.oBytes[i]})
            << what << ", byte " << i % expected.RowBytes() << " of row " << i / expected.RowBytes();
    }
}

/// The sentence of the MediaError that `step` throws, or an empty text and a failure.
template <class Step>
std::string ErrorOf(Step step) {
    try {
        step();
    } catch (MediaError const& error) {
        return error.what();
    }
    ADD_FAILURE() << "no error was raised";
    return "";
}

}  // namespace qzil::media::test
