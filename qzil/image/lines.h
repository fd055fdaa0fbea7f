#pragma once

#include <cstddef>

namespace qzil {

/// The lines of one image as a walk goes through them: the first pixel, the bytes of a pixel, and the distance from the
/// place one pixel behind a line's end to the next line's first pixel. Absent images have a null first pixel.
struct Lines {
    unsigned char* pFirst = nullptr;
    std::ptrdiff_t iJump = 0;
    int iPixelStep = 0;
};

}  // namespace qzil
