#pragma once

#include "qzil/kernel/operation.h"

namespace qzil {

/// A matrix of 8.8 elements on the first three channels, and a factor and an offset of the fourth.
///
/// Elements that no picture has a use for make sums wrap, deliberately: hosts may put anything into them.
struct ColorMatrix {
    s32 aRows[3][4];  ///< three factors, and an offset with the half that rounds
    s32 iScale;
    s32 iOffset;

    /// Of a 4 x 4 matrix on column vectors. Its last row holds the fourth channel's factor at 0 and offset at 3.
    static ColorMatrix Of(double const* const* elements) {
        auto const fixed = [=](int row, int column) { return RoundHalfAway(elements[row][column] * 256.0); };
        ColorMatrix matrix;
        for (int row = 0; row < 3; ++row) {
            for (int column = 0; column < 3; ++column) matrix.aRows[row][column] = fixed(row, column);
            matrix.aRows[row][3] = static_cast<s32>(static_cast<u32>(fixed(row, 3)) + 128u);
        }
        matrix.iScale = fixed(3, 0);
        matrix.iOffset = fixed(3, 3);
        return matrix;
    }

    /// A channel of the result.
    template <int kRow>
    QZIL_INLINE s32 Channel(s32 c0, s32 c1, s32 c2) const {
        u32 const sum = Product(aRows[kRow][0], c0) + Product(aRows[kRow][1], c1) + Product(aRows[kRow][2], c2) +
                        static_cast<u32>(aRows[kRow][3]);
        return static_cast<s32>(sum) >> 8;
    }
    /// The same where only the channel itself counts.
    template <int kRow>
    QZIL_INLINE s32 OwnChannel(s32 c) const {
        return static_cast<s32>(Product(aRows[kRow][kRow], c) + static_cast<u32>(aRows[kRow][3])) >> 8;
    }
    /// The fourth channel; `half` is 0 or 128.
    QZIL_INLINE s32 Alpha(s32 alpha, u32 half = 0) const {
        return static_cast<s32>(Product(iScale, alpha) + static_cast<u32>(iOffset) + half) >> 8;
    }
    /// Three channels by the matrix, the fourth as it is.
    QZIL_INLINE Quad<s32> Colors(Quad<s32> p) const {
        return {Channel<0>(p.c0, p.c1, p.c2), Channel<1>(p.c0, p.c1, p.c2), Channel<2>(p.c0, p.c1, p.c2), p.c3};
    }
    QZIL_INLINE Quad<s32> operator()(Quad<s32> p) const {
        Quad<s32> r = Colors(p);
        r.c3 = Alpha(p.c3);
        return r;
    }

private:
    QZIL_INLINE static u32 Product(s32 a, s32 b) { return static_cast<u32>(a) * static_cast<u32>(b); }
};

}  // namespace qzil
