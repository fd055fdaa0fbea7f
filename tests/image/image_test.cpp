#include "qzil/image/image.h"

#include "qzil/image/image_ops.h"
#include "qzil/platform/stream.h"
#include "support/allocation_hook.h"
#include "support/picture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace {

using namespace qzil::test;
using namespace qzil::platform;
using Image = Ref<IXFImage>;

Image NewImage() {
    Image image;
    EXPECT_EQ(qzILCreateImage(nullptr, IID_IXFImage, image.Out()), kOk);
    return image;
}

struct Size {
    int iWidth = -1, iHeight = -1;
    bool operator==(Size const&) const = default;
};
Size ResOf(Image const& image) {
    Size size;
    image->GetRes(&size.iWidth, &size.iHeight);
    return size;
}
void* PixelsOf(Image const& image) {
    void* pixels = &pixels;
    image->GetPixelArray(&pixels);
    return pixels;
}
unsigned SizeOf(Image const& image) {
    unsigned size = 12345;
    image->GetPixelArraySize(&size);
    return size;
}

struct Statistics {
    MemStatKey uKey;
    std::string oClass;
    int iKind;
    std::uint32_t uObject, uDynamic, uFlags;
};
Statistics g_oStatistics;

Statistics Report(Image const& image) {
    g_oStatistics = {};
    CQZStatManager::SetHook([](MemStatKey key, char const* name, int kind, std::uint32_t object, std::uint32_t dynamic,
                               std::uint32_t flags) { g_oStatistics = {key, name, kind, object, dynamic, flags}; });
    auto const reporter = As<IQZAddMemSizeToStatManager>(image.Get(), IID_IQZAddMemSizeToStatManager);
    EXPECT_EQ(reporter->AddMemSizeToStatManager(77), kOk);
    CQZStatManager::SetHook(nullptr);
    return g_oStatistics;
}

TEST(Image, StartsEmpty) {
    auto const image = NewImage();
    EXPECT_EQ(FormatOf(image.Get()), GUID_NULL);
    EXPECT_EQ(ResOf(image), (Size{0, 0}));
    double sx = 9, sy = 9, px = 9, py = 9;
    image->GetSize(&sx, &sy);
    image->GetPos(&px, &py);
    EXPECT_EQ(sx, 1.0);
    EXPECT_EQ(sy, 1.0);
    EXPECT_EQ(px, 0.0);
    EXPECT_EQ(py, 0.0);
    unsigned channels = 9, type = 9, channelSize = 9, pixelSize = 9, attributes = 9;
    int compress = 9, w = 9, h = 9;
    image->GetNumChannels(&channels);
    image->GetChannelType(&type);
    image->GetChannelSize(&channelSize);
    image->GetPixelSize(&pixelSize);
    image->GetAllAttributes(&attributes);
    image->GetCompress(&compress);
    image->GetOriginalRes(&w, &h);
    EXPECT_EQ(channels + type + channelSize + pixelSize + attributes, 0u);
    EXPECT_EQ(std::abs(compress) + std::abs(w) + std::abs(h), 0);
    void* user = &user;
    image->GetUserData(&user);
    EXPECT_EQ(user, nullptr);
    EXPECT_EQ(PixelsOf(image), nullptr);
    EXPECT_EQ(SizeOf(image), 0u);
}

TEST(Image, AccessorsStoreWhatTheyGet) {
    auto const image = NewImage();
    EXPECT_EQ(image->SetRes(-3, 7), kOk);
    EXPECT_EQ(ResOf(image), (Size{-3, 7}));
    EXPECT_EQ(image->SetSize(-2.5, 3.5), kOk);
    EXPECT_EQ(image->SetPos(0.25, -9), kOk);
    EXPECT_EQ(image->SetOriginalRes(8, -6), kOk);
    EXPECT_EQ(image->SetPixelArraySize(4321), kOk);
    double x = 0, y = 0;
    int w = 0, h = 0;
    image->GetSize(&x, &y);
    EXPECT_EQ(std::pair(x, y), std::pair(-2.5, 3.5));
    image->GetPos(&x, &y);
    EXPECT_EQ(std::pair(x, y), std::pair(0.25, -9.0));
    image->GetOriginalRes(&w, &h);
    EXPECT_EQ(std::pair(w, h), std::pair(8, -6));
    EXPECT_EQ(SizeOf(image), 4321u);
    image->SetPixelArraySize(0);
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
    auto const image = NewImage();
    EXPECT_EQ(image->Verify(), 0);
    auto const expectTrouble = [&](auto change, auto restore) {
        change();
        EXPECT_EQ(image->Verify(), 1);
        restore();
        EXPECT_EQ(image->Verify(), 0);
    };
    expectTrouble([&] { image->SetRes(-1, 0); }, [&] { image->SetRes(0, 0); });
    expectTrouble([&] { image->SetRes(0, -1); }, [&] { image->SetRes(0, 0); });
    expectTrouble([&] { image->SetOriginalRes(-1, 0); }, [&] { image->SetOriginalRes(0, 0); });
    expectTrouble([&] { image->SetOriginalRes(0, -1); }, [&] { image->SetOriginalRes(0, 0); });
    expectTrouble([&] { image->SetSize(-0.5, 0); }, [&] { image->SetSize(0, 0); });
    expectTrouble([&] { image->SetSize(0, -0.5); }, [&] { image->SetSize(0, 0); });
    image->SetPos(-5, -5);
    EXPECT_EQ(image->Verify(), 0);
}

TEST(Image, AnswersItsInterfacesAndNoOthers) {
    auto const image = NewImage();
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
}

TEST(Image, EveryInterfaceSharesOneCountAndLeadsHome) {
    auto const live = LiveBlocks();
    {
        auto image = NewImage();
        auto clone = As<IXFImageClone>(image.Get(), IID_IXFImageClone);
        auto marshal = As<IMarshal>(image.Get(), IID_IMarshal);
        ASSERT_TRUE(clone && marshal);
        Ref<IMarshal> again = As<IMarshal>(clone.Get(), IID_IMarshal);
        EXPECT_EQ(again.Get(), marshal.Get()) << "one marshaler";
        image.Reset();
        marshal.Reset();
        again.Reset();
        auto const back = As<IXFImage>(clone.Get(), IID_IXFImage);
        EXPECT_TRUE(back) << "alive through the clone interface";
    }
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
        auto const image = NewImage();
        image->SetFormat(MFIF_RGB_RAW_24);
        ASSERT_EQ(image->Allocate(w, h), kOk);
        EXPECT_EQ(SizeOf(image), static_cast<unsigned>(w * h * 3));
        EXPECT_EQ(ResOf(image), (Size{w, h}));
        ASSERT_NE(PixelsOf(image), nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(PixelsOf(image)) % 32, 0u);
        std::memset(PixelsOf(image), 1, SizeOf(image));
    }
}

TEST(Allocate, NegativeSizesAreInvalid) {
    auto const image = MakeRandomImage(MFIF_MONO_RAW_8, 4, 4, 1);
    EXPECT_EQ(image->Allocate(-1, 4), kInvalidArgument);
    EXPECT_EQ(image->Allocate(4, -1), kInvalidArgument);
    EXPECT_EQ(SizeOf(image), 16u);
}

TEST(Allocate, SizesBeyond32BitsAreOutOfMemory) {
    struct Case {
        int iWidth, iHeight;
        unsigned uPixelSize, uHeader, uFooter;
    };
    for (Case const& c :
         {Case{65536, 65536, 1, 0, 0}, Case{65536, 65536, 4, 0, 0}, Case{46341, 46341, 4, 0, 0},
          Case{0x7FFFFFFF, 0x7FFFFFFF, 16, 0, 0}, Case{65535, 65537, 1, 0, 0}, Case{4, 4, 4, 0xFFFFFFF0, 0},
          Case{4, 4, 4, 0, 0xFFFFFFF0}, Case{4, 4, 4, 0x80000000, 0x80000000}, Case{16, 16, 0xFFFFFFFF, 0, 0}}) {
        auto const image = MakeRandomImage(MFIF_MONO_RAW_8, 4, 4, 1);
        image->SetPixelSize(c.uPixelSize);
        auto const frame = As<IXFImageHeaderFooter>(image.Get(), IID_IXFImageHeaderFooter);
        frame->SetHeaderSize(c.uHeader);
        frame->SetFooterSize(c.uFooter);
        EXPECT_EQ(image->Allocate(c.iWidth, c.iHeight), kOutOfMemory) << c.iWidth << ' ' << c.uHeader;
        EXPECT_EQ(PixelsOf(image), nullptr);
        EXPECT_EQ(SizeOf(image), 0u);
        EXPECT_EQ(ResOf(image), (Size{0, 0}));
        EXPECT_EQ(FormatOf(image.Get()), MFIF_MONO_RAW_8) << "still described";
        frame->SetHeaderSize(0);
        frame->SetFooterSize(0);
        image->SetPixelSize(1);
        EXPECT_EQ(image->Allocate(4, 4), kOk);
    }
}

TEST(Allocate, AnEqualTotalKeepsBlockAndPixels) {
    auto const image = MakeRandomImage(MFIF_MONO_RAW_8, 6, 4, 11);
    std::vector<unsigned char> const before(Bytes(image).begin(), Bytes(image).end());
    void* const pixels = PixelsOf(image);
    EXPECT_EQ(image->Allocate(4, 6), kOk);
    EXPECT_EQ(PixelsOf(image), pixels);
    EXPECT_EQ(DescribeDifference(before, Bytes(image)), "");
    EXPECT_EQ(ResOf(image), (Size{4, 6}));
    EXPECT_EQ(image->ResizePixelArray(24), kOk);
    EXPECT_EQ(DescribeDifference(before, Bytes(image)), "");
    EXPECT_EQ(image->ResizePixelArray(25), kOk);
    EXPECT_EQ(SizeOf(image), 25u);
    EXPECT_EQ(ResOf(image), (Size{4, 6})) << "the resolution stays";
}

TEST(Allocate, FailureToResizeKeepsTheResolution) {
    auto const image = MakeRandomImage(MFIF_MONO_RAW_8, 6, 4, 11);
    EXPECT_EQ(image->ResizePixelArray(0xFFFFFFFF), kOutOfMemory);
    EXPECT_EQ(PixelsOf(image), nullptr);
    EXPECT_EQ(SizeOf(image), 0u);
    EXPECT_EQ(ResOf(image), (Size{6, 4}));
    EXPECT_EQ(image->ResizePixelArray(24), kOk);
    EXPECT_NE(PixelsOf(image), nullptr);
}

// A block above 40960 bytes starts on a page, which makes the place of the pixel array visible.
TEST(Allocate, HeaderAndFooterSurroundThePixels) {
    for (auto const& [header, place] : {std::pair{0u, 0u}, {1u, 32u}, {32u, 32u}, {33u, 64u}, {100u, 128u}}) {
        auto const image = NewImage();
        image->SetFormat(MFIF_MONO_RAW_8);
        auto const frame = As<IXFImageHeaderFooter>(image.Get(), IID_IXFImageHeaderFooter);
        EXPECT_EQ(frame->SetHeaderSize(header), kOk);
        EXPECT_EQ(frame->SetFooterSize(50), kOk);
        unsigned stored = 0;
        frame->GetFooterSize(&stored);
        EXPECT_EQ(stored, 50u);
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
}

TEST(External, SettingAnArrayGivesTheBlockBackAtOnce) {
    auto const image = MakeImage(MFIF_MONO_RAW_8, 311, 199);
    auto* const old = static_cast<unsigned char*>(PixelsOf(image));
    unsigned char byte = 0;
    image->SetPixelArray(&byte);
    void* block = nullptr;
    ASSERT_EQ(CMFImage::s_pImageMemoryPool->AllocateMemory(311 * 199 + 31, &block), kOk);
    EXPECT_EQ(block, old) << "page-aligned block and 32-byte aligned array coincide";
    CMFImage::s_pImageMemoryPool->ReleaseMemory(block);
}

TEST(Statistics, AreReportedWithTheClassAndItsSizes) {
    auto const image = MakeImage(MFIF_MONO_RAW_8, 5, 5);
    auto const report = Report(image);
    EXPECT_EQ(report.uKey, 77u);
    EXPECT_EQ(report.oClass, "CMFImage");
    EXPECT_EQ(report.iKind, 4);
    EXPECT_EQ(report.uObject, sizeof(CMFImage));
    EXPECT_EQ(report.uDynamic, 25u + 31u);
    EXPECT_EQ(report.uFlags, 0u);
    auto const reporter = As<IQZAddMemSizeToStatManager>(image.Get(), IID_IQZAddMemSizeToStatManager);
    EXPECT_EQ(reporter->AddMemSizeToStatManager(1), kOk) << "silent without a hook";
}

Image Described() {
    auto image = MakeRandomImage(MFIF_CbYCrY_16, 4, 2, 3);
    image->SetSize(2, 3);
    image->SetPos(4, 5);
    image->SetOriginalRes(6, 7);
    image->SetNumChannels(9);
    image->SetChannelType(32);
    image->SetCompress(1);
    image->SetAllAttributes(0xF0);
    image->SetUserData(image.Get());
    As<IXFImageHeaderFooter>(image.Get(), IID_IXFImageHeaderFooter)->SetHeaderSize(10);
    As<IXFImageHeaderFooter>(image.Get(), IID_IXFImageHeaderFooter)->SetFooterSize(20);
    return image;
}

void ExpectCopied(Image const& from, Image const& to) {
    EXPECT_EQ(to->IsEqual(from.Get()), 0);
    unsigned header = 0, footer = 0;
    auto const frame = As<IXFImageHeaderFooter>(to.Get(), IID_IXFImageHeaderFooter);
    frame->GetHeaderSize(&header);
    frame->GetFooterSize(&footer);
    EXPECT_EQ(header, 10u);
    EXPECT_EQ(footer, 20u);
    void* user = &user;
    to->GetUserData(&user);
    EXPECT_EQ(user, nullptr) << "user data is not copied";
}

TEST(Copy, TakesEverythingButUserData) {
    auto const source = Described();
    auto const viaImage = NewImage(), viaClone = NewImage(), bare = NewImage();
    EXPECT_EQ(viaImage->CopyFrom(source.Get()), kOk);
    ExpectCopied(source, viaImage);
    auto const sourceClone = As<IXFImageClone>(source.Get(), IID_IXFImageClone);
    auto const toClone = As<IXFImageClone>(viaClone.Get(), IID_IXFImageClone);
    EXPECT_EQ(toClone->CopyFrom(sourceClone.Get()), kOk);
    ExpectCopied(source, viaClone);
    Image cloned;
    EXPECT_EQ(sourceClone->Clone(IID_IXFImage, cloned.Out()), kOk);
    ExpectCopied(source, cloned);
    EXPECT_EQ(bare->CopyFromNoData(source.Get()), kOk);
    std::ranges::copy(Bytes(source), Bytes(bare).begin());
    ExpectCopied(source, bare);
    EXPECT_EQ(As<IXFImageClone>(bare.Get(), IID_IXFImageClone)->CopyFromNoData(sourceClone.Get()), kOk);
    Image bareClone;
    EXPECT_EQ(sourceClone->CloneNoData(IID_IXFImage, bareClone.Out()), kOk);
    EXPECT_EQ(SizeOf(bareClone), SizeOf(source));
}

TEST(Copy, RefusesNullAndMismatchedExternalArrays) {
    auto const source = Described();
    auto const image = NewImage();
    auto const clone = As<IXFImageClone>(image.Get(), IID_IXFImageClone);
    EXPECT_EQ(image->CopyFrom(static_cast<IXFImage*>(nullptr)), kInvalidArgument);
    EXPECT_EQ(image->CopyFromNoData(nullptr), kInvalidArgument);
    EXPECT_EQ(clone->CopyFrom(nullptr), kInvalidArgument);
    EXPECT_EQ(clone->CopyFromNoData(nullptr), kInvalidArgument);
    EXPECT_EQ(image->CopyFrom(image.Get()), kOk);
    EXPECT_EQ(clone->CopyFrom(clone.Get()), kOk);
    std::vector<unsigned char> own(16, 0);
    image->SetPixelArray(own.data());
    image->SetPixelArraySize(15);
    EXPECT_EQ(image->CopyFrom(source.Get()), kUnexpected);
    image->SetPixelArraySize(16);
    EXPECT_EQ(image->CopyFrom(source.Get()), kOk);
    EXPECT_EQ(PixelsOf(image), own.data());
    EXPECT_EQ(DescribeDifference(Bytes(source), own), "");
}

TEST(Copy, CloneReportsItsFailures) {
    auto const live = LiveBlocks();
    {
        auto const source = As<IXFImageClone>(Described().Get(), IID_IXFImageClone);
        EXPECT_EQ(source->Clone(IID_IXFImage, nullptr), kInvalidArgument);
        EXPECT_EQ(source->CloneNoData(IID_IXFImage, nullptr), kInvalidArgument);
        void* out = &out;
        EXPECT_EQ(source->Clone(IID_IXFSubImages, &out), kNoInterface);
        EXPECT_EQ(out, nullptr);
        out = &out;
        EXPECT_EQ(source->CloneNoData(IID_IXFSubImages, &out), kNoInterface);
        EXPECT_EQ(out, nullptr);
    }
    EXPECT_LE(LiveBlocks(), live + 2) << "beyond one pooled block and its entry";
}

TEST(Equal, ComparesEachDescribedFieldAndThePixels) {
    auto const image = Described();
    EXPECT_EQ(image->IsEqual(nullptr), kInvalidArgument);
    EXPECT_EQ(image->IsEqual(image.Get()), 0);
    using Change = void (*)(Image const&);
    for (Change change : std::initializer_list<Change>{
             [](Image const& i) { i->SetFormat(MFIF_CbYCrY709_16); }, [](Image const& i) { i->SetRes(2, 2); },
             [](Image const& i) { i->SetRes(4, 4); }, [](Image const& i) { i->SetOriginalRes(5, 7); },
             [](Image const& i) { i->SetOriginalRes(6, 6); }, [](Image const& i) { i->SetSize(2.5, 3); },
             [](Image const& i) { i->SetSize(2, 3.5); }, [](Image const& i) { i->SetPos(4.5, 5); },
             [](Image const& i) { i->SetPos(4, 5.5); }, [](Image const& i) { i->SetNumChannels(3); },
             [](Image const& i) { i->SetChannelType(2); }, [](Image const& i) { i->SetChannelSize(2); },
             [](Image const& i) { i->SetCompress(0); }, [](Image const& i) { i->SetPixelSize(3); },
             [](Image const& i) { i->SetPixelArraySize(15); }, [](Image const& i) { i->SetAllAttributes(0xF1); },
             [](Image const& i) { Bytes(i)[15] ^= 1; }}) {
        auto const other = NewImage();
        other->CopyFrom(image.Get());
        EXPECT_EQ(other->IsEqual(image.Get()), 0);
        change(other);
        EXPECT_EQ(other->IsEqual(image.Get()), 1);
        EXPECT_EQ(image->IsEqual(other.Get()), 1);
    }
}

TEST(Equal, NaNDiffersAndWhatIsNotComparedDoesNot) {
    auto const image = Described(), other = NewImage();
    other->CopyFrom(image.Get());
    As<IXFImageHeaderFooter>(other.Get(), IID_IXFImageHeaderFooter)->SetHeaderSize(1);
    other->SetUserData(nullptr);
    EXPECT_EQ(other->IsEqual(image.Get()), 0);
    std::vector<unsigned char> own(Bytes(image).begin(), Bytes(image).end());
    other->SetPixelArray(own.data());
    EXPECT_EQ(other->IsEqual(image.Get()), 0) << "external or not";
    image->SetPos(std::nan(""), 0);
    other->SetPos(std::nan(""), 0);
    EXPECT_EQ(other->IsEqual(image.Get()), 1);
    EXPECT_EQ(image->IsEqual(image.Get()), 0);
    EXPECT_EQ(NewImage()->IsEqual(NewImage().Get()), 0) << "no pixels on either side";
}

TEST(Swap, ExchangesAllDataButTheCount) {
    auto const a = Described(), b = MakeRandomImage(MFIF_RGBA_FLOAT, 3, 3, 4);
    unsigned char byte = 0;
    auto const copyA = NewImage(), copyB = NewImage();
    copyA->CopyFrom(a.Get());
    copyB->CopyFrom(b.Get());
    void* const pixelsA = PixelsOf(a);
    auto const cloneA = As<IXFImageClone>(a.Get(), IID_IXFImageClone),
               cloneB = As<IXFImageClone>(b.Get(), IID_IXFImageClone);
    EXPECT_EQ(cloneA->Swap(cloneB.Get()), kOk);
    EXPECT_EQ(b->IsEqual(copyA.Get()), 0);
    EXPECT_EQ(a->IsEqual(copyB.Get()), 0);
    EXPECT_EQ(PixelsOf(b), pixelsA);
    void* user = nullptr;
    b->GetUserData(&user);
    EXPECT_EQ(user, a.Get()) << "user data moves along";
    a->SetPixelArray(&byte);
    EXPECT_EQ(cloneA->Swap(cloneB.Get()), kOk);
    EXPECT_EQ(PixelsOf(b), &byte);
    EXPECT_EQ(b->Allocate(3, 4), kUnexpected) << "the external mark moved along";
    EXPECT_EQ(Report(a).uDynamic, 16u + 31u) << "and the allocated size: the block was made before the header was set";
}

TEST(Swap, DataNeedsEqualSizes) {
    auto const a = MakeRandomImage(MFIF_RGBA_RAW_32, 4, 4, 1), b = MakeRandomImage(MFIF_MONO_FLOAT, 4, 4, 2);
    auto const cloneA = As<IXFImageClone>(a.Get(), IID_IXFImageClone),
               cloneB = As<IXFImageClone>(b.Get(), IID_IXFImageClone);
    EXPECT_EQ(cloneA->SwapData(nullptr), kInvalidArgument);
    EXPECT_EQ(cloneA->SwapData(cloneA.Get()), kOk);
    void* const pixelsA = PixelsOf(a);
    EXPECT_EQ(cloneA->SwapData(cloneB.Get()), kOk);
    EXPECT_EQ(PixelsOf(b), pixelsA);
    EXPECT_EQ(FormatOf(a.Get()), MFIF_RGBA_RAW_32);
    auto const frame = As<IXFImageHeaderFooter>(b.Get(), IID_IXFImageHeaderFooter);
    frame->SetHeaderSize(1);
    EXPECT_EQ(cloneA->SwapData(cloneB.Get()), kInvalidArgument);
    frame->SetHeaderSize(0);
    frame->SetFooterSize(1);
    EXPECT_EQ(cloneA->SwapData(cloneB.Get()), kInvalidArgument);
    frame->SetFooterSize(0);
    b->Allocate(4, 5);
    EXPECT_EQ(cloneA->SwapData(cloneB.Get()), kInvalidArgument);
}

}  // namespace
