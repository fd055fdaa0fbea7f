#pragma once

#include "qzil/image/core_values.h"

/// Row pointers to separately allocated rows of doubles that nothing has been written to. Null when memory runs out or
/// a size is not positive. To be freed by `Delete2DArray`.
QZIL_API double** New2DArray(int rows, int columns);

/// Frees the rows, from the last to the first, and the array. Null is ignored.
QZIL_API void Delete2DArray(double** array, int rows);

/// Replaces an array of rows x columns by a block of it, and frees the old one. What the block has outside the array is
/// 0. -1, with the array as it was, when memory runs out, a new size is not positive, or the block begins before row 0
/// and before column 0 and ends behind the last row and behind the last column; no other block is refused,
/// deliberately.
[[nodiscard]] QZIL_API qzILStatus Truncate2DArray(double**& array, int rows, int columns, int firstRow, int firstColumn,
                                                  int newRows, int newColumns);
