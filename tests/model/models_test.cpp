// Effects and conversions against their plain models, in random scenes and through every value. A row is an effect of
// the catalogue, whose formats and parameters it takes from there.

#include "model/blend_model.h"
#include "model/channel_model.h"
#include "model/color_model.h"
#include "model/convert_model.h"
#include "model/invert_model.h"
#include "model/keyer_model.h"
#include "model/premult_model.h"
#include "model/spatial_model.h"

#include <gtest/gtest.h>

namespace qzil::test::model {
namespace {

using catalog::Entry;
using catalog::FormatPair;
using S = test::Scene;

enum Also : unsigned { kSpecials = 1, kVideoMasks = 2, kEveryValue = 4, kOpenColours = 8 };

struct Row {
    char const* pEffect;
    Model oModel;
    unsigned uAlso = 0;  ///< NaN, masks over video without Verify, every value, colours open without their bits
    std::vector<GUID> oUnverified = {};  ///< formats with a rule that Verify refuses
};

void PrintTo(Row const& row, std::ostream* out) {
    *out << row.pEffect;
}

template <class Fn>
Model Points(Fn rule) {
    return Lines([=](S const&) { return PointModel{[=](int, int a, int b) { return rule(a, b); }}; });
}

/// Bits of a colour, whose components keep their low bits, with those of the picture.
template <class Fn>
Model Bits(Fn rule) {
    return Lines([=](S const& s) {
        auto const color = Components(s.Get<qzILColor>("operand"));
        bool const mono = IsFormatMono(s.oFormat);
        i64 const full = GetChannelSizeFromFormat(s.oFormat) == 1 ? 255 : 65535;
        return PointModel{[=](int c, int v, int) {
            double const component = color[static_cast<std::size_t>(mono ? 0 : c)];
            return rule(v, static_cast<int>(Round(component * static_cast<double>(full)) & full));
        }};
    });
}

Model Tables(char const* parameter) {
    return Lines([=](S const& s) {
        auto const lut = s.Get<std::shared_ptr<catalog::Lut const>>(parameter);
        bool const pairs = s.oSizes.size() > 1, words = GetChannelSizeFromFormat(s.oFormat) == 2;
        return PointModel{[=](int, int a, int b) {
            auto const i = static_cast<std::size_t>(pairs ? b * 256 + a : a);
            return words ? int{lut->oWords[i]} : int{lut->oBytes[i]};
        }};
    });
}

Model Detection(Detector detector) {
    return Regions([=](Region const& r, S const& s) {
        long const type = s.Get<long>("type");
        return DetectEdges(r, detector, static_cast<int>(type), s.Get<double>("sensitivity"), s.Get<double>("bias"));
    });
}

std::vector<Row> Rows() {
    auto const alpha = [](S const& s) { return s.Get<double>("alpha"); };
    auto const mode = [](S const& s) { return static_cast<unsigned>(s.Get<long>("alpha-mode")); };
    auto const directions = [](S const& s) { return static_cast<unsigned>(s.Get<long>("direction")); };
    auto const type = [](S const& s) { return static_cast<int>(s.Get<long>("type")); };
    auto const degree = [](S const& s) { return static_cast<float>(s.Get<double>("degree")); };
    return {
        {"invert",
         Lines([](S const&) { return InvertModel{}; }),
         kSpecials | kVideoMasks | kEveryValue,
         {MFIF_BGRA_RAW_32, MFIF_CbYCrY_16_FR, MFIF_CbYCrY_10_6, MFIF_MONO_RAW_16_TD, MFIF_RGBA_FLOAT_BU,
          MFIF_MONO_FLOAT_BU}},
        {"lut", Tables("curve"), kEveryValue},
        {"lut2", Tables("rule"), kEveryValue},
        {"blend", Lines([=](S const& s) { return BlendModel{alpha(s)}; }), kSpecials | kVideoMasks | kEveryValue},
        {"general-blend", Lines([](S const& s) {
             return GeneralBlendModel{s.Get<double>("alpha-a"), s.Get<double>("alpha-b")};
         }),
         kEveryValue},
        {"adjust-premult",
         Lines([](S const&) { return AdjustPremultModel{}; }),
         kSpecials | kEveryValue,
         {MFIF_RGBA_RAW_64, MFIF_BGRA_RAW_32}},
        {"unpremultiply", Lines([](S const& s) { return UnpremultiplyModel{s.Get<qzILColor>("background")}; }),
         kEveryValue},
        {"composite", Lines([=](S const& s) {
             return CompositeModel{alpha(s), mode(s)};
         }),
         kEveryValue},
        {"copy-over", Lines([](S const&) { return CopyOverModel{}; }), kSpecials | kEveryValue},
        {"over-color",
         Lines(
             [](S const& s) {
                 return ImgOverColorModel{s.Get<qzILColor>("background"), s.Get<bool>("premultiplied"),
                                          s.Get<double>("opacity")};
             },
             Planes::Whole),
         kVideoMasks | kEveryValue | kOpenColours},
        {"color-blend", Lines([=](S const& s) {
             return ColorBlendModel{s.Get<qzILColor>("color"), alpha(s)};
         }),
         kVideoMasks | kEveryValue},
        {"output-alpha",
         Lines(
             [=](S const& s) {
                 return OutputAlphaModel{s.Get<bool>("reverse"), mode(s)};
             },
             Planes::Whole),
         kEveryValue},
        {"grayscale", Lines([](S const&) { return GrayModel{}; }), kSpecials | kEveryValue},
        {"channel-switch", Lines([](S const& s) {
             auto const source = [&](char const* name) { return static_cast<int>(s.Get<long>(name)); };
             return SwitchModel{{source("red"), source("green"), source("blue"), source("alpha")}};
         }),
         kEveryValue},
        {"rgba-to-alpha", Lines([](S const&) { return ToAlphaModel{}; }), kEveryValue},
        {"and", Points([](int a, int b) { return a & b; }), kEveryValue},
        {"or", Points([](int a, int b) { return a | b; }), kEveryValue},
        {"xor", Lines([](S const& s) {
             bool const bits = s.Get<long>("operation") == 1;
             return PointModel{[=](int, int a, int b) { return bits ? a ^ b : std::abs(a - b); }};
         }),
         kEveryValue},
        {"max", Points([](int a, int b) { return std::max(a, b); }), kEveryValue},
        {"min", Points([](int a, int b) { return std::min(a, b); }), kEveryValue},
        {"and-color", Bits([](int v, int operand) { return v & operand; }), kEveryValue},
        {"or-color", Bits([](int v, int operand) { return v | operand; }), kEveryValue},
        {"min-mask", Lines([](S const&) { return MinMaskModel{}; }), kSpecials | kEveryValue},
        {"linear-keyer", Lines([](S const& s) {
             LinearRule const rule{s.Get<double>("threshold"), s.Get<double>("softness"), s.Get<qzILColor>("key")};
             return KeyModel<LinearRule>{rule};
         }),
         kSpecials | kEveryValue},
        {"luma-keyer", Lines([](S const& s) {
             LumaRule const rule{s.Get<long>("model") == 512, s.Get<bool>("reverse"), s.Get<double>("brightness"),
                                 s.Get<double>("gain")};
             return KeyModel<LumaRule>{rule, s.Get<bool>("keep")};
         }),
         kSpecials | kEveryValue},
        {"roberts", Detection(Detector::Roberts), kSpecials},
        {"sobel", Detection(Detector::Sobel), kSpecials},
        {"laplace", Detection(Detector::Laplace), kSpecials},
        {"gradient", Regions([=](Region const& r, S const& s) {
             return Gradient(r, directions(s), s.Get<double>("sensitivity"), s.Get<double>("bias"));
         }),
         kSpecials},
        {"emboss", Regions([=](Region const& r, S const& s) { return Emboss(r, directions(s)); }), kSpecials},
        {"convolve", Regions([](Region const& r, S const& s) {
             auto const kernel = s.Get<std::shared_ptr<catalog::Kernel const>>("kernel");
             return Convolve(r, kernel->oTaps, static_cast<float>(s.Get<double>("bias")));
         }),
         kSpecials},
        {"sharpen", Regions([=](Region const& r, S const& s) {
             return Sharpen(r, type(s), degree(s), s.Get<double>("sensitivity"));
         }),
         kSpecials},
        {"blur", Regions([=](Region const& r, S const& s) { return Blur(r, type(s), degree(s)); }), kSpecials},
        {"glow", Regions([](Region const& r, S const& s) {
             return Glow{s.Get<double>("presence"), s.Get<double>("low"), s.Get<double>("high")}(r, 3, 1);
         }),
         kSpecials},
        {"rgba-to-rgba", ConvertModel, kSpecials},
        {"rgba-to-ycca", ConvertModel, kSpecials},
        {"ycca-to-rgba", ConvertModel, kSpecials},
        {"rgba-to-hlsa", ConvertModel, kSpecials},
        {"hlsa-to-rgba", ConvertModel, kSpecials},
    };
}

#ifdef __SANITIZE_ADDRESS__
constexpr int kShare = 8;  ///< of the scenes, one
#else
constexpr int kShare = 1;
#endif

class ModelNet : public testing::TestWithParam<Row> {
protected:
    Entry const& Effect() const { return *catalog::Find(GetParam().pEffect); }
    bool Also(unsigned what) const { return (GetParam().uAlso & what) != 0; }
    void Expect(S scene) {
        if (scene.eFill == Fill::Random)
            scene.eFill = Also(kSpecials) && scene.uSeed % 4 == 0 ? Fill::Specials : Fill::Ends;
        if (Also(kOpenColours) && IsVideo(scene.oFormat)) scene.uMode |= 7;
        ExpectModel(scene, GetParam().oModel);
    }
};

TEST_P(ModelNet, RandomScenes) {
    Random random(1);
    bool const margin = Effect().eMemory == catalog::Memory::Margin;
    for (GUID const& format : Effect().oFormats) {
        for (int i = 0; i < (margin ? 500 : 150) / kShare && !HasFailure(); ++i)
            Expect(RandomScene(Effect(), format, random));
    }
    for (FormatPair const& pair : Effect().oPairs) {
        // The dithering term of bytes that become 4:4:4:4 is free.
        bool const freeDither = IsFormatYCCA4444(pair.oTo) && DepthOf(pair.oFrom) == Depth::Byte;
        for (int i = 0; i < 40 / kShare && !HasFailure(); ++i) {
            S scene = RandomConversion(Effect(), pair, random);
            if (freeDither) scene.Set("dither", false);
            if (i % 2) scene.eFill = Fill::Ends;
            Expect(scene);
        }
    }
}

// The sums of a box pass 32 bits.
TEST_P(ModelNet, ReachesFarBeyondSmallImages) {
    Random random(4);
    bool const isKernel = Effect().FindParameter("kernel"), kernels = isKernel || Effect().FindParameter("sensitivity");
    if (!isKernel && !Effect().FindParameter("radius")) return;
    for (GUID const& format : Effect().oFormats) {
        for (int i = 0; i < 24 && !HasFailure(); ++i) {
            S scene = PlainScene(Effect(), format, random.Between(1, 4), random.Between(1, 5));
            scene.uMode = 15;
            scene.oValues = RandomValuesFor(Effect(), format, random);
            scene.Set("edge", 1 + i % 4l);
            if (isKernel) {
                catalog::Kernel kernel{23, 19, std::vector<float>(23 * 19)};
                for (float& tap : kernel.oTaps) tap = static_cast<float>(random.Between(-1000, 1000)) / 16000.0f;
                scene.Set("kernel", std::make_shared<catalog::Kernel const>(std::move(kernel)));
            } else {
                scene.Set("radius", kernels ? qzILVector2f(11.5f, 9.0f) : qzILVector2f(200.0f, 150.0f));
            }
            bool const isBlur = Effect().FindParameter("degree") && !kernels;
            if (isBlur) scene.Set("type", 3 + i % 5l);
            Expect(scene);
        }
    }
}

TEST_P(ModelNet, WithoutVerify) {
    Random random(2);
    std::vector<GUID> formats = GetParam().oUnverified;
    for (GUID const& format : Effect().oFormats) {
        if (Also(kVideoMasks) && IsVideo(format)) formats.push_back(format);
    }
    for (GUID const& format : formats) {
        for (int i = 0; i < 100 / kShare && !HasFailure(); ++i) Expect(WholeScene(Effect(), format, random));
    }
}

TEST_P(ModelNet, EveryValue) {
    if (!Also(kEveryValue)) return;
    Random random(3);
    for (GUID const& format : Effect().oFormats) {
        if (IsFormatFloat(format)) continue;
        for (int i = 0; i < (IsVideo(format) ? 3 : 12) && !HasFailure(); i += kShare) {
            S scene = PlainScene(Effect(), format, 256, 256);
            scene.uMode = 15;
            scene.uSeed = static_cast<std::uint64_t>(i + 1);
            scene.eFill = Fill::EveryPair;
            if (i > 1) scene.oValues = RandomValuesFor(Effect(), format, random);
            if (i % 2 && !IsVideo(format) && Effect().TakesMask()) {
                scene.oMaskFormat = MaskFormatFor(format, false);
                scene.oMaskRect = scene.oRoi;
            }
            Expect(scene);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Effects, ModelNet, testing::ValuesIn(Rows()), [](auto const& row) {
    std::string name = row.param.pEffect;
    std::ranges::replace(name, '-', '_');
    return name;
});

}  // namespace
}  // namespace qzil::test::model
