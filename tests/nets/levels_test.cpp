// Every effect gives the same bytes at every CPU level, whatever the width, writes nothing beside its region, and
// reads nothing behind its images.

#include "support/levels.h"
#include "scene/scene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <list>

#include <sys/mman.h>
#include <unistd.h>

namespace qzil::test {
namespace {

using catalog::Entry;
using catalog::FormatPair;

constexpr std::size_t kCanary = 64;

/// Puts an image's pixels right before memory that nobody may read, for as long as it lives.
class Guarded {
public:
    explicit Guarded(Ref<IXFImage> const& image) : m_pImage(image) {
        auto const bytes = Bytes(image);
        std::size_t const page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE)), pages = bytes.size() / page + 1;
        m_uSize = (pages + 1) * page;
        m_pMemory = mmap(nullptr, m_uSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        unsigned char* const end = static_cast<unsigned char*>(m_pMemory) + pages * page;
        std::copy(bytes.begin(), bytes.end(), end - bytes.size());
        mprotect(end, page, PROT_NONE);
        image->SetPixelArray(end - bytes.size());
    }
    ~Guarded() {
        m_pImage->SetPixelArray(nullptr);
        munmap(m_pMemory, m_uSize);
    }
    Guarded(Guarded const&) = delete;
    Guarded& operator=(Guarded const&) = delete;

private:
    Ref<IXFImage> m_pImage;
    void* m_pMemory;
    std::size_t m_uSize;
};

/// Runs a scene into outputs between canaries; the bytes with them, and the numbers found.
std::vector<unsigned char> RunBetweenCanaries(Scene const& scene) {
    Images images(scene);
    std::list<std::vector<unsigned char>> memories;
    for (Ref<IXFImage> const& output : images.oOutputs) {
        auto const initial = Bytes(output);
        auto& memory = memories.emplace_back(initial.size() + 2 * kCanary, 0xA5);
        std::memcpy(memory.data() + kCanary, initial.data(), initial.size());
        output->SetPixelArray(memory.data() + kCanary);
    }
    std::list<Guarded> inputs;
    for (Ref<IXFImage> const& input : images.oInputs) inputs.emplace_back(input);
    if (images.oMask) inputs.emplace_back(images.oMask);
    catalog::Instance instance = Prepare(scene, images);
    EXPECT_EQ(instance.Effect().Verify(), 1) << scene.Describe();
    EXPECT_EQ(instance.Effect().Execute(), 1) << scene.Describe();
    auto const results = Results(instance, images);
    for (Ref<IXFImage> const& output : images.oOutputs) output->SetPixelArray(nullptr);
    for (auto const& memory : memories) {
        for (std::size_t i = 0; i < kCanary; ++i) {
            EXPECT_EQ(memory[i], 0xA5) << scene.Describe() << " byte " << i << " before the image";
            EXPECT_EQ(memory[memory.size() - 1 - i], 0xA5) << scene.Describe() << " byte " << i << " behind the image";
        }
    }
    return results;
}

void CompareLevels(Scene const& scene) {
    std::vector<unsigned char> expected;  // of the first level, the baseline
    ForEachLevel([&] {
        auto const actual = RunBetweenCanaries(scene);
        if (expected.empty()) expected = actual;
        ASSERT_EQ(DescribeDifference(expected, actual), "") << scene.Describe();
    });
}

/// The variants of one effect, format and width: channels, mask, parameters and dominance drawn at random.
void CheckWidth(Entry const& entry, GUID const& format, int width, int height, Random& random) {
    bool const video = IsVideo(format);
    for (int variant = 0; variant < 3; ++variant) {
        Scene scene = PlainScene(entry, format, width, height);
        scene.uSeed = static_cast<std::uint64_t>(width * 8 + variant + 1);
        scene.oValues = RandomValuesFor(entry, format, random);
        scene.uMode = video || variant == 0 ? 15 : static_cast<unsigned>(random.Below(16));
        scene.bDominantB = scene.HasB() && !entry.bMaskRequired && variant == 2;
        if (!video && (variant > 0 || entry.bMaskRequired)) {
            scene.oMaskFormat = MaskFormatFor(format, variant == 2);
            if (scene.oMaskFormat == GUID_NULL) continue;
            scene.uMaskChannel = variant == 2 ? XFImageChannel2 : XFImageChannelMono;
            scene.oMaskRect = scene.oRoi;
        }
        // Some effects need all colour channels, some alpha, too.
        if (Prepare(scene, Images(scene)).Effect().Verify() != 1) scene.uMode |= 7u;
        if (Prepare(scene, Images(scene)).Effect().Verify() != 1) scene.uMode |= 15u;
        CompareLevels(scene);
    }
}

TEST(LevelsNet, EveryWidthGivesTheBytesOfTheBaseline) {
    Random random(1);
    auto const effect = [&](Entry const& entry, GUID const& format) {
        for (int width = 1; width <= 67 && !HasFatalFailure(); ++width) CheckWidth(entry, format, width, 2, random);
        if (!HasFatalFailure()) CheckWidth(entry, format, 1920, 2, random);
    };
    auto const conversion = [&](Entry const& entry, FormatPair const& pair) {
        for (int i = 0; i < 4 && !HasFatalFailure(); ++i) CompareLevels(RandomConversion(entry, pair, random));
    };
    ForEachForm(effect, conversion);
}

/// Large frames are written past the caches. The bytes are those of the same frame done in strips, which are not, and
/// pixels that an effect leaves alone stay as they were.
void ExpectStrips(Scene const& whole) {
    constexpr int kStrip = 46;
    if (!whole.EqualsPartOfWhole() || whole.pEntry->IsSink()) return;
    kernel::ForceStreamBytes(1 << 20);
    Images const expected = Executed(whole), strips(whole);
    for (int y = 0; y < whole.oRoi.Size.y; y += kStrip) {
        Scene strip = whole;
        strip.oRoi.Origin.y = strip.oOutputOffset.y = y;
        strip.oRoi.Size.y = kStrip;
        ASSERT_EQ(Prepare(strip, strips).Effect().Execute(), 1) << whole.Describe();
    }
    kernel::ForceStreamBytes(0);
    ASSERT_EQ(DescribeDifference(Bytes(strips.Output()), Bytes(expected.Output())), "") << whole.Describe();
}

TEST(StreamingNet, ALargeFrameEqualsItsStrips) {
    FormatPair const pairs[] = {{MFIF_RGBA_RAW_32, MFIF_RGBA_FLOAT},   {MFIF_RGBA_FLOAT, MFIF_CbYCrYA_24},
                                {MFIF_CbYCrY_16, MFIF_RGB_RAW_24},     {MFIF_RGB_RAW_24, MFIF_CbYCrY709_16},
                                {MFIF_CbYCrYA_24, MFIF_CbYCrYA_FLOAT}, {MFIF_CbYCrY_10_6, MFIF_RGBA_RAW_32}};
    Random random(5);
    auto const effect = [&](Entry const& entry, GUID const& format) {
        if (format != MFIF_RGBA_RAW_32 && format != MFIF_CbYCrYA_24) return;
        for (unsigned const mode : {15u, 7u}) {
            Scene scene = PlainScene(entry, format, 603, 460);
            scene.oValues = RandomValuesFor(entry, format, random);
            scene.uMode = mode;
            if (mode == 7 && !IsVideo(format)) {
                scene.oMaskFormat = MaskFormatFor(format, false);
                scene.oMaskRect = scene.oRoi;
            }
            ExpectStrips(scene);
        }
    };
    auto const conversion = [&](Entry const& entry, FormatPair const& pair) {
        for (auto const& [from, to] : pairs) {
            if (from == pair.oFrom && to == pair.oTo) ExpectStrips(PlainScene(entry, pair, 1002, 460));
        }
    };
    ForEachForm(effect, conversion);
}

}  // namespace
}  // namespace qzil::test
