#pragma once

#include "qzil/image/image.h"
#include "qzil/platform/com.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

/// Pictures for tests: images with deterministic contents, and their bytes.
namespace qzil::test {

/// Marsaglia's xorshift, 64 bits: the same numbers on every machine.
class Random {
public:
    explicit Random(std::uint64_t seed) : m_uState(seed * 0x9E3779B97F4A7C15u + 0x2545F4914F6CDD1Du) {
        if (m_uState == 0) m_uState = 1;
        for (int i = 0; i < 4; ++i) Next();
    }
    std::uint64_t Next() {
        m_uState ^= m_uState << 13;
        m_uState ^= m_uState >> 7;
        m_uState ^= m_uState << 17;
        return m_uState;
    }
    /// 0 to limit - 1.
    int Below(int limit) { return static_cast<int>((Next() >> 11) % static_cast<std::uint64_t>(limit)); }
    /// first to last, both included.
    int Between(int first, int last) { return first + Below(last - first + 1); }
    bool OneIn(int n) { return Below(n) == 0; }

private:
    std::uint64_t m_uState;
};

enum class FloatValues {
    Finite,       ///< -0.5 to 1.5, with exact 0 and 1 now and then
    WithSpecials  ///< also NaN, infinities, denormals and huge values
};

/// An image of the format with memory for width x height pixels, all zero bytes. Null when that fails.
Ref<IXFImage> MakeImage(GUID const& format, int width, int height);

/// The pixel array; empty when there is none.
std::span<unsigned char> Bytes(IXFImage* image);
inline std::span<unsigned char> Bytes(Ref<IXFImage> const& image) {
    return Bytes(image.Get());
}

/// Fills the whole pixel array from a seed, by the image's channel type. A quarter of the samples are end values.
void FillRandom(IXFImage* image, std::uint64_t seed, FloatValues values = FloatValues::Finite);

/// MakeImage and FillRandom.
Ref<IXFImage> MakeRandomImage(GUID const& format, int width, int height, std::uint64_t seed,
                              FloatValues values = FloatValues::Finite);

/// Another interface of an object, or null.
template <class T>
Ref<T> As(IUnknown* object, GUID const& iid) {
    Ref<T> result;
    if (object) object->QueryInterface(iid, result.Out());
    return result;
}

GUID FormatOf(IXFImage* image);
/// Name of a format, or its first group when it has none.
std::string NameOf(GUID const& format);

/// Place of the first byte that differs; the shorter span's end when only the lengths do.
std::optional<std::size_t> FirstDifference(std::span<unsigned char const> a, std::span<unsigned char const> b);
/// "byte 12: expected 3, actual 4", or an empty text for equal bytes.
std::string DescribeDifference(std::span<unsigned char const> expected, std::span<unsigned char const> actual);

}  // namespace qzil::test
