#pragma once

#include "qzil/frame/monadic.h"

/// Composites an image over a flat background colour by its alpha times the foreground opacity. Images with an alpha
/// plane are seen whole. On 8-bit video formats a mask is not supported: with one the effect writes nothing and
/// succeeds. A 4:2:2 line of odd width with an 8-bit alpha plane leaves its last pixel unwritten.
///
/// Background: straight colour and alpha, default the default colour as it is at construction. Input premultiplied:
/// default 0. Foreground opacity: 0.0 to 1.0, default 1.0.
/// Verify adds 0x1000D for a format that is not in GetFormats(), 65645 for an opacity out of its range.
class QZIL_API qzILImgOverColor : public qzILMonadicPixelProc {
    QZIL_EFFECT_CLASS(qzILImgOverColor)
public:
    qzILImgOverColor() { Init(); }

    static std::span<GUID const> GetFormats();
    qzILStatus Execute() override;
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    void Init() {
        m_oBackgroundColor = m_oDefaultColor;
        m_iPremultiplied = 0;
        m_dfOpacity = 1.0;
    }
    void Trash() {}
    qzILColor const& GetBackgroundColor() const { return m_oBackgroundColor; }
    void SetBackgroundColor(qzILColor const& color) { m_oBackgroundColor = color; }
    int GetInputImgPremultiplied() const { return m_iPremultiplied; }
    void SetInputImgPremultiplied(int premultiplied) { m_iPremultiplied = premultiplied; }
    double GetForegroundOpacity() const { return m_dfOpacity; }
    void SetForegroundOpacity(double opacity) { m_dfOpacity = opacity; }
    /// Takes the first n pixels off every line of the walk; -n puts them back. For routines that share a line.
    void SetStartOffsetX(int n);

protected:
    // Kept as entries only: the word that would select them is always 0.
    int CompositeOverColorYCC422_SSE2() const { return 0; }
    int CompositeOverColorYUVA422_SSE2() const { return 0; }
    int CompositeOverColorYCCAS2_14_SSE2() const { return 0; }
    int CompositeOverColorYCCAFloat_SSE2() const { return 0; }

private:
    qzILColor Premultiplied() const;
    qzILStatus CompositeOverColor8();
    qzILStatus CompositeOverColorYCC422();
    qzILStatus CompositeOverColorYUVA422();
    qzILStatus CompositeReal();

    qzILColor m_oBackgroundColor;
    std::int32_t m_iPremultiplied;
    double m_dfOpacity;
};
