#include "qzil/frame/copy.h"

#include "qzil/image/image_ops.h"

qzILStatus qzILCopyImg::Execute() {
    if (qzil::SamePixels(m_pInputImg, m_pOutputImg) && m_oRoi.Origin == m_oOutputOffset) return 1;
    return qzILMonadicImgProc::Execute();
}

qzILStatus qzILCopyImg::DoEffect() {
    qzil::CopyLines(m_oInputHelper, m_oOutputHelper, m_oBoxes.oProcessed, m_uProcessingMode);
    return 1;
}
