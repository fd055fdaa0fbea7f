#include "model/convert_model.h"

#include "qzil/image/formats.h"

#include <algorithm>
#include <cstring>

namespace qzil::test::model {
namespace {

/// Samples from red to alpha of the formats that hold blue first.
int Place(GUID const& format, int c) {
    static constexpr std::array kBlueFirst{MFIF_BGRA_RAW_32, MFIF_BGRA_RAW_32_VIDEO, MFIF_DIB_RAW_32, MFIF_DIB_RAW_24,
                                           MFIF_BGR_RAW_24};
    return c < 3 && Contains(kBlueFirst, format) ? 2 - c : c;
}

bool GoesThroughColor(GUID const& in, GUID const& out) {
    static constexpr std::array kFormats{MFIF_YCCA_RAW_32, MFIF_YCCA_RAW_64, MFIF_HLSA_RAW_32, MFIF_HLSA_RAW_64};
    return Contains(kFormats, in) || Contains(kFormats, out);
}

/// A pixel as the bytes of its channel type.
template <class T>
std::array<T, 4> Narrow(Pixel const& pixel) {
    std::array<T, 4> values{};
    for (std::size_t c = 0; c < 4; ++c) values[c] = static_cast<T>(pixel[c]);
    return values;
}

qzILColor ColorOf(Pixel const& pixel, GUID const& format) {
    qzILColor color;
    auto const model = GetColorModelFromFormat(format);
    switch (DepthOf(format)) {
        case Depth::Byte: color.SetColorAs32(Narrow<u8>(pixel).data(), model); break;
        case Depth::Word: color.SetColorAs64(Narrow<u16>(pixel).data(), model); break;
        case Depth::Fixed: color.SetColorAsS2_14(Narrow<short>(pixel).data(), model); break;
        case Depth::Real: color.SetColorAsFloat(pixel.data(), model); break;
    }
    return color;
}

/// s = value + carried error; the floor goes out, the rest is carried on.
float Diffuse(float s, float& carried) {
    float const q = std::floor(s);
    carried = s - q;
    return RoundLimit(q, 0, 255);
}

float DiffuseFixed(float value, bool video, i64& carried) {
    i64 const acc = carried + (video ? 1048576 : 0) + static_cast<i64>(value) * (video ? 876 : 1020);
    carried = acc & 0xffff;
    return acc < 0x10000 ? 0.0f : static_cast<float>(std::min<i64>(acc >> 16, 255));
}

float ByteLevels(float value, bool fromVideo, bool toVideo) {
    i64 const c = static_cast<i64>(value);
    if (fromVideo && !toVideo) return static_cast<float>(std::clamp<i64>((c * 76309 - 1188176) >> 16, 0, 255));
    if (!fromVideo && toVideo) return static_cast<float>((c * 56283 + 0x108000) >> 16);
    return value;
}

}  // namespace

Depth DepthOf(GUID const& format) {
    switch (GetChannelTypeFromFormat(format)) {
        case XFChannelTypeUInt8: return Depth::Byte;
        case XFChannelTypeUInt16: return Depth::Word;
        case XFChannelTypeS2_14: return Depth::Fixed;
        default: return Depth::Real;
    }
}

float FullOf(GUID const& format) {
    return std::array{255.0f, 65535.0f, 16384.0f, 1.0f}[static_cast<std::size_t>(DepthOf(format))];
}

float RoundLimit(float value, float low, float high) {
    if (!(value > low)) return low;
    if (value >= high) return high;
    return static_cast<float>(Round(value));
}

Samples::Samples(IXFImage* image, std::span<u8> bytes) : m_oLayout(image), m_oBytes(bytes) {
}

float Samples::Load(std::size_t place, int c) const {
    auto const load = [&](auto value) {
        std::memcpy(&value, &m_oBytes[place + static_cast<std::size_t>(c) * sizeof value], sizeof value);
        return static_cast<float>(value);
    };
    switch (DepthOf(Format())) {
        case Depth::Byte: return load(u8{});
        case Depth::Word: return load(u16{});
        case Depth::Fixed: return load(short{});
        default: return load(float{});
    }
}

void Samples::Store(std::size_t place, int c, float value) {
    auto const store = [&](auto stored) {
        std::memcpy(&m_oBytes[place + static_cast<std::size_t>(c) * sizeof stored], &stored, sizeof stored);
    };
    switch (DepthOf(Format())) {
        case Depth::Byte: return store(static_cast<u8>(RoundLimit(value, 0, 255)));
        case Depth::Word: return store(static_cast<u16>(RoundLimit(value, 0, 65535)));
        case Depth::Fixed: return store(static_cast<short>(RoundLimit(value, -32768, 32767)));
        case Depth::Real: return store(value);
    }
}

Pixel Samples::GetRgba(int x, int y) const {
    Pixel pixel{0, 0, 0, FullOf(Format())};
    for (int c = 0; c < Count(); ++c) pixel[static_cast<std::size_t>(c)] = Get(x, y, Place(Format(), c));
    return pixel;
}

void Samples::PutRgba(int x, int y, Pixel const& pixel) {
    for (int c = 0; c < Count(); ++c) Put(x, y, Place(Format(), c), pixel[static_cast<std::size_t>(c)]);
}

float DepthOfSample(float v, Depth from, bool fromVideo, Depth to, bool toVideo) {
    if (from == Depth::Real && to == Depth::Fixed) return 16384.0f * v;
    if (from == Depth::Fixed && to == Depth::Real) return v / 16384.0f;
    if (from == Depth::Real) return toVideo ? 219.0f * v + 16.0f : 255.0f * v;
    if (from == Depth::Fixed) return toVideo ? v * (219.0f / 16384.0f) + 16.0f : v * (255.0f / 16384.0f);
    float const one = to == Depth::Fixed ? 16384.0f : 1.0f;
    return fromVideo ? v * (one / 219.0f) - 16.0f * one / 219.0f : v * (one / 255.0f);
}

void RgbaLine(LineJob const& line) {
    GUID const &in = line.oIn.Format(), &out = line.oOut.Format();
    Depth const from = DepthOf(in), to = DepthOf(out);
    bool const deep = from == Depth::Real || from == Depth::Fixed;
    bool const dither = line.bDither && deep && to == Depth::Byte;
    Pixel errors{};
    std::array<i64, 4> fixedErrors{};
    for (int c = 0; dither && c < line.oOut.Count(); ++c) {
        auto const i = static_cast<std::size_t>(c);
        errors[i] = line.oDraws.Uniform();
        fixedErrors[i] = Round(errors[i] * 65536.0f) & 0xffff;
    }
    for (int x = 0; x < line.iWidth; ++x) {
        Pixel pixel = line.oIn.GetRgba(line.iInX + x, line.iInY);
        for (std::size_t c = 0; c < 4; ++c) {
            bool const fromVideo = c < 3 && IsFormatVideoLevels(in), toVideo = c < 3 && IsFormatVideoLevels(out);
            float& v = pixel[c];
            if (dither && from == Depth::Real) {
                v = Diffuse(toVideo ? v * 219.0f + 16.0f + errors[c] : v * 255.0f + errors[c], errors[c]);
            } else if (dither) {
                v = DiffuseFixed(v, toVideo, fixedErrors[c]);
            } else if (from == Depth::Byte && to == Depth::Byte) {
                v = ByteLevels(v, fromVideo, toVideo);
            } else if (from == Depth::Word) {
                v = static_cast<float>(static_cast<i64>(v) & 0xff);
            } else if (to == Depth::Word) {
                v *= 257;
            } else if (from != to) {
                v = DepthOfSample(v, from, fromVideo, to, toVideo);
            }
        }
        line.oOut.PutRgba(line.iOutX + x, line.iOutY, pixel);
    }
}

void ColorLine(LineJob const& line) {
    GUID const& out = line.oOut.Format();
    auto const model = GetColorModelFromFormat(out);
    for (int x = 0; x < line.iWidth; ++x) {
        qzILColor const color = ColorOf(line.oIn.GetRgba(line.iInX + x, line.iInY), line.oIn.Format());
        std::array<u8, 4> bytes{};
        std::array<u16, 4> words{};
        color.GetColorAs32(bytes.data(), model);
        color.GetColorAs64(words.data(), model);
        Pixel pixel;
        for (std::size_t c = 0; c < 4; ++c) pixel[c] = DepthOf(out) == Depth::Byte ? bytes[c] : words[c];
        line.oOut.PutRgba(line.iOutX + x, line.iOutY, pixel);
    }
}

void ConvertModel(Call& call) {
    Samples const in(call.oImages.oInputs[0].Get(), Bytes(call.oImages.oInputs[0]));
    Samples out(call.oImages.Output().Get(), call.oOutput);
    qzILRandomNumber draws;  // has a test against the published generator
    draws.SetFixedSeed(1234569871);
    auto const convert = GoesThroughColor(in.Format(), out.Format()) ? ColorLine
                         : IsFormatYCC(out.Format())                 ? ToYccLine
                         : IsFormatYCC(in.Format())                  ? FromYccLine
                                                                     : RgbaLine;
    auto const is = [&](char const* flag) {
        return call.oScene.pEntry->FindParameter(flag) && call.oScene.Get<bool>(flag);
    };
    qzILBbox2l const& box = call.oActive;
    for (int y = box.Origin.y; y < box.Origin.y + box.Size.y; ++y) {
        if (call.SkipsLine(y)) continue;
        convert({in, out, box.Origin.x, y, call.OutputX(box.Origin.x), call.OutputY(y), box.Size.x, is("filter"),
                 is("dither"), draws});
    }
}

}  // namespace qzil::test::model
