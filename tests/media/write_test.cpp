#include "tests/media/media_support.h"

#include <sys/resource.h>
#include <csignal>

namespace qzil::media::test {
namespace {

class Write : public FolderTest {
protected:
    std::size_t FilesInFolder() const {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(m_oFolder), {}));
    }
};

TEST_F(Write, EveryLayoutReturnsFromPngAndTiff) {
    std::pair<int, int> const sizes[] = {{37, 23}, {1, 1}, {1, 300}, {3000, 2}};
    for (std::string const name : {"a.png", "a.tif", "A.TIFF"}) {
        for (int const depth : {8, 16, 32}) {
            if (depth == 32 && name == "a.png") continue;
            for (int channels = 1; channels <= 4; ++channels) {
                for (auto const& [width, height] : sizes) {
                    std::string const what = name + " " + std::to_string(width) + "x" + std::to_string(height) +
                                             " of " + std::to_string(channels) + " x " + std::to_string(depth) +
                                             " bits";
                    Picture const picture = RandomPicture(width, height, channels, depth, 7);
                    Picture const before = picture;
                    WritePicture(Path(name), picture);
                    ExpectEqual(ReadPicture(Path(name)), picture, what);
                    ExpectEqual(picture, before, what);
                }
            }
        }
    }
}

TEST_F(Write, FloatIsLimitedToSixteenBitsInPng) {
    WritePicture(Path("f.png"), MakePicture<float>(5, 1, 1, {-1.0f, 0.0f, 0.5f, 1.0f, 2.0f}));
    EXPECT_EQ(Samples<std::uint16_t>(ReadPicture(Path("f.png"))),
              (std::vector<std::uint16_t>{0, 0, 32768, 65535, 65535}));
}

TEST_F(Write, UnknownExtensionsAreRefused) {
    for (std::string const name : {"a.jpg", "a.gif", "png", "a.png.bak", "a."}) {
        EXPECT_EQ(ErrorOf([&] { WritePicture(Path(name), Picture(1, 1, 1, 8)); }),
                  "cannot write '" + Path(name) + "': the name must end in .png, .tif or .tiff");
    }
    EXPECT_EQ(FilesInFolder(), 0u);
}

TEST_F(Write, BrokenPicturesAreRefused) {
    Picture wrongBytes(4, 4, 3, 8), wrongChannels(4, 4, 5, 8), wrongDepth(4, 4, 1, 24);
    wrongBytes.oBytes.pop_back();
    for (Picture const& picture : {wrongBytes, wrongChannels, wrongDepth, Picture()}) {
        EXPECT_NE(ErrorOf([&] { WritePicture(Path("a.png"), picture); }), "");
        EXPECT_NE(ErrorOf([&] { WritePicture(Path("a.tif"), picture); }), "");
    }
    EXPECT_EQ(FilesInFolder(), 0u);
}

TEST_F(Write, AFailureLeavesTheOldFileAndNothingElse) {
    for (std::string const name : {"a.png", "a.tif"}) {
        Bytes const old{'o', 'l', 'd'};
        SaveBytes(Path(name), old);
        rlimit before{};
        getrlimit(RLIMIT_FSIZE, &before);
        rlimit tight = before;
        tight.rlim_cur = 1000;
        auto const handler = std::signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &tight);
        std::string const error = ErrorOf([&] { WritePicture(Path(name), RandomPicture(64, 64, 4, 8, 1)); });
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handler);
        EXPECT_EQ(error, "cannot write '" + Path(name) + "': File too large");
        EXPECT_EQ(LoadBytes(Path(name)), old);
        EXPECT_EQ(FilesInFolder(), 1u);
        std::filesystem::remove(Path(name));
    }
    EXPECT_EQ(ErrorOf([&] { WritePicture(Path("none/a.png"), Picture(1, 1, 1, 8)); }),
              "cannot write '" + Path("none/a.png") + "': No such file or directory");
    std::filesystem::create_directory(Path("dir.png"));
    EXPECT_EQ(ErrorOf([&] { WritePicture(Path("dir.png"), Picture(1, 1, 1, 8)); }),
              "cannot write '" + Path("dir.png") + "': it is not a regular file");
}

TEST_F(Write, ALinkKeepsPointingToTheFile) {
    WritePicture(Path("real.png"), Picture(1, 1, 1, 8));
    std::filesystem::create_symlink("real.png", Path("link.png"));
    WritePicture(Path("link.png"), Picture(5, 1, 1, 8));
    EXPECT_TRUE(std::filesystem::is_symlink(Path("link.png")));
    EXPECT_EQ(ReadPicture(Path("real.png")).iWidth, 5);
}

}  // namespace
}  // namespace qzil::media::test
