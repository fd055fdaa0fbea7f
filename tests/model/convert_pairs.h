#pragma once

#include "model/format_lists.h"

#include <algorithm>
#include <utility>

/// Which pairs of formats each conversion accepts, written out by hand.
namespace qzil::test::model {

enum class Conversion { Rgba, ToYcc, FromYcc, ToHls, FromHls };

inline bool In(GUID const& format, Formats const& formats) {
    return std::ranges::find(formats, format) != formats.end();
}

inline Formats const kVideo8 = kFrames422 + kFields422 + kAlternateA24;
inline Formats const kTenBit{MFIF_CbYCrY_10_6, MFIF_CbYCrYA_10_6, MFIF_CbYCrY709_10_6, MFIF_CbYCrY709A_10_6};
inline Formats const kDeep422 = kReal422 + kReal422A + kTenBit;
inline Formats const kFloat4444{MFIF_CbYCrA_FLOAT_4444, MFIF_CbYCr709A_FLOAT_4444};
inline Formats const kFixed4444{MFIF_CbYCrA_S2_14_4444, MFIF_CbYCr709A_S2_14_4444};
inline Formats const kInteger4444{MFIF_CbYCrA_8_4444, MFIF_CbYCr709A_8_4444, MFIF_CbYCrA_10_6_4444,
                                  MFIF_CbYCr709A_10_6_4444};
inline Formats const kFloatRgba{MFIF_RGBA_FLOAT, MFIF_RGBA_FLOAT_BU};
inline Formats const kBlue8{MFIF_BGRA_RAW_32, MFIF_BGRA_RAW_32_VIDEO, MFIF_DIB_RAW_32, MFIF_DIB_RAW_24,
                            MFIF_BGR_RAW_24};

/// Error code for two formats; 0 when they pass.
inline unsigned RgbaPairCode(GUID const& in, GUID const& out) {
    static std::vector<std::pair<GUID, GUID>> const bothWays{{MFIF_RGBA_RAW_32_VIDEO, MFIF_RGBA_RAW_32},
                                                             {MFIF_BGRA_RAW_32_VIDEO, MFIF_RGBA_RAW_32},
                                                             {MFIF_RGBA_RAW_32_VIDEO, MFIF_BGRA_RAW_32_VIDEO},
                                                             {MFIF_RGBA_RAW_32, MFIF_BGRA_RAW_32},
                                                             {MFIF_RGBA_RAW_64, MFIF_RGBA_RAW_32},
                                                             {MFIF_MONO_RAW_16, MFIF_MONO_RAW_8},
                                                             {MFIF_RGB_RAW_24, MFIF_RGBA_RAW_32},
                                                             {MFIF_RGB_FLOAT, MFIF_RGBA_FLOAT},
                                                             {MFIF_RGB_FLOAT_BU, MFIF_RGBA_FLOAT_BU}};
    if ((in == MFIF_RGBA_FLOAT && out == MFIF_RGB_FLOAT_BU) || (in == MFIF_RGBA_FLOAT_BU && out == MFIF_RGB_FLOAT))
        return 0;
    static std::vector<Formats> const families[] = {
        {{MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_32_VIDEO, MFIF_BGRA_RAW_32_VIDEO}, {MFIF_RGBA_S2_14}, kFloatRgba},
        {{MFIF_MONO_RAW_8, MFIF_MONO_RAW_8_TD}, {MFIF_MONO_S2_14}, {MFIF_MONO_FLOAT, MFIF_MONO_FLOAT_BU}}};
    for (auto const& [a, b] : bothWays) {
        if ((in == a && out == b) || (in == b && out == a)) return 0;
    }
    for (auto const& types : families) {
        for (auto const& from : types) {
            for (auto const& to : types) {
                if (&from != &to && In(in, from) && In(out, to)) return 0;
            }
        }
    }
    return 0x10034;
}

inline unsigned ToYccPairCode(GUID const& in, GUID const& out) {
    static Formats const plain{MFIF_RGB_RAW_24, MFIF_DIB_RAW_32, MFIF_DIB_RAW_24, MFIF_BGRA_RAW_32,
                               MFIF_BGRA_RAW_32_VIDEO};
    static Formats const wide{MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_32_VIDEO, MFIF_RGBA_FLOAT, MFIF_RGBA_S2_14};
    static Formats const narrowOut = kVideo8 + Formats{MFIF_YCCA_RAW_32};
    if (in == MFIF_RGBA_RAW_64) return out == MFIF_YCCA_RAW_64 ? 0 : 0x1000d;
    if (!In(in, plain + wide)) return 65588;
    if (In(out, narrowOut)) return 0;
    bool const wideOut = In(out, kDeep422 + kInteger4444) || (In(out, kFloat4444) && in == MFIF_RGBA_FLOAT) ||
                         (In(out, kFixed4444) && in == MFIF_RGBA_S2_14);
    return In(in, wide) && wideOut ? 0 : 0x1000d;
}

inline unsigned FromYccPairCode(GUID const& in, GUID const& out) {
    static Formats const graphics{MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_32_VIDEO, MFIF_RGBA_FLOAT, MFIF_RGBA_S2_14,
                                  MFIF_RGB_RAW_24,  MFIF_BGR_RAW_24,        MFIF_DIB_RAW_24, MFIF_DIB_RAW_32,
                                  MFIF_BGRA_RAW_32, MFIF_BGRA_RAW_32_VIDEO};
    static Formats const fromYcca{MFIF_RGBA_RAW_32, MFIF_RGB_RAW_24, MFIF_BGR_RAW_24, MFIF_BGRA_RAW_32};
    if (In(in, kVideo8 + kDeep422)) return In(out, graphics) ? 0 : 0x1000d;
    if (in == MFIF_YCCA_RAW_32) return In(out, fromYcca) ? 0 : 0x1000d;
    if (in == MFIF_YCCA_RAW_64) return out == MFIF_RGBA_RAW_64 ? 0 : 0x1000d;
    return 65588;
}

/// From the 32-bit or the 64-bit form of one model to that of the other.
inline unsigned TwinPairCode(GUID const& in, GUID const& out, Formats const& from, Formats const& to) {
    if (!In(in, from)) return 65588;
    return (in == from[0] ? out == to[0] : out == to[1]) ? 0 : 0x1000d;
}

inline unsigned PairCode(Conversion kind, GUID const& in, GUID const& out) {
    static Formats const rgba{MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64}, hlsa{MFIF_HLSA_RAW_32, MFIF_HLSA_RAW_64};
    switch (kind) {
        case Conversion::Rgba: return RgbaPairCode(in, out);
        case Conversion::ToYcc: return ToYccPairCode(in, out);
        case Conversion::FromYcc: return FromYccPairCode(in, out);
        case Conversion::ToHls: return TwinPairCode(in, out, rgba, hlsa);
        default: return TwinPairCode(in, out, hlsa, rgba);
    }
}

}  // namespace qzil::test::model
