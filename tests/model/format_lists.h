#pragma once

#include "qzil/image/formats.h"

#include <vector>

/// What each effect accepts, written out by hand, apart from the library's own lists.
namespace qzil::test::model {

using Formats = std::vector<GUID>;

inline Formats operator+(Formats a, Formats const& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

inline Formats const kFrames422{MFIF_YCC_422_16, MFIF_YCC709_422_16, MFIF_CbYCrY_16, MFIF_CbYCrY709_16};
inline Formats const kFields422{MFIF_YCC_422_16_SF_NTSC,   MFIF_YCC_422_16_SF_PAL,  MFIF_YCC709_422_16_SF_EVEN,
                                MFIF_YCC709_422_16_SF_ODD, MFIF_CbYCrY_16_SF_TFL,   MFIF_CbYCrY_16_SF_TFF,
                                MFIF_CbYCrY709_16_SF_TFL,  MFIF_CbYCrY709_16_SF_TFF};
inline Formats const kAlternateA24{MFIF_CbYCrYA_24, MFIF_CbYCrY709A_24};
inline Formats const kYccA24{MFIF_YCCA_24, MFIF_YCC709A_24};
inline Formats const kReal422{MFIF_CbYCrY_FLOAT, MFIF_CbYCrY709_FLOAT, MFIF_CbYCrY_S2_14, MFIF_CbYCrY709_S2_14};
inline Formats const kReal422A{MFIF_CbYCrYA_FLOAT, MFIF_CbYCrY709A_FLOAT, MFIF_CbYCrYA_S2_14, MFIF_CbYCrY709A_S2_14};
inline Formats const kVideo = kFrames422 + kFields422 + kAlternateA24 + kYccA24 + kReal422 + kReal422A;
inline Formats const kRgba{MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_RGBA_FLOAT, MFIF_RGBA_S2_14};
inline Formats const kMono{MFIF_MONO_RAW_8, MFIF_MONO_RAW_16, MFIF_MONO_FLOAT, MFIF_MONO_S2_14};
inline Formats const kInteger{MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_MONO_RAW_8, MFIF_MONO_RAW_16};

inline Formats const kBlend = kRgba + kMono + Formats{MFIF_MONO_RAW_8_TD} + kVideo;
inline Formats const kInvert = kBlend;
inline Formats const kColorBlend = kBlend;
inline Formats const kGeneralBlend = kInteger;
inline Formats const kMonadicLut = kInteger;
inline Formats const kDyadicLut{MFIF_RGBA_RAW_32, MFIF_MONO_RAW_8};
inline Formats const kAdjustPremult{MFIF_RGBA_RAW_32, MFIF_RGBA_S2_14, MFIF_RGBA_FLOAT};
inline Formats const kUnpremultiply = kRgba;
inline Formats const kComposite{MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64};
inline Formats const kCopyOver = kRgba + kMono;
inline Formats const kImgOverColor = kAdjustPremult + kFrames422 + kFields422 + kAlternateA24 + kReal422 + kReal422A;
inline Formats const kOutputAlpha = kAdjustPremult + kAlternateA24 + kYccA24 + kReal422A;
inline Formats const kGrayscale{MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_RGBA_FLOAT, MFIF_RGBA_FLOAT_BU};

}  // namespace qzil::test::model
