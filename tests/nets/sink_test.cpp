// What holds for every sink: the region it reads, and what it refuses.

#include "support/picture.h"

#include "qzil/frame/sink.h"
#include "qzil/image/image_ops.h"

#include <gtest/gtest.h>

namespace qzil::test {
namespace {

/// A sink that sums its region, through the mask where there is one.
class Sum : public qzILMonadicSinkPixelProc {
public:
    qzILStatus DoEffect() override {
        ++iCalls;
        for (int y = 0; y < m_oProcessedBox.Size.y; ++y) {
            for (int x = 0; x < m_oProcessedBox.Size.x; ++x) {
                int const value =
                    *m_oInputHelper.GetPixelPtr(x + m_oProcessedBox.Origin.x, y + m_oProcessedBox.Origin.y);
                iSum += m_oMaskHelper.IsEmpty() || *m_oMaskHelper.GetPixelPtr(x, y) != 0 ? value : 0;
            }
        }
        return 1;
    }
    char const* GetActualClassName() const override { return "Sum"; }
    int iCalls = 0;
    int iSum = 0;
};

TEST(SinkFrame, RegionIsTheMaskRectangleInsideTheInput) {
    Ref<IXFImage> const input = MakeImage(MFIF_MONO_RAW_8, 6, 4), mask = MakeImage(MFIF_MONO_RAW_8, 3, 2);
    for (std::size_t i = 0; i < 24; ++i) Bytes(input)[i] = static_cast<unsigned char>(i);
    Bytes(mask)[0] = Bytes(mask)[5] = 255;  // its (0, 0) and (2, 1)
    Sum sink;
    sink.SetInputImg(input.Get());
    EXPECT_EQ(sink.Verify(), 1);
    EXPECT_EQ(sink.Execute(), 1);
    EXPECT_EQ(sink.iSum, 276);
    sink.iSum = 0;
    sink.SetMask({-1, -1, 3, 2}, nullptr, XFImageChannelMono);
    EXPECT_EQ(sink.Execute(), 1);
    EXPECT_EQ(sink.iSum, 0 + 1);
    sink.iSum = 0;
    sink.SetMask({4, 1, 3, 2}, mask.Get(), XFImageChannelMono);  // its third column lies outside
    EXPECT_EQ(sink.Execute(), 1);
    EXPECT_EQ(sink.iSum, 10);
    sink.iCalls = 0;
    sink.SetMask({6, 0, 3, 2}, mask.Get(), XFImageChannelMono);
    EXPECT_EQ(sink.Execute(), 1);
    EXPECT_EQ(sink.iCalls, 0);
}

TEST(SinkFrame, VerifyNamesTheFirstFault) {
    Ref<IXFImage> const input = MakeImage(MFIF_RGBA_RAW_32, 6, 4), mask = MakeImage(MFIF_MONO_RAW_8, 6, 4),
                        video = MakeImage(MFIF_CbYCrY_16, 6, 4);
    Ref<IXFImage> empty;
    ASSERT_EQ(qzILCreateImage(nullptr, IID_IXFImage, empty.Out()), 0);
    struct Case {
        IXFImage* pInput;
        IXFImage* pMask;
        qzILBbox2l oRect;
        XFImageChannel uChannel;
        unsigned uCode;
    };
    for (Case const& c :
         {Case{input.Get(), nullptr, {0, 0, 6, 4}, 16, 0}, Case{input.Get(), mask.Get(), {0, 0, 6, 4}, 16, 0},
          Case{input.Get(), empty.Get(), {0, 0, 6, 4}, 16, 0x10005},
          Case{input.Get(), mask.Get(), {0, 0, 6, 3}, 16, 0x10006},
          Case{input.Get(), video.Get(), {0, 0, 6, 4}, 16, 0x10007},
          Case{input.Get(), mask.Get(), {0, 0, 6, 4}, 1, 0x10008},
          Case{input.Get(), input.Get(), {0, 0, 6, 4}, 16, 0x10008}, Case{nullptr, nullptr, {0, 0, 6, 4}, 16, 0x1000B},
          Case{empty.Get(), nullptr, {0, 0, 6, 4}, 16, 0x1000C}}) {
        Sum sink;
        sink.SetInputImg(c.pInput);
        sink.SetMask(c.oRect, c.pMask, c.uChannel);
        EXPECT_EQ(sink.Verify(), c.uCode == 0 ? 1 : -1);
        EXPECT_EQ(sink.GetLastError().GetErrorCode(), c.uCode);
    }
}

}  // namespace
}  // namespace qzil::test
