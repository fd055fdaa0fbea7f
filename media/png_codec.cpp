#include "media/byte_stream.h"
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
    Reader(InputStream& stream, ReadOptions const& options) : m_oStream(stream), m_oOptions(options) {
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
        CheckPage(m_oOptions, 1);
        Guarded([this] { Prepare(); });
        Picture picture;
        picture.iWidth = static_cast<int>(png_get_image_width(m_pPng, m_pInfo));
        picture.iHeight = static_cast<int>(png_get_image_height(m_pPng, m_pInfo));
        picture.iChannels = png_get_channels(m_pPng, m_pInfo);
        picture.iDepth = png_get_bit_depth(m_pPng, m_pInfo);
        if (png_get_rowbytes(m_pPng, m_pInfo) != picture.RowBytes()) throw Fault("its rows have an unexpected length");
        if (m_oOptions.bSamples) ReadRows(picture);
        ReadTags(picture.oTags);
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
        png_set_read_user_chunk_fn(m_pPng, this, OnChunk);
        png_read_info(m_pPng, m_pInfo);
    }

    void Prepare() {
        png_set_expand(m_pPng);
        if (std::endian::native == std::endian::little) png_set_swap(m_pPng);
        m_iPasses = png_set_interlace_handling(m_pPng);
        png_read_update_info(m_pPng, m_pInfo);
    }

    /// The passes of an interlaced picture work on all of its rows.
    void ReadRows(Picture& picture) {
        GrowingRows rows(picture);
        for (int pass = 0; pass < m_iPasses; ++pass) {
            for (int y = 0; y < picture.iHeight; ++y) {
                png_bytep const pRow = pass == 0 ? rows.Row(y) : picture.Row(y);
                Guarded([this, pRow] { png_read_row(m_pPng, pRow, nullptr); });
            }
        }
        Guarded([this] { png_read_end(m_pPng, m_pInfo); });
    }

    void ReadTags(Tags& tags) {
        png_charp pName = nullptr;
        png_bytep pBytes = nullptr;
        png_uint_32 size = 0, x = 0, y = 0;
        int kind = 0;
        double gamma = 0.0;
        if (png_get_iCCP(m_pPng, m_pInfo, &pName, &kind, &pBytes, &size) != 0)
            tags.oProfile.assign(pBytes, pBytes + size);
        if (png_get_eXIf_1(m_pPng, m_pInfo, &size, &pBytes) != 0) tags.oExif.assign(pBytes, pBytes + size);
        if (png_get_gAMA(m_pPng, m_pInfo, &gamma) != 0) tags.oGamma = gamma;
        if (png_get_pHYs(m_pPng, m_pInfo, &x, &y, &kind) != 0 && kind == PNG_RESOLUTION_METER) {
            tags.dfDotsX = x;
            tags.dfDotsY = y;
        }
        tags.iOrientation = ExifOrientation(tags.oExif);
        tags.iPages = m_iFrames;
    }

    static void OnRead(png_structp png, png_bytep out, std::size_t size) {
        auto* const pReader = static_cast<Reader*>(png_get_io_ptr(png));
        if (!pReader->Fill({out, size})) png_longjmp(png, 1);
    }
    bool Fill(std::span<unsigned char> bytes) noexcept {
        try {
            if (m_oStream.Read(bytes) == bytes.size()) return true;
            std::snprintf(m_oErrors.m_acText, sizeof m_oErrors.m_acText, "%s", kEndsEarly);
        } catch (std::exception const& error) {
            std::snprintf(m_oErrors.m_acText, sizeof m_oErrors.m_acText, "%s", error.what());
        }
        return false;
    }

    /// Animations tell the number of their frames.
    static int OnChunk(png_structp png, png_unknown_chunkp chunk) {
        auto* const pReader = static_cast<Reader*>(png_get_user_chunk_ptr(png));
        if (std::memcmp(chunk->name, "acTL", 4) != 0 || chunk->size < 4) return 0;
        auto const frames = static_cast<int>(std::min<png_uint_32>(png_get_uint_32(chunk->data), 1u << 20));
        pReader->m_iFrames = std::max(frames, 1);
        return 1;
    }

    InputStream& m_oStream;
    ReadOptions m_oOptions;
    Errors m_oErrors;
    png_structp m_pPng = nullptr;
    png_infop m_pInfo = nullptr;
    int m_iPasses = 1;
    int m_iFrames = 1;
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

    Bytes Write(Picture const& picture, WriteOptions const& options) {
        if (!Run(m_pPng, [&] { WriteAll(picture, options); })) throw Fault(m_oErrors.m_acText);
        return std::move(m_oFile);
    }

private:
    void WriteAll(Picture const& picture, WriteOptions const& options) {
        constexpr int kColorTypes[] = {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_GRAY_ALPHA, PNG_COLOR_TYPE_RGB,
                                       PNG_COLOR_TYPE_RGB_ALPHA};
        png_set_write_fn(m_pPng, this, OnWrite, [](png_structp) {});
        png_set_IHDR(m_pPng, m_pInfo, static_cast<png_uint_32>(picture.iWidth),
                     static_cast<png_uint_32>(picture.iHeight), picture.iDepth, kColorTypes[picture.iChannels - 1],
                     PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        if (options.oCompression) png_set_compression_level(m_pPng, *options.oCompression);
        WriteTags(picture.oTags);
        png_write_info(m_pPng, m_pInfo);
        if (picture.iDepth == 16 && std::endian::native == std::endian::little) png_set_swap(m_pPng);
        for (int y = 0; y < picture.iHeight; ++y) png_write_row(m_pPng, picture.Row(y));
        png_write_end(m_pPng, m_pInfo);
    }

    /// A tag that libpng finds fault with is left out.
    void WriteTags(Tags const& tags) {
        png_set_benign_errors(m_pPng, 1);
        if (!tags.oProfile.empty()) {
            png_set_iCCP(m_pPng, m_pInfo, "profile", PNG_COMPRESSION_TYPE_BASE, tags.oProfile.data(),
                         static_cast<png_uint_32>(tags.oProfile.size()));
        }
        if (!tags.oExif.empty()) {
            png_set_eXIf_1(m_pPng, m_pInfo, static_cast<png_uint_32>(tags.oExif.size()),
                           const_cast<png_bytep>(tags.oExif.data()));
        }
        if (tags.oGamma) png_set_gAMA(m_pPng, m_pInfo, *tags.oGamma);
        if (tags.dfDotsX > 0.0 && tags.dfDotsY > 0.0) {
            png_set_pHYs(m_pPng, m_pInfo, static_cast<png_uint_32>(tags.dfDotsX + 0.5),
                         static_cast<png_uint_32>(tags.dfDotsY + 0.5), PNG_RESOLUTION_METER);
        }
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

Picture DecodePng(InputStream& stream, ReadOptions const& options) {
    return Reader(stream, options).Read();
}

Bytes EncodePng(Picture const& picture, WriteOptions const& options) {
    return Writer().Write(picture, options);
}

}  // namespace qzil::media
