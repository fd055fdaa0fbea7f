// Loads an image from arbitrary bytes and, when that succeeds, uses it as a host would.

#include "qzil/qzil.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

constexpr std::uint64_t kLargest = 64u << 20;

template <class T>
T At(std::uint8_t const* data, std::size_t size, std::size_t offset) {
    T value{};
    if (offset < size) std::memcpy(&value, data + offset, std::min(sizeof value, size - offset));
    return value;
}

// Sizes that are legal but would fill the machine's memory. What does not fit 32 bits must be refused by Load itself.
bool IsTooLarge(std::uint8_t const* data, std::size_t size) {
    using Wide = unsigned __int128;
    auto const width = At<std::int32_t>(data, size, 16);
    auto const height = At<std::int32_t>(data, size, 20);
    if (width < 0 || height < 0) return false;
    Wide const total = Wide(width) * Wide(height) * At<std::uint32_t>(data, size, 72) +
                       At<std::uint32_t>(data, size, 92) + At<std::uint32_t>(data, size, 96) + 31;
    return total > kLargest && total <= 0xFFFFFFFFu;
}

void Require(bool condition) {
    if (!condition) std::abort();
}

void Use(IXFImage* image) {
    int width = 0, height = 0;
    unsigned pixelSize = 0, arraySize = 0;
    image->GetRes(&width, &height);
    image->GetPixelSize(&pixelSize);
    image->GetPixelArraySize(&arraySize);
    Require(static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height) * pixelSize == arraySize);
    unsigned char pixel[64] = {};
    image->GetPixel(pixel, static_cast<float>(width) - 0.5f, static_cast<float>(height) - 0.5f);
    if (pixelSize <= sizeof pixel) {
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
    qzILSplitYCCAImage(image, color.Typed(), alpha.Typed());
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
        RoundTrip(image.Get(), persist.Get());
        Use(image.Get());
    } else {
        void* pixels = image.Get();
        image->GetPixelArray(&pixels);
        Require(pixels == nullptr);
    }
    return 0;
}
