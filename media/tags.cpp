#include "media/tags.h"

#include "media/picture.h"
#include "qzil/image/pixel_math.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

namespace qzil::media {

namespace {

/// Calls `f(colors, count, alpha)` for each pixel of a picture with alpha.
template <class T, class F>
void ForEachAlpha(Picture& picture, F f) {
    auto const channels = static_cast<std::size_t>(picture.iChannels);
    auto* const pSamples = reinterpret_cast<T*>(picture.oBytes.data());
    std::size_t const count = picture.oBytes.size() / sizeof(T);
    for (std::size_t i = 0; i + channels <= count; i += channels)
        f(pSamples + i, channels - 1, pSamples[i + channels - 1]);
}

template <class T>
void DivideWhole(Picture& picture) {
    ForEachAlpha<T>(picture, [](T* colors, std::size_t count, T alpha) {
        constexpr u64 kFull = static_cast<T>(~0u);
        for (std::size_t i = 0; i < count; ++i) {
            u64 const value = alpha != 0 ? (colors[i] * kFull + alpha / 2u) / alpha : 0;
            colors[i] = static_cast<T>(std::min(value, kFull));
        }
    });
}

bool HasAlpha(Picture const& picture) {
    return picture.iChannels % 2 == 0;
}

}  // namespace

Picture Upright(Picture stored) {
    // TIFF: 1 rows from the top, columns from the left, 2 from the right, 3 both reversed, 4 from the bottom; 5 to 8
    // the same with rows and columns exchanged: 5, 6 from the right, 7 both, 8 from the bottom.
    int const orientation = std::exchange(stored.oTags.iOrientation, 1);
    if (orientation == 1) return stored;
    bool const transposed = orientation >= 5;
    bool const fromRight = orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
    bool const fromBottom = orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
    if (transposed) std::swap(stored.oTags.dfDotsX, stored.oTags.dfDotsY);
    int const width = transposed ? stored.iHeight : stored.iWidth, height = transposed ? stored.iWidth : stored.iHeight;
    if (stored.oBytes.empty()) {
        stored.iWidth = width;
        stored.iHeight = height;
        return stored;
    }
    Picture upright(width, height, stored.iChannels, stored.iDepth);
    upright.oTags = std::move(stored.oTags);
    std::size_t const step = stored.PixelBytes();
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            int const row = transposed ? x : y, column = transposed ? y : x;
            int const fromY = fromBottom ? stored.iHeight - 1 - row : row;
            int const fromX = fromRight ? stored.iWidth - 1 - column : column;
            std::memcpy(upright.Row(y) + step * static_cast<unsigned>(x),
                        stored.Row(fromY) + step * static_cast<unsigned>(fromX), step);
        }
    }
    return upright;
}

void DivideByAlpha(Picture& picture) {
    if (!HasAlpha(picture)) return;
    switch (picture.iDepth) {
        case 8: return DivideWhole<u8>(picture);
        case 16: return DivideWhole<u16>(picture);
        default:
            ForEachAlpha<float>(picture, [](float* colors, std::size_t count, float alpha) {
                for (std::size_t i = 0; i < count; ++i) colors[i] = alpha != 0.0f ? colors[i] / alpha : 0.0f;
            });
    }
}

void MultiplyByAlpha(Picture& picture) {
    if (!HasAlpha(picture)) return;
    ForEachAlpha<float>(picture, [](float* colors, std::size_t count, float alpha) {
        for (std::size_t i = 0; i < count; ++i) colors[i] *= alpha;
    });
}

bool ProfileSuits(std::vector<unsigned char> const& profile, bool grey) {
    // The head of a profile is 128 bytes; its fifth word names the colour space.
    if (profile.size() < 132) return false;
    std::string_view const space(reinterpret_cast<char const*>(profile.data()) + 16, 4);
    return space == (grey ? "GRAY" : "RGB ");
}

}  // namespace qzil::media
