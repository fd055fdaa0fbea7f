// What the conversions refuse, with the codes that tell why.

#include "catalog/catalog.h"
#include "support/picture.h"
#include "support/table.h"

#include "qzil/frame/convert.h"
#include "qzil/image/formats.h"
#include "qzil/image/image_ops.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace qzil::test {
namespace {

constexpr char const* kConversions[] = {"rgba-to-rgba", "rgba-to-ycca", "ycca-to-rgba", "rgba-to-hlsa", "hlsa-to-rgba"};

/// An image over memory of the test, for formats that have no size of their own, too.
Ref<IXFImage> ImageOver(GUID const& format, std::span<unsigned char> memory) {
    Ref<IXFImage> image;
    qzILCreateImage(nullptr, IID_IXFImage, image.Out());
    image->SetFormat(format);
    image->SetRes(8, 8);
    image->SetPixelArray(memory.data());
    return image;
}

// All faults of the frame at once, mended one by one: each mending brings the next code out.
TEST(ConvertRefusal, OrderOfTheFrame) {
    std::vector<unsigned char> memory(8 * 8 * 4), otherMemory(memory), maskMemory(memory);
    Ref<IXFImage> const image = ImageOver(MFIF_RGBA_RAW_32, memory), mask = ImageOver(MFIF_RGBA_RAW_32, maskMemory),
                        empty = ImageOver(MFIF_RGBA_RAW_32, {}),
                        same = ImageOver(MFIF_BGR_RAW_24, memory),  // another image of the same memory
        other = ImageOver(MFIF_BGR_RAW_24, otherMemory),            // refused last
        video = ImageOver(MFIF_CbYCrY_16, otherMemory);
    qzILBbox2l const whole(0, 0, 8, 8), clipping(0, 0, 8, 7), wide(0, 0, 9, 8), odd(1, 0, 7, 8);
    struct {
        unsigned uCode;
        IXFImage *pInput, *pOutput;
        qzILBbox2l oRoi;
        unsigned uMode;
        IXFImage* pMask;  ///< none is allowed, not even where it lies in the output
        qzILBbox2l oMaskRect;
    } const cases[] = {{0x10002, nullptr, nullptr, wide, 7, image.Get(), whole},
                       {0x1000A, nullptr, image.Get(), wide, 7, image.Get(), whole},
                       {0x1000B, nullptr, image.Get(), whole, 7, image.Get(), whole},
                       {0x1000C, empty.Get(), image.Get(), whole, 7, image.Get(), whole},
                       {0x10033, image.Get(), image.Get(), whole, 7, image.Get(), whole},
                       {0x10033, same.Get(), image.Get(), whole, 7, image.Get(), whole},
                       {0x20002, other.Get(), image.Get(), whole, 7, image.Get(), whole},
                       {0x20001, other.Get(), image.Get(), whole, 15, image.Get(), whole},
                       {0x20001, other.Get(), image.Get(), whole, 15, mask.Get(), whole},
                       {0x20001, other.Get(), image.Get(), whole, 15, nullptr, clipping},
                       {0x10034, other.Get(), image.Get(), whole, 15, nullptr, whole},
                       {0x10060, video.Get(), video.Get(), odd, 15, nullptr, whole}};
    for (char const* const name : kConversions) {
        for (auto const& c : cases) {
            catalog::Instance instance = catalog::Find(name)->Make();
            instance.SetInput(0, c.pInput);
            instance.SetOutput(c.pOutput);
            instance.SetRoi(c.oRoi);
            dynamic_cast<qzILImgProc&>(instance.Effect()).SetMask(c.oMaskRect, c.pMask, XFImageChannel1);
            instance.Effect().SetProcessingMode(c.uMode);
            EXPECT_EQ(instance.Effect().Verify(), -1) << name << ' ' << &c - cases;
            EXPECT_EQ(instance.Effect().GetLastError().GetErrorCode(), c.uCode) << name << ' ' << &c - cases;
        }
    }
}

/// Error code for two formats by a table apart from the library's own; 0 when they pass.
unsigned PairCode(std::string const& conversion, GUID const& in, GUID const& out) {
    static std::vector<Row> const l_oRows = ReadTable("convert/pairs.tsv");
    auto const name = [](GUID const& format) { return std::string(FormatName(format) + std::strlen("MFIF_")); };
    auto const found = std::ranges::find_if(
        l_oRows, [&](Row const& row) { return row["conversion"] == conversion && row["input"] == name(in); });
    if (found == l_oRows.end()) return 0x10034;
    std::string const outputs = ' ' + (*found)["outputs"] + ' ';
    return outputs.find(' ' + name(out) + ' ') != std::string::npos ? 0 : static_cast<unsigned>(found->Number("code"));
}

TEST(ConvertRefusal, PairsOfFormats) {
    std::vector<unsigned char> memory(2 * 8 * 8 * 16);
    for (char const* const name : kConversions) {
        catalog::Instance instance = catalog::Find(name)->Make();
        qzILProcessor& effect = instance.Effect();
        for (NamedFormat const& in : AllFormats()) {
            Ref<IXFImage> const input = ImageOver(in.oFormat, std::span(memory).first(1024));
            instance.SetInput(0, input.Get());
            for (NamedFormat const& out : AllFormats()) {
                Ref<IXFImage> const output = ImageOver(out.oFormat, std::span(memory).last(1024));
                instance.SetOutput(output.Get());
                unsigned const code = PairCode(name, in.oFormat, out.oFormat);
                // A host that does not ask Verify gets the same code.
                for (bool const executed : {false, true}) {
                    effect.SetLastError(0);
                    EXPECT_EQ(executed ? effect.Execute() : effect.Verify(), code ? -1 : 1)
                        << name << ' ' << in.pName << ' ' << out.pName << executed;
                    EXPECT_EQ(effect.GetLastError().GetErrorCode(), code)
                        << name << ' ' << in.pName << ' ' << out.pName;
                }
            }
        }
    }
}

}  // namespace
}  // namespace qzil::test
