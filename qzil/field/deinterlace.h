#pragma once

#include "qzil/field/field_frame.h"

// How an effect makes lines between known ones.
inline constexpr qzILInterpolationType qzILInterpolationRepeat = 1;    ///< the adjacent line
inline constexpr qzILInterpolationType qzILInterpolationAverage = 2;   ///< the mean of the lines above and below
inline constexpr qzILInterpolationType qzILInterpolationAdaptive = 4;  ///< by motion, between that and a mean in time

/// Takes an interlaced frame apart and makes each field a whole picture again: output A has the region's lines of the
/// first field, output B the others, and the lines between are made. Type adaptive mixes, by how much a pixel differs
/// from the comparison image (of 4:2:2 by the luma of the pair): up to the minimum threshold the mean of input and
/// comparison, from the maximum on the mean of the lines above and below, between them by the share. Thresholds are
/// shares of full scale, of 16 to 235 for integer RGBA and 4:2:2. Either output may be absent. Interrupted between
/// the copied and the made lines.
///
/// Verify adds: 0x1003C both outputs are one image, 0x1000C, 0x1000E and 0x1003D a comparison image without pixels, of
/// another format or size, for output B what the frame asks of output A, 0x1000F another type, 0x1000B an output
/// without its comparison image (adaptive), 0x10046 a threshold outside 0 to 1 (a minimum that is not a number passes,
/// and counts as 0) or a minimum above the maximum.
class QZIL_API qzILDeinterlace : public qzILFieldBasedImgProc {
    QZIL_EFFECT_CLASS(qzILDeinterlace)
public:
    qzILDeinterlace() { Init(); }
    ~qzILDeinterlace() override { ReleaseClones(); }

    qzILStatus Verify() override;
    qzILStatus PrepareData() override;
    qzILStatus CleanData() override;
    void FillOutput(qzILBbox2l const& inner, qzILBbox2l const& outer, qzILColor const& color) override;
    qzILStatus DoEffect() override;

    void Init();
    void Trash() {}
    void SetOutputImgB(IXFImage* image);
    IXFImage* GetOutputImgB() const { return m_pOutputImgB; }
    void SetCompImgA(IXFImage* image) { m_pCompImgA = image; }
    IXFImage* GetCompImgA() const { return m_pCompImgA; }
    void SetCompImgB(IXFImage* image) { m_pCompImgB = image; }
    IXFImage* GetCompImgB() const { return m_pCompImgB; }
    void SetInterpolationType(qzILInterpolationType type) { m_uType = type; }
    qzILInterpolationType GetInterpolationType() const { return m_uType; }
    void SetMinThreshold(double threshold) { m_dfMinThreshold = threshold; }
    double GetMinThreshold() const { return m_dfMinThreshold; }
    void SetMaxThreshold(double threshold) { m_dfMaxThreshold = threshold; }
    double GetMaxThreshold() const { return m_dfMaxThreshold; }

protected:
    int GetImageSlots(ImageSlots& slots) override;
    qzILStatus ExecutePlane() override;
    /// Make the active rectangle's pixels of a line out of others.
    void Interpolate(void* above, void* below, void* target);
    void AdaptiveInterpolate(void* above, void* below, void* current, void* comparison, void* target);

private:
    /// The outputs, A and B, by the line flag of their own lines.
    struct Field {
        qzILImageHelper const* pOutput;
        qzILImageHelper const* pComparison;
    };
    void CopyFields();
    qzILStatus MakeLines();
    void MakeLine(int y, bool first, Field const& field);
    bool IsThere(int y) const;
    void ReleaseClones();

    IXFImage* m_pOutputImgB;
    IXFImage* m_pCompImgA;
    IXFImage* m_pCompImgB;
    qzILInterpolationType m_uType;
    double m_dfMinThreshold;
    double m_dfMaxThreshold;
    qzILImageHelper m_oInputHelper;
    qzILImageHelper m_oCompHelperA;
    qzILImageHelper m_oCompHelperB;
    qzILImageHelper m_oOutputHelperA;
    qzILImageHelper m_oOutputHelperB;
    IXFImage* m_pInputClone;
    IXFImage* m_pCompCloneA;
    IXFImage* m_pCompCloneB;
};

/// Deinterlaces a whole image. Thresholds and comparison images count for the adaptive type only. 0, or 0x80004005.
QZIL_API HRESULT qzILDeinterlaceFields(IXFImage* input, IXFImage* outputA, IXFImage* outputB,
                                       qzILInterpolationType type, IXFImage* compA, IXFImage* compB, double min,
                                       double max);
