#pragma once

#include "qzil/frame/spatial.h"
#include "qzil/image/color.h"

#include <optional>

namespace qzil {

/// An image with the margin that an edge mode gives it, as far as a box in its coordinates shows.
class Margin {
public:
    /// The box has a pixel of the image.
    Margin(IXFImage* image, qzILBbox2l const& box, qzILEdgeMode mode, qzILColor const& color);

    /// A line of the box, counted from its first one.
    void ReadLine(unsigned char* to, int line) const;
    /// The same without the pixels of the image itself, which `to` holds already.
    void ReadAround(unsigned char* to, int line) const;

private:
    /// Modes that Verify refuses count as the colour.
    bool IsColored() const { return m_uMode != qzILEdgeModeExtend; }
    bool IsInside(int y) const { return y >= 0 && y < m_oImage.m_iHeight; }
    void ReadTiled(unsigned char* to, int y) const;
    void ReadSides(unsigned char* to, int y) const;

    qzILImageHelper m_oImage;
    qzILBbox2l m_oBox;
    qzILBbox2l m_oInner;  ///< what the box shows of the image
    qzILEdgeMode m_uMode;
    PixelBlock m_oColor;
    std::size_t m_uBytes;
};

/// The margin buffer as effects read it that make whole lines: complete, or filled as lines are asked for.
struct MarginLines {
    unsigned char* pFirst;
    std::ptrdiff_t iStep;  ///< bytes from a line of the buffer to the next
    int iLines;
    int iSamples;        ///< of a line
    int iActiveSamples;  ///< of an output line
    int iPixelSamples;   ///< of a pixel
    int iFirstKept;      ///< field bits: the first output line, and the step to the next
    int iKeptStep;
    int iHeld;                      ///< lines up to the last one asked for that stay in the buffer
    std::optional<Margin> oMargin;  ///< none for a complete buffer
    int iRead = 0;

    unsigned char const* Line(int line) {
        if (!oMargin) return pFirst + line * iStep;
        for (; iRead <= line; ++iRead) oMargin->ReadLine(pFirst + iRead % iHeld * iStep, iRead);
        return pFirst + line % iHeld * iStep;
    }
    /// The line of the active rectangle that is output line `kept`.
    int ActiveLine(int kept) const { return iFirstKept + kept * iKeptStep; }
};

}  // namespace qzil
