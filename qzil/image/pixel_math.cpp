#include "qzil/image/pixel_math.h"

namespace {

constexpr unsigned char NormEntry(int a, int b) {
    return static_cast<unsigned char>((a * b + 127) / 255);
}

constexpr unsigned char InvNormEntry(int a, int b) {
    return static_cast<unsigned char>(a + b - NormEntry(a, b));
}

constexpr unsigned char DivEntry(int a, int b) {
    return b == 0 ? 0 : static_cast<unsigned char>(qzil::Min(255, (a * 255 + b / 2) / b));
}

constexpr unsigned char HueEntry(int a, int b) {
    return b == 0 ? 0 : qzil::TruncateTo<unsigned char>(42.5 * a / b + 0.5, 0.0, 255.0);
}

}  // namespace

// Arrays made by a rule, entry by entry: rows a, columns b.
#define QZIL_COLUMNS_4(entry, a, b) entry(a, b), entry(a, (b) + 1), entry(a, (b) + 2), entry(a, (b) + 3)
#define QZIL_COLUMNS_16(entry, a, b)                                                                   \
    QZIL_COLUMNS_4(entry, a, b), QZIL_COLUMNS_4(entry, a, (b) + 4), QZIL_COLUMNS_4(entry, a, (b) + 8), \
        QZIL_COLUMNS_4(entry, a, (b) + 12)
#define QZIL_COLUMNS_64(entry, a, b)                                                                        \
    QZIL_COLUMNS_16(entry, a, b), QZIL_COLUMNS_16(entry, a, (b) + 16), QZIL_COLUMNS_16(entry, a, (b) + 32), \
        QZIL_COLUMNS_16(entry, a, (b) + 48)
#define QZIL_ROW(entry, a)                                                                           \
    {                                                                                                \
        QZIL_COLUMNS_64(entry, a, 0), QZIL_COLUMNS_64(entry, a, 64), QZIL_COLUMNS_64(entry, a, 128), \
            QZIL_COLUMNS_64(entry, a, 192)                                                           \
    }
#define QZIL_ROWS_4(entry, a) \
    QZIL_ROW(entry, a), QZIL_ROW(entry, (a) + 1), QZIL_ROW(entry, (a) + 2), QZIL_ROW(entry, (a) + 3)
#define QZIL_ROWS_16(entry, a) \
    QZIL_ROWS_4(entry, a), QZIL_ROWS_4(entry, (a) + 4), QZIL_ROWS_4(entry, (a) + 8), QZIL_ROWS_4(entry, (a) + 12)
#define QZIL_ROWS_64(entry, a) \
    QZIL_ROWS_16(entry, a), QZIL_ROWS_16(entry, (a) + 16), QZIL_ROWS_16(entry, (a) + 32), QZIL_ROWS_16(entry, (a) + 48)
#define QZIL_TABLE(entry) \
    { QZIL_ROWS_64(entry, 0), QZIL_ROWS_64(entry, 64), QZIL_ROWS_64(entry, 128), QZIL_ROWS_64(entry, 192) }

constinit unsigned char const ilNormMult[256][256] = QZIL_TABLE(NormEntry);
constinit unsigned char const ilInvNormMult[256][256] = QZIL_TABLE(InvNormEntry);
constinit unsigned char const ilNormDiv[256][256] = QZIL_TABLE(DivEntry);
constinit unsigned char const ilHueTable[256][256] = QZIL_TABLE(HueEntry);
