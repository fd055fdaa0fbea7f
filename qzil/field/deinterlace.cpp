#include "qzil/field/deinterlace.h"

#include "qzil/field/field_rows.h"
#include "qzil/field/field_run.h"
#include "qzil/frame/image_utils.h"
#include "qzil/image/image_ops.h"

#include <cmath>

using namespace qzil;

namespace {

/// Levels 16 to 235 of 256.
constexpr double kStudioRange = 0.8588235294117647;

/// A share of full scale as a level of motion; NaN is 0.
template <class T>
double MotionLevel(double share, bool mono) {
    if constexpr (std::is_same_v<T, float>) {
        return std::isnan(share) ? 0.0 : share;
    } else if constexpr (std::is_signed_v<T>) {
        return Clamp<s32>(RoundHalfAway(share * 16384.0), -32768, 32767);
    } else {
        double const level = share * (mono ? 1.0 : kStudioRange) * kFullScale<T> + 0.5;
        return level > 0.0 ? std::trunc(std::min(level, double{kFullScale<T>})) : 0.0;
    }
}

/// The rule of a call, without its lines.
template <class T>
MotionMean<T> MotionRule(FormatRow const& format, double low, double high) {
    bool const mono = format.IsMono();
    MotionMean<T> rule{};
    rule.dfLow = MotionLevel<T>(low, mono);
    rule.dfHigh = MotionLevel<T>(high, mono);
    if (rule.dfHigh > rule.dfLow) {
        double const one = sizeof(T) == 1 ? 1 << 20 : 1u << 31;
        if constexpr (!std::is_same_v<T, float>) rule.iSlope = static_cast<s64>(one / (rule.dfHigh - rule.dfLow));
    }
    constexpr s32 kFull[] = {19595, 38470, 7471, 32768}, kStudio[] = {16829, 33039, 6416, 32768};
    std::copy_n(format.HasVideoLevels() || std::is_signed_v<T> ? kFull : kStudio, 4, rule.aLuma);
    // Studio levels at 8 bits begin at 16.
    if (!format.HasVideoLevels() && sizeof(T) == 1) rule.aLuma[3] = 0x108000;
    return rule;
}

}  // namespace

void qzILDeinterlace::Init() {
    m_pOutputImgB = m_pCompImgA = m_pCompImgB = nullptr;
    m_uType = qzILInterpolationRepeat;
    m_dfMinThreshold = 0.0;
    m_dfMaxThreshold = 0.15;
    m_pInputClone = m_pCompCloneA = m_pCompCloneB = nullptr;
}

void qzILDeinterlace::SetOutputImgB(IXFImage* image) {
    m_pOutputImgB = image;
    m_oOutput.TakeSizeOf(image);
}

int qzILDeinterlace::GetImageSlots(ImageSlots& slots) {
    int const count = qzILFieldBasedImgProc::GetImageSlots(slots);
    slots[count] = &m_pOutputImgB;
    if (m_uType != qzILInterpolationAdaptive) return count + 1;
    slots[count + 1] = &m_pCompImgA;
    slots[count + 2] = &m_pCompImgB;
    return count + 3;
}

qzILStatus qzILDeinterlace::ExecutePlane() {
    qzILStatus status = PrepareData();
    if (status == 1) status = ProcessData();
    qzILStatus const cleaned = CleanData();
    return status == 1 ? cleaned : status;
}

qzILStatus qzILDeinterlace::Verify() {
    if (qzILStatus const status = qzILFieldBasedImgProc::Verify(); status != 1) return status;
    if (m_oOutput.pImage && SamePixels(m_oOutput.pImage, m_pOutputImgB)) return Fail(Code::SameOutputs);
    for (IXFImage* const pImage : {m_pCompImgA, m_pCompImgB}) {
        if (!pImage) continue;
        if (!HasPixels(pImage)) return Fail(Code::InputPixels);
        if (!(FormatOf(pImage) == FormatOf(m_pInputImg))) return Fail(Code::FormatsDiffer);
        if (!(WholeOf(pImage) == WholeOf(m_pInputImg))) return Fail(Code::SizesDiffer);
    }
    if (m_pOutputImgB) {
        if (unsigned const code = FindOutputFault(m_pOutputImgB)) return Fail(code);
    }
    bool const adaptive = m_uType == qzILInterpolationAdaptive;
    if (!adaptive && m_uType != qzILInterpolationRepeat && m_uType != qzILInterpolationAverage) {
        return Fail(Code::Interpolation);
    }
    if (adaptive && ((m_oOutput.pImage && !m_pCompImgA) || (m_pOutputImgB && !m_pCompImgB))) {
        return Fail(Code::NoInput);
    }
    bool const ordered = !(m_dfMinThreshold < 0.0 || m_dfMinThreshold > 1.0) && m_dfMaxThreshold >= 0.0 &&
                         m_dfMaxThreshold <= 1.0 && !(m_dfMinThreshold > m_dfMaxThreshold);
    return ordered ? 1 : Fail(Code::MotionThreshold);
}

qzILStatus qzILDeinterlace::PrepareData() {
    bool const adaptive = m_uType == qzILInterpolationAdaptive;
    Source const sources[] = {{m_pInputImg, &m_oInputHelper, &m_pInputClone},
                              {adaptive ? m_pCompImgA : nullptr, &m_oCompHelperA, &m_pCompCloneA},
                              {adaptive ? m_pCompImgB : nullptr, &m_oCompHelperB, &m_pCompCloneB}};
    IXFImage* const outputs[] = {m_oOutput.pImage, m_pOutputImgB};
    if (qzILStatus const status = FormRegion(sources, outputs); status != 1) return status;
    if (adaptive && ((outputs[0] && !m_pCompImgA) || (outputs[1] && !m_pCompImgB))) return Fail(Code::NoInput);
    for (Source const& source : sources) {
        if (qzILStatus const status = ViewSource(source, outputs, 1); status != 1) return status;
    }
    m_oOutputHelperA.SetImage(m_oOutput.pImage);
    m_oOutputHelperB.SetImage(m_pOutputImgB);
    return 1;
}

qzILStatus qzILDeinterlace::CleanData() {
    ReleaseClones();
    for (qzILImageHelper* const pHelper :
         {&m_oInputHelper, &m_oCompHelperA, &m_oCompHelperB, &m_oOutputHelperA, &m_oOutputHelperB}) {
        *pHelper = qzILImageHelper();
    }
    return 1;
}

void qzILDeinterlace::ReleaseClones() {
    for (IXFImage** const ppClone : {&m_pInputClone, &m_pCompCloneA, &m_pCompCloneB}) ReleaseClone(ppClone);
}

void qzILDeinterlace::FillOutput(qzILBbox2l const& inner, qzILBbox2l const& outer, qzILColor const& color) {
    qzILFieldBasedImgProc::FillOutput(inner, outer, color);
    if (inner == outer || !m_pOutputImgB) return;
    qzILFillImageWithColor(m_pOutputImgB, color, m_uProcessingMode | kModeAllChannels, &outer, &inner);
}

qzILStatus qzILDeinterlace::DoEffect() {
    CopyFields();
    if (IsInterrupted()) return 1;
    return MakeLines();
}

void qzILDeinterlace::CopyFields() {
    int flag = m_iLineFlag;
    for (int y = m_oActive.Origin.y; y < m_oActive.Origin.y + m_oActive.Size.y; ++y, flag ^= 1) {
        qzILImageHelper const& output = flag != 0 ? m_oOutputHelperA : m_oOutputHelperB;
        if (Skips(y) || output.IsEmpty()) continue;
        CopyLine(OutputLine(output, y), SourceLine(m_oInputHelper, InputLine(y)));
    }
}

qzILStatus qzILDeinterlace::MakeLines() {
    Field const fields[] = {{&m_oOutputHelperA, &m_oCompHelperA}, {&m_oOutputHelperB, &m_oCompHelperB}};
    int flag = m_iLineFlag;
    for (int y = m_oActive.Origin.y; y < m_oActive.Origin.y + m_oActive.Size.y; ++y, flag ^= 1) {
        Field const& field = fields[flag];
        if (!Skips(y) && !field.pOutput->IsEmpty()) MakeLine(y, flag != 0, field);
    }
    return 1;
}

bool qzILDeinterlace::IsThere(int y) const {
    return y >= m_oActive.Origin.y && y < m_oActive.Origin.y + m_oActive.Size.y && !Skips(y);
}

/// `first`: the line is of the first field, and the target is output B.
void qzILDeinterlace::MakeLine(int y, bool first, Field const& field) {
    int const s = InputLine(y);
    auto const line = [&](int there, int instead) {
        return IsThere(there) ? OutputLine(*field.pOutput, there) : SourceLine(m_oInputHelper, instead);
    };
    unsigned char* const pTarget = OutputLine(*field.pOutput, y);
    if (m_uType == qzILInterpolationRepeat) {
        CopyLine(pTarget, first ? line(y + 1, LineAfter(s)) : line(y - 1, LineBefore(s)));
        return;
    }
    unsigned char* const pAbove = line(y - 1, LineBefore(s));
    unsigned char* const pBelow = line(y + 1, LineAfter(s));
    if (m_uType == qzILInterpolationAdaptive) {
        AdaptiveInterpolate(pAbove, pBelow, SourceLine(m_oInputHelper, s), SourceLine(*field.pComparison, s), pTarget);
    } else {
        Interpolate(pAbove, pBelow, pTarget);
    }
}

void qzILDeinterlace::Interpolate(void* above, void* below, void* target) {
    RunLine(GetLineMean(), *m_pFormat, m_oActive.Size.x, target, above, below,
            []<class T>(As<T>) { return LineMean<T>{}; });
}

void qzILDeinterlace::AdaptiveInterpolate(void* above, void* below, void* current, void* comparison, void* target) {
    RunLine(GetMotionMean(), *m_pFormat, m_oActive.Size.x, target, above, below, [&]<class T>(As<T>) {
        MotionMean<T> rule = MotionRule<T>(*m_pFormat, m_dfMinThreshold, m_dfMaxThreshold);
        rule.pCurrent = static_cast<T const*>(current);
        rule.pComparison = static_cast<T const*>(comparison);
        return rule;
    });
}

HRESULT qzILDeinterlaceFields(IXFImage* input, IXFImage* outputA, IXFImage* outputB, qzILInterpolationType type,
                              IXFImage* compA, IXFImage* compB, double min, double max) {
    qzILDeinterlace effect;
    effect.SetInputImg(input);
    effect.SetOutputImg(outputA);
    effect.SetOutputImgB(outputB);
    effect.SetInterpolationType(type);
    if (type == qzILInterpolationAdaptive) {
        effect.SetCompImgA(compA);
        effect.SetCompImgB(compB);
        effect.SetMinThreshold(min);
        effect.SetMaxThreshold(max);
    }
    return effect.Execute() == 1 ? 0 : platform::kFailure;
}
