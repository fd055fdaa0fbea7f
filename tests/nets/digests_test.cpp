// A frozen hash per effect and format on generated pictures: catches unintended change. QZIL_UPDATE_DIGESTS=1 rewrites
// the file from what the library gives now.

#include "nets/scene.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <map>
#include <sstream>

namespace qzil::test {
namespace {

std::string const kFile = QZIL_SOURCE_DIR "/tests/nets/digests.txt";

/// One hash over a few variants: channels, mask and parameters.
std::uint64_t Digest(catalog::Entry const& entry, GUID const& format) {
    std::uint64_t hash = 0xCBF29CE484222325u;
    bool const video = IsVideo(format);
    Random random(99);
    for (int variant = 0; variant < 4; ++variant) {
        Scene scene = PlainScene(entry, format, 38, 17);
        scene.uSeed = 7;
        if (variant > 0) scene.oValues = RandomValuesFor(entry, format, random);
        scene.uMode = variant < 2 || video ? 15u : 7u;
        if (variant == 3 && !video && MaskFormatFor(format, true) != GUID_NULL) {
            scene.oMaskFormat = MaskFormatFor(format, true);
            scene.uMaskChannel = XFImageChannel1;
            scene.oMaskRect = scene.oRoi;
        }
        Images const images(scene);
        catalog::Instance instance = Prepare(scene, images);
        EXPECT_EQ(instance.Effect().Execute(), 1) << scene.Describe();
        hash = Hash(Bytes(images.oOutput), hash);
    }
    return hash;
}

TEST(DigestNet, EveryEffectAndFormatGivesItsFrozenHash) {
    std::map<std::string, std::string> actual;
    for (catalog::Entry const& entry : NetEffects()) {
        for (GUID const& format : entry.oFormats) {
            std::ostringstream text;
            text << std::hex << std::setw(16) << std::setfill('0') << Digest(entry, format);
            actual[entry.sName + ' ' + NameOf(format)] = text.str();
        }
    }
    if (std::getenv("QZIL_UPDATE_DIGESTS")) {
        std::ofstream file(kFile);
        for (auto const& [key, hash] : actual) file << key << ' ' << hash << '\n';
        ASSERT_TRUE(file.good());
    }
    std::map<std::string, std::string> frozen;
    std::ifstream file(kFile);
    for (std::string effect, format, hash; file >> effect >> format >> hash;) frozen[effect + ' ' + format] = hash;
    for (auto const& [key, hash] : actual) EXPECT_EQ(frozen[key], hash) << key;
    EXPECT_EQ(frozen.size(), actual.size()) << "the file has entries that no effect has, or lacks some";
}

}  // namespace
}  // namespace qzil::test
