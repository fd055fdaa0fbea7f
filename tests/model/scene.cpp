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

/// Mask values of a line.
template <class T>
std::vector<T> MaskLine(Scene const& scene, int y) {
    std::vector<T> values;
    if (!scene.oMask) return values;
    PlainLayout const layout(scene.oMask.Get());
    auto const bytes = Bytes(scene.oMask);
    auto const channel = scene.uMask == 16 ? 0 : std::bit_width(scene.uMask) - 1;
    for (int x = 0; x < scene.iWidth; ++x) {
        T value;
        std::memcpy(&value, &bytes[layout.Pixel(x, y)] + static_cast<std::size_t>(channel) * sizeof(T), sizeof(T));
        values.push_back(value);
    }
    return values;
}

/// Sends every line of a scene through a model, over the bytes that the output holds before.
template <class T>
void RunModel(Scene const& scene, AnyModel const& model, std::span<unsigned char> out, Planes planes) {
    std::vector<unsigned char> const a(Bytes(scene.oA).begin(), Bytes(scene.oA).end());
    std::vector<unsigned char> const b(Bytes(scene.oB).begin(), Bytes(scene.oB).end());
    auto const& p = scene.bDominantB ? b : a;
    PlainLayout const layout(scene.oA.Get());
    GUID const& format = scene.oFormat;
    auto const at = [](auto& bytes, std::size_t place) { return reinterpret_cast<T*>(&bytes[place]); };
    auto const in = [](auto& bytes, std::size_t place) { return reinterpret_cast<T const*>(&bytes[place]); };
    auto const copy = [](Line<T> const& line) { std::copy_n(line.pP, line.iWidth * line.Samples(), line.pOut); };
    for (int y = 0; y < scene.iHeight; ++y) {
        auto const mask = MaskLine<T>(scene, y);
        // Split fields are walked in memory order, the mask line by line.
        std::size_t const c = IsFormatSplitField(format)
                                  ? static_cast<std::size_t>(y * scene.iWidth) * layout.PixelStep()
                                  : layout.Pixel(0, y);
        Kind const kind = IsFormatYCC(format) ? Kind::Video : IsFormatMono(format) ? Kind::Mono : Kind::Rgba;
        Line<T> line{kind,     format,   scene.iWidth, scene.uMode, scene.bDominantB, in(a, c),
                     in(b, c), in(p, c), nullptr,      nullptr,     at(out, c),       nullptr};
        if (!mask.empty()) line.pMask = mask.data();
        if (!layout.HasAlphaPlane()) {
            model(line);
            continue;
        }
        std::size_t const s = layout.Alpha(0, y);
        Line<T> alpha{Kind::Mono, format,   scene.iWidth, scene.uMode, scene.bDominantB, in(a, s),
                      in(b, s),   in(p, s), line.pMask,   nullptr,     at(out, s),       nullptr};
        if (planes == Planes::Whole) {
            line.pAlphaIn = alpha.pP;
            line.pAlphaOut = alpha.pOut;
            model(line);
        } else {
            scene.uMode & 7 ? model(line) : copy(line);
            scene.uMode & 8 ? model(alpha) : copy(alpha);
        }
    }
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

void Configure(Scene const& scene, qzILImgProc& effect) {
    if (auto* const dyadic = dynamic_cast<qzILDyadicImgProc*>(&effect)) {
        dyadic->SetInputImgA(scene.oA.Get());
        dyadic->SetInputImgB(scene.oB.Get());
        dyadic->SetDominantInput(scene.Dominant());
    } else {
        dynamic_cast<qzILMonadicImgProc&>(effect).SetInputImg(scene.oA.Get());
    }
    effect.SetOutputImg(scene.Output());
    effect.SetProcessingMode(scene.uMode);
    effect.SetMask({0, 0, scene.iWidth, scene.iHeight}, scene.oMask.Get(), scene.oMask ? scene.uMask : 16u);
}

void ExpectModel(Scene& scene, qzILImgProc& effect, AnyModel const& model, std::string const& parameters,
                 Planes planes) {
    Configure(scene, effect);
    VisitType(GetChannelTypeFromFormat(scene.oFormat), [&](auto zero) {
        using T = decltype(zero);
        auto const output = Bytes(scene.Output());
        std::vector<unsigned char> expected(output.begin(), output.end());
        RunModel<T>(scene, model, expected, planes);
        auto const what = [&] {
            return std::string(effect.GetActualClassName()) + ' ' + scene.Describe() + ' ' + parameters;
        };
        ASSERT_EQ(effect.Execute(), 1) << what();
        EXPECT_EQ(SampleDifference(scene.oFormat, expected, output), "") << what();
    });
    if (scene.iInPlace) scene.Make();
}

std::string SampleDifference(GUID const& format, std::span<u8 const> expected, std::span<u8 const> actual) {
    std::ostringstream text;
    text.precision(9);
    VisitType(GetChannelTypeFromFormat(format), [&](auto e) {
        auto f = e;
        for (std::size_t i = 0; i + sizeof e <= expected.size() && text.str().empty(); i += sizeof e) {
            std::memcpy(&e, &expected[i], sizeof e);
            std::memcpy(&f, &actual[i], sizeof e);
            if (std::memcmp(&e, &f, sizeof e) == 0 || (e != e && f != f)) continue;
            text << "sample " << i / sizeof e << ": expected " << +e << ", actual " << +f;
        }
    });
    return text.str();
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
