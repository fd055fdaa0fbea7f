#include "catalog/catalog.h"
#include "qzil/frame/monadic.h"
#include "qzil/image/formats.h"
#include "qzil/image/image_helper.h"
#include "qzil/image/image_ops.h"
#include "support/table.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <set>
#include <stdexcept>

namespace qzil::catalog {
namespace {

using qzil::test::ReadTable;
using qzil::test::Row;

constexpr int kSide = 16;

Ref<IXFImage> MakeImage(GUID const& format, int fill) {
    Ref<IXFImage> image;
    if (qzILCreateAndAllocImage(nullptr, IID_IXFImage, kSide, kSide, format, image.Out()) < 0) return {};
    void* pPixels = nullptr;
    unsigned size = 0;
    image->GetPixelArray(&pPixels);
    image->GetPixelArraySize(&size);
    std::memset(pPixels, fill, size);
    return image;
}

std::string Refusal(std::string const& effect, std::string const& parameter, std::string const& text) {
    try {
        ParseValue(*Find(effect)->FindParameter(parameter), text);
    } catch (std::invalid_argument const& error) {
        return error.what();
    }
    return "accepted";
}

TEST(Catalog, NamesAreUniqueAndDescribed) {
    std::set<std::string> names;
    for (Entry const& entry : Effects()) {
        EXPECT_TRUE(names.insert(entry.sName).second) << entry.sName;
        EXPECT_EQ(Find(entry.sName), &entry);
        EXPECT_FALSE(entry.sSummary.empty()) << entry.sName;
        std::set<std::string> parameters;
        for (Parameter const& parameter : entry.oParameters) {
            EXPECT_TRUE(parameters.insert(parameter.sName).second) << entry.sName << " " << parameter.sName;
            EXPECT_FALSE(parameter.sHelp.empty()) << entry.sName << " " << parameter.sName;
            EXPECT_EQ(parameter.sEffect, entry.sName);
        }
    }
    EXPECT_EQ(Find("no-such-effect"), nullptr);
}

/// The catalogue's range is the range of Verify.
TEST(Catalog, VerifyRefusesWhatTheRangeRefuses) {
    for (Entry const& entry : Effects()) {
        for (std::size_t i = 0; i < entry.oParameters.size(); ++i) {
            Parameter const& parameter = entry.oParameters[i];
            if (parameter.eKind != Kind::Real && parameter.eKind != Kind::Choice) continue;
            // Some choices are for some formats.
            auto const verifiesIn = [&](GUID const& format, Value const& value) {
                Ref<IXFImage> const image = MakeImage(format, 1), output = MakeImage(format, 0);
                Ref<IXFImage> const mask = MakeImage(MaskFormatFor(format), 1);
                Instance instance = entry.Make();
                for (std::size_t k = 0; k < entry.oInputs.size(); ++k) instance.SetInput(k, image.Get());
                if (!entry.IsSink()) instance.SetOutput(output.Get());
                instance.Effect().SetProcessingMode(15);
                instance.SetMask({0, 0, kSide, kSide}, mask.Get(), XFImageChannelMono);
                instance.Set(i, value);
                return instance.Effect().Verify() == 1;
            };
            auto const verifies = [&](Value const& value) {
                return std::ranges::any_of(entry.oFormats, [&](auto& format) { return verifiesIn(format, value); });
            };
            SCOPED_TRACE(entry.sName + " " + parameter.sName);
            if (parameter.eKind == Kind::Choice) {
                for (Choice const& choice : parameter.oChoices) EXPECT_TRUE(verifies(choice.iValue)) << choice.sName;
                EXPECT_EQ(verifies(99l), parameter.bOpen);
            } else {
                EXPECT_TRUE(verifies(parameter.oRange.dfMin));
                EXPECT_TRUE(verifies(parameter.oRange.dfMax));
                // Some effects hold their parameters in float.
                float const below = std::nextafter(static_cast<float>(parameter.oRange.dfMin), -1e9f);
                float const above = std::nextafter(static_cast<float>(parameter.oRange.dfMax), 1e9f);
                EXPECT_EQ(verifies(static_cast<double>(below)), parameter.bOpen);
                EXPECT_EQ(verifies(static_cast<double>(above)), parameter.bOpen);
            }
        }
    }
}

TEST(Catalog, RefusedTextsAreSentences) {
    for (Row const& row : ReadTable("catalog/refused_texts.tsv")) {
        std::string const said = Refusal(row["effect"], row["parameter"], row["text"]), &sentence = row["sentence"];
        EXPECT_TRUE(sentence.empty() ? said.find(" but takes ") != said.npos : said == sentence)
            << row["effect"] << ' ' << row["parameter"] << " '" << row["text"] << "': " << said;
    }
}

TEST(Catalog, ColorsAreReadAsWritten) {
    EXPECT_EQ(ParseColor("0.25,0.5,1"), qzILColor(0.25, 0.5, 1.0, 1.0));
    EXPECT_EQ(ParseColor("0,0,0,0.5"), qzILColor(0.0, 0.0, 0.0, 0.5));
    EXPECT_EQ(ParseColor("#ff0033"), qzILColor(1.0, 0.0, 0.2, 1.0));
    EXPECT_EQ(ParseColor("#00FF0033"), qzILColor(0.0, 1.0, 0.0, 0.2));
}

TEST(Catalog, TablesFollowTheirText) {
    auto const table = [](std::string const& effect, std::string const& text) {
        return std::get<std::shared_ptr<Lut const>>(ParseValue(Find(effect)->oParameters[0], text));
    };
    for (Row const& row : ReadTable("catalog/tables.tsv")) {
        std::vector<int> const samples = row.Numbers("samples");
        int const place = samples.size() == 1 ? samples[0] : samples[1] * 256 + samples[0];
        EXPECT_EQ(table(row["effect"], row["text"])->oBytes[static_cast<std::size_t>(place)], row.Number("entry"))
            << row["text"] << " of " << row["samples"];
    }
    EXPECT_EQ(table("lut", "invert")->oWords[10], 65525);
}

/// Sets an input after its tables, and the other way round, in both depths.
TEST(Catalog, LookUpTablesSuitTheDepthOfTheInput) {
    Entry const& entry = *Find("lut");
    for (bool tablesFirst : {true, false}) {
        Instance instance = entry.Make();
        for (GUID const& format : {MFIF_MONO_RAW_16, MFIF_MONO_RAW_8}) {
            Ref<IXFImage> const image = MakeImage(format, 0x10), output = MakeImage(format, 0);
            Value const invert = ParseValue(entry.oParameters[0], "invert");
            if (tablesFirst) instance.Set("curve", invert);
            instance.SetInput(0, image.Get());
            if (!tablesFirst) instance.Set("curve", invert);
            instance.SetOutput(output.Get());
            ASSERT_EQ(instance.Effect().Verify(), 1);
            ASSERT_EQ(instance.Effect().Execute(), 1);
            void* pPixels = nullptr;
            output->GetPixelArray(&pPixels);
            EXPECT_EQ(static_cast<unsigned char*>(pPixels)[0], 0xEF) << FormatName(format);
            EXPECT_EQ(static_cast<unsigned char*>(pPixels)[1], 0xEF) << FormatName(format);
        }
    }
}

/// Where only the dominant input has pixels, the output shows it; the rest is transparent black.
TEST(Catalog, DominantInputAndOffset) {
    for (bool dominantFirst : {true, false}) {
        for (bool b : {false, true}) {
            Instance instance = Find("blend")->Make();
            Ref<IXFImage> const imageA = MakeImage(MFIF_MONO_RAW_8, 100), imageB = MakeImage(MFIF_MONO_RAW_8, 200);
            Ref<IXFImage> const output = MakeImage(MFIF_MONO_RAW_8, 7);
            if (dominantFirst) instance.SetDominant(b);
            instance.SetInput(0, imageA.Get());
            instance.SetInput(1, imageB.Get());
            if (!dominantFirst) instance.SetDominant(b);
            instance.SetInputOffset({4, 0});
            instance.SetOutput(output.Get());
            ASSERT_EQ(instance.Effect().Verify(), 1);
            ASSERT_EQ(instance.Effect().Execute(), 1);
            qzILImageHelper const helper(output.Get());
            EXPECT_EQ(*helper.GetPixelPtr(0, 0), b ? 0 : 100);
            EXPECT_EQ(*helper.GetPixelPtr(4, 0), 150);
        }
    }
}

TEST(Catalog, WrongValuesAreRefused) {
    Instance instance = Find("blend")->Make();
    EXPECT_THROW(instance.Set("alpha", Value(true)), std::invalid_argument);
    EXPECT_THROW(instance.Set("opacity", Value(0.5)), std::invalid_argument);
    EXPECT_THROW(instance.Set(std::size_t{1}, Value(0.5)), std::out_of_range);
    EXPECT_THROW(instance.SetInput(2, nullptr), std::out_of_range);
}

TEST(Catalog, EveryErrorHasASentence) {
    Entry const& entry = *Find("composite");
    for (unsigned code : {0x10001u, 0x10006u, 0x1000Du, 0x10012u, 0x10017u, 0x10018u, 0x10034u, 0x10059u, 0x1005Au,
                          0x10060u, 0x1006Cu, 0x1006Du, 0x20001u, 0x20002u}) {
        std::string const sentence = ErrorSentence(entry, code);
        EXPECT_TRUE(sentence.starts_with("composite: ")) << sentence;
        EXPECT_EQ(sentence.find("failed with error"), std::string::npos) << sentence;
        EXPECT_TRUE(sentence.ends_with(").")) << sentence;
    }
    EXPECT_NE(ErrorSentence(entry, 0x1FFFFu).find("0x1FFFF"), std::string::npos);
}

}  // namespace
}  // namespace qzil::catalog
