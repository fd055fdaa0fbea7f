#include "qzil/pixel/color_blend_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN
namespace {

using kernel::Row;

void ScaleAdd(Row const& row, ScaleAdd8 const& c) {
    u8* const out = Out<u8>(row.pOut);
    u8 const* const in = In<u8>(row.pA);
    Lanes<u8> const scale(c.aScale[0], c.aScale[1], c.aScale[2], c.aScale[3]);
    Lanes<u8> const add(c.aAdd[0], c.aAdd[1], c.aAdd[2], c.aAdd[3]);
    ForLanes(row.iPixels * c.iSamples, [=, &scale, &add](int i, int lane) {
        out[i] = static_cast<u8>(NormMult(scale[lane], in[i]) + add[lane]);
    });
}

void Mask8(Row const& row, ColorBlendConstants<u8> const& c) {
    u8* const out = Out<u8>(row.pOut);
    u8 const* const in = In<u8>(row.pA);
    u8 const* const mask = In<u8>(row.pMask);
    Lanes<u8> const color(c.aColor[0], c.aColor[1], c.aColor[2], c.aColor[3]);
    Lanes<u8> const weight(c.aWeight[0], c.aWeight[1], c.aWeight[2], c.aWeight[3]);
    ForLanes(row.iPixels * c.iSamples, [=, &color, &weight](int i, int lane) {
        out[i] = MixNormMult(in[i], color[lane], NormMult(mask[i], weight[lane]));
    });
}

void Blend16(Row const& row, ColorBlendConstants<u16> const& c) {
    u16* const out = Out<u16>(row.pOut);
    u16 const* const in = In<u16>(row.pA);
    u16 const* const mask = In<u16>(row.pMask);
    Lanes<u16> const color(c.aColor[0], c.aColor[1], c.aColor[2], c.aColor[3]);
    Lanes<u16> const weight(c.aWeight[0], c.aWeight[1], c.aWeight[2], c.aWeight[3]);
    int const samples = row.iPixels * c.iSamples;
    if (!mask) {
        ForLanes(samples, [=, &color, &weight](int i, int lane) { out[i] = Mix16(in[i], color[lane], weight[lane]); });
        return;
    }
    ForLanes(samples, [=, &color, &weight](int i, int lane) {
        u16 const w = static_cast<u16>(u32{mask[i]} * weight[lane] / 65535u);
        out[i] = Mix16(in[i], color[lane], w);
    });
}

void BlendFloat(Row const& row, ColorBlendConstants<float> const& c) {
    float* const out = Out<float>(row.pOut);
    float const* const in = In<float>(row.pA);
    float const* const mask = In<float>(row.pMask);
    float scales[4], adds[4];
    for (int i = 0; i < 4; ++i) {
        scales[i] = 1.0f - c.aWeight[i];
        adds[i] = c.aColor[i] * c.aWeight[i];
    }
    Lanes<float> const scale(scales), add(adds);
    Lanes<float> const color(c.aColor[0], c.aColor[1], c.aColor[2], c.aColor[3]);
    Lanes<float> const weight(c.aWeight[0], c.aWeight[1], c.aWeight[2], c.aWeight[3]);
    int const samples = row.iPixels * c.iSamples;
    if (!mask) {
        ForLanes(samples, [=, &scale, &add](int i, int lane) { out[i] = scale[lane] * in[i] + add[lane]; });
        return;
    }
    ForLanes(samples, [=, &color, &weight](int i, int lane) {
        float const w = weight[lane] * (mask[i] >= 1.0f ? 1.0f : mask[i]);
        float const mixed = (1.0f - w) * in[i] + color[lane] * w;
        out[i] = mask[i] <= 0.0f ? in[i] : mixed;
    });
}

void BlendS2_14(Row const& row, ColorBlendConstants<float> const& c) {
    s16* const out = Out<s16>(row.pOut);
    s16 const* const in = In<s16>(row.pA);
    s16 const* const mask = In<s16>(row.pMask);
    float scales[4], adds[4];
    for (int i = 0; i < 4; ++i) {
        scales[i] = 1.0f - c.aWeight[i];
        adds[i] = c.aColor[i] * c.aWeight[i];
    }
    Lanes<float> const scale(scales), add(adds);
    Lanes<float> const color(c.aColor[0], c.aColor[1], c.aColor[2], c.aColor[3]);
    Lanes<float> const weight(c.aWeight[0], c.aWeight[1], c.aWeight[2], c.aWeight[3]);
    int const samples = row.iPixels * c.iSamples;
    if (!mask) {
        ForLanes(samples, [=, &scale, &add](int i, int lane) {
            out[i] = RoundToS2_14(scale[lane] * static_cast<float>(in[i]) + add[lane]);
        });
        return;
    }
    ForLanes(samples, [=, &color, &weight](int i, int lane) {
        float const m = static_cast<float>(Clamp<s16>(mask[i], 0, 16384)) / 16384.0f;
        float const w = weight[lane] * m;
        s16 const mixed = RoundToS2_14((1.0f - w) * static_cast<float>(in[i]) + color[lane] * w);
        out[i] = mask[i] < 1 ? in[i] : mixed;
    });
}

void BlendMonoS2_14(Row const& row, ColorBlendMonoS14 const& c) {
    s16* const out = Out<s16>(row.pOut);
    s16 const* const in = In<s16>(row.pA);
    s16 const* const mask = In<s16>(row.pMask);
    s16 const color = c.iColor, alpha = c.iAlpha14;
    s32 const alpha16 = c.iAlpha16;
    if (!mask) {
        ForEach(row.iPixels, [=](int i) { out[i] = MixS2_14(in[i], color, alpha); });
        return;
    }
    ForEach(row.iPixels, [=](int i) {
        s32 const m = Clamp<s32>(mask[i], 0, 16384);
        s32 const weight = m > 16383 ? alpha : (m * alpha16 + 32768) >> 16;
        out[i] = MixS2_14(in[i], color, static_cast<s16>(m < 1 ? 0 : weight));
    });
}

}  // namespace

ColorBlendRows const g_oColorBlendRows{ScaleAdd, Mask8, Blend16, BlendFloat, BlendS2_14, BlendMonoS2_14};

QZIL_ROWS_END
