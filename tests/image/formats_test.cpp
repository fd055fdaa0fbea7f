#include "qzil/image/formats.h"

#include "image/format_rows.h"
#include "qzil/image/image_ops.h"
#include "support/picture.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <set>

namespace {

using qzil::test::FormatRow;
using qzil::test::kFormatRows;

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

}  // namespace
