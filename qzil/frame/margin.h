#pragma once

#include "qzil/frame/spatial.h"
#include "qzil/image/color.h"

#include <optional>
#include <vector>

namespace qzil {

/// An image with the margin that an edge mode gives it, as far as a box in its coordinates shows.
class Margin {
public:
    /// The box has a pixel of the image.
    Margin(IXFImage* image, qzILBbox2l const& box, qzILEdgeMode mode, qzILColor const& color);

    /// A line of the box, counted from its first one.
    void ReadLine(unsigned char* to, int line) const;
    /// `count` pixels of it, from pixel `first` on.
    void Read(unsigned char* to, int line, int first, int count) const;
    /// The same without the pixels of the image itself, which `to` holds already.
    void ReadAround(unsigned char* to, int line) const;

    /// Columns of the box that lie in the image, and where their pixels of a line stand; null for a line that shows the
    /// edge color alone.
    int InnerFirst() const { return m_oInner.Origin.x - m_oBox.Origin.x; }
    int InnerCount() const { return m_oInner.Size.x; }
    unsigned char const* InnerPixels(int line) const;

private:
    /// Modes that Verify refuses count as the colour.
    bool IsColored() const { return m_uMode != qzILEdgeModeExtend; }
    bool IsInside(int y) const { return y >= 0 && y < m_oImage.m_iHeight; }
    bool IsTiled() const { return m_uMode == qzILEdgeModeWrap || m_uMode == qzILEdgeModeMirror; }
    int TiledLine(int y) const;
    void ReadTiled(unsigned char* to, int y, int first, int count) const;
    void ReadSides(unsigned char* to, int y, int first, int count) const;

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

/// The same for effects that want all lines of a few columns at a time: where the columns lie in the image, its own
/// lines.
class MarginStrips {
public:
    MarginStrips(MarginLines const& lines, int pixelBytes);

    /// The first column that lies in the image, or in a complete buffer.
    int FirstInside() const { return m_iFirstInside; }

    /// Lines of some columns, which begin `iAt` bytes behind the pointers.
    struct Strip {
        unsigned char const* const* pLines;
        std::ptrdiff_t iAt;
    };
    /// Holds until the next call.
    Strip Columns(int first, int count);

private:
    std::optional<Margin> m_oMargin;
    int m_iPixelBytes;
    int m_iFirstInside = 0;
    int m_iInside;
    std::vector<unsigned char const*> m_apInside;
    std::vector<unsigned char> m_aColored;  ///< a line of the edge color
    std::vector<unsigned char const*> m_apBeside;
    std::vector<unsigned char> m_aBeside;  ///< columns that do not lie in the image alone
};

}  // namespace qzil
