#pragma once

#include "qzil/frame/monadic.h"

namespace qzil::kernel {
struct ConvertCall;
struct ConvertTraits;
}  // namespace qzil::kernel

/// Effects whose output has another format than their input. They write all channels and take no mask; alpha planes are
/// part of the conversion. Field bits leave out lines.
///
/// The processing mode is 15 at first. Verify adds to that of qzILImgProc: 0x1000B no input, 0x1000C input without
/// pixels, the codes of qzILVerifyROIAndMask, 0x10033 input and output are one image, 0x20002 the mode's channel bits
/// are not 15, 0x20001 a mask image, or a mask rectangle that clips the input.
class QZIL_API qzILMonadicConvertProc : public qzILMonadicImgProc {
    QZIL_EFFECT_CLASS(qzILMonadicConvertProc)
public:
    qzILMonadicConvertProc() { Init(); }

    qzILStatus Execute() override;
    qzILStatus Verify() override;
    qzILStatus PrepareData() override;
    qzILStatus ProcessData() override;
    qzILStatus CleanData() override;
    /// Converts the processed box; not called when it is empty.
    virtual qzILStatus DoEffect() = 0;
    /// A colour as a pixel of the output, held by the effect until the next call. Null without an output.
    virtual void* GetConvertedColor(qzILColor const& color) = 0;

    void Init();
    void Trash() {}

protected:
    /// The base's Verify, then 0x10034 when `accepts` refuses the input's format, 0x1000D when the output's does not go
    /// with it.
    qzILStatus VerifyFormats(bool (*accepts)(GUID const& input),
                             bool (*converts)(GUID const& input, GUID const& output));
    /// Its part behind the base's, which effects ask again for a host that does not ask Verify.
    qzILStatus CheckFormats(GUID const& input, GUID const& output, bool (*accepts)(GUID const& input),
                            bool (*converts)(GUID const& input, GUID const& output));
    /// Runs a row function over the processed box; -1 when an image is not laid out as the traits say.
    qzILStatus RunRows(qzil::kernel::ConvertTraits const& traits, qzil::kernel::ConvertCall const& call) const;
    GUID const& InputFormat() const { return m_oInputHelper.m_oFormat; }
    GUID const& OutputFormat() const { return m_oOutputHelper.m_oFormat; }

    qzILImageHelper m_oInputHelper;  ///< both in output coordinates
    qzILImageHelper m_oOutputHelper;
    qzILBbox2l m_oInputBox;      ///< part of the output box that has input pixels
    qzILBbox2l m_oOutputBox;     ///< the region in the output
    qzILBbox2l m_oProcessedBox;  ///< as the input box
};
