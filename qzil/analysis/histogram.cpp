#include "qzil/analysis/histogram.h"

#include "qzil/analysis/histogram_rows.h"
#include "qzil/frame/run.h"
#include "qzil/image/image_ops.h"

#include <algorithm>
#include <cmath>
#include <new>

using namespace qzil;

void qzILHistogram::Init() {
    m_uSize = 0;
    m_pBins.reset();
    m_dfWidth = m_dfInverseWidth = m_dfUpper = m_dfLower = 0.0;
    m_fLargest = m_fSecondLargest = 0.0f;
}

void qzILHistogram::Reset() {
    Init();
}

qzILStatus qzILHistogram::Copy(qzILHistogram const& other) {
    if (this == &other) return 1;
    Reset();
    if (other.m_pBins) {
        m_pBins.reset(new (std::nothrow) float[other.m_uSize]);
        if (!m_pBins) return -1;
        std::copy_n(other.m_pBins.get(), other.m_uSize, m_pBins.get());
    }
    m_uSize = other.m_uSize;
    m_dfWidth = other.m_dfWidth;
    m_dfInverseWidth = other.m_dfInverseWidth;
    m_dfUpper = other.m_dfUpper;
    m_dfLower = other.m_dfLower;
    m_fLargest = other.m_fLargest;
    m_fSecondLargest = other.m_fSecondLargest;
    return 1;
}

qzILHistogram* qzILHistogram::Clone() const {
    std::unique_ptr<qzILHistogram> clone(new (std::nothrow) qzILHistogram);
    return clone && clone->Copy(*this) == 1 ? clone.release() : nullptr;
}

qzILStatus qzILHistogram::GetSizeFromRange(double width, double lower, double upper, unsigned short& size) {
    if (width <= 0.0 || width >= upper - lower) return -1;
    double const bins = (upper - lower) / width;
    if (!(bins < 65535.0)) return -1;
    // Also where rounding, or an infinite width, makes the quotient less than a bin.
    size = static_cast<unsigned short>(std::max(std::ceil(bins), 1.0));
    return 1;
}

qzILStatus qzILHistogram::SetHistoRange(double width, double lower, double upper) {
    unsigned short size = 0;
    if (GetSizeFromRange(width, lower, upper, size) != 1) return -1;
    m_uSize = 0;
    m_pBins.reset(new (std::nothrow) float[size]);
    if (!m_pBins) return -1;
    m_uSize = size;
    m_dfWidth = width;
    m_dfInverseWidth = 1.0 / width;
    m_dfUpper = upper;
    m_dfLower = lower;
    ClearAll();
    return 1;
}

qzILStatus qzILHistogram::Verify() const {
    unsigned short size = 0;
    return GetSizeFromRange(m_dfWidth, m_dfLower, m_dfUpper, size) == 1 && m_pBins && size == m_uSize ? 1 : -1;
}

void qzILHistogram::ClearAll() {
    std::fill_n(m_pBins.get(), m_uSize, 0.0f);
    m_fLargest = m_fSecondLargest = 0.0f;
}

qzILStatus qzILHistogram::Normalize(unsigned count) {
    if (count == 0) return -1;
    auto const share = static_cast<float>(1.0 / count);
    for (int i = 0; i < m_uSize; ++i) m_pBins[static_cast<std::size_t>(i)] *= share;
    CalHistStats();
    return 1;
}

void qzILHistogram::CalHistStats() {
    m_fLargest = m_fSecondLargest = 0.0f;
    for (std::size_t i = m_uSize; i-- > 0;) {
        if (m_pBins[i] > m_fLargest) {
            m_fSecondLargest = m_fLargest;
            m_fLargest = m_pBins[i];
        } else if (m_pBins[i] > m_fSecondLargest && m_pBins[i] < m_fLargest) {
            m_fSecondLargest = m_pBins[i];
        }
    }
}

namespace {

constexpr GUID kFormats[] = {MFIF_CbYCrYA_FLOAT, MFIF_CbYCrY709A_FLOAT, MFIF_RGBA_FLOAT};

Bins BinsOf(qzILHistogram* histogram) {
    if (!histogram || !histogram->GetBins()) return {};
    return {histogram->GetBins(), histogram->GetSize() - 1u, histogram->GetLowerBound(), histogram->GetUpperBound(),
            histogram->GetInverseWidth()};
}

}  // namespace

void qzILHistoImg::Init() {
    m_pChannel0 = m_pChannel1 = m_pChannel2 = m_pChannel3 = m_pAverage = m_pLuma = m_pComposite = nullptr;
    m_uMatrix = XFColorModelYCC601;
    m_fSetup = 7.5f;
}

FormatList qzILHistoImg::GetFormats() {
    return kFormats;
}

void qzILHistoImg::GetHistograms(qzILHistogram* (&all)[kHistograms]) const {
    qzILHistogram* const present[kHistograms] = {m_pChannel0, m_pChannel1,  m_pChannel2, m_pAverage,
                                                 m_pLuma,     m_pComposite, m_pChannel3};
    std::copy_n(present, kHistograms, all);
}

qzILStatus qzILHistoImg::Verify() {
    if (qzILStatus const status = qzILMonadicSinkPixelProc::Verify(); status != 1) return status;
    FormatRow const& format = RowOf(FormatOf(m_pInputImg));
    if (!Contains(kFormats, format.oFormat)) return -1;
    qzILHistogram* all[kHistograms];
    GetHistograms(all);
    for (qzILHistogram* const pOne : all) {
        if (pOne && pOne != m_pChannel3 && pOne->Verify() != 1) return -1;
    }
    bool const fits = m_uMatrix == 0                    ? format.IsYcc()
                      : m_uMatrix == XFColorModelYCC601 ? format.Is601() || !format.IsYcc()
                      : m_uMatrix == XFColorModelYCC709 ? format.Is709() || !format.IsYcc()
                                                        : false;
    return fits ? 1 : Fail(Code::ColorModel);
}

bool qzILHistoImg::Uses709() const {
    return m_uMatrix == XFColorModelYCC709 || (m_uMatrix == 0 && m_oInputHelper.Format().Is709());
}

qzILStatus qzILHistoImg::DoEffect() {
    return Count();
}

qzILStatus qzILHistoImg::Count() {
    if (!Contains(kFormats, m_oInputHelper.m_oFormat)) return 1;
    qzILHistogram* all[kHistograms];
    GetHistograms(all);
    for (qzILHistogram* const pOne : all) {
        if (pOne) pOne->ClearAll();
    }
    // The height counts as a number, deliberately.
    m_oProcessedBox.Size.y = std::max(m_oProcessedBox.Size.y - m_oProcessedBox.Origin.y, 0);
    HistogramBins bins{BinsOf(m_pChannel0), BinsOf(m_pChannel1), BinsOf(m_pChannel2), BinsOf(m_pChannel3),
                       BinsOf(m_pAverage),  BinsOf(m_pLuma),     BinsOf(m_pComposite)};
    u32 count = 0;
    bool const b709 = Uses709();
    FormatRow const& format = m_oInputHelper.Format();
    kernel::Walk walk;
    if (qzILStatus const status = PrepareWalk(walk, !format.IsYcc()); status != 1) return status;
    if (format.IsYcc()) {
        auto const matrix = b709 ? qzILColor::s_dfArrayYCCA709toRGBA : qzILColor::s_dfArrayYCCAtoRGBA;
        RunOver(walk, format, GetCountPairs(), [&]<class T>(As<T>) {
            return CountPairs<T>{&bins, &count, matrix, m_fSetup};
        });
    } else {
        auto const matrix = b709 ? qzILColor::s_dfArrayRGBAtoYCCA709 : qzILColor::s_dfArrayRGBAtoYCCA;
        RunOver(walk, format, GetCountPixels(), [&]<class T>(As<T>) {
            return CountPixels<T>{&bins, &count, matrix, b709, m_fSetup};
        });
    }
    for (qzILHistogram* const pOne : all) {
        if (pOne && count > 0) pOne->Normalize(count);
    }
    return 1;
}
