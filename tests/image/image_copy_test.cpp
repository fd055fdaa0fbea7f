#include "qzil/image/image.h"

#include "image/image_questions.h"
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

void ExpectCopied(Image const& from, Image const& to) {
    EXPECT_EQ(to->IsEqual(from.Get()), 0);
    EXPECT_EQ(FrameOf(to), (Frame{33, 44}));
    EXPECT_EQ(UserDataOf(to), nullptr) << "user data is not copied";
}

Ref<IXFImageClone> CloneOf(Image const& image) {
    return As<IXFImageClone>(image.Get(), IID_IXFImageClone);
}

TEST(Copy, TakesEverythingButUserData) {
    auto const source = Described();
    source->SetUserData(source.Get());
    auto const viaImage = NewImage(), viaClone = NewImage(), bare = NewImage();
    EXPECT_EQ(viaImage->CopyFrom(source.Get()), kOk);
    ExpectCopied(source, viaImage);
    auto const sourceClone = CloneOf(source);
    auto const toClone = CloneOf(viaClone);
    EXPECT_EQ(toClone->CopyFrom(sourceClone.Get()), kOk);
    ExpectCopied(source, viaClone);
    Image cloned;
    EXPECT_EQ(sourceClone->Clone(IID_IXFImage, cloned.Out()), kOk);
    ExpectCopied(source, cloned);
    EXPECT_EQ(bare->CopyFromNoData(source.Get()), kOk);
    std::ranges::copy(Bytes(source), Bytes(bare).begin());
    ExpectCopied(source, bare);
    EXPECT_EQ(CloneOf(bare)->CopyFromNoData(sourceClone.Get()), kOk);
    Image bareClone;
    EXPECT_EQ(sourceClone->CloneNoData(IID_IXFImage, bareClone.Out()), kOk);
    EXPECT_EQ(SizeOf(bareClone), SizeOf(source));
}

TEST(Copy, RefusesNullAndMismatchedExternalArrays) {
    auto const source = Described();
    auto const image = NewImage();
    auto const clone = CloneOf(image);
    EXPECT_EQ(image->CopyFrom(static_cast<IXFImage*>(nullptr)), kInvalidArgument);
    EXPECT_EQ(image->CopyFromNoData(nullptr), kInvalidArgument);
    EXPECT_EQ(clone->CopyFrom(nullptr), kInvalidArgument);
    EXPECT_EQ(clone->CopyFromNoData(nullptr), kInvalidArgument);
    EXPECT_EQ(image->CopyFrom(image.Get()), kOk);
    EXPECT_EQ(clone->CopyFrom(clone.Get()), kOk);
    std::vector<unsigned char> own(90, 0);
    image->SetPixelArray(own.data());
    image->SetPixelArraySize(89);
    EXPECT_EQ(image->CopyFrom(source.Get()), kUnexpected);
    image->SetPixelArraySize(90);
    EXPECT_EQ(image->CopyFrom(source.Get()), kOk);
    EXPECT_EQ(PixelsOf(image), own.data());
    EXPECT_EQ(DescribeDifference(Bytes(source), own), "");
}

TEST(Copy, CloneReportsItsFailures) {
    auto const live = LiveBlocks();
    {
        auto const source = CloneOf(Described());
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
    using Change = void (*)(IXFImage&);
    for (Change change : std::initializer_list<Change>{
             [](IXFImage& i) { i.SetFormat(MFIF_CbYCrY709A_24); }, [](IXFImage& i) { i.SetRes(5, 5); },
             [](IXFImage& i) { i.SetRes(6, 6); }, [](IXFImage& i) { i.SetOriginalRes(6, -8); },
             [](IXFImage& i) { i.SetOriginalRes(7, 8); }, [](IXFImage& i) { i.SetSize(2, 3.5); },
             [](IXFImage& i) { i.SetSize(2.5, 3); }, [](IXFImage& i) { i.SetPos(4.5, 5.5); },
             [](IXFImage& i) { i.SetPos(-4.5, 5); }, [](IXFImage& i) { i.SetNumChannels(3); },
             [](IXFImage& i) { i.SetChannelType(2); }, [](IXFImage& i) { i.SetChannelSize(2); },
             [](IXFImage& i) { i.SetCompress(0); }, [](IXFImage& i) { i.SetPixelSize(2); },
             [](IXFImage& i) { i.SetPixelArraySize(89); }, [](IXFImage& i) { i.SetAllAttributes(0xC0FFEE00); },
             [](IXFImage& i) { Bytes(&i)[89] ^= 1; }}) {
        auto const other = NewImage();
        other->CopyFrom(image.Get());
        EXPECT_EQ(other->IsEqual(image.Get()), 0);
        change(*other.Get());
        EXPECT_EQ(other->IsEqual(image.Get()), 1);
        EXPECT_EQ(image->IsEqual(other.Get()), 1);
    }
}

TEST(Equal, NaNDiffersAndWhatIsNotComparedDoesNot) {
    auto const image = Described(), other = NewImage();
    other->CopyFrom(image.Get());
    ByteVector own = Snapshot(image);
    SetFrame(other, {1, 2});
    other->SetUserData(&own);
    EXPECT_EQ(other->IsEqual(image.Get()), 0);
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
    a->SetUserData(a.Get());
    unsigned char byte = 0;
    auto const copyA = NewImage(), copyB = NewImage();
    copyA->CopyFrom(a.Get());
    copyB->CopyFrom(b.Get());
    void* const pixelsA = PixelsOf(a);
    auto const cloneA = CloneOf(a), cloneB = CloneOf(b);
    EXPECT_EQ(cloneA->Swap(cloneB.Get()), kOk);
    EXPECT_EQ(b->IsEqual(copyA.Get()), 0);
    EXPECT_EQ(a->IsEqual(copyB.Get()), 0);
    EXPECT_EQ(PixelsOf(b), pixelsA);
    EXPECT_EQ(UserDataOf(b), a.Get()) << "user data moves along";
    a->SetPixelArray(&byte);
    EXPECT_EQ(cloneA->Swap(cloneB.Get()), kOk);
    EXPECT_EQ(PixelsOf(b), &byte);
    EXPECT_EQ(b->Allocate(3, 4), kUnexpected) << "the external mark moved along";
    EXPECT_EQ(Report(a).uDynamic, 90u + 31u) << "and the allocated size: the block was made before the header was set";
}

TEST(Swap, DataNeedsEqualSizes) {
    auto const a = MakeRandomImage(MFIF_RGBA_RAW_32, 4, 4, 1), b = MakeRandomImage(MFIF_MONO_FLOAT, 4, 4, 2);
    auto const cloneA = CloneOf(a), cloneB = CloneOf(b);
    EXPECT_EQ(cloneA->SwapData(nullptr), kInvalidArgument);
    EXPECT_EQ(cloneA->SwapData(cloneA.Get()), kOk);
    void *const pixelsA = PixelsOf(a), *const pixelsB = PixelsOf(b);
    EXPECT_EQ(cloneA->SwapData(cloneB.Get()), kOk);
    EXPECT_TRUE(PixelsOf(a) == pixelsB && PixelsOf(b) == pixelsA);
    EXPECT_EQ(FormatOf(a.Get()), MFIF_RGBA_RAW_32);
    // The functions do what the interfaces do.
    EXPECT_EQ(qzILSwapImageData(a.Get(), b.Get()), kOk);
    EXPECT_TRUE(PixelsOf(a) == pixelsA && PixelsOf(b) == pixelsB);
    EXPECT_EQ(FormatOf(a.Get()), MFIF_RGBA_RAW_32);
    EXPECT_EQ(qzILSwapImage(a.Get(), b.Get()), kOk);
    EXPECT_EQ(PixelsOf(b), pixelsA);
    EXPECT_EQ(FormatOf(b.Get()), MFIF_RGBA_RAW_32);
    for (Frame const& frame : {Frame{1, 0}, Frame{0, 1}}) {
        SetFrame(b, frame);
        EXPECT_EQ(cloneA->SwapData(cloneB.Get()), kInvalidArgument);
    }
    SetFrame(b, {0, 0});
    b->Allocate(4, 5);
    EXPECT_EQ(qzILSwapImageData(a.Get(), b.Get()), kInvalidArgument);
}

}  // namespace
