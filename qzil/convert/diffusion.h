#pragma once

#include "qzil/image/pixel_math.h"

namespace qzil {

/// Error diffusion along a line, from one stretch to the next. `kChannels` interleaved channels.
template <int kChannels>
struct FloatDiffusion {
    float aError[4];
    bool bVideo;

    void Row(float const* source, u8* target, int pixels);
};

/// The same in 16.16 fixed point.
template <int kChannels>
struct FixedDiffusion {
    s32 aError[4];  ///< 0 to 65535
    s32 aScale[4];
    s32 aOffset[4];

    void Row(s16 const* source, u8* target, int pixels);
};

/// Fixed-point constants and start of an S2.14 diffusion.
template <int kChannels>
FixedDiffusion<kChannels> FixedDiffusionOf(float const errors[4], bool video);

}  // namespace qzil
