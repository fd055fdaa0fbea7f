#include "media/convert.h"
#include "media/picture.h"
#include "qzil/image/image_helper.h"
#include "qzil/image/image_ops.h"
#include "qzil/image/pixel_math.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <type_traits>

namespace qzil::media {

namespace {

enum class Channel { kByte, kWord, kS2_14, kFloat };

struct WorkingFormat {
    GUID oFormat;
    Channel eChannel;
    int iChannels;
    bool bBlueFirst;
};

constexpr WorkingFormat kWorkingFormats[] = {
    {MFIF_RGBA_RAW_32, Channel::kByte, 4, false},    {MFIF_RGBA_RAW_64, Channel::kWord, 4, false},
    {MFIF_RGBA_S2_14, Channel::kS2_14, 4, false},    {MFIF_RGBA_FLOAT, Channel::kFloat, 4, false},
    {MFIF_RGBA_FLOAT_BU, Channel::kFloat, 4, false}, {MFIF_BGRA_RAW_32, Channel::kByte, 4, true},
    {MFIF_DIB_RAW_32, Channel::kByte, 4, true},      {MFIF_RGB_RAW_24, Channel::kByte, 3, false},
    {MFIF_MONO_RAW_8, Channel::kByte, 1, false},     {MFIF_MONO_RAW_8_TD, Channel::kByte, 1, false},
    {MFIF_MONO_RAW_16, Channel::kWord, 1, false},    {MFIF_MONO_S2_14, Channel::kS2_14, 1, false},
    {MFIF_MONO_FLOAT, Channel::kFloat, 1, false},    {MFIF_MONO_FLOAT_BU, Channel::kFloat, 1, false},
};

constexpr auto kWorkingIds = [] {
    std::array<GUID, std::size(kWorkingFormats)> ids{};
    for (std::size_t i = 0; i < ids.size(); ++i) ids[i] = kWorkingFormats[i].oFormat;
    return ids;
}();

/// The description of a working format.
WorkingFormat const& FindFormat(GUID const& format) {
    return *std::find_if(std::begin(kWorkingFormats), std::end(kWorkingFormats),
                         [&](WorkingFormat const& known) { return known.oFormat == format; });
}

/// Calls `f` with the channel traits of a picture's samples.
template <class F>
void WithSamples(int depth, F f) {
    switch (depth) {
        case 8: return f(qzILFormat<unsigned char>());
        case 16: return f(qzILFormat<unsigned short>());
        case 32: return f(qzILFormat<float>());
        default: throw MediaError("a picture has samples of 8, 16 or 32 bits, not " + std::to_string(depth));
    }
}

/// Calls `f` with the channel traits of an image format.
template <class F>
void WithChannels(Channel channel, F f) {
    switch (channel) {
        case Channel::kByte: return f(qzILFormat<unsigned char>());
        case Channel::kWord: return f(qzILFormat<unsigned short>());
        case Channel::kS2_14: return f(qzILFormat<short>());
        case Channel::kFloat: return f(qzILFormat<float>());
    }
}

template <class From>
constexpr double ToReal(typename From::Channel sample) {
    return static_cast<double>(sample) / From::kScale;
}

template <class To, class From>
constexpr typename To::Channel Convert(typename From::Channel sample) {
    if constexpr (std::is_same_v<To, From>) {
        return sample;
    } else {
        return To::FromReal(ToReal<From>(sample));
    }
}

template <class From>
constexpr double Luma(typename From::Channel const (&rgb)[4]) {
    return 0.299 * ToReal<From>(rgb[0]) + 0.587 * ToReal<From>(rgb[1]) + 0.114 * ToReal<From>(rgb[2]);
}

/// Pixels of the same samples in the same order, with alpha put behind or left out; false when they are not.
template <class Sample>
bool CopyRow(unsigned char const* in, int inChannels, unsigned char* out, int outChannels, int width, Sample full) {
    auto const* pIn = reinterpret_cast<Sample const*>(in);
    auto* pOut = reinterpret_cast<Sample*>(out);
    if (inChannels == outChannels) {
        std::memcpy(out, in, static_cast<unsigned>(width * inChannels) * sizeof(Sample));
        return true;
    }
    if (inChannels < 3 || outChannels < 3) return false;
    auto const copy = [=]<int kIn, int kOut>(std::integral_constant<int, kIn>, std::integral_constant<int, kOut>) {
        for (std::ptrdiff_t x = 0; x < width; ++x) {
            for (int i = 0; i < 3; ++i) pOut[kOut * x + i] = pIn[kIn * x + i];
            if (kOut == 4) pOut[kOut * x + 3] = full;
        }
    };
    using Three = std::integral_constant<int, 3>;
    using Four = std::integral_constant<int, 4>;
    inChannels == 3 ? copy(Three(), Four()) : copy(Four(), Three());
    return true;
}

/// A row of a picture into a line of an image.
template <class To, class From>
void StoreRow(Picture const& picture, unsigned char const* in, WorkingFormat const& format, unsigned char* out) {
    if constexpr (std::is_same_v<To, From>) {
        bool const plain = !format.bBlueFirst && picture.iChannels != 2;
        if (plain && CopyRow(in, picture.iChannels, out, format.iChannels, picture.iWidth, To::kFull)) return;
    }
    bool const grey = picture.iChannels < 3;
    bool const alpha = picture.iChannels % 2 == 0;
    std::size_t const inBytes = picture.PixelBytes();
    std::size_t const outBytes = static_cast<unsigned>(format.iChannels) * sizeof(typename To::Channel);
    for (int x = 0; x < picture.iWidth; ++x, in += inBytes, out += outBytes) {
        typename From::Channel pixel[4] = {};
        typename To::Channel result[4] = {};
        std::memcpy(pixel, in, inBytes);
        if (format.iChannels == 1) {
            result[0] = grey ? Convert<To, From>(pixel[0]) : To::FromReal(Luma<From>(pixel));
        } else {
            for (int i = 0; i < 3; ++i) {
                result[format.bBlueFirst ? 2 - i : i] = Convert<To, From>(pixel[grey ? 0 : i]);
            }
            result[3] = alpha ? Convert<To, From>(pixel[grey ? 1 : 3]) : To::kFull;
        }
        std::memcpy(out, result, outBytes);
    }
}

/// A line of an image into a row of a picture that has the format's channels.
template <class To, class From>
void LoadRow(Picture const& picture, unsigned char const* in, WorkingFormat const& format, unsigned char* out) {
    if constexpr (std::is_same_v<To, From>) {
        if (!format.bBlueFirst && CopyRow(in, format.iChannels, out, picture.iChannels, picture.iWidth, To::kFull))
            return;
    }
    std::size_t const inBytes = static_cast<unsigned>(format.iChannels) * sizeof(typename From::Channel);
    std::size_t const outBytes = picture.PixelBytes();
    for (int x = 0; x < picture.iWidth; ++x, in += inBytes, out += outBytes) {
        typename From::Channel pixel[4] = {};
        typename To::Channel result[4] = {};
        std::memcpy(pixel, in, inBytes);
        for (int i = 0; i < picture.iChannels; ++i) {
            result[i] = Convert<To, From>(pixel[format.bBlueFirst && i < 3 ? 2 - i : i]);
        }
        std::memcpy(out, result, outBytes);
    }
}

}  // namespace

std::span<GUID const> WorkingFormats() {
    return kWorkingIds;
}

Ref<IXFImage> ToImage(Picture const& picture, GUID const& format) {
    if (!Contains(kWorkingIds, format)) {
        return Convert(*ToImage(picture, picture.iDepth == 8 ? MFIF_RGBA_RAW_32 : MFIF_RGBA_FLOAT).Get(), format);
    }
    if (!picture.IsSound()) throw MediaError("the picture's samples do not fit its description");
    WorkingFormat const& working = FindFormat(format);
    Ref<IXFImage> image;
    if (qzILCreateAndAllocImage(nullptr, IID_IXFImage, picture.iWidth, picture.iHeight, format, image.Out()) < 0) {
        throw MediaError("there is not enough memory for an image of " + std::to_string(picture.iWidth) + " x " +
                         std::to_string(picture.iHeight) + " pixels in " + FormatName(format));
    }
    qzILImageHelper const helper(image.Get());
    WithSamples(picture.iDepth, [&]<class From>(From) {
        WithChannels(working.eChannel, [&]<class To>(To) {
            // Logical lines count from the bottom of the picture, whatever the order in memory.
            for (int y = 0; y < picture.iHeight; ++y) {
                StoreRow<To, From>(picture, picture.Row(y), working, helper.GetPixelPtr(0, picture.iHeight - 1 - y));
            }
        });
    });
    return image;
}

/// Whether every pixel of four channels has full alpha.
template <class From>
bool IsOpaque(qzILImageHelper const& image) {
    for (int y = 0; y < image.m_iHeight; ++y) {
        auto const* const pLine = reinterpret_cast<typename From::Channel const*>(image.GetPixelPtr(0, y));
        for (std::ptrdiff_t x = 0; x < image.m_iWidth; ++x) {
            if (pLine[4 * x + 3] != From::kFull) return false;
        }
    }
    return true;
}

Picture FromImage(IXFImage& image, bool dropFullAlpha) {
    qzILImageHelper const helper(&image);
    if (!helper.m_pLineZero) throw MediaError("the image has no pixels to make a picture of");
    if (!Contains(kWorkingIds, helper.m_oFormat)) {
        return FromImage(*Convert(image, helper.m_uChannelSize == 1 ? MFIF_RGBA_RAW_32 : MFIF_RGBA_FLOAT).Get(),
                         dropFullAlpha);
    }
    WorkingFormat const& working = FindFormat(helper.m_oFormat);
    int const depth = working.eChannel == Channel::kByte ? 8 : working.eChannel == Channel::kWord ? 16 : 32;
    int channels = working.iChannels;
    WithChannels(working.eChannel, [&]<class From>(From) {
        if (dropFullAlpha && channels == 4 && IsOpaque<From>(helper)) channels = 3;
    });
    Picture picture(helper.m_iWidth, helper.m_iHeight, channels, depth);
    WithSamples(depth, [&]<class To>(To) {
        WithChannels(working.eChannel, [&]<class From>(From) {
            for (int y = 0; y < picture.iHeight; ++y) {
                LoadRow<To, From>(picture, helper.GetPixelPtr(0, picture.iHeight - 1 - y), working, picture.Row(y));
            }
        });
    });
    return picture;
}

}  // namespace qzil::media
