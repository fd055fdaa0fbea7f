#pragma once

#include "qzil/kernel/row.h"

namespace qzil {

/// Row functions that every effect shares: laying out mask values, and mixing results into passed-through pixels.
struct CommitRows {
    /// Takes single channels of mask pixels out of their line: `stride` values lie from one to the next.
    void (*pGather8)(u8* out, u8 const* mask, int pixels, int stride);
    void (*pGather16)(u16* out, u16 const* mask, int pixels, int stride);
    void (*pGather32)(u32* out, u32 const* mask, int pixels, int stride);
    /// Repeats each value `samples` times, 1 or 4.
    void (*pRepeat8)(u8* out, u8 const* mask, int pixels, int samples);
    void (*pRepeat16)(u16* out, u16 const* mask, int pixels, int samples);
    void (*pRepeat32)(u32* out, u32 const* mask, int pixels, int samples);
    /// Two values per pixel for 4:2:2; see MaskLayout.
    void (*pPair8)(u8* out, u8 const* mask, int pixels);
    void (*pChroma8)(u8* out, u8 const* mask, int pixels, bool oddX);
    void (*pChroma16)(u16* out, u16 const* mask, int pixels, bool oddX);
    void (*pChroma32)(u32* out, u32 const* mask, int pixels, bool oddX);
    /// Writes past the caches, where the processor can; Fence makes what was written visible to other threads.
    void (*pStream)(u8* out, u8 const* from, int bytes);
    void (*pFence)();
    /// out = pass mixed toward result by mask in the channels that `word` selects (all bits set), pass in the others;
    /// a null mask takes the result. Values are repeated per sample.
    void (*pNormMult)(void* out, void const* pass, void const* result, void const* mask, int samples, u8 const word[4]);
    void (*pMix257)(void* out, void const* pass, void const* result, void const* mask, int samples, u8 const word[4]);
    void (*pUInt16)(void* out, void const* pass, void const* result, void const* mask, int samples, u16 const word[4]);
    void (*pS2_14)(void* out, void const* pass, void const* result, void const* mask, int samples, u16 const word[4]);
    void (*pFloatLimited)(void* out, void const* pass, void const* result, void const* mask, int samples,
                          u32 const word[4]);
    void (*pFloat)(void* out, void const* pass, void const* result, void const* mask, int samples, u32 const word[4]);
};
QZIL_ROW_TABLE(CommitRows)

}  // namespace qzil
