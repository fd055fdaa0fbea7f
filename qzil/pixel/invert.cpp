#include "qzil/pixel/invert.h"

#include "qzil/frame/checks.h"
#include "qzil/frame/run.h"
#include "qzil/pixel/invert_rows.h"

using namespace qzil;

qzILStatus qzILInvertImg::Verify() {
    return Checks(*this, qzILMonadicPixelProc::Verify()).Format(kOnePixelFormats);
}

qzILStatus qzILInvertImg::DoEffect() {
    return Run(GetInvert(), Code::None);
}
