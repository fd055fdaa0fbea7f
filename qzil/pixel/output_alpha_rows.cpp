#include "qzil/pixel/output_alpha_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN
namespace {

using kernel::Row;

QZIL_INLINE u8 Reverse(u8 v) {
    return static_cast<u8>(~v);
}
QZIL_INLINE u16 Reverse(u16 v) {
    return static_cast<u16>(~v);
}
QZIL_INLINE s16 Reverse(s16 v) {
    return ClampS16(16384 - v);
}
QZIL_INLINE float Reverse(float v) {
    return 1.0f - v;
}

/// Full range to the range of video luma.
QZIL_INLINE u8 Luma(u8 v) {
    return static_cast<u8>((v * 56283u + 0x108000u) >> 16);
}
QZIL_INLINE u16 Luma(u16 v) {
    return static_cast<u16>((v * 56284u + 269516800u) >> 16);
}
QZIL_INLINE s16 Luma(s16 v) {
    return v;
}
QZIL_INLINE float Luma(float v) {
    return v;
}

template <class T>
constexpr T kNeutral{};
template <>
constexpr u8 kNeutral<u8> = 128;
template <>
constexpr u16 kNeutral<u16> = 32768;

template <class T>
void ProcessRGBA(Row const& row, OutputAlphaAttributes const& c) {
    T* const out = Out<T>(row.pOut);
    T const* const in = In<T>(row.pA);
    bool const reverse = c.bReverse, shown = c.bShown;
    T const fixed = c.bFull ? qzILFormat<T>::kFull : T{0};
    ForEach(row.iPixels, [=](int i) {
        T const alpha = in[4 * i + 3];
        T const v = reverse ? Reverse(alpha) : alpha;
        out[4 * i] = out[4 * i + 1] = out[4 * i + 2] = v;
        out[4 * i + 3] = shown ? v : fixed;
    });
}

template <class T>
void ProcessYUVA422(Row const& row, OutputAlphaAttributes const& c) {
    T* const out = Out<T>(row.pOut);
    T* const alphaOut = Out<T>(row.pAlphaOut);
    T const* const in = In<T>(row.pAlphaIn);
    bool const reverse = c.bReverse, shown = c.bShown;
    T const fixed = c.bFull ? qzILFormat<T>::kFull : T{0};
    int const luma = c.iLuma, chroma = 1 - c.iLuma;
    ForEach(row.iPixels, [=](int i) {
        T const alpha = in[i];
        T const v = reverse ? Reverse(alpha) : alpha;
        out[2 * i + luma] = Luma(v);
        out[2 * i + chroma] = kNeutral<T>;
        alphaOut[i] = shown ? v : fixed;
    });
}

}  // namespace

OutputAlphaRows const g_oOutputAlphaRows{
    {ProcessRGBA<u8>, ProcessRGBA<u16>, ProcessRGBA<s16>, ProcessRGBA<float>},
    {ProcessYUVA422<u8>, ProcessYUVA422<u16>, ProcessYUVA422<s16>, ProcessYUVA422<float>},
};

QZIL_ROWS_END
