#pragma once

#include "qzil/kernel/indices.h"
#include "qzil/kernel/loops.h"
#include "qzil/kernel/operation.h"

// Shapes: they make forms of rules. Included by row sources only.
//
// A rule computes in samples, `T operator()(T v) const`, or, for integers that need it, in wide values, `Wide<T>
// operator()(Wide<T> v) const`: the parameters decide how a loop loads. Behind the values of the inputs come the values
// of the rule's channel constants, which it names by `PerChannel(f)`, f called with them. A second function `Masked`
// with a mask value as its last parameter makes a rule fold the mask in by itself; without it the commit mixes.

QZIL_ROWS_BEGIN

/// Who leaves channels alone that are not selected.
enum class Selection : u8 {
    Commit,  ///< the shared commit, behind the row
    Row,     ///< the row's own loop
    Rule,    ///< the rule, by its constants
};

inline constexpr unsigned kRgba = 1u << static_cast<int>(kernel::Layout::Rgba);
inline constexpr unsigned kMono = 1u << static_cast<int>(kernel::Layout::Mono);
inline constexpr unsigned kHlsa = 1u << static_cast<int>(kernel::Layout::Hlsa);
inline constexpr unsigned kGraphics = kRgba | kMono;
inline constexpr unsigned kLumaFirst = 1u << static_cast<int>(kernel::Layout::LumaFirst);
inline constexpr unsigned kChromaFirst = 1u << static_cast<int>(kernel::Layout::ChromaFirst);
inline constexpr unsigned kVideo = kLumaFirst | kChromaFirst;
inline constexpr unsigned kVideoAlpha =
    1u << static_cast<int>(kernel::Layout::LumaFirstAlpha) | 1u << static_cast<int>(kernel::Layout::ChromaFirstAlpha);

struct With {
    unsigned uLayouts = 0;  ///< 0: the shape's own
    kernel::MixRule eMix8 = kernel::MixRule::NormMult;
    kernel::MixRule eMixFloat = kernel::MixRule::Float;
    kernel::MaskLayout eMaskLayout = kernel::MaskLayout::Samples;
    Selection eSelection = Selection::Commit;
    bool bFoldsMask = true;    ///< the rule's Masked is used, where it has one
    bool bTakesMask = false;   ///< of a stretch: it looks at the mask itself
    bool bHasChannels = true;  ///< channels can be selected, in pixels of four samples
    bool bIgnoresMask = false;
    bool bPolls = true;
    bool bWritesAll = true;
    bool bWordsServeS2_14 = false;  ///< the forms of 16-bit words are those of S2.14, too
};

/// The type of a member function's first parameter.
template <class F>
struct FirstParameter;
template <class R, class C, class A, class... More>
struct FirstParameter<R (C::*)(A, More...) const> {
    using Type = A;
};

template <class Rule>
inline constexpr bool kHasPlain = requires {
    &Rule::operator();
};
template <class Rule>
inline constexpr bool kHasMasked = requires {
    &Rule::Masked;
};
template <class Rule>
inline constexpr bool kHasChannels = requires(Rule rule) {
    rule.PerChannel([](auto const&...) {});
};
template <class Rule>
inline constexpr bool kHasMaskedChannels = requires(Rule rule) {
    rule.PerChannelMasked([](auto const&...) {});
};

template <class Rule, bool kMasked>
constexpr auto RuleFunction() {
    if constexpr (kMasked) {
        return &Rule::Masked;
    } else {
        return &Rule::operator();
    }
}
template <class Rule, bool kMasked>
using ValueOf = typename FirstParameter<decltype(RuleFunction<Rule, kMasked>())>::Type;

/// Calls f with the rule's channel constants laid out over a block.
template <bool kMasked, class Rule, class F>
QZIL_INLINE void WithLanes(Rule const& rule, F f) {
    auto const spread = [&f]<class... C>(Channels<C> const&... constants) { f(Lanes<C>(constants.aValues)...); };
    if constexpr (kMasked && kHasMaskedChannels<Rule>) {
        rule.PerChannelMasked(spread);
    } else if constexpr (kHasChannels<Rule>) {
        rule.PerChannel(spread);
    } else {
        f();
    }
}

template <class Which, class C>
QZIL_INLINE auto LoadLane(Which which, Lanes<C> const& lanes, int lane) {
    if constexpr (sizeof(C) == 4) {
        return SamplePair<C>{lanes[lane], lanes[lane + 1]};
    } else {
        return Load(which, lanes.At(lane));
    }
}

/// All bits set in the samples of selected channels.
template <class T>
QZIL_INLINE Lanes<T> SelectedLanes(unsigned selected) {
    auto const word = [=](int channel) { return static_cast<T>(-static_cast<int>(selected >> channel & 1)); };
    return Lanes<T>(word(0), word(1), word(2), word(3));
}

/// Stores result(at, which) for every two samples, unselected channels as the passed-through pixel has them.
template <class T, Selection kSelection, class Result>
QZIL_INLINE void StorePairs(kernel::Row const& row, Result result) {
    T* const out = Out<T>(row.pOut);
    if (kSelection != Selection::Row || row.uSelected == 15) {
        ForSamplePairs(row.iSamples, [=](PairPlace at, auto which) { Store(which, out + at.i, result(at, which)); });
    } else {
        T const* const pass = In<T>(row.pPass);
        Lanes<T> const selected = SelectedLanes<T>(row.uSelected);
        ForSamplePairs(row.iSamples, [=, &selected](PairPlace at, auto which) {
            StoreSelected(which, out + at.i, result(at, which), pass + at.i, selected.At(at.iLane));
        });
    }
}

/// The loop of rules that see one sample of each input.
template <class Rule, class T, int kInputs, class MaskForm, Selection kSelection, bool kMasked>
QZIL_INLINE void SampleLoop(kernel::Row const& row, Rule const& constants) {
    Rule const rule = constants;
    T const* const a = In<T>(row.pA);
    T const* const b = In<T>(row.pB);
    void const* const mask = row.pMask;
    auto const apply = [=](auto... v) {
        if constexpr (kMasked) {
            return rule.Masked(v...);
        } else {
            return rule(v...);
        }
    };
    if constexpr (!std::is_same_v<ValueOf<Rule, kMasked>, T>) {
        WithLanes<kMasked>(rule, [=, &row](auto const&... lanes) {
            StorePairs<T, kSelection>(row, [=, &lanes...](PairPlace at, auto which) {
                auto const load = [=, &lanes...](auto... more) {
                    if constexpr (kMasked) {
                        return ApplyToPair(apply, Load(which, a + at.i), more..., LoadLane(which, lanes, at.iLane)...,
                                           LoadMask<T>(which, MaskForm{}, mask, at));
                    } else {
                        return ApplyToPair(apply, Load(which, a + at.i), more..., LoadLane(which, lanes, at.iLane)...);
                    }
                };
                if constexpr (kInputs == 2) {
                    return load(Load(which, b + at.i));
                } else {
                    return load();
                }
            });
        });
    } else {
        T* const out = Out<T>(row.pOut);
        T const* const m = In<T>(mask);
        WithLanes<kMasked>(rule, [=, &row](auto const&... lanes) {
            auto const result = [=, &lanes...](int i, int lane) {
                (void)lane;
                if constexpr (kInputs == 2 && kMasked) return apply(a[i], b[i], lanes[lane]..., m[i]);
                if constexpr (kInputs == 2 && !kMasked) return apply(a[i], b[i], lanes[lane]...);
                if constexpr (kInputs == 1 && kMasked) return apply(a[i], lanes[lane]..., m[i]);
                if constexpr (kInputs == 1 && !kMasked) return apply(a[i], lanes[lane]...);
            };
            if (kSelection == Selection::Row && row.uSelected != 15) {
                T const* const pass = In<T>(row.pPass);
                Lanes<u32> const selected = SelectedLanes<u32>(row.uSelected);
                ForLanes(row.iSamples, [=, &selected](int i, int lane) {
                    T const value = result(i, lane), passed = pass[i];
                    out[i] = selected[lane] != 0 ? value : passed;
                });
            } else if constexpr (sizeof...(lanes) == 0) {
                ForEach(row.iSamples, [=](int i) { out[i] = static_cast<T>(result(i, 0)); });
            } else {
                ForLanes(row.iSamples, [=](int i, int lane) { out[i] = static_cast<T>(result(i, lane)); });
            }
        });
    }
}

template <class Rule, class T, int kInputs, class MaskForm, Selection kSelection, bool kFolds>
void SampleRow(kernel::Row const& row, void const* constants) {
    Rule const& rule = *static_cast<Rule const*>(constants);
    if constexpr (kFolds && kHasMasked<Rule>) {
        if constexpr (!kHasPlain<Rule>) {
            SampleLoop<Rule, T, kInputs, MaskForm, kSelection, true>(row, rule);
        } else if (row.pMask) {
            SampleLoop<Rule, T, kInputs, MaskForm, kSelection, true>(row, rule);
        } else {
            SampleLoop<Rule, T, kInputs, MaskForm, kSelection, false>(row, rule);
        }
    } else {
        SampleLoop<Rule, T, kInputs, MaskForm, kSelection, false>(row, rule);
    }
}

template <class T>
constexpr kernel::RowTraits TraitsOf(kernel::Layout layout, With const& options, bool takesMask) {
    kernel::RowTraits traits;
    traits.iSampleBytes = sizeof(T);
    traits.iSamples = kernel::SamplesOf(layout);
    traits.eMix = sizeof(T) == 1   ? options.eMix8
                  : sizeof(T) == 4 ? options.eMixFloat
                  : T(-1) < T(0)   ? kernel::MixRule::S2_14
                                   : kernel::MixRule::UInt16;
    traits.eMaskLayout = options.eMaskLayout;
    traits.bTakesMask = takesMask;
    traits.bTakesChannels = options.eSelection != Selection::Commit;
    traits.bHasChannels = options.bHasChannels && kernel::HasFourSamples(layout);
    traits.bPolls = options.bPolls;
    traits.bIgnoresMask = options.bIgnoresMask;
    traits.bWritesAll = options.bWritesAll;
    return traits;
}

/// make<layout, T>() for the layouts of the options, or kLayouts, and the types T, or all four.
template <template <class> class Rule, With kWith, unsigned kLayouts, class... T, class Make>
constexpr kernel::FormsOf<Rule> MakeForms(Make make) {
    if constexpr (sizeof...(T) == 0) {
        return MakeForms<Rule, kWith, kLayouts, u8, u16, s16, float>(make);
    } else {
        kernel::FormsOf<Rule> forms;
        auto const add = [&]<int kLayout, class Sample>() {
            if constexpr (((kWith.uLayouts != 0 ? kWith.uLayouts : kLayouts) >> kLayout & 1) != 0) {
                constexpr auto eLayout = static_cast<kernel::Layout>(kLayout);
                constexpr kernel::SampleType eType = kernel::SampleTypeOf<Sample>();
                forms.At(eLayout, eType) = make.template operator()<eLayout, Sample>();
                if (kWith.bWordsServeS2_14 && eType == kernel::SampleType::U16) {
                    forms.At(eLayout, kernel::SampleType::S2_14) = forms.At(eLayout, eType);
                }
            }
        };
        auto const addAll = [&]<int kLayout>() { (add.template operator()<kLayout, T>(), ...); };
        [&]<int... kLayout>(Indices<kLayout...>) {
            (addAll.template operator()<kLayout>(), ...);
        }
        (IndicesTo<kernel::kLayouts>{});
        return forms;
    }
}

template <template <class> class Rule, int kInputs, With kWith, class... T>
constexpr kernel::FormsOf<Rule> SampleForms() {
    return MakeForms<Rule, kWith, kGraphics, T...>([]<kernel::Layout kLayout, class Sample>() {
        constexpr bool kFolds = kHasMasked<Rule<Sample>> && kWith.bFoldsMask;
        constexpr bool kPairs = kLayout == kernel::Layout::Rgba && sizeof(Sample) < 4;
        constexpr Selection kSelection = kLayout == kernel::Layout::Rgba ? kWith.eSelection : Selection::Commit;
        using MaskForm = std::conditional_t<kPairs && kFolds, PerPair, PerSample>;
        constexpr Selection kInRow = kSelection == Selection::Row ? Selection::Row : Selection::Commit;
        return kernel::Form{SampleRow<Rule<Sample>, Sample, kInputs, MaskForm, kInRow, kFolds>,
                            TraitsOf<Sample>(kLayout, kWith, kFolds), kernel::SampleTypeOf<Sample>()};
    });
}

/// Rules of one sample.
template <template <class> class Rule, With kWith, class... T>
inline constexpr auto kPoint = SampleForms<Rule, 1, kWith, T...>();
/// Rules of a sample of each of two inputs.
template <template <class> class Rule, With kWith, class... T>
inline constexpr auto kCompose = SampleForms<Rule, 2, kWith, T...>();

/// No function: the second input is the result, or lines that a maker finishes, and the commit does all of the work.
template <template <class> class Rule, With kWith, class... T>
inline constexpr auto kSecondInput =
    MakeForms<Rule, kWith, kGraphics, T...>([]<kernel::Layout kLayout, class Sample>() {
        return kernel::Form{nullptr, TraitsOf<Sample>(kLayout, kWith, false), kernel::SampleTypeOf<Sample>()};
    });

/// One function per layout and type, given as a template that takes both.
template <template <class> class Rule, With kWith, unsigned kLayouts, class... T, class RowOf>
constexpr kernel::FormsOf<Rule> RowForms(RowOf rowOf) {
    return MakeForms<Rule, kWith, kLayouts, T...>([=]<kernel::Layout kLayout, class Sample>() {
        return kernel::Form{rowOf.template operator()<kLayout, Sample>(),
                            TraitsOf<Sample>(kLayout, kWith, kWith.bTakesMask), kernel::SampleTypeOf<Sample>()};
    });
}

constexpr bool IsChromaFirst(kernel::Layout layout) {
    return layout == kernel::Layout::ChromaFirst || layout == kernel::Layout::ChromaFirstAlpha;
}

template <class Rule, class T, bool kChromaFirst>
void VideoRow(kernel::Row const& row, void const* constants) {
    Rule const rule = *static_cast<Rule const*>(constants);
    T* const out = Out<T>(row.pOut);
    T const* const in = In<T>(row.pA);
    if constexpr (sizeof(T) < 4) {
        ForSamplePairs(row.iSamples, [=](PairPlace at, auto which) {
            auto const v = Load(which, in + at.i);
            using V = decltype(v.oEven);
            if constexpr (kChromaFirst) {
                Store(which, out + at.i,
                      SamplePair<V>{static_cast<V>(rule.Chroma(v.oEven)), static_cast<V>(rule.Luma(v.oOdd))});
            } else {
                Store(which, out + at.i,
                      SamplePair<V>{static_cast<V>(rule.Luma(v.oEven)), static_cast<V>(rule.Chroma(v.oOdd))});
            }
        });
    } else {
        constexpr int kLuma = kChromaFirst ? 1 : 0;
        ForEach(row.iPixels, [=](int i) {
            T const y = rule.Luma(in[2 * i + kLuma]), c = rule.Chroma(in[2 * i + 1 - kLuma]);
            out[2 * i + kLuma] = y;
            out[2 * i + 1 - kLuma] = c;
        });
    }
}

/// Rules with a `Luma` and a `Chroma` of wide values, for 4:2:2.
template <template <class> class Rule, With kWith, class... T>
inline constexpr auto kVideoSamples = RowForms<Rule, kWith, kVideo, T...>([]<kernel::Layout kLayout, class Sample>() {
    return VideoRow<Rule<Sample>, Sample, IsChromaFirst(kLayout)>;
});

/// Four samples as V: integers are moved as words, so that a loop over pixels needs no vector that takes them apart.
template <class V, class T>
QZIL_INLINE Quad<V> LoadQuad(T const* in) {
    if constexpr (sizeof(T) == 4) {
        return {static_cast<V>(in[0]), static_cast<V>(in[1]), static_cast<V>(in[2]), static_cast<V>(in[3])};
    } else {
        PixelWord const* const words = reinterpret_cast<PixelWord const*>(in);
        constexpr int kBits = 8 * sizeof(T), kPerWord = 4 / sizeof(T);
        auto const sample = [=](int n) {
            u32 const high = words[n / kPerWord] << (32 - kBits * (n % kPerWord + 1));
            if constexpr (T(-1) < T(0)) return static_cast<V>(static_cast<s32>(high) >> (32 - kBits));
            return static_cast<V>(static_cast<s32>(high >> (32 - kBits)));
        };
        return {sample(0), sample(1), sample(2), sample(3)};
    }
}

/// Stores values that fit their samples.
template <class T, class V>
QZIL_INLINE void StoreQuad(T* out, Quad<V> v) {
    if constexpr (sizeof(T) == 4) {
        out[0] = static_cast<T>(v.c0), out[1] = static_cast<T>(v.c1);
        out[2] = static_cast<T>(v.c2), out[3] = static_cast<T>(v.c3);
    } else {
        PixelWord* const words = reinterpret_cast<PixelWord*>(out);
        auto const bits = [](V value) { return static_cast<u32>(static_cast<std::make_unsigned_t<T>>(value)); };
        if constexpr (sizeof(T) == 1) {
            words[0] = bits(v.c0) | bits(v.c1) << 8 | bits(v.c2) << 16 | bits(v.c3) << 24;
        } else {
            words[0] = bits(v.c0) | bits(v.c1) << 16;
            words[1] = bits(v.c2) | bits(v.c3) << 16;
        }
    }
}

/// A pixel as a rule sees it, a word or four values.
template <class P, class T>
QZIL_INLINE P LoadPixel(T const* in) {
    if constexpr (std::is_same_v<P, u32>) {
        return *reinterpret_cast<PixelWord const*>(in);
    } else {
        return LoadQuad<decltype(P::c0)>(in);
    }
}
template <class T, class P>
QZIL_INLINE void StorePixel(T* out, P pixel) {
    if constexpr (std::is_same_v<P, u32>) {
        *reinterpret_cast<PixelWord*>(out) = pixel;
    } else {
        StoreQuad(out, pixel);
    }
}

template <class Rule, class T, int kInputs, bool kMasked>
QZIL_INLINE void PixelLoop(kernel::Row const& row, Rule const& constants) {
    using Pixel = ValueOf<Rule, kMasked>;
    Rule const rule = constants;
    T* const out = Out<T>(row.pOut);
    T const* const a = In<T>(row.pA);
    T const* const b = In<T>(row.pB);
    T const* const mask = In<T>(row.pMask);
    ForEach(row.iPixels, [=](int i) {
        Pixel const first = LoadPixel<Pixel>(a + 4 * i);
        if constexpr (kInputs == 2 && kMasked) {
            StorePixel(out + 4 * i, rule.Masked(first, LoadPixel<Pixel>(b + 4 * i), mask[i]));
        } else if constexpr (kInputs == 2) {
            StorePixel(out + 4 * i, rule(first, LoadPixel<Pixel>(b + 4 * i)));
        } else if constexpr (kMasked) {
            StorePixel(out + 4 * i, rule.Masked(first, mask[i]));
        } else {
            StorePixel(out + 4 * i, rule(first));
        }
    });
}

template <class Rule, class T, int kInputs>
void PixelRow(kernel::Row const& row, void const* constants) {
    Rule const& rule = *static_cast<Rule const*>(constants);
    if constexpr (kHasMasked<Rule>) {
        if (row.pMask) return PixelLoop<Rule, T, kInputs, true>(row, rule);
    }
    if constexpr (kHasPlain<Rule>) PixelLoop<Rule, T, kInputs, false>(row, rule);
}

template <template <class> class Rule, int kInputs, With kWith, class... T>
constexpr kernel::FormsOf<Rule> PixelForms() {
    return MakeForms<Rule, kWith, kRgba, T...>([]<kernel::Layout kLayout, class Sample>() {
        kernel::RowTraits traits = TraitsOf<Sample>(kLayout, kWith, kHasMasked<Rule<Sample>>);
        if (traits.bTakesMask) traits.eMaskLayout = kernel::MaskLayout::Pixel;
        return kernel::Form{PixelRow<Rule<Sample>, Sample, kInputs>, traits, kernel::SampleTypeOf<Sample>()};
    });
}

/// Rules of a whole RGBA pixel, as a Quad of wide values or, at 8 bits, as a word with the first channel low.
template <template <class> class Rule, With kWith, class... T>
inline constexpr auto kPixel = PixelForms<Rule, 1, kWith, T...>();
/// The same with a pixel of each of two inputs.
template <template <class> class Rule, With kWith, class... T>
inline constexpr auto kPixels = PixelForms<Rule, 2, kWith, T...>();

template <bool kChromaFirst, class V, class T>
QZIL_INLINE YccPair<V> LoadPair(T const* in) {
    Quad<V> const v = LoadQuad<V>(in);
    if constexpr (kChromaFirst) return {v.c1, v.c0, v.c3, v.c2};
    return {v.c0, v.c1, v.c2, v.c3};
}
template <bool kChromaFirst, class T, class V>
QZIL_INLINE void StorePair(T* out, YccPair<V> const& p) {
    StoreQuad(out, kChromaFirst ? Quad<V>{p.cb, p.y0, p.cr, p.y1} : Quad<V>{p.y0, p.cb, p.y1, p.cr});
}

/// Chroma that is no colour.
template <class T>
inline constexpr T kNeutralChroma = T(-1) < T(0) ? T(0) : static_cast<T>(kFullScale<T> / 2 + 1);

template <class Rule, class T, int kInputs, bool kChromaFirst>
void PairRow(kernel::Row const& row, void const* constants) {
    using Pair = ValueOf<Rule, false>;
    using V = decltype(Pair::y0);
    Rule const rule = *static_cast<Rule const*>(constants);
    T* const out = Out<T>(row.pOut);
    T const* const a = In<T>(row.pA);
    T const* const b = In<T>(row.pB);
    auto const make = [=](Pair const& first, T const* second) {
        if constexpr (kInputs == 2) {
            return rule(first, LoadPair<kChromaFirst, V>(second));
        } else {
            return rule(first);
        }
    };
    ForEach(row.iPixels / 2, [=](int i) {
        StorePair<kChromaFirst>(out + 4 * i, make(LoadPair<kChromaFirst, V>(a + 4 * i), b + 4 * i));
    });
    if ((row.iPixels & 1) == 0) return;
    // A last pixel alone is the first one of a pair whose second one has the same luma, and neutral chroma.
    int const last = 2 * (row.iPixels - 1);
    auto const lone = [=](T* unit, T const* in) {
        unit[0] = unit[2] = in[last], unit[1] = unit[3] = in[last + 1];
        unit[kChromaFirst ? 2 : 3] = kNeutralChroma<T>;
    };
    T unit[4], other[4] = {}, result[4];
    lone(unit, a);
    if constexpr (kInputs == 2) lone(other, b);
    StorePair<kChromaFirst>(result, make(LoadPair<kChromaFirst, V>(unit), other));
    out[last] = result[0], out[last + 1] = result[1];
}

/// Rules of a 4:2:2 pair taken apart, of each input where there are two.
template <template <class> class Rule, int kInputs, With kWith, class... T>
inline constexpr auto kYccPairs = RowForms<Rule, kWith, kVideo, T...>([]<kernel::Layout kLayout, class Sample>() {
    return PairRow<Rule<Sample>, Sample, kInputs, IsChromaFirst(kLayout)>;
});

/// Calls put(at, which, values) for every two samples with what rule(neighbourhood) gives for them, a pixel being kStep
/// samples.
template <class T, int kStep, class Rule, class Put>
QZIL_INLINE void ForNeighbourhoods(kernel::Row const& row, Rule rule, Put put) {
    using V = AreaSum<T>;
    auto const line = [&](std::ptrdiff_t step) {
        return reinterpret_cast<T const*>(static_cast<u8 const*>(row.pA) + step);
    };
    T const *const top = line(-row.iLineStep), *const middle = line(0), *const bottom = line(row.iLineStep);
    // A number that the compiler cannot see: of neighbours at a known distance it puts vectors together from parts,
    // which takes a tenth longer than to load them.
    int step = kStep;
    asm("" : "+r"(step));
    ForSamplePairs(row.iSamples, [=](PairPlace at, auto which) {
        auto const t0 = Load(which, top + at.i - step), t1 = Load(which, top + at.i),
                   t2 = Load(which, top + at.i + step), m0 = Load(which, middle + at.i - step),
                   m1 = Load(which, middle + at.i), m2 = Load(which, middle + at.i + step),
                   b0 = Load(which, bottom + at.i - step), b1 = Load(which, bottom + at.i),
                   b2 = Load(which, bottom + at.i + step);
        auto const value = [](auto v) { return static_cast<V>(v); };
        Neighbourhood<V> const even{value(t0.oEven), value(t1.oEven), value(t2.oEven), value(m0.oEven), value(m1.oEven),
                                    value(m2.oEven), value(b0.oEven), value(b1.oEven), value(b2.oEven)};
        Neighbourhood<V> const odd{value(t0.oOdd), value(t1.oOdd), value(t2.oOdd), value(m0.oOdd), value(m1.oOdd),
                                   value(m2.oOdd), value(b0.oOdd), value(b1.oOdd), value(b2.oOdd)};
        put(at, which, SamplePair<V>{rule(even), rule(odd)});
    });
}

template <class Rule, class T, int kStep>
void AreaRow(kernel::Row const& row, void const* constants) {
    Rule const rule = *static_cast<Rule const*>(constants);
    T* const out = Out<T>(row.pOut);
    ForNeighbourhoods<T, kStep>(row, rule, [=](PairPlace at, auto which, auto v) { Store(which, out + at.i, v); });
}

/// Rules of a sample and the eight around it, `AreaSum<T> operator()(Neighbourhood<AreaSum<T>> const&) const`.
template <template <class> class Rule, With kWith, class... T>
inline constexpr auto kArea = RowForms<Rule, kWith, kGraphics, T...>([]<kernel::Layout kLayout, class Sample>() {
    return AreaRow<Rule<Sample>, Sample, kernel::SamplesOf(kLayout)>;
});

/// A loop of its own over a stretch, for one channel type and the layouts of the options.
template <template <class> class Rule, class T, void (*kRow)(kernel::Row const&, Rule<T> const&), With kWith>
inline constexpr auto kStretch = RowForms<Rule, kWith, kRgba, T>([]<kernel::Layout kLayout, class Sample>() {
    return +[](kernel::Row const& row, void const* rule) { kRow(row, *static_cast<Rule<T> const*>(rule)); };
});

QZIL_ROWS_END
