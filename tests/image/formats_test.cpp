#include "qzil/image/formats.h"

#include "image/image_questions.h"
#include "qzil/image/format_relations.h"
#include "qzil/image/image_ops.h"
#include "support/picture.h"
#include "support/table.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <set>

namespace {

using namespace qzil::test;
using qzil::platform::kFailure;

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

template <class Check>
void ForEveryFormat(Check check) {
    auto const rows = ReadTable("image/formats.tsv");
    EXPECT_EQ(rows.size(), 90u);
    for (Row const& row : rows) {
        SCOPED_TRACE(row["format"]);
        check(FormatNamed(row["format"]), row);
    }
}

void ExpectAttributes(GUID const& format, Row const& row) {
    EXPECT_EQ(GetChannelTypeFromFormat(format), static_cast<unsigned>(row.Number("type")));
    EXPECT_EQ(GetNumOfChannelsFromFormat(format), static_cast<unsigned>(row.Number("channels")));
    EXPECT_EQ(GetChannelSizeFromFormat(format), static_cast<unsigned>(row.Number("channel size")));
    EXPECT_EQ(GetPixelSizeFromFormat(format), static_cast<unsigned>(row.Number("pixel size")));
    EXPECT_EQ(GetColorModelFromFormat(format), static_cast<unsigned>(row.Number("model")));
    for (auto const& [letter, function] : kPredicates) {
        EXPECT_EQ(function(format), row["predicates"].find(letter) != std::string::npos) << letter;
    }
}

TEST(Formats, EveryAttributeOfEveryFormat) {
    std::set<std::string> identifiers;
    ForEveryFormat([&](GUID const& format, Row const& row) {
        ExpectAttributes(format, row);
        EXPECT_EQ(qzil::FormatName(format) == nullptr, format == kUnknown);
        if (format == kUnknown) return;
        EXPECT_EQ(TextOf(format), row["identifier"]);
        EXPECT_TRUE(identifiers.insert(row["identifier"]).second) << "given twice";
        EXPECT_EQ(qzil::FormatName(format), "MFIF_" + row["format"]);
    });
    EXPECT_EQ(qzil::AllFormats().size(), identifiers.size());
    GUID nearRgba = MFIF_RGBA_RAW_32;
    nearRgba.Data4[7] ^= 1;
    for (GUID const& format : {GUID_NULL, nearRgba}) ExpectAttributes(format, ReadTable("image/formats.tsv").back());
}

TEST(Formats, SettingAFormatStoresWhatItGivesAndKeepsTheRest) {
    ForEveryFormat([](GUID const& format, Row const& row) {
        qzil::Ref<IXFImage> image;
        ASSERT_EQ(qzILCreateImage(nullptr, IID_IXFImage, image.Out()), 0);
        image->SetChannelType(72);
        image->SetNumChannels(73);
        image->SetChannelSize(71);
        image->SetPixelSize(74);
        image->SetCompress(75);
        EXPECT_EQ(image->SetFormat(format), 0);
        EXPECT_EQ(FormatOf(image.Get()), format);
        unsigned stored[4] = {};
        int compress = 0;
        image->GetChannelType(&stored[0]);
        image->GetNumChannels(&stored[1]);
        image->GetChannelSize(&stored[2]);
        image->GetPixelSize(&stored[3]);
        image->GetCompress(&compress);
        std::vector<int> actual(std::begin(stored), std::end(stored));
        actual.push_back(compress);
        EXPECT_EQ(actual, row.Numbers("stored"));
    });
}

using Relation = HRESULT (*)(GUID const&, GUID*);

template <XFChannelType kType>
HRESULT AtType(GUID const& format, GUID* result) {
    return qzILConvertFormatBasedOnChannelType(format, kType, result);
}

/// A related format gives 0, the format itself as its own relation 1, and none the failure.
void ExpectRelation(Relation relation, GUID const& format, std::string const& cell) {
    GUID result = CLSID_ILImage;  // what writes nothing is found out
    bool const same = cell == "=";
    EXPECT_EQ(relation(format, &result), same ? 1 : cell == "-" ? kFailure : 0);
    EXPECT_EQ(NameOf(result), NameOf(FormatNamed(cell, format)));
}

TEST(Relations, OfEveryFormat) {
    std::map<std::string, Relation> const relations{{"with alpha", qzILFindAssociateImageFormatWithAlpha},
                                                    {"without alpha", qzILFindAssociateImageFormatWithoutAlpha},
                                                    {"lower precision", qzILFindAssociateImageFormatWithLowerPrecision},
                                                    {"chroma first", qzILFindAssociateAltYUVImageFormat},
                                                    {"chroma first frame", qzILFindAssociateAltYUVNonSFImageFormat},
                                                    {"uint8", AtType<2>},
                                                    {"s2.14", AtType<4>},
                                                    {"uint16", AtType<8>},
                                                    {"float", AtType<64>}};
    ForEveryFormat([&](GUID const& format, Row const& row) {
        for (auto const& [column, relation] : relations) {
            SCOPED_TRACE(column);
            ExpectRelation(relation, format, row[column]);
        }
        for (Relation other :
             {AtType<0>, AtType<1>, AtType<6>, AtType<16>, AtType<32>, AtType<66>, AtType<0xFFFFFFFF>}) {
            ExpectRelation(other, format, "-");
        }
    });
}

TEST(Relations, WorkingFormats) {
    ForEveryFormat([](GUID const& format, Row const& row) {
        GUID result = GUID_NULL;
        EXPECT_EQ(qzILFindAssociateRGBImageFormat(format, &result), row["rgb"] == "=");
        EXPECT_EQ(NameOf(result), NameOf(FormatNamed(row["rgb"], format)));
        for (XFColorModel model : {64u, 0xFFFFFFFFu, 512u, 0u, 1u, 4096u}) {
            std::string const& cell = row[model == 64 || model == 0xFFFFFFFF ? "ycc 601" : "ycc 709"];
            EXPECT_EQ(qzILFindAssociateYCCImageFormat(format, &result, model), cell == "=");
            EXPECT_EQ(NameOf(result), NameOf(FormatNamed(cell, format))) << "model " << model;
        }
    });
}

TEST(Relations, PlanesOfASeparateAlphaFormat) {
    ForEveryFormat([](GUID const& format, Row const& row) {
        GUID color = CLSID_ILImage, alpha = CLSID_ILImage;
        bool const splits = row["colour plane"] != "-";
        EXPECT_EQ(qzILSplitYCCAImageFormat(format, &color, &alpha), splits ? 0 : kFailure);
        EXPECT_EQ(NameOf(color), NameOf(FormatNamed(row["colour plane"])));
        EXPECT_EQ(NameOf(alpha), NameOf(FormatNamed(row["alpha plane"])));
    });
}

TEST(Relations, PrecisionComparesChannelSizes) {
    for (auto const& a : qzil::AllFormats()) {
        for (auto const& b : qzil::AllFormats()) {
            unsigned const sizeA = GetChannelSizeFromFormat(a.oFormat), sizeB = GetChannelSizeFromFormat(b.oFormat);
            ASSERT_EQ(qzILIsEqualPrecisionFormat(a.oFormat, b.oFormat), sizeA == sizeB);
            ASSERT_EQ(qzILIsLowerPrecisionFormat(a.oFormat, b.oFormat), sizeA < sizeB);
        }
    }
}

}  // namespace
