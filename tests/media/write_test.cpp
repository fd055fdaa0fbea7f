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

/// As much of a colour profile as all readers ask for: a head and one tag.
Bytes Profile(std::string const& space) {
    // Readers take chunks of fewer bytes for damaged, so what follows must not shrink.
    Bytes profile = RandomPicture(400, 1, 1, 8, 3).oBytes;
    std::fill_n(profile.begin(), 144, static_cast<unsigned char>(0));
    profile[2] = 1;
    profile[3] = 400 - 256;
    profile[8] = 4;
    std::string const words[] = {"mntr", space, "XYZ "};
    for (std::size_t i = 0; i < 3; ++i)
        std::copy(words[i].begin(), words[i].end(), profile.begin() + 12 + 4 * static_cast<int>(i));
    std::string const mark = "acsp";
    std::copy(mark.begin(), mark.end(), profile.begin() + 36);
    Bytes const tag{0, 0, 0, 1, 'c', 'p', 'r', 't', 0, 0, 0, 144, 0, 0, 1, 0};
    std::copy(tag.begin(), tag.end(), profile.begin() + 128);
    // The white of the connection space.
    Bytes const white{0, 0, 0xf6, 0xd6, 0, 1, 0, 0, 0, 0, 0xd3, 0x2d};
    std::copy(white.begin(), white.end(), profile.begin() + 68);
    return profile;
}

TEST_F(Write, EveryLayoutReturns) {
    std::pair<int, int> const sizes[] = {{37, 23}, {1, 1}, {1, 300}, {3000, 2}};
    for (Row const& row : ReadTable("media/written.tsv")) {
        for (int const depth : row.Numbers("depths")) {
            for (int const channels : row.Numbers("channels")) {
                for (auto const& [width, height] : sizes) {
                    std::string const &name = row["file"], what = name + " " + std::to_string(width) + "x" +
                                                                  std::to_string(height) + " of " +
                                                                  std::to_string(channels) + " x " +
                                                                  std::to_string(depth) + " bits";
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

TEST_F(Write, TagsAreCarriedWhereTheKindsHoldThem) {
    Picture picture = RandomPicture(4, 3, 3, 8, 1);
    picture.oTags.oProfile = Profile("RGB ");
    picture.oTags.oExif = {'I', 'I', 42, 0, 8, 0, 0, 0, 1, 0, 18, 1, 3, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0};
    picture.oTags.dfDotsX = picture.oTags.dfDotsY = 11811;  // 300 an inch
    picture.oTags.oGamma = 0.5;
    struct {
        char const* pName;
        bool bProfile, bExif, bDots, bGamma;
    } const cases[] = {{"a.png", true, true, true, true},
                       {"a.jpg", true, true, true, false},
                       {"a.tif", true, false, true, false},
                       {"a.webp", true, true, false, false}};
    for (auto const& test : cases) {
        WritePicture(Path(test.pName), picture);
        Tags const tags = ReadPicture(Path(test.pName)).oTags;
        EXPECT_EQ(tags.oProfile == picture.oTags.oProfile, test.bProfile) << test.pName;
        EXPECT_EQ(ExifOrientation(tags.oExif) == 1 && !tags.oExif.empty(), test.bExif) << test.pName;
        EXPECT_NEAR(tags.dfDotsX, test.bDots ? 11811 : 0, 1) << test.pName;
        EXPECT_EQ(tags.oGamma.value_or(0.0), test.bGamma ? 0.5 : 0.0) << test.pName;
        WritePicture(Path(test.pName), picture, {.bStrip = true});
        Tags const none = ReadPicture(Path(test.pName)).oTags;
        EXPECT_TRUE(none.oProfile.empty() && none.oExif.empty() && none.dfDotsX == 0.0) << test.pName;
    }
    // A profile of another colour model would be wrong.
    picture.oTags.oProfile = Profile("GRAY");
    WritePicture(Path("a.png"), picture);
    EXPECT_TRUE(ReadPicture(Path("a.png")).oTags.oProfile.empty());
}

TEST_F(Write, AnOldFileTellsTheRightsOfTheNew) {
    WritePicture(Path("a.png"), Picture(1, 1, 1, 8));
    std::filesystem::permissions(Path("a.png"), std::filesystem::perms(0640));
    WritePicture(Path("a.png"), Picture(2, 1, 1, 8));
    EXPECT_EQ(std::filesystem::status(Path("a.png")).permissions(), std::filesystem::perms(0640));
    EXPECT_EQ(ErrorOf([&] { WritePicture(Path("a.png"), Picture(3, 1, 1, 8), {.bKeepOld = true}); }),
              "cannot write '" + Path("a.png") + "': it is there already");
    EXPECT_EQ(ReadPicture(Path("a.png")).iWidth, 2);
}

TEST_F(Write, FloatIsLimitedToSixteenBitsInPng) {
    WritePicture(Path("f.png"), MakePicture<float>(5, 1, 1, {-1.0f, 0.0f, 0.5f, 1.0f, 2.0f}));
    EXPECT_EQ(Samples<std::uint16_t>(ReadPicture(Path("f.png"))),
              (std::vector<std::uint16_t>{0, 0, 32768, 65535, 65535}));
}

TEST_F(Write, UnknownExtensionsAreRefused) {
    for (std::string const name : {"a.gif", "png", "a.png.bak", "a."}) {
        EXPECT_EQ(
            ErrorOf([&] { WritePicture(Path(name), Picture(1, 1, 1, 8)); }),
            "cannot write '" + Path(name) + "': the name must end in .png, .jpg, .tif, .exr, .webp, .pnm or .pam");
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
