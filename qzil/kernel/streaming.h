#pragma once

#include <cstdint>

namespace qzil::kernel {

/// Frames of this size and more, inputs and output together, outgrow the last-level cache: their output is written past
/// it, since reading a line into the cache only to overwrite it would cost as much as another input. It is half
/// the processor's own cache, read once, and 20 MiB where the processor does not tell.
std::int64_t StreamBytes();
inline constexpr int kStreamAlignment = 64;

}  // namespace qzil::kernel
