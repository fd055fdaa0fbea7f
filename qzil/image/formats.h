#pragma once

#include "qzil/image/core_values.h"
#include "qzil/platform/guid.h"

#include <algorithm>
#include <array>
#include <span>

/// A pixel format is an identifier without structure: every property of it is answered by a function below.
///
/// The names read: MONO, RGB, RGBA, BGRA, BGR, DIB, HLSA, YCC, YCCA, CbYCrY, CbYCrYA, CbYCrA give the pixel order; 709
/// is Rec. 709, its absence Rec. 601; _FR full range; _SF_* split field; _BU bottom-up; _TD top-down; _4444 one chroma
/// sample of each kind per pixel; _10_6 ten bits of value above six bits in a 16-bit word; FLOAT, S2_14, HF the channel
/// type; _16, _24, _32, _64 bits per pixel.

// clang-format off
inline constexpr GUID MFIF_RGBA_RAW_32 = qzil::platform::MakeGuid("0cb9135c-5a29-11ce-babc-00aa00629284");
inline constexpr GUID MFIF_RGBA_RAW_32_VIDEO = qzil::platform::MakeGuid("255057e6-48e1-4111-ae69-456a915a563d");
inline constexpr GUID MFIF_DIB_RAW_32 = qzil::platform::MakeGuid("0654ea71-e3ea-11cf-885e-00aa006d38f7");
inline constexpr GUID MFIF_BGRA_RAW_32 = qzil::platform::MakeGuid("e8077d07-478c-11d4-9c07-0090275055de");
inline constexpr GUID MFIF_BGRA_RAW_32_VIDEO = qzil::platform::MakeGuid("034acb1a-0c9f-45e8-9bb9-894f82f8397b");
inline constexpr GUID MFIF_RGBA_S2_14 = qzil::platform::MakeGuid("7b91db1a-994c-4817-9822-b096413b9a60");
inline constexpr GUID MFIF_RGBA_FLOAT = qzil::platform::MakeGuid("d5a8d4d7-b400-49a2-8bd2-63af42779b69");
inline constexpr GUID MFIF_CbYCrY_16 = qzil::platform::MakeGuid("de438cf2-e948-11d3-901a-00a024190344");
inline constexpr GUID MFIF_CbYCrY_16_FR = qzil::platform::MakeGuid("b29018c7-3f67-41a0-bad9-fa6449c61101");
inline constexpr GUID MFIF_CbYCrY_16_SF_TFL = qzil::platform::MakeGuid("de438cf3-e948-11d3-901a-00a024190344");
inline constexpr GUID MFIF_CbYCrY_16_SF_TFF = qzil::platform::MakeGuid("de438cf4-e948-11d3-901a-00a024190344");
inline constexpr GUID MFIF_CbYCrYA_24 = qzil::platform::MakeGuid("c299bb08-f46d-11d3-a296-0800360443ca");
inline constexpr GUID MFIF_CbYCrYA_24_FR = qzil::platform::MakeGuid("efa1f154-a2b2-47ed-8029-84eae89e2e27");
inline constexpr GUID MFIF_CbYCrY_S2_14 = qzil::platform::MakeGuid("d76630fa-e63b-4060-94c9-ba927fa3d25e");
inline constexpr GUID MFIF_CbYCrYA_S2_14 = qzil::platform::MakeGuid("0671c4ab-88a4-4bd6-9ded-a21302f4aacf");
inline constexpr GUID MFIF_CbYCrY_FLOAT = qzil::platform::MakeGuid("d986cd46-b26f-4a68-a8ab-d6c4751283fe");
inline constexpr GUID MFIF_CbYCrYA_FLOAT = qzil::platform::MakeGuid("4f1bef7e-492e-4608-aabb-3922db6b449d");
inline constexpr GUID MFIF_CbYCrY709_16 = qzil::platform::MakeGuid("de438cf5-e948-11d3-901a-00a024190344");
inline constexpr GUID MFIF_CbYCrY709_16_FR = qzil::platform::MakeGuid("ff54e6c7-ce86-4766-8794-a6357d484e2a");
inline constexpr GUID MFIF_CbYCrY709_16_SF_TFL = qzil::platform::MakeGuid("de438cf6-e948-11d3-901a-00a024190344");
inline constexpr GUID MFIF_CbYCrY709_16_SF_TFF = qzil::platform::MakeGuid("de438cf7-e948-11d3-901a-00a024190344");
inline constexpr GUID MFIF_CbYCrY709A_24 = qzil::platform::MakeGuid("c299bb07-f46d-11d3-a296-0800360443ca");
inline constexpr GUID MFIF_CbYCrY709A_24_FR = qzil::platform::MakeGuid("6e8d8c6f-c730-4ac9-a44e-679571cc6e68");
inline constexpr GUID MFIF_CbYCrY709_S2_14 = qzil::platform::MakeGuid("486259a1-f752-42ea-a9d5-51d666feee89");
inline constexpr GUID MFIF_CbYCrY709A_S2_14 = qzil::platform::MakeGuid("a7185024-3abc-41c7-96e6-903f5b5e7fb2");
inline constexpr GUID MFIF_CbYCrY709_FLOAT = qzil::platform::MakeGuid("87adfa2b-3a48-4190-af81-7ea8e0f26821");
inline constexpr GUID MFIF_CbYCrY709A_FLOAT = qzil::platform::MakeGuid("643c83fe-9b9e-41bc-ac99-6434761964ad");
inline constexpr GUID MFIF_MONO_RAW_8 = qzil::platform::MakeGuid("0cb9135d-5a29-11ce-babc-00aa00629284");
inline constexpr GUID MFIF_MONO_RAW_8_TD = qzil::platform::MakeGuid("f33908d9-ee75-4835-b963-14645e088c70");
inline constexpr GUID MFIF_MONO_RAW_16_TD = qzil::platform::MakeGuid("be22e1ef-2648-4f0f-bcd9-336f682053e4");
inline constexpr GUID MFIF_MONO_S2_14 = qzil::platform::MakeGuid("9e9f6be8-659d-48a6-91c3-639b6354c063");
inline constexpr GUID MFIF_MONO_FLOAT = qzil::platform::MakeGuid("8b30ca61-7a58-49b9-8e21-b6afad802353");
inline constexpr GUID MFIF_MONO_RAW_10 = qzil::platform::MakeGuid("37e557c2-7819-4bc1-b307-08efa6c6a7cd");
inline constexpr GUID MFIF_CbYCrY_20 = qzil::platform::MakeGuid("1d1ec771-4777-40c4-a6d5-a3fb7cab5225");
inline constexpr GUID MFIF_CbYCrY_20_FR = qzil::platform::MakeGuid("f9e5a65e-7611-4430-8a2d-374944be6cf2");
inline constexpr GUID MFIF_CbYCrY709_20 = qzil::platform::MakeGuid("3ca47663-a62b-4c05-829e-1a43f6697883");
inline constexpr GUID MFIF_CbYCrY709_20_FR = qzil::platform::MakeGuid("cd05443d-6d8d-4390-8581-3e100bad606e");
inline constexpr GUID MFIF_CbYCrYA_30 = qzil::platform::MakeGuid("ebe0026a-5bb7-46f4-95be-e34f77521070");
inline constexpr GUID MFIF_CbYCrYA_30_FR = qzil::platform::MakeGuid("12e58092-1bc0-4a4c-9697-b6066d59a63f");
inline constexpr GUID MFIF_CbYCrY709A_30 = qzil::platform::MakeGuid("944214e3-1d58-436d-af0a-b70164b65ff4");
inline constexpr GUID MFIF_CbYCrY709A_30_FR = qzil::platform::MakeGuid("92c04a52-5745-4715-a38b-f9c8abe0cb31");
inline constexpr GUID MFIF_CbYCrY_10_6 = qzil::platform::MakeGuid("6943acdf-ea53-412d-8383-542c2ab77d1b");
inline constexpr GUID MFIF_CbYCrY709_10_6 = qzil::platform::MakeGuid("bd8718fd-28a0-4bcd-85b6-63fca7eb6480");
inline constexpr GUID MFIF_CbYCrY_10_6_FR = qzil::platform::MakeGuid("81bd0802-2753-4c53-b233-ea979629c962");
inline constexpr GUID MFIF_CbYCrY709_10_6_FR = qzil::platform::MakeGuid("55e7256c-6d22-4388-a5bb-4a2b06752847");
inline constexpr GUID MFIF_CbYCrYA_10_6 = qzil::platform::MakeGuid("205ebcb0-5c6b-4703-b9b2-a43af42c5fc2");
inline constexpr GUID MFIF_CbYCrY709A_10_6 = qzil::platform::MakeGuid("9cc2b1d8-6212-4e6e-ae51-bf6e9730b653");
inline constexpr GUID MFIF_CbYCrYA_10_6_FR = qzil::platform::MakeGuid("a022ae0a-e85b-49cd-8f7c-506a7045ca4e");
inline constexpr GUID MFIF_CbYCrY709A_10_6_FR = qzil::platform::MakeGuid("058e0387-05bc-4969-b20c-4b2514260d40");
inline constexpr GUID MFIF_CbYCrA_8_4444 = qzil::platform::MakeGuid("59a659b1-3d04-4a3f-8947-a34f8e6ddbb5");
inline constexpr GUID MFIF_CbYCr709A_8_4444 = qzil::platform::MakeGuid("84ca65fb-0e6d-49b3-8ae7-0d1cb778eb22");
inline constexpr GUID MFIF_CbYCrA_10_6_4444 = qzil::platform::MakeGuid("039fb590-a8bb-4ba5-8fd0-c03e4f995512");
inline constexpr GUID MFIF_CbYCr709A_10_6_4444 = qzil::platform::MakeGuid("5fb601b1-6cb0-49ab-bace-cc94ef0fb79e");
inline constexpr GUID MFIF_CbYCrA_FLOAT_4444 = qzil::platform::MakeGuid("c02994dd-ea03-4f45-9fd4-6cdea9a6ab6e");
inline constexpr GUID MFIF_CbYCr709A_FLOAT_4444 = qzil::platform::MakeGuid("688c7bc8-1e22-4ab0-8770-e2d098798a0b");
inline constexpr GUID MFIF_CbYCrA_S2_14_4444 = qzil::platform::MakeGuid("29de40be-ff62-45ca-bcbc-f793a6bb1f25");
inline constexpr GUID MFIF_CbYCr709A_S2_14_4444 = qzil::platform::MakeGuid("6e122004-4e0c-4b23-aba8-eb6a1ee273a3");
inline constexpr GUID MFIF_RGB_RAW_24 = qzil::platform::MakeGuid("05d2abb1-747c-11d0-90f7-00a02429b9e8");
inline constexpr GUID MFIF_RGB_S2_14 = qzil::platform::MakeGuid("18bec754-2b94-44bd-878e-f18fef3ee076");
inline constexpr GUID MFIF_RGB_FLOAT = qzil::platform::MakeGuid("99174f64-d8c3-4a5c-937d-663dd5f4a877");
inline constexpr GUID MFIF_GENERIC = qzil::platform::MakeGuid("0cb91362-5a29-11ce-babc-00aa00629284");
inline constexpr GUID MFIF_YCC_422_16 = qzil::platform::MakeGuid("408fa7c1-e26d-11d0-8f9b-00a024190344");
inline constexpr GUID MFIF_YCC_422_16_SF_NTSC = qzil::platform::MakeGuid("6c48ce31-e1c6-11d0-8f9a-00a024190344");
inline constexpr GUID MFIF_YCC_422_16_SF_PAL = qzil::platform::MakeGuid("0cfb5961-e91b-11d0-8f9d-00a024190344");
inline constexpr GUID MFIF_YCCA_24 = qzil::platform::MakeGuid("3f401463-3aa7-4de9-b291-5df0c0704f41");
inline constexpr GUID MFIF_YCC709_422_16 = qzil::platform::MakeGuid("5a3169b5-8bf5-11d3-8b11-080036043475");
inline constexpr GUID MFIF_YCC709_422_16_SF_EVEN = qzil::platform::MakeGuid("5a3169b6-8bf5-11d3-8b11-080036043475");
inline constexpr GUID MFIF_YCC709_422_16_SF_ODD = qzil::platform::MakeGuid("5a3169b7-8bf5-11d3-8b11-080036043475");
inline constexpr GUID MFIF_YCC709A_24 = qzil::platform::MakeGuid("ce5dd184-f239-4f9f-93ce-dba1a7ca8690");
inline constexpr GUID MFIF_RGBA_RAW_64 = qzil::platform::MakeGuid("0cb9135e-5a29-11ce-babc-00aa00629284");
inline constexpr GUID MFIF_RGB_RAW_48 = qzil::platform::MakeGuid("7092db72-be2c-45ea-b43f-93be1fc56e96");
inline constexpr GUID MFIF_MONO_RAW_16 = qzil::platform::MakeGuid("0cb91360-5a29-11ce-babc-00aa00629284");
inline constexpr GUID MFIF_MONO_RAW_32 = qzil::platform::MakeGuid("0cb9136a-5a29-11ce-babc-00aa00629284");
inline constexpr GUID MFIF_BGR_RAW_24 = qzil::platform::MakeGuid("29c1ae01-52b3-11d4-963e-0090275055de");
inline constexpr GUID MFIF_DIB_RAW_24 = qzil::platform::MakeGuid("05d2abb2-747c-11d0-90f7-00a02429b9e8");
inline constexpr GUID MFIF_HLSA_RAW_32 = qzil::platform::MakeGuid("599171a2-8b9f-11ce-8b97-00aa00629455");
inline constexpr GUID MFIF_HLSA_RAW_64 = qzil::platform::MakeGuid("599171a3-8b9f-11ce-8b97-00aa00629455");
inline constexpr GUID MFIF_RGB_RAW_INDEX_8 = qzil::platform::MakeGuid("0cb91364-5a29-11ce-babc-00aa00629284");
inline constexpr GUID MFIF_RGB_JPEG_32_T2K_XF = qzil::platform::MakeGuid("2ccf7db3-7c2f-11cf-b4c2-00aa006294a2");
inline constexpr GUID MFIF_RGB_JPEG_24 = qzil::platform::MakeGuid("0cb91366-5a29-11ce-babc-00aa00629284");
inline constexpr GUID MFIF_MONO_JPEG_8 = qzil::platform::MakeGuid("0cb91367-5a29-11ce-babc-00aa00629284");
inline constexpr GUID MFIF_YCCA_RAW_32 = qzil::platform::MakeGuid("599171a0-8b9f-11ce-8b97-00aa00629455");
inline constexpr GUID MFIF_YCCA_RAW_64 = qzil::platform::MakeGuid("599171a1-8b9f-11ce-8b97-00aa00629455");
inline constexpr GUID MFIF_MONO_FLOAT_BU = qzil::platform::MakeGuid("27e8978a-0041-4e90-912d-3083b95e1595");
inline constexpr GUID MFIF_RGB_FLOAT_BU = qzil::platform::MakeGuid("27f85524-f5aa-44f6-8bbd-d47947a97508");
inline constexpr GUID MFIF_RGBA_FLOAT_BU = qzil::platform::MakeGuid("ff8156ee-ea29-49e2-be34-4c0bdc6a5478");
inline constexpr GUID MFIF_MONO_HF_BU = qzil::platform::MakeGuid("2f62a289-5bfc-4b93-9dd8-20e71aacbe50");
inline constexpr GUID MFIF_RGB_HF_BU = qzil::platform::MakeGuid("175ff86e-4271-40b2-b81e-84eb632c9e30");
inline constexpr GUID MFIF_RGBA_HF_BU = qzil::platform::MakeGuid("9839ea45-1969-4473-a04f-126ab9c29767");  // clang-format on

/// Attributes. An unknown format has the numbers 0 and answers true to IsFormatYCC, IsFormatYCC422,
/// IsFormatAlternateYUV and IsFormatTopDown, which are negative tests; no attribute can be derived from another.
QZIL_API XFChannelType GetChannelTypeFromFormat(GUID const& format);
QZIL_API unsigned GetNumOfChannelsFromFormat(GUID const& format);  ///< counting alpha
QZIL_API unsigned GetChannelSizeFromFormat(GUID const& format);    ///< bytes
QZIL_API unsigned GetPixelSizeFromFormat(GUID const& format);      ///< bytes, a separate alpha plane's included
QZIL_API XFColorModel GetColorModelFromFormat(GUID const& format);
QZIL_API bool IsFormatRGB(GUID const& format);
QZIL_API bool IsFormatMono(GUID const& format);
QZIL_API bool IsFormatYCC(GUID const& format);
QZIL_API bool IsFormatYCCA(GUID const& format);
QZIL_API bool IsFormatYCC422(GUID const& format);
QZIL_API bool IsFormatYCCA4444(GUID const& format);
QZIL_API bool IsFormatAlternateYUV(GUID const& format);  ///< the chroma byte comes first
QZIL_API bool IsFormatWithAlpha(GUID const& format);
QZIL_API bool IsFormatWithSeparateAlpha(GUID const& format);  ///< alpha is a plane behind the colour plane
QZIL_API bool IsFormatTopDown(GUID const& format);
QZIL_API bool IsFormatVideoLevels(GUID const& format);
QZIL_API bool IsFormat601(GUID const& format);
QZIL_API bool IsFormat709(GUID const& format);
QZIL_API bool IsFormat10_6(GUID const& format);
QZIL_API bool IsFormat10_6YCC422(GUID const& format);
QZIL_API bool IsFormatFloat(GUID const& format);
QZIL_API bool IsFormatS2_14(GUID const& format);
QZIL_API bool IsFormatSplitField(GUID const& format);
QZIL_API bool IsFormatSplitFieldEven(GUID const& format);

namespace qzil {

/// Every format of the table, with its identifier's name.
struct NamedFormat {
    GUID oFormat;
    char const* pName;
};
QZIL_API std::span<NamedFormat const> AllFormats();
/// The name of a format, or null.
QZIL_API char const* FormatName(GUID const& format);
/// Bytes from one pixel to the next in a format's colour plane.
int PixelBytesOf(GUID const& format);

/// What an image stores when a format is set: a zero is not stored; compress -1 leaves that field alone.
struct StoredAttributes {
    unsigned uChannelSize;
    XFChannelType uChannelType;
    unsigned uChannels;
    unsigned uPixelSize;
    int iCompress;
};

using FormatList = std::span<GUID const>;

inline bool Contains(FormatList list, GUID const& format) {
    return std::find(list.begin(), list.end(), format) != list.end();
}

/// Lists laid end to end: an effect's list is written as its families.
template <std::size_t... N>
constexpr auto Join(std::array<GUID, N> const&... lists) {
    std::array<GUID, (N + ...)> all{};
    auto place = all.begin();
    ((place = std::copy(lists.begin(), lists.end(), place)), ...);
    return all;
}

/// Families that several effects accept.
inline constexpr std::array kRawFormats{MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_MONO_RAW_8, MFIF_MONO_RAW_16};
inline constexpr std::array kRgbaFormats{MFIF_RGBA_RAW_32, MFIF_RGBA_S2_14, MFIF_RGBA_RAW_64, MFIF_RGBA_FLOAT};
inline constexpr std::array kMaskFormats{MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_MONO_RAW_8, MFIF_MONO_RAW_16,
                                         MFIF_MONO_FLOAT,  MFIF_MONO_S2_14,  MFIF_RGBA_FLOAT, MFIF_RGBA_S2_14};
inline constexpr std::array k8Bit422Formats{MFIF_YCC_422_16,    MFIF_YCC_422_16_SF_NTSC,    MFIF_YCC_422_16_SF_PAL,
                                            MFIF_YCC709_422_16, MFIF_YCC709_422_16_SF_EVEN, MFIF_YCC709_422_16_SF_ODD,
                                            MFIF_CbYCrY_16,     MFIF_CbYCrY_16_SF_TFL,      MFIF_CbYCrY_16_SF_TFF,
                                            MFIF_CbYCrY709_16,  MFIF_CbYCrY709_16_SF_TFL,   MFIF_CbYCrY709_16_SF_TFF};
inline constexpr std::array k8BitAlphaPlaneFormats{MFIF_CbYCrYA_24, MFIF_CbYCrY709A_24, MFIF_YCCA_24, MFIF_YCC709A_24};
inline constexpr std::array kFloat422Formats{MFIF_CbYCrY_FLOAT, MFIF_CbYCrY709_FLOAT};
inline constexpr std::array kS2_14_422Formats{MFIF_CbYCrY_S2_14, MFIF_CbYCrY709_S2_14};
inline constexpr std::array kFloatAlphaPlaneFormats{MFIF_CbYCrYA_FLOAT, MFIF_CbYCrY709A_FLOAT};
inline constexpr std::array kS2_14AlphaPlaneFormats{MFIF_CbYCrYA_S2_14, MFIF_CbYCrY709A_S2_14};
/// The 4:2:2 formats of the one-pixel effects: 8-bit, float and S2.14, without and with an alpha plane.
inline constexpr auto kVideoFormats = Join(k8Bit422Formats, k8BitAlphaPlaneFormats, kFloat422Formats, kS2_14_422Formats,
                                           kFloatAlphaPlaneFormats, kS2_14AlphaPlaneFormats);
/// The formats of most one-pixel effects: RGBA and mono of all four channel types, and these.
inline constexpr auto kOnePixelFormats =
    Join(std::array{MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_RGBA_FLOAT, MFIF_RGBA_S2_14, MFIF_MONO_RAW_8,
                    MFIF_MONO_RAW_8_TD, MFIF_MONO_RAW_16, MFIF_MONO_FLOAT, MFIF_MONO_S2_14},
         kVideoFormats);

}  // namespace qzil
