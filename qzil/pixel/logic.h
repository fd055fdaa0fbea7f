#pragma once

#include "qzil/frame/dyadic.h"
#include "qzil/frame/monadic.h"

#include <cstdint>

// Channel-wise logic and extrema. All take MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_MONO_RAW_8 and MFIF_MONO_RAW_16;
// Verify adds 0x1000D for another format of the output. A mask mixes toward the result by the table of products at
// 8 bits, by the 16-bit mix otherwise. Mono ignores the channel bits.

/// The bits that both images have: A & B. Not interrupted within a frame.
///
/// Executed without Verify, other RGBA and mono formats of 16-bit samples are worked on as unsigned words; all others
/// are not written.
class QZIL_API qzILAndImg : public qzILDyadicPixelProc {
    QZIL_EFFECT_CLASS(qzILAndImg)
public:
    qzILAndImg() { Init(); }

    static std::span<GUID const> GetFormats();
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    void Init() {}
    void Trash() {}
};

/// The bits that either image has: A | B. Otherwise as qzILAndImg.
class QZIL_API qzILOrImg : public qzILDyadicPixelProc {
    QZIL_EFFECT_CLASS(qzILOrImg)
public:
    qzILOrImg() { Init(); }

    static std::span<GUID const> GetFormats();
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    void Init() {}
    void Trash() {}
};

/// Where two images differ: A ^ B, or the absolute difference |A - B|. Otherwise as qzILAndImg.
///
/// Operation: 1, the default, for A ^ B; any other value for |A - B|.
class QZIL_API qzILXOrImg : public qzILDyadicPixelProc {
    QZIL_EFFECT_CLASS(qzILXOrImg)
public:
    qzILXOrImg() { Init(); }

    static std::span<GUID const> GetFormats();
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    void Init() { m_uOperation = 1; }
    void Trash() {}
    void SetOperation(std::uint32_t operation) { m_uOperation = operation; }
    std::uint32_t GetOperation() const { return m_uOperation; }

    std::uint32_t m_uOperation;
};

/// The larger of two values.
///
/// DoEffect has rows of its own with the values of Operation8 and Operation16: a class that overrides these has to
/// override it too.
class QZIL_API qzILMaxImg : public qzILDyadicPixelProc {
    QZIL_EFFECT_CLASS(qzILMaxImg)
public:
    qzILMaxImg() { Init(); }

    static std::span<GUID const> GetFormats();
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    unsigned char Operation8(unsigned char a, unsigned char b) const override;
    unsigned short Operation16(unsigned short a, unsigned short b) const override;
    void Init() {}
    void Trash() {}
};

/// The smaller of two values. Otherwise as qzILMaxImg.
class QZIL_API qzILMinImg : public qzILDyadicPixelProc {
    QZIL_EFFECT_CLASS(qzILMinImg)
public:
    qzILMinImg() { Init(); }

    static std::span<GUID const> GetFormats();
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    unsigned char Operation8(unsigned char a, unsigned char b) const override;
    unsigned short Operation16(unsigned short a, unsigned short b) const override;
    void Init() {}
    void Trash() {}
};

/// The bits that the image and a colour have: input & operand.
///
/// Operand: (0, 0, 0, 1) at first, in RGBA; mono takes its red. Components are rounded to the samples and not limited:
/// of those outside 0.0 to 1.0 the low byte or word counts.
class QZIL_API qzILMonadicAndImg : public qzILMonadicPixelProc {
    QZIL_EFFECT_CLASS(qzILMonadicAndImg)
public:
    qzILMonadicAndImg() { Init(); }

    static std::span<GUID const> GetFormats();
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    void Init() { m_oOperand = qzILColor(0.0, 0.0, 0.0, 1.0); }
    void Trash() {}
    void SetOperand(qzILColor const& operand) { m_oOperand = operand; }
    qzILColor const& GetOperand() const { return m_oOperand; }

    qzILColor m_oOperand;
};

/// The bits that the image or a colour has: input | operand. Otherwise as qzILMonadicAndImg.
class QZIL_API qzILMonadicOrImg : public qzILMonadicPixelProc {
    QZIL_EFFECT_CLASS(qzILMonadicOrImg)
public:
    qzILMonadicOrImg() { Init(); }

    static std::span<GUID const> GetFormats();
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    void Init() { m_oOperand = qzILColor(0.0, 0.0, 0.0, 1.0); }
    void Trash() {}
    void SetOperand(qzILColor const& operand) { m_oOperand = operand; }
    qzILColor const& GetOperand() const { return m_oOperand; }

    qzILColor m_oOperand;
};
