#include "qzil/pixel/color_correction_rows.h"

#include "qzil/kernel/shapes.h"

QZIL_ROWS_BEGIN
namespace {

/// Pairs only: a last pixel alone keeps what the output has.
void PlaneRow(kernel::Row const& row, PlaneCorrection<u8> const& constants) {
    PlaneCorrection<u8> const rule = constants;
    u8 const* const in = In<u8>(row.pA);
    u8 const* const alpha = In<u8>(row.pAlphaIn);
    u8* const out = Out<u8>(row.pAlphaOut);
    int const pairs = row.iPixels / 2;
    if (!rule.oLevels.pOffsets) {
        ForEach(2 * pairs, [=](int i) { out[i] = rule(alpha[i], 0); });
        return;
    }
    ForEach(pairs, [=](int i) {
        YccPair<s32> const p = LoadPair<true, s32>(in + 4 * i);
        auto const offset = [=](s32 y) {
            return rule.oLevels.At(rule.oMatrix.Channel<0>(y, p.cb, p.cr), kFullScale<u8>)[3];
        };
        out[2 * i] = rule(alpha[2 * i], offset(p.y0));
        out[2 * i + 1] = rule(alpha[2 * i + 1], offset(p.y1));
    });
}

constexpr With kWhole{.uLayouts = kRgba | kHlsa, .bPolls = false};
constexpr With kPairs{.bIgnoresMask = true, .bPolls = false};
constexpr With kPlane{.uLayouts = 1u << static_cast<int>(kernel::Layout::ChromaFirstAlpha),
                      .bIgnoresMask = true,
                      .bPolls = false,
                      .bWritesAll = false};

}  // namespace

using kernel::Operation;

Operation<ColorCorrection, u8, u16> const g_oColorCorrection = kPixel<ColorCorrection, kWhole, u8, u16>;
Operation<HlsCorrection, u8, u16> const g_oHlsCorrection = kPixel<HlsCorrection, kWhole, u8, u16>;
Operation<TableCorrection, u8, u16> const g_oTableCorrection = kPixel<TableCorrection, kWhole, u8, u16>;
Operation<PairCorrection, u8> const g_oPairCorrection = kYccPairs<PairCorrection, 1, kPairs, u8>;
Operation<PairLevelCorrection, u8> const g_oPairLevelCorrection = kYccPairs<PairLevelCorrection, 1, kPairs, u8>;
Operation<PairTableCorrection, u8> const g_oPairTableCorrection = kYccPairs<PairTableCorrection, 1, kPairs, u8>;
Operation<PlaneCorrection, u8> const g_oPlaneCorrection = kStretch<PlaneCorrection, u8, PlaneRow, kPlane>;

QZIL_ROWS_END
