#include "media/tags.h"

#include <libexif/exif-data.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <memory>

namespace qzil::media {

namespace {

constexpr unsigned char kWord[] = {'E', 'x', 'i', 'f', 0, 0};

struct Unref {
    void operator()(ExifData* data) const { exif_data_unref(data); }
};
using Data = std::unique_ptr<ExifData, Unref>;

/// Nothing is put right or left out: what a camera wrote goes into the next file.
Data Parse(std::vector<unsigned char> const& exif) {
    Data data(exif_data_new());
    if (!data || exif.empty()) return nullptr;
    exif_data_unset_option(data.get(), EXIF_DATA_OPTION_FOLLOW_SPECIFICATION);
    exif_data_unset_option(data.get(), EXIF_DATA_OPTION_IGNORE_UNKNOWN_TAGS);
    exif_data_set_option(data.get(), EXIF_DATA_OPTION_DONT_CHANGE_MAKER_NOTE);
    std::vector<unsigned char> whole(std::begin(kWord), std::end(kWord));
    whole.insert(whole.end(), exif.begin(), exif.end());
    exif_data_load_data(data.get(), whole.data(), static_cast<unsigned>(whole.size()));
    return data;
}

ExifEntry* Orientation(ExifData* data) {
    ExifEntry* const pEntry = data ? exif_content_get_entry(data->ifd[EXIF_IFD_0], EXIF_TAG_ORIENTATION) : nullptr;
    return pEntry && pEntry->format == EXIF_FORMAT_SHORT && pEntry->size >= 2 ? pEntry : nullptr;
}

}  // namespace

int ExifOrientation(std::vector<unsigned char> const& exif) {
    Data const data = Parse(exif);
    ExifEntry const* const pEntry = Orientation(data.get());
    int const value = pEntry ? exif_get_short(pEntry->data, exif_data_get_byte_order(data.get())) : 1;
    return value >= 1 && value <= 8 ? value : 1;
}

std::vector<unsigned char> WithOrientation(std::vector<unsigned char> const& exif, int orientation) {
    Data const data = Parse(exif);
    if (!data) return {};
    if (ExifEntry* const pEntry = Orientation(data.get())) {
        exif_set_short(pEntry->data, exif_data_get_byte_order(data.get()), static_cast<ExifShort>(orientation));
    }
    unsigned char* pSaved = nullptr;
    unsigned size = 0;
    exif_data_save_data(data.get(), &pSaved, &size);
    std::unique_ptr<unsigned char, decltype(&std::free)> const saved(pSaved, std::free);
    if (!saved || size <= sizeof kWord) return {};
    return std::vector<unsigned char>(pSaved + sizeof kWord, pSaved + size);
}

}  // namespace qzil::media
