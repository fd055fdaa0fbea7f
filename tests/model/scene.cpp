#include "model/scene.h"

#include <array>
#include <sstream>

namespace qzil::test::model {
namespace {

template <class T>
void Put(std::span<unsigned char> bytes, std::size_t i, T value) {
    std::memcpy(&bytes[i * sizeof(T)], &value, sizeof(T));
}

template <class T, std::size_t N>
T OneOf(Random& random, std::array<T, N> const& values) {
    return values[static_cast<std::size_t>(random.Below(static_cast<int>(N)))];
}

template <class T>
T Sample(Random& random, bool specials) {
    using Limits = std::numeric_limits<float>;
    if constexpr (kIsFloat<T>) {
        if (specials && random.OneIn(8)) {
            return OneOf(random, std::array{Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN(),
                                            Limits::denorm_min(), Limits::max()});
        }
        if (random.OneIn(3)) return OneOf(random, std::array{0.0f, 1.0f, -0.25f, 1.5f, 0.5f, 1e-6f, -3.0f, 0.999f});
        return static_cast<float>(random.Between(-4000, 14000)) / 9973.0f;
    } else {
        if (random.OneIn(2)) {
            if constexpr (kIsByte<T>) return OneOf(random, std::array<T, 6>{0, 1, 127, 128, 254, 255});
            if constexpr (kIsWord<T>) return OneOf(random, std::array<T, 6>{0, 1, 32767, 32768, 65534, 65535});
            if constexpr (kIsS2_14<T>) {
                return OneOf(random, std::array<T, 8>{-32768, -1, 0, 1, 16383, 16384, 32767, -32767});
            }
        }
        // S2.14 mostly between 0 and 1.0, where alpha means something.
        if (kIsS2_14<T> && random.OneIn(2)) return static_cast<T>(random.Below(16385));
        return static_cast<T>(random.Below(kIsByte<T> ? 256 : 65536));
    }
}

template <class T>
T MaskSample(Random& random) {
    if (random.OneIn(3)) {
        if constexpr (kIsByte<T>) return OneOf(random, std::array<T, 6>{0, 1, 127, 128, 254, 255});
        if constexpr (kIsWord<T>) return OneOf(random, std::array<T, 6>{0, 1, 32767, 32768, 65534, 65535});
        if constexpr (kIsS2_14<T>) {
            return OneOf(random, std::array<T, 9>{-32768, -1, 0, 1, 8192, 16383, 16384, 16385, 32767});
        }
        if constexpr (kIsFloat<T>) {
            return OneOf(random, std::array<T, 9>{-1.0f, -1e-6f, 0.0f, 1e-6f, 0.5f, 0.999999f, 1.0f, 1.25f, 7.0f});
        }
    }
    if constexpr (kIsFloat<T>) return static_cast<float>(random.Below(9973)) / 9973.0f;
    return static_cast<T>(random.Below(static_cast<int>(One<T>()) + 1));
}

template <class T>
std::string Compare(Scene const& scene, std::span<unsigned char const> expected,
                    std::span<unsigned char const> actual) {
    auto const load = [](std::span<unsigned char const> bytes, std::size_t i) {
        T value;
        std::memcpy(&value, &bytes[i * sizeof(T)], sizeof(T));
        return value;
    };
    for (std::size_t i = 0; i < expected.size() / sizeof(T); ++i) {
        T const e = load(expected, i), f = load(actual, i);
        if (std::memcmp(&e, &f, sizeof(T)) == 0 || (e != e && f != f)) continue;
        std::size_t const width = static_cast<std::size_t>(scene.iWidth);
        std::size_t const samples = PlainLayout(scene.oA.Get()).PixelStep() / sizeof(T);
        std::size_t const colours = width * samples * static_cast<std::size_t>(scene.iHeight);
        bool const alpha = i >= colours;
        std::size_t const place = alpha ? i - colours : i, step = alpha ? 1 : samples;
        std::ostringstream text;
        text.precision(9);
        text << (alpha ? "alpha plane" : "colour") << " memory row " << place / (width * step) << " x "
             << place / step % width << " sample " << place % step << ": expected " << +e << ", actual " << +f
             << "; pixel of A:";
        for (std::size_t c = 0; c < step; ++c) text << ' ' << +load(Bytes(scene.oA), i - place % step + c);
        text << ", of B:";
        for (std::size_t c = 0; c < step; ++c) text << ' ' << +load(Bytes(scene.oB), i - place % step + c);
        return text.str();
    }
    return {};
}

}  // namespace

GUID MaskFormat(GUID const& format, bool fourChannels) {
    switch (GetChannelTypeFromFormat(format)) {
        case XFChannelTypeUInt8: return fourChannels ? MFIF_RGBA_RAW_32 : MFIF_MONO_RAW_8;
        case XFChannelTypeUInt16: return fourChannels ? MFIF_RGBA_RAW_64 : MFIF_MONO_RAW_16;
        case XFChannelTypeS2_14: return fourChannels ? MFIF_RGBA_S2_14 : MFIF_MONO_S2_14;
        default: return fourChannels ? MFIF_RGBA_FLOAT : MFIF_MONO_FLOAT;
    }
}

void FillEnds(IXFImage* image, std::uint64_t seed, bool specials) {
    Random random(seed);
    VisitType(GetChannelTypeFromFormat(FormatOf(image)), [&](auto zero) {
        using T = decltype(zero);
        auto const bytes = Bytes(image);
        for (std::size_t i = 0; i < bytes.size() / sizeof(T); ++i) Put(bytes, i, Sample<T>(random, specials));
    });
}

void FillMask(IXFImage* image, std::uint64_t seed) {
    Random random(seed);
    VisitType(GetChannelTypeFromFormat(FormatOf(image)), [&](auto zero) {
        using T = decltype(zero);
        auto const bytes = Bytes(image);
        T value = 0;
        for (std::size_t i = 0; i < bytes.size() / sizeof(T); ++i) {
            if (!random.OneIn(4)) value = MaskSample<T>(random);  // runs of one value occur in real masks
            Put(bytes, i, value);
        }
    });
}

void FillAllWords(IXFImage* image) {
    PlainLayout const layout(image);
    auto const bytes = Bytes(image);
    std::size_t const samples = layout.PixelStep() / 2;
    for (std::size_t i = 0; i < bytes.size() / 2; ++i) Put(bytes, i, static_cast<u16>(i / samples));
}

void Scene::Make() {
    oA = MakeImage(oFormat, iWidth, iHeight);
    oB = MakeImage(oFormat, iWidth, iHeight);
    oOut = MakeImage(oFormat, iWidth, iHeight);
    ASSERT_TRUE(oA && oB && oOut) << NameOf(oFormat);
    FillEnds(oA.Get(), uSeed * 4, bSpecials);
    FillEnds(oB.Get(), uSeed * 4 + 1, bSpecials);
    FillEnds(oOut.Get(), uSeed * 4 + 2, false);
    oMask = {};
    if (!uMask) return;
    oMask = MakeImage(MaskFormat(oFormat, uMask != 16), iWidth, iHeight);
    FillMask(oMask.Get(), uSeed * 4 + 3);
}

std::string Difference(Scene const& before, std::span<unsigned char const> expected,
                       std::span<unsigned char const> actual) {
    std::string text;
    VisitType(GetChannelTypeFromFormat(before.oFormat),
              [&](auto zero) { text = Compare<decltype(zero)>(before, expected, actual); });
    return text;
}

std::string Scene::Describe() const {
    std::ostringstream text;
    text << NameOf(oFormat) << ' ' << iWidth << 'x' << iHeight << " mode " << uMode << " mask " << uMask << " dominant "
         << (bDominantB ? 'B' : 'A') << " in place " << iInPlace << (bSpecials ? " specials" : "") << " seed " << uSeed;
    return text.str();
}

std::string ParamName(testing::TestParamInfo<GUID> const& info) {
    return NameOf(info.param);
}

}  // namespace qzil::test::model
