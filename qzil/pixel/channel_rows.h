#pragma once

#include "qzil/kernel/convert_row.h"

namespace qzil {

struct NoConstants {};

/// Which bytes of a word go where: `aTurned[n]` selects from the word turned up by n bytes.
struct ByteMoves {
    u32 aTurned[4];
};

/// A pixel is made of bytes of the old pixel and of its hue, lightness and saturation, of which some bits are flipped.
struct ChannelSources {
    ByteMoves oPixel;
    ByteMoves oHls;  ///< of the bytes hue, lightness, saturation
    u32 uFlip;
    bool bHls;
};

/// One channel's place in a pixel; 4 stands for all of them.
struct ChannelPlace {
    int iPlace;
};

struct ChannelRows {
    kernel::TypedRow<NoConstants> pGray8, pGray16;
    kernel::TypedRow<NoConstants> pGrayFloat, pAlpha8, pAlpha16;  ///< take the mask
    kernel::TypedRow<ChannelSources> pSwitch;                     ///< without hue, lightness and saturation
    kernel::TypedRow<ChannelSources> pSwitchHls;
    kernel::TypedConvertRow<ChannelPlace> pExtract8, pExtract16, pExtract32, pInsert8, pInsert16;
};
QZIL_ROW_TABLE(ChannelRows)

}  // namespace qzil
