#include "qzil/spatial/box_rows.h"

#include "qzil/kernel/loops.h"
#include "qzil/kernel/vector.h"

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

/// Samples whose sums are held before they are scaled.
constexpr int kHeld = 256;

using Sums = u32 __attribute__((vector_size(kVectorBytes)));
constexpr auto kLanes = IndicesTo<kLanes32>();

/// The lanes moved up by kBy places, with zeros below.
template <int kBy, int... kLane>
QZIL_INLINE Sums MovedUp(Sums v, Indices<kLane...>) {
    return __builtin_shufflevector(v, Sums{}, (kLane < kBy ? kLanes32 + kLane : kLane - kBy)...);
}
/// The last pixel of kStep lanes everywhere.
template <int kStep, int... kLane>
QZIL_INLINE Sums LastPixel(Sums v, Indices<kLane...>) {
    return __builtin_shufflevector(v, v, (kLanes32 - kStep + kLane % kStep)...);
}

template <class Entry>
QZIL_INLINE Sums LoadEntries(Entry const* from) {
    Entry entries[kLanes32];
    __builtin_memcpy(entries, from, sizeof entries);
    Sums v{};
    for (int i = 0; i < kLanes32; ++i) v[i] = static_cast<u32>(entries[i]);
    return v;
}

/// The sums of boxes that begin at the pixels of a vector. A pixel adds what enters its box behind it and takes off
/// itself for those that follow, so that its sum is its own value more than all these together.
template <int kStep>
struct RunningSums {
    Sums before{};  ///< the box of the next pixel, without its last one

    template <class Entry>
    QZIL_INLINE Sums Next(Entry const* entering, Entry const* leaving) {
        Sums const own = LoadEntries(leaving);
        Sums moved = LoadEntries(entering) - own;
        if constexpr (kStep < kLanes32) moved += MovedUp<kStep>(moved, kLanes);
        if constexpr (2 * kStep < kLanes32) moved += MovedUp<2 * kStep>(moved, kLanes);
        if constexpr (4 * kStep < kLanes32) moved += MovedUp<4 * kStep>(moved, kLanes);
        if constexpr (8 * kStep < kLanes32) moved += MovedUp<8 * kStep>(moved, kLanes);
        Sums const sums = before + own + moved;
        before += LastPixel<kStep>(moved, kLanes);
        return sums;
    }
};

template <class Sample, class Sum>
QZIL_INLINE void Scale(Sample* out, Sum const* in, int samples, BoxScale scale) {
    u32 const factor = scale.uFactor;
    float const share = scale.fShare;
    if (sizeof(Sample) == 1 && share != 0.0f) {
        ForEach(samples, [=](int i) {
            out[i] = static_cast<Sample>(static_cast<s32>(static_cast<float>(static_cast<s32>(in[i])) * share + 0.5f));
        });
        return;
    }
    ForEach(samples, [=](int i) {
        if constexpr (Sum(-1) < Sum(0)) {
            out[i] = static_cast<Sample>((static_cast<s64>(in[i]) * factor + 0x80000000) >> 32);
        } else {
            out[i] = static_cast<Sample>((static_cast<u64>(in[i]) * factor + 0x80000000u) >> 32);
        }
    });
}

template <int kStep, class Sum, class Sample, class Entry>
QZIL_INLINE void RunAcross(Sample* out, Entry const* in, int samples, int width, BoxScale scale) {
    RunningSums<kStep> running;
    Entry const* const entering = in + std::ptrdiff_t{width - 1} * kStep;
    u32 first[kStep]{};
    for (int i = 0; i < (width - 1) * kStep; ++i) first[i % kStep] += static_cast<u32>(in[i]);
    for (int i = 0; i < kLanes32; ++i) running.before[i] = first[i % kStep];
    for (int at = 0; at < samples; at += kHeld) {
        Sum sums[kHeld];
        int const count = Min(kHeld, samples - at), whole = count / kLanes32 * kLanes32;
        for (int i = 0; i < whole; i += kLanes32) StoreVector(sums + i, running.Next(entering + at + i, in + at + i));
        if (whole < count) {
            Entry ends[2][kLanes32]{};
            for (int i = whole; i < count; ++i) {
                ends[0][i - whole] = entering[at + i];
                ends[1][i - whole] = in[at + i];
            }
            StoreVector(sums + whole, running.Next(ends[0], ends[1]));
        }
        if (count == kHeld) {
            Scale(out + at, sums, kHeld, scale);
        } else {
            Scale(out + at, sums, count, scale);
        }
    }
}

template <class Sample, class Entry, class Sum>
void Across(Sample* out, Entry const* in, int pixels, int step, int width, BoxScale scale) {
    if (step == 4) {
        RunAcross<4, Sum>(out, in, 4 * pixels, width, scale);
    } else {
        RunAcross<1, Sum>(out, in, pixels, width, scale);
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

template <class Sample, class Entry, class Sum>
constexpr BoxFunctions<Sample, Entry> kBox{Down<Sample, Entry>, Across<Sample, Entry, Sum>};

}  // namespace

BoxRows const g_oBoxRows{
    kBox<u8, u16, u32>, kBox<u8, u32, u32>, kBox<u16, u32, u32>, kBox<s16, s32, s32>, Down<float, float>, AcrossFloat,
};

QZIL_ROWS_END
