#pragma once

#include "media/codecs.h"

#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <new>

namespace qzil::media {

/// What a TIFF handle of ours reports: the first error stands for all that follow from it. Warnings are dropped.
struct TiffErrors {
    std::string m_oText;

    static int OnError(TIFF*, void* self, char const*, char const* format, va_list arguments) {
        char text[256];
        std::vsnprintf(text, sizeof text, format, arguments);
        auto& first = static_cast<TiffErrors*>(self)->m_oText;
        if (first.empty()) first = text;
        return 1;
    }
    static int OnWarning(TIFF*, void*, char const*, char const*, va_list) { return 1; }
};

struct CloseTiff {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using TiffHandle = std::unique_ptr<TIFF, CloseTiff>;

/// Opens a handle whose file is `Client`, an object in memory with TiffErrors as its base, and the functions OnRead,
/// OnWrite, OnSeek and OnSize. libtiff is never given a global handler. Null on failure.
template <class Client>
TiffHandle OpenTiff(Client& client, char const* mode) {
    std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> const options(TIFFOpenOptionsAlloc(),
                                                                                   TIFFOpenOptionsFree);
    if (!options) throw std::bad_alloc();
    auto* const pErrors = static_cast<TiffErrors*>(&client);
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), TiffErrors::OnError, pErrors);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), TiffErrors::OnWarning, pErrors);
    return TiffHandle(TIFFClientOpenExt(
        "", mode, &client, Client::OnRead, Client::OnWrite, Client::OnSeek, [](thandle_t) { return 0; }, Client::OnSize,
        [](thandle_t, void**, toff_t*) { return 0; }, [](thandle_t, void*, toff_t) {}, options.get()));
}

/// The place that a seek asks for.
inline std::uint64_t SeekPlace(std::uint64_t position, std::uint64_t size, std::uint64_t offset, int origin) {
    return origin == SEEK_SET ? offset : origin == SEEK_CUR ? position + offset : size + offset;
}

}  // namespace qzil::media
