#include "media/byte_stream.h"
#include "media/tiff_client.h"

#include <cstring>
#include <utility>

namespace qzil::media {

namespace {

/// A sound file is never read past its end, so an attempt is remembered: libtiff fills the gaps of many damaged files
/// with guesses.
struct Input : TiffErrors {
    InputStream* m_pStream = nullptr;
    std::uint64_t m_uSize = 0;
    std::uint64_t m_uPosition = 0;
    bool m_bPastEnd = false;

    static tmsize_t OnRead(thandle_t self, void* out, tmsize_t size) {
        auto& input = *static_cast<Input*>(self);
        std::size_t count = 0;
        try {
            count = input.m_pStream->ReadAt(input.m_uPosition,
                                            {static_cast<unsigned char*>(out), static_cast<std::size_t>(size)});
        } catch (Fault const& fault) {
            if (input.m_oText.empty()) input.m_oText = fault.what();
        }
        if (count < static_cast<std::size_t>(size)) input.m_bPastEnd = true;
        input.m_uPosition += count;
        return static_cast<tmsize_t>(count);
    }
    static tmsize_t OnWrite(thandle_t, void*, tmsize_t) { return 0; }
    static toff_t OnSeek(thandle_t self, toff_t offset, int origin) {
        auto& input = *static_cast<Input*>(self);
        input.m_uPosition = SeekPlace(input.m_uPosition, input.m_uSize, offset, origin);
        if (input.m_uPosition > input.m_uSize) input.m_bPastEnd = true;
        return input.m_uPosition;
    }
    static toff_t OnSize(thandle_t self) { return static_cast<Input*>(self)->m_uSize; }

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
    bool bAssociated = false;  ///< colours are multiplied by alpha

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
    layout.bAssociated = layout.uExtraSamples != 0 && pKinds && pKinds[0] == EXTRASAMPLE_ASSOCALPHA;
    if (!TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &layout.uPhotometric)) {
        layout.uPhotometric = layout.uSamples < 3 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB;
    }
    return layout;
}

/// A picture without bytes.
Picture DescribePicture(Layout const& layout, int channels, int depth) {
    Picture picture;
    picture.iWidth = static_cast<int>(layout.uWidth);
    picture.iHeight = static_cast<int>(layout.uHeight);
    picture.iChannels = channels;
    picture.iDepth = depth;
    return picture;
}

/// Reads files of plain samples, in strips or tiles, samples together or in planes.
class PlainReader {
public:
    PlainReader(TIFF* tiff, Layout const& layout, Picture& picture)
        : m_pTiff(tiff),
          m_oPicture(picture),
          m_oRows(picture),
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
            m_oRows.Row(y);
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
                m_oRows.Row(y + rows - 1);
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
    GrowingRows m_oRows;
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
Picture ReadAsRgb(Input const& input, TIFF* tiff, Layout const& layout, bool samples) {
    if (layout.uPhotometric == PHOTOMETRIC_SEPARATED) {
        throw Fault("it is a CMYK picture, and only grey and RGB ones are read");
    }
    char reason[1024] = "";
    if (layout.uBits > 8 || layout.uExtraSamples != 0 || !TIFFRGBAImageOK(tiff, reason)) {
        throw Fault("its kind of samples is not read (" + std::to_string(layout.uSamples) + " of " +
                    std::to_string(layout.uBits) + " bits, sample format " + std::to_string(layout.uSampleFormat) +
                    ", photometric interpretation " + std::to_string(layout.uPhotometric) + ")");
    }
    if (!samples) return DescribePicture(layout, 3, 8);
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

void ReadTags(TIFF* tiff, Tags& tags) {
    std::uint32_t size = 0;
    void* pProfile = nullptr;
    if (TIFFGetField(tiff, TIFFTAG_ICCPROFILE, &size, &pProfile) && pProfile) {
        auto const* const pBytes = static_cast<unsigned char const*>(pProfile);
        tags.oProfile.assign(pBytes, pBytes + size);
    }
    float x = 0.0f, y = 0.0f;
    std::uint16_t unit = RESUNIT_INCH;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_RESOLUTIONUNIT, &unit);
    double const perMetre = unit == RESUNIT_INCH ? 1.0 / 0.0254 : unit == RESUNIT_CENTIMETER ? 100.0 : 0.0;
    if (TIFFGetField(tiff, TIFFTAG_XRESOLUTION, &x) && TIFFGetField(tiff, TIFFTAG_YRESOLUTION, &y) && x > 0 && y > 0) {
        tags.dfDotsX = perMetre * x;
        tags.dfDotsY = perMetre * y;
    }
    tags.iPages = std::max<int>(TIFFNumberOfDirectories(tiff), 1);
}

Picture ReadFile(Input& input, TIFF* tiff, ReadOptions const& options) {
    Tags tags;
    ReadTags(tiff, tags);
    CheckPage(options, tags.iPages);
    if (options.iPage > 1) {
        if (!TIFFSetDirectory(tiff, static_cast<tdir_t>(options.iPage - 1))) input.Throw();
        int const pages = tags.iPages;
        tags = {};
        ReadTags(tiff, tags);
        tags.iPages = pages;
    }
    Layout const layout = ReadLayout(tiff);
    CheckSize(layout.uWidth, layout.uHeight);
    Picture picture;
    if (layout.IsPlain()) {
        picture = DescribePicture(layout, layout.uSamples, layout.uBits);
        if (options.bSamples && !PlainReader(tiff, layout, picture).Read()) input.Throw();
        if (layout.uPhotometric == PHOTOMETRIC_MINISWHITE) Negate(picture);
        if (layout.bAssociated) DivideByAlpha(picture);
    } else {
        picture = ReadAsRgb(input, tiff, layout, options.bSamples);
    }
    tags.iOrientation = layout.uOrientation >= 1 && layout.uOrientation <= 8 ? layout.uOrientation : 1;
    picture.oTags = std::move(tags);
    return picture;
}

}  // namespace

Picture DecodeTiff(InputStream& stream, ReadOptions const& options) {
    Input input;
    input.m_pStream = &stream;
    input.m_uSize = *stream.FileSize();
    TiffHandle const tiff = OpenTiff(input, "rm");
    if (!tiff) input.Throw();
    Picture picture = ReadFile(input, tiff.get(), options);
    if (input.m_bPastEnd) input.Throw();
    return picture;
}

}  // namespace qzil::media
