#pragma once

#include "qzil/kernel/row.h"

#include <type_traits>

// Operations: how an effect's arithmetic becomes row functions.
//
// A rule is a template over the channel type whose members are the constants of a call and whose operator() is the
// arithmetic of one sample or one pixel. A shape (kernel/loops.h) makes forms of it: row functions for the layouts and
// channel types of pixels, each with the traits that its loop needs. The frame looks the form of a format up and runs
// it over the rule that the effect builds.

namespace qzil {

struct FormatRow;

/// The type that integer rules compute in: twice as wide as a sample.
template <class T>
using Wide = std::conditional_t<
    std::is_same_v<T, u8>, u16,
    std::conditional_t<std::is_same_v<T, u16>, u32, std::conditional_t<std::is_same_v<T, s16>, s32, T>>>;

/// Full scale of a channel type.
template <class T>
inline constexpr T kFullScale = qzILFormat<T>::kFull;

/// A constant with a value for each sample of a pixel; the same one four times for mono, the samples of a pair of
/// pixels for 4:2:2.
template <class T>
struct Channels {
    T aValues[4];
};

/// Four samples of a pixel.
template <class V>
struct Quad {
    V c0, c1, c2, c3;
};

/// Values of sums of a few samples: 16 bits hold those of 8-bit samples, 32 bits those of 16-bit samples.
template <class T>
using AreaSum = std::conditional_t<std::is_same_v<T, u8>, s16, s32>;

/// The samples around m1, a line each: t of the lowest y, 0 on the left.
template <class V>
struct Neighbourhood {
    V t0, t1, t2, m0, m1, m2, b0, b1, b2;
};

/// A pair of 4:2:2 pixels taken apart.
template <class V>
struct YccPair {
    V y0, cb, y1, cr;
};

namespace kernel {

/// How the samples of a line lie, and whether an alpha plane lies behind it.
enum class Layout : u8 {
    Rgba,              ///< c0 c1 c2 c3 | c0 c1 c2 c3
    Hlsa,              ///< the same of hue, lightness, saturation and alpha
    Mono,              ///< y | y
    LumaFirst,         ///< y cb | y cr
    ChromaFirst,       ///< cb y | cr y
    LumaFirstAlpha,    ///< y cb | y cr, and a | a
    ChromaFirstAlpha,  ///< cb y | cr y, and a | a
    None,              ///< none of these
};
inline constexpr int kLayouts = 7;

enum class SampleType : u8 { U8, U16, S2_14, Float, None };
inline constexpr int kSampleTypes = 4;

/// Pixels of four interleaved samples, whose channels can be selected.
constexpr bool HasFourSamples(Layout layout) {
    return layout == Layout::Rgba || layout == Layout::Hlsa;
}

constexpr int SamplesOf(Layout layout) {
    return HasFourSamples(layout) ? 4 : layout == Layout::Mono ? 1 : 2;
}

template <class T>
constexpr SampleType SampleTypeOf() {
    if constexpr (std::is_same_v<T, u8>) return SampleType::U8;
    if constexpr (std::is_same_v<T, u16>) return SampleType::U16;
    if constexpr (std::is_same_v<T, s16>) return SampleType::S2_14;
    return SampleType::Float;
}

/// A row function with its traits, for one layout and channel type.
struct Form {
    void (*pRow)(Row const& row, void const* rule) = nullptr;
    RowTraits oTraits;
    SampleType eRule = SampleType::None;  ///< the channel type of the rule that the row function takes
};

struct Forms {
    Form aoForms[kLayouts][kSampleTypes];

    constexpr Form& At(Layout layout, SampleType type) {
        return aoForms[static_cast<int>(layout)][static_cast<int>(type)];
    }
    /// Null where there is none.
    constexpr Form const* Find(Layout layout, SampleType type) const {
        if (layout == Layout::None || type == SampleType::None) return nullptr;
        Form const& form = aoForms[static_cast<int>(layout)][static_cast<int>(type)];
        return form.eRule == SampleType::None ? nullptr : &form;
    }
};

/// Forms of one rule, as shapes make them; `a | b` has the forms of both.
template <template <class> class Rule>
struct FormsOf : Forms {
    friend constexpr FormsOf operator|(FormsOf forms, FormsOf const& more) {
        for (int layout = 0; layout < kLayouts; ++layout) {
            for (int type = 0; type < kSampleTypes; ++type) {
                Form const& form = more.aoForms[layout][type];
                if (form.eRule != SampleType::None) forms.aoForms[layout][type] = form;
            }
        }
        return forms;
    }
};

/// All forms of a rule over the channel types T; none stands for all four.
template <template <class> class Rule, class... T>
struct Operation : Forms {
    constexpr Operation(FormsOf<Rule> const& forms) : Forms(forms) {
        for (auto const& row : aoForms) {
            for (Form const& form : row) {
                bool const listed = sizeof...(T) == 0 || ((form.eRule == SampleTypeOf<T>()) || ...);
                if (form.eRule != SampleType::None && !listed)
                    throw "a form of a type that the operation does not list";
            }
        }
    }
};

/// What an effect can know of a call when it builds a rule.
struct Call {
    FormatRow const* pFormat;
    Layout eLayout;
    unsigned uSelected;  ///< the selected channels; 15 where channels cannot be selected
    bool bMasked;
    bool bPassB;  ///< the second input is the one that passes through

    bool Selects(int channel) const { return (uSelected >> channel & 1) != 0; }
};

/// The channel type of a call, handed to the function that builds its rule.
template <class T>
struct As : Call {
    using Type = T;
};

}  // namespace kernel

using kernel::As;

}  // namespace qzil

// QZIL_OPERATION(Rule, types...) behind a rule declares Get<Rule>(): its operation over these channel types at the
// active CPU level. The row source defines g_o<Rule> inside QZIL_ROWS_BEGIN and QZIL_ROWS_END.
#define QZIL_OPERATION(Rule, ...) QZIL_PER_LEVEL(Rule, kernel::Operation<Rule __VA_OPT__(, ) __VA_ARGS__>)

// A rule without constants of the values a and b of two inputs, and its operation.
#define QZIL_COMPOSE_RULE(Rule, expression, ...)                                        \
    template <class T>                                                                  \
    struct Rule {                                                                       \
        QZIL_INLINE T operator()(T a, T b) const { return static_cast<T>(expression); } \
    };                                                                                  \
    QZIL_OPERATION(Rule, __VA_ARGS__)

// Inside a rule: its channel constants, whose values the rule's function takes in this order.
#define QZIL_CHANNELS(...) QZIL_CHANNEL_CONSTANTS(PerChannel, __VA_ARGS__)
// The same for Masked, where that takes others.
#define QZIL_MASKED_CHANNELS(...) QZIL_CHANNEL_CONSTANTS(PerChannelMasked, __VA_ARGS__)
#define QZIL_CHANNEL_CONSTANTS(name, ...) \
    template <class F>                    \
    QZIL_INLINE void name(F f) const {    \
        f(__VA_ARGS__);                   \
    }
