#include "qzil/pixel/logic.h"

#include "qzil/frame/checks.h"
#include "qzil/frame/color_samples.h"
#include "qzil/frame/run.h"
#include "qzil/pixel/logic_rows.h"

#include <typeinfo>

using namespace qzil;

qzILStatus DyadicLogic::Verify() {
    return Checks(*this, qzILDyadicPixelProc::Verify()).Format(kRawFormats);
}

qzILStatus DyadicLogic::DoEffect() {
    // Of 8 bits only these are worked on; all that is wider counts as words, where extrema do not go.
    bool const raw = Contains(kRawFormats, Format());
    if (!raw && GetChannelSizeFromFormat(Format()) == 1) return 1;
    switch (Rule()) {
        case LogicRule::And: return Run(GetAnd(), kWritesNothing);
        case LogicRule::Or: return Run(GetOr(), kWritesNothing);
        case LogicRule::XOr: return Run(GetXOr(), kWritesNothing);
        case LogicRule::Difference: return Run(GetDifference(), kWritesNothing);
        default: break;
    }
    if (!raw) return 1;
    if (typeid(*this) == typeid(qzILMaxImg)) return Run(GetLarger());
    if (typeid(*this) == typeid(qzILMinImg)) return Run(GetSmaller());
    return qzILDyadicPixelProc::DoEffect();
}

qzILStatus MonadicLogic::Verify() {
    return Checks(*this, qzILMonadicPixelProc::Verify()).Format(kRawFormats);
}

/// A channel that is not selected gets the operand that leaves it as it is.
qzILStatus MonadicLogic::DoEffect() {
    if (!Contains(kRawFormats, Format())) return 1;
    auto const build = [&]<class T>(As<T> call) {
        bool const keeps = Rule() == LogicRule::And;
        MaskBits<T> rule{AllChannels(kFullScale<T>), AllChannels(T{0})};
        Channels<T> const operand = ColorSamples<T>(m_oOperand, call);
        for (int i = 0; i < 4; ++i) {
            if (call.Selects(i)) (keeps ? rule.oKept : rule.oSet).aValues[i] = operand.aValues[i];
        }
        return rule;
    };
    return Run(GetMaskBits(), build);
}
