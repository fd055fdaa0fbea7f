#include "model/spatial_model.h"
#include "scene/subject.h"

#include "qzil/spatial/blur.h"
#include "qzil/spatial/convolve.h"
#include "qzil/spatial/edges.h"
#include "qzil/spatial/optic_glow.h"
#include "qzil/spatial/relief.h"
#include "qzil/spatial/sharpen.h"

namespace qzil::test::model {
namespace {

TEST(SpatialDefaults, OfParameters) {
    auto const expect = [](auto const& effect, float radius) {
        EXPECT_EQ(effect.GetEdgeMode(), qzILEdgeModeColor);
        EXPECT_EQ(effect.GetEdgeColor(), qzILColor(0, 0, 0, 0));
        EXPECT_EQ(effect.GetRadius(), qzILVector2f(radius, radius)) << effect.GetActualClassName();
        if constexpr (requires { effect.GetEdgeSensitivity(); }) {
            EXPECT_EQ(effect.GetEdgeSensitivity(), 1.0);
        }
        if constexpr (requires { effect.GetBias(); }) {
            EXPECT_EQ(effect.GetBias(), 0.0);
        }
        if constexpr (requires { effect.GetDirection(); }) {
            EXPECT_EQ(effect.GetDirection(), 1u);
        }
        if constexpr (requires { effect.GetDegree(); }) {
            EXPECT_EQ(effect.GetDegree(), 1.0f);
        }
        if constexpr (requires { effect.GetType(); }) {
            EXPECT_EQ(static_cast<int>(effect.GetType()), radius == 3 ? 3 : 1);
        }
    };
    expect(qzILRobertsImg(), 1);
    expect(qzILSobelImg(), 1);
    expect(qzILLaplaceImg(), 1);
    expect(qzILGradientImg(), 1);
    expect(qzILEmbossImg(), 1);
    expect(qzILConvolveImg(), 0);
    expect(qzILSharpenImg(), 0);
    expect(qzILBlurImg(), 0);
    qzILOpticGlowImg glow;
    expect(glow, 3);
    double low = 0, high = 0;
    glow.GetThresholds(&low, &high);
    EXPECT_EQ(qzILVector2d(low, high), qzILVector2d(0.1, 0.9));
    EXPECT_EQ(glow.GetDiffusionPresence(), 0.8);
    EXPECT_EQ(glow.GetDiffusionLevel(), 3.0f);
    glow.SetDiffusionLevel(4.5);
    EXPECT_EQ(glow.GetRadius().y, 4.5f);
    qzILConvolveImg convolve;
    EXPECT_EQ(convolve.GetOffset(), 0.0f);
    EXPECT_EQ(convolve.GetKernel(), nullptr);
    convolve.SetRadius(1.5f, 0.5f);
    EXPECT_EQ(convolve.GetRadius(), qzILVector2f(1.5f, 0.5f));
    convolve.SetDefaultColor({1, 1, 1, 1});
    EXPECT_EQ(convolve.GetEdgeColor(), qzILColor(0, 0, 0, 0));
}

TEST(SpatialFrame, ConvolutionNeedsAKernel) {
    auto const image = MakeImage(MFIF_RGBA_RAW_32, 4, 4);
    qzILConvolveImg effect;
    effect.SetInputImg(image.Get());
    effect.SetOutputImg(image.Get());
    EXPECT_EQ(effect.Verify(), -1);
    EXPECT_EQ(effect.GetLastError(), qzILError(0x10021));
    EXPECT_EQ(effect.Execute(), -1);
}

// A margin that memory cannot hold ends the effect without a touched pixel; of a convolution also without a reason.
TEST(SpatialFrame, CannotRunWithHugeRadii) {
    for (long type = 0; type <= 7; ++type) {
        for (float const radius : {1e8f, 3e8f, 1e9f, 1073741824.0f, 3e38f}) {
            Kernel kernel(1);
            Subject subject(*catalog::Find(type ? "blur" : "convolve"), MFIF_RGBA_RAW_32);
            auto& effect = dynamic_cast<qzILMonadicSpatialProc&>(*subject);
            if (type) subject.oInstance.Set("type", type);
            if (!type) dynamic_cast<qzILConvolveImg&>(effect).SetKernel(kernel.data(), 0);
            effect.SetRadius(radius,
                             type && radius == 3e8f ? 0 : radius);  // a line of the margin buffer passes 32 bits
            Images const before(subject.oScene);
            EXPECT_TRUE(effect.Verify() == -1 || (radius < 2e9f && (type == 0 || type >= 3))) << type << ' ' << radius;
            EXPECT_EQ(effect.Execute(), -1) << type << ' ' << radius;
            EXPECT_TRUE(type || effect.GetLastError() == qzILError(radius < 2e9f ? 0 : 0x10023)) << radius;
            EXPECT_EQ(DescribeDifference(Bytes(before.Output()), Bytes(subject.oImages.Output())), "");
        }
    }
}

// Two images over one memory, a few lines apart: every line is read before it is written over.
TEST(SpatialFrame, ReadsBeforeItWritesToSharedMemory) {
    constexpr int kWidth = 20, kHeight = 40;
    constexpr std::size_t kLine = 4 * kWidth;
    Kernel kernel{1, 2, 1, 2, -11, 2, 1, 2, 1};
    auto const run = [&](auto& effect, int apart) {
        Ref<IXFImage> const source = MakeRandomImage(MFIF_RGBA_RAW_32, kWidth, kHeight, 7);
        Ref<IXFImage> const input = MakeImage(MFIF_RGBA_RAW_32, kWidth, kHeight),
                            output = MakeImage(MFIF_RGBA_RAW_32, kWidth, kHeight),
                            expected = MakeImage(MFIF_RGBA_RAW_32, kWidth, kHeight);
        std::vector<unsigned char> memory((kHeight + 4) * kLine);
        unsigned char* const pInput = memory.data() + (apart < 0 ? 4 * kLine : 0);
        unsigned char* const pOutput = pInput + apart * static_cast<std::ptrdiff_t>(kLine);
        std::ranges::copy(Bytes(source), pInput);
        input->SetPixelArray(pInput);
        output->SetPixelArray(pOutput);
        effect.SetEdgeMode(qzILEdgeModeWrap);
        effect.SetInputImg(source.Get());
        effect.SetOutputImg(expected.Get());
        ASSERT_EQ(effect.Execute(), 1);
        effect.SetInputImg(input.Get());
        effect.SetOutputImg(output.Get());
        ASSERT_EQ(effect.Execute(), 1);
        EXPECT_EQ(DescribeDifference(Bytes(expected), {pOutput, kHeight * kLine}), "") << apart;
    };
    for (int const apart : {-4, 0, 1, 4}) {
        qzILConvolveImg convolve;
        convolve.SetKernel(kernel.data(), 1);
        qzILEmbossImg emboss;
        qzILOpticGlowImg glow;
        run(convolve, apart);
        run(emboss, apart);
        run(glow, apart);
    }
}

/// A class of a host's own: it reads the margin buffer, before or behind what its base does.
template <class Base>
class Reader : public Base {
public:
    bool m_bBehind = false;
    std::vector<unsigned char> m_aLines;

    qzILStatus DoEffect() override {
        qzILStatus const status = m_bBehind ? Base::DoEffect() : 1;
        int const bytes = (this->ActiveSize().x + this->KernelSize().x - 1) * 4;
        unsigned char const* pLine = this->BufferStart();
        for (int line = 1; line < this->ActiveSize().y + this->KernelSize().y; ++line, pLine += this->LineStep()) {
            m_aLines.insert(m_aLines.end(), pLine, pLine + bytes);
        }
        return status;
    }
};

template <class Base>
void ExpectWholeBuffer(std::function<void(Base&)> const& set, int reach) {
    constexpr int kWidth = 70, kHeight = 300;
    for (bool const behind : {false, true}) {
        for (unsigned const fields : {0u, 0x100u}) {
            test::Scene scene = PlainScene(*catalog::Find("copy"), MFIF_RGBA_RAW_32, kWidth, kHeight);
            auto const dirt = MakeImage(MFIF_RGBA_RAW_32, kWidth + 2 * reach, kHeight + 2 * reach);
            std::ranges::fill(Bytes(dirt), u8{0xEE});  // goes back to the pool
            Images const images(scene);
            Reader<Base> effect;
            effect.SetInputImg(images.oInputs[0].Get());
            effect.SetOutputImg(images.Output().Get());
            effect.SetProcessingMode(15 | fields);
            effect.SetRadius(static_cast<float>(reach));
            effect.SetEdgeMode(qzILEdgeModeWrap);
            effect.m_bBehind = behind;
            set(effect);
            ASSERT_EQ(effect.Execute(), 1);
            Picture const input = Load(images.oInputs[0].Get());
            std::vector<unsigned char> expected;
            for (int y = -reach; y < kHeight + reach; ++y) {
                for (int x = -reach; x < kWidth + reach; ++x) {
                    for (int c = 0; c < 4; ++c) {
                        double const sample = input.At((x + kWidth) % kWidth, (y + kHeight) % kHeight, c);
                        expected.push_back(static_cast<unsigned char>(sample));
                    }
                }
            }
            EXPECT_EQ(DescribeDifference(expected, effect.m_aLines), "") << Base::m_ClassName << ' ' << behind;
        }
    }
}

TEST(SpatialFrame, GivesHeirsTheWholeBuffer) {
    Kernel kernel(25, 0.04f);
    kernel[3] = 1;
    ExpectWholeBuffer<qzILConvolveImg>([&](auto& e) { e.SetKernel(kernel.data(), 2); }, 2);
    ExpectWholeBuffer<qzILEmbossImg>([](auto&) {}, 1);
    for (qzILBlurType const type : {qzILBlurTypeUniform, qzILBlurTypeFastGauss}) {
        ExpectWholeBuffer<qzILBlurImg>([&](auto& e) { e.SetType(type); }, 5);
    }
    ExpectWholeBuffer<qzILOpticGlowImg>([](auto&) {}, 3);
}

}  // namespace
}  // namespace qzil::test::model
