#include "qzil/numeric/arrays.h"

#include <cstddef>
#include <new>

double** New2DArray(int rows, int columns) {
    if (rows <= 0 || columns <= 0) return nullptr;
    auto const array = new (std::nothrow) double*[static_cast<std::size_t>(rows)];
    if (array == nullptr) return nullptr;
    for (int i = 0; i < rows; ++i) {
        array[i] = new (std::nothrow) double[static_cast<std::size_t>(columns)];
        if (array[i] == nullptr) {
            Delete2DArray(array, i);
            return nullptr;
        }
    }
    return array;
}

void Delete2DArray(double** array, int rows) {
    if (array == nullptr) return;
    for (int i = rows - 1; i >= 0; --i) delete[] array[i];
    delete[] array;
}

qzILStatus Truncate2DArray(double**& array, int rows, int columns, int firstRow, int firstColumn, int newRows,
                           int newColumns) {
    auto const ends = [](int first, int count) { return std::int64_t{first} + count; };
    bool const overrun =
        (firstRow & firstColumn) < 0 && ends(firstRow, newRows) > rows && ends(firstColumn, newColumns) > columns;
    double** const block = overrun || array == nullptr ? nullptr : New2DArray(newRows, newColumns);
    if (block == nullptr) return -1;
    for (int i = 0; i < newRows; ++i) {
        std::int64_t const row = ends(firstRow, i);
        for (int j = 0; j < newColumns; ++j) {
            std::int64_t const column = ends(firstColumn, j);
            bool const inside = row >= 0 && row < rows && column >= 0 && column < columns;
            block[i][j] = inside ? array[row][column] : 0.0;
        }
    }
    Delete2DArray(array, rows);
    array = block;
    return 1;
}
