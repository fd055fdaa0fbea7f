#include "qzil/kernel/commit.h"
#include "qzil/kernel/shapes.h"

#if defined(__SSE2__)
#include <immintrin.h>
#endif

QZIL_ROWS_BEGIN
namespace {

template <class T>
void Gather(T* out, T const* mask, int pixels, int stride) {
    if (stride == 4) {
        ForEach(pixels, [=](int i) { out[i] = mask[i * 4]; });
    } else {
        ForEach(pixels, [=](int i) { out[i] = mask[i * stride]; });
    }
}

template <class T, class Wide, Wide kOnes>
void Repeat(T* out, T const* mask, int pixels, int samples) {
    if (samples == 4) {
        // One multiplication writes the four samples of a pixel.
        ForEach(pixels, [=](int i) {
            Wide const four = static_cast<Wide>(mask[i] * kOnes);
            __builtin_memcpy(out + 4 * i, &four, sizeof four);
        });
    } else {
        ForEach(pixels, [=](int i) { out[i] = mask[i]; });
    }
}

void Repeat32(u32* out, u32 const* mask, int pixels, int samples) {
    if (samples == 4) {
        ForEach(pixels, [=](int i) { out[4 * i] = out[4 * i + 1] = out[4 * i + 2] = out[4 * i + 3] = mask[i]; });
    } else {
        ForEach(pixels, [=](int i) { out[i] = mask[i]; });
    }
}

void Pair8(u8* out, u8 const* mask, int pixels) {
    ForEach(pixels / 2, [=](int i) {
        u8 const m0 = mask[2 * i], m1 = mask[2 * i + 1];
        u8 const mean = static_cast<u8>((m0 + m1) >> 1);
        out[4 * i] = m0;
        out[4 * i + 1] = mean;
        out[4 * i + 2] = m1;
        out[4 * i + 3] = mean;
    });
    if (pixels & 1) {
        out[2 * pixels - 2] = mask[pixels - 1];
        out[2 * pixels - 1] = static_cast<u8>(mask[pixels - 1] >> 1);
    }
}

template <class T>
void Chroma(T* out, T const* mask, int pixels, bool oddX) {
    int const first = oddX && pixels > 0 ? 1 : 0;
    if (first) out[0] = out[1] = mask[0];
    out += 2 * first;
    mask += first;
    pixels -= first;
    ForEach(pixels / 2, [=](int i) {
        out[4 * i] = out[4 * i + 1] = out[4 * i + 2] = mask[2 * i];
        out[4 * i + 3] = mask[2 * i + 1];
    });
    if (pixels & 1) out[2 * pixels - 2] = out[2 * pixels - 1] = mask[pixels - 1];
}

#if defined(__AVX512F__)
constexpr int kVector = 64;
QZIL_INLINE void StreamVector(u8* out, u8 const* from) {
    _mm512_stream_si512(reinterpret_cast<__m512i*>(out), _mm512_loadu_si512(from));
}
#elif defined(__AVX2__)
constexpr int kVector = 32;
QZIL_INLINE void StreamVector(u8* out, u8 const* from) {
    __m256i const value = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(from));
    _mm256_stream_si256(reinterpret_cast<__m256i*>(out), value);
}
#elif defined(__SSE2__)
constexpr int kVector = 16;
QZIL_INLINE void StreamVector(u8* out, u8 const* from) {
    _mm_stream_si128(reinterpret_cast<__m128i*>(out), _mm_loadu_si128(reinterpret_cast<__m128i const*>(from)));
}
#else
constexpr int kVector = 64;
QZIL_INLINE void StreamVector(u8* out, u8 const* from) {
    __builtin_memcpy(out, from, kVector);
}
#endif

void Stream(u8* out, u8 const* from, int bytes) {
    // Streaming stores are aligned ones; the ends of a stretch that is not aligned go the ordinary way.
    int const misaligned = static_cast<int>(reinterpret_cast<__UINTPTR_TYPE__>(out) % kVector);
    int const head = misaligned == 0 ? 0 : Min(kVector - misaligned, bytes);
    for (int i = 0; i < head; ++i) out[i] = from[i];
    int i = head;
    for (; i + kVector <= bytes; i += kVector) StreamVector(out + i, from + i);
    for (; i < bytes; ++i) out[i] = from[i];
}

void Fence() {
#if defined(__SSE2__)
    _mm_sfence();
#endif
}

/// Integer mixes need no test for the ends of the mask: their formulas give both exactly.
template <class T, class Word, class Mix>
QZIL_INLINE void Commit(void* out, void const* pass, void const* result, void const* mask, int samples,
                        Word const* word, Mix mix) {
    T* const o = Out<T>(out);
    T const* const p = In<T>(pass);
    T const* const r = In<T>(result);
    T const* const m = In<T>(mask);
    Lanes<Word> const select(word);
    bool const all = (word[0] & word[1] & word[2] & word[3]) == static_cast<Word>(~Word{0});
    if (!m) {
        ForLanes(samples, [=, &select](int i, int lane) {
            Word const bits = select[lane];
            o[i] = static_cast<T>((static_cast<Word>(r[i]) & bits) | (static_cast<Word>(p[i]) & ~bits));
        });
    } else if (all) {
        ForPairs(samples, [=](int i, int, auto which) {
            Store(which, o + i, Each(mix, Load(which, p + i), Load(which, r + i), Load(which, m + i)));
        });
    } else {
        // The formulas leave a pixel mixed toward itself as it is, so an unselected channel only needs a mask of 0.
        ForPairs(samples, [=, &select](int i, int lane, auto which) {
            auto const kept = Load(which, reinterpret_cast<T const*>(select.At(lane)));
            auto const weight = Each([](auto value, auto bits) { return static_cast<decltype(value)>(value & bits); },
                                     Load(which, m + i), kept);
            Store(which, o + i, Each(mix, Load(which, p + i), Load(which, r + i), weight));
        });
    }
}

void CommitNormMult(void* out, void const* pass, void const* result, void const* mask, int samples, u8 const* word) {
    Commit<u8>(out, pass, result, mask, samples, word, [](u16 p, u16 r, u16 m) { return WideMixNormMult(p, r, m); });
}

void CommitMix257(void* out, void const* pass, void const* result, void const* mask, int samples, u8 const* word) {
    Commit<u8>(out, pass, result, mask, samples, word, [](u16 p, u16 r, u16 m) { return WideMix257(p, r, m); });
}

void CommitUInt16(void* out, void const* pass, void const* result, void const* mask, int samples, u16 const* word) {
    Commit<u16>(out, pass, result, mask, samples, word, [](u32 p, u32 r, u32 m) { return WideMix16(p, r, m); });
}

void CommitS2_14(void* out, void const* pass, void const* result, void const* mask, int samples, u16 const* word) {
    Commit<s16>(out, pass, result, mask, samples, word,
                [](s32 p, s32 r, s32 m) { return WideMixS2_14(p, r, Clamp(m, 0, 16384)); });
}

/// Float keeps its tests, since 0 times infinity is not 0, and selects whole bit patterns.
template <bool kFullIsResult>
void CommitFloat(void* out, void const* pass, void const* result, void const* mask, int samples, u32 const* word) {
    float* const o = Out<float>(out);
    float const* const p = In<float>(pass);
    float const* const r = In<float>(result);
    float const* const m = In<float>(mask);
    Lanes<u32> const select(word);
    if (!m) {
        ForLanes(samples, [=, &select](int i, int lane) { o[i] = select[lane] ? r[i] : p[i]; });
        return;
    }
    ForLanes(samples, [=, &select](int i, int lane) {
        float const weight = m[i] >= 1.0f ? 1.0f : m[i];
        float const mixed = MixFloat(p[i], r[i], weight);
        float const taken = kFullIsResult && m[i] >= 1.0f ? r[i] : mixed;
        o[i] = m[i] <= 0.0f || !select[lane] ? p[i] : taken;
    });
}

}  // namespace

CommitRows const g_oCommitRows{
    Gather<u8>,
    Gather<u16>,
    Gather<u32>,
    Repeat<u8, u32, 0x01010101u>,
    Repeat<u16, u64, 0x0001000100010001u>,
    Repeat32,
    Pair8,
    Chroma<u8>,
    Chroma<u16>,
    Chroma<u32>,
    Stream,
    Fence,
    CommitNormMult,
    CommitMix257,
    CommitUInt16,
    CommitS2_14,
    CommitFloat<false>,
    CommitFloat<true>,
};

QZIL_ROWS_END
