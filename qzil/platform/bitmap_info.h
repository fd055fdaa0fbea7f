#pragma once

#include <cstdint>

/// A palette entry of a device-independent bitmap.
struct RGBQUAD {
    std::uint8_t rgbBlue;
    std::uint8_t rgbGreen;
    std::uint8_t rgbRed;
    std::uint8_t rgbReserved;
};

/// The head of a device-independent bitmap. Rows are bottom-up and padded to four bytes.
struct BITMAPINFOHEADER {
    std::uint32_t biSize;  ///< of this head; longer ones begin like it
    std::int32_t biWidth;
    std::int32_t biHeight;  ///< negative for top-down rows
    std::uint16_t biPlanes;
    std::uint16_t biBitCount;
    std::uint32_t biCompression;  ///< 0 for plain rows
    std::uint32_t biSizeImage;    ///< bytes of all rows; may be 0 for plain rows
    std::int32_t biXPelsPerMeter;
    std::int32_t biYPelsPerMeter;
    std::uint32_t biClrUsed;  ///< palette entries; 0 stands for all that the bit count can name, none above 8 bits
    std::uint32_t biClrImportant;
};
static_assert(sizeof(RGBQUAD) == 4 && sizeof(BITMAPINFOHEADER) == 40);

/// A head with the palette behind it, and behind that the rows.
struct tagBITMAPINFO {
    BITMAPINFOHEADER bmiHeader;
    RGBQUAD bmiColors[1];
};
using BITMAPINFO = tagBITMAPINFO;
