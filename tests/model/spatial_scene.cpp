#include "model/spatial_model.h"

#include "qzil/frame/image_utils.h"

#include <sstream>

namespace qzil::test::model {
namespace {

qzILBbox2l Common(qzILBbox2l const& a, qzILBbox2l const& b) {
    int const left = std::max(a.Origin.x, b.Origin.x), top = std::max(a.Origin.y, b.Origin.y);
    int const right = std::min(a.Origin.x + a.Size.x, b.Origin.x + b.Size.x);
    int const bottom = std::min(a.Origin.y + a.Size.y, b.Origin.y + b.Size.y);
    return {left, top, std::max(0, right - left), std::max(0, bottom - top)};
}

bool Holds(qzILBbox2l const& box, int x, int y) {
    return x >= box.Origin.x && y >= box.Origin.y && x < box.Origin.x + box.Size.x && y < box.Origin.y + box.Size.y;
}

std::vector<double> PixelOf(qzILColor const& color, GUID const& format) {
    auto const image = MakeImage(format, 1, 1);
    qzILFillImageWithColor(image.Get(), color, 15, nullptr, nullptr);
    return Load(image.Get()).aSamples;
}

/// The frame's walk: results within `active`, the input around it, `color` where there is no input.
Picture Fill(SpatialScene const& scene, Picture const& input, Picture output, qzILBbox2l const& active,
             qzILColor const& color, Picture const& results) {
    auto const fill = PixelOf(color, scene.oFormat);
    qzILBbox2l const whole(0, 0, input.iWidth, input.iHeight);
    for (int j = 0; j < scene.oRoi.Size.y; ++j) {
        int const y = scene.oRoi.Origin.y + j, line = scene.oOffset.y + j;
        if (scene.uMode & (line % 2 == 0 ? 0x100u : 0x200u)) continue;
        for (int i = 0; i < scene.oRoi.Size.x; ++i) {
            int const x = scene.oRoi.Origin.x + i, column = scene.oOffset.x + i;
            for (int c = 0; c < output.iChannels; ++c) {
                output.At(column, line, c) = Holds(active, x, y)
                                                 ? results.At(x - active.Origin.x, y - active.Origin.y, c)
                                             : Holds(whole, x, y) ? input.At(x, y, c)
                                                                  : fill[static_cast<std::size_t>(c)];
            }
        }
    }
    return output;
}

}  // namespace

Picture Load(IXFImage* image) {
    PlainLayout const layout(image);
    Picture picture(layout.iWidth, layout.iHeight, static_cast<int>(layout.uPixelSize / layout.uChannelSize));
    auto const bytes = Bytes(image);
    VisitType(GetChannelTypeFromFormat(layout.oFormat), [&](auto zero) {
        using T = decltype(zero);
        for (int y = 0; y < picture.iHeight; ++y) {
            for (int x = 0; x < picture.iWidth; ++x) {
                for (int c = 0; c < picture.iChannels; ++c) {
                    T value;
                    std::memcpy(&value, &bytes[layout.Pixel(x, y)] + static_cast<std::size_t>(c) * sizeof(T),
                                sizeof(T));
                    picture.At(x, y, c) = static_cast<double>(value);
                }
            }
        }
    });
    return picture;
}

std::string Difference(Picture const& expected, Picture const& actual) {
    for (std::size_t i = 0; i < expected.aSamples.size(); ++i) {
        double const e = expected.aSamples[i], a = actual.aSamples[i];
        if (std::bit_cast<std::uint64_t>(e) == std::bit_cast<std::uint64_t>(a) || (e != e && a != a)) continue;
        int const place = static_cast<int>(i) / expected.iChannels;
        std::ostringstream text;
        text.precision(17);
        text << "x " << place % expected.iWidth << " y " << place / expected.iWidth << " channel "
             << static_cast<int>(i) % expected.iChannels << ": expected " << e << ", actual " << a;
        return text.str();
    }
    return {};
}

SpatialScene SpatialScene::Whole(GUID const& format, int width, int height) {
    SpatialScene scene{.oFormat = format};
    scene.oSize = scene.oOutputSize = {width, height};
    scene.oRoi = scene.oMaskRect = {0, 0, width, height};
    return scene;
}

SpatialScene SpatialScene::Any(GUID const& format, std::uint64_t seed) {
    Random random(seed);
    bool const wide = random.OneIn(50);
    int const width = wide              ? random.Between(1000, 2200)
                      : random.OneIn(5) ? kWidths[random.Below(std::size(kWidths))]
                                        : random.Between(1, 13);
    int const height = random.Between(1, wide ? 3 : 11);
    SpatialScene scene = Whole(format, width, height);
    scene.uSeed = seed;
    scene.bInPlace = random.OneIn(4);
    scene.bSpecials = random.OneIn(6);
    scene.uMode = random.OneIn(2) ? 15u : static_cast<unsigned>(random.Below(16));
    if (random.OneIn(4)) scene.uMode |= random.OneIn(2) ? 0x100u : 0x200u;
    scene.iEdgeMode = random.Between(1, 4);
    if (!random.OneIn(3)) {
        int const extra = scene.bInPlace ? 0 : 3;
        qzILVector2l const size(random.Between(1, width + extra), random.Between(1, height + extra));
        scene.oRoi = {random.Between(-2, width), random.Between(-2, height), size.x, size.y};
        scene.oOffset = {random.Below(width + extra - size.x + 1), random.Below(height + extra - size.y + 1)};
        if (!scene.bInPlace) scene.oOutputSize = {width + extra, height + extra};
    }
    if (random.OneIn(2)) {
        scene.uMask = kMasks[random.Between(1, 5)];
        if (random.OneIn(2)) {
            scene.oMaskRect = {random.Between(-2, width / 2), random.Between(-2, height / 2),
                               random.Between(1, width + 2), random.Between(1, height + 2)};
        }
    }
    return scene;
}

std::string SpatialScene::Describe() const {
    std::ostringstream text;
    auto const box = [&](char const* name, qzILBbox2l const& b) {
        text << name << '(' << b.Origin.x << ", " << b.Origin.y << ") " << b.Size.x << 'x' << b.Size.y;
    };
    text << NameOf(oFormat) << ' ' << oSize.x << 'x' << oSize.y << " to " << oOutputSize.x << 'x' << oOutputSize.y;
    box(" region ", oRoi);
    text << " at (" << oOffset.x << ", " << oOffset.y << ") mask " << uMask;
    if (uMask) box(" ", oMaskRect);
    text << std::hex << " mode 0x" << uMode << std::dec << (bInPlace ? " in place" : "") << " edge " << iEdgeMode
         << " radius " << fRadiusX << ", " << fRadiusY << " seed " << uSeed;
    return text.str();
}

SpatialImages::SpatialImages(SpatialScene const& scene) {
    oInput = MakeImage(scene.oFormat, scene.oSize.x, scene.oSize.y);
    FillEnds(oInput.Get(), scene.uSeed * 4, scene.bSpecials);
    oOutput = oInput;
    if (!scene.bInPlace) {
        oOutput = MakeImage(scene.oFormat, scene.oOutputSize.x, scene.oOutputSize.y);
        FillEnds(oOutput.Get(), scene.uSeed * 4 + 1, false);
    }
    if (!scene.uMask) return;
    oMask = MakeImage(MaskFormat(scene.oFormat, scene.uMask != 16), scene.oMaskRect.Size.x, scene.oMaskRect.Size.y);
    FillMask(oMask.Get(), scene.uSeed * 4 + 2);
}

Picture RunFrame(SpatialScene const& scene, SpatialImages const& images, RegionModel const& model) {
    Picture const input = Load(images.oInput.Get());
    Picture const output = Load(images.oOutput.Get());
    if ((scene.uMode & 0x300) == 0x300) return output;
    qzILBbox2l const whole(0, 0, input.iWidth, input.iHeight);
    qzILBbox2l active = Common(scene.oRoi, whole);
    if (scene.uMask) active = Common(active, scene.oMaskRect);
    if (active.IsEmpty()) return Fill(scene, input, output, {}, scene.oDefaultColor, {});
    Region region;
    region.oInput = input;
    region.aEdge = PixelOf(scene.oEdgeColor, scene.oFormat);
    region.uType = GetChannelTypeFromFormat(scene.oFormat);
    region.uMode = scene.uMode;
    region.iEdgeMode = scene.iEdgeMode;
    region.oOrigin = active.Origin;
    region.iWidth = active.Size.x;
    region.iHeight = active.Size.y;
    region.iChannels = input.iChannels;
    region.fRadiusX = scene.fRadiusX;
    region.fRadiusY = scene.fRadiusY;
    if (scene.uMask) {
        Picture const mask = Load(images.oMask.Get());
        int const channel = scene.uMask == 16 ? 0 : std::bit_width(scene.uMask) - 1;
        region.oMask = Picture(region.iWidth, region.iHeight, 1);
        for (int y = 0; y < region.iHeight; ++y) {
            for (int x = 0; x < region.iWidth; ++x) {
                region.oMask.At(x, y) = mask.At(x + active.Origin.x - scene.oMaskRect.Origin.x,
                                                y + active.Origin.y - scene.oMaskRect.Origin.y, channel);
            }
        }
    }
    return Fill(scene, input, output, active, scene.oDefaultColor, model(region));
}

Picture RunCopy(SpatialScene const& scene, SpatialImages const& images, qzILColor const& color) {
    return Fill(scene, Load(images.oInput.Get()), Load(images.oOutput.Get()), {}, color, {});
}

}  // namespace qzil::test::model
