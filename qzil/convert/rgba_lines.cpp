#include "qzil/convert/rgba_lines.h"

#include "qzil/convert/depth.h"
#include "qzil/convert/diffusion.h"

#include <cmath>

using namespace qzil;

namespace {

/// A whole line in stretches that a row function takes.
template <class From, class To>
void Convert(kernel::TypedConvertRow<LinearDepth> function, Levels levels, From const* source, To* target, int count,
             int samples) {
    LinearDepth const constants = LinearDepthOf<From, To>(levels, samples, false);
    for (int start = 0; start < count; start += kernel::kStretchPixels) {
        kernel::ConvertRow row{};
        row.pIn = reinterpret_cast<unsigned char const*>(source + std::ptrdiff_t{start} * samples);
        row.pOut = reinterpret_cast<unsigned char*>(target + std::ptrdiff_t{start} * samples);
        row.iPixels = Min(count - start, kernel::kStretchPixels);
        function(row, constants);
    }
}

}  // namespace

namespace qzil {

template <int kChannels>
void FloatDiffusion<kChannels>::Row(float const* source, u8* target, int pixels) {
    for (int i = 0; i < pixels; ++i, source += kChannels, target += kChannels) {
        for (int c = 0; c < kChannels; ++c) {
            bool const video = bVideo && c < 3;
            float const sum = video ? source[c] * 219.0f + 16.0f + aError[c] : source[c] * 255.0f + aError[c];
            float const floor = std::floor(sum);
            target[c] = TruncateTo<u8>(floor, 0, 255);
            aError[c] = sum - floor;
        }
    }
}

template <int kChannels>
void FixedDiffusion<kChannels>::Row(s16 const* source, u8* target, int pixels) {
    for (int i = 0; i < pixels; ++i, source += kChannels, target += kChannels) {
        for (int c = 0; c < kChannels; ++c) {
            s64 const sum = s64{aError[c]} + aOffset[c] + s64{source[c]} * aScale[c];
            target[c] = sum < 0x10000 ? u8{0} : static_cast<u8>(Min<s64>(sum >> 16, 255));
            aError[c] = static_cast<s32>(sum & 0xFFFF);
        }
    }
}

template <int kChannels>
FixedDiffusion<kChannels> FixedDiffusionOf(float const errors[4], bool video) {
    FixedDiffusion<kChannels> diffusion{};
    for (int c = 0; c < 4; ++c) {
        diffusion.aError[c] = RoundHalfAway(errors[c] * 65536.0f) & 0xFFFF;
        diffusion.aScale[c] = video && c < 3 ? 876 : 1020;
        diffusion.aOffset[c] = video && c < 3 ? 1048576 : 0;
    }
    return diffusion;
}

template struct FloatDiffusion<1>;
template struct FloatDiffusion<4>;
template struct FixedDiffusion<1>;
template struct FixedDiffusion<4>;
template FixedDiffusion<1> FixedDiffusionOf<1>(float const errors[4], bool video);
template FixedDiffusion<4> FixedDiffusionOf<4>(float const errors[4], bool video);

}  // namespace qzil

void qzILConvertUbyteToS2_14(int, unsigned char const* source, short* target, int count) {
    Convert(GetDepthRows().pUbyteToS2_14, Levels::Full, source, target, count, 1);
}

void qzILConvertUbyteToFloat(int, unsigned char const* source, float* target, int count) {
    Convert(GetDepthRows().pUbyteToFloat, Levels::Full, source, target, count, 1);
}

void qzILConvertFloatToS2_14(int, float const* source, short* target, int count) {
    Convert(GetDepthRows().pFloatToS2_14, Levels::Full, source, target, count, 1);
}

void qzILConvertS2_14ToFloat(int, short const* source, float* target, int count) {
    Convert(GetDepthRows().pS2_14ToFloat, Levels::Full, source, target, count, 1);
}

void qzILConvertFloatToUbyte(int, float const* source, unsigned char* target, int count) {
    Convert(GetDepthRows().pFloatToUbyte, Levels::Full, source, target, count, 1);
}

void qzILConvertS2_14ToUbyte(int, short const* source, unsigned char* target, int count) {
    Convert(GetDepthRows().pS2_14ToUbyte, Levels::Full, source, target, count, 1);
}

void qzILConvertRGBA_VIDEOToFloat(int, unsigned char const* source, float* target, int count) {
    Convert(GetDepthRows().pUbyteToFloat, Levels::Video, source, target, count, 4);
}

void qzILConvertRGBA_VIDEOToS2_14(int, unsigned char const* source, short* target, int count) {
    Convert(GetDepthRows().pUbyteToS2_14, Levels::Video, source, target, count, 4);
}

void qzILConvertFloatToRGBA_VIDEO(int, float const* source, unsigned char* target, int count) {
    Convert(GetDepthRows().pFloatToUbyte, Levels::Video, source, target, count, 4);
}

void qzILConvertS2_14ToRGBA_VIDEO(int, short const* source, unsigned char* target, int count) {
    Convert(GetDepthRows().pS2_14ToUbyte, Levels::Video, source, target, count, 4);
}

void qzILConvertRGBAFloatToRGBAWithErrorDiffusion(int, float const* source, unsigned char* target, int count, float e0,
                                                  float e1, float e2, float e3, int video) {
    FloatDiffusion<4>{{e0, e1, e2, e3}, video != 0}.Row(source, target, count);
}

void qzILConvertMonoFloatToMonoWithErrorDiffusion(int, float const* source, unsigned char* target, int count,
                                                  float e0) {
    FloatDiffusion<1>{{e0, 0, 0, 0}, false}.Row(source, target, count);
}

void qzILConvertRGBAS2_14ToRGBAWithErrorDiffusion(int, short const* source, unsigned char* target, int count, float e0,
                                                  float e1, float e2, float e3, int video) {
    float const errors[4] = {e0, e1, e2, e3};
    FixedDiffusionOf<4>(errors, video != 0).Row(source, target, count);
}

void qzILConvertMonoS2_14ToMonoWithErrorDiffusion(int, short const* source, unsigned char* target, int count,
                                                  float e0) {
    float const errors[4] = {e0, 0, 0, 0};
    FixedDiffusionOf<1>(errors, false).Row(source, target, count);
}

void qzILLinearTransformRGBAToUbyteWithErrorDiffusionFP16(int, short const* source, unsigned char* target, int count,
                                                          float e0, float e1, float e2, float e3, int const* scale,
                                                          int const* offset) {
    float const errors[4] = {e0, e1, e2, e3};
    FixedDiffusion<4> diffusion = FixedDiffusionOf<4>(errors, false);
    for (int c = 0; c < 4; ++c) {
        diffusion.aScale[c] = scale[c];
        diffusion.aOffset[c] = offset ? offset[c] : 0;
    }
    diffusion.Row(source, target, count);
}
