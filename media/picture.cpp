#include "media/picture.h"

#include "media/byte_stream.h"
#include "media/codecs.h"
#include "media/file.h"
#include "qzil/image/pixel_math.h"

#include <algorithm>
#include <cstring>
#include <filesystem>

namespace qzil::media {

namespace {

using namespace std::string_view_literals;

/// What is known of a kind of files. TIFF, OpenEXR and WebP are read at any place of the file.
struct Kind {
    char const* pName;
    std::string_view oExtensions[3];  ///< the first ones that a kind is written by
    std::string_view oStarts[7];
    Picture (*pDecode)(InputStream&, ReadOptions const&);
    Bytes (*pEncode)(Picture const&, WriteOptions const&);
    int iDepth;  ///< largest that is written
    bool bAnyPlace;
};

constexpr Kind kKinds[] = {
    {"PNG", {".png"}, {"\x89PNG\r\n\x1a\n"sv}, DecodePng, EncodePng, 16, false},
    {"JPEG", {".jpg", ".jpeg"}, {"\xff\xd8\xff"sv}, DecodeJpeg, EncodeJpeg, 8, false},
    {"TIFF",
     {".tif", ".tiff"},
     {"II*\0"sv, "MM\0*"sv, "II+\0\x08\0\0\0"sv, "MM\0+\0\x08\0\0"sv},
     DecodeTiff,
     EncodeTiff,
     32,
     true},
    {"OpenEXR", {".exr"}, {"\x76\x2f\x31\x01"sv}, DecodeExr, EncodeExr, 32, true},
    {"WebP", {".webp"}, {"RIFF"sv}, DecodeWebp, EncodeWebp, 8, false},
    {"PNM",
     {".pnm", ".ppm", ".pgm"},
     {"P1"sv, "P2"sv, "P3"sv, "P4"sv, "P5"sv, "P6"sv},
     DecodePnm,
     EncodePnm,
     16,
     false},
    {"PAM", {".pam"}, {"P7"sv}, DecodePnm, EncodePam, 16, false},
};

/// Memory that a head alone may claim; beyond it memory is taken as the rows arrive.
constexpr std::size_t kTrustedBytes = std::size_t{1} << 24;

std::string Lower(std::string text) {
    for (char& c : text) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    return text;
}

Kind const* KindOfExtension(std::string const& extension) {
    for (Kind const& kind : kKinds) {
        auto const* const pEnd = std::end(kind.oExtensions);
        if (!extension.empty() && std::find(kind.oExtensions, pEnd, extension) != pEnd) return &kind;
    }
    return nullptr;
}

/// A path without the word of a kind in front, and that kind or the one of its extension.
struct Target {
    std::string sPath;
    Kind const* pKind;
};
Target TargetOf(std::string const& path) {
    std::size_t const colon = path.find(':');
    if (colon != std::string::npos) {
        if (Kind const* const pKind = KindOfExtension(Lower(std::string(".").append(path, 0, colon)))) {
            return {path.substr(colon + 1), pKind};
        }
    }
    return {path, KindOfExtension(Lower(std::filesystem::path(path).extension().string()))};
}

/// Samples from one depth to another, by way of 1.0 as full scale.
template <class From, class To>
void ConvertSamples(Picture const& from, Picture& to) {
    for (std::size_t i = 0; i * sizeof(typename To::Channel) < to.oBytes.size(); ++i) {
        typename From::Channel value{};
        std::memcpy(&value, from.oBytes.data() + i * sizeof value, sizeof value);
        auto const sample = To::FromReal(static_cast<double>(value) / From::kScale);
        std::memcpy(to.oBytes.data() + i * sizeof sample, &sample, sizeof sample);
    }
}

template <class F>
void WithDepth(int depth, F f) {
    if (depth == 8) return f(qzILFormat<unsigned char>());
    if (depth == 16) return f(qzILFormat<unsigned short>());
    f(qzILFormat<float>());
}

void CheckPicture(Picture const& picture) {
    CheckSize(static_cast<std::uint64_t>(std::max(picture.iWidth, 0)),
              static_cast<std::uint64_t>(std::max(picture.iHeight, 0)));
    if (!picture.IsSound()) throw Fault("the picture's samples do not fit its description");
}

/// The picture as a kind holds it: its depth, and tags that are true of it.
Picture Prepared(Picture picture, Kind const& kind, WriteOptions const& options) {
    int const had = picture.iDepth;
    int const depth = std::string_view(kind.pName) == "OpenEXR" ? 32 : std::min(had, kind.iDepth);
    if (depth != had) picture = AtDepth(picture, depth);
    Tags& tags = picture.oTags;
    // Half holds all that 8 bits hold, and not 16.
    bool const half = had == 8 || (had == 32 && tags.bHalf);
    if (options.bStrip) tags = {};
    tags.bHalf = half;
    if (!ProfileSuits(tags.oProfile, picture.iChannels < 3)) tags.oProfile.clear();
    if (!tags.oExif.empty()) tags.oExif = WithOrientation(tags.oExif, tags.iOrientation);
    return picture;
}

Bytes Encode(Kind const* kind, Picture picture, WriteOptions const& options) {
    if (!kind) throw Fault("the name must end in " + FileKinds(true));
    CheckPicture(picture);
    return kind->pEncode(Prepared(std::move(picture), *kind, options), options);
}

}  // namespace

Picture::Picture(int width, int height, int channels, int depth)
    : iWidth(width), iHeight(height), iChannels(channels), iDepth(depth) {
    oBytes.resize(RowBytes() * static_cast<unsigned>(height));
}

bool Picture::IsSound() const {
    bool const size = iWidth >= 0 && iHeight >= 0;
    bool const layout = iChannels >= 1 && iChannels <= 4;
    bool const depth = iDepth == 8 || iDepth == 16 || iDepth == 32;
    return size && layout && depth && oBytes.size() == RowBytes() * static_cast<unsigned>(iHeight);
}

void CheckSize(std::uint64_t width, std::uint64_t height) {
    std::string const size = std::to_string(width) + " x " + std::to_string(height) + " pixels";
    if (width == 0 || height == 0) throw Fault("it has no pixels (" + size + ")");
    if (width > kMaxSide || height > kMaxSide) {
        throw Fault("its " + size + " exceed the limit of " + std::to_string(kMaxSide) + " a side");
    }
    if (width * height > kMaxPixels) throw Fault("its " + size + " exceed the limit of " + std::to_string(kMaxPixels));
}

unsigned char* GrowingRows::Row(int y) {
    Bytes& bytes = m_oPicture.oBytes;
    std::size_t const row = m_oPicture.RowBytes(), needed = row * (static_cast<std::size_t>(y) + 1);
    if (bytes.size() < needed) {
        std::size_t const whole = row * static_cast<unsigned>(m_oPicture.iHeight);
        bytes.resize(std::min(whole, std::max({needed, 2 * bytes.size(), kTrustedBytes})));
    }
    return m_oPicture.Row(y);
}

void CheckPage(ReadOptions const& options, int pages) {
    if (options.iPage <= pages) return;
    throw Fault("page " + std::to_string(options.iPage) + " is asked for, and " +
                (pages == 1 ? "1 can be read" : std::to_string(pages) + " can be read"));
}

std::string FileKinds(bool written) {
    std::string names;
    for (Kind const& kind : kKinds) {
        std::string const before = names.empty() ? "" : &kind == std::end(kKinds) - 1 ? " or " : ", ";
        names += before + (written ? std::string(kind.oExtensions[0]) : kind.pName);
    }
    return names;
}

int DepthOf(std::string const& path) {
    Kind const* const pKind = TargetOf(path).pKind;
    return pKind ? pKind->iDepth : 0;
}

bool IsStandard(std::string const& path) {
    return TargetOf(path).sPath == "-";
}

bool HoldsAlpha(std::string const& path) {
    Kind const* const pKind = TargetOf(path).pKind;
    return pKind && pKind->pEncode != EncodeJpeg && pKind->pEncode != EncodePnm;
}

Picture AtDepth(Picture const& picture, int depth) {
    if (picture.iDepth == depth) return picture;
    Picture result(picture.iWidth, picture.iHeight, picture.iChannels, depth);
    result.oTags = picture.oTags;
    WithDepth(picture.iDepth, [&]<class From>(From) {
        WithDepth(depth, [&]<class To>(To) { ConvertSamples<From, To>(picture, result); });
    });
    return result;
}

Picture DecodePicture(InputStream& stream, ReadOptions const& options) {
    ByteView const start = stream.Peek(16);
    if (start.empty()) throw Fault("the file is empty");
    for (Kind const& kind : kKinds) {
        for (std::string_view const signature : kind.oStarts) {
            bool const fits = !signature.empty() && start.size() >= signature.size() &&
                              std::memcmp(start.data(), signature.data(), signature.size()) == 0;
            if (!fits) continue;
            auto const upright = [&options](Picture picture) {
                return options.bOrient ? Upright(std::move(picture)) : picture;
            };
            if (!kind.bAnyPlace || stream.FileSize()) return upright(kind.pDecode(stream, options));
            Bytes const file = stream.ReadRest();
            InputStream memory = InputStream::OfMemory(file);
            return upright(kind.pDecode(memory, options));
        }
    }
    throw Fault("it is not a " + FileKinds(false) + " file");
}

Picture ReadPicture(std::string const& path, ReadOptions const& options) {
    return NamingFile("read", path, [&] {
        InputStream stream = InputStream::Open(path);
        return DecodePicture(stream, options);
    });
}

void WritePicture(std::string const& path, Picture picture, WriteOptions const& options) {
    Target const target = TargetOf(path);
    NamingFile("write", target.sPath, [&] {
        Bytes const file = Encode(target.pKind, std::move(picture), options);
        auto const stream = OutputStream::Open(target.sPath, options.bKeepOld);
        stream->Write(file);
        stream->Finish();
    });
}

}  // namespace qzil::media
