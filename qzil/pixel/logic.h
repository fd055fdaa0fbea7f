#pragma once

#include "qzil/frame/dyadic.h"
#include "qzil/frame/monadic.h"

#include <cstdint>

// Channel-wise logic and extrema on MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_MONO_RAW_8 and MFIF_MONO_RAW_16; Verify
// adds 0x1000D for another format of the output. A mask mixes toward the result by the table of products at 8 bits, by
// the 16-bit mix otherwise. Mono ignores the channel bits. Executed without Verify, AND, OR and XOR
// take other RGBA and mono formats of 16-bit samples as unsigned words; all others are not written.

namespace qzil {
enum class LogicRule { And, Or, XOr, Difference, Larger, Smaller };

class QZIL_API DyadicLogic : public qzILDyadicPixelProc {
public:
    static std::span<GUID const> GetFormats() { return qzil::kRawFormats; }
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    virtual LogicRule Rule() const = 0;
};

class QZIL_API MonadicLogic : public qzILMonadicPixelProc {
public:
    static std::span<GUID const> GetFormats() { return qzil::kRawFormats; }
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    virtual LogicRule Rule() const = 0;
    void Init() { m_oOperand = qzILColor(0.0, 0.0, 0.0, 1.0); }
    void SetOperand(qzILColor const& operand) { m_oOperand = operand; }
    qzILColor const& GetOperand() const { return m_oOperand; }

    /// Mono takes its red. Components are rounded and not limited: outside 0.0 to 1.0 the low byte or word counts.
    qzILColor m_oOperand{0.0, 0.0, 0.0, 1.0};
};
}  // namespace qzil

/// The bits that both images have: A & B. Not interrupted within a frame.
class QZIL_API qzILAndImg : public qzil::DyadicLogic {
    QZIL_PLAIN_EFFECT_CLASS(qzILAndImg)
    qzil::LogicRule Rule() const override { return qzil::LogicRule::And; }
};

/// The bits that either image has: A | B. Not interrupted within a frame.
class QZIL_API qzILOrImg : public qzil::DyadicLogic {
    QZIL_PLAIN_EFFECT_CLASS(qzILOrImg)
    qzil::LogicRule Rule() const override { return qzil::LogicRule::Or; }
};

/// Where two images differ: A ^ B for operation 1, the default, else |A - B|. Not interrupted within a frame.
class QZIL_API qzILXOrImg : public qzil::DyadicLogic {
    QZIL_PLAIN_EFFECT_CLASS(qzILXOrImg, m_uOperation = 1)
    qzil::LogicRule Rule() const override {
        return m_uOperation == 1 ? qzil::LogicRule::XOr : qzil::LogicRule::Difference;
    }
    void SetOperation(std::uint32_t operation) { m_uOperation = operation; }
    std::uint32_t GetOperation() const { return m_uOperation; }

    std::uint32_t m_uOperation;
};

/// The larger of two values. An heir's Operation8 and Operation16 count in their place.
class QZIL_API qzILMaxImg : public qzil::DyadicLogic {
    QZIL_PLAIN_EFFECT_CLASS(qzILMaxImg)
    qzil::LogicRule Rule() const override { return qzil::LogicRule::Larger; }
    unsigned char Operation8(unsigned char a, unsigned char b) const override { return a < b ? b : a; }
    unsigned short Operation16(unsigned short a, unsigned short b) const override { return a < b ? b : a; }
};

/// The smaller of two values. An heir's Operation8 and Operation16 count in their place.
class QZIL_API qzILMinImg : public qzil::DyadicLogic {
    QZIL_PLAIN_EFFECT_CLASS(qzILMinImg)
    qzil::LogicRule Rule() const override { return qzil::LogicRule::Smaller; }
    unsigned char Operation8(unsigned char a, unsigned char b) const override { return b < a ? b : a; }
    unsigned short Operation16(unsigned short a, unsigned short b) const override { return b < a ? b : a; }
};

/// The bits that the image and the operand have: input & operand.
class QZIL_API qzILMonadicAndImg : public qzil::MonadicLogic {
    QZIL_PLAIN_EFFECT_CLASS(qzILMonadicAndImg, MonadicLogic::Init())
    qzil::LogicRule Rule() const override { return qzil::LogicRule::And; }
};

/// The bits that the image or the operand has: input | operand.
class QZIL_API qzILMonadicOrImg : public qzil::MonadicLogic {
    QZIL_PLAIN_EFFECT_CLASS(qzILMonadicOrImg, MonadicLogic::Init())
    qzil::LogicRule Rule() const override { return qzil::LogicRule::Or; }
};
