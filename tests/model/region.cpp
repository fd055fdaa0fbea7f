#include "model/spatial_model.h"

#include "support/plain_layout.h"

#include "qzil/frame/image_utils.h"

#include <bit>
#include <cstring>

namespace qzil::test::model {
namespace {

std::vector<double> PixelOf(qzILColor const& color, GUID const& format) {
    auto const image = MakeImage(format, 1, 1);
    qzILFillImageWithColor(image.Get(), color, 15, nullptr, nullptr);
    return Load(image.Get()).aSamples;
}

/// Results within the active box.
void Store(Call& call, Picture const& results) {
    PlainLayout const layout(call.oImages.Output().Get());
    VisitType(GetChannelTypeFromFormat(layout.oFormat), [&](auto sample) {
        for (int y = 0; y < results.iHeight; ++y) {
            if (call.SkipsLine(call.oActive.Origin.y + y)) continue;
            for (int i = 0; i < results.iWidth * results.iChannels; ++i) {
                int const x = i / results.iChannels, c = i % results.iChannels;
                sample = static_cast<decltype(sample)>(results.At(x, y, c));
                std::size_t const pixel =
                    layout.Pixel(call.OutputX(call.oActive.Origin.x + x), call.OutputY(call.oActive.Origin.y + y));
                std::memcpy(&call.oOutput[pixel + static_cast<std::size_t>(c) * sizeof sample], &sample, sizeof sample);
            }
        }
    });
}

Picture Part(Picture const& picture, qzILVector2l const& origin, qzILVector2l const& size, int channel, int channels) {
    Picture part(size.x, size.y, channels);
    for (int y = 0; y < size.y; ++y) {
        for (int x = 0; x < size.x; ++x) {
            for (int c = 0; c < channels; ++c) part.At(x, y, c) = picture.At(origin.x + x, origin.y + y, channel + c);
        }
    }
    return part;
}

/// Nothing within reach, or nothing of it taken: the input as it is, whatever the mask.
bool IsCopy(test::Scene const& scene) {
    if (!scene.pEntry->FindParameter("radius")) return false;
    auto const radius = scene.Get<qzILVector2f>("radius");
    bool const hasDegree = scene.pEntry->FindParameter("degree");
    return (radius.x < 1 && radius.y < 1) || (hasDegree && scene.Get<double>("degree") == 0);
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

Region::Region(Call const& call) {
    test::Scene const& scene = call.oScene;
    oInput = Load(call.oImages.oInputs[0].Get());
    aEdge = PixelOf(scene.Get<qzILColor>("edge-color"), scene.oFormat);
    uType = GetChannelTypeFromFormat(scene.oFormat);
    uMode = scene.uMode;
    iEdgeMode = static_cast<int>(scene.Get<long>("edge"));
    oOrigin = call.oActive.Origin;
    iWidth = call.oActive.Size.x;
    iHeight = call.oActive.Size.y;
    iChannels = oInput.iChannels;
    if (scene.pEntry->FindParameter("radius")) {
        auto const radius = scene.Get<qzILVector2f>("radius");
        fRadiusX = radius.x;
        fRadiusY = radius.y;
    } else if (scene.pEntry->FindParameter("kernel")) {
        auto const& kernel = *scene.Get<std::shared_ptr<catalog::Kernel const>>("kernel");
        fRadiusX = static_cast<float>(kernel.iWidth / 2);
        fRadiusY = static_cast<float>(kernel.iHeight / 2);
    }
    if (!call.oImages.oMask) return;
    unsigned const selected = scene.uMaskChannel;
    int const channel = selected == XFImageChannelMono ? 0 : std::bit_width(selected) - 1;
    oMask = Part(Load(call.oImages.oMask.Get()), oOrigin - scene.oMaskRect.Origin, call.oActive.Size, channel, 1);
}

Model Regions(RegionModel const& model) {
    return [model](Call& call) {
        if (IsCopy(call.oScene)) {
            test::Scene scene = call.oScene;
            if (scene.pEntry->bBlackAround) scene.oDefaultColor = {};
            call.oOutput = MakeCall(scene, call.oImages).oOutput;
        }
        if (call.oActive.IsEmpty()) return;
        Region const region(call);
        Store(call, IsCopy(call.oScene) ? Part(region.oInput, region.oOrigin, call.oActive.Size, 0, region.iChannels)
                                        : model(region, call.oScene));
    };
}

}  // namespace qzil::test::model
