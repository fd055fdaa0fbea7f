#include "qzil/frame/margin.h"

#include <algorithm>
#include <cstring>
#include <utility>

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
    Read(to, line, 0, m_oBox.Size.x);
}

void Margin::Read(unsigned char* to, int line, int first, int count) const {
    int const y = m_oBox.Origin.y + line;
    if (IsTiled()) return ReadTiled(to, y, first, count);
    if (!IsInside(y) && IsColored()) return RepeatPixel(to, m_oColor.auBytes, count, m_uBytes);
    int const from = std::clamp(y, 0, m_oImage.m_iHeight - 1), begin = std::max(first, InnerFirst()),
              end = std::min(first + count, InnerFirst() + InnerCount());
    if (begin < end) {
        int const x = m_oBox.Origin.x + begin;
        CopyLine(to + m_uBytes * static_cast<std::size_t>(begin - first), m_oImage.GetPixelPtr(x, from),
                 from + 1 < m_oImage.m_iHeight ? m_oImage.GetPixelPtr(x, from + 1) : nullptr,
                 m_uBytes * static_cast<std::size_t>(end - begin));
    }
    ReadSides(to, from, first, count);
}

void Margin::ReadAround(unsigned char* to, int line) const {
    int const y = m_oBox.Origin.y + line;
    if (IsInside(y)) {
        ReadSides(to, y, 0, m_oBox.Size.x);
    } else {
        ReadLine(to, line);
    }
}

unsigned char const* Margin::InnerPixels(int line) const {
    int const y = m_oBox.Origin.y + line;
    if (!IsTiled() && !IsInside(y) && IsColored()) return nullptr;
    return m_oImage.GetPixelPtr(m_oInner.Origin.x, IsTiled() ? TiledLine(y) : std::clamp(y, 0, m_oImage.m_iHeight - 1));
}

/// Columns beside those of the image.
void Margin::ReadSides(unsigned char* to, int y, int first, int count) const {
    bool const colored = IsColored();
    int const left = std::min(InnerFirst() - first, count),
              right = std::min(first + count - InnerFirst() - InnerCount(), count);
    RepeatPixel(to, colored ? m_oColor.auBytes : m_oImage.GetPixelPtr(0, y), left, m_uBytes);
    RepeatPixel(to + m_uBytes * static_cast<std::size_t>(count - std::max(right, 0)),
                colored ? m_oColor.auBytes : m_oImage.GetPixelPtr(m_oImage.m_iWidth - 1, y), right, m_uBytes);
}

/// The image without end, side by side or, mirrored, every other one turned over.
int Margin::TiledLine(int y) const {
    int const height = m_oImage.m_iHeight, line = Fold(y, m_uMode == qzILEdgeModeMirror ? 2 * height : height);
    return line < height ? line : 2 * height - 1 - line;
}

void Margin::ReadTiled(unsigned char* to, int y, int first, int count) const {
    int const width = m_oImage.m_iWidth, period = m_uMode == qzILEdgeModeMirror ? 2 * width : width,
              from = TiledLine(y);
    for (int done = 0, run = 0; done < count; done += run) {
        int const x = Fold(m_oBox.Origin.x + first + done, period);
        bool const backward = x >= width;
        run = std::min((backward ? 2 * width : width) - x, count - done);
        unsigned char const* pFrom = m_oImage.GetPixelPtr(backward ? 2 * width - 1 - x : x, from);
        if (!backward) std::memcpy(to, pFrom, m_uBytes * static_cast<std::size_t>(run));
        for (int i = 0; backward && i < run; ++i, pFrom -= m_uBytes) {
            std::memcpy(to + m_uBytes * static_cast<std::size_t>(i), pFrom, m_uBytes);
        }
        to += m_uBytes * static_cast<std::size_t>(run);
    }
}

MarginSource::MarginSource(Margin const& margin, Ref<IXFImage> buffer, qzILVector2l reach)
    : m_oMargin(margin), m_pBuffer(std::move(buffer)), m_oReach(reach) {
    qzILImageHelper const view(m_pBuffer.Get());
    m_pFirst = view.GetPixelPtr(0, 0);
    m_iStep = view.m_iLineStepA;
    m_iColumns = view.m_iWidth;
    m_iLines = view.m_iHeight;
    m_iPixelBytes = view.m_iPixelStep;
}

void MarginSource::SetComplete() {
    m_bComplete = true;
    m_apInside.clear();
}

unsigned char const* MarginSource::All() {
    return Block(0, m_iLines);
}

unsigned char const* MarginSource::Block(int first, int count) {
    if (m_bComplete) return Slot(first);
    for (int i = 0; i < count; ++i) m_oMargin.ReadLine(Slot(i), first + i);
    m_iHeld = 0;
    if (count == m_iLines) SetComplete();
    return m_pFirst;
}

unsigned char const* MarginSource::Line(int line, int held) {
    if (m_bComplete) return Slot(line);
    if (held != m_iHeld || line < m_iRead - held) {
        m_iHeld = held;
        m_iRead = 0;
    }
    for (m_iRead = std::max(m_iRead, line - held + 1); m_iRead <= line; ++m_iRead) {
        m_oMargin.ReadLine(Slot(m_iRead % held), m_iRead);
    }
    return Slot(line % held);
}

MarginSource::Centres MarginSource::GetCentres() const {
    qzILImageHelper const& image = m_oMargin.GetImage();
    if (m_bComplete) return {Slot(m_oReach.y) + std::ptrdiff_t{m_iPixelBytes} * m_oReach.x, m_iStep};
    qzILVector2l const at = GetBox().Origin + m_oReach;
    return {image.GetPixelPtr(at.x, at.y), image.m_iLineStepA};
}

void MarginSource::FindInside() {
    std::size_t const bytes =
        static_cast<std::size_t>(m_oMargin.InnerCount()) * static_cast<std::size_t>(m_iPixelBytes);
    m_apInside.reserve(static_cast<std::size_t>(m_iLines));
    for (int line = 0; line < m_iLines; ++line) {
        unsigned char const* pLine = m_bComplete ? Slot(line) : m_oMargin.InnerPixels(line);
        if (!pLine && m_aColored.empty()) {
            m_aColored.resize(bytes);
            m_oMargin.Read(m_aColored.data(), line, FirstInside(), m_oMargin.InnerCount());
        }
        m_apInside.push_back(pLine ? pLine : m_aColored.data());
    }
}

MarginSource::Strip MarginSource::Columns(int first, int count) {
    if (m_apInside.empty()) FindInside();
    std::ptrdiff_t const inside = first - FirstInside();
    if (inside >= 0 && inside + count <= (m_bComplete ? m_iColumns : m_oMargin.InnerCount())) {
        return {m_apInside.data(), inside * m_iPixelBytes};
    }
    std::size_t const bytes = static_cast<std::size_t>(count) * static_cast<std::size_t>(m_iPixelBytes);
    m_aBeside.resize(std::max(m_aBeside.size(), bytes * m_apInside.size()));
    m_apBeside.clear();
    for (int line = 0; line < m_iLines; ++line) {
        unsigned char* const to = m_aBeside.data() + bytes * static_cast<std::size_t>(line);
        m_oMargin.Read(to, line, first, count);
        m_apBeside.push_back(to);
    }
    return {m_apBeside.data(), 0};
}

}  // namespace qzil
