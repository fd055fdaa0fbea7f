#include "qzil/spatial/blur_makers.h"
#include "qzil/spatial/box_rows.h"

#include <cmath>
#include <vector>

namespace qzil {
namespace {

/// Sums that fit, by the row functions.
template <class Sample, class Entry>
struct NarrowSums {
    using Sum = Entry;
    BoxFunctions<Sample, Sum> const& oRows;
    BoxScale oScale;

    void Down(Sum* sums, Sum* before, Sample const* entering, Sample const* leaving, int samples) const {
        oRows.pDown(sums, before, entering, leaving, samples);
    }
    void Across(Sample* out, Sum const* in, int pixels, int step, int width) const {
        oRows.pAcross(out, in, pixels, step, width, oScale);
    }
};

struct FloatSums {
    using Sum = float;
    float fFactor;

    void Down(float* sums, float* before, float const* entering, float const* leaving, int samples) const {
        GetBoxRows().pDownFloat(sums, before, entering, leaving, samples);
    }
    void Across(float* out, float const* in, int pixels, int step, int width) const {
        GetBoxRows().pAcrossFloat(out, in, pixels, step, width, fFactor);
    }
};

/// For rectangles whose sums need more.
template <class Sample>
struct WideSums {
    using Sum = s64;
    u64 uFactor;

    void Down(s64* sums, s64* before, Sample const* entering, Sample const* leaving, int samples) const {
        for (int i = 0; i < samples; ++i) {
            sums[i] = before[i] + entering[i];
            before[i] = sums[i] - leaving[i];
        }
    }
    void Across(Sample* out, s64 const* in, int pixels, int step, int width) const {
        for (int k = 0; k < step; ++k) {
            s64 sum = 0;
            for (int i = 0; i < width - 1; ++i) sum += in[i * step + k];
            for (int x = 0; x < pixels; ++x) {
                sum += in[(x + width - 1) * step + k];
                out[x * step + k] = static_cast<Sample>((static_cast<s64>(uFactor) * sum + 0x80000000) >> 32);
                sum -= in[x * step + k];
            }
        }
    }
};

template <class Sample, class Sums>
class BoxMaker final : public kernel::LineMaker {
    using Sum = typename Sums::Sum;

public:
    BoxMaker(MarginLines const& lines, int width, int height, Sums const& sums)
        : m_oLines(lines),
          m_iWidth(width),
          m_iHeight(height),
          m_oSums(sums),
          m_aBefore(static_cast<std::size_t>(lines.iSamples)),
          m_aDown(static_cast<std::size_t>(lines.iSamples)) {
        std::vector<Sample> const nothing(static_cast<std::size_t>(lines.iSamples));
        for (int line = 0; line < height - 1; ++line) {
            m_oSums.Down(m_aDown.data(), m_aBefore.data(), LineOf(line), nothing.data(), lines.iSamples);
        }
    }

    void Make(int first, int count, unsigned char* out, std::ptrdiff_t step) override {
        for (int k = 0; k < count; ++k, out += step) {
            SumDown(m_oLines.ActiveLine(first + k));
            m_oSums.Across(reinterpret_cast<Sample*>(out), m_aDown.data(),
                           m_oLines.iActiveSamples / m_oLines.iPixelSamples, m_oLines.iPixelSamples, m_iWidth);
        }
    }

private:
    Sample const* LineOf(int line) { return reinterpret_cast<Sample const*>(m_oLines.oSource.Line(line, m_iHeight)); }

    /// The sums of the columns of an output line; lines in between are passed.
    void SumDown(int line) {
        for (; m_iNext <= line; ++m_iNext) {
            m_oSums.Down(m_aDown.data(), m_aBefore.data(), LineOf(m_iNext + m_iHeight - 1), LineOf(m_iNext),
                         m_oLines.iSamples);
        }
    }

    MarginLines m_oLines;
    int m_iWidth;
    int m_iHeight;
    Sums m_oSums;
    std::vector<Sum> m_aBefore;  ///< the sums of the next line, without the sample that enters
    std::vector<Sum> m_aDown;
    int m_iNext = 0;  ///< active line
};

/// The share by which floats give the mean of every sum of 8-bit samples, or 0. Both means grow with the sum: they are
/// equal when each value begins with the same one.
float ShareFor(u64 area, u64 factor) {
    if (255 * area >= (1u << 24)) return 0.0f;
    float const share = static_cast<float>(1.0 / static_cast<double>(area));
    for (u64 value = 1; value <= 255; ++value) {
        u64 const first = ((value << 32) - 0x80000000u + factor - 1) / factor;
        auto const mean = [&](u64 sum) { return static_cast<u64>(static_cast<float>(sum) * share + 0.5f); };
        if (mean(first) != value || mean(first - 1) != value - 1) return 0.0f;
    }
    return share;
}

template <class Sample>
std::unique_ptr<kernel::LineMaker> MakeIntegerMaker(BoxRows const& rows, MarginLines const& lines, int width,
                                                    int height) {
    u64 const area = static_cast<u64>(width) * static_cast<u64>(height);
    u64 const factor = static_cast<u64>(std::floor(4294967296.0 / static_cast<double>(area) + 0.5));
    auto const make = [&]<class Sum>(BoxFunctions<Sample, Sum> const& functions) {
        NarrowSums<Sample, Sum> const sums{functions, {static_cast<u32>(factor), ShareFor(area, factor)}};
        return std::make_unique<BoxMaker<Sample, NarrowSums<Sample, Sum>>>(lines, width, height, sums);
    };
    // The largest samples then sum to less than 32 bits hold, or 31 and a sign.
    if (area > 1 && area < (u64{1} << (sizeof(Sample) == 1 ? 24 : 16))) {
        if constexpr (std::is_same_v<Sample, u8>) {
            if (height <= 257) return make(rows.oLowUInt8);
            return make(rows.oUInt8);
        }
        if constexpr (std::is_same_v<Sample, u16>) return make(rows.oUInt16);
        if constexpr (std::is_same_v<Sample, s16>) return make(rows.oS2_14);
    }
    return std::make_unique<BoxMaker<Sample, WideSums<Sample>>>(lines, width, height, WideSums<Sample>{factor});
}

}  // namespace

template <class T>
std::unique_ptr<kernel::LineMaker> MakeBoxMaker(MarginLines const& lines, int width, int height) {
    if constexpr (std::is_same_v<T, float>) {
        FloatSums const sums{static_cast<float>(1.0 / (static_cast<double>(width) * height))};
        return std::make_unique<BoxMaker<float, FloatSums>>(lines, width, height, sums);
    } else {
        return MakeIntegerMaker<T>(GetBoxRows(), lines, width, height);
    }
}

template std::unique_ptr<kernel::LineMaker> MakeBoxMaker<u8>(MarginLines const&, int, int);
template std::unique_ptr<kernel::LineMaker> MakeBoxMaker<u16>(MarginLines const&, int, int);
template std::unique_ptr<kernel::LineMaker> MakeBoxMaker<s16>(MarginLines const&, int, int);
template std::unique_ptr<kernel::LineMaker> MakeBoxMaker<float>(MarginLines const&, int, int);

}  // namespace qzil
