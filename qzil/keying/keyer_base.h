#pragma once

#include "qzil/frame/dyadic.h"

/// Keyers of two inputs: input A is keyed, input B gives the colours or the background. A pixel outside the crop box
/// takes input B's.
///
/// The crop box counts from the corner of the processed region, as lines and columns of input A do where all of it is
/// processed.
///
/// Verify adds 0x1000A for a crop box that leaves input A.
class QZIL_API qzILKeyerBase : public qzILDyadicPixelProc {
    QZIL_EFFECT_CLASS(qzILKeyerBase)
public:
    qzILKeyerBase() { Init(); }

    qzILStatus Verify() override;
    /// Nothing is processed unless AdjustCrop gives 1.
    void OnAdjustProcessedRegionBbox() override;
    /// Works out the crop limits for the processed region.
    virtual qzILStatus AdjustCrop();
    void Init();
    void Trash() {}
    /// Default: empty, so that nothing is keyed.
    void SetCropBox(qzILBbox2l const& box) { m_oCropBox = box; }
    qzILBbox2l const& GetCropBox() const { return m_oCropBox; }
    /// Default: the default colour as it is at construction, all zero.
    void SetKeyColor(qzILColor const& color) { m_oKeyColor = color; }
    qzILColor const& GetKeyColor() const { return m_oKeyColor; }

protected:
    /// Runs a row function inside the crop limits and the background outside them.
    qzILStatus RunPrepared(Prepared& prepared, qzil::kernel::RowTraits const& traits,
                           qzil::kernel::RowCall const& call) const override;
    /// What writes the background; a call without a function stands for input B.
    virtual qzil::kernel::RowCall Background() const;

    qzILBbox2l m_oCropBox;
    qzILColor m_oKeyColor;
    /// Columns at both ends of a line, and two intervals of lines, each from its first line to the one behind its last;
    /// of split-field images lines as they lie in memory, an interval for each field.
    std::int32_t m_iLeftMargin, m_iRightMargin, m_iFirstStart, m_iFirstEnd, m_iSecondStart, m_iSecondEnd;

private:
    void AdjustCropOfFields(std::int64_t low, std::int64_t top, std::int64_t height);
};
