#include "scene/scene.h"

#include "model/rules.h"
#include "support/plain_layout.h"

#include "qzil/frame/image_utils.h"
#include "qzil/image/format_relations.h"
#include "qzil/image/image_helper.h"
#include "qzil/image/image_ops.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <sstream>

namespace qzil::test {
namespace {

std::string Text(qzILBbox2l const& box) {
    std::ostringstream text;
    text << box.Origin.x << ',' << box.Origin.y << ' ' << box.Size.x << 'x' << box.Size.y;
    return text.str();
}

qzILColor RandomColor(Random& random) {
    auto const value = [&random] { return random.OneIn(4) ? random.Below(2) : random.Below(1001) / 1000.0; };
    double const red = value(), green = value(), blue = value();
    return qzILColor(red, green, blue, value());
}

/// Taps that overshoot now and then; half of the kernels are products of a row and a column.
catalog::Value RandomKernel(Random& random) {
    catalog::Kernel kernel;
    kernel.iWidth = 2 * random.Below(4) + 1;
    kernel.iHeight = 2 * random.Below(4) + 1;
    auto const tap = [&random] {
        return random.OneIn(5) ? 0.0f : static_cast<float>(random.Between(-300, 700) / 1000.0);
    };
    std::vector<float> row, column;
    for (int i = 0; i < kernel.iWidth; ++i) row.push_back(tap());
    for (int j = 0; j < kernel.iHeight; ++j) column.push_back(tap());
    bool const product = random.OneIn(2);
    for (float const y : column) {
        for (float const x : row) kernel.oTaps.push_back(product ? x * y : tap());
    }
    return std::make_shared<catalog::Kernel const>(std::move(kernel));
}

catalog::Value RandomValue(catalog::Parameter const& parameter, Random& random) {
    using catalog::Kind;
    switch (parameter.eKind) {
        case Kind::Real: {
            double const share = random.OneIn(3) ? random.Below(3) / 2.0 : random.Below(10001) / 10000.0;
            return parameter.oRange.dfMin + share * (parameter.oRange.dfMax - parameter.oRange.dfMin);
        }
        case Kind::Integer:
            return static_cast<long>(random.Between(static_cast<int>(std::max(parameter.oRange.dfMin, -1000.0)),
                                                    static_cast<int>(std::min(parameter.oRange.dfMax, 1000.0))));
        case Kind::Flag: return random.OneIn(2);
        case Kind::Choice: return parameter.oChoices[random.Below(static_cast<int>(parameter.oChoices.size()))].iValue;
        case Kind::Color: return RandomColor(random);
        case Kind::Set: {
            long all = 0;
            for (catalog::Choice const& choice : parameter.oChoices) all |= choice.iValue;
            return random.OneIn(4)
                       ? all
                       : parameter.oChoices[random.Below(static_cast<int>(parameter.oChoices.size()))].iValue;
        }
        case Kind::Pair: {
            // Small numbers, whole ones and 0 among them: radii are meant.
            auto const number = [&random] {
                return static_cast<float>(random.OneIn(2) ? random.Below(8) : random.Below(80) / 10.0);
            };
            float const y = number(), x = number();
            return qzILVector2f(x, y);
        }
        case Kind::Kernel: return RandomKernel(random);
        default: return parameter.oDefault;
    }
}

/// Places and sizes that mean something for graphics formats: anything that overlaps now and then.
void RandomPlaces(Scene& scene, Random& random) {
    bool const wide = random.OneIn(40);
    auto const size = [&] {
        int const y = random.Between(1, wide ? 3 : 24);
        return qzILVector2l(wide ? random.Between(500, 2200) : random.Between(1, 40), y);
    };
    scene.oSizes[0] = size();
    for (std::size_t i = 1; i < scene.oSizes.size(); ++i) scene.oSizes[i] = random.OneIn(2) ? scene.oSizes[0] : size();
    scene.oInputOffset = random.OneIn(2) ? qzILVector2l() : qzILVector2l(random.Between(-9, 9), random.Between(-9, 9));
    scene.oOutputSize = {random.Between(1, wide ? 2200 : 44), random.Between(1, 28)};
    scene.oRoi.Origin = {random.Between(-6, 20), random.Between(-6, 12)};
}

void EvenColumns(qzILVector2l& v) {
    v.x &= ~1;
}

using model::kIsByte;
using model::kIsFloat;
using model::kIsS2_14;
using model::kIsWord;

template <class T>
T EndSample(Random& random) {
    if constexpr (kIsByte<T>) return OneOf<T>(random, std::array<T, 6>{0, 1, 127, 128, 254, 255});
    if constexpr (kIsWord<T>) return OneOf<T>(random, std::array<T, 6>{0, 1, 32767, 32768, 65534, 65535});
    if constexpr (kIsS2_14<T>) return OneOf<T>(random, std::array<T, 8>{-32768, -1, 0, 1, 16383, 16384, 32767, -32767});
    if constexpr (kIsFloat<T>)
        return OneOf<T>(random, std::array{0.0f, 1.0f, -0.25f, 1.5f, 0.5f, 1e-6f, -3.0f, 0.999f});
}

template <class T>
T Sample(Random& random, bool specials) {
    using Limits = std::numeric_limits<T>;
    if constexpr (kIsFloat<T>) {
        std::array const kSpecials{Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN(), Limits::denorm_min(),
                                   Limits::max()};
        if (specials && random.OneIn(8)) return OneOf<T>(random, kSpecials);
        return random.OneIn(3) ? EndSample<T>(random) : static_cast<T>(random.Between(-4000, 14000)) / 9973.0f;
    } else {
        if (random.OneIn(2)) return EndSample<T>(random);
        // S2.14 mostly between 0 and 1.0, where alpha means something.
        return static_cast<T>(random.Below(kIsByte<T> ? 256 : kIsS2_14<T> && random.OneIn(2) ? 16385 : 65536));
    }
}

template <class T>
T MaskSample(Random& random) {
    if (!random.OneIn(3)) {
        if constexpr (kIsFloat<T>) return static_cast<float>(random.Below(9973)) / 9973.0f;
        return static_cast<T>(random.Below(static_cast<int>(model::One<T>()) + 1));
    }
    if constexpr (kIsS2_14<T>) return OneOf<T>(random, std::array<T, 5>{-1, 1, 8192, 16385, EndSample<T>(random)});
    if constexpr (kIsFloat<T>) return OneOf<T>(random, std::array{-1.0f, -1e-6f, 0.0f, 1e-6f, 0.999999f, 1.0f, 1.25f});
    return EndSample<T>(random);
}

template <class Fn>
void FillSamples(IXFImage* image, Fn value) {
    model::VisitType(GetChannelTypeFromFormat(FormatOf(image)), [&](auto zero) {
        auto const bytes = Bytes(image);
        for (std::size_t i = 0; i < bytes.size() / sizeof zero; ++i) {
            auto const sample = value(zero, i);
            std::memcpy(&bytes[i * sizeof zero], &sample, sizeof zero);
        }
    });
}

/// The n-th of a scene's images, the last two being output and mask. Of the pairs of values, the column of a pixel is
/// the first, its line the second.
void FillImage(IXFImage* image, Scene const& scene, std::size_t n) {
    std::uint64_t const seed = scene.uSeed * 4 + n;
    bool const mask = n == 3, second = n == 1 || mask;
    if (scene.eFill == Fill::Random || !image) {
        if (image) FillRandom(image, seed);
    } else if (scene.eFill == Fill::EveryPair && n != 2 && !(n == 1 && scene.HasMask())) {
        PlainLayout const layout(image);
        std::size_t const channels = layout.PixelStep() / layout.uChannelSize;
        bool const isLine = !second && !scene.HasMask() && scene.oSizes.size() < 2;
        FillSamples(image, [&](auto zero, std::size_t i) {
            std::size_t const pixel = i / channels, c = i % channels;
            if (sizeof zero == 2) return static_cast<decltype(zero)>(second ? pixel * 40503 : pixel);
            std::size_t const column = pixel % 256 * (c < 3 ? 2 * c + 1 : 1), line = pixel / 256;
            return static_cast<decltype(zero)>(second || (isLine && c == 3) ? line : column);
        });
    } else if (mask) {
        Random random(seed);
        double last = 0;
        FillSamples(image, [&](auto zero, std::size_t) {
            using T = decltype(zero);
            if (!random.OneIn(4)) last = static_cast<double>(MaskSample<T>(random));  // real masks have runs of a value
            return static_cast<T>(last);
        });
    } else {
        FillEnds(image, seed, scene.eFill == Fill::Specials && n != 2);
    }
}

/// Verify's opinion.
bool IsAccepted(Scene const& scene) {
    Images const images(scene);
    return Prepare(scene, images).Effect().Verify() == 1;
}

/// Only the last pixel of an image of odd width is alone in its pair.
bool CutsPair(Scene const& scene) {
    qzILBbox2l const inside = scene.oRoi.Intersect(scene.Dominant()).Intersect(scene.Other());
    int const end = inside.Origin.x + inside.Size.x;
    return (inside.Size.x & 1) != 0 && end != scene.Dominant().Origin.x + scene.Dominant().Size.x;
}

}  // namespace

void FillEnds(IXFImage* image, std::uint64_t seed, bool specials) {
    Random random(seed);
    FillSamples(image, [&](auto zero, std::size_t) { return Sample<decltype(zero)>(random, specials); });
}

qzILBbox2l Scene::BoxOf(std::size_t input) const {
    if (oSizes.empty()) return oRoi;
    qzILVector2l const place = input == 1 ? oInputOffset : qzILVector2l();
    return {place.x, place.y, oSizes[input].x, oSizes[input].y};
}

std::size_t Scene::IndexOf(std::string_view parameter) const {
    return static_cast<std::size_t>(pEntry->FindParameter(parameter) - pEntry->oParameters.data());
}

std::string Scene::Describe() const {
    std::ostringstream text;
    text << pEntry->sName << ' ' << NameOf(oFormat) << " to " << NameOf(OutputFormat()) << " seed " << uSeed << " mode "
         << std::hex << uMode << std::dec << " fill " << static_cast<int>(eFill) << " inputs";
    for (qzILVector2l const& size : oSizes) text << ' ' << size.x << 'x' << size.y;
    if (HasB()) {
        text << " b at " << oInputOffset.x << ',' << oInputOffset.y << " dominant " << (bDominantB ? 'b' : 'a')
             << (bSameInputs ? " same image" : "");
    }
    text << " roi " << Text(oRoi) << " output " << oOutputSize.x << 'x' << oOutputSize.y << " offset "
         << oOutputOffset.x << ',' << oOutputOffset.y << " in place " << iInPlace;
    if (HasMask())
        text << " mask " << NameOf(oMaskFormat) << " channel " << uMaskChannel << " rect " << Text(oMaskRect);
    for (std::size_t i = 0; i < oValues.size(); ++i) {
        text << ' ' << pEntry->oParameters[i].sName << '=';
        if (auto const* const pReal = std::get_if<double>(&oValues[i])) text << *pReal;
        if (auto const* const pInteger = std::get_if<long>(&oValues[i])) text << *pInteger;
        if (auto const* const pFlag = std::get_if<bool>(&oValues[i])) text << *pFlag;
        if (auto const* const pPair = std::get_if<qzILVector2f>(&oValues[i])) text << pPair->x << '/' << pPair->y;
        if (auto const* const pKernel = std::get_if<std::shared_ptr<catalog::Kernel const>>(&oValues[i])) {
            text << (*pKernel)->iWidth << 'x' << (*pKernel)->iHeight;
            for (float const tap : (*pKernel)->oTaps) text << ' ' << tap;
        }
        if (auto const* const pColor = std::get_if<qzILColor>(&oValues[i])) {
            text << pColor->GetRed() << '/' << pColor->GetGreen() << '/' << pColor->GetBlue() << '/'
                 << pColor->GetAlpha();
        }
    }
    return text.str();
}

Images::Images(Scene const& scene) {
    auto const make = [&scene](GUID const& format, qzILVector2l const& size, std::size_t n) {
        Ref<IXFImage> image = MakeImage(format, size.x, size.y);
        FillImage(image.Get(), scene, n);
        return image;
    };
    for (std::size_t i = 0; i < scene.oSizes.size(); ++i) {
        bool const same = i > 0 && scene.bSameInputs;
        oInputs.push_back(same ? oInputs[0] : make(scene.oFormat, scene.oSizes[i], i < 2 ? i : i + 2));
    }
    for (std::size_t i = 0; i < scene.pEntry->oOutputs.size(); ++i) {
        bool const inPlace = i == 0 && scene.iInPlace >= 0;
        oOutputs.push_back(inPlace ? oInputs[static_cast<std::size_t>(scene.iInPlace)]
                                   : make(scene.OutputFormat(), scene.oOutputSize, 2));
    }
    if (scene.HasMask()) oMask = make(scene.oMaskFormat, scene.oMaskRect.Size, 3);
}

void SetImages(catalog::Instance& instance, Scene const& scene, Images const& images) {
    for (std::size_t i = 0; i < images.oInputs.size(); ++i) instance.SetInput(i, images.oInputs[i].Get());
    for (std::size_t i = 0; i < images.oOutputs.size(); ++i) instance.SetOutput(images.oOutputs[i].Get(), i);
    instance.SetMask(scene.oMaskRect, images.oMask.Get(), scene.uMaskChannel);
}

catalog::Instance Prepare(Scene const& scene, Images const& images) {
    catalog::Instance instance = scene.pEntry->Make();
    SetImages(instance, scene, images);
    instance.SetInputOffset(scene.oInputOffset);
    instance.SetDominant(scene.bDominantB);
    for (std::size_t i = 0; i < scene.oValues.size(); ++i) instance.Set(i, scene.oValues[i]);
    instance.SetRoi(scene.oRoi);
    instance.SetOutputOffset(scene.oOutputOffset);
    instance.SetDefaultColor(scene.oDefaultColor);
    instance.Effect().SetProcessingMode(scene.uMode);
    return instance;
}

Images Executed(Scene const& scene) {
    Images images(scene);
    EXPECT_EQ(Prepare(scene, images).Effect().Execute(), 1) << scene.Describe();
    return images;
}

std::vector<unsigned char> Results(catalog::Instance& instance, Images const& images) {
    std::vector<unsigned char> all;
    auto const add = [&all](std::span<unsigned char const> bytes) {
        all.insert(all.end(), bytes.begin(), bytes.end());
    };
    for (Ref<IXFImage> const& output : images.oOutputs) add(Bytes(output));
    for (std::size_t i = 0; i < instance.Describes().oResults.size(); ++i) {
        std::vector<double> const numbers = instance.ResultOf(i);
        add({reinterpret_cast<unsigned char const*>(numbers.data()), numbers.size() * sizeof(double)});
    }
    return all;
}

std::vector<unsigned char> Results(Scene const& scene) {
    Images const images(scene);
    catalog::Instance instance = Prepare(scene, images);
    EXPECT_EQ(instance.Effect().Execute(), 1) << scene.Describe();
    return Results(instance, images);
}

Pixel PixelAt(qzILImageHelper const& helper, int x, int y) {
    Pixel pixel;
    std::memcpy(pixel.auBytes, helper.GetPixelPtr(x, y), static_cast<std::size_t>(helper.m_iPixelStep));
    if (helper.m_iSeparateAlpha) std::memcpy(pixel.auBytes + 16, helper.GetAlphaPtr(x, y), helper.m_uChannelSize);
    return pixel;
}

Ref<IXFImage> Filled(Scene const& scene) {
    Ref<IXFImage> image = MakeImage(scene.OutputFormat(), scene.oOutputSize.x, scene.oOutputSize.y);
    qzILFillImageWithColor(image.Get(), scene.oDefaultColor, 15, nullptr, nullptr);
    return image;
}

GUID MaskFormatFor(GUID const& format, bool fourChannels) {
    switch (GetChannelTypeFromFormat(format)) {
        case XFChannelTypeUInt8: return fourChannels ? MFIF_RGBA_RAW_32 : MFIF_MONO_RAW_8;
        case XFChannelTypeUInt16: return fourChannels ? MFIF_RGBA_RAW_64 : MFIF_MONO_RAW_16;
        case XFChannelTypeS2_14: return fourChannels ? MFIF_RGBA_S2_14 : MFIF_MONO_S2_14;
        case XFChannelTypeFloat: return fourChannels ? MFIF_RGBA_FLOAT : MFIF_MONO_FLOAT;
        default: return GUID_NULL;
    }
}

std::vector<catalog::Value> RandomValues(catalog::Entry const& entry, Random& random) {
    std::vector<catalog::Value> values;
    for (catalog::Parameter const& parameter : entry.oParameters) values.push_back(RandomValue(parameter, random));
    return values;
}

std::vector<catalog::Value> RandomValuesFor(catalog::Entry const& entry, GUID const& format, Random& random) {
    for (;;) {
        Scene scene = PlainScene(entry, format, 2, 2);
        scene.uMode = 15;
        scene.oValues = RandomValues(entry, random);
        if (IsAccepted(scene)) return scene.oValues;
    }
}

std::span<catalog::Entry const> NetEffects() {
    static std::vector<catalog::Entry> const l_oEffects = [] {
        std::vector<catalog::Entry> effects;
        for (catalog::Entry const& entry : catalog::Effects()) {
            if (!entry.bUpdates) effects.push_back(entry);
        }
        return effects;
    }();
    return l_oEffects;
}

bool IsPicture(catalog::Entry const& entry) {
    return !entry.IsGenerator() && entry.RequiredInputs() == entry.oInputs.size() && entry.oOutputs.size() == 1;
}

bool Scene::EqualsPartOfWhole() const {
    return !pEntry->oRegionMatters || !pEntry->oRegionMatters(oValues, oFormat);
}

Scene RandomScene(catalog::Entry const& entry, GUID const& format, Random& random) {
    for (;;) {
        Scene scene = PlainScene(entry, format, 1, 1);
        bool const video = IsVideo(format), pairs = HasPairs(format);
        scene.uSeed = random.Next() >> 8;
        scene.oValues = RandomValuesFor(entry, format, random);
        scene.oDefaultColor = RandomColor(random);
        RandomPlaces(scene, random);
        scene.bDominantB = scene.HasB() && random.OneIn(2);
        if (pairs) {
            // A plane that is not processed takes the colour's first value where it has no input.
            scene.oDefaultColor.SetAlpha(scene.oDefaultColor.GetRed());
            EvenColumns(scene.oInputOffset);
            EvenColumns(scene.oRoi.Origin);
        }
        if (random.OneIn(3)) {
            scene.iInPlace = scene.HasB() ? random.Below(2) : 0;
            scene.bSameInputs = scene.HasB() && random.OneIn(4);
            if (scene.bSameInputs) {
                scene.oSizes[1] = scene.oSizes[0];
                scene.bDominantB = false;
            }
            scene.oOutputSize = scene.oSizes[static_cast<std::size_t>(scene.iInPlace)];
        }
        if (IsFormatSplitField(format) || entry.bUpdates || random.OneIn(8)) {
            scene.oSizes.assign(scene.oSizes.size(), scene.oSizes[0]);
            scene.oInputOffset = scene.oRoi.Origin = qzILVector2l();
            scene.oOutputSize = scene.oRoi.Size = scene.oSizes[0];
        } else {
            scene.oOutputOffset = {random.Below(scene.oOutputSize.x), random.Below(scene.oOutputSize.y)};
            if (pairs) EvenColumns(scene.oOutputOffset);
            scene.oRoi.Size = {random.Between(1, scene.oOutputSize.x - scene.oOutputOffset.x),
                               random.Between(1, scene.oOutputSize.y - scene.oOutputOffset.y)};
            if (random.OneIn(4)) scene.oRoi.Origin = scene.oOutputOffset;
        }
        constexpr unsigned kVideoModes[] = {7, 15, 8};
        scene.uMode = video ? kVideoModes[IsFormatWithAlpha(format) ? random.Below(3) : random.Below(2)]
                            : static_cast<unsigned>(random.Below(16));
        if (random.OneIn(3)) scene.uMode |= random.OneIn(2) ? 0x100u : random.OneIn(8) ? 0x300u : 0x200u;
        bool const mask = entry.bMaskRequired || (!video && entry.TakesMask() && random.OneIn(2));
        if (mask || (!video && entry.TakesMask() && random.OneIn(3))) {
            scene.oMaskRect = {random.Between(-4, 12), random.Between(-4, 8), random.Between(1, 40),
                               random.Between(1, 24)};
        }
        if (mask) {
            bool const four = random.OneIn(2);
            scene.oMaskFormat = MaskFormatFor(format, four);
            scene.uMaskChannel = four ? 1u << random.Below(4) : XFImageChannelMono;
        }
        Images const images(scene);
        catalog::Instance instance = Prepare(scene, images);
        if (instance.Effect().Verify() != 1 || (pairs && CutsPair(scene))) continue;
        // Verify may change the mode, and some effects have no dominant input but A.
        scene.uMode = instance.Effect().GetProcessingMode();
        if (entry.bMaskRequired) scene.bDominantB = false;
        return scene;
    }
}

Scene WholeScene(catalog::Entry const& entry, GUID const& format, Random& random) {
    int const width = random.OneIn(8) ? 600 : random.Between(1, 70);
    Scene scene = PlainScene(entry, format, width, random.Between(2, 3));
    bool const video = IsVideo(format), four = random.OneIn(2);
    scene.uSeed = random.Next() >> 8;
    scene.oValues = RandomValues(entry, random);
    scene.bDominantB = scene.HasB() && random.OneIn(2);
    scene.uMode = static_cast<unsigned>(random.Below(16));
    if (video) scene.uMode = IsFormatWithSeparateAlpha(format) && random.OneIn(3) ? 8 : random.OneIn(2) ? 7 : 15;
    if (random.OneIn(3)) return scene;
    scene.oMaskFormat = MaskFormatFor(format, four);
    scene.uMaskChannel = four ? 1u << random.Below(4) : XFImageChannelMono;
    scene.oMaskRect = scene.oRoi;
    return scene;
}

Scene RandomConversion(catalog::Entry const& entry, catalog::FormatPair const& pair, Random& random) {
    for (;;) {
        bool const wide = random.OneIn(8), pairs = HasPairs(pair.oTo);
        int const width = wide ? random.Between(100, 700) : random.Between(1, 70), height = random.Between(1, 9);
        Scene scene = PlainScene(entry, pair, width, height);
        scene.uSeed = random.Next() >> 8;
        scene.oValues = RandomValues(entry, random);
        scene.oDefaultColor = {0.2, 0.9, 0.4, 0.7};
        if (random.OneIn(3)) scene.uMode |= random.OneIn(2) ? 0x100u : 0x200u;
        if (!IsFormatSplitField(pair.oTo) && !random.OneIn(4)) {
            scene.oSizes.assign(scene.oSizes.size(), {random.Between(1, 70), random.Between(1, 9)});
            qzILVector2l const size(random.Between(1, width), random.Between(1, height));
            scene.oOutputOffset = {random.Between(0, width - size.x), random.Between(0, height - size.y)};
            scene.oRoi = {random.Between(-6, scene.oSizes[0].x + 2), random.Between(-3, scene.oSizes[0].y + 1), size.x,
                          size.y};
            if (pairs) {
                EvenColumns(scene.oOutputOffset);
                EvenColumns(scene.oRoi.Origin);
                if (random.OneIn(2)) scene.oRoi.Origin.x = 0;
                if (scene.oOutputOffset.x + size.x < width) scene.oRoi.Size.x = std::max(2, size.x & ~1);
            }
        }
        if (IsAccepted(scene)) return scene;
    }
}

Scene PlainScene(catalog::Entry const& entry, GUID const& format, int width, int height) {
    Scene scene;
    scene.pEntry = &entry;
    scene.oFormat = format;
    scene.uMode = entry.Make().Effect().GetProcessingMode();
    scene.oOutputSize = scene.oRoi.Size = {width, height};
    scene.oSizes.assign(entry.oInputs.size(), scene.oOutputSize);
    for (catalog::Parameter const& parameter : entry.oParameters) scene.oValues.push_back(parameter.oDefault);
    if (entry.bMaskRequired) {
        scene.oMaskFormat = MaskFormatFor(format, false);
        scene.oMaskRect = {0, 0, width, height};
    }
    return scene;
}

Scene PlainScene(catalog::Entry const& entry, catalog::FormatPair const& pair, int width, int height) {
    Scene scene = PlainScene(entry, pair.oFrom, width, height);
    scene.oOutputFormat = pair.oTo;
    scene.uMode = 15;
    return scene;
}

std::uint64_t Hash(std::span<unsigned char const> bytes, std::uint64_t start) {
    for (unsigned char const byte : bytes) start = (start ^ byte) * 0x100000001B3u;
    return start;
}

}  // namespace qzil::test
