#pragma once

#include "qzil/field/field_frame.h"
#include "qzil/frame/run.h"

// What the sources of field effects run their operations with.

namespace qzil {

/// Runs the form that an operation has for a format over one line of pixels. Formats without a form write nothing.
template <template <class> class Rule, class... T, class Build>
void RunLine(kernel::Operation<Rule, T...> const& operation, FormatRow const& format, int pixels, void* out,
             void const* first, void const* second, Build const& build) {
    kernel::Call const call = CallIn(format, kModeAllChannels);
    kernel::Form const* const pForm = FindForm(operation, call);
    if (!pForm) return;
    WithRuleType<T...>(*pForm, call, [&]<class Sample>(As<Sample> as) {
        Rule<Sample> const rule = build(as);
        kernel::Row row{};
        row.iPixels = pixels;
        row.iSamples = pixels * pForm->oTraits.iSamples;
        row.uSelected = 15;
        row.pOut = out;
        row.pA = first;
        row.pB = second;
        pForm->pRow(row, &rule);
    });
}

}  // namespace qzil
