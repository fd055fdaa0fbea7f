#include "qzil/kernel/commit.h"
#include "qzil/kernel/line_walk.h"
#include "qzil/kernel/row.h"
#include "qzil/kernel/streaming.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

namespace qzil::kernel {
namespace {

/// Bytes of output that are worked on at a time, so that the scratch lines stay in the first-level cache.
constexpr int kStretchBytes = 2048;
/// Mask values of a stretch are at most as many as its samples, and as wide.
constexpr int kMaxPixelBytes = 16;

struct alignas(64) Scratch {
    unsigned char auBytes[kStretchBytes + kStreamAlignment + 2 * kMaxPixelBytes];
};

/// Lays out the mask values of a stretch.
class MaskReader {
public:
    MaskReader(Walk const& walk, RowTraits const& traits, CommitRows const& rows)
        : m_oRows(rows), m_oTraits(traits), m_iStride(walk.oMask.iPixelStep / traits.iSampleBytes) {}

    /// The values of the pixels from `mask` on; in place where the mask's own line serves.
    void const* Read(unsigned char const* mask, int pixels, bool oddX) {
        switch (m_oTraits.iSampleBytes) {
            case 1: return ReadAs<u8>(mask, pixels, oddX, m_oRows.pGather8, m_oRows.pChroma8);
            case 2: return ReadAs<u16>(mask, pixels, oddX, m_oRows.pGather16, m_oRows.pChroma16);
            default: return ReadAs<u32>(mask, pixels, oddX, m_oRows.pGather32, m_oRows.pChroma32);
        }
    }
    /// See Row.
    bool IsPerPair() const {
        return m_oTraits.eMaskLayout == MaskLayout::Samples && m_oTraits.iSamples == 4 && m_oTraits.iSampleBytes < 4;
    }

private:
    template <class T, class Gather, class Chroma>
    void const* ReadAs(unsigned char const* mask, int pixels, bool oddX, Gather gather, Chroma chroma) {
        auto const* pValues = reinterpret_cast<T const*>(mask);
        if (m_iStride != 1) {
            gather(reinterpret_cast<T*>(m_oDense.auBytes), pValues, pixels, m_iStride);
            pValues = reinterpret_cast<T const*>(m_oDense.auBytes);
        }
        auto* const pLaid = reinterpret_cast<T*>(m_oLaid.auBytes);
        switch (m_oTraits.eMaskLayout) {
            case MaskLayout::Pixel: return pValues;
            case MaskLayout::Samples:
                if (m_oTraits.iSamples == 1) return pValues;
                Repeat(pValues, pixels);
                return pLaid;
            case MaskLayout::Pair8:
                if constexpr (sizeof(T) == 1) m_oRows.pPair8(pLaid, pValues, pixels);
                return pLaid;
            case MaskLayout::Chroma: chroma(pLaid, pValues, pixels, oddX); return pLaid;
        }
        return pValues;
    }

    void Repeat(u8 const* values, int pixels) { m_oRows.pRepeat8(Laid<u16>(), values, pixels); }
    void Repeat(u16 const* values, int pixels) {
        if (m_oTraits.eMix == MixRule::S2_14) {
            m_oRows.pRepeatS2_14(Laid<s32>(), reinterpret_cast<s16 const*>(values), pixels);
        } else {
            m_oRows.pRepeat16(Laid<u32>(), values, pixels);
        }
    }
    void Repeat(u32 const* values, int pixels) { m_oRows.pRepeat32(Laid<u32>(), values, pixels); }
    template <class T>
    T* Laid() {
        return reinterpret_cast<T*>(m_oLaid.auBytes);
    }

    CommitRows const& m_oRows;
    RowTraits const& m_oTraits;
    int m_iStride;
    Scratch m_oDense;
    Scratch m_oLaid;
};

/// All bits set in the channels that the processing mode selects.
template <class Word>
struct ChannelWord {
    Word aWord[4];

    explicit ChannelWord(unsigned channels) {
        for (unsigned i = 0; i < 4; ++i) aWord[i] = (channels >> i & 1) != 0 ? static_cast<Word>(~Word{0}) : Word{0};
    }
};

void Commit(CommitRows const& rows, MixRule mix, CommitArgs const& args, unsigned channels) {
    switch (mix) {
        case MixRule::NormMult: rows.pNormMult(args, ChannelWord<u8>(channels).aWord); break;
        case MixRule::Mix257: rows.pMix257(args, ChannelWord<u8>(channels).aWord); break;
        case MixRule::UInt16: rows.pUInt16(args, ChannelWord<u16>(channels).aWord); break;
        case MixRule::S2_14: rows.pS2_14(args, ChannelWord<u16>(channels).aWord); break;
        case MixRule::Float: rows.pFloat(args, ChannelWord<u32>(channels).aWord); break;
        case MixRule::FloatLimited: rows.pFloatLimited(args, ChannelWord<u32>(channels).aWord); break;
        case MixRule::FloatOrFull: rows.pFloatOrFull(args, ChannelWord<u32>(channels).aWord); break;
    }
}

/// Bytes from a line's first pixel to the next line's.
std::ptrdiff_t LineStep(Lines const& lines, int width) {
    return std::ptrdiff_t{lines.iPixelStep} * width + lines.iJump;
}

/// A pointer that goes through the lines of one image, from the first or, backward, from the last.
class Cursor {
public:
    Cursor(Lines const& lines, Walk const& walk, bool backward)
        : m_pLine(lines.pFirst), m_iPixelStep(lines.iPixelStep), m_iLineStep(LineStep(lines, walk.iWidth)) {
        if (!backward || !m_pLine) return;
        m_pLine += m_iLineStep * (walk.iLines - 1);
        m_iLineStep = -m_iLineStep;
    }

    unsigned char* At(int x) const { return m_pLine ? m_pLine + std::ptrdiff_t{x} * m_iPixelStep : nullptr; }
    void NextLine() {
        if (m_pLine) m_pLine += m_iLineStep;
    }

private:
    unsigned char* m_pLine;
    std::ptrdiff_t m_iPixelStep;
    std::ptrdiff_t m_iLineStep;
};

}  // namespace

namespace {

/// What is decided once per walk.
class Runner {
public:
    Runner(Walk const& walk, RowTraits const& traits, RowCall const& call)
        : m_oWalk(walk),
          m_oTraits(traits),
          m_oCall(call),
          m_oRows(GetCommitRows()),
          m_oMaskReader(walk, traits, m_oRows) {
        bool const masked = walk.oMask.pFirst && !traits.bIgnoresMask;
        m_uChannels = traits.bHasChannels ? walk.uMode & 15u : 15u;
        m_iPixelBytes = traits.iSamples * traits.iSampleBytes;
        m_bMasked = masked;
        m_bMixes = masked && !traits.bTakesMask;
        m_bSelects = m_uChannels != 15 && !traits.bTakesChannels;
        m_bPolls = traits.bPolls && walk.pStop;
        bool const inPlace = walk.oOut.pFirst == walk.oA.pFirst || walk.oOut.pFirst == walk.oB.pFirst;
        std::int64_t const images = 1 + (walk.oA.pFirst ? 1 : 0) + (walk.oB.pFirst ? 1 : 0);
        m_bStreams = walk.oOut.pFirst && !inPlace && traits.bWritesAll &&
                     images * walk.iWidth * walk.iLines * m_iPixelBytes >= StreamBytes();
    }

    void Run() {
        // Lines do not depend on each other. Unless an interrupt could tell, they are done in the order of memory:
        // against it, the processor's prefetch loses its way at every line and a frame takes twice as long.
        bool const backward = !m_bPolls && LineStep(m_oWalk.oOut, m_oWalk.iWidth) < 0;
        Cursor a(m_oWalk.oA, m_oWalk, backward), b(m_oWalk.oB, m_oWalk, backward), out(m_oWalk.oOut, m_oWalk, backward),
            mask(m_oWalk.oMask, m_oWalk, backward), alphaIn(m_oWalk.oAlphaIn, m_oWalk, backward),
            alphaOut(m_oWalk.oAlphaOut, m_oWalk, backward);
        int y = m_oWalk.iY, yStep = m_oWalk.iYStep;
        if (backward) {
            y += yStep * (m_oWalk.iLines - 1);
            yStep = -yStep;
        }
        for (int line = 0; line < m_oWalk.iLines; ++line, y += yStep) {
            for (int x = 0, pixels = 0; x < m_oWalk.iWidth; x += pixels) {
                pixels = std::min(StretchFrom(out.At(x)), m_oWalk.iWidth - x);
                Row row{};
                row.iPixels = pixels;
                row.iSamples = pixels * m_oTraits.iSamples;
                row.uSelected = m_uChannels;
                row.iLineStep = m_oWalk.iLineStep;
                row.bOddX = m_oWalk.bOddX;
                row.iX = m_oWalk.iX + x;
                row.iY = y;
                row.bMaskPerPair = m_oMaskReader.IsPerPair();
                row.pA = a.At(x);
                row.pB = b.At(x);
                row.pPass = m_oWalk.bPassB ? row.pB : row.pA;
                row.pAlphaIn = alphaIn.At(x);
                row.pAlphaOut = alphaOut.At(x);
                if (m_bMasked) row.pMask = m_oMaskReader.Read(mask.At(x), pixels, m_oWalk.bOddX);
                Stretch(row, out.At(x));
            }
            // Every pointer ends on the last line, never a line beyond it.
            if (line + 1 < m_oWalk.iLines) {
                for (Cursor* const pCursor : {&a, &b, &out, &mask, &alphaIn, &alphaOut}) pCursor->NextLine();
            }
            if (m_bPolls && m_oWalk.pStop(m_oWalk.pStopContext)) break;
        }
        if (m_bStreams) m_oRows.pFence();
    }

private:
    /// Pixels of the stretch that starts at an address: an even number, and such that the next stretch starts aligned
    /// for streaming where whole pixel pairs allow it.
    int StretchFrom(unsigned char const* out) const {
        // Without a scratch line there is nothing to keep in a cache.
        if (!m_bMasked && !m_bSelects && !m_bStreams) return m_oWalk.iWidth;
        int const pairBytes = 2 * m_iPixelBytes;
        int const misaligned = static_cast<int>(reinterpret_cast<std::uintptr_t>(out) % kStreamAlignment);
        int const lead = misaligned % pairBytes == 0 && misaligned != 0 ? kStreamAlignment - misaligned : 0;
        return (kStretchBytes / pairBytes + lead / pairBytes) * 2;
    }

    void Stretch(Row& row, unsigned char* out) {
        bool const commits = m_bMixes || m_bSelects;
        void const* pResult = row.pB;
        if (m_oCall.pFunction) {
            pResult = row.pOut = commits || m_bStreams ? m_oScratch.auBytes : out;
            m_oCall.pFunction(row, m_oCall.pContext);
        }
        int const samples = row.iPixels * m_oTraits.iSamples;
        int const bytes = row.iPixels * m_iPixelBytes;
        if (commits) {
            void* const pCommitted = m_bStreams ? m_oScratch.auBytes : out;
            CommitArgs const args{pCommitted,       row.pPass, pResult, m_bMixes ? row.pMask : nullptr,
                                  row.bMaskPerPair, samples};
            Commit(m_oRows, m_oTraits.eMix, args, m_bSelects ? m_uChannels : 15u);
            pResult = pCommitted;
        }
        if (m_bStreams) {
            m_oRows.pStream(out, static_cast<u8 const*>(pResult), bytes);
        } else if (pResult != out) {
            std::memmove(out, pResult, static_cast<std::size_t>(bytes));
        }
    }

    Walk const& m_oWalk;
    RowTraits const& m_oTraits;
    RowCall const& m_oCall;
    CommitRows const& m_oRows;
    MaskReader m_oMaskReader;
    Scratch m_oScratch;
    unsigned m_uChannels;
    int m_iPixelBytes;
    bool m_bMasked;
    bool m_bMixes;
    bool m_bSelects;
    bool m_bPolls;
    bool m_bStreams;
};

}  // namespace

void RunRows(Walk const& walk, RowTraits const& traits, RowCall const& call) {
    if (walk.iWidth <= 0 || walk.iLines <= 0) return;
    Runner(walk, traits, call).Run();
}

Walk PartOf(Walk const& walk, int first, int count) {
    Walk part = walk;
    for (Lines Walk::*lines : {&Walk::oA, &Walk::oB, &Walk::oOut, &Walk::oMask, &Walk::oAlphaIn, &Walk::oAlphaOut}) {
        Lines& of = part.*lines;
        if (of.pFirst) of.pFirst += first * LineStep(of, walk.iWidth);
    }
    part.iY += first * walk.iYStep;
    part.iLines = count;
    return part;
}

Walk ColumnsOf(Walk const& walk, int first, int count) {
    Walk part = walk;
    for (Lines Walk::*lines : {&Walk::oA, &Walk::oB, &Walk::oOut, &Walk::oMask, &Walk::oAlphaIn, &Walk::oAlphaOut}) {
        Lines& of = part.*lines;
        if (!of.pFirst) continue;
        of.pFirst += std::ptrdiff_t{first} * of.iPixelStep;
        of.iJump += std::ptrdiff_t{walk.iWidth - count} * of.iPixelStep;
    }
    part.iX += first;
    part.iWidth = count;
    part.bOddX = walk.bOddX != ((first & 1) != 0);
    return part;
}

bool RunLines(Walk const& walk, RowTraits const& traits, LineMaker& maker) {
    if (walk.iWidth <= 0 || walk.iLines <= 0) return true;
    bool const polls = traits.bPolls && walk.pStop;
    int const blockLines = polls ? 1 : maker.BlockLines();
    std::ptrdiff_t const outStep = LineStep(walk.oOut, walk.iWidth);
    std::ptrdiff_t const scratchStep = std::ptrdiff_t{walk.oOut.iPixelStep} * walk.iWidth;
    bool const direct = !walk.oMask.pFirst && (!traits.bHasChannels || (walk.uMode & 15u) == 15u);
    std::unique_ptr<unsigned char[]> scratch;
    if (!direct) {
        scratch.reset(new (std::nothrow) unsigned char[static_cast<std::size_t>(scratchStep * blockLines)]);
        if (!scratch) return false;
    }
    for (int line = 0; line < walk.iLines; line += blockLines) {
        int const lines = std::min(blockLines, walk.iLines - line);
        if (direct) {
            maker.Make(line, lines, walk.oOut.pFirst + line * outStep, outStep);
        } else {
            maker.Make(line, lines, scratch.get(), scratchStep);
            // What was made is the second input of a walk of its own.
            Walk block = PartOf(walk, line, lines);
            block.oB = {scratch.get(), 0, walk.oOut.iPixelStep};
            block.pStop = nullptr;
            RunRows(block, traits, RowCall{});
        }
        if (polls && walk.pStop(walk.pStopContext)) break;
    }
    return true;
}

}  // namespace qzil::kernel
