#include "qzil/pixel/invert_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN
namespace {

using kernel::Row;

QZIL_INLINE u8 Inverse(u8 v) {
    return static_cast<u8>(255 - v);
}
QZIL_INLINE u16 Inverse(u16 v) {
    return static_cast<u16>(65535 - v);
}
QZIL_INLINE s16 Inverse(s16 v) {
    return static_cast<s16>(Min<s32>(16384 - v, 32767));
}
QZIL_INLINE float Inverse(float v) {
    return 1.0f - v;
}

QZIL_INLINE u8 InverseLuma(u8 y) {
    return static_cast<u8>(Max(0, 251 - y));
}
QZIL_INLINE u8 InverseChroma(u8 c) {
    return static_cast<u8>(Min(256 - c, 255));
}
QZIL_INLINE u16 InverseLuma(u16 y) {
    return static_cast<u16>(Max(0, 64507 - y));
}
QZIL_INLINE u16 InverseChroma(u16 c) {
    return static_cast<u16>(Min(65792 - c, 65535));
}
QZIL_INLINE s16 InverseLuma(s16 y) {
    return ClampS16(16384 - y);
}
QZIL_INLINE s16 InverseChroma(s16 c) {
    return ClampS16(-c);
}
QZIL_INLINE float InverseLuma(float y) {
    return 1.0f - y;
}
QZIL_INLINE float InverseChroma(float c) {
    return 0.0f - c;
}

template <class T>
void ProcessRGBA(Row const& row, InvertClassAttributes const& c) {
    T* const out = Out<T>(row.pOut);
    T const* const in = In<T>(row.pA);
    ForEach(row.iPixels * c.iSamples, [=](int i) { out[i] = Inverse(in[i]); });
}

template <class T>
void ProcessYCC422(Row const& row, InvertClassAttributes const& c) {
    T* const out = Out<T>(row.pOut);
    T const* const in = In<T>(row.pA);
    int const luma = c.iLuma, chroma = 1 - c.iLuma;
    ForEach(row.iPixels, [=](int i) {
        T const y = InverseLuma(in[2 * i + luma]), uv = InverseChroma(in[2 * i + chroma]);
        out[2 * i + luma] = y;
        out[2 * i + chroma] = uv;
    });
}

}  // namespace

InvertRows const g_oInvertRows{
    {ProcessRGBA<u8>, ProcessRGBA<u16>, ProcessRGBA<s16>, ProcessRGBA<float>},
    {ProcessYCC422<u8>, ProcessYCC422<u16>, ProcessYCC422<s16>, ProcessYCC422<float>},
};

QZIL_ROWS_END
