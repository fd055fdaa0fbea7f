#include "model/model.h"

#include "support/levels.h"
#include "support/plain_layout.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <sstream>

namespace qzil::test::model {
namespace {

using Buffer = std::vector<u8>;

void CopyPixel(PlainLayout const& to, Buffer& out, int x, int y, Ref<IXFImage> const& image, int fromX, int fromY) {
    PlainLayout const from(image.Get());
    u8 const* const bytes = Bytes(image).data();
    std::copy_n(bytes + from.Pixel(fromX, fromY), to.PixelStep(), out.data() + to.Pixel(x, y));
    if (!to.HasAlphaPlane()) return;
    std::copy_n(bytes + from.Alpha(fromX, fromY), to.uChannelSize, out.data() + to.Alpha(x, y));
}

/// Mask values of a line of the active box.
template <class T>
std::vector<T> MaskLine(Call const& call, int y) {
    std::vector<T> values;
    if (!call.oImages.oMask) return values;
    PlainLayout const layout(call.oImages.oMask.Get());
    qzILVector2l const place = call.oScene.oMaskRect.Origin;
    unsigned const selected = call.oScene.uMaskChannel;
    std::size_t const channel =
        selected == XFImageChannelMono ? 0 : static_cast<std::size_t>(std::bit_width(selected)) - 1;
    for (int i = 0; i < call.oActive.Size.x; ++i) {
        std::size_t const at = layout.Pixel(call.oActive.Origin.x + i - place.x, y - place.y) + channel * sizeof(T);
        std::memcpy(&values.emplace_back(), &Bytes(call.oImages.oMask)[at], sizeof(T));
    }
    return values;
}

template <class T>
void RunTypedLines(Call& call, AnyModel const& model, Planes planes) {
    test::Scene const& scene = call.oScene;
    Images const& images = call.oImages;
    GUID const& format = scene.oFormat;
    std::size_t const second = images.oInputs.size() > 1 ? 1 : 0;
    PlainLayout const layoutA(images.oInputs[0].Get()), layoutB(images.oInputs[second].Get()),
        layoutOut(images.Output().Get());
    Buffer const a(Bytes(images.oInputs[0]).begin(), Bytes(images.oInputs[0]).end()),
        b(Bytes(images.oInputs[second]).begin(), Bytes(images.oInputs[second]).end());
    qzILVector2l const placeB = scene.BoxOf(second).Origin;
    auto const in = [](Buffer const& bytes, std::size_t place) { return reinterpret_cast<T const*>(&bytes[place]); };
    auto const out = [&](std::size_t place) { return reinterpret_cast<T*>(&call.oOutput[place]); };
    auto const copy = [](Line<T> const& line) { std::copy_n(line.pP, line.iWidth * line.Samples(), line.pOut); };
    int const x = call.oActive.Origin.x;
    for (int y = call.oActive.Origin.y; y < call.oActive.Origin.y + call.oActive.Size.y; ++y) {
        if (call.SkipsLine(y)) continue;
        auto const mask = MaskLine<T>(call, y);
        // Under a mask, split fields are walked in memory order, the mask line by line.
        auto const pixel = [&](PlainLayout const& layout, int atX, int atY) {
            if (!IsFormatSplitField(format) || mask.empty()) return layout.Pixel(atX, atY);
            return static_cast<std::size_t>(atY * layout.iWidth) * layout.PixelStep();
        };
        Kind const kind = IsFormatYCC(format) ? Kind::Video : IsFormatMono(format) ? Kind::Mono : Kind::Rgba;
        Line<T> line{kind, format, call.oActive.Size.x, scene.uMode, scene.bDominantB};
        line.pA = in(a, pixel(layoutA, x, y));
        line.pB = in(b, pixel(layoutB, x - placeB.x, y - placeB.y));
        line.pP = scene.bDominantB ? line.pB : line.pA;
        line.pMask = mask.empty() ? nullptr : mask.data();
        line.pOut = out(pixel(layoutOut, call.OutputX(x), call.OutputY(y)));
        if (!layoutA.HasAlphaPlane()) {
            model(line);
            continue;
        }
        Line<T> alpha = line;
        alpha.eKind = Kind::Mono;
        alpha.pA = in(a, layoutA.Alpha(x, y));
        alpha.pB = in(b, layoutB.Alpha(x - placeB.x, y - placeB.y));
        alpha.pP = scene.bDominantB ? alpha.pB : alpha.pA;
        alpha.pOut = out(layoutOut.Alpha(call.OutputX(x), call.OutputY(y)));
        if (planes == Planes::Whole) {
            line.pAlphaIn = alpha.pP;
            line.pAlphaOut = alpha.pOut;
            model(line);
        } else {
            scene.uMode & 7 ? model(line) : copy(line);
            scene.uMode & 8 ? model(alpha) : copy(alpha);
        }
    }
}

}  // namespace

void RunLines(Call& call, AnyModel const& model, Planes planes) {
    VisitType(GetChannelTypeFromFormat(call.oScene.oFormat),
              [&](auto zero) { RunTypedLines<decltype(zero)>(call, model, planes); });
}

Call MakeCall(test::Scene const& scene, Images const& images) {
    auto const bytes = Bytes(images.Output());
    Call call{scene, images, {bytes.begin(), bytes.end()}, {}};
    if ((scene.uMode & 0x300) == 0x300) return call;
    qzILBbox2l const dominant = scene.Dominant(), common = scene.oRoi.Intersect(dominant).Intersect(scene.Other());
    call.oActive = common.Intersect(scene.oMaskRect);
    if (call.oActive.Origin == scene.oRoi.Origin && call.oActive.Size == scene.oRoi.Size) return call;
    Ref<IXFImage> const filled = Filled(scene);
    PlainLayout const layout(images.Output().Get());
    qzILVector2l const end = scene.oRoi.Origin + scene.oRoi.Size;
    for (int y = scene.oRoi.Origin.y; y < end.y; ++y) {
        for (int x = scene.oRoi.Origin.x; x < end.x && !call.SkipsLine(y); ++x) {
            int const outX = call.OutputX(x), outY = call.OutputY(y);
            if (!Covers(dominant, x, y)) {
                CopyPixel(layout, call.oOutput, outX, outY, filled, outX, outY);
            } else if (!Covers(call.oActive, x, y)) {
                CopyPixel(layout, call.oOutput, outX, outY, images.oInputs[scene.bDominantB], x - dominant.Origin.x,
                          y - dominant.Origin.y);
            }
        }
    }
    return call;
}

std::vector<u8> Expected(test::Scene const& scene, Images const& images, Model const& model) {
    Call call = MakeCall(scene, images);
    model(call);
    return call.oOutput;
}

void ExpectModel(test::Scene const& scene, Model const& model, Tweak const& tweak) {
    Images const before(scene);
    std::vector<u8> const expected = Expected(scene, before, model);
    catalog::Instance instance = Prepare(scene, before);
    ForEachLevel([&] {
        Images const images(scene);
        SetImages(instance, scene, images);
        if (tweak) tweak(instance.Effect());
        EXPECT_EQ(instance.Effect().Execute(), 1) << scene.Describe();
        EXPECT_EQ(SampleDifference(scene.OutputFormat(), expected, Bytes(images.Output())), "") << scene.Describe();
    });
}

std::string SampleDifference(GUID const& format, std::span<u8 const> expected, std::span<u8 const> actual) {
    std::ostringstream text;
    text.precision(9);
    VisitType(GetChannelTypeFromFormat(format), [&](auto e) {
        auto f = e;
        for (std::size_t i = 0; i + sizeof e <= expected.size() && text.str().empty(); i += sizeof e) {
            std::memcpy(&e, &expected[i], sizeof e);
            std::memcpy(&f, &actual[i], sizeof e);
            if (std::memcmp(&e, &f, sizeof e) == 0 || (e != e && f != f)) continue;
            text << "sample " << i / sizeof e << ": expected " << +e << ", actual " << +f;
        }
    });
    return text.str();
}

}  // namespace qzil::test::model
