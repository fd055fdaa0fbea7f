#pragma once

#include "qzil/frame/codes.h"
#include "qzil/frame/img_proc.h"
#include "qzil/image/formats.h"
#include "qzil/image/image_ops.h"

namespace qzil {

/// The checks of a Verify, run in the order written up to the first that fails, whose code is recorded.
class Checks {
public:
    /// `status` is what the base class's Verify gave.
    Checks(qzILImgProc& effect, qzILStatus status) : m_oEffect(effect), m_iStatus(status) {}

    operator qzILStatus() const { return m_iStatus; }

    Checks& That(bool holds, unsigned code) {
        if (m_iStatus == 1 && !holds) {
            m_oEffect.SetLastError(code);
            m_iStatus = -1;
        }
        return *this;
    }
    /// For conditions that can be asked only when all before hold.
    template <class Condition>
    requires requires(Condition condition) { bool{condition()}; }
    Checks& That(Condition condition, unsigned code) { return m_iStatus == 1 ? That(condition(), code) : *this; }
    /// The output's format is in a list.
    Checks& Format(FormatList formats, unsigned code = Code::Format) {
        return That([&] { return Contains(formats, FormatOf(m_oEffect.GetOutputImg())); }, code);
    }
    /// Both ends are allowed. A value that is not a number passes, deliberately: neither comparison holds for it.
    Checks& Range(double value, double low, double high, unsigned code) {
        return That(!(value < low || value > high), code);
    }
    Checks& Share(double value, unsigned code) { return Range(value, 0.0, 1.0, code); }
    /// All channels of a set are selected.
    Checks& Selects(unsigned channels, unsigned code = Code::ChannelSelection) {
        return That((m_oEffect.GetProcessingMode() & channels) == channels, code);
    }

private:
    qzILImgProc& m_oEffect;
    qzILStatus m_iStatus;
};

}  // namespace qzil
