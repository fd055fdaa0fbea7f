#pragma once

#include "qzil/frame/sink.h"
#include "qzil/image/formats.h"

#include <memory>

/// Bins of equal width over a range of values. Counts are floats: a bin stands still at 2^24.
///
/// The bin of a value v is trunc((v - lower) / width); values below the range count in the first bin, those above it in
/// the last one, and so does the upper bound itself where the width divides the range. NaN counts in the first bin.
class QZIL_API qzILHistogram {
public:
    QZIL_CLASS_NAME(qzILHistogram)
    virtual char const* GetActualClassName() const { return m_ClassName; }

    qzILHistogram() { Init(); }
    /// Without memory for the bins the copy is empty.
    qzILHistogram(qzILHistogram const& other) : qzILHistogram() { (void)Copy(other); }
    qzILHistogram& operator=(qzILHistogram const& other) {
        if (this != &other) (void)Copy(other);
        return *this;
    }
    virtual ~qzILHistogram() = default;

    void Init();
    void Trash() { Reset(); }
    /// -1, and an empty histogram, without memory for the bins.
    [[nodiscard]] qzILStatus Copy(qzILHistogram const& other);
    /// A copy that the caller deletes; null without memory.
    qzILHistogram* Clone() const;
    /// 1, or -1 for a range that GetSizeFromRange refuses, with the old bins untouched, and without memory, with none.
    [[nodiscard]] qzILStatus SetHistoRange(double width, double lower, double upper);
    /// The number of bins, (upper - lower) / width rounded up. -1 for a width that is not above 0 or not below the
    /// whole range, and for 65535 bins or more.
    static qzILStatus GetSizeFromRange(double width, double lower, double upper, unsigned short& size);
    /// 1 when there are as many bins as the range asks for.
    qzILStatus Verify() const;
    /// Sets all bins to 0.
    void ClearAll();
    /// Frees the bins.
    void Reset();
    /// Divides all bins by a count, and finds the two largest. -1 for 0.
    qzILStatus Normalize(unsigned count);
    /// Finds the largest and the second largest bin; one equal to the largest is no second.
    void CalHistStats();

    unsigned short GetSize() const { return m_uSize; }
    float const* GetBins() const { return m_pBins.get(); }
    float* GetBins() { return m_pBins.get(); }
    double GetBinWidth() const { return m_dfWidth; }
    double GetInverseWidth() const { return m_dfInverseWidth; }
    double GetUpperBound() const { return m_dfUpper; }
    double GetLowerBound() const { return m_dfLower; }
    float GetLargest() const { return m_fLargest; }
    float GetSecondLargest() const { return m_fSecondLargest; }

private:
    unsigned short m_uSize;
    std::unique_ptr<float[]> m_pBins;
    double m_dfWidth;
    double m_dfInverseWidth;
    double m_dfUpper;
    double m_dfLower;
    float m_fLargest;
    float m_fSecondLargest;
};

/// Fills histograms from an image of floats: those of its channels, of the average of channels 0 to 2, of luma, and of
/// the swing of the composite signal, -30 to 110 IRE as 0 to 1, which gets two counts of every pixel. They end as
/// shares of the pixels counted. Pixels whose mask value is below 0, or not a number, do not count; 4:2:2 takes no
/// mask. Lines go from the region's first to the one before its height, as a number: a region that begins above line 0
/// is shorter by as much. Interrupted after each line.
///
/// Verify adds: -1 without a code for a format other than MFIF_RGBA_FLOAT, MFIF_CbYCrYA_FLOAT and
/// MFIF_CbYCrY709A_FLOAT, and for a histogram without its bins (but m_pChannel3); 0x1006B for a matrix that does not
/// suit the format.
class QZIL_API qzILHistoImg : public qzILMonadicSinkPixelProc {
    QZIL_EFFECT_CLASS(qzILHistoImg)
public:
    qzILHistoImg() { Init(); }
    static std::span<GUID const> GetFormats();
    qzILStatus Verify() override;
    qzILStatus DoEffect() override;
    void BuildHistogramRGBAFLOAT() { Count(); }
    void BuildHistogramRGBAFLOAT_NoMask() { Count(); }
    void BuildHistogramYCC422FLOAT_NoMask() { Count(); }

    void Init();
    void Trash() {}

    qzILHistogram* m_pChannel0;  ///< none is owned; those that are null are not filled
    qzILHistogram* m_pChannel1;
    qzILHistogram* m_pChannel2;
    qzILHistogram* m_pChannel3;  ///< alpha
    qzILHistogram* m_pAverage;
    qzILHistogram* m_pLuma;
    qzILHistogram* m_pComposite;
    unsigned int m_uMatrix;  ///< 64 Rec. 601, the default, 512 Rec. 709, 0 that of a YCC format
    float m_fSetup;          ///< of the composite signal, in IRE; 7.5 at first

private:
    static constexpr int kHistograms = 7;
    void GetHistograms(qzILHistogram* (&all)[kHistograms]) const;
    bool Uses709() const;
    /// Counts the processed box.
    qzILStatus Count();
};
