#include "model/spatial_model.h"
#include "scene/subject.h"
#include "support/allocation_hook.h"
#include "support/levels.h"

#include "qzil/spatial/blur.h"

namespace qzil::test::model {
namespace {

constexpr std::array kInteger{MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_MONO_RAW_8, MFIF_MONO_RAW_16};

Kernel RandomTaps(Random& random, int count, float largest) {
    Kernel taps;
    for (int i = 0; i < count; ++i) {
        float const tap = largest * static_cast<float>(random.Between(-1000, 1000)) / 1000.0f;
        taps.push_back(random.OneIn(4) ? 0.0f : tap);
    }
    return taps;
}

Kernel Product(Kernel const& x, Kernel const& y) {
    Kernel kernel;
    for (float const row : y) {
        for (float const column : x) kernel.push_back(row * column);
    }
    return kernel;
}

/// Kernels of any rank, products of two lines, and single taps, some of which overshoot.
Kernel AnyKernel(Random& random, int width, int height) {
    float const largest = OneOf<float>(random, std::array{0.125f, 0.5f, 3.0f});
    switch (random.Below(4)) {
        case 0: return Product(RandomTaps(random, width, largest), RandomTaps(random, height, 1));
        case 1: {
            Kernel kernel(static_cast<std::size_t>(width * height));
            kernel[static_cast<std::size_t>(random.Below(width * height))] = random.OneIn(2) ? 1.0f : -0.75f;
            return kernel;
        }
        default: return RandomTaps(random, width * height, largest);
    }
}

std::string Text(Kernel const& kernel) {
    std::string text = " kernel";
    for (float const tap : kernel) text += ' ' + std::to_string(tap);
    return text;
}

constexpr std::array kOffsets{0.0f, 0.0f, 10.5f, -3.25f, 128.0f, 700.75f};

// What is left of a sum: 200 x 1.5 and -1.58 wrap, -1.0 + 0.5 is 0, what is no number or far below is 0; two passes
// have no offset and are upside down.
TEST(ConvolutionValues, OfSingleKernels) {
    struct {
        Kernel aTaps;
        float fRadiusX, fRadiusY, fOffset;
        unsigned char uExpected;
    } cases[] = {{{1.5f}, 0, 0, 0.0f, 44},
                 {{-0.005f}, 0, 0, 0.0f, 0},
                 {{std::numeric_limits<float>::quiet_NaN()}, 0, 0, 0.0f, 0},
                 {{-1e30f}, 0, 0, 0.0f, 0},
                 {{-0.0079f}, 0, 0, 0.0f, 255},
                 {{0, 0, 0.5f}, 1, 0, 7.0f, 107},
                 {{0, 0, 0, 0, 1, 0, 0, 0, 0}, 1, 1, 7.0f, 200},
                 {{0, 0.5f, 0, 0, 1, 0, 0, 0, 0}, 1, 1, 0.0f, 203}};
    for (auto& [taps, rx, ry, offset, expected] : cases) {
        Ready<qzILConvolveImg> ready("convolve", MFIF_MONO_RAW_8, 3, 3);
        std::ranges::copy(std::array<u8, 9>{50, 50, 50, 200, 200, 200, 6, 6, 6},
                          Bytes(ready.oImages.oInputs[0]).begin());
        ready->SetKernel(taps.data(), rx, ry);
        ready->SetOffset(offset);
        ASSERT_EQ(ready->Execute(), 1);
        EXPECT_EQ(ready.Output()[4], expected) << Text(taps);
    }
}

// A sum just below 0.5 reaches 1 when the half is added in float: one pass of 8-bit RGBA does so, and two passes.
TEST(ConvolutionValues, OfSumsAtAHalf) {
    float belowHalf = std::nextafter(0.5f, 0.0f), one = 1.0f;
    Kernel x{0.0f, 1.0f, 0.0f}, y{0.0f, belowHalf, 0.0f};
    for (GUID const& format : kInteger) {
        Ready<qzILConvolveImg> ready("convolve", format, 2, 1);
        VisitType(GetChannelTypeFromFormat(format), [&](auto zero) {
            auto const bytes = Bytes(ready.oImages.oInputs[0]);
            for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = i % sizeof(zero) == 0;
        });
        auto const results = [&](double value) {
            for (double const sample : Load(ready.oImages.Output().Get()).aSamples)
                EXPECT_EQ(sample, value) << NameOf(format);
        };
        ready->SetKernel(&belowHalf, 0);
        ASSERT_EQ(ready->Execute(), 1);
        results(format == MFIF_RGBA_RAW_32 ? 1 : 0);
        ready->SetKernel(&one, 0);
        ready->SetOffset(8388608.0f);
        ASSERT_EQ(ready->Execute(), 1);
        results(1);
        ready->SetRadius(1);
        ASSERT_EQ(ready->PrepareData(), 1);
        EXPECT_EQ(ready->DualPassConvolve(x.data(), y.data()), 1);
        EXPECT_EQ(ready->CleanData(), 1);
        results(1);
    }
}

TEST(ConvolutionFixed, EqualsModel) {
    Random random(1);
    catalog::Entry const& entry = *catalog::Find("convolve");
    for (int i = 0; i < 200 && !HasFailure(); ++i) {
        test::Scene scene = WholeScene(entry, i % 2 ? MFIF_RGBA_RAW_32 : MFIF_MONO_RAW_8, random);
        int const rx = random.Below(3), ry = random.Below(3);
        Factors factors{RandomTaps(random, 2 * rx + 1, 1.2f), RandomTaps(random, 2 * ry + 1, 0.9f)};
        Kernel kernel = AnyKernel(random, 2 * rx + 1, 2 * ry + 1);
        scene.Set("kernel", std::make_shared<catalog::Kernel const>(catalog::Kernel{2 * rx + 1, 2 * ry + 1, kernel}));
        float const offset = OneOf<float>(random, kOffsets);
        auto const run = [&](auto routine, auto model, char const* name) {
            ForEachLevel([&] {
                Ready<qzILConvolveImg> ready(scene);
                ready->SetOffset(offset);
                auto const expected = Expected(scene, ready.oImages, Regions(model));
                ASSERT_EQ(ready->PrepareData(), 1);
                EXPECT_EQ(routine(*ready), 1);
                EXPECT_EQ(ready->CleanData(), 1);
                EXPECT_EQ(DescribeDifference(expected, ready.Output()), "") << name << ' ' << scene.Describe();
            });
        };
        run([](auto& e) { return e.SinglePassConvolve8_Fixed(); },
            [&](Region const& r, auto const&) { return SinglePassFixed(r, kernel, offset); }, "one pass");
        if (scene.oFormat == MFIF_MONO_RAW_8) continue;
        run([&](auto& e) { return e.DualPassConvolve_RGBA32_Fixed(factors.aX.data(), factors.aY.data()); },
            [&](Region const& r, auto const&) { return DualPassFixed(r, factors); }, "two passes");
    }
}

TEST(ConvolutionKernels, AreSeparableByTheirRank) {
    struct {
        int iRadiusX, iRadiusY;
    } const sizes[] = {{1, 1}, {3, 1}, {1, 3}, {2, 2}};
    for (auto const& [rx, ry] : sizes) {
        int const width = 2 * rx + 1, height = 2 * ry + 1;
        Kernel columns, rows;
        for (int i = 0; i < width; ++i) columns.push_back(0.25f + 0.125f * static_cast<float>(i));
        for (int j = 0; j < height; ++j) rows.push_back(0.75f - 0.25f * static_cast<float>(j));
        Kernel product = Product(columns, rows);
        Kernel other = product;
        other[0] += 0.001f;
        Kernel nothing(product.size());
        qzILConvolveImg effect;
        for (Kernel* kernel : {&product, &other, &nothing}) {
            effect.SetKernel(kernel->data(), static_cast<float>(rx), static_cast<float>(ry));
            EXPECT_EQ(effect.IsKernelSeparable(), kernel == &product) << Text(*kernel);
        }
        effect.SetKernel(product.data(), static_cast<float>(rx), static_cast<float>(ry));
        Kernel x(static_cast<std::size_t>(width)), y(static_cast<std::size_t>(height));
        effect.SeparateKernel(x.data(), y.data());
        auto const factors = Factorise(product, width, height);
        ASSERT_TRUE(factors);
        EXPECT_EQ(x, factors->aX);
        EXPECT_EQ(y, factors->aY);
    }
}

// Whichever allocation fails: a picture is that of two passes, or that of one when the code tells so.
TEST(ConvolutionKernels, WithoutMemoryToSeparateThem) {
    Kernel kernel{1.0f, 2.0f, 1.0f, 0.5f, 1.0f, 0.5f, -0.25f, -0.5f, -0.25f};
    bool happened = true;
    for (std::uint64_t n = 1; happened; ++n) {
        Ready<qzILConvolveImg> ready("convolve");
        ready.oScene.Set("kernel", std::make_shared<catalog::Kernel const>(catalog::Kernel{3, 3, kernel}));
        ready->SetKernel(kernel.data(), 1);
        auto const models = [&](bool separates) {
            return Expected(ready.oScene, ready.oImages, Regions([&](Region const& r, auto const&) {
                                return separates ? Convolve(r, kernel, 0) : SinglePass(r, kernel, 0);
                            }));
        };
        auto const twoPasses = models(true), onePass = models(false);
        qzILStatus status = 0;
        {
            AllocationFailure const failure(n);
            status = ready->Execute();
            happened = failure.Happened();
        }
        bool const failed = ready->GetLastError() == qzILError(0x10001);
        if (status == 1) {
            EXPECT_EQ(DescribeDifference(failed ? onePass : twoPasses, ready.Output()), "") << n;
        }
    }
}

// No kernel, or one of another size than the radius asks for.
TEST(ConvolutionKernels, AreNotSeparatedWithoutTaps) {
    float x[64]{}, y[64]{};
    auto const expectRefused = [&](qzILConvolveImg& effect) {
        EXPECT_EQ(effect.SeparateKernel(x, y), -1);
        EXPECT_EQ(effect.GetLastError(), qzILError(0x10021));
    };
    qzILConvolveImg none;
    none.SetRadius(5);
    expectRefused(none);
    for (qzILBlurType const type : {qzILBlurTypeEllipse, qzILBlurTypeGauss, qzILBlurTypeUniform}) {
        qzILBlurImg blur;
        blur.SetType(type);
        blur.SetRadius(2);
        expectRefused(blur);
        ASSERT_EQ(blur.BuildKernel(), 1);
        blur.SetRadius(31);
        EXPECT_EQ(blur.IsKernelSeparable(), type == qzILBlurTypeGauss);
        expectRefused(blur);
    }
}

}  // namespace
}  // namespace qzil::test::model
