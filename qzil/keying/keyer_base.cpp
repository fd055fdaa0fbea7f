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

bool qzILKeyerBase::Prepare(Prepared& prepared) const {
    if (!qzILDyadicPixelProc::Prepare(prepared)) return false;
    kernel::Crop crop{m_iLeftMargin, m_iRightMargin, {}, {}};
    crop.aLines[0] = {m_iFirstStart, m_iFirstEnd};
    crop.aLines[1] = {m_iSecondStart, m_iSecondEnd};
    if (m_oOutputHelper.m_iSplitField && (m_uProcessingMode & kModeNoLines) != 0) {
        // A field by itself is walked from its lowest line up.
        std::int64_t const lines = prepared.oBox.Size.y;
        crop.aLines[0] = {Limited(lines - m_iFirstEnd), Limited(lines - m_iFirstStart)};
    }
    prepared.oCrop = crop;
    return true;
}
