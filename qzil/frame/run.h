#pragma once

#include "qzil/frame/codes.h"
#include "qzil/frame/img_proc.h"
#include "qzil/image/format_row.h"
#include "qzil/kernel/crop.h"
#include "qzil/kernel/operation.h"

#include <optional>

// What the sources of effects run their operations with.

namespace qzil {

/// In the place of a code: without a form nothing is written, deliberately, and the effect succeeds.
inline constexpr unsigned kWritesNothing = 1;

/// The layout and the channel type of a format's samples; those of 10.6 are words.
kernel::Layout LayoutOf(FormatRow const& format);
kernel::SampleType ChannelTypeOf(FormatRow const& format);

/// What is known of a call in a format.
kernel::Call CallIn(FormatRow const& format, unsigned mode);
/// The form of an operation for a call's format, or null.
kernel::Form const* FindForm(kernel::Forms const& forms, kernel::Call const& call);

/// Calls act(As<T>) for the channel type T that a form's rule has.
template <class... T, class Act>
void WithRuleType(kernel::Form const& form, kernel::Call const& call, Act const& act) {
    if constexpr (sizeof...(T) == 0) {
        WithRuleType<u8, u16, s16, float>(form, call, act);
    } else {
        auto const match = [&]<class Sample>(As<Sample> as) {
            if (form.eRule != kernel::SampleTypeOf<Sample>()) return false;
            act(as);
            return true;
        };
        (void)(match(As<T>{call}) || ...);
    }
}

/// A share of 0 to 1 as a weight of samples: times full scale, rounded half away from zero. Outside 0 to 1 the low byte
/// counts at 8 bits; 16 bits and S2.14 are limited to 0 to full scale. NaN gives 0; float is as it is.
template <class T>
T Share(double share) {
    if constexpr (std::is_same_v<T, float>) {
        return static_cast<float>(share);
    } else {
        constexpr auto kFull = static_cast<s32>(kFullScale<T>);
        s32 const weight = RoundHalfAway(share * kFull);
        return static_cast<T>(sizeof(T) == 1 ? weight & 255 : Clamp<s32>(weight, 0, kFull));
    }
}
/// The same with 16 fraction bits, 0 to 65536.
inline s32 Share16(double share) {
    return Clamp<s32>(RoundHalfAway(share * 65536.0), 0, 65536);
}

/// One value for all four channels, or for the selected ones.
template <class T>
constexpr Channels<T> AllChannels(T value) {
    return {{value, value, value, value}};
}
template <class T>
Channels<T> SelectedChannels(kernel::Call const& call, T selected, T others) {
    auto const of = [&](int channel) { return call.Selects(channel) ? selected : others; };
    return {{of(0), of(1), of(2), of(3)}};
}

}  // namespace qzil

template <template <class> class Rule, class... T, class Build>
qzILStatus qzILProcessor::RunOver(qzil::kernel::Walk const& walk, qzil::FormatRow const& format,
                                  qzil::kernel::Operation<Rule, T...> const& operation, Build const& build,
                                  unsigned noForm) {
    using namespace qzil;
    kernel::Call call = CallIn(format, walk.uMode);
    call.bMasked = walk.oMask.pFirst != nullptr;
    kernel::Form const* const pForm = FindForm(operation, call);
    if (!pForm) return WithoutForm(noForm);
    WithRuleType<T...>(*pForm, call, [&]<class Sample>(As<Sample> as) {
        Rule<Sample> const rule = build(as);
        kernel::RunRows(walk, pForm->oTraits, {pForm->pRow, &rule});
    });
    return 1;
}

/// The lines of a call, and the view of the first input, whose format decides which form runs.
struct qzILImgProc::Prepared {
    qzil::kernel::Walk oWalk;
    qzILBbox2l oBox;
    qzILImageHelper const* pSource = nullptr;
    std::optional<qzil::kernel::Crop> oCrop;  ///< none: all of the walk
};

template <class... T, class Act>
qzILStatus qzILImgProc::WithForm(Prepared const& prepared, qzil::kernel::Forms const& forms, Act const& act,
                                 unsigned noForm) {
    using namespace qzil;
    kernel::Call call;
    kernel::Form const* const pForm = FindForm(forms, prepared, call);
    if (!pForm) return WithoutForm(noForm);
    qzILStatus status = -1;
    WithRuleType<T...>(*pForm, call, [&](auto as) { status = act(*pForm, as); });
    return status;
}

template <template <class> class Rule, class... T, class Build>
qzILStatus qzILImgProc::RunForms(Prepared& prepared, qzil::kernel::Forms const& forms, Build const& build,
                                 unsigned noForm) {
    auto const act = [&]<class Sample>(qzil::kernel::Form const& form, qzil::As<Sample> as) {
        Rule<Sample> const rule = build(as);
        return RunPrepared(prepared, form.oTraits, {form.pRow, &rule});
    };
    return WithForm<T...>(prepared, forms, act, noForm);
}

template <template <class> class Rule, class... T, class Build>
requires(!std::is_integral_v<Build>) qzILStatus qzILImgProc::Run(qzil::kernel::Operation<Rule, T...> const& operation,
                                                                 Build const& build, unsigned noForm) {
    Prepared prepared;
    return Prepare(prepared) ? RunForms<Rule, T...>(prepared, operation, build, noForm) : WithoutForm(noForm);
}

template <template <class> class Rule, class... T>
qzILStatus qzILImgProc::Run(qzil::kernel::Operation<Rule, T...> const& operation, unsigned noForm) {
    return Run(
        operation, []<class Sample>(qzil::As<Sample>) { return Rule<Sample>{}; }, noForm);
}
