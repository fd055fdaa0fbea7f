#include "media/tiff_client.h"

#include <cstring>

namespace qzil::media {

namespace {

/// A file that grows in memory.
struct Output : TiffErrors {
    Bytes m_oFile;
    std::uint64_t m_uPosition = 0;

    static tmsize_t OnRead(thandle_t self, void* out, tmsize_t size) {
        auto& output = *static_cast<Output*>(self);
        std::uint64_t const end = output.m_oFile.size();
        std::uint64_t const start = std::min(output.m_uPosition, end);
        std::uint64_t const count = std::min(end - start, static_cast<std::uint64_t>(size));
        if (count != 0) std::memcpy(out, output.m_oFile.data() + start, count);
        output.m_uPosition += count;
        return static_cast<tmsize_t>(count);
    }
    static tmsize_t OnWrite(thandle_t self, void* bytes, tmsize_t size) {
        auto& output = *static_cast<Output*>(self);
        std::uint64_t const end = output.m_uPosition + static_cast<std::uint64_t>(size);
        try {
            if (end > output.m_oFile.size()) output.m_oFile.resize(end);
        } catch (std::exception const&) {
            return 0;
        }
        if (size != 0) std::memcpy(output.m_oFile.data() + output.m_uPosition, bytes, static_cast<std::size_t>(size));
        output.m_uPosition = end;
        return size;
    }
    static toff_t OnSeek(thandle_t self, toff_t offset, int origin) {
        auto& output = *static_cast<Output*>(self);
        return output.m_uPosition = SeekPlace(output.m_uPosition, output.m_oFile.size(), offset, origin);
    }
    static toff_t OnSize(thandle_t self) { return static_cast<Output*>(self)->m_oFile.size(); }
};

void Describe(TIFF* tiff, Picture const& picture) {
    bool const alpha = picture.iChannels % 2 == 0;
    bool const real = picture.iDepth == 32;
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(picture.iWidth));
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(picture.iHeight));
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, picture.iChannels);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, picture.iDepth);
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, real ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, picture.iChannels < 3 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, picture.oTags.iOrientation);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
    TIFFSetField(tiff, TIFFTAG_PREDICTOR, real ? PREDICTOR_FLOATINGPOINT : PREDICTOR_HORIZONTAL);
    if (alpha) {
        std::uint16_t const kind = EXTRASAMPLE_UNASSALPHA;
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &kind);
    }
    Tags const& tags = picture.oTags;
    if (!tags.oProfile.empty()) {
        TIFFSetField(tiff, TIFFTAG_ICCPROFILE, static_cast<std::uint32_t>(tags.oProfile.size()), tags.oProfile.data());
    }
    if (tags.dfDotsX > 0.0 && tags.dfDotsY > 0.0) {
        TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
        TIFFSetField(tiff, TIFFTAG_XRESOLUTION, tags.dfDotsX * 0.0254);
        TIFFSetField(tiff, TIFFTAG_YRESOLUTION, tags.dfDotsY * 0.0254);
    }
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tiff, 0));
}

bool WriteRows(TIFF* tiff, Picture const& picture) {
    // The predictor works in the row that it is given.
    Bytes row(picture.RowBytes());
    for (int y = 0; y < picture.iHeight; ++y) {
        std::memcpy(row.data(), picture.Row(y), row.size());
        if (TIFFWriteScanline(tiff, row.data(), static_cast<std::uint32_t>(y)) < 0) return false;
    }
    return TIFFFlush(tiff) != 0;
}

}  // namespace

Bytes EncodeTiff(Picture const& picture, WriteOptions const&) {
    Output output;
    {
        TiffHandle const tiff = OpenTiff(output, "wl");
        if (!tiff) throw Fault(output.m_oText);
        Describe(tiff.get(), picture);
        if (!WriteRows(tiff.get(), picture)) throw Fault(output.m_oText);
    }
    return std::move(output.m_oFile);
}

}  // namespace qzil::media
