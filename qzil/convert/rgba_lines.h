#pragma once

#include "qzil/platform/api.h"

// Rows of RGBA in another depth. `line` is the number of the line in its image and plays no part. Channel i of a row
// has the rule of place i & 3: for full levels all places share one. Rounding is half away from zero; NaN gives the
// lower limit. Source and target may not overlap.

// `count` channels. S2.14 has 1.0 at 16384.
QZIL_API void qzILConvertUbyteToS2_14(int line, unsigned char const* source, short* target, int count);
QZIL_API void qzILConvertUbyteToFloat(int line, unsigned char const* source, float* target, int count);
QZIL_API void qzILConvertFloatToS2_14(int line, float const* source, short* target, int count);
QZIL_API void qzILConvertS2_14ToFloat(int line, short const* source, float* target, int count);
QZIL_API void qzILConvertFloatToUbyte(int line, float const* source, unsigned char* target, int count);
QZIL_API void qzILConvertS2_14ToUbyte(int line, short const* source, unsigned char* target, int count);

// `count` pixels of four channels; colour at video levels 16 to 235 on the 8-bit side, alpha at full range.
QZIL_API void qzILConvertRGBA_VIDEOToFloat(int line, unsigned char const* source, float* target, int count);
QZIL_API void qzILConvertRGBA_VIDEOToS2_14(int line, unsigned char const* source, short* target, int count);
QZIL_API void qzILConvertFloatToRGBA_VIDEO(int line, float const* source, unsigned char* target, int count);
QZIL_API void qzILConvertS2_14ToRGBA_VIDEO(int line, short const* source, unsigned char* target, int count);

/// To 8 bits, carrying the error of every channel to the next pixel: s = v * 255 + e, the byte is the floor of s, and
/// what is left over is the next e. `e0` to `e3` start the errors, nominally from 0 to 1. A non-zero `video` gives
/// colour video levels: s = v * 219 + 16 + e. `count` pixels.
QZIL_API void qzILConvertRGBAFloatToRGBAWithErrorDiffusion(int line, float const* source, unsigned char* target,
                                                           int count, float e0, float e1, float e2, float e3,
                                                           int video);
QZIL_API void qzILConvertMonoFloatToMonoWithErrorDiffusion(int line, float const* source, unsigned char* target,
                                                           int count, float e0);
/// The same from S2.14, in 16.16 fixed point.
QZIL_API void qzILConvertRGBAS2_14ToRGBAWithErrorDiffusion(int line, short const* source, unsigned char* target,
                                                           int count, float e0, float e1, float e2, float e3,
                                                           int video);
QZIL_API void qzILConvertMonoS2_14ToMonoWithErrorDiffusion(int line, short const* source, unsigned char* target,
                                                           int count, float e0);
/// v * scale[c] + offset[c] in 16.16 fixed point; a null `offset` stands for zeros. `count` pixels.
QZIL_API void qzILLinearTransformRGBAToUbyteWithErrorDiffusionFP16(int line, short const* source, unsigned char* target,
                                                                   int count, float e0, float e1, float e2, float e3,
                                                                   int const* scale, int const* offset);
