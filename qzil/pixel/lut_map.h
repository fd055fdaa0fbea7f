#pragma once

#include "qzil/frame/dyadic.h"
#include "qzil/frame/monadic.h"

/// Maps each channel through a look-up table of its own.
///
/// Formats: MFIF_RGBA_RAW_32, MFIF_MONO_RAW_8 with tables of 256 bytes, MFIF_RGBA_RAW_64, MFIF_MONO_RAW_16 with tables
/// of 65536 unsigned shorts. Channels that the mode leaves out keep their value.
/// Verify adds 0x1000D for another format, 0x10018 for a missing table.
class QZIL_API qzILMonadicLutMapImg : public qzILMonadicPixelProc {
    QZIL_PLAIN_EFFECT_CLASS(qzILMonadicLutMapImg, m_ppLut = nullptr)
    static std::span<GUID const> GetFormats() { return qzil::kRawFormats; }
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    /// `tables`: four pointers, one per channel; a one-channel image uses the first. The caller keeps them alive.
    void SetLut(void** tables) { m_ppLut = tables; }

private:
    void** m_ppLut;
};

/// Maps each pair of channel values through a look-up table of 65536 bytes per channel, indexed by b * 256 + a.
///
/// Formats: MFIF_RGBA_RAW_32, MFIF_MONO_RAW_8. Channels that the mode leaves out come from the dominant input.
/// Verify adds 0x1000D for another format, 0x10018 for a missing table.
class QZIL_API qzILDyadicLutMapImg : public qzILDyadicPixelProc {
    QZIL_PLAIN_EFFECT_CLASS(qzILDyadicLutMapImg, m_ppLut = nullptr)
    static std::span<GUID const> GetFormats();
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    /// `tables`: four pointers, one per channel; a one-channel image uses the first. The caller keeps them alive.
    void SetLut(void** tables) { m_ppLut = tables; }

private:
    void** m_ppLut;
};
