#include "media/codecs.h"

#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// Needs the types of <cstdio> before it.
#include <jpeglib.h>

namespace qzil::media {

namespace {

constexpr int kQuality = 90;
constexpr std::size_t kLongestMarker = 65533;

class Writer {
public:
    Writer() {
        m_oJpeg.err = jpeg_std_error(&m_oErrors);
        m_oJpeg.client_data = this;
        m_oErrors.error_exit = [](j_common_ptr jpeg) { static_cast<Writer*>(jpeg->client_data)->OnError(jpeg); };
        m_oErrors.output_message = [](j_common_ptr) {};
    }
    ~Writer() {
        jpeg_destroy_compress(&m_oJpeg);
        std::free(m_pFile);
    }
    Writer(Writer const&) = delete;
    Writer& operator=(Writer const&) = delete;

    Bytes Write(Picture const& picture, WriteOptions const& options) {
        Bytes line(picture.iChannels % 2 == 0 ? picture.RowBytes() : 0);
        if (!Run([&] { WriteAll(picture, options, line.data()); })) throw Fault(m_acText);
        return Bytes(m_pFile, m_pFile + m_uSize);
    }

private:
    // As in the reader: errors land here, and nothing between holds a destructor.
    template <class Body>
    bool Run(Body const& body) {
        if (setjmp(m_oJump) != 0) return false;
        body();
        return true;
    }
    [[noreturn]] void OnError(j_common_ptr jpeg) {
        m_oErrors.format_message(jpeg, m_acText);
        std::longjmp(m_oJump, 1);
    }

    void WriteAll(Picture const& picture, WriteOptions const& options, unsigned char* line) {
        int const colors = picture.iChannels < 3 ? 1 : 3;
        jpeg_create_compress(&m_oJpeg);
        jpeg_mem_dest(&m_oJpeg, &m_pFile, &m_uSize);
        m_oJpeg.image_width = static_cast<JDIMENSION>(picture.iWidth);
        m_oJpeg.image_height = static_cast<JDIMENSION>(picture.iHeight);
        m_oJpeg.input_components = colors;
        m_oJpeg.in_color_space = colors == 1 ? JCS_GRAYSCALE : JCS_RGB;
        jpeg_set_defaults(&m_oJpeg);
        jpeg_set_quality(&m_oJpeg, options.oQuality.value_or(kQuality), TRUE);
        if (colors == 3) {
            m_oJpeg.comp_info[0].h_samp_factor = options.eSampling == ChromaSampling::k444 ? 1 : 2;
            m_oJpeg.comp_info[0].v_samp_factor = options.eSampling == ChromaSampling::k420 ? 2 : 1;
        }
        if (options.bProgressive) jpeg_simple_progression(&m_oJpeg);
        SetDensity(picture.oTags);
        jpeg_start_compress(&m_oJpeg, TRUE);
        WriteTags(picture.oTags);
        for (int y = 0; y < picture.iHeight; ++y) WriteRow(picture, y, colors, line);
        jpeg_finish_compress(&m_oJpeg);
    }

    void WriteRow(Picture const& picture, int y, int colors, unsigned char* line) {
        JSAMPROW pRow = const_cast<JSAMPROW>(picture.Row(y));
        if (picture.iChannels != colors) {
            for (int x = 0; x < picture.iWidth; ++x) {
                std::memcpy(line + static_cast<std::ptrdiff_t>(x) * colors,
                            pRow + static_cast<std::ptrdiff_t>(x) * picture.iChannels, static_cast<unsigned>(colors));
            }
            pRow = line;
        }
        jpeg_write_scanlines(&m_oJpeg, &pRow, 1);
    }

    void SetDensity(Tags const& tags) {
        double const x = tags.dfDotsX * 0.0254, y = tags.dfDotsY * 0.0254;
        if (!(x >= 0.5 && x < 65535.0 && y >= 0.5 && y < 65535.0)) return;
        m_oJpeg.density_unit = 1;
        m_oJpeg.X_density = static_cast<UINT16>(x + 0.5);
        m_oJpeg.Y_density = static_cast<UINT16>(y + 0.5);
    }

    void WriteTags(Tags const& tags) {
        constexpr char kExif[] = "Exif\0";  // and the 0 of the text
        if (!tags.oExif.empty() && tags.oExif.size() + sizeof kExif <= kLongestMarker) {
            jpeg_write_m_header(&m_oJpeg, JPEG_APP0 + 1, static_cast<unsigned>(sizeof kExif + tags.oExif.size()));
            for (char const byte : kExif) jpeg_write_m_byte(&m_oJpeg, byte);
            for (unsigned char const byte : tags.oExif) jpeg_write_m_byte(&m_oJpeg, byte);
        }
        if (tags.oProfile.empty()) return;
        jpeg_write_icc_profile(&m_oJpeg, tags.oProfile.data(), static_cast<unsigned>(tags.oProfile.size()));
    }

    jpeg_compress_struct m_oJpeg{};
    jpeg_error_mgr m_oErrors{};
    std::jmp_buf m_oJump;
    char m_acText[JMSG_LENGTH_MAX] = "";
    unsigned char* m_pFile = nullptr;
    unsigned long m_uSize = 0;
};

}  // namespace

Bytes EncodeJpeg(Picture const& picture, WriteOptions const& options) {
    return Writer().Write(picture, options);
}

}  // namespace qzil::media
