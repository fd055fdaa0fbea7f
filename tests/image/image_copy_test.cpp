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
