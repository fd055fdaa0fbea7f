#pragma once

#include "qzil/kernel/row.h"

namespace qzil {
namespace kernel {

/// A stretch of lines to commit; the mask may be null.
struct CommitArgs {
    void* pOut;
    void const* pPass;
    void const* pResult;
    void const* pMask;
    bool bMaskPerPair;
    int iSamples;
};

}  // namespace kernel

/// Row functions that every effect shares: laying out mask values, and mixing results into passed-through pixels.
struct CommitRows {
    /// Takes single channels of mask pixels out of their line: `stride` values lie from one to the next.
    void (*pGather8)(u8* out, u8 const* mask, int pixels, int stride);
    void (*pGather16)(u16* out, u16 const* mask, int pixels, int stride);
    void (*pGather32)(u32* out, u32 const* mask, int pixels, int stride);
    /// Two widened values per pixel, one for each pair of its samples; of 32 bits, four values.
    void (*pRepeat8)(u16* out, u8 const* mask, int pixels);
    void (*pRepeat16)(u32* out, u16 const* mask, int pixels);
    void (*pRepeatS2_14)(s32* out, s16 const* mask, int pixels);
    void (*pRepeat32)(u32* out, u32 const* mask, int pixels);
    /// Two values per pixel for 4:2:2; see MaskLayout.
    void (*pPair8)(u8* out, u8 const* mask, int pixels);
    void (*pChroma8)(u8* out, u8 const* mask, int pixels, bool oddX);
    void (*pChroma16)(u16* out, u16 const* mask, int pixels, bool oddX);
    void (*pChroma32)(u32* out, u32 const* mask, int pixels, bool oddX);
    /// Writes past the caches, where the processor can; Fence makes what was written visible to other threads.
    void (*pStream)(u8* out, u8 const* from, int bytes);
    void (*pFence)();
    /// out = pass mixed toward result by mask in the channels that `word` selects (all bits set), pass in the others;
    /// a null mask takes the result.
    void (*pNormMult)(kernel::CommitArgs const& args, u8 const word[4]);
    void (*pMix257)(kernel::CommitArgs const& args, u8 const word[4]);
    void (*pUInt16)(kernel::CommitArgs const& args, u16 const word[4]);
    void (*pS2_14)(kernel::CommitArgs const& args, u16 const word[4]);
    void (*pFloatLimited)(kernel::CommitArgs const& args, u32 const word[4]);
    void (*pFloat)(kernel::CommitArgs const& args, u32 const word[4]);
    void (*pFloatOrFull)(kernel::CommitArgs const& args, u32 const word[4]);
};
QZIL_ROW_TABLE(CommitRows)

}  // namespace qzil
