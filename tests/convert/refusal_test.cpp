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

class ConvertRefusal : public testing::TestWithParam<Conversion> {};

TEST_P(ConvertRefusal, EveryPairOfFormats) {
    std::vector<u8> memory(2 * 8 * 8 * 16);
    for (auto const& in : AllFormats()) {
        Ref<IXFImage> const input = ImageOver(in.oFormat, std::span(memory).first(1024));
        for (auto const& out : AllFormats()) {
            ConvertJob job{.eKind = GetParam(), .oInput = input};
            job.oOutput = ImageOver(out.oFormat, std::span(memory).last(1024));
            job.oRoi = {0, 0, 8, 8};
            unsigned const code = PairCode(job.eKind, in.oFormat, out.oFormat);
            auto const effect = MakeEffect(job);
            EXPECT_EQ(effect->Verify(), code ? -1 : 1) << job.Describe();
            EXPECT_EQ(effect->GetLastError().GetErrorCode(), code) << job.Describe();
        }
    }
}
INSTANTIATE_TEST_SUITE_P(Effects, ConvertRefusal, testing::ValuesIn(kConversions),
                         [](auto const& instance) { return std::string(NameOfConversion(instance.param)); });

}  // namespace
}  // namespace qzil::test::model
