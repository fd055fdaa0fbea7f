#pragma once

#include "qzil/frame/convert.h"
#include "qzil/frame/monadic.h"

#include <cstdint>

/// Turns colour into luminance: channels 0, 1 and 2 get (299 c0 + 587 c1 + 114 c2) / 1000, truncated; in float the sum
/// of 0.299, 0.587 and 0.114 of them. Alpha is kept.
///
/// Verify adds 0x1000D for a format other than MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_RGBA_FLOAT and
/// MFIF_RGBA_FLOAT_BU, 0x20002 unless all three colour channels are selected.
class QZIL_API qzILGrayscaleImg : public qzILMonadicPixelProc {
    QZIL_EFFECT_CLASS(qzILGrayscaleImg)
public:
    qzILGrayscaleImg() { Init(); }

    static std::span<GUID const> GetFormats();
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    void Init() {}
    void Trash() {}
};

/// Takes one channel of an RGBA image into a mono image of the same depth. Takes no interrupt.
///
/// Channel: 1, 2, 4, 8 for place 0 to 3, 1 at first. Verify adds 0x10034 for an input other than MFIF_RGBA_RAW_32,
/// MFIF_RGBA_RAW_64, MFIF_RGBA_S2_14 and MFIF_RGBA_FLOAT, 0x1000D for an output that is not its mono partner, 0x10035
/// for another channel.
class QZIL_API qzILExtractChannel : public qzILMonadicConvertProc {
    QZIL_PLAIN_EFFECT_CLASS(qzILExtractChannel, m_uChannel = XFImageChannel0)
    static bool Converts(GUID const& input, GUID const& output);
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    /// The component that the channel names, as a pixel of the output.
    void* GetConvertedColor(qzILColor const& color) override;
    void SetChannel(XFImageChannel channel) { m_uChannel = channel; }
    XFImageChannel GetChannel() const { return m_uChannel; }

private:
    XFImageChannel m_uChannel;
    qzil::PixelBlock m_oConverted;
};

/// Writes a mono image into one channel of an RGBA image, whose other channels keep their values, or into all four.
///
/// Channel: 1, 2, 4, 8 for place 0 to 3, 15 for all, 1 at first. Verify adds 0x10034 for an input other than
/// MFIF_MONO_RAW_8 and MFIF_MONO_RAW_16, 0x1000D for an output that is not RGBA of its depth, 0x10035 for another
/// channel.
class QZIL_API qzILInsertChannel : public qzILMonadicConvertProc {
    QZIL_PLAIN_EFFECT_CLASS(qzILInsertChannel, m_uChannel = XFImageChannel0)
    static bool Converts(GUID const& input, GUID const& output);
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    /// The selected components as a pixel of the output, the others 0.
    void* GetConvertedColor(qzILColor const& color) override;
    void SetChannel(XFImageChannel channel) { m_uChannel = channel; }
    XFImageChannel GetChannel() const { return m_uChannel; }

private:
    XFImageChannel m_uChannel;
    qzil::PixelBlock m_oConverted;
};

/// Rebuilds each selected channel from a source: 0 to 3 the channels of the pixel, 4 to 7 their complements, 8 hue, 9
/// lightness, 10 saturation (of channels 0 to 2, from tables), 11 zero, 12 full. Other numbers count as 11.
///
/// 8 bits only: MFIF_RGBA_RAW_64 passes Verify and is not written, deliberately. Verify adds 0x10012 for other formats.
class QZIL_API qzILChannelSwitch : public qzILMonadicPixelProc {
    QZIL_EFFECT_CLASS(qzILChannelSwitch)
public:
    qzILChannelSwitch() { Init(); }

    static std::span<GUID const> GetFormats();
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    void Init();
    void Trash() {}
    /// Four source numbers.
    void SetSourceChannels(int const* sources);
    void GetSourceChannels(int* sources) const;

private:
    std::int32_t m_aSources[4];
};

/// Writes the luminance of a picture into its alpha, as qzILGrayscaleImg has it, and nothing else: the output's colour
/// stays as it is, so the effect is meant to run in place. The channel bits play no part.
///
/// Verify adds 0x10034 for an input other than MFIF_RGBA_RAW_32 and MFIF_RGBA_RAW_64, 0x1000D for such an output,
/// 0x20001 for a mask image, or a region that is not the whole input. Executed with a mask all the same, a value of 0
/// copies the whole pixel from the input, others mix the input's alpha and the luminance.
class QZIL_API qzILRGBA2Alpha : public qzILMonadicPixelProc {
    QZIL_EFFECT_CLASS(qzILRGBA2Alpha)
public:
    qzILRGBA2Alpha() { Init(); }

    static std::span<GUID const> GetFormats();
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    void Init() {}
    void Trash() {}
};
