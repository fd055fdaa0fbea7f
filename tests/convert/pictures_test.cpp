// Every pair of formats that a conversion accepts, against the plain model: sizes, regions, offsets, fields, settings.

#include "convert/convert_support.h"
#include "model/scene.h"
#include "support/levels.h"

namespace qzil::test::model {
namespace {

void Fill(IXFImage* image, std::uint64_t seed) {
    bool const specials = seed % 4 == 3;
    if (seed % 2) return FillEnds(image, seed, specials);
    FillRandom(image, seed, FloatValues::Finite);
}

/// Region and output offset: fields that lie apart are converted whole, pixel pairs of the output stay together.
void PlaceRegion(ConvertJob& job, GUID const& out, int width, int height, Random& random) {
    int inWidth = random.Between(1, 70), inHeight = random.Between(1, 8);
    if (IsFormatSplitField(out) || random.OneIn(4)) {
        job.oRoi = {0, 0, width, height};
        inWidth = width, inHeight = height;
    } else {
        int const w = random.Between(1, width), h = random.Between(1, height);
        job.oOffset = {random.Between(0, width - w), random.Between(0, height - h)};
        job.oRoi = {random.Between(-6, inWidth + 2), random.Between(-3, inHeight + 1), w, h};
        if (IsFormatYCC(out) || !IsFormatRGB(out)) {
            job.oOffset.x &= ~1;
            job.oRoi.Origin.x &= ~1;
            if (random.OneIn(2)) job.oRoi.Origin.x = 0;
            if (job.oOffset.x + w < width) job.oRoi.Size.x = std::max(2, w & ~1);
        }
    }
    job.oInput = MakeImage(FormatOf(job.oInput.Get()), inWidth, inHeight);
}

ConvertJob RandomJob(Pair const& pair, bool filter, bool dither, std::uint64_t seed) {
    Random random(seed * 977 + pair.oIn.Data1 % 1009 + pair.oOut.Data1 % 1013);
    int const width = random.OneIn(8) ? random.Between(100, 700) : random.Between(1, 70);
    int const height = random.Between(1, 9);
    ConvertJob job = WholeJob(pair.eKind, pair.oIn, pair.oOut, width, height);
    PlaceRegion(job, pair.oOut, width, height, random);
    job.bFilter = filter;
    job.bDither = dither;
    job.oDefault = {0.2, 0.9, 0.4, 0.7};
    if (random.OneIn(3)) job.uMode |= static_cast<unsigned>(random.Between(1, 3)) << 8;
    Fill(job.oInput.Get(), seed);
    Fill(job.oOutput.Get(), seed & ~std::uint64_t{3});
    return job;
}

/// Runs a job at every CPU level, by one effect: what it draws for dithering starts anew each time.
void ExpectModel(ConvertJob const& job) {
    auto const output = Bytes(job.oOutput);
    std::vector<u8> const before(output.begin(), output.end());
    auto const expected = ConvertModel(job);
    auto const effect = MakeEffect(job);
    ForEachLevel([&] {
        std::ranges::copy(before, output.begin());
        EXPECT_EQ(effect->Execute(), 1) << job.Describe();
        EXPECT_EQ(SampleDifference(FormatOf(job.oOutput.Get()), expected, output), "") << job.Describe();
    });
}

TEST(ConvertPictures, EqualModel) {
    for (Pair const& pair : AcceptedPairs()) {
        // The dithering term of bytes that become 4:4:4:4 is free.
        bool const freeDither = IsFormatYCCA4444(pair.oOut) && DepthOf(pair.oIn) == Depth::Byte;
        for (int settings = 0; settings < (freeDither ? 2 : 4); ++settings) {
            int done = 0;
            for (std::uint64_t seed = 1; seed < 200 && done < 12; ++seed) {
                ConvertJob const job = RandomJob(pair, settings & 1, settings & 2, seed);
                if (MakeEffect(job)->Verify() != 1) continue;
                ++done;
                ExpectModel(job);
                if (HasFailure()) return;
            }
            ASSERT_EQ(done, 12) << "too few regions are accepted of " << NameOf(pair.oOut);
        }
    }
}

}  // namespace
}  // namespace qzil::test::model
