// The frame's rules over every catalogued effect: in random scenes, every byte of the output equals what region,
// offset, mask rectangle, fields, dominance and default colour make of the effect's result on whole images.

#include "nets/scene.h"
#include "qzil/image/image_helper.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

namespace qzil::test {
namespace {

void PutPixel(qzILImageHelper const& helper, int x, int y, Pixel const& pixel) {
    std::memcpy(helper.GetPixelPtr(x, y), pixel.auBytes, static_cast<std::size_t>(helper.m_iPixelStep));
    if (helper.m_iSeparateAlpha) std::memcpy(helper.GetAlphaPtr(x, y), pixel.auBytes + 16, helper.m_uChannelSize);
}

/// An image of the canvas's size that holds the pixels of `source`, which lies at `place` in region coordinates.
Ref<IXFImage> OnCanvas(Ref<IXFImage> const& source, GUID const& format, qzILBbox2l const& place,
                       qzILBbox2l const& canvas, std::uint64_t seed) {
    Ref<IXFImage> image = MakeRandomImage(format, canvas.Size.x, canvas.Size.y, seed);
    qzILImageHelper const from(source.Get()), to(image.Get());
    for (int y = 0; y < canvas.Size.y; ++y) {
        for (int x = 0; x < canvas.Size.x; ++x) {
            int const px = x + canvas.Origin.x, py = y + canvas.Origin.y;
            if (!Covers(place, px, py)) continue;
            PutPixel(to, x, y, PixelAt(from, px - place.Origin.x, py - place.Origin.y));
        }
    }
    return image;
}

/// The effect on the whole rectangle of the dominant input, out of place, with all lines, over an output of random
/// bytes, or of none of these.
Ref<IXFImage> WholeResult(Scene const& scene, Images const& images, unsigned char flip) {
    qzILBbox2l const canvas = scene.Dominant();
    Scene whole = scene;
    whole.oSizeA = whole.oSizeB = whole.oOutputSize = canvas.Size;
    whole.oInputOffset = whole.oOutputOffset = qzILVector2l();
    whole.oRoi = {0, 0, canvas.Size.x, canvas.Size.y};
    whole.oMaskRect = whole.oRoi;
    whole.uMode &= 15;
    whole.eInPlace = Scene::InPlace::No;
    whole.bSameInputs = false;
    Images wholeImages(whole);
    qzILBbox2l const placeA(0, 0, scene.oSizeA.x, scene.oSizeA.y);
    qzILBbox2l const placeB(scene.oInputOffset.x, scene.oInputOffset.y, scene.oSizeB.x, scene.oSizeB.y);
    wholeImages.oA = OnCanvas(images.oA, scene.oFormat, placeA, canvas, 1);
    if (scene.HasB()) wholeImages.oB = OnCanvas(images.oB, scene.oFormat, placeB, canvas, 2);
    if (scene.HasMask()) wholeImages.oMask = OnCanvas(images.oMask, scene.oMaskFormat, scene.oMaskRect, canvas, 3);
    wholeImages.oOutput = MakeRandomImage(scene.oFormat, canvas.Size.x, canvas.Size.y, 11);
    for (unsigned char& byte : Bytes(wholeImages.oOutput)) byte ^= flip;
    catalog::Instance instance = Prepare(whole, wholeImages);
    EXPECT_EQ(instance.Effect().Execute(), 1) << scene.Describe();
    return wholeImages.oOutput;
}

void Check(Scene const& scene) {
    Images const images(scene);
    Images const before(scene);
    catalog::Instance instance = Prepare(scene, images);
    ASSERT_EQ(instance.Effect().Execute(), 1) << scene.Describe();

    // Bytes that differ between two runs over different outputs are those the effect does not write.
    Ref<IXFImage> const result = WholeResult(scene, before, 0), again = WholeResult(scene, before, 255);
    Ref<IXFImage> const filled = Filled(scene);
    qzILImageHelper const actual(images.oOutput.Get()), initial(before.oOutput.Get()), whole(result.Get()),
        second(again.Get()), fill(filled.Get()), dominant(scene.bDominantB ? before.oB.Get() : before.oA.Get());
    qzILBbox2l const place = scene.Dominant(), other = scene.Other();
    qzILBbox2l const region(scene.oOutputOffset.x, scene.oOutputOffset.y, scene.oRoi.Size.x, scene.oRoi.Size.y);
    for (int y = 0; y < scene.oOutputSize.y; ++y) {
        for (int x = 0; x < scene.oOutputSize.x; ++x) {
            Pixel const old = PixelAt(initial, x, y);
            Pixel expected = old;
            int const px = x - scene.oOutputOffset.x + scene.oRoi.Origin.x;
            int const py = y - scene.oOutputOffset.y + scene.oRoi.Origin.y;
            bool const keptLine = (scene.uMode & ((y & 1) == 0 ? 0x100u : 0x200u)) == 0;
            if (keptLine && Covers(region, x, y)) {
                int const dx = px - place.Origin.x, dy = py - place.Origin.y;
                if (!Covers(place, px, py)) {
                    expected = PixelAt(fill, x, y);
                } else if (!Covers(other, px, py) || !Covers(scene.oMaskRect, px, py)) {
                    expected = PixelAt(dominant, dx, dy);
                } else {
                    expected = PixelAt(whole, dx, dy);
                    Pixel const flipped = PixelAt(second, dx, dy);
                    for (std::size_t i = 0; i < sizeof old.auBytes; ++i) {
                        if (expected.auBytes[i] != flipped.auBytes[i]) expected.auBytes[i] = old.auBytes[i];
                    }
                }
            }
            Pixel const found = PixelAt(actual, x, y);
            if (found == expected) continue;
            auto const place1 = DescribeDifference(expected.auBytes, found.auBytes);
            FAIL() << scene.Describe() << "\npixel " << x << ',' << y << ' ' << place1;
        }
    }
}

TEST(FrameNet, RandomScenesFollowTheFramesRules) {
    char const* const pSeed = std::getenv("QZIL_TEST_SEED");
    std::uint64_t const seed = pSeed ? std::strtoull(pSeed, nullptr, 10) : 20260101;
    char const* const pCount = std::getenv("QZIL_TEST_SCENES");
    int const count = pCount ? std::atoi(pCount) : 24000;
    std::printf("seed %llu, %d scenes\n", static_cast<unsigned long long>(seed), count);
    Random random(seed);
    for (int i = 0; i < count && !HasFatalFailure(); ++i) Check(RandomScene(random));
}

}  // namespace
}  // namespace qzil::test
