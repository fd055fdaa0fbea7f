#pragma once

#include "qzil/kernel/operation.h"

// Lines that makers finish, by how they mix under a mask.

namespace qzil {

/// Kernels: by the table of products at 8 bits.
template <class T>
struct KernelLines {};
QZIL_OPERATION(KernelLines, u8, u16)

/// Filters in fixed point: the same, at 8 bits alone.
template <class T>
struct FixedLines {};
QZIL_OPERATION(FixedLines, u8)

/// Boxes and filters in double: by the 257 mix at 8 bits; a float mask that is not a number counts as full.
template <class T>
struct MeanLines {};
QZIL_OPERATION(MeanLines)

}  // namespace qzil
