#pragma once

#include "qzil/image/formats.h"

#include <cstdint>

namespace qzil {

/// The predicates of a format that answer true, as bits: a letter each, in the order of the functions of FormatRow.
struct FormatPredicates {
    std::uint32_t uBits = 0;

    consteval FormatPredicates(char const* letters) {
        for (; *letters; ++letters) uBits |= BitOf(*letters);
    }
    static consteval std::uint32_t BitOf(char letter) {
        constexpr char kLetters[] = "RMYa24UASTV67PQfsFE";
        int bit = 0;
        while (kLetters[bit] != letter) {
            if (!kLetters[++bit]) throw "no such predicate letter";
        }
        return 1u << bit;
    }
};

/// How a colour is written: the channel forms of qzILColor, and one of 32 bits; open where there is none.
enum class ColorForm : std::uint8_t {
    Open,
    Mono8,
    Mono16,
    MonoS2_14,
    MonoFloat,
    Mono32,
    Bytes,
    Words,
    S2_14,
    Float,
    W10_6
};

/// The forms of a colour in a format, a letter each: that of qzILGetColorAsType, then, for formats that are not filled
/// from it, that of a fill, then the order of a fill's channels: as they come, reversed (<) or the first two exchanged
/// (~).
struct ColorForms {
    ColorForm eColor = ColorForm::Open;
    ColorForm eFill = ColorForm::Open;
    std::uint8_t auOrder[3] = {0, 1, 2};

    consteval ColorForms(char const* letters) {
        if (*letters) eColor = FormOf(*letters++);
        if (*letters) eFill = FormOf(*letters++);
        if (!*letters) return;
        bool const reversed = *letters == '<';
        auOrder[0] = reversed ? 2 : 1;
        auOrder[1] = reversed ? 1 : 0;
        auOrder[2] = reversed ? 0 : 2;
    }
    static consteval ColorForm FormOf(char letter) {
        constexpr char kLetters[] = ".12354bwsft";
        int form = 0;
        while (kLetters[form] != letter) {
            if (!kLetters[++form]) throw "no such form letter";
        }
        return static_cast<ColorForm>(form);
    }
};

/// All that is known of a format. Found once per image: whoever holds an image's row asks it, not the functions that
/// look a format up.
struct FormatRow {
    GUID oFormat;
    char const* pName;  ///< null for a format that is not listed
    XFChannelType uChannelType;
    unsigned uChannels;
    unsigned uChannelSize;
    unsigned uPixelSize;
    XFColorModel uColorModel;
    FormatPredicates oTrue;
    ColorForms oForms;
    StoredAttributes oStored;

    constexpr bool IsRgb() const { return Has(FormatPredicates::BitOf('R')); }
    constexpr bool IsMono() const { return Has(FormatPredicates::BitOf('M')); }
    constexpr bool IsYcc() const { return Has(FormatPredicates::BitOf('Y')); }
    constexpr bool IsYcca() const { return Has(FormatPredicates::BitOf('a')); }
    constexpr bool IsYcc422() const { return Has(FormatPredicates::BitOf('2')); }
    constexpr bool IsYcca4444() const { return Has(FormatPredicates::BitOf('4')); }
    constexpr bool IsChromaFirst() const { return Has(FormatPredicates::BitOf('U')); }
    constexpr bool HasAlpha() const { return Has(FormatPredicates::BitOf('A')); }
    constexpr bool HasAlphaPlane() const { return Has(FormatPredicates::BitOf('S')); }
    constexpr bool IsTopDown() const { return Has(FormatPredicates::BitOf('T')); }
    constexpr bool HasVideoLevels() const { return Has(FormatPredicates::BitOf('V')); }
    constexpr bool Is601() const { return Has(FormatPredicates::BitOf('6')); }
    constexpr bool Is709() const { return Has(FormatPredicates::BitOf('7')); }
    constexpr bool Is10_6() const { return Has(FormatPredicates::BitOf('P')); }
    constexpr bool Is10_6Ycc422() const { return Has(FormatPredicates::BitOf('Q')); }
    constexpr bool IsFloat() const { return Has(FormatPredicates::BitOf('f')); }
    constexpr bool IsS2_14() const { return Has(FormatPredicates::BitOf('s')); }
    constexpr bool IsSplitField() const { return Has(FormatPredicates::BitOf('F')); }
    constexpr bool IsSplitFieldEven() const { return Has(FormatPredicates::BitOf('E')); }

    /// Bytes of a channel and of a pixel, with its part of an alpha plane, as images of the format have them; 0 where
    /// the format does not say. What an image stores comes first: the attributes leave some sizes out.
    constexpr unsigned ChannelBytes() const { return oStored.uPixelSize != 0 ? oStored.uChannelSize : uChannelSize; }
    constexpr unsigned PixelBytes() const { return oStored.uPixelSize != 0 ? oStored.uPixelSize : uPixelSize; }
    /// Bytes from one pixel to the next in the colour plane.
    constexpr unsigned ColorBytes() const { return PixelBytes() - (HasAlphaPlane() ? ChannelBytes() : 0); }
    /// Two pixels are luma, chroma, luma, chroma, with alpha in a plane, beside each, or none.
    constexpr bool IsPair() const {
        return IsYcc422() && (Is601() || Is709()) && uChannelSize != 0 &&
               uPixelSize == uChannelSize * (HasAlpha() ? 3 : 2);
    }

private:
    constexpr bool Has(std::uint32_t bit) const { return (oTrue.uBits & bit) != 0; }
};

/// What an unlisted format answers: the negative tests are true, all else is false and 0.
inline constexpr FormatRow kUnknownFormat{GUID_NULL, nullptr, 0, 0, 0, 0, 0, "Y2UT", "", {0, 0, 0, 0, -1}};

/// The row of a format; kUnknownFormat for one that is not listed.
FormatRow const& RowOf(GUID const& format);

}  // namespace qzil
