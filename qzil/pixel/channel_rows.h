#pragma once

#include "qzil/kernel/convert_row.h"

namespace qzil {

struct NoConstants {};

/// Sources of the four channels, 0 to 12.
struct ChannelSources {
    int aSource[4];
};

/// One channel's place in a pixel; 4 stands for all of them.
struct ChannelPlace {
    int iPlace;
};

struct ChannelRows {
    kernel::TypedRow<NoConstants> pGray8, pGray16, pGrayFloat, pAlpha8, pAlpha16;
    kernel::TypedRow<ChannelSources> pSwitch, pSwitchHls;
    kernel::TypedConvertRow<ChannelPlace> pExtract8, pExtract16, pExtract32, pInsert8, pInsert16;
};
QZIL_ROW_TABLE(ChannelRows)

}  // namespace qzil
