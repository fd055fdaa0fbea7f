#include <qzil/qzil.h>

#include <cstdio>

qzil::Ref<IXFImage> Painted(qzILColor const& color) {
    qzil::Ref<IXFImage> image;
    if (qzILCreateAndAllocImage(nullptr, IID_IXFImage, 1920, 1080, MFIF_RGBA_RAW_32, image.Out()) < 0) return {};
    qzILFillImageWithColor(image.Get(), color, kModeAllChannels, nullptr, nullptr);
    return image;
}

int main() {
    auto const red = Painted({1, 0, 0, 1}), blue = Painted({0, 0, 1, 1}), out = Painted({0, 0, 0, 1});
    qzILBlendImg dissolve;
    dissolve.SetInputImgA(red.Get());
    dissolve.SetInputImgB(blue.Get());
    dissolve.SetOutputImg(out.Get());
    dissolve.SetAlpha(0.25);  // a quarter of the way from red to blue
    if (dissolve.Verify() != 1 || dissolve.Execute() != 1) return 1;
    unsigned char pixel[4];
    out->GetPixel(pixel, 960, 540);
    std::printf("%d %d %d %d\n", pixel[0], pixel[1], pixel[2], pixel[3]);
}
