#include "qzil/spatial/edges.h"

#include "qzil/frame/checks.h"
#include "qzil/frame/spatial_run.h"
#include "qzil/pixel/logic.h"
#include "qzil/spatial/edge_rows.h"

using namespace qzil;

FormatList Effect3x3::GetFormats() {
    return kRawFormats;
}

qzILStatus Effect3x3::Verify() {
    return Checks(*this, qzILMonadicSpatialProc::Verify()).Format(kRawFormats);
}

qzILStatus Effect3x3::AddToOutput(std::function<qzILStatus()> const& run) {
    if (!HasBuffer()) return -1;
    qzILBbox2l const& box = m_oBoxes.oProcessed;
    IXFImage* pBefore = nullptr;
    if (BufferImage(m_pOutputImg, &pBefore, box) != 1) return Fail(Code::OutOfMemory);
    Ref<IXFImage> const before(pBefore);
    if (qzILStatus const status = run(); status != 1) return status;
    qzILMaxImg larger;
    larger.SetInputImgA(pBefore);
    larger.SetInputImgB(m_pOutputImg);
    larger.SetInputOffset(qzILVector2l() - box.Origin);
    larger.SetOutputImg(m_pOutputImg);
    larger.SetROI({0, 0, box.Size.x, box.Size.y});
    larger.SetOutputOffset(box.Origin);
    larger.SetProcessingMode(m_uProcessingMode | kModeAllChannels);
    return larger.Execute();
}

qzILStatus Effect3x3::ClearOutput() {
    return Run(GetCleared());
}

void EdgeDetector::Init() {
    m_dfEdgeSensitivity = 1.0;
    m_dfBias = 0.0;
}

template <template <class> class Rule>
qzILStatus EdgeDetector::Detect(kernel::Operation<Rule, u8, u16> const& operation) {
    return Run(operation, [this]<class T>(As<T>) {
        return Rule<T>{{Share<T>(1.0 - m_dfEdgeSensitivity), Share<T>(m_dfBias)}};
    });
}

qzILStatus SlopeDetector::Verify() {
    bool const magnitude = m_uType == qzILEdgeDetectTypeMagnitude;
    return Checks(*this, Effect3x3::Verify())
        .That(magnitude || m_uType == qzILEdgeDetectTypeAngle, Code::EdgeType)
        .Share(magnitude ? m_dfEdgeSensitivity : 1.0, Code::EdgeSensitivity)
        .Share(magnitude ? m_dfBias : 0.0, Code::Bias);
}

qzILStatus qzILRobertsImg::DoEffect() {
    if (m_uType != qzILEdgeDetectTypeMagnitude) return RobertsAngle8();
    return m_dfEdgeSensitivity == 0.0 ? ClearOutput() : Roberts8();
}

qzILStatus qzILRobertsImg::Roberts8() {
    return Detect(GetRoberts());
}

qzILStatus qzILRobertsImg::RobertsAngle8() {
    return Run(GetRobertsAngle());
}

qzILStatus qzILSobelImg::DoEffect() {
    if (m_uType != qzILEdgeDetectTypeMagnitude) return SobelAngle8();
    return m_dfEdgeSensitivity == 0.0 ? ClearOutput() : Sobel8();
}

qzILStatus qzILSobelImg::Sobel8() {
    return Detect(GetSobel());
}

qzILStatus qzILSobelImg::SobelAngle8() {
    return Run(GetSobelAngle());
}

qzILStatus qzILLaplaceImg::Verify() {
    return Checks(*this, Effect3x3::Verify())
        .Range(m_iType, 1, 2, Code::Neighbours)
        .Share(m_dfEdgeSensitivity, Code::EdgeSensitivity)
        .Share(m_dfBias, Code::Bias);
}

qzILStatus qzILLaplaceImg::DoEffect() {
    if (m_dfEdgeSensitivity == 0.0) return ClearOutput();
    return m_iType == 1 ? DLaplace8() : SLaplace8();
}

qzILStatus qzILLaplaceImg::DLaplace8() {
    return Detect(GetFourNeighbours());
}

qzILStatus qzILLaplaceImg::SLaplace8() {
    return Detect(GetEightNeighbours());
}
