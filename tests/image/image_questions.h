#pragma once

#include "qzil/image/formats.h"
#include "qzil/image/image.h"
#include "qzil/image/image_ops.h"
#include "qzil/platform/host.h"
#include "support/picture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

/// Short forms of the questions that tests ask an image.
namespace qzil::test {

using Image = Ref<IXFImage>;
using ByteVector = std::vector<unsigned char>;

inline ByteVector Snapshot(Image const& image) {
    return {Bytes(image).begin(), Bytes(image).end()};
}

inline GUID const kUnknown = CLSID_ILImage;

/// The format that a cell names; `own` where it says "=".
inline GUID FormatNamed(std::string const& cell, GUID const& own = GUID_NULL) {
    if (cell == "=") return own;
    if (cell == "unknown") return kUnknown;
    for (auto const& entry : AllFormats()) {
        if (entry.pName == "MFIF_" + cell) return entry.oFormat;
    }
    EXPECT_EQ(cell, "-");
    return GUID_NULL;
}

inline Image NewImage() {
    Image image;
    EXPECT_EQ(qzILCreateImage(nullptr, IID_IXFImage, image.Out()), platform::kOk);
    return image;
}

struct Size {
    int iWidth = -1, iHeight = -1;
    bool operator==(Size const&) const = default;
};
inline Size ResOf(Image const& image) {
    Size size;
    image->GetRes(&size.iWidth, &size.iHeight);
    return size;
}
inline void* PixelsOf(Image const& image) {
    void* pixels = &pixels;
    image->GetPixelArray(&pixels);
    return pixels;
}
inline unsigned SizeOf(Image const& image) {
    unsigned size = 12345;
    image->GetPixelArraySize(&size);
    return size;
}

struct Frame {
    unsigned uHeader = 1, uFooter = 1;
    bool operator==(Frame const&) const = default;
};
inline Frame FrameOf(Image const& image) {
    Frame frame;
    auto const object = As<IXFImageHeaderFooter>(image.Get(), IID_IXFImageHeaderFooter);
    object->GetHeaderSize(&frame.uHeader);
    object->GetFooterSize(&frame.uFooter);
    return frame;
}
inline void SetFrame(Image const& image, Frame const& frame) {
    auto const object = As<IXFImageHeaderFooter>(image.Get(), IID_IXFImageHeaderFooter);
    EXPECT_EQ(object->SetHeaderSize(frame.uHeader), platform::kOk);
    EXPECT_EQ(object->SetFooterSize(frame.uFooter), platform::kOk);
}
inline void* UserDataOf(Image const& image) {
    void* user = &user;
    image->GetUserData(&user);
    return user;
}

/// An image with a value of its own in every field.
inline Image Described() {
    auto image = MakeRandomImage(MFIF_CbYCrYA_24, 6, 5, 12);
    image->SetSize(2.5, 3.5);
    image->SetPos(-4.5, 5.5);
    image->SetOriginalRes(7, -8);
    image->SetCompress(1);
    image->SetNumChannels(11);
    image->SetChannelType(32);
    image->SetAllAttributes(0xC0FFEE01);
    SetFrame(image, {33, 44});
    return image;
}

struct Statistics {
    MemStatKey uKey;
    std::string oClass;
    int iKind;
    std::uint32_t uObject, uDynamic, uFlags;
    bool operator==(Statistics const&) const = default;
};
inline Statistics g_oStatistics;

inline Statistics Report(Image const& image) {
    g_oStatistics = {};
    CQZStatManager::SetHook([](MemStatKey key, char const* name, int kind, std::uint32_t object, std::uint32_t dynamic,
                               std::uint32_t flags) { g_oStatistics = {key, name, kind, object, dynamic, flags}; });
    auto const reporter = As<IQZAddMemSizeToStatManager>(image.Get(), IID_IQZAddMemSizeToStatManager);
    EXPECT_EQ(reporter->AddMemSizeToStatManager(77), platform::kOk);
    CQZStatManager::SetHook(nullptr);
    return g_oStatistics;
}

}  // namespace qzil::test
