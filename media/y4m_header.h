#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace qzil::media {

/// Limits on what is read.
inline constexpr int kMaxVideoSide = 65535;
inline constexpr long long kMaxVideoPixels = 1ll << 28;

enum class Y4mLayout { kMono, k420, k422, k444, k444Alpha };

/// Where a chroma sample of 4:2:0 lies among its four pixels.
enum class Y4mSiting { kCenter, kLeft };

/// Two whole numbers, as in "30000:1001"; 0:0 is unknown.
struct Y4mRatio {
    std::uint32_t uNumerator = 0;
    std::uint32_t uDenominator = 0;
    bool operator==(Y4mRatio const&) const = default;
    std::string Text() const;
};

/// The first line of a y4m stream.
struct Y4mHeader {
    int iWidth = 0;
    int iHeight = 0;
    Y4mRatio oRate;
    Y4mRatio oAspect;    ///< of a pixel
    char cFields = 'p';  ///< p progressive, t top field first, b bottom field first, m mixed, ? unknown
    Y4mLayout eLayout = Y4mLayout::k420;
    Y4mSiting eSiting = Y4mSiting::kCenter;
    int iBits = 8;  ///< of a sample: 8 in a byte; 9, 10, 12, 14 or 16 in two, little-endian
    bool bFullRange = false;
    bool bRangeGiven = false;  ///< else video levels are meant
    std::string sExtensions;   ///< tags that are kept as they stand, each with a blank in front

    bool IsInterlaced() const { return cFields == 't' || cFields == 'b'; }
    int ChromaWidth() const;
    int ChromaHeight() const;
    std::size_t SampleBytes() const { return iBits == 8 ? 1 : 2; }
    std::size_t LumaBytes() const;
    /// Of one chroma plane.
    std::size_t ChromaBytes() const;
    std::size_t FrameBytes() const;
    /// The line without its end. What the reader understands stands first, extensions last.
    std::string Line() const;
};

/// Reads "N:D", both 0 or both positive. Throws Fault, which names `what`.
Y4mRatio ParseRatio(std::string_view text, char const* what);

/// Reads the first line. Tags that are not known are kept. Throws Fault for what contradicts itself, exceeds the
/// limits, or names a layout that is not served.
Y4mHeader ParseY4mHeader(std::string_view line);

}  // namespace qzil::media
