#pragma once

#include "qzil/convert/depth_rows.h"

#include <type_traits>

namespace qzil {

enum class Levels { Full, Video };

/// The value of 1.0 in a channel type.
template <class T>
inline constexpr double kFull = std::is_same_v<T, u8>    ? 255.0
                                : std::is_same_v<T, s16> ? 16384.0
                                                         : 1.0;

/// The constants of a change of depth; `levels` are those of the 8-bit side. Video levels keep colour in 16 to 235.
template <class From, class To>
constexpr LinearDepth LinearDepthOf(Levels levels, int samples, bool swap) {
    LinearDepth depth{{}, {}, samples, swap};
    for (int c = 0; c < 4; ++c) {
        bool const video = levels == Levels::Video && c < 3;
        if constexpr (std::is_same_v<From, u8>) {
            depth.aScale[c] = static_cast<float>(kFull<To> / (video ? 219.0 : 255.0));
            depth.aOffset[c] = video ? static_cast<float>(-16.0 * kFull<To> / 219.0) : 0.0f;
        } else {
            depth.aScale[c] = static_cast<float>((video ? 219.0 : kFull<To>) / kFull<From>);
            depth.aOffset[c] = video ? 16.0f : 0.0f;
        }
    }
    return depth;
}

}  // namespace qzil
