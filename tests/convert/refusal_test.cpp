// What the conversions refuse, with the codes that tell why.

#include "convert/convert_support.h"

#include "qzil/image/image_ops.h"

namespace qzil::test::model {
namespace {

/// An image over memory of the test, for formats that have no size of their own, too.
Ref<IXFImage> ImageOver(GUID const& format, std::span<u8> memory) {
    Ref<IXFImage> image;
    qzILCreateImage(nullptr, IID_IXFImage, image.Out());
    image->SetFormat(format);
    image->SetRes(8, 8);
    image->SetPixelArray(memory.data());
    return image;
}

/// All faults of the frame at once, mended one by one: each mending brings the next code out.
void ExpectOrder(Conversion kind) {
    std::vector<u8> memory(8 * 8 * 4), other(memory), maskMemory(memory);
    ConvertJob job{.eKind = kind, .uMode = 7};
    auto const expect = [&](unsigned code, IXFImage* mask, qzILBbox2l const& maskRect) {
        auto const effect = MakeEffect(job);
        effect->SetMask(maskRect, mask, XFImageChannel1);
        EXPECT_EQ(effect->Verify(), -1) << job.Describe();
        EXPECT_EQ(effect->GetLastError().GetErrorCode(), code) << job.Describe();
    };
    qzILBbox2l const whole(0, 0, 8, 8), clipping(0, 0, 8, 7);
    Ref<IXFImage> const image = ImageOver(MFIF_RGBA_RAW_32, memory), mask = ImageOver(MFIF_RGBA_RAW_32, maskMemory);
    job.oRoi = {0, 0, 9, 8};
    expect(0x10002, image.Get(), whole);
    job.oOutput = image;
    expect(0x1000A, image.Get(), whole);
    job.oRoi = {0, 0, 8, 8};
    expect(0x1000B, image.Get(), whole);
    job.oInput = ImageOver(MFIF_RGBA_RAW_32, {});
    expect(0x1000C, image.Get(), whole);
    job.oInput = image;
    expect(0x10033, image.Get(), whole);
    job.oInput = ImageOver(MFIF_BGR_RAW_24, memory);  // another image of the same memory
    expect(0x10033, image.Get(), whole);
    job.oInput = ImageOver(MFIF_BGR_RAW_24, other);  // refused last
    expect(0x20002, image.Get(), whole);
    job.uMode = 15;
    // No mask is allowed, not even where it lies in the output.
    expect(0x20001, image.Get(), whole);
    expect(0x20001, mask.Get(), whole);
    expect(0x20001, nullptr, clipping);
    expect(0x10034, nullptr, whole);
    job.oInput = job.oOutput = ImageOver(MFIF_CbYCrY_16, other);
    job.oRoi = {1, 0, 7, 8};
    expect(0x10060, nullptr, whole);
}

void ExpectPairs(Conversion kind) {
    std::vector<u8> memory(2 * 8 * 8 * 16);
    for (auto const& in : AllFormats()) {
        Ref<IXFImage> const input = ImageOver(in.oFormat, std::span(memory).first(1024));
        for (auto const& out : AllFormats()) {
            ConvertJob job{.eKind = kind, .oInput = input};
            job.oOutput = ImageOver(out.oFormat, std::span(memory).last(1024));
            job.oRoi = {0, 0, 8, 8};
            unsigned const code = PairCode(job.eKind, in.oFormat, out.oFormat);
            auto const effect = MakeEffect(job);
            EXPECT_EQ(effect->Verify(), code ? -1 : 1) << job.Describe();
            EXPECT_EQ(effect->GetLastError().GetErrorCode(), code) << job.Describe();
            // A host that does not ask Verify gets the same code.
            effect->SetLastError(0);
            EXPECT_EQ(effect->Execute(), code ? -1 : 1) << job.Describe();
            EXPECT_EQ(effect->GetLastError().GetErrorCode(), code) << job.Describe();
        }
    }
}

TEST(ConvertRefusal, OfEveryConversion) {
    for (Conversion const kind : kConversions) {
        SCOPED_TRACE(static_cast<int>(kind));
        ExpectOrder(kind);
        ExpectPairs(kind);
    }
}

}  // namespace
}  // namespace qzil::test::model
