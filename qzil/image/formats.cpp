#include "qzil/image/format_row.h"

#include <cstdint>

namespace qzil {
namespace {

// Rows that seem to contradict themselves do so deliberately: the pixel size 0 of MFIF_RGBA_RAW_32_VIDEO, the 0
// channels of MFIF_DIB_RAW_24, MFIF_MONO_RAW_16_TD not being top-down, the two MFIF_YCCA_RAW_* with alpha that are not
// YCCA, the _30 formats with separate alpha that are not YCCA, the _10_6_FR formats that are neither 10_6 nor have
// separate alpha, video levels for the 601 half of the 4:4:4:4 formats only, and MFIF_RGB_RAW_INDEX_8 being both RGB
// and YCC.
//
// Columns: type, channels, channel size, pixel size, colour model, predicates, forms of a colour, {what an image
// stores: channel size, type, channels, pixel size, compress}.
// clang-format off
constexpr FormatRow kRows[] = {
    {MFIF_RGBA_RAW_32, "MFIF_RGBA_RAW_32", 2, 4, 1, 4, 1, "RA", "b", {1, 2, 4, 4, 0}},
    {MFIF_RGBA_RAW_32_VIDEO, "MFIF_RGBA_RAW_32_VIDEO", 2, 4, 1, 0, 4096, "RAV", "b", {1, 2, 4, 4, 0}},
    {MFIF_DIB_RAW_32, "MFIF_DIB_RAW_32", 2, 4, 1, 4, 1, "RA", "b", {1, 2, 4, 4, 0}},
    {MFIF_BGRA_RAW_32, "MFIF_BGRA_RAW_32", 2, 4, 1, 4, 1, "RAT", "b", {1, 2, 4, 4, 0}},
    {MFIF_BGRA_RAW_32_VIDEO, "MFIF_BGRA_RAW_32_VIDEO", 2, 4, 1, 4, 4096, "RATV", "b", {1, 2, 4, 4, 0}},
    {MFIF_RGBA_S2_14, "MFIF_RGBA_S2_14", 4, 4, 2, 8, 1, "RATs", "s", {2, 4, 4, 8, 0}},
    {MFIF_RGBA_FLOAT, "MFIF_RGBA_FLOAT", 64, 4, 4, 16, 1, "RATf", "f", {4, 64, 4, 16, 0}},
    {MFIF_CbYCrY_16, "MFIF_CbYCrY_16", 2, 3, 1, 2, 64, "Y2UTV6", "b", {1, 2, 3, 2, 0}},
    {MFIF_CbYCrY_16_FR, "MFIF_CbYCrY_16_FR", 2, 3, 1, 2, 64, "Y2UT6", "b", {1, 2, 3, 2, 0}},
    {MFIF_CbYCrY_16_SF_TFL, "MFIF_CbYCrY_16_SF_TFL", 2, 3, 1, 2, 64, "Y2UTV6FE", "b", {1, 2, 3, 2, 0}},
    {MFIF_CbYCrY_16_SF_TFF, "MFIF_CbYCrY_16_SF_TFF", 2, 3, 1, 2, 64, "Y2UTV6F", "b", {1, 2, 3, 2, 0}},
    {MFIF_CbYCrYA_24, "MFIF_CbYCrYA_24", 2, 4, 1, 3, 64, "Ya2UASTV6", "b", {1, 2, 4, 3, 0}},
    {MFIF_CbYCrYA_24_FR, "MFIF_CbYCrYA_24_FR", 2, 4, 1, 3, 64, "Ya2UAST6", "b", {1, 2, 4, 3, 0}},
    {MFIF_CbYCrY_S2_14, "MFIF_CbYCrY_S2_14", 4, 3, 2, 4, 64, "Y2UTV6s", "s", {2, 4, 3, 4, 0}},
    {MFIF_CbYCrYA_S2_14, "MFIF_CbYCrYA_S2_14", 4, 4, 2, 6, 64, "Ya2UASTV6s", "s", {2, 4, 4, 6, 0}},
    {MFIF_CbYCrY_FLOAT, "MFIF_CbYCrY_FLOAT", 64, 3, 4, 8, 64, "Y2UTV6f", "f", {4, 64, 3, 8, 0}},
    {MFIF_CbYCrYA_FLOAT, "MFIF_CbYCrYA_FLOAT", 64, 4, 4, 12, 64, "Ya2UASTV6f", "f", {4, 64, 4, 12, 0}},
    {MFIF_CbYCrY709_16, "MFIF_CbYCrY709_16", 2, 3, 1, 2, 512, "Y2UTV7", "b", {1, 2, 3, 2, 0}},
    {MFIF_CbYCrY709_16_FR, "MFIF_CbYCrY709_16_FR", 2, 3, 1, 2, 512, "Y2UT7", "b", {1, 2, 3, 2, 0}},
    {MFIF_CbYCrY709_16_SF_TFL, "MFIF_CbYCrY709_16_SF_TFL", 2, 3, 1, 2, 512, "Y2UTV7FE", "b", {1, 2, 3, 2, 0}},
    {MFIF_CbYCrY709_16_SF_TFF, "MFIF_CbYCrY709_16_SF_TFF", 2, 3, 1, 2, 512, "Y2UTV7F", "b", {1, 2, 3, 2, 0}},
    {MFIF_CbYCrY709A_24, "MFIF_CbYCrY709A_24", 2, 4, 1, 3, 512, "Ya2UASTV7", "b", {1, 2, 4, 3, 0}},
    {MFIF_CbYCrY709A_24_FR, "MFIF_CbYCrY709A_24_FR", 2, 4, 1, 3, 512, "Ya2UAST7", "b", {1, 2, 4, 3, 0}},
    {MFIF_CbYCrY709_S2_14, "MFIF_CbYCrY709_S2_14", 4, 3, 2, 4, 512, "Y2UTV7s", "s", {2, 4, 3, 4, 0}},
    {MFIF_CbYCrY709A_S2_14, "MFIF_CbYCrY709A_S2_14", 4, 4, 2, 6, 512, "Ya2UASTV7s", "s", {2, 4, 4, 6, 0}},
    {MFIF_CbYCrY709_FLOAT, "MFIF_CbYCrY709_FLOAT", 64, 3, 4, 8, 512, "Y2UTV7f", "f", {4, 64, 3, 8, 0}},
    {MFIF_CbYCrY709A_FLOAT, "MFIF_CbYCrY709A_FLOAT", 64, 4, 4, 12, 512, "Ya2UASTV7f", "f", {4, 64, 4, 12, 0}},
    {MFIF_MONO_RAW_8, "MFIF_MONO_RAW_8", 2, 1, 1, 1, 2, "M", "1", {1, 2, 1, 1, 0}},
    {MFIF_MONO_RAW_8_TD, "MFIF_MONO_RAW_8_TD", 2, 1, 1, 1, 2, "MT", "1", {1, 2, 1, 1, 0}},
    {MFIF_MONO_RAW_16_TD, "MFIF_MONO_RAW_16_TD", 8, 1, 2, 2, 2, "M", "2", {2, 8, 1, 2, 0}},
    {MFIF_MONO_S2_14, "MFIF_MONO_S2_14", 4, 1, 2, 2, 2, "MTs", "3", {2, 4, 1, 2, 0}},
    {MFIF_MONO_FLOAT, "MFIF_MONO_FLOAT", 64, 1, 4, 4, 2, "MTf", "5", {4, 64, 1, 4, 0}},
    {MFIF_MONO_RAW_10, "MFIF_MONO_RAW_10", 0, 0, 0, 0, 2, "MT", "", {0, 0, 0, 0, 1}},
    {MFIF_CbYCrY_20, "MFIF_CbYCrY_20", 0, 0, 0, 0, 64, "Y2UTV6", "", {0, 0, 0, 0, 1}},
    {MFIF_CbYCrY_20_FR, "MFIF_CbYCrY_20_FR", 0, 0, 0, 0, 64, "Y2UT6", "", {0, 0, 0, 0, 1}},
    {MFIF_CbYCrY709_20, "MFIF_CbYCrY709_20", 0, 0, 0, 0, 512, "Y2UTV7", "", {0, 0, 0, 0, 1}},
    {MFIF_CbYCrY709_20_FR, "MFIF_CbYCrY709_20_FR", 0, 0, 0, 0, 512, "Y2UT7", "", {0, 0, 0, 0, 1}},
    {MFIF_CbYCrYA_30, "MFIF_CbYCrYA_30", 0, 0, 0, 0, 64, "Y2UASTV6", "", {0, 0, 0, 0, 1}},
    {MFIF_CbYCrYA_30_FR, "MFIF_CbYCrYA_30_FR", 0, 0, 0, 0, 64, "Y2UAST6", "", {0, 0, 0, 0, 1}},
    {MFIF_CbYCrY709A_30, "MFIF_CbYCrY709A_30", 0, 0, 0, 0, 512, "Y2UASTV7", "", {0, 0, 0, 0, 1}},
    {MFIF_CbYCrY709A_30_FR, "MFIF_CbYCrY709A_30_FR", 0, 0, 0, 0, 512, "Y2UAST7", "", {0, 0, 0, 0, 1}},
    {MFIF_CbYCrY_10_6, "MFIF_CbYCrY_10_6", 8, 3, 2, 4, 64, "Y2UTV6PQ", "t", {2, 8, 3, 4, 0}},
    {MFIF_CbYCrY709_10_6, "MFIF_CbYCrY709_10_6", 8, 3, 2, 4, 512, "Y2UTV7PQ", "t", {2, 8, 3, 4, 0}},
    {MFIF_CbYCrY_10_6_FR, "MFIF_CbYCrY_10_6_FR", 8, 3, 2, 4, 64, "Y2UT6", "t", {2, 8, 3, 4, 0}},
    {MFIF_CbYCrY709_10_6_FR, "MFIF_CbYCrY709_10_6_FR", 8, 3, 2, 4, 512, "Y2UT7", "t", {2, 8, 3, 4, 0}},
    {MFIF_CbYCrYA_10_6, "MFIF_CbYCrYA_10_6", 8, 4, 2, 6, 64, "Ya2UASTV6PQ", "t", {2, 8, 4, 6, 0}},
    {MFIF_CbYCrY709A_10_6, "MFIF_CbYCrY709A_10_6", 8, 4, 2, 6, 512, "Ya2UASTV7PQ", "t", {2, 8, 4, 6, 0}},
    {MFIF_CbYCrYA_10_6_FR, "MFIF_CbYCrYA_10_6_FR", 8, 4, 2, 6, 64, "Ya2UAT6", "t", {2, 8, 4, 6, 0}},
    {MFIF_CbYCrY709A_10_6_FR, "MFIF_CbYCrY709A_10_6_FR", 8, 4, 2, 6, 512, "Ya2UAT7", "t", {2, 8, 4, 6, 0}},
    {MFIF_CbYCrA_8_4444, "MFIF_CbYCrA_8_4444", 2, 4, 1, 4, 64, "Ya4UATV6", "bb~", {1, 2, 4, 4, 0}},
    {MFIF_CbYCr709A_8_4444, "MFIF_CbYCr709A_8_4444", 2, 4, 1, 4, 512, "Ya4UAT7", "bb~", {1, 2, 4, 4, 0}},
    {MFIF_CbYCrA_10_6_4444, "MFIF_CbYCrA_10_6_4444", 8, 4, 2, 8, 64, "Ya4UATV6P", "tt~", {2, 8, 4, 8, 0}},
    {MFIF_CbYCr709A_10_6_4444, "MFIF_CbYCr709A_10_6_4444", 8, 4, 2, 8, 512, "Ya4UAT7P", "tt~", {2, 8, 4, 8, 0}},
    {MFIF_CbYCrA_FLOAT_4444, "MFIF_CbYCrA_FLOAT_4444", 64, 4, 4, 16, 64, "Ya4UATV6f", "ff~", {4, 64, 4, 16, 0}},
    {MFIF_CbYCr709A_FLOAT_4444, "MFIF_CbYCr709A_FLOAT_4444", 64, 4, 4, 16, 512, "Ya4UAT7f", "ff~", {4, 64, 4, 16, 0}},
    {MFIF_CbYCrA_S2_14_4444, "MFIF_CbYCrA_S2_14_4444", 4, 4, 2, 8, 64, "Ya4UATV6s", "ss~", {2, 4, 4, 8, 0}},
    {MFIF_CbYCr709A_S2_14_4444, "MFIF_CbYCr709A_S2_14_4444", 4, 4, 2, 8, 512, "Ya4UAT7s", "ss~", {2, 4, 4, 8, 0}},
    {MFIF_RGB_RAW_24, "MFIF_RGB_RAW_24", 2, 3, 1, 3, 1, "R", ".b", {1, 2, 3, 3, 0}},
    {MFIF_RGB_S2_14, "MFIF_RGB_S2_14", 4, 3, 2, 6, 1, "RTs", ".s", {0, 0, 0, 0, -1}},
    {MFIF_RGB_FLOAT, "MFIF_RGB_FLOAT", 64, 3, 4, 12, 1, "RTf", ".f", {4, 64, 3, 12, 0}},
    {MFIF_GENERIC, "MFIF_GENERIC", 0, 0, 0, 0, 0, "Y2UT", "", {0, 0, 0, 0, -1}},
    {MFIF_YCC_422_16, "MFIF_YCC_422_16", 2, 3, 1, 2, 64, "Y2TV6", "b", {1, 2, 3, 2, 0}},
    {MFIF_YCC_422_16_SF_NTSC, "MFIF_YCC_422_16_SF_NTSC", 2, 3, 1, 2, 64, "Y2TV6FE", "b", {1, 2, 3, 2, 0}},
    {MFIF_YCC_422_16_SF_PAL, "MFIF_YCC_422_16_SF_PAL", 2, 3, 1, 2, 64, "Y2TV6F", "b", {1, 2, 3, 2, 0}},
    {MFIF_YCCA_24, "MFIF_YCCA_24", 2, 4, 1, 3, 64, "Ya2ASTV6", "b", {1, 2, 4, 3, 0}},
    {MFIF_YCC709_422_16, "MFIF_YCC709_422_16", 2, 3, 1, 2, 512, "Y2TV7", "b", {1, 2, 3, 2, 0}},
    {MFIF_YCC709_422_16_SF_EVEN, "MFIF_YCC709_422_16_SF_EVEN", 2, 3, 1, 2, 512, "Y2TV7FE", "b", {1, 2, 3, 2, 0}},
    {MFIF_YCC709_422_16_SF_ODD, "MFIF_YCC709_422_16_SF_ODD", 2, 3, 1, 2, 512, "Y2TV7F", "b", {1, 2, 3, 2, 0}},
    {MFIF_YCC709A_24, "MFIF_YCC709A_24", 2, 4, 1, 3, 512, "Ya2ASTV7", "b", {1, 2, 4, 3, 0}},
    {MFIF_RGBA_RAW_64, "MFIF_RGBA_RAW_64", 8, 4, 2, 8, 1, "RA", "w", {2, 8, 4, 8, 0}},
    {MFIF_RGB_RAW_48, "MFIF_RGB_RAW_48", 0, 0, 0, 0, 0, "Y2UT", ".w", {2, 8, 3, 6, 0}},
    {MFIF_MONO_RAW_16, "MFIF_MONO_RAW_16", 8, 1, 2, 2, 2, "M", "2", {2, 8, 1, 2, 0}},
    {MFIF_MONO_RAW_32, "MFIF_MONO_RAW_32", 32, 1, 4, 4, 2, "M", ".4", {4, 32, 1, 4, 0}},
    {MFIF_BGR_RAW_24, "MFIF_BGR_RAW_24", 2, 3, 1, 3, 1, "RT", ".b<", {1, 2, 3, 3, 0}},
    {MFIF_DIB_RAW_24, "MFIF_DIB_RAW_24", 2, 0, 1, 3, 1, "R", ".b<", {1, 2, 3, 3, 0}},
    {MFIF_HLSA_RAW_32, "MFIF_HLSA_RAW_32", 2, 4, 1, 4, 4, "A", ".b", {1, 2, 4, 4, 0}},
    {MFIF_HLSA_RAW_64, "MFIF_HLSA_RAW_64", 8, 4, 2, 8, 4, "A", ".w", {2, 8, 4, 8, 0}},
    {MFIF_RGB_RAW_INDEX_8, "MFIF_RGB_RAW_INDEX_8", 2, 1, 1, 1, 1, "RY2UT", "", {1, 2, 1, 1, 0}},
    {MFIF_RGB_JPEG_32_T2K_XF, "MFIF_RGB_JPEG_32_T2K_XF", 2, 1, 1, 4, 0, "Y2UT", "", {1, 2, 1, 4, 1}},
    {MFIF_RGB_JPEG_24, "MFIF_RGB_JPEG_24", 0, 0, 0, 0, 0, "Y2UT", "", {0, 0, 0, 0, 1}},
    {MFIF_MONO_JPEG_8, "MFIF_MONO_JPEG_8", 0, 0, 0, 0, 0, "Y2UT", "", {0, 0, 0, 0, 1}},
    {MFIF_YCCA_RAW_32, "MFIF_YCCA_RAW_32", 2, 4, 1, 4, 64, "Y2UAV6", "b", {1, 2, 4, 4, 0}},
    {MFIF_YCCA_RAW_64, "MFIF_YCCA_RAW_64", 8, 4, 2, 8, 64, "Y2UAV6", "w", {2, 8, 4, 8, 0}},
    {MFIF_MONO_FLOAT_BU, "MFIF_MONO_FLOAT_BU", 64, 1, 4, 4, 2, "Mf", "5", {4, 64, 1, 4, 0}},
    {MFIF_RGB_FLOAT_BU, "MFIF_RGB_FLOAT_BU", 64, 3, 4, 12, 1, "Rf", ".f", {4, 64, 3, 12, 0}},
    {MFIF_RGBA_FLOAT_BU, "MFIF_RGBA_FLOAT_BU", 64, 4, 4, 16, 1, "RAf", "f", {4, 64, 4, 16, 0}},
    {MFIF_MONO_HF_BU, "MFIF_MONO_HF_BU", 0, 0, 0, 0, 0, "Y2UT", "", {2, 8, 1, 2, 0}},
    {MFIF_RGB_HF_BU, "MFIF_RGB_HF_BU", 0, 0, 0, 0, 0, "Y2UT", "", {2, 8, 3, 6, 0}},
    {MFIF_RGBA_HF_BU, "MFIF_RGBA_HF_BU", 0, 0, 0, 0, 0, "Y2UT", "", {2, 8, 4, 8, 0}},
};
// clang-format on

constexpr std::size_t kCount = std::size(kRows);
static_assert(kCount == 89);

/// Finds rows by one multiplication: `uMultiplier` sends no two identifiers to one place.
struct Places {
    static constexpr int kBits = 10;
    static constexpr std::uint8_t kNone = 0xFF;
    std::uint32_t uMultiplier = 0x9E3779B1;
    std::array<std::uint8_t, 1u << kBits> auRow{};

    constexpr std::size_t PlaceOf(GUID const& format) const { return format.Data1 * uMultiplier >> (32 - kBits); }
    constexpr bool Fill() {
        auRow.fill(kNone);
        for (std::size_t i = 0; i < kCount; ++i) {
            std::uint8_t& row = auRow[PlaceOf(kRows[i].oFormat)];
            if (row != kNone) return false;
            row = static_cast<std::uint8_t>(i);
        }
        return true;
    }
};

consteval Places FindPlaces() {
    Places places;
    // Ends only if no two formats share an identifier: the first groups of all differ.
    while (!places.Fill()) places.uMultiplier += 0x9E3779B2;
    return places;
}
constexpr Places kPlaces = FindPlaces();

consteval bool RowsAgree() {
    for (FormatRow const& row : kRows) {
        XFColorModel const model = row.IsRgb()    ? (row.HasVideoLevels() ? XFColorModelRGBVideo : XFColorModelRGB)
                                   : row.Is601()  ? XFColorModelYCC601
                                   : row.Is709()  ? XFColorModelYCC709
                                   : row.IsMono() ? XFColorModelMono
                                   : row.oFormat == MFIF_HLSA_RAW_32 || row.oFormat == MFIF_HLSA_RAW_64
                                       ? XFColorModelHLS
                                       : XFColorModelNone;
        if (model != row.uColorModel) return false;
        if (row.IsYcc422() != (row.IsYcc() && !row.IsYcca4444())) return false;
        if (row.IsSplitFieldEven() && !row.IsSplitField()) return false;
        if (row.IsFloat() != (row.uChannelType == XFChannelTypeFloat)) return false;
        if (row.IsS2_14() != (row.uChannelType == XFChannelTypeS2_14)) return false;
        if (row.uPixelSize != 0 && row.oStored.uPixelSize != 0 && row.uPixelSize != row.oStored.uPixelSize)
            return false;
    }
    return true;
}
static_assert(RowsAgree());

constexpr auto Names() {
    std::array<NamedFormat, kCount> names{};
    for (std::size_t i = 0; i < kCount; ++i) names[i] = {kRows[i].oFormat, kRows[i].pName};
    return names;
}
constexpr auto kNames = Names();

}  // namespace

FormatRow const& RowOf(GUID const& format) {
    std::uint8_t const row = kPlaces.auRow[kPlaces.PlaceOf(format)];
    return row != Places::kNone && kRows[row].oFormat == format ? kRows[row] : kUnknownFormat;
}

std::span<NamedFormat const> AllFormats() {
    return kNames;
}

char const* FormatName(GUID const& format) {
    return RowOf(format).pName;
}

int PixelBytesOf(GUID const& format) {
    return static_cast<int>(RowOf(format).ColorBytes());
}

}  // namespace qzil

using qzil::RowOf;

XFChannelType GetChannelTypeFromFormat(GUID const& format) {
    return RowOf(format).uChannelType;
}
unsigned GetNumOfChannelsFromFormat(GUID const& format) {
    return RowOf(format).uChannels;
}
unsigned GetChannelSizeFromFormat(GUID const& format) {
    return RowOf(format).uChannelSize;
}
unsigned GetPixelSizeFromFormat(GUID const& format) {
    return RowOf(format).uPixelSize;
}
XFColorModel GetColorModelFromFormat(GUID const& format) {
    return RowOf(format).uColorModel;
}
bool IsFormatRGB(GUID const& format) {
    return RowOf(format).IsRgb();
}
bool IsFormatMono(GUID const& format) {
    return RowOf(format).IsMono();
}
bool IsFormatYCC(GUID const& format) {
    return RowOf(format).IsYcc();
}
bool IsFormatYCCA(GUID const& format) {
    return RowOf(format).IsYcca();
}
bool IsFormatYCC422(GUID const& format) {
    return RowOf(format).IsYcc422();
}
bool IsFormatYCCA4444(GUID const& format) {
    return RowOf(format).IsYcca4444();
}
bool IsFormatAlternateYUV(GUID const& format) {
    return RowOf(format).IsChromaFirst();
}
bool IsFormatWithAlpha(GUID const& format) {
    return RowOf(format).HasAlpha();
}
bool IsFormatWithSeparateAlpha(GUID const& format) {
    return RowOf(format).HasAlphaPlane();
}
bool IsFormatTopDown(GUID const& format) {
    return RowOf(format).IsTopDown();
}
bool IsFormatVideoLevels(GUID const& format) {
    return RowOf(format).HasVideoLevels();
}
bool IsFormat601(GUID const& format) {
    return RowOf(format).Is601();
}
bool IsFormat709(GUID const& format) {
    return RowOf(format).Is709();
}
bool IsFormat10_6(GUID const& format) {
    return RowOf(format).Is10_6();
}
bool IsFormat10_6YCC422(GUID const& format) {
    return RowOf(format).Is10_6Ycc422();
}
bool IsFormatFloat(GUID const& format) {
    return RowOf(format).IsFloat();
}
bool IsFormatS2_14(GUID const& format) {
    return RowOf(format).IsS2_14();
}
bool IsFormatSplitField(GUID const& format) {
    return RowOf(format).IsSplitField();
}
bool IsFormatSplitFieldEven(GUID const& format) {
    return RowOf(format).IsSplitFieldEven();
}
