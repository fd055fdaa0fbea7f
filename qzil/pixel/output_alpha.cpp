#include "qzil/pixel/output_alpha.h"

#include "qzil/frame/checks.h"
#include "qzil/frame/run.h"
#include "qzil/pixel/output_alpha_rows.h"

using namespace qzil;

namespace {
constexpr auto kFormats = Join(std::array{MFIF_RGBA_RAW_32, MFIF_RGBA_S2_14, MFIF_RGBA_FLOAT}, k8BitAlphaPlaneFormats,
                               kFloatAlphaPlaneFormats, kS2_14AlphaPlaneFormats);
}

FormatList qzILOutputAlpha::GetFormats() {
    return kFormats;
}

qzILStatus qzILOutputAlpha::Execute() {
    qzILStatus status = Verify();
    if (status == 1) status = PrepareData();
    if (status == 1) status = ProcessData();
    qzILStatus const cleaned = CleanData();
    return status == 1 ? cleaned : status;
}

qzILStatus qzILOutputAlpha::Verify() {
    return Checks(*this, qzILMonadicPixelProc::Verify())
        .Format(kFormats)
        .That(m_uAlphaMode >= qzILAlphaZero && m_uAlphaMode <= qzILAlphaDerived, Code::AlphaMode);
}

qzILStatus qzILOutputAlpha::DoEffect() {
    auto const build = [this]<class T>(As<T>) {
        T const fixed = m_uAlphaMode == qzILAlphaFull ? kFullScale<T> : T{0};
        return OutputAlpha<T>{m_iShowReverse != 0, m_uAlphaMode == qzILAlphaDerived, fixed};
    };
    return Run(GetOutputAlpha(), build, Code::InputFormat);
}
