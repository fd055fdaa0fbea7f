#include "qzil/keying/linear_keyer.h"

#include "qzil/frame/checks.h"
#include "qzil/frame/run.h"
#include "qzil/keying/linear_keyer_rows.h"

using namespace qzil;

qzILStatus qzILLinearKeyer::Verify() {
    return Checks(*this, qzILKeyerBase::Verify())
        .Format(kRgbaFormats)
        .Selects(kModeAllChannels)
        .Range(m_dfThreshold, -1.0, 1.0, Code::KeyerSetting)
        .Range(m_dfSoftness, 0.0, 1.0, Code::KeyerSetting);
}

qzILStatus qzILLinearKeyer::DoEffect() {
    qzILColor const& key = m_oKeyColor;
    bool const blue = key.GetBlue() > key.GetRed() && key.GetBlue() > key.GetGreen();
    auto const build = [=, this]<class T>(As<T>) -> LinearKey<T> {
        if constexpr (std::is_same_v<T, float>) {
            return {static_cast<float>(m_dfThreshold), Clamp(static_cast<float>(m_dfSoftness), 0.0f, 1.0f), blue};
        } else {
            // Twice full scale and more shifts every sample beyond the limits.
            constexpr s32 kFull = kFullScale<T>, kBeyond = 1 << 17;
            s32 const threshold = Clamp(RoundHalfAway(m_dfThreshold * kFull), -kBeyond, kBeyond);
            return {threshold, Clamp<s32>(RoundHalfAway(m_dfSoftness * kFull), 0, kFull), blue ? -1 : 0};
        }
    };
    return Run(GetLinearKey(), build, Code::InputFormat);
}
