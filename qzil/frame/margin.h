#pragma once

#include "qzil/frame/spatial.h"
#include "qzil/image/color.h"

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

    qzILImageHelper const& GetImage() const { return m_oImage; }
    qzILBbox2l const& GetBox() const { return m_oBox; }
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

/// Where a neighbourhood effect finds its input: the margin buffer and what belongs into it. The buffer is complete, or
/// its lines are read as they are asked for, into its start, where they stay in the cache. Every way to ask leaves the
/// others as they were, save that pointers hold until the next call.
class MarginSource {
public:
    /// The buffer has the size of the margin's box, and the image's format.
    MarginSource(Margin const& margin, Ref<IXFImage> buffer, qzILVector2l reach);

    IXFImage* GetBuffer() const { return m_pBuffer.Get(); }
    /// What the buffer shows, in input coordinates, and how much of that is margin on either side.
    qzILBbox2l const& GetBox() const { return m_oMargin.GetBox(); }
    qzILVector2l GetReach() const { return m_oReach; }
    /// Bytes from a line to the next.
    std::ptrdiff_t LineStep() const { return m_iStep; }
    bool IsComplete() const { return m_bComplete; }
    /// For whoever has filled the buffer.
    void SetComplete();

    /// All lines; reads them unless they are there.
    unsigned char const* All();
    /// `count` lines from line `first` on.
    unsigned char const* Block(int first, int count);
    /// One line; the `held` - 1 lines before it stay, too, where the last call asked for the line before.
    unsigned char const* Line(int line, int held);
    /// The pixels inside the margin, without what lies around them: the first one, and the bytes from a line to the
    /// next.
    struct Centres {
        unsigned char* pFirst;
        std::ptrdiff_t iStep;
    };
    Centres GetCentres() const;

    /// All lines of a few columns, which begin `iAt` bytes behind the pointers; where the columns lie in the image, its
    /// own lines.
    struct Strip {
        unsigned char const* const* pLines;
        std::ptrdiff_t iAt;
    };
    Strip Columns(int first, int count);
    /// The first column that lies in the image, or in a complete buffer.
    int FirstInside() const { return m_bComplete ? 0 : m_oMargin.InnerFirst(); }

private:
    unsigned char* Slot(int line) const { return m_pFirst + line * m_iStep; }
    void FindInside();

    Margin m_oMargin;
    Ref<IXFImage> m_pBuffer;
    qzILVector2l m_oReach;
    unsigned char* m_pFirst;
    std::ptrdiff_t m_iStep;
    int m_iColumns;
    int m_iLines;
    int m_iPixelBytes;
    bool m_bComplete = false;
    int m_iHeld = 0;  ///< slots that the lines before `m_iRead` went to in turn
    int m_iRead = 0;
    std::vector<unsigned char const*> m_apInside;
    std::vector<unsigned char> m_aColored;  ///< a line of the edge color
    std::vector<unsigned char const*> m_apBeside;
    std::vector<unsigned char> m_aBeside;  ///< columns that do not lie in the image alone
};

/// Whether an interrupt asks to stop, for makers that work before their first line.
struct StopQuestion {
    bool (*pStops)(void const* context) = nullptr;  ///< null where no interrupt is set
    void const* pContext = nullptr;

    bool Stops() const { return pStops && pStops(pContext); }
};

/// What a maker of lines has to know of a call.
struct MarginLines {
    MarginSource& oSource;
    int iLines;          ///< of the margin buffer
    int iSamples;        ///< of its lines
    int iActiveSamples;  ///< of an output line
    int iPixelSamples;   ///< of a pixel
    int iFirstKept;      ///< field bits: the first output line, and the step to the next
    int iKeptStep;
    StopQuestion oQuestion;

    /// The line of the active rectangle that is output line `kept`.
    int ActiveLine(int kept) const { return iFirstKept + kept * iKeptStep; }
};

}  // namespace qzil
