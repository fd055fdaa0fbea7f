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
template <class Add>
qzILStatus TakeIn(unsigned directions, bool oneByOne, Add add) {
    directions &= kAllDirections;
    if (!oneByOne) return directions == 0 ? 1 : add(directions);
    for (unsigned bit = 1; bit <= kAllDirections; bit <<= 1) {
        if ((directions & bit) == 0) continue;
        if (qzILStatus const status = add(bit); status != 1) return status;
    }
    return 1;
}

}  // namespace

void qzILGradientImg::Init() {
    m_uDirections = 1;
    m_uDone = 0;
}

qzILStatus qzILGradientImg::Verify() {
    if (qzILStatus const status = Effect3x3::Verify(); status != 1) return status;
    return AreDirections(m_uDirections) ? VerifyLevels() : Fail(0x10028);
}

qzILStatus qzILGradientImg::PrepareOutput() {
    m_uDone = 0;
    return ClearOutput();
}

qzILStatus qzILGradientImg::AddDirections(unsigned directions) {
    m_uDone |= directions;
    return Detect(kGradient, m_uDone);
}

qzILStatus qzILGradientImg::DoEffect() {
    m_uDone = 0;
    bool const clears = HasInterrupt() || m_dfEdgeSensitivity == 0.0 || (m_uDirections & kAllDirections) == 0;
    if (clears) {
        if (qzILStatus const status = PrepareOutput(); status != 1) return status;
    }
    if (m_dfEdgeSensitivity == 0.0) return 1;
    return TakeIn(m_uDirections, HasInterrupt(), [this](unsigned directions) { return AddDirections(directions); });
}

void qzILEmbossImg::Init() {
    m_uDirections = 1;
    m_uDone = 0;
}

qzILStatus qzILEmbossImg::Verify() {
    if (qzILStatus const status = Effect3x3::Verify(); status != 1) return status;
    return AreDirections(m_uDirections) ? 1 : Fail(0x10028);
}

qzILStatus qzILEmbossImg::PrepareOutput() {
    m_uDone = 0;
    return ClearOutput();
}

qzILStatus qzILEmbossImg::AddDirections(unsigned directions) {
    m_uDone |= directions;
    return RunOperators(kEmboss, m_uDone, 1.0, 0.0);
}

qzILStatus qzILEmbossImg::DoEffect() {
    m_uDone = 0;
    if (HasInterrupt() || (m_uDirections & kAllDirections) == 0) {
        if (qzILStatus const status = PrepareOutput(); status != 1) return status;
    }
    return TakeIn(m_uDirections, HasInterrupt(), [this](unsigned directions) { return AddDirections(directions); });
}
