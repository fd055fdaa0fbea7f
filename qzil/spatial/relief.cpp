#include "qzil/spatial/relief.h"

#include "qzil/spatial/edge_rows.h"

using namespace qzil;

namespace {

constexpr unsigned kAllDirections = 255;

bool AreDirections(unsigned directions) {
    return directions >= 1 && directions <= kAllDirections;
}

/// Takes the directions in. What a host may see of a frame that it interrupts is one direction after the other;
/// otherwise all of them are done in one walk.
template <class Run>
qzILStatus TakeIn(unsigned directions, bool oneByOne, Run run) {
    directions &= kAllDirections;
    if (!oneByOne) return directions == 0 ? 1 : run(directions);
    for (unsigned bit = 1; bit <= kAllDirections; bit <<= 1) {
        if ((directions & bit) == 0) continue;
        if (qzILStatus const status = run(directions & (2 * bit - 1)); status != 1) return status;
    }
    return 1;
}

}  // namespace

qzILStatus qzILGradientImg::Verify() {
    if (qzILStatus const status = Effect3x3::Verify(); status != 1) return status;
    return AreDirections(m_uDirections) ? VerifyLevels() : Fail(0x10028);
}

qzILStatus qzILGradientImg::Add(unsigned direction) {
    return AddDetected(kGradient, direction);
}

qzILStatus qzILGradientImg::DoEffect() {
    bool const clears = HasInterrupt() || m_dfEdgeSensitivity == 0.0 || (m_uDirections & kAllDirections) == 0;
    if (clears) {
        if (qzILStatus const status = PrepareOutput(); status != 1) return status;
    }
    if (m_dfEdgeSensitivity == 0.0) return 1;
    return TakeIn(m_uDirections, HasInterrupt(), [this](unsigned directions) { return Detect(kGradient, directions); });
}

qzILStatus qzILEmbossImg::Verify() {
    if (qzILStatus const status = Effect3x3::Verify(); status != 1) return status;
    return AreDirections(m_uDirections) ? 1 : Fail(0x10028);
}

qzILStatus qzILEmbossImg::Add(unsigned direction) {
    return AddOperators(kEmboss, direction, 1.0, 0.0);
}

qzILStatus qzILEmbossImg::DoEffect() {
    if (HasInterrupt() || (m_uDirections & kAllDirections) == 0) {
        if (qzILStatus const status = PrepareOutput(); status != 1) return status;
    }
    return TakeIn(m_uDirections, HasInterrupt(),
                  [this](unsigned directions) { return RunOperators(kEmboss, directions, 1.0, 0.0); });
}
