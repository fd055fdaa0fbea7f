#include "qzil/analysis/color_grade.h"

#include "qzil/analysis/color_grade_rows.h"
#include "qzil/frame/color_samples.h"
#include "qzil/frame/run.h"
#include "qzil/image/image_ops.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <new>
#include <stdexcept>

using namespace qzil;

namespace {

constexpr GUID kFormats[] = {MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64, MFIF_MONO_RAW_8, MFIF_MONO_RAW_16};

/// By squares, which are exact: places at one distance give one number.
double LengthOf(double x, double y) {
    return std::sqrt(x * x + y * y);
}

void ValuesOf(qzILColor const& color, double* values) {
    values[0] = color.GetRed(), values[1] = color.GetGreen(), values[2] = color.GetBlue();
    values[3] = color.GetAlpha();
}

/// Far more entries than a region can show.
constexpr double kMostEntries = 1 << 26;

/// What the entries of a gradient are made of.
struct Stops {
    CColorRamp const& oRamp;
    bool bInverted;
    double dfEntries;

    /// Writes the entries `first` to `last`, one after the other.
    template <class T>
    void Fill(T* out, int samples, double first, double last) const {
        for (double i = first; i <= last; ++i, out += samples) Put(out, samples, bInverted ? dfEntries - 1.0 - i : i);
    }

private:
    double Position(unsigned stop) const { return std::floor(oRamp[stop].iWeight * dfEntries / 100.0); }

    template <class T>
    void Put(T* out, int samples, double entry) const {
        unsigned const last = oRamp.GetCount() - 1;
        unsigned before = 0;
        while (before < last && Position(before + 1) <= entry) ++before;
        unsigned const after = entry < Position(before) ? before : std::min(before + 1, last);
        double const from = Position(before), to = Position(after);
        double const share = to > from ? (entry - from) / (to - from) : 0.0;
        double a[4], b[4];
        ValuesOf(oRamp[before].oColor, a);
        ValuesOf(oRamp[after].oColor, b);
        for (int k = 0; k < samples; ++k) out[k] = Truncated<T>(a[k] + (b[k] - a[k]) * share);
    }
};

/// The colour in the samples of a pixel; of mono its first value.
template <class T>
Channels<T> FlatColor(qzILColor const& color, kernel::Call const& call) {
    if (call.eLayout == kernel::Layout::Rgba) return ColorSamples<T>(color, call);
    double const value = color.GetRed();
    return ColorSamples<T>({value, value, value, 1.0}, call);
}

}  // namespace

bool CColorRamp::Set(qzILColor const* colors, int const* weights, unsigned count) {
    m_oEntries.clear();
    try {
        m_oEntries.resize(count);
    } catch (std::bad_alloc const&) {
        return false;
    } catch (std::length_error const&) {
        return false;
    }
    for (unsigned i = 0; i < count; ++i) m_oEntries[i].Set(colors[i], weights[i]);
    return true;
}

qzILStatus CColorRamp::Verify() const {
    int least = 0;
    for (ColorEntry const& entry : m_oEntries) {
        if (entry.iWeight < least || entry.iWeight > 99) return -1;
        least = entry.iWeight;
    }
    return 1;
}

void qzILColorGradeImg::Init() {
    m_uProcessingMode = kModeAllChannels;
    m_oOutput = OutputPlace();
    m_oBox = qzILBbox2l();
    m_oHelper = qzILImageHelper();
    m_oRamp = CColorRamp();
    m_uType = qzILRampLinear;
    m_oCenter = m_oVector = qzILVector2l();
    m_iAngle = 0;
    m_dfRatio = 1.0;
    m_uInvert = 0;
    m_aoCorners[0] = {1.0, 0.0, 0.0, 1.0};
    m_aoCorners[1] = {0.0, 0.0, 0.0, 1.0};
    m_aoCorners[2] = {1.0, 1.0, 1.0, 1.0};
    m_aoCorners[3] = {0.0, 0.0, 1.0, 1.0};
}

FormatList qzILColorGradeImg::GetFormats() {
    return kFormats;
}

void qzILColorGradeImg::SetOutputImg(IXFImage* image) {
    m_oOutput.SetImage(image);
}

void qzILColorGradeImg::SetVector(int x, int y, int dx, int dy) {
    m_oCenter = {x, y};
    m_oVector = {dx, dy};
    if (dx == 0) {
        m_iAngle = dy >= 1 ? 90 : 270;
        return;
    }
    // 180 / pi in single precision, deliberately.
    m_iAngle = RoundHalfAway(std::atan2(static_cast<double>(dy), static_cast<double>(dx)) * 57.29564666748047);
    if (m_iAngle < 0) m_iAngle += 360;
}

void qzILColorGradeImg::GetCenter(int* x, int* y) const {
    if (x) *x = m_oCenter.x;
    if (y) *y = m_oCenter.y;
}

void qzILColorGradeImg::SetColors(qzILColor const* colors, int const* weights, unsigned int count) {
    if (!m_oRamp.Set(colors, weights, count)) SetLastError(Code::OutOfMemory);
}

void qzILColorGradeImg::GetColors(qzILColor* colors, int* weights, unsigned int count) const {
    for (unsigned i = 0; i < std::min(count, m_oRamp.GetCount()); ++i) {
        colors[i] = m_oRamp[i].oColor;
        weights[i] = m_oRamp[i].iWeight;
    }
}

qzILStatus qzILColorGradeImg::Verify() {
    if ((m_uProcessingMode & kModeAllChannels) != kModeAllChannels) return Fail(Code::ChannelSelection);
    if ((m_uProcessingMode & kModeNoLines) != 0) return Fail(Code::FieldBits);
    if (!m_oOutput.pImage) return Fail(Code::NoOutput);
    if (!HasPixels(m_oOutput.pImage)) return Fail(Code::OutputPixels);
    if (!Contains(kFormats, FormatOf(m_oOutput.pImage))) return Fail(Code::Format);
    if (!m_oOutput.FitsInto(m_oOutput.pImage)) return Fail(Code::Region);
    if (m_uType < qzILRampLinear || m_uType > qzILRampSquare) return Fail(Code::GradeType);
    auto const wide = [](int n) { return n >= 2 || n <= -2; };
    bool const spans =
        m_uType == qzILRampSquare ? wide(m_oVector.x) && wide(m_oVector.y) : m_oVector.x != 0 || m_oVector.y != 0;
    if (!spans) return Fail(Code::GradeVector);
    if (!(m_dfRatio > 0.0) || std::isinf(m_dfRatio)) return Fail(Code::GradeRatio);
    return m_oRamp.Verify() == 1 ? 1 : Fail(Code::GradeStops);
}

qzILStatus qzILColorGradeImg::Execute() {
    qzILStatus status = PrepareData();
    if (status == 1) status = ProcessData();
    if (status == 1) return CleanData();
    CleanData();
    return status;
}

qzILStatus qzILColorGradeImg::PrepareData() {
    if (!m_oOutput.pImage) return Fail(Code::NoOutput);
    m_oHelper.SetImage(m_oOutput.pImage);
    if (!m_oHelper.HasPixels()) return Fail(Code::OutputPixels);
    if (!Contains(kFormats, m_oHelper.m_oFormat)) return Fail(Code::Format);
    if ((m_uProcessingMode & kModeNoLines) != 0) return Fail(Code::FieldBits);
    m_oBox = m_oOutput.Region().Intersect(WholeOf(m_oOutput.pImage));
    return 1;
}

qzILStatus qzILColorGradeImg::CleanData() {
    m_oHelper = qzILImageHelper();
    return 1;
}

qzILStatus qzILColorGradeImg::ProcessData() {
    if (m_oBox.IsEmpty()) return 1;
    if (m_uType == qzILRampSquare) return RenderSquare();
    if (m_uType != qzILRampLinear && m_uType != qzILRampRadial) return Fail(Code::GradeType);
    if (m_oRamp.GetCount() == 0) return RenderConstant({0.0, 0.0, 0.0, 1.0});
    if (m_oRamp.GetCount() == 1) return RenderConstant(m_oRamp[0].oColor);
    if (m_oRamp.Verify() != 1) return Fail(Code::GradeStops);
    return RenderGradient();
}

kernel::Walk qzILColorGradeImg::WalkOf() const {
    kernel::Walk walk;
    walk.oOut = LinesOf(m_oHelper, m_oBox);
    SetPlace(walk, m_oBox);
    walk.uMode = kModeAllChannels;
    return walk;
}

qzILStatus qzILColorGradeImg::RenderConstant(qzILColor const& color) {
    return RunOver(WalkOf(), m_oHelper.Format(), GetRampFlat(),
                   [&]<class T>(As<T> call) { return RampFlat<T>{FlatColor<T>(color, call)}; });
}

void qzILColorGradeImg::DistancesOf(double& least, double& greatest) const {
    double const dx = m_oVector.x, dy = m_oVector.y, length = LengthOf(dx, dy);
    double const left = double(m_oBox.Origin.x) - m_oCenter.x, right = left + m_oBox.Size.x - 1;
    double const low = double(m_oBox.Origin.y) - m_oCenter.y, high = low + m_oBox.Size.y - 1;
    if (m_uType == qzILRampRadial) {
        // Of the point of the region nearest to the centre, deliberately without the ratio, and of the farthest corner.
        auto const nearest = [](double a, double b) { return std::max({a, -b, 0.0}); };
        least = LengthOf(nearest(left, right), nearest(low, high));
        greatest = LengthOf(std::max(-left, right), std::max(-low, high) * m_dfRatio);
        return;
    }
    auto const along = [&](double u, double v) {
        if (m_iAngle % 180 == 0) return dx < 0.0 ? -u : u;
        if (m_iAngle % 180 == 90) return dy < 0.0 ? -v : v;
        return (u * dx + v * m_dfRatio * dy) / length;
    };
    double const corners[] = {along(left, low), along(right, low), along(left, high), along(right, high)};
    least = *std::min_element(std::begin(corners), std::end(corners));
    greatest = *std::max_element(std::begin(corners), std::end(corners));
}

qzILStatus qzILColorGradeImg::RenderGradient() {
    double const length = LengthOf(m_oVector.x, m_oVector.y);
    if (!(length > 0.0) || !std::isfinite(m_dfRatio)) return Fail(length > 0.0 ? Code::GradeRatio : Code::GradeVector);
    double least = 0.0, greatest = 0.0;
    DistancesOf(least, greatest);
    if (least > length) return RenderConstant(StopColor(m_oRamp.GetCount() - 1));
    if (greatest < 0.0) return RenderConstant(StopColor(0));
    double const entries = std::ceil(length);
    // One more on either side for what rounding makes of the corners.
    double const nearest = m_uType == qzILRampRadial ? least * std::min(m_dfRatio, 1.0) : least;
    double const first = std::clamp(std::floor(nearest) - 1.0, 0.0, entries - 1.0);
    double const last = greatest + 1.0 >= length ? entries - 1.0 : std::clamp(std::ceil(greatest), 0.0, entries - 1.0);
    GradeShape const shape = m_uType == qzILRampRadial ? GradeShape::Radial
                             : m_iAngle % 180 == 0     ? GradeShape::AlongX
                             : m_iAngle % 180 == 90    ? GradeShape::AlongY
                                                       : GradeShape::AlongVector;
    std::size_t const count = last - first < kMostEntries ? static_cast<std::size_t>(last - first) + 1 : 0;
    std::unique_ptr<unsigned char[]> table;
    if (count != 0) table.reset(new (std::nothrow) unsigned char[count * m_oHelper.m_uPixelSize]);
    if (!table) return Fail(Code::OutOfMemory);
    Stops const stops{m_oRamp, m_uInvert != 0, entries};
    return RunOver(WalkOf(), m_oHelper.Format(), GetRampEntries(), [&]<class T>(As<T> call) {
        T* const pTable = reinterpret_cast<T*>(table.get());
        stops.Fill(pTable, kernel::SamplesOf(call.eLayout), first, last);
        return RampEntries<T>{shape,
                              double(m_oCenter.x),
                              double(m_oCenter.y),
                              double(m_oVector.x),
                              double(m_oVector.y),
                              m_dfRatio,
                              length,
                              entries - 1.0,
                              first,
                              pTable};
    });
}

qzILStatus qzILColorGradeImg::RenderSquare() {
    qzILVector2l const size(std::abs(std::max(m_oVector.x, -0x7FFFFFFF)), std::abs(std::max(m_oVector.y, -0x7FFFFFFF)));
    if (size.x < 2 || size.y < 2) return Fail(Code::GradeVector);
    double const x = m_oCenter.x + std::min<double>(m_oVector.x, 0.0);
    double const y = m_oCenter.y + std::min<double>(m_oVector.y, 0.0);
    double const left = m_oBox.Origin.x, width = m_oBox.Size.x, low = m_oBox.Origin.y, height = m_oBox.Size.y;
    if (left + width <= x || left >= x + size.x || low + height <= y || low >= y + size.y) {
        // Wholly beyond an edge: the colour of the corner that is nearest to the region's middle.
        bool const right = left + width / 2.0 > x + size.x / 2.0, up = low + height / 2.0 > y + size.y / 2.0;
        return RenderConstant(m_aoCorners[up ? (right ? 1 : 0) : (right ? 2 : 3)]);
    }
    return RunOver(WalkOf(), m_oHelper.Format(), GetRampCorners(), [&]<class T>(As<T>) {
        RampCorners<T> rule{x, y, size.x - 1.0, size.y - 1.0, {}, {}, {}, {}};
        double* const corners[] = {rule.aUpperLeft, rule.aUpperRight, rule.aLowerRight, rule.aLowerLeft};
        for (int i = 0; i < 4; ++i) ValuesOf(m_aoCorners[i], corners[i]);
        return rule;
    });
}
