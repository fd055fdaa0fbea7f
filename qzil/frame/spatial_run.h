#pragma once

#include "qzil/frame/margin.h"
#include "qzil/frame/run.h"
#include "qzil/frame/spatial.h"
#include "qzil/kernel/line_walk.h"

// What the sources of neighbourhood effects run their operations with, beside run.h.

template <template <class> class Rule, class... T, class Build>
qzILStatus qzILMonadicSpatialProc::RunOverOutput(qzil::kernel::Operation<Rule, T...> const& operation,
                                                 Build const& build, unsigned noForm) {
    Prepared prepared;
    if (!Prepare(prepared)) return WithoutForm(noForm);
    prepared.oWalk.oA = prepared.oWalk.oOut;
    prepared.oWalk.oB = CentreLines();
    prepared.oWalk.bPassB = true;
    return RunForms<Rule, T...>(prepared, operation, build, noForm);
}

template <template <class> class Rule, class... T, class Build>
qzILStatus qzILMonadicSpatialProc::RunMaker(qzil::kernel::Operation<Rule, T...> const& operation, Build const& build,
                                            unsigned noForm) {
    return Guarded([&] {
        Prepared prepared;
        if (!Prepare(prepared)) return WithoutForm(noForm);
        auto const act = [&]<class Sample>(qzil::kernel::Form const& form, qzil::As<Sample> as) {
            auto const pMaker = build(as, GetMarginLines(qzil::kernel::SamplesOf(as.eLayout)));
            return pMaker ? RunLines(prepared, form.oTraits, *pMaker) : 1;
        };
        return WithForm<T...>(prepared, operation, act, noForm);
    });
}
