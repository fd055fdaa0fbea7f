#include "qzil/spatial/relief.h"

#include "qzil/frame/checks.h"
#include "qzil/frame/spatial_run.h"
#include "qzil/spatial/edge_rows.h"

using namespace qzil;

namespace {

constexpr unsigned kAllDirections = 255;

/// Takes the directions in. What a host may see of a frame that it interrupts is one direction after the other;
/// otherwise all of them are done in one walk.
template <class Take>
qzILStatus TakeIn(unsigned directions, bool oneByOne, Take take) {
    directions &= kAllDirections;
    if (!oneByOne) return directions == 0 ? 1 : take(directions);
    for (unsigned bit = 1; bit <= kAllDirections; bit <<= 1) {
        if ((directions & bit) == 0) continue;
        if (qzILStatus const status = take(directions & (2 * bit - 1)); status != 1) return status;
    }
    return 1;
}

}  // namespace

qzILStatus qzILGradientImg::Verify() {
    return Checks(*this, Effect3x3::Verify())
        .Range(m_uDirections, 1, kAllDirections, Code::Direction)
        .Share(m_dfEdgeSensitivity, Code::EdgeSensitivity)
        .Share(m_dfBias, Code::Bias);
}

qzILStatus qzILGradientImg::Take(unsigned directions) {
    return Run(GetGradient(), [&]<class T>(As<T>) {
        return Gradient<T>{{Share<T>(1.0 - m_dfEdgeSensitivity), Share<T>(m_dfBias)}, directions};
    });
}

qzILStatus qzILGradientImg::DoEffect() {
    bool const clears = HasInterrupt() || m_dfEdgeSensitivity == 0.0 || (m_uDirections & kAllDirections) == 0;
    if (clears) {
        if (qzILStatus const status = ClearOutput(); status != 1) return status;
    }
    if (m_dfEdgeSensitivity == 0.0) return 1;
    return TakeIn(m_uDirections, HasInterrupt(), [this](unsigned directions) { return Take(directions); });
}

qzILStatus qzILEmbossImg::Verify() {
    return Checks(*this, Effect3x3::Verify()).Range(m_uDirections, 1, kAllDirections, Code::Direction);
}

qzILStatus qzILEmbossImg::Take(unsigned directions) {
    return Run(GetRelief(), [&]<class T>(As<T>) { return Relief<T>{directions}; });
}

qzILStatus qzILEmbossImg::DoEffect() {
    if (HasInterrupt() || (m_uDirections & kAllDirections) == 0) {
        if (qzILStatus const status = ClearOutput(); status != 1) return status;
    }
    return TakeIn(m_uDirections, HasInterrupt(), [this](unsigned directions) { return Take(directions); });
}
