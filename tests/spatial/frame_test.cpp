#include "spatial/spatial_support.h"

#include "qzil/spatial/blur.h"
#include "qzil/spatial/convolve.h"
#include "qzil/spatial/optic_glow.h"
#include "qzil/spatial/relief.h"

namespace qzil::test::model {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN(), kInfinity = std::numeric_limits<float>::infinity();

TEST(SpatialFrame, HasDefaults) {
    qzILConvolveImg effect;
    EXPECT_EQ(effect.GetEdgeMode(), qzILEdgeModeColor);
    EXPECT_EQ(effect.GetEdgeColor(), qzILColor(0, 0, 0, 0));
    EXPECT_EQ(effect.GetRadiusX(), 0.0f);
    EXPECT_EQ(effect.GetRadiusY(), 0.0f);
    effect.SetRadius(2.9f);
    EXPECT_EQ(effect.GetRadius().x, 2.9f);
    effect.SetRadius(1.5f, 0.5f);
    EXPECT_EQ(effect.GetRadiusX(), 1.5f);
    EXPECT_EQ(effect.GetRadiusY(), 0.5f);
    effect.SetDefaultColor({1, 1, 1, 1});
    EXPECT_EQ(effect.GetEdgeColor(), qzILColor(0, 0, 0, 0));
}

TEST(SpatialFrame, RefusesRadiiOutOfRange) {
    Kernel kernel(1);
    Ready<qzILConvolveImg> ready;
    ready->SetKernel(kernel.data(), 0);
    auto const both = [](qzILConvolveImg& e, float v) { e.SetRadius(v); };
    auto const vertical = [](qzILConvolveImg& e, float v) { e.SetRadius(0, v); };
    std::initializer_list<std::pair<float, unsigned>> const answers = {
        {0.0f, 0},          {-0.0f, 0},       {1073741824.0f, 0},   {1073741952.0f, 0x10023},
        {-1e-30f, 0x10023}, {-2.0f, 0x10023}, {kInfinity, 0x10023}, {-kInfinity, 0x10023},
        {kNaN, 0}};
    ExpectAnswers<qzILConvolveImg, decltype(both), float>(ready, both, answers);
    ExpectAnswers<qzILConvolveImg, decltype(vertical), float>(ready, vertical, answers);
}

// A margin that memory cannot hold ends the effect without a reason and without a touched pixel.
TEST(SpatialFrame, CannotRunWithHugeRadii) {
    for (float const radius : {1e5f, 1e8f, 1e9f, 1073741824.0f, 3e38f}) {
        Kernel kernel(1);
        Ready<qzILConvolveImg> ready;
        Picture const before = ready.Output();
        ready->SetKernel(kernel.data(), radius);
        EXPECT_EQ(ready->Execute(), -1) << radius;
        EXPECT_EQ(ready->GetLastError(), qzILError(0)) << radius;
        EXPECT_EQ(Difference(before, ready.Output()), "");
    }
}

TEST(SpatialFrame, WithoutLinesDoesNothing) {
    qzILConvolveImg effect;
    effect.SetProcessingMode(0x300 | 15);
    EXPECT_EQ(effect.Execute(), 1);
}

// Two calls, each for one field, give what one call for both gives.
TEST(SpatialFrame, DoesOneFieldAndReadsBoth) {
    Kernel kernel{0.0f, 0.5f, 0.0f, 0.25f, -1.0f, 0.25f, 0.0f, 0.25f, 0.5f};
    for (int const y : {0, 1}) {
        SpatialScene scene = SpatialScene::Whole(MFIF_RGBA_RAW_64, 9, 7);
        scene.oRoi = {0, 1, 9, 6};
        scene.oOffset = {0, y};
        Ready<qzILConvolveImg> fields(scene), frame(scene);
        for (unsigned const mode : {0x100u, 0x200u}) {
            fields->SetKernel(kernel.data(), 1);
            fields->SetProcessingMode(15 | mode);
            ASSERT_EQ(fields->Execute(), 1);
        }
        frame->SetKernel(kernel.data(), 1);
        ASSERT_EQ(frame->Execute(), 1);
        EXPECT_EQ(Difference(frame.Output(), fields.Output()), "");
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
            SpatialScene scene = SpatialScene::Whole(MFIF_RGBA_RAW_32, kWidth, kHeight);
            scene.fRadiusX = scene.fRadiusY = static_cast<float>(reach);
            scene.iEdgeMode = 2;
            scene.uMode |= fields;
            FillBytes(MakeImage(MFIF_RGBA_RAW_32, kWidth + 2 * reach, kHeight + 2 * reach).Get(), -1,
                      [](int, int, int) { return 0xEE; });  // goes back to the pool
            Ready<Reader<Base>> ready(scene);
            ready->m_bBehind = behind;
            set(ready.oEffect);
            ASSERT_EQ(ready->Execute(), 1);
            Picture const input = Load(ready.oImages.oInput.Get());
            std::vector<unsigned char> expected;
            for (int y = -reach; y < kHeight + reach; ++y) {
                for (int x = -reach; x < kWidth + reach; ++x) {
                    for (int c = 0; c < 4; ++c) {
                        double const sample = input.At((x + kWidth) % kWidth, (y + kHeight) % kHeight, c);
                        expected.push_back(static_cast<unsigned char>(sample));
                    }
                }
            }
            EXPECT_EQ(DescribeDifference(expected, ready->m_aLines), "") << Base::m_ClassName << ' ' << behind;
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
