// A frozen hash per effect and format of its input, on generated pictures: catches unintended change.
// QZIL_UPDATE_DIGESTS=1 rewrites the file from what the library gives now.

#include "scene/scene.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <map>
#include <sstream>

namespace qzil::test {
namespace {

using catalog::Entry;

std::string const kFile = QZIL_SOURCE_DIR "/tests/nets/digests.txt";

/// One hash over a few variants: channels, mask and parameters.
std::string Digest(Scene const& plain, std::string const& before = "CBF29CE484222325") {
    std::uint64_t hash = std::stoull(before, nullptr, 16);
    Entry const& entry = *plain.pEntry;
    bool const fixed = IsVideo(plain.oFormat) || !entry.oPairs.empty() || !entry.TakesMask();
    Random random(99);
    for (int variant = 0; variant < 4; ++variant) {
        Scene scene = plain;
        scene.uSeed = 7;
        if (variant > 0) {
            scene.oValues =
                entry.oPairs.empty() ? RandomValuesFor(entry, plain.oFormat, random) : RandomValues(entry, random);
        }
        scene.uMode = variant < 2 || fixed ? 15u : 7u;
        if (variant == 3 && !fixed && MaskFormatFor(plain.oFormat, true) != GUID_NULL) {
            scene.oMaskFormat = MaskFormatFor(plain.oFormat, true);
            scene.uMaskChannel = XFImageChannel1;
            scene.oMaskRect = scene.oRoi;
        }
        hash = Hash(Results(scene), hash);
    }
    std::ostringstream text;
    text << std::hex << std::setw(16) << std::setfill('0') << hash;
    return text.str();
}

TEST(DigestNet, EveryEffectAndFormatGivesItsFrozenHash) {
    std::map<std::string, std::string> actual, frozen;
    ForEachForm(
        [&](Entry const& entry, GUID const& format) {
            actual[entry.sName + ' ' + NameOf(format)] = Digest(PlainScene(entry, format, 38, 17));
        },
        [&](Entry const& entry, catalog::FormatPair const& pair) {
            // One hash for all that a format becomes. Fields that lie apart have as many lines each.
            std::string& hash = actual[entry.sName + ' ' + NameOf(pair.oFrom)];
            hash = Digest(PlainScene(entry, pair, 38, 18), hash.empty() ? "0" : hash);
        });
    if (std::getenv("QZIL_UPDATE_DIGESTS")) {
        std::ofstream file(kFile);
        for (auto const& [key, hash] : actual) file << key << ' ' << hash << '\n';
        ASSERT_TRUE(file.good());
    }
    std::ifstream file(kFile);
    for (std::string effect, format, hash; file >> effect >> format >> hash;) frozen[effect + ' ' + format] = hash;
    for (auto const& [key, hash] : actual) EXPECT_EQ(frozen[key], hash) << key;
    EXPECT_EQ(frozen.size(), actual.size()) << "the file has entries that no effect has, or lacks some";
}

}  // namespace
}  // namespace qzil::test
