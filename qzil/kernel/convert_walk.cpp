#include "qzil/kernel/convert_walk.h"

#include "qzil/image/image_ops.h"
#include "qzil/kernel/commit.h"
#include "qzil/kernel/streaming.h"

#include <algorithm>
#include <cstring>

namespace qzil::kernel {
namespace {

/// Bytes of a stretch in the image with the larger pixels, of 16 bytes at most: of a frame that comes from memory, the
/// next lines of the cache have to be on their way while these are worked on.
constexpr int kStretchBytes = 2048;

/// A pixel's colour and alpha in an image that is walked along a line.
struct Place {
    unsigned char* pColor;
    unsigned char* pAlpha;  ///< null without an alpha plane
};

void CopyPixels(unsigned char* to, int toPixel, unsigned char const* from, int fromPixel, int pixels, int bytes) {
    std::memcpy(to + std::ptrdiff_t{toPixel} * bytes, from + std::ptrdiff_t{fromPixel} * bytes,
                static_cast<std::size_t>(pixels) * static_cast<std::size_t>(bytes));
}

class Converter {
public:
    Converter(ConvertWalk const& walk, ConvertTraits const& traits, ConvertCall const& call)
        : m_oWalk(walk), m_oTraits(traits), m_oCall(call) {
        qzILBbox2l const& box = walk.oBox;
        int const column = box.Origin.x + walk.pIn->m_iOffsetX;  // of the box in the input image
        // Whole lines of the cache, so that streamed stretches stay aligned.
        m_iStretch =
            std::min(kStretchPixels, kStretchBytes / std::max(traits.iInBytes, traits.iOutBytes) & -kStreamAlignment);
        m_iLead = traits.bPairsIn ? column & 1 : 0;
        m_iPixels = traits.bPairs ? box.Size.x & ~1 : box.Size.x;
        if (traits.bRegionLimits) {
            m_iFirst = -m_iLead;
            m_iLast = box.Size.x - 1;
        } else {
            m_iFirst = -column;
            m_iLast = walk.pIn->m_iWidth - 1 - column;
        }
        // A pair that the region divides is read whole; where the image ends with half a pair, that pixel is left out.
        if (m_iLead == 1 && m_iPixels >= walk.pIn->m_iWidth - column) m_iPixels = std::max(0, m_iPixels - 1);
        std::int64_t const bytes =
            std::int64_t{box.Size.x} * box.Size.y * (std::int64_t{traits.iInBytes} + traits.iOutBytes);
        m_bStreams = m_iLead == 0 && !traits.bUpdates && !traits.bAlphaOnly && bytes >= StreamBytes();
        m_bPolls = traits.bPolls && walk.pStop;
    }

    void Run() {
        if (m_iPixels <= 0) return;
        int const top = m_oWalk.oBox.Origin.y, bottom = top + m_oWalk.oBox.Size.y;
        // Lines are done in the order in which the larger image lies in memory, which the processor's prefetch follows;
        // where the other one lies in the opposite order, its lines are asked for in advance.
        bool const backward = !m_oTraits.bOrdered && !m_bPolls && Descends(*Larger(), m_oWalk.oBox);
        m_bOpposed = Descends(*Smaller(), m_oWalk.oBox) != backward && !(m_bStreams && InputIsLarger());
        for (int i = 0; i < bottom - top; ++i) {
            int const y = backward ? bottom - 1 - i : top + i;
            if (SkipsLine(m_oWalk.uMode, y)) continue;
            int const next = backward ? y - 1 : y + 1;
            bool const more = m_bOpposed && next >= top && next < bottom;
            m_pNext = more ? Smaller()->GetPixelPtr(m_oWalk.oBox.Origin.x, next) : nullptr;
            Line(y);
            if (m_bPolls && m_oWalk.pStop(m_oWalk.pStopContext)) break;
        }
        if (m_bStreams) GetCommitRows().pFence();
    }

private:
    static bool Descends(qzILImageHelper const& helper, qzILBbox2l const& box) {
        int const x = box.Origin.x, y = box.Origin.y;
        return box.Size.y > 1 && helper.GetPixelPtr(x, y + 1) < helper.GetPixelPtr(x, y);
    }
    bool InputIsLarger() const { return m_oTraits.iInBytes > m_oTraits.iOutBytes; }
    qzILImageHelper const* Larger() const { return InputIsLarger() ? m_oWalk.pIn : m_oWalk.pOut; }
    qzILImageHelper const* Smaller() const { return InputIsLarger() ? m_oWalk.pOut : m_oWalk.pIn; }

    static Place At(qzILImageHelper const& helper, int x, int y) {
        return {helper.GetPixelPtr(x, y), helper.m_iSeparateAlpha ? helper.GetAlphaPtr(x, y) : nullptr};
    }

    void Line(int y) {
        int const x = m_oWalk.oBox.Origin.x;
        Place const in = At(*m_oWalk.pIn, x - m_iLead, y);
        Place const out = At(*m_oWalk.pOut, x, y);
        int const end = m_iPixels + m_iLead;  // positions from the first pair's start
        for (int start = 0; start < end; start += m_iStretch) {
            int const count = std::min(m_iStretch, end - start);
            Prefetch(start, count);
            if (m_iLead == 0) {
                Place const place{out.pColor + std::ptrdiff_t{start} * m_oTraits.iOutBytes, AlphaAt(out, start)};
                Stretch(in, {m_bStreams ? m_aColor : place.pColor, place.pAlpha}, start, count);
                if (m_bStreams) GetCommitRows().pStream(place.pColor, m_aColor, count * m_oTraits.iOutBytes);
                continue;
            }
            // A scratch stretch holds whole pairs; what the region has of them is copied.
            Stretch(in, {m_aColor, out.pAlpha ? m_aAlpha : nullptr}, start, (count + 1) & ~1);
            int const skip = start == 0 ? 1 : 0, to = start + skip - 1;
            if (!m_oTraits.bAlphaOnly) CopyPixels(out.pColor, to, m_aColor, skip, count - skip, m_oTraits.iOutBytes);
            if (out.pAlpha) CopyPixels(out.pAlpha, to, m_aAlpha, skip, count - skip, m_oWalk.pOut->m_iAlphaPixelStep);
        }
    }

    /// Asks for the same stretch of the next line of the smaller image.
    void Prefetch(int start, int count) const {
        if (!m_pNext) return;
        std::ptrdiff_t const pixel = InputIsLarger() ? m_oTraits.iOutBytes : m_oTraits.iInBytes;
        unsigned char const* const from = m_pNext + start * pixel;
        for (std::ptrdiff_t i = 0; i < count * pixel; i += kStreamAlignment) {
            InputIsLarger() ? __builtin_prefetch(from + i, 1) : __builtin_prefetch(from + i, 0);
        }
    }

    unsigned char* AlphaAt(Place const& place, int position) const {
        return place.pAlpha ? place.pAlpha + std::ptrdiff_t{position} * m_oWalk.pOut->m_iAlphaPixelStep : nullptr;
    }

    /// `in` stands on position 0 of the line, `out` on the first pixel to write.
    void Stretch(Place const& in, Place const& out, int start, int count) const {
        ConvertRow row{};
        row.pIn = in.pColor + std::ptrdiff_t{start} * m_oTraits.iInBytes;
        row.pAlphaIn = in.pAlpha ? in.pAlpha + std::ptrdiff_t{start} * m_oWalk.pIn->m_iAlphaPixelStep : nullptr;
        row.pOut = out.pColor;
        row.pAlphaOut = out.pAlpha;
        row.iPixels = count;
        row.iFirst = m_iFirst + m_iLead - start;
        row.iLast = m_iLast + m_iLead - start;
        row.bLineStart = start == 0;
        row.iSkip = start == 0 ? m_iLead : 0;
        m_oCall.pFunction(row, m_oCall.pContext);
    }

    ConvertWalk const& m_oWalk;
    ConvertTraits const& m_oTraits;
    ConvertCall const& m_oCall;
    int m_iStretch;  ///< pixels
    int m_iLead;     ///< 1 when the box starts with the second pixel of a pair
    int m_iPixels;   ///< to write per line
    int m_iFirst, m_iLast;
    bool m_bStreams;
    bool m_bPolls;
    bool m_bOpposed = false;                 ///< the smaller image lies in the opposite order
    unsigned char const* m_pNext = nullptr;  ///< the box's start in its next line
    alignas(64) unsigned char m_aColor[kStretchBytes];
    alignas(64) unsigned char m_aAlpha[kStretchPixels * 4];
};

}  // namespace

bool RunConversion(ConvertWalk const& walk, ConvertTraits const& traits, ConvertCall const& call) {
    qzILImageHelper const &in = *walk.pIn, &out = *walk.pOut;
    if (!in.m_pLineZero || !out.m_pLineZero || !call.pFunction) return false;
    if (in.m_iPixelStep != traits.iInBytes || out.m_iPixelStep != traits.iOutBytes) return false;
    Converter(walk, traits, call).Run();
    return true;
}

}  // namespace qzil::kernel
