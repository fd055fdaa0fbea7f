#include "qzil/pixel/solarize.h"

#include "qzil/frame/checks.h"
#include "qzil/frame/run.h"
#include "qzil/pixel/solarize_rows.h"

using namespace qzil;

FormatList qzILSolarizeImg::GetFormats() {
    return kRawFormats;
}

qzILStatus qzILSolarizeImg::Verify() {
    return Checks(*this, qzILMonadicPixelProc::Verify()).Format(kRawFormats).Share(m_dfThreshold, Code::Alpha);
}

qzILStatus qzILSolarizeImg::DoEffect() {
    return Run(GetSolarize(), [this]<class T>(As<T>) { return Solarize<T>{Share<T>(m_dfThreshold)}; });
}
