#pragma once

#include "model/scene.h"

namespace qzil::test::model {

struct CompositeModel {
    double dfAlpha;
    unsigned uAlphaMode;

    template <class T>
    void operator()(Line<T> const& line) const {
        if constexpr (kIsByte<T> || kIsWord<T>) {
            i64 const full = One<T>(), a = Round(static_cast<double>(full) * dfAlpha);
            for (int x = 0; x < line.iWidth; ++x) {
                i64 const m = line.pMask[x];
                i64 const w = m == full ? a : kIsByte<T> ? NormMult(m, a) : m * a / 65535;
                for (int c = 0; c < 3; ++c) {
                    T const p = line.pA[4 * x + c], b = line.pB[4 * x + c];
                    T const mixed =
                        kIsByte<T> ? static_cast<T>(TableMix(w, p, b)) : static_cast<T>(p + Part16(w, b - p));
                    line.pOut[4 * x + c] = m == 0 ? p : mixed;
                }
                T const both = static_cast<T>(line.pA[4 * x + 3] | line.pB[4 * x + 3]);
                line.pOut[4 * x + 3] = uAlphaMode == 3 ? both : uAlphaMode == 2 ? One<T>() : T{0};
            }
        }
    }
};

struct CopyOverModel {
    template <class T>
    void operator()(Line<T> const& line) const {
        for (int x = 0; x < line.iWidth; ++x) line.Commit(x, line.pB + x * line.Samples(), Mix<T>);
    }
};

}  // namespace qzil::test::model
