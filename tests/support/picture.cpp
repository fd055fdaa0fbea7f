#include "support/picture.h"

#include "qzil/image/formats.h"
#include "qzil/image/image_ops.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <limits>

namespace qzil::test {
namespace {

template <class T>
void Store(unsigned char* place, T value) {
    std::memcpy(place, &value, sizeof value);
}

float FloatSample(Random& random, FloatValues values) {
    using Limits = std::numeric_limits<float>;
    static constexpr std::array kSpecials{Limits::quiet_NaN(),
                                          Limits::infinity(),
                                          -Limits::infinity(),
                                          Limits::denorm_min(),
                                          Limits::max(),
                                          -Limits::max(),
                                          -0.0f,
                                          65536.0f};
    if (values == FloatValues::WithSpecials && random.OneIn(8)) {
        return kSpecials[static_cast<std::size_t>(random.Below(kSpecials.size()))];
    }
    if (random.OneIn(8)) return random.OneIn(2) ? 0.0f : 1.0f;
    // Whole 4096ths: small enough a grid that values meet exactly, fine enough to round.
    return static_cast<float>(random.Between(-2048, 6144)) / 4096.0f;
}

std::uint16_t WordSample(Random& random, bool isSigned) {
    static constexpr std::array<int, 6> kUnsignedEnds{0, 65535, 1, 65534, 32767, 32768};
    static constexpr std::array<int, 6> kSignedEnds{0, 16384, -32768, 32767, -1, 16383};
    int value = random.Below(65536);
    if (random.OneIn(4)) value = (isSigned ? kSignedEnds : kUnsignedEnds)[static_cast<std::size_t>(random.Below(6))];
    return static_cast<std::uint16_t>(value);
}

unsigned char ByteSample(Random& random) {
    if (random.OneIn(4)) return random.OneIn(2) ? 0 : 255;
    return static_cast<unsigned char>(random.Below(256));
}

}  // namespace

Ref<IXFImage> MakeImage(GUID const& format, int width, int height) {
    Ref<IXFImage> image;
    if (qzILCreateAndAllocImage(nullptr, IID_IXFImage, width, height, format, image.Out()) != 0) return {};
    std::ranges::fill(Bytes(image), static_cast<unsigned char>(0));
    return image;
}

std::span<unsigned char> Bytes(IXFImage* image) {
    void* pixels = nullptr;
    unsigned size = 0;
    if (!image || image->GetPixelArray(&pixels) != 0 || image->GetPixelArraySize(&size) != 0 || !pixels) return {};
    return {static_cast<unsigned char*>(pixels), size};
}

void FillRandom(IXFImage* image, std::uint64_t seed, FloatValues values) {
    Random random(seed);
    XFChannelType type = 0;
    image->GetChannelType(&type);
    auto const bytes = Bytes(image);
    std::size_t const step = type == XFChannelTypeFloat || type == XFChannelTypeUInt32   ? 4
                             : type == XFChannelTypeUInt16 || type == XFChannelTypeS2_14 ? 2
                                                                                         : 1;
    for (std::size_t i = 0; i + step <= bytes.size(); i += step) {
        if (type == XFChannelTypeFloat) {
            Store(&bytes[i], FloatSample(random, values));
        } else if (step == 4) {
            Store(&bytes[i], static_cast<std::uint32_t>(random.Next() >> 17));
        } else if (step == 2) {
            Store(&bytes[i], WordSample(random, type == XFChannelTypeS2_14));
        } else {
            bytes[i] = ByteSample(random);
        }
    }
}

Ref<IXFImage> MakeRandomImage(GUID const& format, int width, int height, std::uint64_t seed, FloatValues values) {
    auto image = MakeImage(format, width, height);
    if (image) FillRandom(image.Get(), seed, values);
    return image;
}

GUID FormatOf(IXFImage* image) {
    GUID format{};
    if (image) image->GetFormat(&format);
    return format;
}

std::string NameOf(GUID const& format) {
    if (char const* const name = FormatName(format)) return name;
    char text[16];
    std::snprintf(text, sizeof text, "%08x-...", format.Data1);
    return text;
}

std::optional<std::size_t> FirstDifference(std::span<unsigned char const> a, std::span<unsigned char const> b) {
    auto const [inA, inB] = std::ranges::mismatch(a, b);
    if (inA == a.end() && inB == b.end()) return std::nullopt;
    return static_cast<std::size_t>(inA - a.begin());
}

std::string DescribeDifference(std::span<unsigned char const> expected, std::span<unsigned char const> actual) {
    auto const place = FirstDifference(expected, actual);
    if (!place) return {};
    auto const value = [&](std::span<unsigned char const> bytes) {
        return *place < bytes.size() ? std::to_string(bytes[*place]) : std::string("nothing");
    };
    return "byte " + std::to_string(*place) + ": expected " + value(expected) + ", actual " + value(actual);
}

}  // namespace qzil::test
