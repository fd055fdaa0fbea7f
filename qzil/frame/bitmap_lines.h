#pragma once

#include "qzil/platform/api.h"
#include "qzil/platform/bitmap_info.h"

// Conversions of one row between the library's RGBA layouts and rows of device-independent bitmaps, which hold blue,
// green, red, and between 16-bit and float rows. Source, target and number of pixels come in this order; a number of 0
// or below does nothing. A row may be converted in place only where both sides have pixels of one size.

/// Alpha becomes 255. The palette has an entry for every value that occurs.
QZIL_API void qzILRowDib8ToRgba32(unsigned char const* source, unsigned char* target, RGBQUAD const* palette,
                                  int count);
/// 5-5-5 words: the top bits of each field repeat in the low bits. Alpha becomes 255.
QZIL_API void qzILRowDib16ToRgba32(unsigned short const* source, unsigned char* target, int count);
QZIL_API void qzILRowDib24ToRgba32(unsigned char const* source, unsigned char* target, int count);  ///< alpha 255
QZIL_API void qzILRowDib32ToRgba32(unsigned char const* source, unsigned char* target, int count);
QZIL_API void qzILRowMono8ToDib24(unsigned char const* source, unsigned char* target, int count);
QZIL_API void qzILRowMono16ToDib24(unsigned short const* source, unsigned char* target, int count);  ///< the high byte
QZIL_API void qzILRowRgba32ToDib24(unsigned char const* source, unsigned char* target, int count);
QZIL_API void qzILRowRgba64ToDib24(unsigned short const* source, unsigned char* target, int count);  ///< high bytes
QZIL_API void qzILRowRgba32ToDib32(unsigned char const* source, unsigned char* target, int count);
/// Writes nothing.
QZIL_API void qzILRowRgba32ToDib16(unsigned char const* source, unsigned short* target, int count);
QZIL_API void qzILRowRgba32ToRgba64(unsigned char const* source, unsigned short* target, int count);  ///< times 257
/// Each channel gives its low byte, deliberately: the exact inverse of the widening.
QZIL_API void qzILRowRgba64ToRgba32(unsigned short const* source, unsigned char* target, int count);

/// Write a value into one channel of each pixel, the one of the first pixel that `row` points to.
QZIL_API void qzILRowSetChannelRgba32(unsigned char value, unsigned char* row, int count);
QZIL_API void qzILRowSetChannelRgba64(unsigned short value, unsigned short* row, int count);
/// Copies the byte that `source` points to, of each 4-byte pixel.
QZIL_API void qzILRowCopyChannel32ToChannel32(unsigned char const* source, unsigned char* target, int count);

/// Alpha is byte 0 of each 4-byte alpha pixel.
QZIL_API void qzILRowMergeDib32AndAlpha32ToRgba32(unsigned char const* color, unsigned char const* alpha,
                                                  unsigned char* target, int count);
QZIL_API void qzILRowMergeDib24AndAlpha8ToRgba32(unsigned char const* color, unsigned char const* alpha,
                                                 unsigned char* target, int count);
/// Keeps the channel order.
QZIL_API void qzILRowMergeRgb24AndAlpha8ToRgba32(unsigned char const* color, unsigned char const* alpha,
                                                 unsigned char* target, int count);
/// Byte 3 of a colour pixel and bytes 1 to 3 of an alpha pixel are left as they are.
QZIL_API void qzILRowSplitRgba32ToDib32AndAlpha32(unsigned char const* source, unsigned char* color,
                                                  unsigned char* alpha, int count);
QZIL_API void qzILRowSplitRgba32ToRgb24AndAlpha8(unsigned char const* source, unsigned char* color,
                                                 unsigned char* alpha, int count);

// 16 bits to float: v / 65535, or at video levels (v - 4112) / 56283 in every channel, alpha included. The forms of 48
// bits have three channels on both sides. The forms that swap have the 16-bit words in the other byte order.
QZIL_API void qzIlRowRgba64ToRgbaFloat(unsigned short const* source, float* target, int count);
QZIL_API void qzIlRowRgb48ToRgbaFloat(unsigned short const* source, float* target, int count);
QZIL_API void qzIlRowRgba64VideoToRgbaFloat(unsigned short const* source, float* target, int count);
QZIL_API void qzIlRowRgb48VideoToRgbaFloat(unsigned short const* source, float* target, int count);
QZIL_API void qzIlRowRgba64ToRgbaFloatSwapEndian(unsigned short const* source, float* target, int count);
QZIL_API void qzIlRowRgb48ToRgbaFloatSwapEndian(unsigned short const* source, float* target, int count);
QZIL_API void qzIlRowRgba64VideoToRgbaFloatSwapEndian(unsigned short const* source, float* target, int count);
QZIL_API void qzIlRowRgb48VideoToRgbaFloatSwapEndian(unsigned short const* source, float* target, int count);

// Float to 16 bits: the inverse, limited to 0 to 65535 and rounded half up. NaN gives 0.
QZIL_API void qzIlRowRgbaFloatToRgba64(float const* source, unsigned short* target, int count);
QZIL_API void qzIlRowRgbaFloatToRgba48(float const* source, unsigned short* target, int count);
QZIL_API void qzIlRowRgbaFloatToRgba64Video(float const* source, unsigned short* target, int count);
QZIL_API void qzIlRowRgbaFloatToRgba48Video(float const* source, unsigned short* target, int count);
QZIL_API void qzIlRowRgbaFloatToRgba64SwapEndian(float const* source, unsigned short* target, int count);
QZIL_API void qzIlRowRgbaFloatToRgba48SwapEndian(float const* source, unsigned short* target, int count);
QZIL_API void qzIlRowRgbaFloatToRgba64VideoSwapEndian(float const* source, unsigned short* target, int count);
QZIL_API void qzIlRowRgbaFloatToRgba48VideoSwapEndian(float const* source, unsigned short* target, int count);
