// qzILConvertImage: what it answers, and which pairs of formats it converts.

#include "qzil/convert/convert_image.h"
#include "qzil/convert/rgba_to_rgba.h"
#include "qzil/convert/rgba_to_ycca.h"
#include "qzil/image/formats.h"
#include "qzil/image/image_ops.h"
#include "support/allocation_hook.h"
#include "support/picture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace qzil::test {
namespace {

HRESULT Code(unsigned code) {
    return static_cast<HRESULT>(code);
}

TEST(ConvertImage, AnswersAndWhatTheyLeaveBehind) {
    Ref<IXFImage> const rgba = MakeRandomImage(MFIF_RGBA_RAW_32, 8, 4, 1),
                        hlsa = MakeRandomImage(MFIF_HLSA_RAW_64, 8, 4, 2);
    qzILBbox2l const part(2, 1, 4, 2);
    qzILVector2l const place(0, 0);
    EXPECT_EQ(qzILConvertImage(nullptr, rgba.Get(), GUID_NULL, 0, nullptr, nullptr), Code(0x80004003));
    EXPECT_EQ(qzILConvertImage(rgba.Get(), static_cast<IXFImage*>(nullptr), GUID_NULL, 0, nullptr, nullptr),
              Code(0x80004003));
    EXPECT_EQ(qzILConvertImage(rgba.Get(), hlsa.Get(), GUID_NULL, 0, nullptr, &place), Code(0x80070057));
    std::vector<unsigned char> const before(Bytes(hlsa).begin(), Bytes(hlsa).end());
    EXPECT_EQ(qzILConvertImage(rgba.Get(), hlsa.Get(), GUID_NULL, 0, nullptr, nullptr), Code(0x80004005));
    EXPECT_EQ(DescribeDifference(before, Bytes(hlsa)), "");
    EXPECT_EQ(qzILConvertImage(rgba.Get(), rgba.Get(), MFIF_RGBA_FLOAT, 0, &part, nullptr), Code(0x80070057));
    EXPECT_EQ(qzILConvertImage(rgba.Get(), rgba.Get(), MFIF_HLSA_RAW_64, 0, &part, nullptr), Code(0x80070057));
    EXPECT_EQ(FormatOf(rgba.Get()), MFIF_RGBA_RAW_32);
    IXFImage* pResult = rgba.Get();
    EXPECT_EQ(qzILConvertImage(rgba.Get(), &pResult, MFIF_HLSA_RAW_64, 0), Code(0x80004005));
    EXPECT_EQ(pResult, nullptr);
}

TEST(ConvertImage, AnImageIsConvertedInItself) {
    Ref<IXFImage> const image = MakeRandomImage(MFIF_RGBA_RAW_32, 8, 4, 1),
                        same = MakeRandomImage(MFIF_RGBA_RAW_32, 8, 4, 1);
    qzILBbox2l const whole(0, 0, 8, 4);
    ASSERT_EQ(qzILConvertImage(image.Get(), image.Get(), MFIF_CbYCrY_16, 0, &whole, nullptr), 0);
    Ref<IXFImage> expected;
    ASSERT_EQ(qzILConvertImage(same.Get(), expected.Typed(), MFIF_CbYCrY_16, 0), 0);
    EXPECT_EQ(FormatOf(image.Get()), MFIF_CbYCrY_16);
    EXPECT_EQ(DescribeDifference(Bytes(expected), Bytes(image)), "");
}

/// Host memory that is too small for another format, and allocations that fail one after the other: the image stays
/// what it was, or holds the whole result.
TEST(ConvertImage, AFailureLeavesTheDestinationAsItWas) {
    unsigned char lent[8 * 8];
    Ref<IXFImage> const rgba = MakeRandomImage(MFIF_RGBA_RAW_32, 8, 8, 1), host = MakeImage(MFIF_MONO_RAW_8, 1, 1);
    std::fill(std::begin(lent), std::end(lent), static_cast<unsigned char>(7));
    host->SetPixelArray(lent);
    host->SetPixelArraySize(sizeof lent);
    host->SetRes(8, 8);
    EXPECT_EQ(qzILConvertImage(rgba.Get(), host.Get(), MFIF_RGBA_FLOAT, 0, nullptr, nullptr), Code(0x8000FFFF));
    EXPECT_EQ(FormatOf(host.Get()), MFIF_MONO_RAW_8);
    EXPECT_EQ(std::ranges::count(lent, 7), 64);

    for (GUID const& target : {MFIF_RGBA_FLOAT, MFIF_CbYCrY_16}) {
        bool failed = true;
        for (std::uint64_t nth = 1; failed; ++nth) {
            Ref<IXFImage> const image = MakeRandomImage(MFIF_RGBA_RAW_32, 200, 100, nth),
                                before = MakeRandomImage(MFIF_RGBA_RAW_32, 200, 100, nth);
            image->SetUserData(lent);
            HRESULT result = 0;
            {
                AllocationFailure const failure(nth, AllocationFailure::Extent::AllFrom);
                result = qzILConvertImage(image.Get(), image.Get(), target, 0, nullptr, nullptr);
                failed = failure.Happened();
            }
            EXPECT_TRUE(result >= 0 || failed) << nth;
            EXPECT_EQ(FormatOf(image.Get()), result < 0 ? MFIF_RGBA_RAW_32 : target) << nth;
            EXPECT_EQ(image->IsEqual(before.Get()) == 0, result < 0) << nth;
            void* user = nullptr;
            image->GetUserData(&user);
            EXPECT_EQ(user, lent);
        }
    }
}

TEST(ConvertImage, FlagsRegionAndOffsetReachTheEffect) {
    Ref<IXFImage> const input = MakeRandomImage(MFIF_RGBA_RAW_32, 16, 6, 1);
    qzILBbox2l const part(2, 1, 8, 4);
    qzILVector2l const place(4, 2);
    for (unsigned flags = 0; flags < 8; ++flags) {
        Ref<IXFImage> const actual = MakeImage(MFIF_CbYCrY_16, 16, 8), expected = MakeImage(MFIF_CbYCrY_16, 16, 8);
        ASSERT_EQ(qzILConvertImage(input.Get(), actual.Get(), GUID_NULL, flags, &part, &place), 0);
        qzILRGBAORDIB2YCCA effect;
        effect.SetInputImg(input.Get());
        effect.SetOutputImg(expected.Get());
        effect.SetROI(part);
        effect.SetOutputOffset(place);
        effect.SetDoFiltering((flags & 1) != 0);
        effect.SetDoDithering((flags & 4) != 0);
        ASSERT_EQ(effect.Execute(), 1);
        ASSERT_EQ(DescribeDifference(Bytes(expected), Bytes(actual)), "") << flags;
    }
}

/// New pixels that no conversion writes: half a pair at the end of a line, and what lies outside a region.
TEST(ConvertImage, NewPixelsAreNotThoseOfAnotherImage) {
    auto const leaveTraces = [] { MakeRandomImage(MFIF_CbYCrY_16, 9, 2, 1); };  // in memory that is handed out again
    Ref<IXFImage> const input = MakeRandomImage(MFIF_RGBA_RAW_32, 9, 2, 2),
                        other = MakeRandomImage(MFIF_RGBA_RAW_32, 9, 2, 3);
    Ref<IXFImage> made;
    leaveTraces();
    ASSERT_EQ(qzILConvertImage(input.Get(), made.Typed(), MFIF_CbYCrY_16, 0), 0);
    qzILBbox2l const part(0, 0, 4, 2);
    leaveTraces();
    ASSERT_EQ(qzILConvertImage(input.Get(), other.Get(), MFIF_CbYCrY_16, 0, &part, nullptr), 0);
    for (std::size_t i = 0; i < 36; ++i) {
        EXPECT_TRUE(i % 18 < 16 || Bytes(made)[i] == 0) << "byte " << i;
        EXPECT_TRUE(i % 18 < 8 || Bytes(other)[i] == 0) << "byte " << i;
    }
}

TEST(ConvertImage, AnAlphaPlaneThatIsNewIsFull) {
    Ref<IXFImage> const input = MakeRandomImage(MFIF_CbYCrY_16, 8, 4, 1);
    Ref<IXFImage> output;
    ASSERT_EQ(qzILConvertImage(input.Get(), output.Typed(), MFIF_CbYCrYA_24, 0), 0);
    EXPECT_EQ(std::ranges::count(Bytes(output).subspan(64), 255), 32);
}

/// BGRA goes through RGBA where no effect takes it.
TEST(ConvertImage, BgraGoesWhereRgbaGoes) {
    Ref<IXFImage> const rgba = MakeRandomImage(MFIF_RGBA_RAW_32, 8, 4, 1);
    Ref<IXFImage> bgra, direct, over, back;
    ASSERT_EQ(qzILConvertImage(rgba.Get(), bgra.Typed(), MFIF_BGRA_RAW_32, 0), 0);
    ASSERT_EQ(qzILConvertImage(rgba.Get(), direct.Typed(), MFIF_RGBA_FLOAT, 0), 0);
    ASSERT_EQ(qzILConvertImage(bgra.Get(), over.Typed(), MFIF_RGBA_FLOAT, 0), 0);
    EXPECT_EQ(DescribeDifference(Bytes(direct), Bytes(over)), "");
    ASSERT_EQ(qzILConvertImage(over.Get(), back.Typed(), MFIF_BGRA_RAW_32, 0), 0);
    EXPECT_EQ(DescribeDifference(Bytes(bgra), Bytes(back)), "");
}

/// The chroma of a region is filtered from pixels around it.
TEST(ConvertImage, ARegionOfBgraHasTheNeighboursOfRgba) {
    Ref<IXFImage> const rgba = MakeRandomImage(MFIF_RGBA_RAW_32, 16, 6, 1);
    Ref<IXFImage> bgra;
    ASSERT_EQ(qzILConvertImage(rgba.Get(), bgra.Typed(), MFIF_BGRA_RAW_32, 0), 0);
    MakeRandomImage(MFIF_RGBA_RAW_32, 16, 6, 2);  // its memory may be handed out again
    qzILBbox2l const part(4, 1, 8, 3);
    qzILVector2l const place(2, 0);
    Ref<IXFImage> const expected = MakeImage(MFIF_CbYCrY_FLOAT, 16, 6), actual = MakeImage(MFIF_CbYCrY_FLOAT, 16, 6);
    ASSERT_EQ(qzILConvertImage(rgba.Get(), expected.Get(), GUID_NULL, 1, &part, &place), 0);
    ASSERT_EQ(qzILConvertImage(bgra.Get(), actual.Get(), GUID_NULL, 1, &part, &place), 0);
    EXPECT_EQ(DescribeDifference(Bytes(expected), Bytes(actual)), "");
}

/// The page that tells which pairs are converted: formats that go to and come from the same formats share a line.
std::string MatrixPage() {
    auto const formats = AllFormats();
    // Whether two formats go to and come from the same others; only copied, a format does not tell itself apart.
    auto const isLike = [&formats](GUID const& a, GUID const& b) {
        return std::ranges::all_of(formats, [&](NamedFormat const& other) {
            GUID const& c = other.oFormat;
            return c == a || c == b || (CanConvert(a, c) == CanConvert(b, c) && CanConvert(c, a) == CanConvert(c, b));
        });
    };
    std::vector<std::vector<std::size_t>> groups;
    for (std::size_t i = 0; i < formats.size(); ++i) {
        auto const group = std::ranges::find_if(
            groups, [&](auto const& g) { return isLike(formats[g[0]].oFormat, formats[i].oFormat); });
        if (group != groups.end()) {
            group->push_back(i);
        } else {
            groups.emplace_back(1, i);
        }
    }
    std::ostringstream page;
    page << "# Conversions\n\nWhich formats `qzILConvertImage` converts, written by the tests from what the library "
            "answers. Rows are\nsources, columns targets: `x` is converted, `c` is copied, an empty field gives "
            "0x80004005. Within a line of formats,\nany two that differ are converted where its own field says `x`.\n\n"
            "| | formats |\n|--:|---|\n";
    for (std::size_t g = 0; g < groups.size(); ++g) {
        page << "| " << g + 1 << " |";
        for (std::size_t const i : groups[g]) page << " `" << formats[i].pName << '`';
        page << " |\n";
    }
    page << "\n| |";
    for (std::size_t g = 0; g < groups.size(); ++g) page << ' ' << g + 1 << " |";
    page << "\n|--:|";
    for (std::size_t g = 0; g < groups.size(); ++g) page << ":-:|";
    page << '\n';
    for (std::size_t a = 0; a < groups.size(); ++a) {
        page << "| " << a + 1 << " |";
        for (std::size_t b = 0; b < groups.size(); ++b) {
            bool const alone = a == b && groups[a].size() == 1;
            std::size_t const to = a == b && !alone ? groups[b][1] : groups[b][0];
            bool const converts = CanConvert(formats[groups[a][0]].oFormat, formats[to].oFormat);
            page << (alone ? " c |" : converts ? " x |" : " |");
        }
        page << '\n';
    }
    return page.str();
}

TEST(ConvertImage, EveryPairConvertsOrFailsAsThePageSays) {
    for (NamedFormat const& from : AllFormats()) {
        Ref<IXFImage> const input = MakeRandomImage(from.oFormat, 4, 4, 3);
        if (!input || Bytes(input).empty()) continue;
        for (NamedFormat const& to : AllFormats()) {
            Ref<IXFImage> output;
            HRESULT const result = qzILConvertImage(input.Get(), output.Typed(), to.oFormat, 0);
            if (CanConvert(from.oFormat, to.oFormat)) {
                ASSERT_EQ(result, 0) << from.pName << " to " << to.pName;
            } else {
                ASSERT_LT(result, 0) << from.pName << " to " << to.pName;
                ASSERT_FALSE(output);
            }
        }
    }
    std::string const path = QZIL_SOURCE_DIR "/docs/conversions.md";
    if (std::getenv("QZIL_UPDATE_CONVERSIONS")) std::ofstream(path) << MatrixPage();
    std::stringstream text;
    text << std::ifstream(path).rdbuf();
    EXPECT_EQ(text.str(), MatrixPage()) << "QZIL_UPDATE_CONVERSIONS=1 writes the page anew";
}

}  // namespace
}  // namespace qzil::test
