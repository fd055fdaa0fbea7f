#include "qzil/frame/margin.h"

#include <algorithm>
#include <cstring>

namespace qzil {
namespace {

/// A coordinate of the tiled or mirrored input, in a period of one or of two sizes.
int Fold(int position, int period) {
    int const rest = position % period;
    return rest < 0 ? rest + period : rest;
}

/// Writes one pixel over and over.
void RepeatPixel(unsigned char* to, unsigned char const* pixel, int count, std::size_t bytes) {
    if (count <= 0) return;
    std::memcpy(to, pixel, bytes);
    std::size_t const all = bytes * static_cast<std::size_t>(count);
    for (std::size_t done = bytes; done < all;) {
        std::size_t const more = std::min(done, all - done);
        std::memcpy(to + done, to, more);
        done += more;
    }
}

/// Copies a line and asks for the next one, where there is one: the processor would notice at its first pixels, and
/// again at every page. In pieces, since what copies more than that at once is slow where the ends are aligned
/// differently.
void CopyLine(unsigned char* to, unsigned char const* from, unsigned char const* next, std::size_t bytes) {
    constexpr std::size_t kPiece = 1024;
    for (std::size_t at = 0; at < bytes; at += kPiece) {
        std::size_t const piece = std::min(kPiece, bytes - at);
        for (std::size_t i = 0; next && i < piece; i += 64) __builtin_prefetch(next + at + i, 0, 2);
        std::memcpy(to + at, from + at, piece);
    }
}

}  // namespace

Margin::Margin(IXFImage* image, qzILBbox2l const& box, qzILEdgeMode mode, qzILColor const& color)
    : m_oImage(image),
      m_oBox(box),
      m_oInner(box.Intersect(qzILBbox2l(0, 0, m_oImage.m_iWidth, m_oImage.m_iHeight))),
      m_uMode(mode),
      m_oColor(ColorAsPixel(color, m_oImage.m_oFormat)),
      m_uBytes(m_oImage.m_uPixelSize) {
}

void Margin::ReadLine(unsigned char* to, int line) const {
    int const y = m_oBox.Origin.y + line;
    if (m_uMode == qzILEdgeModeWrap || m_uMode == qzILEdgeModeMirror) return ReadTiled(to, y);
    if (!IsInside(y) && IsColored()) return RepeatPixel(to, m_oColor.auBytes, m_oBox.Size.x, m_uBytes);
    int const from = std::clamp(y, 0, m_oImage.m_iHeight - 1);
    std::size_t const bytes = m_uBytes * static_cast<std::size_t>(m_oInner.Size.x);
    CopyLine(to + m_uBytes * static_cast<std::size_t>(m_oInner.Origin.x - m_oBox.Origin.x),
             m_oImage.GetPixelPtr(m_oInner.Origin.x, from),
             from + 1 < m_oImage.m_iHeight ? m_oImage.GetPixelPtr(m_oInner.Origin.x, from + 1) : nullptr, bytes);
    ReadSides(to, from);
}

void Margin::ReadAround(unsigned char* to, int line) const {
    int const y = m_oBox.Origin.y + line;
    if (IsInside(y)) {
        ReadSides(to, y);
    } else {
        ReadLine(to, line);
    }
}

/// Columns beside those of the image.
void Margin::ReadSides(unsigned char* to, int y) const {
    bool const colored = IsColored();
    int const left = m_oInner.Origin.x - m_oBox.Origin.x, right = m_oBox.Size.x - left - m_oInner.Size.x;
    RepeatPixel(to, colored ? m_oColor.auBytes : m_oImage.GetPixelPtr(0, y), left, m_uBytes);
    RepeatPixel(to + m_uBytes * static_cast<std::size_t>(left + m_oInner.Size.x),
                colored ? m_oColor.auBytes : m_oImage.GetPixelPtr(m_oImage.m_iWidth - 1, y), right, m_uBytes);
}

/// The image without end, side by side or, mirrored, every other one turned over.
void Margin::ReadTiled(unsigned char* to, int y) const {
    int const period = m_uMode == qzILEdgeModeMirror ? 2 : 1, width = m_oImage.m_iWidth, height = m_oImage.m_iHeight;
    int from = Fold(y, period * height);
    if (from >= height) from = 2 * height - 1 - from;
    for (int done = 0, run = 0; done < m_oBox.Size.x; done += run) {
        int const x = Fold(m_oBox.Origin.x + done, period * width);
        bool const backward = x >= width;
        run = std::min((backward ? 2 * width : width) - x, m_oBox.Size.x - done);
        unsigned char const* pFrom = m_oImage.GetPixelPtr(backward ? 2 * width - 1 - x : x, from);
        if (!backward) std::memcpy(to, pFrom, m_uBytes * static_cast<std::size_t>(run));
        for (int i = 0; backward && i < run; ++i, pFrom -= m_uBytes) {
            std::memcpy(to + m_uBytes * static_cast<std::size_t>(i), pFrom, m_uBytes);
        }
        to += m_uBytes * static_cast<std::size_t>(run);
    }
}

}  // namespace qzil
