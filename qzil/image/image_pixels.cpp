// Regions, lines and single pixels of an image.

#include "qzil/image/image.h"
#include "qzil/image/image_ops.h"

#include <algorithm>
#include <cstring>

using namespace qzil::platform;

HRESULT CMFImage::CheckRegion(void const* buffer, int x, int y, int width, int height) const {
    Description const& d = m_oState.oDescription;
    bool const inside = x >= 0 && y >= 0 && width >= 1 && height >= 1 && std::int64_t{x} + width <= d.iWidth &&
                        std::int64_t{y} + height <= d.iHeight;
    return inside && buffer ? kOk : kInvalidArgument;
}

HRESULT CMFImage::MoveRegion(void* buffer, qzILBbox2l const& region, bool paste) {
    qzil::Ref<IXFImage> view;
    if (qzILCreateImage(nullptr, IID_IXFImage, view.Out()) < 0) return kFailure;
    Description const& d = m_oState.oDescription;
    view->SetFormat(d.oFormat);
    view->SetNumChannels(d.uChannels);
    view->SetChannelType(d.uChannelType);
    view->SetChannelSize(d.uChannelSize);
    view->SetPixelSize(d.uPixelSize);
    view->SetRes(region.Size.x, region.Size.y);
    view->SetPixelArray(buffer);
    qzil::StateLength(*view.Get(), static_cast<std::uint64_t>(region.Size.x) * region.Size.y * d.uPixelSize);
    qzILVector2l const origin;
    if (paste) {
        qzILBbox2l const whole(0, 0, region.Size.x, region.Size.y);
        qzILCopyImage(view.Get(), this, &whole, &region.Origin, 0);
    } else {
        qzILCopyImage(this, view.Get(), &region, &origin, 0);
    }
    return kOk;
}

HRESULT CMFImage::CopyRegion(void* buffer, int x, int y, int width, int height) {
    if (HRESULT const result = CheckRegion(buffer, x, y, width, height); result < 0) return result;
    return MoveRegion(buffer, {x, y, width, height}, false);
}

HRESULT CMFImage::PasteRegion(void* buffer, int x, int y, int width, int height) {
    if (HRESULT const result = CheckRegion(buffer, x, y, width, height); result < 0) return result;
    return MoveRegion(buffer, {x, y, width, height}, true);
}

HRESULT CMFImage::FillRegion(void* pixel, int x, int y, int width, int height) {
    if (HRESULT const result = CheckRegion(pixel, x, y, width, height); result < 0) return result;
    qzILFillRegion(this, {x, y, width, height}, pixel, kModeAllChannels);
    return kOk;
}

HRESULT CMFImage::CopyLine(void*, int, int, int, int) {
    return kNotImplemented;
}

HRESULT CMFImage::PasteLine(void*, int, int, int, int) {
    return kNotImplemented;
}

HRESULT CMFImage::FillLine(void* pixel, int x0, int y0, int x1, int y1) {
    Description const& d = m_oState.oDescription;
    if (x0 < 0 || y0 < 0 || x1 < x0 || y1 < y0 || x1 >= d.iWidth || y1 >= d.iHeight || !pixel) return kInvalidArgument;
    unsigned pixelSize = 0;
    if (HRESULT const result = GetPixelSize(&pixelSize); result < 0) return result;
    if (!m_oState.pPixels) return kFailure;
    if (pixelSize == 0) return kOk;

    bool const swapped = y1 - y0 > x1 - x0;
    std::uint64_t const limit = PixelMemory();
    auto const plot = [&](std::int64_t along, std::int64_t across) {
        auto const index = static_cast<std::uint64_t>(swapped ? along * d.iWidth + across : across * d.iWidth + along);
        if ((index + 1) * pixelSize <= limit) std::memcpy(m_oState.pPixels + index * pixelSize, pixel, pixelSize);
    };
    std::int64_t low = swapped ? y0 : x0, lowMinor = swapped ? x0 : y0;
    std::int64_t high = swapped ? y1 : x1, highMinor = swapped ? x1 : y1;
    std::int64_t const dx = high - low, dy = highMinor - lowMinor;

    plot(low, lowMinor);
    plot(high, highMinor);

    // Of the pair of pixels in hand, which one takes the minor step.
    struct Choice {
        bool bFirst, bSecond, bStraight;
    };
    std::int64_t const second = 4 * dy - 2 * dx;
    bool const flat = second < 0;
    std::int64_t const c = flat ? 2 * dy : 2 * (dy - dx);
    std::int64_t const first = 2 * c;
    std::int64_t decision = flat ? first - dx : first + dx;
    auto const choose = [&]() -> Choice {
        if (flat ? decision < 0 : decision > 0) return {!flat, !flat, true};
        return decision < c ? Choice{false, true, false} : Choice{true, false, false};
    };
    for (std::int64_t round = (dx - 1) / 4; round > 0; --round) {
        Choice const choice = choose();
        plot(++low, lowMinor += choice.bFirst);
        plot(++low, lowMinor += choice.bSecond);
        plot(--high, highMinor -= choice.bFirst);
        plot(--high, highMinor -= choice.bSecond);
        decision += choice.bStraight ? first : second;
    }
    std::int64_t const left = (dx - 1) % 4;
    Choice const choice = choose();
    if (left > 0) plot(++low, lowMinor += choice.bFirst);
    if (left > 1) plot(++low, lowMinor += choice.bSecond);
    if (left > 2) plot(--high, highMinor -= choice.bFirst);
    return kOk;
}

HRESULT CMFImage::GetPixel(void* pixel, float x, float y) {
    Description const& d = m_oState.oDescription;
    bool const inside = x >= 0 && y >= 0 && x < static_cast<float>(d.iWidth) && y < static_cast<float>(d.iHeight);
    if (!inside || !pixel) return kInvalidArgument;
    bool const wide = d.oFormat == MFIF_RGBA_RAW_64 || d.oFormat == MFIF_MONO_RAW_16;
    bool const mono = d.oFormat == MFIF_MONO_RAW_8 || d.oFormat == MFIF_MONO_RAW_16;
    if (!wide && !mono && d.oFormat != MFIF_RGBA_RAW_32 && d.oFormat != MFIF_DIB_RAW_32) return kFailure;
    unsigned pixelSize = 0;
    if (HRESULT const result = GetPixelSize(&pixelSize); result < 0) return result;

    // A large resolution does not survive in a float, so the last column and row are limits here as well.
    std::int64_t const ix = std::min<std::int64_t>(static_cast<std::int64_t>(x), d.iWidth - 1);
    std::int64_t const iy = std::min<std::int64_t>(static_cast<std::int64_t>(y), d.iHeight - 1);
    float const fx = x - static_cast<float>(ix), fy = y - static_cast<float>(iy);

    unsigned const channels = mono ? 1 : 4;
    // A size set by hand is not the caller's room.
    if (pixelSize != channels * (wide ? 2 : 1)) return kFailure;
    std::uint64_t bytes = static_cast<std::uint64_t>(d.iWidth) * static_cast<std::uint64_t>(d.iHeight) * pixelSize;
    bytes = std::min(bytes, PixelMemory());
    if (!m_oState.pPixels || bytes < pixelSize) return kFailure;
    auto const at = [&](std::int64_t column, std::int64_t row) {
        // Right of the last column lies the next row's first pixel; behind the last pixel, the last one again.
        auto const offset = static_cast<std::uint64_t>(row * d.iWidth + column) * pixelSize;
        return m_oState.pPixels + std::min<std::uint64_t>(offset, bytes - pixelSize);
    };
    if (fx == 0 && fy == 0) {
        std::memcpy(pixel, at(ix, iy), pixelSize);
        return kOk;
    }
    std::int64_t const right = fx != 0 ? ix + 1 : ix;
    std::int64_t const upper = fy != 0 ? iy + 1 : iy;
    unsigned char const* const corner[4] = {at(ix, iy), at(right, iy), at(ix, upper), at(right, upper)};
    auto const interpolate = [&]<class T>(T) {
        for (unsigned channel = 0; channel < channels; ++channel) {
            float p[4];
            for (int i = 0; i < 4; ++i) {
                T value;
                std::memcpy(&value, corner[i] + channel * sizeof(T), sizeof(T));
                p[i] = static_cast<float>(value);
            }
            float const a = p[0] + (p[1] - p[0]) * fx;
            float const b = p[2] + (p[3] - p[2]) * fx;
            T const result = static_cast<T>(a + (b - a) * fy + 0.5f);
            std::memcpy(static_cast<unsigned char*>(pixel) + channel * sizeof(T), &result, sizeof(T));
        }
    };
    if (wide) {
        interpolate(std::uint16_t{});
    } else {
        interpolate(std::uint8_t{});
    }
    return kOk;
}
