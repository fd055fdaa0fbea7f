#include "qzil/keying/keyer_base.h"

#include "qzil/frame/checks.h"
#include "qzil/frame/run.h"

#include <algorithm>

using namespace qzil;

namespace {

int Limited(std::int64_t value) {
    return static_cast<int>(std::clamp<std::int64_t>(value, -0x7FFFFFFF, 0x7FFFFFFF));
}

}  // namespace

void qzILKeyerBase::Init() {
    m_oCropBox = qzILBbox2l();
    m_oKeyColor = m_oDefaultColor;
    m_iLeftMargin = m_iRightMargin = m_iFirstStart = m_iFirstEnd = m_iSecondStart = m_iSecondEnd = 0;
}

qzILStatus qzILKeyerBase::Verify() {
    auto const inside = [this] { return m_oCropBox.Intersect(WholeOf(m_pInputImgA)) == m_oCropBox; };
    return Checks(*this, qzILDyadicPixelProc::Verify()).That(inside, Code::Region);
}

void qzILKeyerBase::OnAdjustProcessedRegionBbox() {
    if (AdjustCrop() == 1) {
        qzILDyadicPixelProc::OnAdjustProcessedRegionBbox();
    } else {
        m_oBoxes.oProcessed.Size.y = 0;
    }
}

qzILStatus qzILKeyerBase::AdjustCrop() {
    qzILBbox2l const& box = m_oBoxes.oProcessed;
    std::int64_t const low = m_oCropBox.Origin.y, high = low + m_oCropBox.Size.y;
    m_iLeftMargin = m_oCropBox.Origin.x;
    m_iRightMargin = Limited(std::int64_t{box.Size.x} - (std::int64_t{m_oCropBox.Origin.x} + m_oCropBox.Size.x));
    m_iFirstStart = Limited(low);
    m_iFirstEnd = Limited(high);
    m_iSecondStart = m_iSecondEnd = -1;
    unsigned const fields = m_uProcessingMode & kModeNoLines;
    if (m_oOutputHelper.m_iSplitField) {
        AdjustCropOfFields(low, box.Size.y - high, box.Size.y);
    } else if (fields != 0) {
        // Rounded so that a line which the field has is keyed where it lies inside the box.
        int const round = SkipsLine(fields, box.Origin.y) ? 0 : 1;
        m_iFirstStart = Limited((low + round) >> 1);
        m_iFirstEnd = Limited((high + round) >> 1);
    }
    if (fields == kModeNoLines) m_iFirstStart = m_iFirstEnd = m_iSecondStart = m_iSecondEnd = -1;
    return 1;
}

/// The box leaves `low` lines below it and `top` lines above it; a split-field image begins with its uppermost lines.
void qzILKeyerBase::AdjustCropOfFields(std::int64_t low, std::int64_t top, std::int64_t height) {
    bool const even = m_oOutputHelper.m_iSplitFieldEven != 0, oddHeight = (height & 1) != 0;
    std::int64_t const first = even ? (height + 1) >> 1 : height >> 1;
    // The field with the uppermost line has the larger half of the lines above the box.
    bool const firstRoundsUp = even == oddHeight;
    m_iFirstStart = Limited((top + (firstRoundsUp ? 1 : 0)) >> 1);
    m_iSecondStart = Limited(first + ((top + (firstRoundsUp ? 0 : 1)) >> 1));
    m_iFirstEnd = Limited(first - ((low + (even ? 1 : 0)) >> 1));
    m_iSecondEnd = Limited(height - ((low + (even ? 0 : 1)) >> 1));
    unsigned const fields = m_uProcessingMode & kModeNoLines;
    if (fields == 0) return;
    if (fields == kModeSkipOddLines) {
        m_iFirstStart = Limited(m_iSecondStart - first);
        m_iFirstEnd = Limited(m_iSecondEnd - first);
    }
    m_iSecondStart = m_iSecondEnd = -1;
}

kernel::RowCall qzILKeyerBase::Background() const {
    return {};
}

namespace {

/// What is keyed of the lines of a walk.
struct Interval {
    int iStart, iEnd;
};

/// Passes an interrupt on, and keeps that there was one.
struct Stop {
    kernel::Walk const& oWalk;
    mutable bool bStopped = false;

    static bool Ask(void const* self) {
        auto const& stop = *static_cast<Stop const*>(self);
        return stop.bStopped = stop.oWalk.pStop(stop.oWalk.pStopContext);
    }
};

}  // namespace

qzILStatus qzILKeyerBase::RunPrepared(Prepared& prepared, kernel::RowTraits const& traits,
                                      kernel::RowCall const& call) const {
    kernel::Walk const& walk = prepared.oWalk;
    if (!CompleteWalk(prepared.oWalk, prepared.oBox, traits)) return -1;
    // Pairs stay together; a last pixel alone belongs to the margin.
    int const lines = walk.iLines, width = walk.iWidth, whole = traits.iSamples == 2 ? ~1 : ~0;
    int const left = Clamp(m_iLeftMargin, 0, width) & whole, right = Clamp(m_iRightMargin, 0, width) & whole;
    int const columns = Max(width - left - right, 0) & whole;
    Interval keyed[2] = {{m_iFirstStart, m_iFirstEnd}, {m_iSecondStart, m_iSecondEnd}};
    if (m_oOutputHelper.m_iSplitField && (m_uProcessingMode & kModeNoLines) != 0) {
        // A field by itself is walked from its lowest line up.
        keyed[0] = {Limited(std::int64_t{lines} - m_iFirstEnd), Limited(std::int64_t{lines} - m_iFirstStart)};
    }
    Stop const stop{walk};
    auto const run = [&](Interval part, int x, int count, kernel::RowCall const& with, bool polls) {
        if (part.iStart >= part.iEnd || count <= 0) return;
        kernel::Walk area = kernel::ColumnsOf(kernel::PartOf(walk, part.iStart, part.iEnd - part.iStart), x, count);
        area.pStop = polls && walk.pStop ? Stop::Ask : nullptr;
        area.pStopContext = &stop;
        kernel::RunRows(area, traits, with);
    };
    // What is not keyed comes first: an interrupt ends the keying.
    kernel::RowCall const background = Background();
    int done = 0;
    for (Interval& part : keyed) {
        part.iStart = Clamp(part.iStart, done, lines);
        part.iEnd = columns > 0 ? Clamp(part.iEnd, part.iStart, lines) : part.iStart;
        run({done, part.iStart}, 0, width, background, false);
        run(part, 0, left, background, false);
        run(part, left + columns, width - left - columns, background, false);
        done = part.iEnd;
    }
    run({done, lines}, 0, width, background, false);
    for (Interval const& part : keyed) {
        if (!stop.bStopped) run(part, left, columns, call, true);
    }
    return 1;
}
