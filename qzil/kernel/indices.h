#pragma once

namespace qzil {

/// The numbers 0 to kCount - 1 as template arguments. Row sources take them from here: they include no library header
/// that has functions.
template <int... kIndices>
struct Indices {};
template <int kCount, int... kIndices>
struct CountTo : CountTo<kCount - 1, kCount - 1, kIndices...> {};
template <int... kIndices>
struct CountTo<0, kIndices...> {
    using Type = Indices<kIndices...>;
};
template <int kCount>
using IndicesTo = typename CountTo<kCount>::Type;

}  // namespace qzil
