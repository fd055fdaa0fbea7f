#include "media/byte_stream.h"
#include "media/codecs.h"

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// Needs the types of <cstdio> before it.
#include <jpeglib.h>

namespace qzil::media {

namespace {

/// A real picture has a dozen scans; a hostile one could ask for the whole picture to be passed thousands of times.
constexpr int kMaxScans = 200;
constexpr std::size_t kBlock = std::size_t{1} << 16;
constexpr char kExif[] = "Exif\0";  // and the 0 of the text

class Reader {
public:
    Reader(InputStream& stream, ReadOptions const& options) : m_oStream(stream), m_oOptions(options), m_oBlock(kBlock) {
        m_oJpeg.err = jpeg_std_error(&m_oErrors);
        m_oJpeg.client_data = this;
        m_oErrors.error_exit = [](j_common_ptr jpeg) { Self(jpeg).OnError(); };
        m_oErrors.emit_message = [](j_common_ptr, int) {};
        m_oErrors.output_message = [](j_common_ptr) {};
        m_oSource.init_source = [](j_decompress_ptr) {};
        m_oSource.fill_input_buffer = [](j_decompress_ptr jpeg) -> boolean { return Self(jpeg).Refill(); };
        m_oSource.skip_input_data = Skip;
        m_oSource.resync_to_restart = jpeg_resync_to_restart;
        m_oSource.term_source = [](j_decompress_ptr) {};
        m_oProgress.progress_monitor = [](j_common_ptr jpeg) { Self(jpeg).CheckScans(); };
    }
    ~Reader() { jpeg_destroy_decompress(&m_oJpeg); }
    Reader(Reader const&) = delete;
    Reader& operator=(Reader const&) = delete;

    Picture Read() {
        Guarded([this] { ReadHeader(); });
        CheckSize(m_oJpeg.image_width, m_oJpeg.image_height);
        CheckPage(m_oOptions, 1);
        ChooseColors();
        Picture picture;
        picture.iWidth = static_cast<int>(m_oJpeg.image_width);
        picture.iHeight = static_cast<int>(m_oJpeg.image_height);
        picture.iChannels = m_oJpeg.out_color_space == JCS_GRAYSCALE ? 1 : 3;
        picture.iDepth = 8;
        ReadTags(picture.oTags);
        if (m_oOptions.bSamples) ReadLines(picture);
        return picture;
    }

private:
    template <class Jpeg>
    static Reader& Self(Jpeg jpeg) {
        return *static_cast<Reader*>(jpeg->client_data);
    }

    // libjpeg's errors leave by a long jump that lands in Run, across frames that hold nothing with a destructor.
    template <class Body>
    bool Run(Body const& body) {
        if (setjmp(m_oJump) != 0) return false;
        body();
        return true;
    }
    template <class Body>
    void Guarded(Body const& body) {
        if (!Run(body)) throw Fault(m_acText);
    }
    [[noreturn]] void Fail(char const* text) {
        std::snprintf(m_acText, sizeof m_acText, "%s", text);
        std::longjmp(m_oJump, 1);
    }
    [[noreturn]] void OnError() {
        m_oErrors.format_message(reinterpret_cast<j_common_ptr>(&m_oJpeg), m_acText);
        std::longjmp(m_oJump, 1);
    }
    void CheckScans() {
        if (m_oJpeg.input_scan_number > kMaxScans) Fail("it has too many scans");
    }

    boolean Refill() {
        if (!Fill()) std::longjmp(m_oJump, 1);
        return TRUE;
    }
    bool Fill() noexcept {
        try {
            std::size_t const got = m_oStream.Read(m_oBlock);
            m_oSource.next_input_byte = m_oBlock.data();
            m_oSource.bytes_in_buffer = got;
            if (got != 0) return true;
            std::snprintf(m_acText, sizeof m_acText, "%s", kEndsEarly);
        } catch (std::exception const& error) {
            std::snprintf(m_acText, sizeof m_acText, "%s", error.what());
        }
        return false;
    }

    static void Skip(j_decompress_ptr jpeg, long count) {
        jpeg_source_mgr& source = *jpeg->src;
        auto left = static_cast<std::size_t>(std::max(count, 0l));
        while (left > source.bytes_in_buffer) {
            left -= source.bytes_in_buffer;
            Self(jpeg).Refill();
        }
        source.next_input_byte += left;
        source.bytes_in_buffer -= left;
    }

    void ReadHeader() {
        // Creation clears the record but for these two.
        jpeg_create_decompress(&m_oJpeg);
        m_oJpeg.src = &m_oSource;
        m_oJpeg.progress = &m_oProgress;
        jpeg_save_markers(&m_oJpeg, JPEG_APP0 + 1, 0xffff);
        jpeg_save_markers(&m_oJpeg, JPEG_APP0 + 2, 0xffff);
        jpeg_read_header(&m_oJpeg, TRUE);
    }

    void ChooseColors() {
        switch (m_oJpeg.jpeg_color_space) {
            case JCS_GRAYSCALE: m_oJpeg.out_color_space = JCS_GRAYSCALE; break;
            case JCS_YCbCr:
            case JCS_RGB: m_oJpeg.out_color_space = JCS_RGB; break;
            case JCS_CMYK:
            case JCS_YCCK: m_oJpeg.out_color_space = JCS_CMYK; break;
            default: throw Fault("its colour model is unknown");
        }
    }

    void ReadTags(Tags& tags) {
        for (auto const* pMarker = m_oJpeg.marker_list; pMarker; pMarker = pMarker->next) {
            bool const exif = pMarker->marker == JPEG_APP0 + 1 && pMarker->data_length > sizeof kExif &&
                              std::memcmp(pMarker->data, kExif, sizeof kExif) == 0;
            if (exif && tags.oExif.empty()) {
                tags.oExif.assign(pMarker->data + sizeof kExif, pMarker->data + pMarker->data_length);
            }
        }
        JOCTET* pProfile = nullptr;
        unsigned size = 0;
        bool found = false;
        Guarded([&] { found = jpeg_read_icc_profile(&m_oJpeg, &pProfile, &size) != FALSE; });
        if (found) tags.oProfile.assign(pProfile, pProfile + size);
        std::free(pProfile);
        double const unit = m_oJpeg.density_unit == 1 ? 1.0 / 0.0254 : m_oJpeg.density_unit == 2 ? 100.0 : 0.0;
        tags.dfDotsX = unit * m_oJpeg.X_density;
        tags.dfDotsY = unit * m_oJpeg.Y_density;
        tags.iOrientation = ExifOrientation(tags.oExif);
    }

    /// Inks are stored inverted: full is none.
    static void StoreCmyk(unsigned char const* in, int width, unsigned char* out) {
        for (int x = 0; x < width; ++x, in += 4, out += 3) {
            for (int i = 0; i < 3; ++i) out[i] = static_cast<unsigned char>((in[i] * in[3] + 127) / 255);
        }
    }

    void ReadLines(Picture& picture) {
        bool const cmyk = m_oJpeg.out_color_space == JCS_CMYK;
        Bytes line(cmyk ? std::size_t{4} * m_oJpeg.image_width : 0);
        GrowingRows rows(picture);
        Guarded([this] { jpeg_start_decompress(&m_oJpeg); });
        for (int y = 0; y < picture.iHeight; ++y) {
            unsigned char* const pOut = rows.Row(y);
            JSAMPROW pRow = cmyk ? line.data() : pOut;
            Guarded([this, &pRow] { jpeg_read_scanlines(&m_oJpeg, &pRow, 1); });
            if (cmyk) StoreCmyk(line.data(), picture.iWidth, pOut);
        }
        Guarded([this] { jpeg_finish_decompress(&m_oJpeg); });
    }

    InputStream& m_oStream;
    ReadOptions m_oOptions;
    Bytes m_oBlock;
    jpeg_decompress_struct m_oJpeg{};
    jpeg_error_mgr m_oErrors{};
    jpeg_source_mgr m_oSource{};
    jpeg_progress_mgr m_oProgress{};
    std::jmp_buf m_oJump;
    char m_acText[JMSG_LENGTH_MAX] = "";
};

}  // namespace

Picture DecodeJpeg(InputStream& stream, ReadOptions const& options) {
    return Reader(stream, options).Read();
}

}  // namespace qzil::media
