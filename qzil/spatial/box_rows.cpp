#include "qzil/spatial/box_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN
namespace {

template <class Sample, class Sum>
void Down(Sum* sums, Sum* before, Sample const* entering, Sample const* leaving, int samples) {
    ForEach(samples, [=](int i) {
        Sum const sum = static_cast<Sum>(before[i] + static_cast<Sum>(entering[i]));
        sums[i] = sum;
        before[i] = static_cast<Sum>(sum - static_cast<Sum>(leaving[i]));
    });
}

/// Pixels whose sums are held before they are scaled.
constexpr int kPixels = 64;

/// Four sums in one register.
template <class Sum>
struct FourOf;
template <>
struct FourOf<u32> {
    using Type = u32 __attribute__((vector_size(16)));
};
template <>
struct FourOf<s32> {
    using Type = s32 __attribute__((vector_size(16)));
};

/// The entries of a pixel, widened.
template <class Sum>
struct One {
    Sum value;
    template <class Entry>
    QZIL_INLINE static One Of(Entry const* p) {
        return {static_cast<Sum>(*p)};
    }
    QZIL_INLINE void Move(One entering, One leaving) { value += entering.value - leaving.value; }
    static constexpr int kStep = 1;
};
template <class Sum>
struct Four {
    using Register = typename FourOf<Sum>::Type;
    Register value;
    template <class Entry>
    QZIL_INLINE static Four Of(Entry const* p) {
        Four four;
        four.value =
            Register{static_cast<Sum>(p[0]), static_cast<Sum>(p[1]), static_cast<Sum>(p[2]), static_cast<Sum>(p[3])};
        return four;
    }
    QZIL_INLINE void Move(Four entering, Four leaving) { value += entering.value - leaving.value; }
    static constexpr int kStep = 4;
};

template <class Sample, class Sum>
QZIL_INLINE void Scale(Sample* out, Sum const* in, int samples, u32 factor) {
    ForEach(samples, [=](int i) {
        if constexpr (Sum(-1) < Sum(0)) {
            out[i] = static_cast<Sample>((static_cast<s64>(in[i]) * factor + 0x80000000) >> 32);
        } else {
            out[i] = static_cast<Sample>((static_cast<u64>(in[i]) * factor + 0x80000000u) >> 32);
        }
    });
}

/// One addition leads from a sum to the next: what enters and leaves is put together beforehand.
template <class Pixel, class Sum, class Sample, class Entry>
QZIL_INLINE void RunAcross(Sample* out, Entry const* in, int pixels, int width, u32 factor) {
    constexpr int kStep = Pixel::kStep;
    Pixel sum{};
    for (int i = 0; i < width - 1; ++i) sum.Move(Pixel::Of(in + i * kStep), Pixel{});
    Entry const* const entering = in + std::ptrdiff_t{width - 1} * kStep;
    Pixel leaving{};
    for (int x = 0; x < pixels; x += kPixels) {
        Sum sums[kPixels * kStep];
        int const count = Min(kPixels, pixels - x);
        for (int i = 0; i < count; ++i) {
            sum.Move(Pixel::Of(entering + (x + i) * kStep), leaving);
            leaving = Pixel::Of(in + (x + i) * kStep);
            __builtin_memcpy(sums + i * kStep, &sum, sizeof sum);
        }
        if (count == kPixels) {
            Scale(out + x * kStep, sums, kPixels * kStep, factor);
        } else {
            Scale(out + x * kStep, sums, count * kStep, factor);
        }
    }
}

template <class Sample, class Entry, class Sum>
void Across(Sample* out, Entry const* in, int pixels, int step, int width, u32 factor) {
    if (step == 4) {
        RunAcross<Four<Sum>, Sum>(out, in, pixels, width, factor);
    } else {
        RunAcross<One<Sum>, Sum>(out, in, pixels, width, factor);
    }
}

/// In this order alone: every sum of floats is rounded.
template <int kStep>
QZIL_INLINE void RunAcrossFloat(float* out, float const* in, int pixels, int width, float factor) {
    float sums[kStep]{};
    for (int i = 0; i < width - 1; ++i) {
        for (int k = 0; k < kStep; ++k) sums[k] += in[i * kStep + k];
    }
    float const* const entering = in + std::ptrdiff_t{width - 1} * kStep;
    for (int x = 0; x < pixels; ++x) {
        for (int k = 0; k < kStep; ++k) {
            sums[k] += entering[x * kStep + k];
            out[x * kStep + k] = factor * sums[k];
            sums[k] -= in[x * kStep + k];
        }
    }
}

void AcrossFloat(float* out, float const* in, int pixels, int step, int width, float factor) {
    if (step == 4) {
        RunAcrossFloat<4>(out, in, pixels, width, factor);
    } else {
        RunAcrossFloat<1>(out, in, pixels, width, factor);
    }
}

template <class Sum>
void Join4(Sum* out, Sum const* in, std::ptrdiff_t step, int samples) {
    ForEach(samples, [=](int i) {
        for (int k = 0; k < 4; ++k) out[4 * i + k] = in[k * step + i];
    });
}

template <class Sample>
void Split4(Sample* out, std::ptrdiff_t step, Sample const* in, int samples) {
    ForEach(samples, [=](int i) {
        for (int k = 0; k < 4; ++k) out[k * step + i] = in[4 * i + k];
    });
}

template <class Sample, class Entry, class Sum>
constexpr BoxFunctions<Sample, Entry> kBox{Down<Sample, Entry>, Across<Sample, Entry, Sum>, Join4<Entry>,
                                           Split4<Sample>};

}  // namespace

BoxRows const g_oBoxRows{
    kBox<u8, u16, u32>, kBox<u8, u32, u32>, kBox<u16, u32, u32>, kBox<s16, s32, s32>, Down<float, float>, AcrossFloat,
};

QZIL_ROWS_END
