#include "media/codecs.h"

#include <csetjmp>
#include <cstdio>
#include <cstring>

// Needs the types of <cstdio> before it.
#include <jpeglib.h>

namespace qzil::media {

namespace {

/// A real picture has a dozen scans; a hostile one could ask for the whole picture to be passed thousands of times.
constexpr int kMaxScans = 200;

class Reader {
public:
    explicit Reader(ByteView file) {
        m_oJpeg.err = jpeg_std_error(&m_oErrors);
        m_oJpeg.client_data = this;
        m_oErrors.error_exit = [](j_common_ptr jpeg) { Self(jpeg).OnError(); };
        m_oErrors.emit_message = [](j_common_ptr, int) {};
        m_oErrors.output_message = [](j_common_ptr) {};
        m_oSource.next_input_byte = file.data();
        m_oSource.bytes_in_buffer = file.size();
        m_oSource.init_source = [](j_decompress_ptr) {};
        m_oSource.fill_input_buffer = [](j_decompress_ptr jpeg) -> boolean { Self(jpeg).Fail(kEndsEarly); };
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
        ChooseColors();
        Picture picture(static_cast<int>(m_oJpeg.image_width), static_cast<int>(m_oJpeg.image_height),
                        m_oJpeg.out_color_space == JCS_GRAYSCALE ? 1 : 3, 8);
        Guarded([this, &picture] { ReadLines(picture); });
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

    static void Skip(j_decompress_ptr jpeg, long count) {
        if (count <= 0) return;
        jpeg_source_mgr& source = *jpeg->src;
        if (static_cast<std::size_t>(count) > source.bytes_in_buffer) Self(jpeg).Fail(kEndsEarly);
        source.next_input_byte += count;
        source.bytes_in_buffer -= static_cast<std::size_t>(count);
    }

    void ReadHeader() {
        // Creation clears the record but for these two.
        jpeg_create_decompress(&m_oJpeg);
        m_oJpeg.src = &m_oSource;
        m_oJpeg.progress = &m_oProgress;
        jpeg_read_header(&m_oJpeg, TRUE);
    }

    void ChooseColors() {
        switch (m_oJpeg.jpeg_color_space) {
            case JCS_GRAYSCALE: m_oJpeg.out_color_space = JCS_GRAYSCALE; break;
            case JCS_YCbCr:
            case JCS_RGB: m_oJpeg.out_color_space = JCS_RGB; break;
            case JCS_CMYK:
            case JCS_YCCK: throw Fault("it is a CMYK picture, and only grey and RGB ones are read");
            default: throw Fault("its colour model is unknown");
        }
    }

    void ReadLines(Picture& picture) {
        jpeg_start_decompress(&m_oJpeg);
        while (m_oJpeg.output_scanline < m_oJpeg.output_height) {
            JSAMPROW pRow = picture.Row(static_cast<int>(m_oJpeg.output_scanline));
            jpeg_read_scanlines(&m_oJpeg, &pRow, 1);
        }
        jpeg_finish_decompress(&m_oJpeg);
    }

    jpeg_decompress_struct m_oJpeg{};
    jpeg_error_mgr m_oErrors{};
    jpeg_source_mgr m_oSource{};
    jpeg_progress_mgr m_oProgress{};
    std::jmp_buf m_oJump;
    char m_acText[JMSG_LENGTH_MAX] = "";
};

}  // namespace

Picture DecodeJpeg(ByteView file) {
    return Reader(file).Read();
}

}  // namespace qzil::media
