#include "qzil/spatial/box_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN
namespace {

template <class Sample, class Sum>
void Down(Sum* sums, Sum* before, Sample const* entering, Sample const* leaving, int samples) {
    ForEach(samples, [=](int i) {
        Sum const sum = before[i] + static_cast<Sum>(entering[i]);
        sums[i] = sum;
        before[i] = sum - static_cast<Sum>(leaving[i]);
    });
}

/// kStep entries of a pixel at a time, in one register.
template <class Sum, int kStep>
QZIL_INLINE void RunAcross(Sum* out, Sum const* in, int pixels, int width) {
    Sum sums[kStep]{};
    for (int i = 0; i < width - 1; ++i) {
        for (int k = 0; k < kStep; ++k) sums[k] += in[i * kStep + k];
    }
    Sum const* const entering = in + std::ptrdiff_t{width - 1} * kStep;
    for (int x = 0; x < pixels; ++x) {
        for (int k = 0; k < kStep; ++k) {
            sums[k] += entering[x * kStep + k];
            out[x * kStep + k] = sums[k];
            sums[k] -= in[x * kStep + k];
        }
    }
}

template <class Sum>
void Across(Sum* out, Sum const* in, int pixels, int step, int width) {
    if (step == 4) {
        RunAcross<Sum, 4>(out, in, pixels, width);
    } else {
        RunAcross<Sum, 1>(out, in, pixels, width);
    }
}

template <class Sample, class Sum>
void Scale(Sample* out, Sum const* in, int samples, u32 factor) {
    ForEach(samples, [=](int i) {
        if constexpr (Sum(-1) < Sum(0)) {
            out[i] = static_cast<Sample>((static_cast<s64>(in[i]) * factor + 0x80000000) >> 32);
        } else {
            out[i] = static_cast<Sample>((static_cast<u64>(in[i]) * factor + 0x80000000u) >> 32);
        }
    });
}

void ScaleFloat(float* out, float const* in, int samples, float factor) {
    ForEach(samples, [=](int i) { out[i] = factor * in[i]; });
}

void Join4(u32* out, u32 const* in, std::ptrdiff_t step, int samples) {
    ForEach(samples, [=](int i) {
        for (int k = 0; k < 4; ++k) out[4 * i + k] = in[k * step + i];
    });
}

void Split4(u8* out, std::ptrdiff_t step, u8 const* in, int samples) {
    ForEach(samples, [=](int i) {
        for (int k = 0; k < 4; ++k) out[k * step + i] = in[4 * i + k];
    });
}

template <class Sample, class Sum>
constexpr BoxFunctions<Sample, Sum> kBox{Down<Sample, Sum>, Across<Sum>, Scale<Sample, Sum>};

}  // namespace

BoxRows const g_oBoxRows{
    kBox<u8, u32>, kBox<u16, u32>, kBox<s16, s32>, Down<float, float>, Across<float>, ScaleFloat, Join4, Split4,
};

QZIL_ROWS_END
