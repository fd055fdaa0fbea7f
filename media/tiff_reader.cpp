#include "media/tiff_client.h"

#include <cstring>
#include <utility>

namespace qzil::media {

namespace {

/// A file in memory. A sound file is never read past its end, so an attempt is remembered: libtiff fills the gaps of
/// many damaged files with guesses.
struct Input : TiffErrors {
    ByteView m_oFile;
    std::uint64_t m_uPosition = 0;
    bool m_bPastEnd = false;

    static tmsize_t OnRead(thandle_t self, void* out, tmsize_t size) {
        auto& input = *static_cast<Input*>(self);
        std::uint64_t const start = std::min<std::uint64_t>(input.m_uPosition, input.m_oFile.size());
        std::uint64_t const count = std::min(input.m_oFile.size() - start, static_cast<std::uint64_t>(size));
        if (count < static_cast<std::uint64_t>(size)) input.m_bPastEnd = true;
        if (count != 0) std::memcpy(out, input.m_oFile.data() + start, count);
        input.m_uPosition = start + count;
        return static_cast<tmsize_t>(count);
    }
    static tmsize_t OnWrite(thandle_t, void*, tmsize_t) { return 0; }
    static toff_t OnSeek(thandle_t self, toff_t offset, int origin) {
        auto& input = *static_cast<Input*>(self);
        input.m_uPosition = SeekPlace(input.m_uPosition, input.m_oFile.size(), offset, origin);
        if (input.m_uPosition > input.m_oFile.size()) input.m_bPastEnd = true;
        return input.m_uPosition;
    }
    static toff_t OnSize(thandle_t self) { return static_cast<Input*>(self)->m_oFile.size(); }

    [[noreturn]] void Throw() const {
        throw Fault(m_bPastEnd ? kEndsEarly : m_oText.empty() ? "its content is damaged" : m_oText.c_str());
    }
};

struct Layout {
    std::uint32_t uWidth = 0;
    std::uint32_t uHeight = 0;
    std::uint16_t uBits = 1;
    std::uint16_t uSamples = 1;
    std::uint16_t uSampleFormat = SAMPLEFORMAT_UINT;
    std::uint16_t uPhotometric = PHOTOMETRIC_MINISBLACK;
    std::uint16_t uPlanar = PLANARCONFIG_CONTIG;
    std::uint16_t uOrientation = ORIENTATION_TOPLEFT;
    std::uint16_t uExtraSamples = 0;

    bool IsGrey() const { return uPhotometric == PHOTOMETRIC_MINISBLACK || uPhotometric == PHOTOMETRIC_MINISWHITE; }
    bool IsReal() const { return uBits == 32 && uSampleFormat == SAMPLEFORMAT_IEEEFP; }

    /// Whether the samples can be taken from the file as they stand.
    bool IsPlain() const {
        bool const whole =
            (uBits == 8 || uBits == 16) && (uSampleFormat == SAMPLEFORMAT_UINT || uSampleFormat == SAMPLEFORMAT_VOID);
        bool const reversedReal = IsReal() && uPhotometric == PHOTOMETRIC_MINISWHITE;
        int const color = IsGrey() ? 1 : uPhotometric == PHOTOMETRIC_RGB ? 3 : 0;
        return (whole || IsReal()) && !reversedReal && color != 0 && (uSamples == color || uSamples == color + 1);
    }
};

Layout ReadLayout(TIFF* tiff) {
    Layout layout;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &layout.uWidth);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &layout.uHeight);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &layout.uBits);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &layout.uSamples);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &layout.uSampleFormat);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &layout.uPlanar);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_ORIENTATION, &layout.uOrientation);
    std::uint16_t* pKinds = nullptr;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &layout.uExtraSamples, &pKinds);
    if (!TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &layout.uPhotometric)) {
        layout.uPhotometric = layout.uSamples < 3 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB;
    }
    return layout;
}

/// Reads files of plain samples, in strips or tiles, samples together or in planes.
class PlainReader {
public:
    PlainReader(TIFF* tiff, Layout const& layout, Picture& picture)
        : m_pTiff(tiff),
          m_oPicture(picture),
          m_bPlanes(layout.uPlanar == PLANARCONFIG_SEPARATE && layout.uSamples > 1),
          m_uSampleBytes(layout.uBits / 8u),
          m_uBlockPixelBytes(m_bPlanes ? m_uSampleBytes : m_uSampleBytes * layout.uSamples) {}

    bool Read() {
        int const planes = m_bPlanes ? m_oPicture.iChannels : 1;
        for (int plane = 0; plane < planes; ++plane) {
            bool const done = TIFFIsTiled(m_pTiff) ? ReadTiles(plane) : ReadLines(plane);
            if (!done) return false;
        }
        return true;
    }

private:
    bool ReadLines(int plane) {
        Bytes line(m_uBlockPixelBytes * static_cast<unsigned>(m_oPicture.iWidth));
        if (static_cast<std::size_t>(TIFFScanlineSize(m_pTiff)) != line.size()) return false;
        for (int y = 0; y < m_oPicture.iHeight; ++y) {
            std::uint32_t const row = static_cast<std::uint32_t>(y);
            if (TIFFReadScanline(m_pTiff, line.data(), row, static_cast<std::uint16_t>(plane)) < 0) return false;
            Put(line.data(), plane, 0, y, m_oPicture.iWidth);
        }
        return true;
    }

    bool ReadTiles(int plane) {
        std::uint32_t tileWidth = 0, tileHeight = 0;
        TIFFGetField(m_pTiff, TIFFTAG_TILEWIDTH, &tileWidth);
        TIFFGetField(m_pTiff, TIFFTAG_TILELENGTH, &tileHeight);
        if (tileWidth == 0 || tileHeight == 0) return false;
        CheckSize(tileWidth, tileHeight);
        std::size_t const rowBytes = m_uBlockPixelBytes * tileWidth;
        Bytes tile(rowBytes * tileHeight);
        if (static_cast<std::size_t>(TIFFTileSize(m_pTiff)) != tile.size()) return false;
        int const stepX = static_cast<int>(tileWidth), stepY = static_cast<int>(tileHeight);
        for (int y = 0; y < m_oPicture.iHeight; y += stepY) {
            for (int x = 0; x < m_oPicture.iWidth; x += stepX) {
                if (TIFFReadTile(m_pTiff, tile.data(), static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y), 0,
                                 static_cast<std::uint16_t>(plane)) < 0) {
                    return false;
                }
                int const rows = std::min(stepY, m_oPicture.iHeight - y);
                int const columns = std::min(stepX, m_oPicture.iWidth - x);
                for (int row = 0; row < rows; ++row) {
                    Put(tile.data() + rowBytes * static_cast<unsigned>(row), plane, x, y + row, columns);
                }
            }
        }
        return true;
    }

    /// Puts a run of pixels, or of one plane's samples, in its place.
    void Put(unsigned char const* in, int plane, int x, int y, int count) {
        std::size_t const step = m_oPicture.PixelBytes();
        unsigned char* pOut = m_oPicture.Row(y) + step * static_cast<unsigned>(x);
        if (!m_bPlanes) {
            std::memcpy(pOut, in, step * static_cast<unsigned>(count));
            return;
        }
        pOut += m_uSampleBytes * static_cast<unsigned>(plane);
        for (int i = 0; i < count; ++i, pOut += step, in += m_uSampleBytes) std::memcpy(pOut, in, m_uSampleBytes);
    }

    TIFF* m_pTiff;
    Picture& m_oPicture;
    bool m_bPlanes;
    std::size_t m_uSampleBytes;
    std::size_t m_uBlockPixelBytes;
};

/// White is 0 in the file: turns the grey samples round. Full scale has all bits set, so each byte turns by itself.
void Negate(Picture& picture) {
    std::size_t const step = picture.PixelBytes();
    std::size_t const greyBytes = static_cast<unsigned>(picture.iDepth) / 8;
    for (std::size_t at = 0; at < picture.oBytes.size(); at += step) {
        for (std::size_t i = 0; i < greyBytes; ++i) {
            picture.oBytes[at + i] = static_cast<unsigned char>(~picture.oBytes[at + i]);
        }
    }
}

/// Palettes, YCbCr, depths below 8 bits and other rare kinds, as libtiff sees them, in 8 bits.
Picture ReadAsRgb(Input const& input, TIFF* tiff, Layout const& layout) {
    if (layout.uPhotometric == PHOTOMETRIC_SEPARATED) {
        throw Fault("it is a CMYK picture, and only grey and RGB ones are read");
    }
    char reason[1024] = "";
    if (layout.uBits > 8 || layout.uExtraSamples != 0 || !TIFFRGBAImageOK(tiff, reason)) {
        throw Fault("its kind of samples is not read (" + std::to_string(layout.uSamples) + " of " +
                    std::to_string(layout.uBits) + " bits, sample format " + std::to_string(layout.uSampleFormat) +
                    ", photometric interpretation " + std::to_string(layout.uPhotometric) + ")");
    }
    std::vector<std::uint32_t> raster(std::size_t{layout.uWidth} * layout.uHeight);
    // Asked for in its own orientation, the picture comes as it is stored.
    if (!TIFFReadRGBAImageOriented(tiff, layout.uWidth, layout.uHeight, raster.data(), layout.uOrientation, 1)) {
        input.Throw();
    }
    Picture picture(static_cast<int>(layout.uWidth), static_cast<int>(layout.uHeight), 3, 8);
    unsigned char* pOut = picture.oBytes.data();
    for (std::uint32_t const pixel : raster) {
        *pOut++ = static_cast<unsigned char>(TIFFGetR(pixel));
        *pOut++ = static_cast<unsigned char>(TIFFGetG(pixel));
        *pOut++ = static_cast<unsigned char>(TIFFGetB(pixel));
    }
    return picture;
}

/// Turns a stored picture so that its first row is the top and its first column the left side.
Picture Upright(Picture stored, unsigned orientation) {
    if (orientation <= ORIENTATION_TOPLEFT || orientation > ORIENTATION_LEFTBOT) return stored;
    bool const transposed = orientation >= ORIENTATION_LEFTTOP;
    bool const fromRight = orientation == ORIENTATION_TOPRIGHT || orientation == ORIENTATION_BOTRIGHT ||
                           orientation == ORIENTATION_RIGHTTOP || orientation == ORIENTATION_RIGHTBOT;
    bool const fromBottom = orientation == ORIENTATION_BOTLEFT || orientation == ORIENTATION_BOTRIGHT ||
                            orientation == ORIENTATION_LEFTBOT || orientation == ORIENTATION_RIGHTBOT;
    Picture upright(transposed ? stored.iHeight : stored.iWidth, transposed ? stored.iWidth : stored.iHeight,
                    stored.iChannels, stored.iDepth);
    std::size_t const step = stored.PixelBytes();
    for (int y = 0; y < upright.iHeight; ++y) {
        int const fromY = fromBottom ? upright.iHeight - 1 - y : y;
        for (int x = 0; x < upright.iWidth; ++x) {
            int const fromX = fromRight ? upright.iWidth - 1 - x : x;
            unsigned char const* const pFrom = transposed ? stored.Row(fromX) + step * static_cast<unsigned>(fromY)
                                                          : stored.Row(fromY) + step * static_cast<unsigned>(fromX);
            std::memcpy(upright.Row(y) + step * static_cast<unsigned>(x), pFrom, step);
        }
    }
    return upright;
}

}  // namespace

Picture DecodeTiff(ByteView file) {
    Input input;
    input.m_oFile = file;
    TiffHandle const tiff = OpenTiff(input, "rm");
    if (!tiff) input.Throw();
    Layout const layout = ReadLayout(tiff.get());
    CheckSize(layout.uWidth, layout.uHeight);
    Picture picture;
    if (layout.IsPlain()) {
        picture =
            Picture(static_cast<int>(layout.uWidth), static_cast<int>(layout.uHeight), layout.uSamples, layout.uBits);
        if (!PlainReader(tiff.get(), layout, picture).Read()) input.Throw();
        if (layout.uPhotometric == PHOTOMETRIC_MINISWHITE) Negate(picture);
    } else {
        picture = ReadAsRgb(input, tiff.get(), layout);
    }
    if (input.m_bPastEnd) input.Throw();
    return Upright(std::move(picture), layout.uOrientation);
}

}  // namespace qzil::media
