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
/// It makes one picture of others, all of which have to be there; else it is a generator, finds numbers, has several
/// outputs, or inputs that may be absent.
bool IsPicture(catalog::Entry const& entry);

/// What images hold: random samples, those and many ends of their range, NaN and infinities among them, or every pair
/// of values of a first and a second image over 256 x 256 pixels, where a mask takes the second one's place.
enum class Fill { Random, Ends, Specials, EveryPair };

/// Fills by channel type, half of the samples ends.
void FillEnds(IXFImage* image, std::uint64_t seed, bool specials);

/// One call of an effect. Images are described, not held, so that a scene can be run again and again.
struct Scene {
    catalog::Entry const* pEntry = nullptr;
    GUID oFormat{};
    GUID oOutputFormat{};              ///< of conversions; GUID_NULL is that of the inputs
    std::vector<qzILVector2l> oSizes;  ///< of the inputs
    qzILVector2l oOutputSize;
    qzILVector2l oInputOffset;  ///< of the second input
    bool bDominantB = false;
    qzILBbox2l oRoi;
    qzILVector2l oOutputOffset;
    GUID oMaskFormat = GUID_NULL;  ///< no mask
    XFImageChannel uMaskChannel = XFImageChannelMono;
    qzILBbox2l oMaskRect{0, 0, 0x7FFFFFFF, 0x7FFFFFFF};
    unsigned uMode = 7;
    int iInPlace = -1;         ///< the input that is the output
    bool bSameInputs = false;  ///< all inputs are one image
    std::vector<catalog::Value> oValues;
    qzILColor oDefaultColor;
    Fill eFill = Fill::Random;
    std::uint64_t uSeed = 1;  ///< of all pixels

    std::string Describe() const;
    GUID OutputFormat() const { return oOutputFormat == GUID_NULL ? oFormat : oOutputFormat; }
    bool HasMask() const { return oMaskFormat != GUID_NULL; }
    bool HasB() const { return pEntry->HasTwoInputs(); }
    /// A pixel does not depend on where its region begins. Recursive filters round differently behind another start, as
    /// running sums of floats do, and edges are looked for in the region alone.
    bool EqualsPartOfWhole() const;
    /// Rectangle of the input that decides which pixels exist, and of the other one, in region coordinates.
    qzILBbox2l Dominant() const { return BoxOf(bDominantB); }
    qzILBbox2l Other() const { return BoxOf(HasB() != bDominantB); }
    qzILBbox2l BoxOf(std::size_t input) const;
    /// A parameter's value, and its place among the values.
    std::size_t IndexOf(std::string_view parameter) const;
    template <class T>
    T Get(std::string_view parameter) const {
        return std::get<T>(oValues[IndexOf(parameter)]);
    }
    void Set(std::string_view parameter, catalog::Value const& value) { oValues[IndexOf(parameter)] = value; }
};

/// The images of a scene.
struct Images {
    std::vector<Ref<IXFImage>> oInputs, oOutputs;
    Ref<IXFImage> oMask;

    Images() = default;
    explicit Images(Scene const& scene);
    Ref<IXFImage> const& Output() const { return oOutputs.front(); }
};

/// An effect with everything of a scene in it.
catalog::Instance Prepare(Scene const& scene, Images const& images);
void SetImages(catalog::Instance& instance, Scene const& scene, Images const& images);
/// The images behind a call that has to succeed.
Images Executed(Scene const& scene);

/// The bytes of all that a call left in its outputs and found.
std::vector<unsigned char> Results(catalog::Instance& instance, Images const& images);
/// The same of a call that has to succeed.
std::vector<unsigned char> Results(Scene const& scene);

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

/// Random scenes that the effect's Verify accepts.
Scene RandomScene(catalog::Entry const& entry, GUID const& format, Random& random);
Scene RandomConversion(catalog::Entry const& entry, catalog::FormatPair const& pair, Random& random);
/// A whole picture with a mask perhaps, which Verify has not been asked about.
Scene WholeScene(catalog::Entry const& entry, GUID const& format, Random& random);

/// A plain scene: whole images of one size, no mask unless the effect needs one.
Scene PlainScene(catalog::Entry const& entry, GUID const& format, int width, int height);
/// The same of a conversion, with all channels.
Scene PlainScene(catalog::Entry const& entry, catalog::FormatPair const& pair, int width, int height);

/// Calls a function with every effect of the nets and each of its formats, and every conversion and each of its pairs.
template <class EffectFn, class ConversionFn>
void ForEachForm(EffectFn effect, ConversionFn conversion) {
    for (catalog::Entry const& entry : NetEffects()) {
        for (GUID const& format : entry.oFormats) effect(entry, format);
    }
    for (catalog::Entry const& entry : catalog::Conversions()) {
        for (catalog::FormatPair const& pair : entry.oPairs) {
            if (!entry.bUpdates) conversion(entry, pair);
        }
    }
}

template <class T>
T OneOf(Random& random, std::span<T const> values) {
    return values[static_cast<std::size_t>(random.Below(static_cast<int>(values.size())))];
}

/// FNV-1a, 64 bits.
std::uint64_t Hash(std::span<unsigned char const> bytes, std::uint64_t start = 0xCBF29CE484222325u);

}  // namespace qzil::test
