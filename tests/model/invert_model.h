#pragma once

#include "model/model.h"

namespace qzil::test::model {

struct InvertModel {
    template <class T>
    static T Full(T v) {
        if constexpr (kIsS2_14<T>) return static_cast<T>(std::min(16384 - v, 32767));
        return static_cast<T>(One<T>() - v);
    }
    template <class T>
    static T Luma(T y) {
        if constexpr (kIsByte<T>) return static_cast<T>(std::max(0, 251 - y));
        if constexpr (kIsWord<T>) return static_cast<T>(std::clamp(64507 - y, 0, 65535));
        if constexpr (kIsS2_14<T>) return Limit14(16384 - y);
        return static_cast<T>(1.0f - static_cast<float>(y));
    }
    template <class T>
    static T Chroma(T c) {
        if constexpr (kIsByte<T>) return static_cast<T>(std::min(256 - c, 255));
        if constexpr (kIsWord<T>) return static_cast<T>(std::min(65792 - c, 65535));
        if constexpr (kIsS2_14<T>) return Limit14(-static_cast<i64>(c));
        return static_cast<T>(0.0f - static_cast<float>(c));
    }
    template <class T>
    void operator()(Line<T> const& line) const {
        int const luma = IsFormatAlternateYUV(line.oFormat) ? 1 : 0;
        for (int x = 0; x < line.iWidth; ++x) {
            if (line.eKind == Kind::Video) {
                line.pOut[2 * x + luma] = Luma(line.pA[2 * x + luma]);
                line.pOut[2 * x + 1 - luma] = Chroma(line.pA[2 * x + 1 - luma]);
                continue;
            }
            T result[4] = {};
            for (int c = 0; c < line.Samples(); ++c) result[c] = Full(line.pA[x * line.Samples() + c]);
            line.Commit(x, result, Mix<T>);
        }
    }
};

/// Each channel of one input through a function of place and value, mixed by the table.
template <class Fn>
struct PointModel {
    Fn oOperation;
    template <class T>
    void operator()(Line<T> const& line) const {
        if constexpr (kIsByte<T> || kIsWord<T>) {
            for (int x = 0, n = line.Samples(); x < line.iWidth; ++x) {
                T result[4] = {};
                for (int c = 0; c < n; ++c) {
                    result[c] = static_cast<T>(oOperation(c, line.pA[x * n + c], line.pB[x * n + c]));
                }
                line.Commit(x, result, MixByTable<T>);
            }
        }
    }
};
template <class Fn>
PointModel(Fn) -> PointModel<Fn>;

}  // namespace qzil::test::model
