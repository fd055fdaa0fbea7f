#include "nets/scene.h"

#include "qzil/frame/image_utils.h"
#include "qzil/image/format_relations.h"
#include "qzil/image/image_helper.h"
#include "qzil/image/image_ops.h"

#include <algorithm>
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
    scene.oSizeA = {random.Between(1, 40), random.Between(1, 24)};
    scene.oSizeB = random.OneIn(2) ? scene.oSizeA : qzILVector2l(random.Between(1, 40), random.Between(1, 24));
    scene.oInputOffset = random.OneIn(2) ? qzILVector2l() : qzILVector2l(random.Between(-9, 9), random.Between(-9, 9));
    scene.oOutputSize = {random.Between(1, 44), random.Between(1, 28)};
    scene.oRoi.Origin = {random.Between(-6, 20), random.Between(-6, 12)};
}

void EvenColumns(qzILVector2l& v) {
    v.x &= ~1;
}

}  // namespace

qzILBbox2l Scene::Dominant() const {
    if (bDominantB) return {oInputOffset.x, oInputOffset.y, oSizeB.x, oSizeB.y};
    return {0, 0, oSizeA.x, oSizeA.y};
}

qzILBbox2l Scene::Other() const {
    if (!HasB()) return Dominant();
    if (bDominantB) return {0, 0, oSizeA.x, oSizeA.y};
    return {oInputOffset.x, oInputOffset.y, oSizeB.x, oSizeB.y};
}

std::string Scene::Describe() const {
    std::ostringstream text;
    text << pEntry->sName << ' ' << NameOf(oFormat) << " to " << NameOf(OutputFormat()) << " seed " << uSeed << " mode "
         << std::hex << uMode << std::dec << " a " << oSizeA.x << 'x' << oSizeA.y;
    if (HasB()) {
        text << " b " << oSizeB.x << 'x' << oSizeB.y << " at " << oInputOffset.x << ',' << oInputOffset.y
             << " dominant " << (bDominantB ? 'b' : 'a') << (bSameInputs ? " same image" : "");
    }
    text << " roi " << Text(oRoi) << " output " << oOutputSize.x << 'x' << oOutputSize.y << " offset "
         << oOutputOffset.x << ',' << oOutputOffset.y << " in place " << static_cast<int>(eInPlace);
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
    oA = MakeRandomImage(scene.oFormat, scene.oSizeA.x, scene.oSizeA.y, scene.uSeed * 4);
    oB = scene.bSameInputs ? oA : MakeRandomImage(scene.oFormat, scene.oSizeB.x, scene.oSizeB.y, scene.uSeed * 4 + 1);
    switch (scene.eInPlace) {
        case Scene::InPlace::A: oOutput = oA; break;
        case Scene::InPlace::B: oOutput = oB; break;
        default:
            oOutput =
                MakeRandomImage(scene.OutputFormat(), scene.oOutputSize.x, scene.oOutputSize.y, scene.uSeed * 4 + 2);
    }
    if (scene.HasMask()) {
        oMask = MakeRandomImage(scene.oMaskFormat, scene.oMaskRect.Size.x, scene.oMaskRect.Size.y, scene.uSeed * 4 + 3);
    }
}

catalog::Instance Prepare(Scene const& scene, Images const& images) {
    catalog::Instance instance = scene.pEntry->Make();
    for (std::size_t i = 0; i < scene.pEntry->oInputs.size(); ++i)
        instance.SetInput(i, (i ? images.oB : images.oA).Get());
    instance.SetInputOffset(scene.oInputOffset);
    instance.SetDominant(scene.bDominantB);
    for (std::size_t i = 0; i < scene.oValues.size(); ++i) instance.Set(i, scene.oValues[i]);
    instance.SetOutput(images.oOutput.Get());
    instance.SetRoi(scene.oRoi);
    instance.SetOutputOffset(scene.oOutputOffset);
    instance.SetMask(scene.oMaskRect, images.oMask.Get(), scene.uMaskChannel);
    instance.SetDefaultColor(scene.oDefaultColor);
    instance.Effect().SetProcessingMode(scene.uMode);
    return instance;
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
        Images const images(scene);
        if (Prepare(scene, images).Effect().Verify() == 1) return scene.oValues;
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

bool Scene::EqualsPartOfWhole() const {
    return !pEntry->oRegionMatters || !pEntry->oRegionMatters(oValues, oFormat);
}

Scene RandomScene(Random& random) {
    auto const effects = NetEffects();
    for (;;) {
        Scene scene;
        scene.pEntry = &effects[random.Below(static_cast<int>(effects.size()))];
        scene.oFormat = scene.pEntry->oFormats[random.Below(static_cast<int>(scene.pEntry->oFormats.size()))];
        // These two are addressed as interleaved but split into planes: no pixel of theirs has one place.
        if (scene.oFormat == MFIF_CbYCrYA_10_6_FR || scene.oFormat == MFIF_CbYCrY709A_10_6_FR) continue;
        scene.uSeed = random.Next() >> 8;
        scene.oValues = RandomValuesFor(*scene.pEntry, scene.oFormat, random);
        scene.oDefaultColor = RandomColor(random);
        RandomPlaces(scene, random);
        scene.bDominantB = scene.HasB() && random.OneIn(2);
        bool const video = IsVideo(scene.oFormat), pairs = HasPairs(scene.oFormat);
        if (pairs) {
            // A plane that is not processed takes the colour's first value where it has no input.
            scene.oDefaultColor.SetAlpha(scene.oDefaultColor.GetRed());
            EvenColumns(scene.oInputOffset);
            EvenColumns(scene.oRoi.Origin);
        }
        if (random.OneIn(3)) {
            bool const b = scene.HasB() && random.OneIn(2);
            scene.eInPlace = b ? Scene::InPlace::B : Scene::InPlace::A;
            scene.bSameInputs = scene.HasB() && random.OneIn(4);
            if (scene.bSameInputs) {
                scene.oSizeB = scene.oSizeA;
                scene.bDominantB = false;
            }
            scene.oOutputSize = b ? scene.oSizeB : scene.oSizeA;
        }
        if (IsFormatSplitField(scene.oFormat)) {
            scene.oSizeB = scene.oOutputSize = scene.oSizeA;
            scene.oInputOffset = scene.oRoi.Origin = qzILVector2l();
            scene.oRoi.Size = scene.oSizeA;
        } else {
            scene.oOutputOffset = {random.Below(scene.oOutputSize.x), random.Below(scene.oOutputSize.y)};
            if (pairs) EvenColumns(scene.oOutputOffset);
            scene.oRoi.Size = {random.Between(1, scene.oOutputSize.x - scene.oOutputOffset.x),
                               random.Between(1, scene.oOutputSize.y - scene.oOutputOffset.y)};
            if (random.OneIn(4)) scene.oRoi.Origin = scene.oOutputOffset;
        }
        constexpr unsigned kVideoModes[] = {7, 15, 8};
        scene.uMode = video ? kVideoModes[IsFormatWithAlpha(scene.oFormat) ? random.Below(3) : random.Below(2)]
                            : static_cast<unsigned>(random.Below(16));
        if (random.OneIn(3)) scene.uMode |= random.OneIn(2) ? 0x100u : 0x200u;
        bool const mask = scene.pEntry->bMaskRequired || (!video && random.OneIn(2));
        if (!video && (mask || random.OneIn(3))) {
            scene.oMaskRect = {random.Between(-4, 12), random.Between(-4, 8), random.Between(1, 40),
                               random.Between(1, 24)};
        }
        if (mask) {
            bool const four = random.OneIn(2);
            scene.oMaskFormat = MaskFormatFor(scene.oFormat, four);
            scene.uMaskChannel = four ? 1u << random.Below(4) : XFImageChannelMono;
        }
        Images const images(scene);
        catalog::Instance instance = Prepare(scene, images);
        if (instance.Effect().Verify() != 1) continue;
        if (!scene.EqualsPartOfWhole()) continue;
        if (scene.pEntry->bBlackAround) scene.oDefaultColor = qzILColor();
        // Verify may change the mode, and some effects have no dominant input but A.
        scene.uMode = instance.Effect().GetProcessingMode();
        if (scene.pEntry->bMaskRequired) scene.bDominantB = false;
        // In an odd width only the last pixel of the input is alone in its pair.
        qzILBbox2l const inside = scene.oRoi.Intersect(scene.Dominant()).Intersect(scene.Other());
        int const end = inside.Origin.x + inside.Size.x;
        bool const cutsPair = (inside.Size.x & 1) != 0 && end != scene.Dominant().Origin.x + scene.Dominant().Size.x;
        if (pairs && cutsPair) continue;
        return scene;
    }
}

Scene PlainScene(catalog::Entry const& entry, GUID const& format, int width, int height) {
    Scene scene;
    scene.pEntry = &entry;
    scene.oFormat = format;
    scene.oSizeA = scene.oSizeB = scene.oOutputSize = scene.oRoi.Size = {width, height};
    for (catalog::Parameter const& parameter : entry.oParameters) scene.oValues.push_back(parameter.oDefault);
    if (entry.bMaskRequired) {
        scene.oMaskFormat = MaskFormatFor(format, false);
        scene.oMaskRect = {0, 0, width, height};
    }
    return scene;
}

std::uint64_t Hash(std::span<unsigned char const> bytes, std::uint64_t start) {
    for (unsigned char const byte : bytes) start = (start ^ byte) * 0x100000001B3u;
    return start;
}

}  // namespace qzil::test
