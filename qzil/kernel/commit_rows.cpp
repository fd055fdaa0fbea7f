#include "qzil/kernel/commit.h"
#include "qzil/kernel/loops.h"

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

/// Both values of a pixel are written as one word.
template <class Value, class T, class Both>
void RepeatPairs(Value* out, T const* mask, int pixels) {
    constexpr int kBits = 8 * sizeof(Value);
    ForEach(pixels, [=](int i) {
        Both const value =
            static_cast<Value>(mask[i]) & static_cast<Both>(static_cast<std::make_unsigned_t<Value>>(~0));
        Both const two = value | value << kBits;
        __builtin_memcpy(out + 2 * i, &two, sizeof two);
    });
}

void Repeat32(u32* out, u32 const* mask, int pixels) {
    ForEach(pixels, [=](int i) { out[4 * i] = out[4 * i + 1] = out[4 * i + 2] = out[4 * i + 3] = mask[i]; });
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
QZIL_INLINE void Commit(kernel::CommitArgs const& args, Word const* word, Mix mix) {
    T* const o = Out<T>(args.pOut);
    T const* const p = In<T>(args.pPass);
    T const* const r = In<T>(args.pResult);
    void const* const mask = args.pMask;
    int const samples = args.iSamples;
    if (!mask) {
        Lanes<Word> const select(word);
        ForLanes(samples, [=, &select](int i, int lane) {
            Word const bits = select[lane];
            o[i] = static_cast<T>((static_cast<Word>(r[i]) & bits) | (static_cast<Word>(p[i]) & ~bits));
        });
        return;
    }
    bool const all = (word[0] & word[1] & word[2] & word[3]) == static_cast<Word>(~Word{0});
    auto const run = [&](auto layout) {
        auto const mixed = [=](PairPlace at, auto which) {
            return ApplyToPair(mix, Load(which, p + at.i), Load(which, r + at.i), LoadMask<T>(which, layout, mask, at));
        };
        if (all) {
            ForSamplePairs(samples, [=](PairPlace at, auto which) { Store(which, o + at.i, mixed(at, which)); });
        } else {
            Lanes<Word> const select(word);
            ForSamplePairs(samples, [=, &select](PairPlace at, auto which) {
                auto const* const bits = reinterpret_cast<T const*>(select.At(at.iLane));
                StoreSelected(which, o + at.i, mixed(at, which), p + at.i, bits);
            });
        }
    };
    if (args.bMaskPerPair) {
        run(PerPair{});
    } else {
        run(PerSample{});
    }
}

void CommitNormMult(kernel::CommitArgs const& args, u8 const* word) {
    Commit<u8>(args, word, [](u16 p, u16 r, u16 m) { return WideMixNormMult(p, r, m); });
}

void CommitMix257(kernel::CommitArgs const& args, u8 const* word) {
    Commit<u8>(args, word, [](u16 p, u16 r, u16 m) { return WideMix257(p, r, m); });
}

void CommitUInt16(kernel::CommitArgs const& args, u16 const* word) {
    Commit<u16>(args, word, [](u32 p, u32 r, u32 m) { return WideMix16(p, r, m); });
}

void CommitS2_14(kernel::CommitArgs const& args, u16 const* word) {
    Commit<s16>(args, word, [](s32 p, s32 r, s32 m) { return WideMixS2_14(p, r, Clamp(m, 0, 16384)); });
}

/// Float keeps its tests, since 0 times infinity is not 0, and selects whole bit patterns. A full mask takes the result
/// itself, or else mixes by 1; one that is no number may count as full.
template <bool kFullIsResult, bool kNanIsFull>
void CommitFloat(kernel::CommitArgs const& args, u32 const* word) {
    float* const o = Out<float>(args.pOut);
    float const* const p = In<float>(args.pPass);
    float const* const r = In<float>(args.pResult);
    float const* const m = In<float>(args.pMask);
    int const samples = args.iSamples;
    Lanes<u32> const select(word);
    if (!m) {
        ForLanes(samples, [=, &select](int i, int lane) { o[i] = select[lane] ? r[i] : p[i]; });
        return;
    }
    ForLanes(samples, [=, &select](int i, int lane) {
        float const weight = m[i] >= 1.0f ? 1.0f : m[i];
        float const mixed = MixFloat(p[i], r[i], weight);
        bool const full = kNanIsFull ? !(m[i] < 1.0f) : m[i] >= 1.0f;
        float const taken = kFullIsResult && full ? r[i] : mixed;
        o[i] = m[i] <= 0.0f || !select[lane] ? p[i] : taken;
    });
}

}  // namespace

CommitRows const g_oCommitRows{
    Gather<u8>,
    Gather<u16>,
    Gather<u32>,
    RepeatPairs<u16, u8, u32>,
    RepeatPairs<u32, u16, u64>,
    RepeatPairs<s32, s16, u64>,
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
    CommitFloat<false, false>,
    CommitFloat<true, false>,
    CommitFloat<true, true>,
};

QZIL_ROWS_END
