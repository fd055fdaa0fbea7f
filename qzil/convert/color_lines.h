#pragma once

#include "qzil/image/formats.h"
#include "qzil/kernel/convert_row.h"

namespace qzil {

/// Conversions pixel by pixel through qzILColor, in the models of both formats; they ask for an interrupt after each
/// line. The pair has to be one of an RGB, YCCA or HLSA format without planes and with 8 or 16 bits, S2.14 or float on
/// the input's side.
class ColorLines {
public:
    ColorLines(GUID const& input, GUID const& output);

    kernel::ConvertTraits Traits() const;
    kernel::ConvertCall Call() const { return {Row, this}; }

private:
    static void Row(kernel::ConvertRow const& row, void const* self);

    /// What a pixel of one side is made of.
    struct Side {
        XFColorModel uModel;
        XFChannelType uType;
        int iBytes;
        bool bBgr;
    };
    static Side SideOf(GUID const& format);

    Side m_oInput, m_oOutput;
};

}  // namespace qzil
