// Loads an image from arbitrary bytes and, when that succeeds, uses it as a host would.

#include "qzil/qzil.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

/// Sizes that a head may claim: memory that is not written to costs nothing. The fuzzer itself stops at 2 GiB.
constexpr std::uint64_t kLargestClaim = 1u << 30;
/// Images up to here are saved again, those up to there given to effects.
constexpr std::uint64_t kLargestSaved = 64u << 20, kLargestWorked = 1u << 20;

template <class T>
T At(std::uint8_t const* data, std::size_t size, std::size_t offset) {
    T value{};
    if (offset < size) std::memcpy(&value, data + offset, std::min(sizeof value, size - offset));
    return value;
}

// Sizes that are legal but more than the fuzzer lets a program ask for. What does not fit 32 bits must be refused by
// Load itself.
bool IsTooLarge(std::uint8_t const* data, std::size_t size) {
    using Wide = unsigned __int128;
    auto const width = At<std::int32_t>(data, size, 16);
    auto const height = At<std::int32_t>(data, size, 20);
    if (width < 0 || height < 0) return false;
    Wide const total = Wide(width) * Wide(height) * At<std::uint32_t>(data, size, 72) +
                       At<std::uint32_t>(data, size, 92) + At<std::uint32_t>(data, size, 96) + 31;
    return total > kLargestClaim && total <= 0xFFFFFFFFu;
}

void Require(bool condition) {
    if (!condition) std::abort();
}

/// Reads and writes every byte that a view of an image says it has.
void Touch(IXFImage* view) {
    void* pixels = nullptr;
    unsigned size = 0;
    view->GetPixelArray(&pixels);
    view->GetPixelArraySize(&size);
    for (unsigned i = 0; i < size; ++i) static_cast<unsigned char*>(pixels)[i] ^= 0x5A;
}

template <class Effect>
void Run(Effect&& effect, IXFImage* output, unsigned mode, IXFImage* mask = nullptr, XFImageChannel channel = 16) {
    int width = 0, height = 0;
    output->GetRes(&width, &height);
    effect.SetOutputImg(output);
    effect.SetProcessingMode(mode);
    if (mask) effect.SetMask({0, 0, width, height}, mask, channel);
    qzILStatus const verified = effect.Verify();
    qzILStatus const executed = effect.Execute();
    Require((verified == 1 || verified == -1) && (executed == 1 || executed == -1));
}

/// The image as input, output and mask of effects of every frame, in place and from a sound image of its format.
void Work(IXFImage* image) {
    GUID format{};
    int width = 0, height = 0;
    unsigned arraySize = 0;
    image->GetFormat(&format);
    image->GetRes(&width, &height);
    image->GetPixelArraySize(&arraySize);
    if (arraySize > kLargestWorked) return;
    qzil::Ref<IXFImage> sound;
    if (qzILCreateAndAllocImage(nullptr, IID_IXFImage, 8, 8, format, sound.Out()) != 0) return;
    auto const monadic = [](auto&& effect, IXFImage* input) -> auto& {
        effect.SetInputImg(input);
        return effect;
    };
    auto const dyadic = [](auto&& effect, IXFImage* a, IXFImage* b) -> auto& {
        effect.SetInputImgA(a);
        effect.SetInputImgB(b);
        return effect;
    };
    for (IXFImage* const output : {image, sound.Get()}) {
        for (IXFImage* const input : {image, sound.Get()}) {
            for (unsigned const mode : {15u, 7u, 8u, 0x10Fu}) {
                Run(monadic(qzILInvertImg(), input), output, mode);
                Run(monadic(qzILCopyImg(), input), output, mode);
                Run(dyadic(qzILOrImg(), input, image), output, mode);
                qzILBlendImg blend;
                blend.SetAlpha(0.5);
                Run(dyadic(blend, input, image), output, mode);
            }
            Run(monadic(qzILUnpremultiplyImg(), input), output, 15);
            Run(monadic(qzILOutputAlpha(), input), output, 15);
            qzILBlurImg blur;
            blur.SetRadius({1.5f, 1.5f});
            Run(monadic(blur, input), output, 15);
            for (XFImageChannel const channel : {1u, 8u, 16u})
                Run(monadic(qzILInvertImg(), input), output, 15, image, channel);
        }
    }
    qzILColor const color(0.25, 0.5, 0.75, 1);
    for (unsigned const mode : {15u, 8u, 5u}) qzILFillImageWithColor(image, color, mode, nullptr, nullptr);
    qzILCopyAlpha(image, sound.Get(), 0, nullptr, nullptr);
    qzILCopyAlpha(sound.Get(), image, 0, nullptr, nullptr);
    HGLOBAL bitmap = nullptr;
    if (qzILImg2DIB(image, bitmap, nullptr, 24) == 0) qzil::platform::GlobalFree(bitmap);
    for (GUID const& target : {MFIF_RGBA_FLOAT, MFIF_CbYCrYA_24, MFIF_RGBA_RAW_32}) {
        qzil::Ref<IXFImage> converted;
        qzILConvertImage(image, converted.Typed(), target, 3);
        qzILConvertImage(image, image, target, 0, nullptr, nullptr);
    }
}

void Use(IXFImage* image) {
    int width = 0, height = 0;
    unsigned pixelSize = 0, arraySize = 0;
    image->GetRes(&width, &height);
    image->GetPixelSize(&pixelSize);
    image->GetPixelArraySize(&arraySize);
    Require(static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height) * pixelSize == arraySize);
    // Pixels of no bytes are harmless but may be countless.
    if (arraySize == 0 && std::int64_t{width} * height > 1 << 20) return;
    unsigned char pixel[256] = {};
    image->GetPixel(pixel, static_cast<float>(width) - 0.5f, static_cast<float>(height) - 0.5f);
    unsigned channelSize = 0;
    image->GetChannelSize(&channelSize);
    // A host's pixel has room for the sizes that it knows.
    if (pixelSize <= 64 && channelSize <= 16) {
        image->FillLine(pixel, 0, 0, width - 1, height - 1);
        image->FillRegion(pixel, width / 2, height / 2, width - width / 2, height - height / 2);
    }
    std::vector<unsigned char> region(pixelSize <= 64 ? std::size_t{4} * pixelSize : 0);
    if (!region.empty() && width >= 2 && height >= 2) {
        image->CopyRegion(region.data(), 0, 0, 2, 2);
        image->PasteRegion(region.data(), width - 2, height - 2, 2, 2);
    }
    qzil::Ref<IXFImage> clone;
    if (qzILCloneImage(image, IID_IXFImage, clone.Out()) == 0) {
        qzILBbox2l const whole(0, 0, width, height);
        qzILVector2l const offset(1, 1);
        qzILCopyImage(image, clone.Get(), &whole, &offset, 0x100);
        qzILCopyImage(clone.Get(), clone.Get(), &whole, &offset, 0);
    }
    qzil::Ref<IXFImage> color, alpha;
    if (qzILSplitYCCAImage(image, color.Typed(), alpha.Typed()) == 0) {
        Touch(color.Get());
        Touch(alpha.Get());
    }
    Work(image);
}

// Saving and loading again gives the same image.
void RoundTrip(IXFImage* image, IPersistStream* persist) {
    qzil::Ref<IStream> stream;
    qzil::Ref<IXFImage> again;
    qzil::Ref<IPersistStream> persistAgain;
    Require(qzil::platform::CreateMemoryStream(nullptr, 0, stream.Typed()) == 0);
    Require(persist->Save(stream.Get(), 0) == 0 && stream->Seek(LARGE_INTEGER{}, 0, nullptr) == 0);
    Require(qzILCreateImage(nullptr, IID_IXFImage, again.Out()) == 0);
    Require(again->QueryInterface(IID_IPersistStream, persistAgain.Out()) == 0);
    Require(persistAgain->Load(stream.Get()) == 0);
    double x = 0, y = 0, px = 0, py = 0;
    image->GetSize(&x, &y);
    image->GetPos(&px, &py);
    bool const isNumber = x == x && y == y && px == px && py == py;
    Require(again->IsEqual(image) == (isNumber ? 0 : 1));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (IsTooLarge(data, size)) return 0;
    qzil::Ref<IXFImage> image;
    qzil::Ref<IPersistStream> persist;
    qzil::Ref<IStream> stream;
    Require(qzILCreateImage(nullptr, IID_IXFImage, image.Out()) == 0);
    Require(image->QueryInterface(IID_IPersistStream, persist.Out()) == 0);
    Require(qzil::platform::CreateMemoryStream(data, size, stream.Typed()) == 0);
    if (persist->Load(stream.Get()) == 0) {
        unsigned arraySize = 0;
        image->GetPixelArraySize(&arraySize);
        if (arraySize > kLargestSaved) return 0;
        RoundTrip(image.Get(), persist.Get());
        Use(image.Get());
    } else {
        void* pixels = image.Get();
        image->GetPixelArray(&pixels);
        Require(pixels == nullptr);
    }
    return 0;
}
