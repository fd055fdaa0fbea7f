#pragma once

#include "qzil/frame/output_place.h"
#include "qzil/frame/processor.h"
#include "qzil/image/color.h"
#include "qzil/image/formats.h"

#include <vector>

/// The colour stops of a gradient: colours at positions in per cent of its length.
class QZIL_API CColorRamp {
public:
    struct ColorEntry {
        qzILColor oColor;
        int iWeight = 0;
        void Set(qzILColor const& color, int weight) {
            oColor = color;
            iWeight = weight;
        }
    };

    /// Takes `count` colours and weights. False, and no stops, without memory.
    bool Set(qzILColor const* colors, int const* weights, unsigned count);
    /// 1 when no weight is below 0, above 99 or below the one before, else -1.
    qzILStatus Verify() const;
    unsigned GetCount() const { return static_cast<unsigned>(m_oEntries.size()); }
    ColorEntry const& operator[](std::size_t index) const { return m_oEntries[index]; }

private:
    std::vector<ColorEntry> m_oEntries;
};

using qzILRampType = std::uint32_t;
inline constexpr qzILRampType qzILRampLinear = 1;
inline constexpr qzILRampType qzILRampRadial = 2;
inline constexpr qzILRampType qzILRampSquare = 3;

/// Makes a picture: a gradient of colour stops along a vector (linear), around its start (radial), or a mix of four
/// corner colours over the rectangle that it spans (square). y counts upward. Colours run straight between stops and
/// are truncated to samples; before the first and behind the last stop they stand still. Fewer than two stops, and
/// regions that lie wholly before or behind the gradient, are one flat colour, which is rounded. Not interrupted.
///
/// Verify: 0x20002 unless all four channels are selected, 0x10075 for field bits, 0x10002, 0x10003, 0x1000D for a
/// format that is not in GetFormats(), 0x1000A for a region outside the output, 0x1003E for another type, 0x1003F for a
/// vector without length (square: shorter than 2 in x or y), 0x10045 for a ratio that is not above 0, 0x10047 for
/// weights that fall or lie outside 0 to 99.
class QZIL_API qzILColorGradeImg : public qzILProcessor {
    QZIL_EFFECT_CLASS(qzILColorGradeImg)
public:
    qzILColorGradeImg() { Init(); }
    static std::span<GUID const> GetFormats();
    qzILStatus Execute() override;
    qzILStatus Verify() override;
    virtual qzILStatus PrepareData();
    virtual qzILStatus ProcessData();
    virtual qzILStatus CleanData();

    void Init();
    void Trash() {}
    /// Also makes the region the image's size while it has none.
    void SetOutputImg(IXFImage* image);
    IXFImage* GetOutputImg() const { return m_oOutput.pImage; }
    void SetROI(qzILBbox2l const& roi) { m_oOutput.oRoi = roi; }
    qzILBbox2l const& GetROI() const { return m_oOutput.oRoi; }
    void SetOutputOffset(qzILVector2l const& offset) { m_oOutput.oOffset = offset; }
    qzILVector2l const& GetOutputOffset() const { return m_oOutput.oOffset; }

    void SetType(qzILRampType type) { m_uType = type; }
    qzILRampType GetType() const { return m_uType; }
    /// Start and direction in pixels of the output.
    void SetVector(int x, int y, int dx, int dy);
    /// Of the vector, in whole degrees from 0 to 359.
    int GetAngle() const { return m_iAngle; }
    /// Each pointer may be null.
    void GetCenter(int* x, int* y) const;
    int GetCenterX() const { return m_oCenter.x; }
    int GetCenterY() const { return m_oCenter.y; }
    /// By which distances in y count; 2 halves the height of a radial gradient. 1 at first.
    void SetRatio(double ratio) { m_dfRatio = ratio; }
    double GetRatio() const { return m_dfRatio; }
    /// Not 0: the stops run from last to first.
    void SetInvertFlag(unsigned char invert) { m_uInvert = invert; }
    unsigned char GetInvertFlag() const { return m_uInvert; }
    void SetColors(qzILColor const* colors, int const* weights, unsigned int count);
    /// Gives up to `count` stops.
    void GetColors(qzILColor* colors, int* weights, unsigned int count) const;
    /// Upper left, upper right, lower right and lower left corner: red, black, white and blue at first.
    void SetColorUL(qzILColor const& color) { m_aoCorners[0] = color; }
    void SetColorUR(qzILColor const& color) { m_aoCorners[1] = color; }
    void SetColorLR(qzILColor const& color) { m_aoCorners[2] = color; }
    void SetColorLL(qzILColor const& color) { m_aoCorners[3] = color; }
    qzILColor const& GetColorUL() const { return m_aoCorners[0]; }
    qzILColor const& GetColorUR() const { return m_aoCorners[1]; }
    qzILColor const& GetColorLR() const { return m_aoCorners[2]; }
    qzILColor const& GetColorLL() const { return m_aoCorners[3]; }

private:
    qzILStatus RenderConstant(qzILColor const& color);
    qzILStatus RenderGradient();
    qzILStatus RenderSquare();
    /// A walk over the region.
    qzil::kernel::Walk WalkOf() const;
    /// The distances along the gradient, times its length, of the region's corners: the least and the greatest.
    void DistancesOf(double& least, double& greatest) const;
    qzILColor const& StopColor(unsigned n) const { return m_oRamp[m_uInvert ? m_oRamp.GetCount() - 1 - n : n].oColor; }

    qzil::OutputPlace m_oOutput;
    qzILBbox2l m_oBox;  ///< the region inside the output
    qzILImageHelper m_oHelper;
    CColorRamp m_oRamp;
    qzILRampType m_uType;
    qzILVector2l m_oCenter;
    qzILVector2l m_oVector;
    int m_iAngle;
    double m_dfRatio;
    unsigned char m_uInvert;
    qzILColor m_aoCorners[4];
};
