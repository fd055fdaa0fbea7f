#include "qzil/image/image_ops.h"

#include "image/image_questions.h"
#include "qzil/image/format_relations.h"
#include "support/allocation_hook.h"
#include "support/picture.h"
#include "support/plain_layout.h"
#include "support/table.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

using namespace qzil::test;
using qzil::Ref;

TEST(ImageHelper, AddressesEveryPixelOfEveryFormat) {
    for (GUID const& format : DescribedFormats()) {
        for (auto const& [w, h] : {std::pair{1, 1}, {3, 2}, {4, 3}, {5, 6}, {2, 7}}) {
            auto const image = MakeImage(format, w, h);
            ASSERT_TRUE(image) << NameOf(format);
            PlainLayout const layout(image.Get());
            qzILImageHelper helper(image.Get());
            auto* const start = Bytes(image).data();
            for (int y = 0; y < h; ++y) {
                for (int x = 0; x < w; ++x) {
                    ASSERT_EQ(helper.GetPixelPtr(x, y) - start, static_cast<std::ptrdiff_t>(layout.Pixel(x, y)))
                        << NameOf(format) << ' ' << w << 'x' << h << " at " << x << ' ' << y;
                    ASSERT_EQ(qzILGetPixelPtr(format, start, w, h, x, y, 0), helper.GetPixelPtr(x, y))
                        << NameOf(format);
                    if (!IsFormatWithAlpha(format)) continue;
                    ASSERT_EQ(helper.GetAlphaPtr(x, y) - start, static_cast<std::ptrdiff_t>(layout.Alpha(x, y)))
                        << NameOf(format) << ' ' << w << 'x' << h << " at " << x << ' ' << y;
                }
            }
        }
    }
}

TEST(ImageHelper, OffsetsAndChannelAreAddedAndStay) {
    auto const image = MakeImage(MFIF_CbYCrYA_S2_14, 6, 4);
    qzILImageHelper helper;
    EXPECT_TRUE(helper.IsEmpty());
    EXPECT_EQ(helper.GetPixelPtr(0, 0), nullptr);
    helper.m_iOffsetX = 1;
    helper.m_iOffsetY = 2;
    helper.SetImage(image.Get());
    std::ptrdiff_t const steps[] = {helper.m_iPixelStep, helper.m_iAlphaPixelStep, helper.m_iLineStepA,
                                    helper.m_iLineStepB, helper.m_iAlphaLineStep};
    EXPECT_TRUE(std::ranges::equal(steps, std::array{4, 2, -24, -24, -12}));
    helper.m_uChannelOffset = 1;
    EXPECT_EQ(helper.GetPixelPtr(2, 0) - Bytes(image).data(), (3 - 2) * 24 + (2 + 1) * 4 + 2);
    helper.SetImage(nullptr);
    EXPECT_TRUE(helper.IsEmpty());
    EXPECT_EQ(helper.m_pLineZero, nullptr);
}

// A stream may describe any sizes: a channel larger than its pixel, channels that no format has, or no rows of a width
// and a pixel size whose product leaves the address space.
TEST(ImageHelper, SizesThatContradictTheFormatStayInsideTheArray) {
    for (Row const& row : ReadTable("image/contradictions.tsv")) {
        SCOPED_TRACE(row["format"] + ' ' + row["pixel size"] + ' ' + row["channel size"]);
        auto const channelSize = static_cast<unsigned>(row.Number("channel size"));
        auto const image = MakeImage(FormatNamed(row["format"]), 1, 1);
        image->SetPixelSize(static_cast<unsigned>(row.Number("pixel size")));
        image->SetChannelSize(channelSize);
        ASSERT_EQ(image->Allocate(row.Number("width"), row.Number("height")), 0);
        EXPECT_EQ(qzILImageHelper(image.Get()).m_iHeight, row.Number("height"));
        Ref<IXFImage> other, color, alpha;
        ASSERT_EQ(qzILCloneImage(image.Get(), IID_IXFImage, other.Out()), 0);
        qzILBbox2l const region(0, 0, 4, 3);
        qzILVector2l const offset(1, 0);
        qzILCopyImage(image.Get(), other.Get(), &region, &offset, 0x100);
        qzILCopyImage(other.Get(), other.Get(), &region, &offset, 0);
        qzILSplitYCCAImage(image.Get(), color.Typed(), alpha.Typed());
        if (channelSize > 1000) continue;
        ByteVector pixel(4096);
        for (unsigned channels : {15u, 7u, 8u, 2u}) qzILFillRegion(image.Get(), region, pixel.data(), channels);
    }
}

struct Copy {
    bool bRegion, bOffset;
    qzILBbox2l oRegion;
    qzILVector2l oOffset;
    unsigned uMode;
};

std::string Describe(Copy const& c) {
    return (c.bRegion ? "region " : "no region ") + std::to_string(c.oRegion.Origin.x) + ' ' +
           std::to_string(c.oRegion.Origin.y) + ' ' + std::to_string(c.oRegion.Size.x) + ' ' +
           std::to_string(c.oRegion.Size.y) + (c.bOffset ? " offset " : " no offset ") + std::to_string(c.oOffset.x) +
           ' ' + std::to_string(c.oOffset.y) + " mode " + std::to_string(c.uMode);
}

// Pixel by pixel from an untouched copy of the source.
void ModelCopy(PlainLayout const& from, ByteVector const& source, PlainLayout const& to, ByteVector& destination,
               Copy const& c) {
    qzILBbox2l region = c.oRegion;
    if (!c.bRegion) region = qzILBbox2l(0, 0, std::min(from.iWidth, to.iWidth), std::min(from.iHeight, to.iHeight));
    qzILVector2l const target = c.bOffset ? c.oOffset : region.Origin;
    for (int y = 0; y < region.Size.y; ++y) {
        for (int x = 0; x < region.Size.x; ++x) {
            int const sx = region.Origin.x + x, sy = region.Origin.y + y, dx = target.x + x, dy = target.y + y;
            if (sx < 0 || sy < 0 || sx >= from.iWidth || sy >= from.iHeight) continue;
            if (dx < 0 || dy < 0 || dx >= to.iWidth || dy >= to.iHeight) continue;
            if (c.uMode & (dy % 2 == 0 ? 0x100u : 0x200u)) continue;
            std::memcpy(&destination[to.Pixel(dx, dy)], &source[from.Pixel(sx, sy)], from.PixelStep());
            if (from.HasAlphaPlane()) {
                std::memcpy(&destination[to.Alpha(dx, dy)], &source[from.Alpha(sx, sy)], from.uChannelSize);
            }
        }
    }
}

Copy RandomCopy(Random& random, int w, int h) {
    static constexpr unsigned kModes[] = {0, 15, 0x100, 0x200, 0x300, 0x10F};
    Copy c{!random.OneIn(4), !random.OneIn(3), {}, {}, kModes[random.Below(6)]};
    c.oRegion =
        qzILBbox2l(random.Between(-2, w), random.Between(-2, h), random.Between(0, w + 2), random.Between(0, h + 2));
    c.oOffset = qzILVector2l(random.Between(-3, w), random.Between(-3, h));
    return c;
}

TEST(CopyImage, MovesWholePixelsAsThePlainModelDoes) {
    Random random(2024);
    for (GUID const& format : DescribedFormats()) {
        for (int round = 0; round < 80; ++round) {
            int const w = random.Between(1, 9), h = random.Between(1, 8);
            auto const source = MakeRandomImage(format, w, h, random.Next());
            // Into an image of any size, or within the image, which acts as from a separate copy.
            bool const sameSize = random.OneIn(2);
            auto const destination = round % 2 ? source
                                               : MakeRandomImage(format, sameSize ? w : random.Between(1, 9),
                                                                 sameSize ? h : random.Between(1, 8), random.Next());
            ByteVector expected = Snapshot(destination);
            Copy const c = RandomCopy(random, w, h);
            ModelCopy(PlainLayout(source.Get()), Snapshot(source), PlainLayout(destination.Get()), expected, c);
            HRESULT const result = qzILCopyImage(source.Get(), destination.Get(), c.bRegion ? &c.oRegion : nullptr,
                                                 c.bOffset ? &c.oOffset : nullptr, c.uMode);
            EXPECT_TRUE(round % 2 == 0 || result == 0);
            ASSERT_EQ(DescribeDifference(expected, Bytes(destination)), "")
                << NameOf(format) << ' ' << w << 'x' << h << ", round " << round << ": " << Describe(c);
        }
    }
}

TEST(CopyImage, BadImagesAndHugeRectanglesAreHarmless) {
    auto const a = MakeRandomImage(MFIF_RGBA_RAW_32, 4, 4, 1);
    auto const b = MakeRandomImage(MFIF_MONO_RAW_8, 4, 4, 2);
    EXPECT_LT(qzILCopyImage(nullptr, a.Get(), nullptr, nullptr, 0), 0);
    EXPECT_LT(qzILCopyImage(a.Get(), nullptr, nullptr, nullptr, 0), 0);
    EXPECT_LT(qzILCopyImage(a.Get(), b.Get(), nullptr, nullptr, 0), 0) << "formats differ";
    Ref<IXFImage> empty;
    ASSERT_EQ(qzILCreateImage(nullptr, IID_IXFImage, empty.Out()), 0);
    empty->SetFormat(MFIF_RGBA_RAW_32);
    empty->SetRes(4, 4);
    EXPECT_LT(qzILCopyImage(empty.Get(), a.Get(), nullptr, nullptr, 0), 0) << "no pixels";
    auto const c = MakeRandomImage(MFIF_RGBA_RAW_32, 4, 4, 3);
    constexpr int kMin = -0x7FFFFFFF - 1, kMax = 0x7FFFFFFF;
    for (qzILBbox2l const& region : {qzILBbox2l(kMin, kMin, kMax, kMax), qzILBbox2l(kMax, kMax, kMax, kMax),
                                     qzILBbox2l(0, 0, kMax, kMax), qzILBbox2l(1, 1, kMin, kMin)}) {
        for (qzILVector2l const& offset : {qzILVector2l(kMin, kMin), qzILVector2l(kMax, 0), qzILVector2l(1, kMax)}) {
            ByteVector const before = Snapshot(c);
            qzILCopyImage(a.Get(), c.Get(), &region, &offset, 0);
            EXPECT_EQ(DescribeDifference(before, Bytes(c)), "");
        }
    }
}

// 4:2:2 formats whose unit is Y and chroma in turn, alpha in a plane or none.
bool IsPair(GUID const& format) {
    return GetColorModelFromFormat(format) >= 64 && GetColorModelFromFormat(format) <= 512 && IsFormatYCC422(format) &&
           (!IsFormatWithAlpha(format) || IsFormatWithSeparateAlpha(format));
}

bool IsWholePixel(GUID const& format) {
    return !IsFormatYCC422(format) || !IsFormatYCC(format) || format == MFIF_YCCA_RAW_32 || format == MFIF_YCCA_RAW_64;
}

// Y, chroma and the pixel's alpha in turn.
bool IsInterleaved(PlainLayout const& layout) {
    return IsFormatYCC(layout.oFormat) && IsFormatYCC422(layout.oFormat) && IsFormatWithAlpha(layout.oFormat) &&
           !layout.HasAlphaPlane() && layout.PixelStep() == 3 * layout.uChannelSize;
}

void ModelFill(PlainLayout const& layout, ByteVector& bytes, qzILBbox2l const& r, unsigned char const* pixel,
               bool color, bool alpha) {
    std::size_t const step = layout.PixelStep();
    for (int y = r.Origin.y; y < r.Origin.y + r.Size.y; ++y) {
        for (int x = r.Origin.x; x < r.Origin.x + r.Size.x; ++x) {
            bool const second = (x - r.Origin.x) % 2 == 1;
            auto* const place = &bytes[layout.Pixel(x, y)];
            if (IsInterleaved(layout)) {
                std::size_t const size = layout.uChannelSize;
                std::memcpy(place, pixel + (second ? 2 * size : 0), 2 * size);
                std::memcpy(place + 2 * size, pixel + 4 * size, size);
                continue;
            }
            if (color) std::memcpy(place, pixel + (IsPair(layout.oFormat) && second ? step : 0), step);
            if (alpha && layout.HasAlphaPlane()) {
                std::memcpy(&bytes[layout.Alpha(x, y)], pixel + 2 * step, layout.uChannelSize);
            }
        }
    }
}

TEST(FillRegion, WritesThePixelOrTheTwoPixelUnit) {
    Random random(31);
    for (GUID const& format : DescribedFormats()) {
        bool const interleaved = IsInterleaved(PlainLayout(MakeImage(format, 1, 1).Get()));
        if (!IsPair(format) && !IsWholePixel(format) && !interleaved) continue;
        for (int round = 0; round < 30; ++round) {
            int const w = random.Between(1, 9), h = random.Between(1, 8);
            auto const image = MakeRandomImage(format, w, h, random.Next());
            PlainLayout const layout(image.Get());
            qzILBbox2l r(random.Below(w), random.Below(h), 0, 0);
            r.Size = qzILVector2l(random.Between(0, w - r.Origin.x), random.Between(0, h - r.Origin.y));
            unsigned char pixel[32];
            for (auto& byte : pixel) byte = static_cast<unsigned char>(random.Next() >> 24);
            unsigned const channels = layout.HasAlphaPlane() ? (round % 3 == 0 ? 15u : round % 3 == 1 ? 7u : 8u) : 15u;
            ByteVector expected = Snapshot(image);
            ModelFill(layout, expected, r, pixel, channels != 8, channels != 7);
            EXPECT_EQ(qzILFillRegion(image.Get(), r, pixel, channels), 0);
            ASSERT_EQ(DescribeDifference(expected, Bytes(image)), "")
                << NameOf(format) << ' ' << w << 'x' << h << " rectangle " << r.Origin.x << ' ' << r.Origin.y << ' '
                << r.Size.x << ' ' << r.Size.y << " channels " << channels;
        }
    }
}

TEST(FillRegion, NullsAndRectanglesBeyondTheImage) {
    auto const image = MakeRandomImage(MFIF_RGBA_RAW_32, 5, 4, 9);
    unsigned char pixel[4] = {1, 2, 3, 4};
    EXPECT_EQ(qzILFillRegion(nullptr, {0, 0, 1, 1}, pixel, 15), 1);
    EXPECT_EQ(qzILFillRegion(image.Get(), {0, 0, 1, 1}, nullptr, 15), 1);
    ByteVector expected = Snapshot(image);
    ModelFill(PlainLayout(image.Get()), expected, {3, 2, 2, 2}, pixel, true, true);
    qzILFillRegion(image.Get(), {3, 2, 0x7FFFFFFF, 0x7FFFFFFF}, pixel, 15);
    EXPECT_EQ(DescribeDifference(expected, Bytes(image)), "");
    qzILFillRegion(image.Get(), {-100, -100, 50, 50}, pixel, 15);
    qzILFillRegion(image.Get(), {0, 0, -1, 4}, pixel, 15);
    EXPECT_EQ(DescribeDifference(expected, Bytes(image)), "");
}

TEST(Create, ClearsTheResultAndAllocates) {
    Ref<IXFImage> image;
    ASSERT_EQ(qzILCreateAndAllocImage(nullptr, IID_IXFImage, 6, 4, MFIF_CbYCrYA_24, image.Out()), 0);
    EXPECT_EQ(FormatOf(image.Get()), MFIF_CbYCrYA_24);
    EXPECT_EQ(Bytes(image).size(), 72u);
    auto const clearPool = [] {
        for (int i = 0; i < qzILMemoryPool::kClasses; ++i) CMFImage::s_pImageMemoryPool->ClearPool(i);
    };
    clearPool();
    auto const live = LiveBlocks();
    struct Case {
        int iWidth, iHeight;
        IUnknown* pOuter;
        GUID oIid;
    };
    for (Case const& c : {Case{-1, 4, nullptr, IID_IXFImage}, Case{65536, 65536, nullptr, IID_IXFImage},
                          Case{4, 4, image.Get(), IID_IXFImage}, Case{4, 4, nullptr, IID_IXFSubImages}}) {
        void* out = &image;
        EXPECT_LT(qzILCreateAndAllocImage(c.pOuter, c.oIid, c.iWidth, c.iHeight, MFIF_RGBA_RAW_32, &out), 0);
        EXPECT_EQ(out, nullptr);
    }
    clearPool();
    EXPECT_LE(LiveBlocks(), live) << "an image that failed is released";
}

TEST(Clone, CopiesAnImageOrARectangleOfIt) {
    auto const image = MakeRandomImage(MFIF_CbYCrY709_16_SF_TFL, 6, 6, 5);
    Ref<IXFImage> clone, bare, part;
    ASSERT_EQ(qzILCloneImage(image.Get(), IID_IXFImage, clone.Out()), 0);
    EXPECT_EQ(clone->IsEqual(image.Get()), 0);
    ASSERT_EQ(qzILCloneImageNoData(image.Get(), IID_IXFImage, bare.Out()), 0);
    EXPECT_EQ(Bytes(bare).size(), Bytes(image).size());
    qzILBbox2l const region(2, 1, 3, 4);
    ASSERT_EQ(qzILCloneImage(image.Get(), IID_IXFImage, part.Out(), region), 0);
    PlainLayout const layout(image.Get()), partLayout(part.Get());
    ASSERT_EQ(partLayout.iWidth, 6);
    ASSERT_EQ(partLayout.iHeight, 6);
    for (int y = 1; y < 5; ++y) {
        EXPECT_EQ(std::memcmp(&Bytes(part)[layout.Pixel(2, y)], &Bytes(image)[layout.Pixel(2, y)], 6), 0) << y;
    }
}

TEST(Split, GivesViewsOfBothPlanes) {
    for (GUID const& format : DescribedFormats()) {
        SCOPED_TRACE(NameOf(format));
        auto const image = MakeRandomImage(format, 6, 3, 8);
        GUID colorFormat{}, alphaFormat{};
        HRESULT const expected = qzILSplitYCCAImageFormat(format, &colorFormat, &alphaFormat);
        Ref<IXFImage> color, alpha;
        ASSERT_EQ(qzILSplitYCCAImage(image.Get(), color.Typed(), alpha.Typed()), expected);
        if (expected != 0) continue;
        PlainLayout const layout(image.Get()), colorLayout(color.Get()), alphaLayout(alpha.Get());
        std::size_t const colorBytes = (layout.uPixelSize - layout.uChannelSize) * 18;
        EXPECT_EQ(colorLayout.oFormat, colorFormat);
        EXPECT_EQ(alphaLayout.oFormat, alphaFormat);
        EXPECT_EQ(Bytes(color).data(), Bytes(image).data());
        EXPECT_EQ(Bytes(color).size(), colorBytes);
        EXPECT_EQ(Bytes(alpha).data(), Bytes(image).data() + colorBytes);
        EXPECT_EQ(Bytes(alpha).size(), 18u * layout.uChannelSize);
        EXPECT_EQ(colorLayout.iWidth, 6);
        EXPECT_EQ(alphaLayout.iHeight, 3);
        EXPECT_EQ(colorLayout.uPixelSize, layout.uPixelSize - layout.uChannelSize);
        EXPECT_EQ(alphaLayout.uPixelSize, layout.uChannelSize);
        if (!IsFormatWithSeparateAlpha(format)) continue;
        // Both planes run in the direction of their parent.
        qzILImageHelper const parent(image.Get()), ofColor(color.Get()), ofAlpha(alpha.Get());
        for (int y = 0; y < 3; ++y) {
            EXPECT_EQ(ofColor.GetPixelPtr(1, y), parent.GetPixelPtr(1, y));
            EXPECT_EQ(ofAlpha.GetPixelPtr(1, y), parent.GetAlphaPtr(1, y));
        }
        Ref<IXFImage> whole;
        EXPECT_EQ(qzILCloneImage(color.Get(), IID_IXFImage, whole.Out()), 0);
        EXPECT_NE(Bytes(whole).data(), Bytes(image).data());
    }
}

}  // namespace
