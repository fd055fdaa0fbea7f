#include "media/codecs.h"

#include <png.h>

#include <algorithm>
#include <bit>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <new>

namespace qzil::media {

namespace {

// libpng reports an error by a long jump. It lands in Run, whose frame and all frames above it, up to the error, hold
// nothing that needs a destructor; only then is the error thrown.
struct Errors {
    char m_acText[256] = "";

    static void OnError(png_structp png, png_const_charp text) {
        auto* const pErrors = static_cast<Errors*>(png_get_error_ptr(png));
        std::snprintf(pErrors->m_acText, sizeof pErrors->m_acText, "%s", text);
        png_longjmp(png, 1);
    }
    static void OnWarning(png_structp, png_const_charp) {}
};

template <class Body>
bool Run(png_structp png, Body const& body) {
    if (setjmp(png_jmpbuf(png)) != 0) return false;
    body();
    return true;
}

class Reader {
public:
    explicit Reader(ByteView file) : m_oRest(file) {
        m_pPng = png_create_read_struct(PNG_LIBPNG_VER_STRING, &m_oErrors, Errors::OnError, Errors::OnWarning);
        if (m_pPng) m_pInfo = png_create_info_struct(m_pPng);
        if (!m_pInfo) {
            png_destroy_read_struct(&m_pPng, nullptr, nullptr);
            throw std::bad_alloc();
        }
    }
    ~Reader() { png_destroy_read_struct(&m_pPng, &m_pInfo, nullptr); }
    Reader(Reader const&) = delete;
    Reader& operator=(Reader const&) = delete;

    Picture Read() {
        Guarded([this] { ReadHeader(); });
        CheckSize(png_get_image_width(m_pPng, m_pInfo), png_get_image_height(m_pPng, m_pInfo));
        Guarded([this] { Prepare(); });
        Picture picture(static_cast<int>(png_get_image_width(m_pPng, m_pInfo)),
                        static_cast<int>(png_get_image_height(m_pPng, m_pInfo)), png_get_channels(m_pPng, m_pInfo),
                        png_get_bit_depth(m_pPng, m_pInfo));
        if (png_get_rowbytes(m_pPng, m_pInfo) != picture.RowBytes()) throw Fault("its rows have an unexpected length");
        std::vector<png_bytep> rows(static_cast<std::size_t>(picture.iHeight));
        for (int y = 0; y < picture.iHeight; ++y) rows[static_cast<std::size_t>(y)] = picture.Row(y);
        png_bytepp const pRows = rows.data();
        Guarded([this, pRows] {
            png_read_image(m_pPng, pRows);
            png_read_end(m_pPng, nullptr);
        });
        return picture;
    }

private:
    template <class Body>
    void Guarded(Body const& body) {
        if (!Run(m_pPng, body)) throw Fault(m_oErrors.m_acText);
    }

    void ReadHeader() {
        png_set_read_fn(m_pPng, this, OnRead);
        // The size is judged here, with a better sentence.
        png_set_user_limits(m_pPng, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
        png_read_info(m_pPng, m_pInfo);
    }

    void Prepare() {
        png_set_expand(m_pPng);
        if (std::endian::native == std::endian::little) png_set_swap(m_pPng);
        png_set_interlace_handling(m_pPng);
        png_read_update_info(m_pPng, m_pInfo);
    }

    static void OnRead(png_structp png, png_bytep out, std::size_t size) {
        auto& rest = static_cast<Reader*>(png_get_io_ptr(png))->m_oRest;
        if (size > rest.size()) png_error(png, kEndsEarly);
        std::memcpy(out, rest.data(), size);
        rest = rest.subspan(size);
    }

    ByteView m_oRest;
    Errors m_oErrors;
    png_structp m_pPng = nullptr;
    png_infop m_pInfo = nullptr;
};

class Writer {
public:
    Writer() {
        m_pPng = png_create_write_struct(PNG_LIBPNG_VER_STRING, &m_oErrors, Errors::OnError, Errors::OnWarning);
        if (m_pPng) m_pInfo = png_create_info_struct(m_pPng);
        if (!m_pInfo) {
            png_destroy_write_struct(&m_pPng, nullptr);
            throw std::bad_alloc();
        }
    }
    ~Writer() { png_destroy_write_struct(&m_pPng, &m_pInfo); }
    Writer(Writer const&) = delete;
    Writer& operator=(Writer const&) = delete;

    Bytes Write(Picture const& picture) {
        if (!Run(m_pPng, [this, &picture] { WriteAll(picture); })) throw Fault(m_oErrors.m_acText);
        return std::move(m_oFile);
    }

private:
    void WriteAll(Picture const& picture) {
        constexpr int kColorTypes[] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB,
                                       PNG_COLOR_TYPE_RGB_ALPHA};
        png_set_write_fn(m_pPng, this, OnWrite, [](png_structp) {});
        png_set_IHDR(m_pPng, m_pInfo, static_cast<png_uint_32>(picture.iWidth),
                     static_cast<png_uint_32>(picture.iHeight), picture.iDepth, kColorTypes[picture.iChannels - 1],
                     PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_write_info(m_pPng, m_pInfo);
        if (picture.iDepth == 16 && std::endian::native == std::endian::little) png_set_swap(m_pPng);
        for (int y = 0; y < picture.iHeight; ++y) png_write_row(m_pPng, picture.Row(y));
        png_write_end(m_pPng, m_pInfo);
    }

    bool Append(png_bytep bytes, std::size_t size) noexcept {
        try {
            m_oFile.insert(m_oFile.end(), bytes, bytes + size);
            return true;
        } catch (std::bad_alloc const&) {
            return false;
        }
    }

    static void OnWrite(png_structp png, png_bytep bytes, std::size_t size) {
        if (!static_cast<Writer*>(png_get_io_ptr(png))->Append(bytes, size))
            png_error(png, "there is not enough memory");
    }

    Bytes m_oFile;
    Errors m_oErrors;
    png_structp m_pPng = nullptr;
    png_infop m_pInfo = nullptr;
};

}  // namespace

Picture DecodePng(ByteView file) {
    return Reader(file).Read();
}

Bytes EncodePng(Picture const& picture) {
    return Writer().Write(picture);
}

}  // namespace qzil::media
