#include "qzil/image/image.h"

#include "image/image_questions.h"
#include "qzil/image/image_ops.h"
#include "qzil/platform/stream.h"
#include "support/allocation_hook.h"
#include "support/picture.h"
#include "support/table.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace {

using namespace qzil::test;
using namespace qzil::platform;

/// What an image stores besides format, resolution and pixels.
struct Fields {
    double dfWidth = 9, dfHeight = 9, dfX = 9, dfY = 9;
    int iWidth = 9, iHeight = 9, iCompress = 9;
    unsigned uChannels = 9, uType = 9, uChannelSize = 9, uPixelSize = 9, uAttributes = 9;
    bool operator==(Fields const&) const = default;

    static Fields Of(Image const& image) {
        Fields f;
        image->GetSize(&f.dfWidth, &f.dfHeight);
        image->GetPos(&f.dfX, &f.dfY);
        image->GetOriginalRes(&f.iWidth, &f.iHeight);
        image->GetCompress(&f.iCompress);
        image->GetNumChannels(&f.uChannels);
        image->GetChannelType(&f.uType);
        image->GetChannelSize(&f.uChannelSize);
        image->GetPixelSize(&f.uPixelSize);
        image->GetAllAttributes(&f.uAttributes);
        return f;
    }
};

TEST(Image, StartsEmptyAndStoresWhatItGets) {
    auto const image = NewImage();
    EXPECT_EQ(FormatOf(image.Get()), GUID_NULL);
    EXPECT_EQ(ResOf(image), (Size{0, 0}));
    EXPECT_EQ(Fields::Of(image), (Fields{1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(UserDataOf(image), nullptr);
    EXPECT_EQ(PixelsOf(image), nullptr);
    EXPECT_EQ(SizeOf(image), 0u);
    EXPECT_EQ(image->SetRes(-3, 7), kOk);
    EXPECT_EQ(ResOf(image), (Size{-3, 7}));
    EXPECT_EQ(image->SetPixelArraySize(4321), kOk);
    EXPECT_EQ(SizeOf(image), 4321u);
    image->SetPixelArraySize(0);
    EXPECT_EQ(Fields::Of(Described()), (Fields{2.5, 3.5, -4.5, 5.5, 7, -8, 1, 11, 32, 1, 3, 0xC0FFEE01}));
    EXPECT_EQ(image->CopyLine(nullptr, 0, 0, 1, 1), kNotImplemented);
    EXPECT_EQ(image->PasteLine(nullptr, 0, 0, 1, 1), kNotImplemented);
}

TEST(Image, AttributesAreBits) {
    auto const image = NewImage();
    int set = 9;
    unsigned all = 9;
    image->SetAllAttributes(0x30);
    EXPECT_EQ(image->SetFilledAlpha(5), kOk);
    image->GetAllAttributes(&all);
    EXPECT_EQ(all, 0x31u) << "the filled-alpha mark is bit 1";
    image->GetFilledAlpha(&set);
    EXPECT_EQ(set, 1);
    image->GetAttributes(0x11, &set);
    EXPECT_EQ(set, 1);
    image->GetAttributes(0x50, &set);
    EXPECT_EQ(set, 0) << "one bit of the mask is missing";
    image->SetAttributes(0x21, 0);
    image->GetAllAttributes(&all);
    EXPECT_EQ(all, 0x10u);
    image->GetFilledAlpha(&set);
    EXPECT_EQ(set, 0);
}

TEST(Image, VerifyReportsNegativeSizesWithOne) {
    for (int field = -1; field < 6; ++field) {
        auto const image = NewImage();
        auto const value = [field](int i) { return i == field ? -1 : 0; };
        image->SetRes(value(0), value(1));
        image->SetOriginalRes(value(2), value(3));
        image->SetSize(value(4) * 0.5, value(5) * 0.5);
        image->SetPos(-5, -5);
        EXPECT_EQ(image->Verify(), field < 0 ? 0 : 1) << field;
    }
}

TEST(Image, AnswersItsInterfacesAndNoOthers) {
    auto const live = LiveBlocks();
    auto image = NewImage();
    EXPECT_EQ(image->QueryInterface(IID_IXFImage, nullptr), kInvalidArgument);
    for (GUID const& iid : {IID_IUnknown, IID_IXFImage, IID_IXFImageHeaderFooter, IID_IXFImageClone, IID_IPersistStream,
                            IID_IMarshal, IID_IQZAddMemSizeToStatManager}) {
        void* out = nullptr;
        EXPECT_EQ(image->QueryInterface(iid, &out), kOk);
        ASSERT_NE(out, nullptr);
        EXPECT_EQ(out == image.Get(), iid == IID_IUnknown || iid == IID_IXFImage);
        static_cast<IUnknown*>(out)->Release();
    }
    for (GUID const& iid : {IID_IXFSubImages, IID_IXFImageProperties, IID_IStream, GUID_NULL}) {
        void* out = &out;
        EXPECT_EQ(image->QueryInterface(iid, &out), kNoInterface);
        EXPECT_EQ(out, nullptr) << "cleared";
    }
    EXPECT_EQ(image->AddRef(), 2u) << "nothing above kept a count";
    EXPECT_EQ(image->Release(), 1u);
    auto clone = As<IXFImageClone>(image.Get(), IID_IXFImageClone);
    EXPECT_EQ(As<IMarshal>(image.Get(), IID_IMarshal).Get(), As<IMarshal>(clone.Get(), IID_IMarshal).Get());
    image.Reset();
    EXPECT_TRUE(As<IXFImage>(clone.Get(), IID_IXFImage)) << "alive through the clone interface";
    clone.Reset();
    EXPECT_EQ(LiveBlocks(), live);
}

TEST(Image, MarshalsAPointerBetweenThreadsOfTheProcess) {
    auto const image = NewImage();
    auto const marshal = As<IMarshal>(image.Get(), IID_IMarshal);
    Ref<IStream> stream;
    ASSERT_EQ(CreateMemoryStream(nullptr, 0, stream.Typed()), kOk);
    ASSERT_EQ(marshal->MarshalInterface(stream.Get(), IID_IXFImage, image.Get()), kOk);
    LARGE_INTEGER start{};
    ASSERT_EQ(stream->Seek(start, 0, nullptr), kOk);
    Image other;
    ASSERT_EQ(marshal->UnmarshalInterface(stream.Get(), IID_IXFImage, other.Out()), kOk);
    EXPECT_EQ(other.Get(), image.Get());
}

TEST(Image, CreationRefusesAggregationAndUnknownInterfaces) {
    auto const outer = NewImage();
    auto const live = LiveBlocks();
    void* out = nullptr;
    EXPECT_EQ(qzILCreateImage(outer.Get(), IID_IXFImage, &out), kNoAggregation);
    EXPECT_EQ(qzILCreateImage(nullptr, IID_IXFSubImages, &out), kUnexpected) << "not the failure of QueryInterface";
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(qzILCreateImage(nullptr, IID_IXFImage, nullptr), kUnexpected);
    EXPECT_EQ(LiveBlocks(), live);
}

TEST(Allocate, GivesAlignedMemoryForThePixels) {
    for (auto const& [w, h] : {std::pair{1, 1}, {0, 0}, {0, 5}, {7, 3}, {301, 200}, {1920, 1080}}) {
        auto const image = MakeRandomImage(MFIF_RGB_RAW_24, w, h, 1);
        EXPECT_EQ(SizeOf(image), static_cast<unsigned>(w * h * 3));
        EXPECT_EQ(ResOf(image), (Size{w, h}));
        ASSERT_NE(PixelsOf(image), nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(PixelsOf(image)) % 32, 0u);
    }
}

TEST(Allocate, ImpossibleSizes) {
    for (Row const& row : ReadTable("image/impossible_sizes.tsv")) {
        SCOPED_TRACE(row["width"] + ' ' + row["height"] + ' ' + row["header"]);
        auto const image = MakeRandomImage(MFIF_MONO_RAW_8, 4, 4, 1);
        int const width = row.Number("width"), height = row.Number("height");
        image->SetPixelSize(static_cast<unsigned>(row.Number("pixel size")));
        SetFrame(image, {static_cast<unsigned>(row.Number("header")), static_cast<unsigned>(row.Number("footer"))});
        if (width < 0 || height < 0) {
            EXPECT_EQ(image->Allocate(width, height), kInvalidArgument);
            EXPECT_EQ(SizeOf(image), 16u);
            continue;
        }
        EXPECT_EQ(image->Allocate(width, height), kOutOfMemory);
        EXPECT_EQ(PixelsOf(image), nullptr);
        EXPECT_EQ(SizeOf(image), 0u);
        EXPECT_EQ(ResOf(image), (Size{0, 0}));
        EXPECT_EQ(FormatOf(image.Get()), MFIF_MONO_RAW_8) << "still described";
        SetFrame(image, {0, 0});
        image->SetPixelSize(1);
        EXPECT_EQ(image->Allocate(4, 4), kOk);
    }
}

TEST(Allocate, AnEqualTotalKeepsBlockAndPixels) {
    auto const image = MakeRandomImage(MFIF_MONO_RAW_8, 6, 4, 11);
    ByteVector const before = Snapshot(image);
    void* const pixels = PixelsOf(image);
    EXPECT_EQ(image->Allocate(4, 6), kOk);
    EXPECT_EQ(PixelsOf(image), pixels);
    EXPECT_EQ(DescribeDifference(before, Bytes(image)), "");
    EXPECT_EQ(ResOf(image), (Size{4, 6}));
    EXPECT_EQ(image->ResizePixelArray(24), kOk);
    EXPECT_EQ(DescribeDifference(before, Bytes(image)), "");
    EXPECT_EQ(image->ResizePixelArray(25), kOk);
    EXPECT_EQ(SizeOf(image), 25u);
    EXPECT_EQ(image->ResizePixelArray(0xFFFFFFFF), kOutOfMemory);
    EXPECT_EQ(PixelsOf(image), nullptr);
    EXPECT_EQ(SizeOf(image), 0u);
    EXPECT_EQ(ResOf(image), (Size{4, 6})) << "the resolution stays";
    EXPECT_EQ(image->ResizePixelArray(24), kOk);
    EXPECT_NE(PixelsOf(image), nullptr);
}

// A block above 40960 bytes starts on a page, which makes the place of the pixel array visible.
TEST(Allocate, HeaderAndFooterSurroundThePixels) {
    for (auto const& [header, place] : {std::pair{0u, 0u}, {1u, 32u}, {32u, 32u}, {33u, 64u}, {100u, 128u}}) {
        auto const image = NewImage();
        image->SetFormat(MFIF_MONO_RAW_8);
        SetFrame(image, {header, 50});
        EXPECT_EQ(FrameOf(image), (Frame{header, 50}));
        ASSERT_EQ(image->Allocate(300, 200), kOk);
        auto* const pixels = static_cast<unsigned char*>(PixelsOf(image));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(pixels) % 4096, place) << header;
        std::memset(pixels - header, 0x11, header);
        std::memset(pixels + 60000, 0x22, 50);
        FillRandom(image.Get(), 1);
        unsigned char grey = 7;
        EXPECT_EQ(image->FillRegion(&grey, 0, 0, 300, 200), kOk);
        EXPECT_EQ(image->FillLine(&grey, 0, 0, 299, 199), kOk);
        for (unsigned i = 1; i <= header; ++i) ASSERT_EQ(*(pixels - i), 0x11);
        for (unsigned i = 0; i < 50; ++i) ASSERT_EQ(pixels[60000 + i], 0x22);
        EXPECT_EQ(Report(image).uDynamic, 60000u + header + 50 + 31);
    }
}

TEST(External, ThePixelArrayIsTheCallers) {
    std::vector<unsigned char> own(48, 9);
    auto const image = MakeRandomImage(MFIF_RGBA_RAW_32, 10, 10, 1);
    auto const live = LiveBlocks();
    EXPECT_EQ(image->SetPixelArray(own.data()), kOk);
    EXPECT_EQ(PixelsOf(image), own.data());
    EXPECT_EQ(SizeOf(image), 400u) << "the caller sets the size";
    image->SetPixelArraySize(48);
    EXPECT_EQ(image->Allocate(4, 4), kUnexpected);
    EXPECT_EQ(ResOf(image), (Size{10, 10}));
    EXPECT_EQ(image->Allocate(4, 3), kOk);
    EXPECT_EQ(ResOf(image), (Size{4, 3}));
    EXPECT_EQ(PixelsOf(image), own.data());
    EXPECT_EQ(image->ResizePixelArray(48), kOk);
    EXPECT_EQ(image->ResizePixelArray(47), kUnexpected);
    EXPECT_EQ(Report(image).uDynamic, 0u);
    EXPECT_EQ(image->SetPixelArray(nullptr), kOk);
    EXPECT_EQ(PixelsOf(image), nullptr);
    EXPECT_EQ(Report(image).uDynamic, 0u) << "the old block does not count any more";
    EXPECT_EQ(image->Allocate(10, 10), kOk) << "owned again, even at the size of the block given back";
    ASSERT_NE(PixelsOf(image), nullptr);
    std::memset(PixelsOf(image), 3, 400);
    EXPECT_EQ(own, std::vector<unsigned char>(48, 9));
    EXPECT_LE(LiveBlocks(), live + 4);

    auto const large = MakeImage(MFIF_MONO_RAW_8, 311, 199);
    void *const old = PixelsOf(large), *block = nullptr;
    large->SetPixelArray(own.data());
    ASSERT_EQ(CMFImage::s_pImageMemoryPool->AllocateMemory(311 * 199 + 31, &block), kOk);
    EXPECT_EQ(block, old) << "given back at once; page-aligned block and 32-byte aligned array coincide";
    CMFImage::s_pImageMemoryPool->ReleaseMemory(block);
}

TEST(Statistics, AreReportedWithTheClassAndItsSizes) {
    auto const image = MakeImage(MFIF_MONO_RAW_8, 5, 5);
    EXPECT_EQ(Report(image), (Statistics{77, "CMFImage", 4, sizeof(CMFImage), 25 + 31, 0}));
    auto const reporter = As<IQZAddMemSizeToStatManager>(image.Get(), IID_IQZAddMemSizeToStatManager);
    EXPECT_EQ(reporter->AddMemSizeToStatManager(1), kOk) << "silent without a hook";
}

}  // namespace
