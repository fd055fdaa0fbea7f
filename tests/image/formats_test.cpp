#include "qzil/image/formats.h"

#include "qzil/image/format_relations.h"
#include "qzil/image/image_ops.h"
#include "support/picture.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <set>

namespace {

/// What is expected of a format, written down apart from the library's own table.
struct FormatRow {
    char const* pName;
    GUID oNamed;  ///< the library's constant
    char const* pText;
    unsigned uType;
    unsigned uChannels;
    unsigned uChannelSize;
    unsigned uPixelSize;
    unsigned uModel;
    std::string_view oTrue;

    bool Is(char letter) const { return oTrue.find(letter) != std::string_view::npos; }
};

constexpr FormatRow kFormatRows[] = {
#define QZIL_FORMAT(name, text, type, channels, channelSize, pixelSize, model, letters) \
    {#name, name, text, type, channels, channelSize, pixelSize, model, letters},
#include "image/format_table.inc"
#undef QZIL_FORMAT
};

struct Predicate {
    char cLetter;
    bool (*pFunction)(GUID const&);
};
constexpr Predicate kPredicates[] = {
    {'R', IsFormatRGB},           {'M', IsFormatMono},        {'Y', IsFormatYCC},
    {'a', IsFormatYCCA},          {'2', IsFormatYCC422},      {'4', IsFormatYCCA4444},
    {'U', IsFormatAlternateYUV},  {'A', IsFormatWithAlpha},   {'S', IsFormatWithSeparateAlpha},
    {'T', IsFormatTopDown},       {'V', IsFormatVideoLevels}, {'6', IsFormat601},
    {'7', IsFormat709},           {'P', IsFormat10_6},        {'Q', IsFormat10_6YCC422},
    {'f', IsFormatFloat},         {'s', IsFormatS2_14},       {'F', IsFormatSplitField},
    {'E', IsFormatSplitFieldEven}};

std::string TextOf(GUID const& guid) {
    char text[37];
    std::snprintf(text, sizeof text, "%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x", guid.Data1, guid.Data2,
                  guid.Data3, guid.Data4[0], guid.Data4[1], guid.Data4[2], guid.Data4[3], guid.Data4[4], guid.Data4[5],
                  guid.Data4[6], guid.Data4[7]);
    return text;
}

void ExpectAttributes(GUID const& format, FormatRow const& row) {
    EXPECT_EQ(GetChannelTypeFromFormat(format), row.uType);
    EXPECT_EQ(GetNumOfChannelsFromFormat(format), row.uChannels);
    EXPECT_EQ(GetChannelSizeFromFormat(format), row.uChannelSize);
    EXPECT_EQ(GetPixelSizeFromFormat(format), row.uPixelSize);
    EXPECT_EQ(GetColorModelFromFormat(format), row.uModel);
    for (auto const& predicate : kPredicates) {
        EXPECT_EQ(predicate.pFunction(format), row.Is(predicate.cLetter)) << predicate.cLetter;
    }
}

TEST(Formats, EveryAttributeOfEveryFormat) {
    std::set<std::string> texts;
    for (auto const& row : kFormatRows) {
        SCOPED_TRACE(row.pName);
        EXPECT_EQ(TextOf(row.oNamed), row.pText);
        EXPECT_TRUE(texts.insert(row.pText).second) << "identifier given twice";
        ExpectAttributes(row.oNamed, row);
    }
    EXPECT_EQ(texts.size(), 89u);
}

TEST(Formats, AnIdentifierThatNobodyKnowsPassesTheNegativeTestsOnly) {
    GUID nearRgba = MFIF_RGBA_RAW_32;
    nearRgba.Data4[7] ^= 1;
    for (GUID const& format : {GUID_NULL, nearRgba, CLSID_ILImage}) {
        SCOPED_TRACE(TextOf(format));
        ExpectAttributes(format, {"", format, "", 0, 0, 0, 0, 0, "Y2UT"});
        EXPECT_EQ(qzil::FormatName(format), nullptr);
    }
}

TEST(Formats, MemoryFormOfAnIdentifierIsLittleEndianInItsFirstThreeGroups) {
    constexpr unsigned char kBytes[16] = {0xe6, 0x57, 0x50, 0x25, 0xe1, 0x48, 0x11, 0x41,
                                          0xae, 0x69, 0x45, 0x6a, 0x91, 0x5a, 0x56, 0x3d};
    EXPECT_EQ(std::memcmp(&MFIF_RGBA_RAW_32_VIDEO, kBytes, 16), 0);
    EXPECT_TRUE(IsEqualGUID(MFIF_RGBA_RAW_32_VIDEO, MFIF_RGBA_RAW_32_VIDEO));
    EXPECT_FALSE(IsEqualGUID(MFIF_RGBA_RAW_32_VIDEO, GUID_NULL));
}

TEST(Formats, TheListNamesEveryFormatOnce) {
    std::map<std::string, GUID> listed;
    for (auto const& entry : qzil::AllFormats()) {
        EXPECT_TRUE(listed.emplace(entry.pName, entry.oFormat).second) << entry.pName;
    }
    EXPECT_EQ(listed.size(), std::size(kFormatRows));
    for (auto const& row : kFormatRows) {
        ASSERT_TRUE(listed.contains(row.pName)) << row.pName;
        EXPECT_EQ(listed[row.pName], row.oNamed) << row.pName;
        EXPECT_STREQ(qzil::FormatName(row.oNamed), row.pName);
    }
}

struct Stored {
    unsigned uChannelSize, uType, uChannels, uPixelSize;
    int iCompress;
    bool operator==(Stored const&) const = default;
    friend std::ostream& operator<<(std::ostream& stream, Stored const& s) {
        return stream << "size " << s.uChannelSize << " type " << s.uType << " channels " << s.uChannels << " pixel "
                      << s.uPixelSize << " compress " << s.iCompress;
    }
};
constexpr Stored kBefore{71, 72, 73, 74, 75};

Stored AfterSetFormat(GUID const& format) {
    qzil::Ref<IXFImage> image;
    EXPECT_EQ(qzILCreateImage(nullptr, IID_IXFImage, image.Out()), 0);
    image->SetChannelSize(kBefore.uChannelSize);
    image->SetChannelType(kBefore.uType);
    image->SetNumChannels(kBefore.uChannels);
    image->SetPixelSize(kBefore.uPixelSize);
    image->SetCompress(kBefore.iCompress);
    EXPECT_EQ(image->SetFormat(format), 0);
    EXPECT_EQ(qzil::test::FormatOf(image.Get()), format);
    Stored stored{};
    image->GetChannelSize(&stored.uChannelSize);
    image->GetChannelType(&stored.uType);
    image->GetNumChannels(&stored.uChannels);
    image->GetPixelSize(&stored.uPixelSize);
    image->GetCompress(&stored.iCompress);
    return stored;
}

TEST(Formats, SettingAFormatStoresWhatItGivesAndKeepsTheRest) {
    std::map<GUID, Stored> exceptions{
        {MFIF_RGBA_RAW_32_VIDEO, {1, 2, 4, 4, 0}},
        {MFIF_DIB_RAW_24, {1, 2, 3, 3, 0}},
        {MFIF_RGB_RAW_48, {2, 8, 3, 6, 0}},
        {MFIF_RGB_HF_BU, {2, 8, 3, 6, 0}},
        {MFIF_RGBA_HF_BU, {2, 8, 4, 8, 0}},
        {MFIF_MONO_HF_BU, {2, 8, 1, 2, 0}},
        {MFIF_RGB_JPEG_32_T2K_XF, {1, 2, 1, 4, 1}},
        {MFIF_GENERIC, kBefore},
        {MFIF_RGB_S2_14, kBefore},
    };
    Stored compressedOnly = kBefore;
    compressedOnly.iCompress = 1;
    for (GUID const& format :
         {MFIF_RGB_JPEG_24, MFIF_MONO_JPEG_8, MFIF_MONO_RAW_10, MFIF_CbYCrY_20, MFIF_CbYCrY_20_FR, MFIF_CbYCrY709_20,
          MFIF_CbYCrY709_20_FR, MFIF_CbYCrYA_30, MFIF_CbYCrYA_30_FR, MFIF_CbYCrY709A_30, MFIF_CbYCrY709A_30_FR}) {
        exceptions.emplace(format, compressedOnly);
    }
    for (auto const& row : kFormatRows) {
        auto const found = exceptions.find(row.oNamed);
        Stored const expected = found != exceptions.end()
                                    ? found->second
                                    : Stored{row.uChannelSize, row.uType, row.uChannels, row.uPixelSize, 0};
        EXPECT_EQ(AfterSetFormat(row.oNamed), expected) << row.pName;
    }
    EXPECT_EQ(AfterSetFormat(CLSID_ILImage), kBefore) << "a format that nobody knows";
}

using qzil::platform::kFailure;
using qzil::test::NameOf;

using Pairs = std::map<GUID, GUID>;
using Relation = HRESULT (*)(GUID const&, GUID*);

struct Answer {
    HRESULT iResult;
    GUID oFormat;
};

// Asks with a result that is preset, so that a function that writes nothing is found out.
Answer Ask(Relation relation, GUID const& format) {
    Answer answer{12345, CLSID_ILImage};
    answer.iResult = relation(format, &answer.oFormat);
    return answer;
}

GUID const kUnknown = CLSID_ILImage;

// Every format of the library and one that nobody knows.
std::vector<GUID> EveryFormat() {
    std::vector<GUID> all;
    for (auto const& row : kFormatRows) all.push_back(row.oNamed);
    all.push_back(kUnknown);
    return all;
}

void ExpectAnswer(Relation relation, GUID const& format, HRESULT result, GUID const& sibling) {
    auto const answer = Ask(relation, format);
    EXPECT_EQ(answer.iResult, result) << NameOf(format);
    EXPECT_EQ(answer.oFormat, sibling) << NameOf(format) << " gives " << NameOf(answer.oFormat) << ", not "
                                       << NameOf(sibling);
}

// Rows give 0 and their sibling; formats that have the property 1 and themselves; all others the failure.
void ExpectTable(Relation relation, Pairs const& rows, bool (*hasProperty)(GUID const&)) {
    for (GUID const& format : EveryFormat()) {
        if (auto const row = rows.find(format); row != rows.end()) {
            ExpectAnswer(relation, format, 0, row->second);
        } else if (hasProperty(format)) {
            ExpectAnswer(relation, format, 1, format);
        } else {
            ExpectAnswer(relation, format, kFailure, GUID_NULL);
        }
    }
}

TEST(Relations, PrecisionComparesChannelSizes) {
    for (auto const& a : kFormatRows) {
        for (auto const& b : kFormatRows) {
            ASSERT_EQ(qzILIsEqualPrecisionFormat(a.oNamed, b.oNamed), a.uChannelSize == b.uChannelSize);
            ASSERT_EQ(qzILIsLowerPrecisionFormat(a.oNamed, b.oNamed), a.uChannelSize < b.uChannelSize);
        }
    }
}

TEST(Relations, WorkingRgbFormat) {
    std::vector<GUID> const s2_14{MFIF_CbYCrY_S2_14,         MFIF_CbYCrYA_S2_14,  MFIF_CbYCrY709_S2_14,
                                  MFIF_CbYCrY709A_S2_14,     MFIF_MONO_S2_14,     MFIF_CbYCrA_S2_14_4444,
                                  MFIF_CbYCr709A_S2_14_4444, MFIF_CbYCrY_10_6,    MFIF_CbYCrY709_10_6,
                                  MFIF_CbYCrYA_10_6,         MFIF_CbYCrY709A_10_6};
    std::vector<GUID> const floats{MFIF_CbYCrY_FLOAT,      MFIF_CbYCrYA_FLOAT,       MFIF_CbYCrY709_FLOAT,
                                   MFIF_CbYCrY709A_FLOAT,  MFIF_MONO_FLOAT,          MFIF_MONO_FLOAT_BU,
                                   MFIF_CbYCrA_FLOAT_4444, MFIF_CbYCr709A_FLOAT_4444};
    for (auto const& row : kFormatRows) {
        GUID result = kUnknown;
        EXPECT_EQ(qzILFindAssociateRGBImageFormat(row.oNamed, &result), row.Is('R')) << row.pName;
        GUID const expected = row.Is('R')                          ? row.oNamed
                              : qzil::Contains(floats, row.oNamed) ? MFIF_RGBA_FLOAT
                              : qzil::Contains(s2_14, row.oNamed)  ? MFIF_RGBA_S2_14
                                                                   : MFIF_RGBA_RAW_32;
        EXPECT_EQ(result, expected) << row.pName;
    }
}

TEST(Relations, WorkingYccFormat) {
    // float, S2.14, other; each with and without alpha; each 601 and 709
    GUID const choice[3][2][2] = {
        {{MFIF_CbYCrYA_FLOAT, MFIF_CbYCrY709A_FLOAT}, {MFIF_CbYCrY_FLOAT, MFIF_CbYCrY709_FLOAT}},
        {{MFIF_CbYCrYA_S2_14, MFIF_CbYCrY709A_S2_14}, {MFIF_CbYCrY_S2_14, MFIF_CbYCrY709_S2_14}},
        {{MFIF_CbYCrYA_24, MFIF_CbYCrY709A_24}, {MFIF_CbYCrY_16, MFIF_CbYCrY709_16}}};
    for (auto const& row : kFormatRows) {
        for (XFColorModel model : {64u, 0xFFFFFFFFu, 512u, 0u, 1u, 4096u}) {
            GUID result = kUnknown;
            bool const isYcc = qzILFindAssociateYCCImageFormat(row.oNamed, &result, model);
            EXPECT_EQ(isYcc, row.Is('Y')) << row.pName;
            int const type = row.Is('f') ? 0 : row.Is('s') ? 1 : 2;
            bool const is601 = model == 64 || model == 0xFFFFFFFF;
            GUID const expected = row.Is('Y') ? row.oNamed : choice[type][row.Is('A') ? 0 : 1][is601 ? 0 : 1];
            EXPECT_EQ(result, expected) << row.pName << " model " << model;
        }
    }
}

/// Rows that lead several formats to one.
Pairs Rows(std::initializer_list<std::pair<std::vector<GUID>, GUID>> lists) {
    Pairs rows;
    for (auto const& [from, to] : lists) {
        for (GUID const& format : from) rows.emplace(format, to);
    }
    return rows;
}

Pairs const& WithAlphaRows() {
    static Pairs const l_oRows = Rows({
        {{MFIF_RGB_RAW_24}, MFIF_RGBA_RAW_32},
        {{MFIF_RGB_S2_14}, MFIF_RGBA_S2_14},
        {{MFIF_RGB_FLOAT}, MFIF_RGBA_FLOAT},
        {{MFIF_RGB_FLOAT_BU}, MFIF_RGBA_FLOAT_BU},
        {{MFIF_CbYCrY_16, MFIF_CbYCrY_16_SF_TFL, MFIF_CbYCrY_16_SF_TFF}, MFIF_CbYCrYA_24},
        {{MFIF_CbYCrY709_16, MFIF_CbYCrY709_16_SF_TFL, MFIF_CbYCrY709_16_SF_TFF}, MFIF_CbYCrY709A_24},
        {{MFIF_CbYCrY_16_FR}, MFIF_CbYCrYA_24_FR},
        {{MFIF_CbYCrY709_16_FR}, MFIF_CbYCrY709A_24_FR},
        {{MFIF_CbYCrY_S2_14}, MFIF_CbYCrYA_S2_14},
        {{MFIF_CbYCrY709_S2_14}, MFIF_CbYCrY709A_S2_14},
        {{MFIF_CbYCrY_FLOAT}, MFIF_CbYCrYA_FLOAT},
        {{MFIF_CbYCrY709_FLOAT}, MFIF_CbYCrY709A_FLOAT},
        {{MFIF_CbYCrY_20}, MFIF_CbYCrYA_30},
        {{MFIF_CbYCrY709_20}, MFIF_CbYCrY709A_30},
        {{MFIF_CbYCrY_20_FR}, MFIF_CbYCrYA_30_FR},
        {{MFIF_CbYCrY709_20_FR}, MFIF_CbYCrY709A_30_FR},
        {{MFIF_CbYCrY_10_6}, MFIF_CbYCrYA_10_6},
        {{MFIF_CbYCrY709_10_6}, MFIF_CbYCrY709A_10_6},
        {{MFIF_CbYCrY_10_6_FR}, MFIF_CbYCrYA_10_6_FR},
        {{MFIF_CbYCrY709_10_6_FR}, MFIF_CbYCrY709A_10_6_FR},
        {{MFIF_YCC_422_16, MFIF_YCC_422_16_SF_NTSC, MFIF_YCC_422_16_SF_PAL}, MFIF_YCCA_24},
        {{MFIF_YCC709_422_16, MFIF_YCC709_422_16_SF_EVEN, MFIF_YCC709_422_16_SF_ODD}, MFIF_YCC709A_24},
    });
    return l_oRows;
}

TEST(Relations, SiblingWithAlpha) {
    ExpectTable(qzILFindAssociateImageFormatWithAlpha, WithAlphaRows(), IsFormatWithAlpha);
}

/// The way back; interlaced siblings lie on no way back.
Pairs WithoutAlphaRows() {
    Pairs rows;
    for (auto const& [without, with] : WithAlphaRows()) {
        if (!IsFormatSplitField(without)) rows.emplace(with, without);
    }
    return rows;
}

TEST(Relations, SiblingWithoutAlpha) {
    ExpectTable(qzILFindAssociateImageFormatWithoutAlpha, WithoutAlphaRows(),
                [](GUID const& format) { return !IsFormatWithAlpha(format); });
}

TEST(Relations, LowerPrecision) {
    Pairs const rows = Rows({
        {{MFIF_RGBA_FLOAT, MFIF_RGBA_FLOAT_BU}, MFIF_RGBA_S2_14},
        {{MFIF_RGBA_S2_14}, MFIF_RGBA_RAW_32},
        {{MFIF_MONO_FLOAT}, MFIF_MONO_S2_14},
        {{MFIF_MONO_S2_14}, MFIF_MONO_RAW_8},
        {{MFIF_CbYCrY_FLOAT}, MFIF_CbYCrY_S2_14},
        {{MFIF_CbYCrYA_FLOAT}, MFIF_CbYCrYA_S2_14},
        {{MFIF_CbYCrY709_FLOAT}, MFIF_CbYCrY709_S2_14},
        {{MFIF_CbYCrY709A_FLOAT}, MFIF_CbYCrY709A_S2_14},
        {{MFIF_CbYCrY_S2_14, MFIF_CbYCrY_10_6}, MFIF_CbYCrY_16},
        {{MFIF_CbYCrY709_S2_14, MFIF_CbYCrY709_10_6}, MFIF_CbYCrY709_16},
        {{MFIF_CbYCrYA_S2_14, MFIF_CbYCrYA_10_6}, MFIF_CbYCrYA_24},
        {{MFIF_CbYCrY709A_S2_14, MFIF_CbYCrY709A_10_6}, MFIF_CbYCrY709A_24},
        {{MFIF_CbYCrA_10_6_4444}, MFIF_CbYCrA_8_4444},
        {{MFIF_CbYCr709A_10_6_4444}, MFIF_CbYCr709A_8_4444},
    });
    ExpectTable(qzILFindAssociateImageFormatWithLowerPrecision, rows, [](GUID const&) { return false; });
}

TEST(Relations, ChromaFirst) {
    auto const serves = [](GUID const& format) { return IsFormatAlternateYUV(format) || !IsFormatYCC(format); };
    Pairs rows = Rows({{{MFIF_YCC_422_16}, MFIF_CbYCrY_16},
                       {{MFIF_YCC_422_16_SF_NTSC}, MFIF_CbYCrY_16_SF_TFL},
                       {{MFIF_YCC_422_16_SF_PAL}, MFIF_CbYCrY_16_SF_TFF},
                       {{MFIF_YCC709_422_16}, MFIF_CbYCrY709_16},
                       {{MFIF_YCC709_422_16_SF_EVEN}, MFIF_CbYCrY709_16_SF_TFL},
                       {{MFIF_YCC709_422_16_SF_ODD}, MFIF_CbYCrY709_16_SF_TFF}});
    ExpectTable(qzILFindAssociateAltYUVImageFormat, rows, serves);
    rows = Rows({{{MFIF_YCC_422_16, MFIF_YCC_422_16_SF_NTSC, MFIF_YCC_422_16_SF_PAL, MFIF_CbYCrY_16_SF_TFL,
                   MFIF_CbYCrY_16_SF_TFF},
                  MFIF_CbYCrY_16},
                 {{MFIF_YCC709_422_16, MFIF_YCC709_422_16_SF_EVEN, MFIF_YCC709_422_16_SF_ODD, MFIF_CbYCrY709_16_SF_TFL,
                   MFIF_CbYCrY709_16_SF_TFF},
                  MFIF_CbYCrY709_16}});
    ExpectTable(qzILFindAssociateAltYUVNonSFImageFormat, rows, serves);
}

template <XFChannelType kType>
HRESULT AtType(GUID const& format, GUID* result) {
    return qzILConvertFormatBasedOnChannelType(format, kType, result);
}

// Columns: RGB; 4:4:4:4 601, 709; alpha 601, 709; no alpha 601, 709.
void ExpectFamily(Relation relation, GUID const (&family)[7]) {
    for (auto const& row : kFormatRows) {
        int const place = row.Is('R') ? 0 : (row.Is('4') ? 1 : row.Is('a') ? 3 : 5) + (row.Is('6') ? 0 : 1);
        GUID const& expected = family[place];
        ExpectAnswer(relation, row.oNamed, expected == GUID_NULL ? kFailure : 0, expected);
    }
    ExpectAnswer(relation, kUnknown, 0, family[6]);
}

TEST(Relations, FamilyAtAChannelType) {
    ExpectFamily(AtType<2>, {MFIF_RGBA_RAW_32, MFIF_CbYCrA_8_4444, MFIF_CbYCr709A_8_4444, MFIF_CbYCrYA_24,
                             MFIF_CbYCrY709A_24, MFIF_CbYCrY_16, MFIF_CbYCrY709_16});
    ExpectFamily(AtType<4>, {MFIF_RGBA_S2_14, MFIF_CbYCrA_S2_14_4444, MFIF_CbYCr709A_S2_14_4444, MFIF_CbYCrYA_S2_14,
                             MFIF_CbYCrY709A_S2_14, MFIF_CbYCrY_S2_14, MFIF_CbYCrY709_S2_14});
    ExpectFamily(AtType<8>, {GUID_NULL, MFIF_CbYCrA_10_6_4444, MFIF_CbYCr709A_10_6_4444, MFIF_CbYCrYA_10_6,
                             MFIF_CbYCrY709A_10_6, MFIF_CbYCrY_10_6, MFIF_CbYCrY709_10_6});
    ExpectFamily(AtType<64>, {MFIF_RGBA_FLOAT, MFIF_CbYCrA_FLOAT_4444, MFIF_CbYCr709A_FLOAT_4444, MFIF_CbYCrYA_FLOAT,
                              MFIF_CbYCrY709A_FLOAT, MFIF_CbYCrY_FLOAT, MFIF_CbYCrY709_FLOAT});
    for (Relation other : {AtType<0>, AtType<1>, AtType<6>, AtType<16>, AtType<32>, AtType<66>, AtType<0xFFFFFFFF>}) {
        for (GUID const& format : EveryFormat()) ExpectAnswer(other, format, kFailure, GUID_NULL);
    }
    ExpectAnswer(AtType<2>, MFIF_MONO_RAW_8, 0, MFIF_CbYCrY709_16);
    ExpectAnswer(AtType<2>, MFIF_CbYCrYA_30, 0, MFIF_CbYCrY_16);
}

// The colour plane of a YCC format is its sibling without alpha; the alpha plane is mono and as deep.
TEST(Relations, PlanesOfASeparateAlphaFormat) {
    Pairs const siblings = WithoutAlphaRows();
    int split = 0;
    for (auto const& row : kFormatRows) {
        auto const sibling = siblings.find(row.oNamed);
        bool const splits = row.Is('Y') && sibling != siblings.end();
        GUID const mono = row.Is('s')                                                     ? MFIF_MONO_S2_14
                          : row.Is('f')                                                   ? MFIF_MONO_FLOAT
                          : std::string_view(row.pName).find("_30") != std::string::npos  ? MFIF_MONO_RAW_10
                          : std::string_view(row.pName).find("10_6") != std::string::npos ? MFIF_MONO_RAW_16_TD
                                                                                          : MFIF_MONO_RAW_8_TD;
        GUID color = kUnknown, alpha = kUnknown;
        EXPECT_EQ(qzILSplitYCCAImageFormat(row.oNamed, &color, &alpha), splits ? 0 : kFailure) << row.pName;
        EXPECT_EQ(color, splits ? sibling->second : GUID_NULL) << row.pName;
        EXPECT_EQ(alpha, splits ? mono : GUID_NULL) << row.pName;
        split += splits;
    }
    EXPECT_EQ(split, 18);
    GUID color = kUnknown, alpha = kUnknown;
    EXPECT_EQ(qzILSplitYCCAImageFormat(kUnknown, &color, &alpha), kFailure);
    EXPECT_EQ(color, GUID_NULL);
    EXPECT_EQ(alpha, GUID_NULL);
}

}  // namespace
