#pragma once

#include "catalog/catalog.h"
#include "support/picture.h"

#include "qzil/image/image_helper.h"

#include <string>
#include <vector>

/// Scenes of catalogued effects, for tests that hold for every effect alike.
namespace qzil::test {

/// The effects whose output does not depend on what it held before.
std::span<catalog::Entry const> NetEffects();

/// One call of an effect. Images are described, not held, so that a scene can be run again and again.
struct Scene {
    catalog::Entry const* pEntry = nullptr;
    GUID oFormat{};
    GUID oOutputFormat{};  ///< of conversions; GUID_NULL is that of the inputs
    qzILVector2l oSizeA, oSizeB, oOutputSize;
    qzILVector2l oInputOffset;
    bool bDominantB = false;
    qzILBbox2l oRoi;
    qzILVector2l oOutputOffset;
    GUID oMaskFormat = GUID_NULL;  ///< no mask
    XFImageChannel uMaskChannel = XFImageChannelMono;
    qzILBbox2l oMaskRect{0, 0, 0x7FFFFFFF, 0x7FFFFFFF};
    unsigned uMode = 7;
    enum class InPlace { No, A, B } eInPlace = InPlace::No;
    bool bSameInputs = false;  ///< input b is the image of input a
    std::vector<catalog::Value> oValues;
    qzILColor oDefaultColor;
    std::uint64_t uSeed = 1;  ///< of all pixels

    std::string Describe() const;
    GUID OutputFormat() const { return oOutputFormat == GUID_NULL ? oFormat : oOutputFormat; }
    bool HasMask() const { return oMaskFormat != GUID_NULL; }
    /// A pixel does not depend on where its region begins. Recursive filters round differently behind another start, as
    /// running sums of floats do, and edges are looked for in the region alone.
    bool EqualsPartOfWhole() const;
    bool HasB() const { return pEntry->HasTwoInputs(); }
    /// Rectangle of the input that decides which pixels exist, and of the other one, in region coordinates.
    qzILBbox2l Dominant() const;
    qzILBbox2l Other() const;
};

/// The images of a scene.
struct Images {
    Ref<IXFImage> oA, oB, oOutput, oMask;

    explicit Images(Scene const& scene);
};

/// An effect with everything of a scene in it.
catalog::Instance Prepare(Scene const& scene, Images const& images);

/// A pixel's bytes: its colour samples, and its alpha where that is a plane.
struct Pixel {
    unsigned char auBytes[20] = {};
    bool operator==(Pixel const&) const = default;
};
Pixel PixelAt(qzILImageHelper const& helper, int x, int y);

inline bool Covers(qzILBbox2l const& box, int x, int y) {
    return x >= box.Origin.x && y >= box.Origin.y && x < box.Origin.x + box.Size.x && y < box.Origin.y + box.Size.y;
}
/// An image of the output's size in the default colour.
Ref<IXFImage> Filled(Scene const& scene);

/// Formats whose channels cannot be selected one by one, and which take no mask.
inline bool IsVideo(GUID const& format) {
    return IsFormatYCC(format);
}
/// Formats whose regions have to keep pixel pairs together.
inline bool HasPairs(GUID const& format) {
    return !IsFormatRGB(format) && !IsFormatMono(format);
}

/// A mask format of the channel type that a format's samples have; GUID_NULL for types that masks do not have.
GUID MaskFormatFor(GUID const& format, bool fourChannels);

/// Random parameter values within their ranges, the ends among them; in the second form such that the effect takes in
/// the format.
std::vector<catalog::Value> RandomValues(catalog::Entry const& entry, Random& random);
std::vector<catalog::Value> RandomValuesFor(catalog::Entry const& entry, GUID const& format, Random& random);

/// A random scene that the effect's Verify accepts.
Scene RandomScene(Random& random);

/// A plain scene: whole images of one size, no mask unless the effect needs one.
Scene PlainScene(catalog::Entry const& entry, GUID const& format, int width, int height);

/// FNV-1a, 64 bits.
std::uint64_t Hash(std::span<unsigned char const> bytes, std::uint64_t start = 0xCBF29CE484222325u);

}  // namespace qzil::test
