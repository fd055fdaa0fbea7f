#include "qzil/kernel/commit.h"
#include "qzil/kernel/row.h"

#include <algorithm>
#include <cstring>

namespace qzil::kernel {
namespace {

/// Pixels of a stretch: its scratch lines stay in the first-level cache, and its length is even for 4:2:2.
constexpr int kStretch = 512;
constexpr int kMaxPixelBytes = 16;

struct alignas(64) Scratch {
    unsigned char auBytes[kStretch * kMaxPixelBytes];
};

/// Lays out the mask values of a stretch.
class MaskReader {
public:
    MaskReader(Walk const& walk, RowTraits const& traits, CommitRows const& rows)
        : m_oRows(rows), m_oTraits(traits), m_iStride(walk.oMask.iPixelStep / traits.iSampleBytes) {}

    /// The values of the pixels from `mask` on; in place where the mask's own line serves.
    void const* Read(unsigned char const* mask, int pixels, bool oddX) {
        switch (m_oTraits.iSampleBytes) {
            case 1: return ReadAs<u8>(mask, pixels, oddX, m_oRows.pGather8, m_oRows.pRepeat8, m_oRows.pChroma8);
            case 2: return ReadAs<u16>(mask, pixels, oddX, m_oRows.pGather16, m_oRows.pRepeat16, m_oRows.pChroma16);
            default: return ReadAs<u32>(mask, pixels, oddX, m_oRows.pGather32, m_oRows.pRepeat32, m_oRows.pChroma32);
        }
    }

private:
    template <class T, class Gather, class Repeat, class Chroma>
    void const* ReadAs(unsigned char const* mask, int pixels, bool oddX, Gather gather, Repeat repeat, Chroma chroma) {
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
                repeat(pLaid, pValues, pixels, m_oTraits.iSamples);
                return pLaid;
            case MaskLayout::Pair8:
                if constexpr (sizeof(T) == 1) m_oRows.pPair8(pLaid, pValues, pixels);
                return pLaid;
            case MaskLayout::Chroma: chroma(pLaid, pValues, pixels, oddX); return pLaid;
        }
        return pValues;
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

void Commit(CommitRows const& rows, RowTraits const& traits, void* out, void const* pass, void const* result,
            void const* mask, int samples, unsigned channels) {
    switch (traits.eMix) {
        case MixRule::NormMult:
            rows.pNormMult(out, pass, result, mask, samples, ChannelWord<u8>(channels).aWord);
            break;
        case MixRule::Mix257: rows.pMix257(out, pass, result, mask, samples, ChannelWord<u8>(channels).aWord); break;
        case MixRule::UInt16: rows.pUInt16(out, pass, result, mask, samples, ChannelWord<u16>(channels).aWord); break;
        case MixRule::S2_14: rows.pS2_14(out, pass, result, mask, samples, ChannelWord<u16>(channels).aWord); break;
        case MixRule::Float: rows.pFloat(out, pass, result, mask, samples, ChannelWord<u32>(channels).aWord); break;
        case MixRule::FloatLimited:
            rows.pFloatLimited(out, pass, result, mask, samples, ChannelWord<u32>(channels).aWord);
            break;
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

void RunRows(Walk const& walk, RowTraits const& traits, RowCall const& call) {
    if (walk.iWidth <= 0 || walk.iLines <= 0) return;
    CommitRows const& rows = GetCommitRows();
    MaskReader maskReader(walk, traits, rows);
    Scratch scratch;
    unsigned const channels = traits.bHasChannels ? walk.uMode & 15u : 15u;
    bool const masked = walk.oMask.pFirst != nullptr;
    bool const mixes = masked && !traits.bTakesMask;
    bool const selects = channels != 15 && !traits.bTakesChannels;

    // Lines do not depend on each other. Unless an interrupt could tell, they are done in the order of memory: against
    // it, the processor's prefetch loses its way at every line and a frame takes twice as long.
    bool const polls = traits.bPolls && walk.pStop;
    bool const backward = !polls && LineStep(walk.oOut, walk.iWidth) < 0;
    Cursor a(walk.oA, walk, backward), b(walk.oB, walk, backward), out(walk.oOut, walk, backward),
        mask(walk.oMask, walk, backward), alphaIn(walk.oAlphaIn, walk, backward),
        alphaOut(walk.oAlphaOut, walk, backward);
    for (int line = 0; line < walk.iLines; ++line) {
        for (int x = 0; x < walk.iWidth; x += kStretch) {
            Row row{};
            row.iPixels = std::min(kStretch, walk.iWidth - x);
            row.bOddX = walk.bOddX;
            row.pA = a.At(x);
            row.pB = b.At(x);
            row.pPass = walk.bPassB ? row.pB : row.pA;
            row.pAlphaIn = alphaIn.At(x);
            row.pAlphaOut = alphaOut.At(x);
            if (masked) row.pMask = maskReader.Read(mask.At(x), row.iPixels, walk.bOddX);
            void* const pOut = out.At(x);
            void const* pResult = row.pB;
            if (call.pFunction) {
                pResult = row.pOut = mixes || selects ? scratch.auBytes : pOut;
                call.pFunction(row, call.pContext);
            }
            int const samples = row.iPixels * traits.iSamples;
            if (mixes || selects) {
                Commit(rows, traits, pOut, row.pPass, pResult, mixes ? row.pMask : nullptr, samples,
                       selects ? channels : 15u);
            } else if (pResult != pOut) {
                std::memmove(pOut, pResult, static_cast<std::size_t>(samples) * traits.iSampleBytes);
            }
        }
        // Every pointer ends on the last line, never a line beyond it.
        if (line + 1 < walk.iLines) {
            for (Cursor* const pCursor : {&a, &b, &out, &mask, &alphaIn, &alphaOut}) pCursor->NextLine();
        }
        if (polls && walk.pStop(walk.pStopContext)) return;
    }
}

}  // namespace qzil::kernel
