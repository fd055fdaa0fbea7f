#pragma once

#include "qzil/platform/api.h"
#include "qzil/platform/com.h"

#include <cstdint>
#include <type_traits>

/// Result of the effect protocol: 1 success, -1 failure. The reason of a failure stands in the effect's error value.
using qzILStatus = std::int32_t;

/// Bit values; as a number it also travels in image headers, so values outside the list must survive.
using XFChannelType = std::uint32_t;
enum : XFChannelType {
    XFChannelTypeUnknown = 0,
    XFChannelTypeUInt8 = 2,
    XFChannelTypeS2_14 = 4,  ///< signed 16 bits, 16384 is 1.0
    XFChannelTypeUInt16 = 8,
    XFChannelTypeUInt32 = 32,
    XFChannelTypeFloat = 64,
};

using XFColorModel = std::uint32_t;
enum : XFColorModel {
    XFColorModelNone = 0,
    XFColorModelRGB = 1,
    XFColorModelMono = 2,
    XFColorModelHLS = 4,
    XFColorModelHSV = 8,
    XFColorModelCMY = 16,
    XFColorModelYCC601 = 64,
    XFColorModelYUV = 128,
    XFColorModelYIQ = 256,
    XFColorModelYCC709 = 512,
    XFColorModelRGBVideo = 4096,  ///< RGB at video levels, 16/255 to 235/255
};

/// A channel of a mask image, or a set of channels of a processing mode.
using XFImageChannel = std::uint32_t;
enum : XFImageChannel {
    XFImageChannel0 = 1,  ///< first channel of a pixel in memory
    XFImageChannel1 = 2,
    XFImageChannel2 = 4,
    XFImageChannel3 = 8,     ///< alpha in RGBA and YCC formats
    XFImageChannelMono = 16  ///< the channel of a one-channel image
};

/// Bits of a processing mode beside the channels.
inline constexpr unsigned kModeColor = 7;
inline constexpr unsigned kModeAlpha = 8;
inline constexpr unsigned kModeAllChannels = 15;
inline constexpr unsigned kModeSkipEvenLines = 0x100;
inline constexpr unsigned kModeSkipOddLines = 0x200;
inline constexpr unsigned kModeNoLines = kModeSkipEvenLines | kModeSkipOddLines;

/// Number of the line resampler of a geometric transform.
using qzILInterpolationType = std::uint32_t;
enum : qzILInterpolationType {
    qzILNearestNeighbor = 1,
    qzILBilinear = 2,
    qzILBicubic = 3,
    qzILBilinearPrefiltered = 4,
};

/// Error value of an effect: codes 0x10000 to 0x1FFFF are fatal, 0x20000 to 0x2FFFF warnings. A recorded warning
/// stops an effect like a fatal error.
class QZIL_API qzILError {
public:
    qzILError(unsigned code = 0) : m_uCode(code) {}
    qzILError(qzILError const&) = default;
    virtual ~qzILError() = default;
    qzILError& operator=(qzILError const&) = default;
    bool operator==(qzILError const& other) const { return m_uCode == other.m_uCode; }
    /// Compares with a code. A template, since both conversions of this class would do for a plain number.
    template <class Code>
    requires std::is_integral_v<Code>
    bool operator==(Code code) const { return m_uCode == static_cast<std::uint32_t>(code); }
    operator unsigned int() const { return m_uCode; }

    void Init() { m_uCode = 0; }
    void Trash() {}
    void SetErrorCode(unsigned code) { m_uCode = code; }
    unsigned GetErrorCode() const { return m_uCode; }
    bool IsNoError() const { return m_uCode == 0; }
    bool IsFatalError() const { return m_uCode >= 0x10000 && m_uCode <= 0x1FFFF; }
    bool IsWarning() const { return m_uCode >= 0x20000 && m_uCode <= 0x2FFFF; }
    static char const* GetClassNameA() { return m_ClassName; }
    virtual char const* GetActualClassName() const { return m_ClassName; }

    static constexpr char m_ClassName[] = "qzILError";

private:
    std::uint32_t m_uCode;
};

/// The library-wide flag word, 1 at first: bit 1 filters chroma from RGB to YCC, 2 from YCC, 4 dithers.
QZIL_API bool qzILGetFlags(unsigned mask);  ///< every bit of the mask is set; true for a mask of 0
QZIL_API void qzILSetFlags(unsigned mask, int on);
QZIL_API unsigned qzILGetAllFlags();
QZIL_API void qzILSetAllFlags(unsigned flags);
/// Always 1.
QZIL_API int qzILFast();

/// Sends formatted text, cut at 511 bytes, to the platform's debug output.
QZIL_API void _qzILTRACE(char const* format, ...) __attribute__((format(printf, 1, 2)));

class qzILVector2f;
class qzILVector2d;

class QZIL_API qzILVector2l {
public:
    qzILVector2l(std::int32_t x_ = 0, std::int32_t y_ = 0) : x(x_), y(y_) {}
    qzILVector2l(qzILVector2l const&) = default;
    virtual ~qzILVector2l() = default;
    qzILVector2l& operator=(qzILVector2l const&) = default;
    /// Truncated toward zero. A template, so that `v = {x, y}` has one meaning.
    template <class V>
    requires(std::is_same_v<V, qzILVector2f> || std::is_same_v<V, qzILVector2d>) qzILVector2l& operator=(V const& v) {
        return Assign(v);
    }
    qzILVector2l& operator+=(qzILVector2l const& v);
    qzILVector2l& operator-=(qzILVector2l const& v);
    qzILVector2l& operator+=(qzILVector2f const& v);  ///< each float truncated first
    qzILVector2l& operator-=(qzILVector2f const& v);
    bool operator==(qzILVector2l const& v) const { return x == v.x && y == v.y; }
    static char const* GetClassNameA() { return m_ClassName; }
    virtual char const* GetActualClassName() const { return m_ClassName; }
    void Init() { *this = qzILVector2l(); }
    void Trash() {}

    static constexpr char m_ClassName[] = "qzILVector2l";
    std::int32_t x;
    std::int32_t y;

private:
    qzILVector2l& Assign(qzILVector2f const& v);
    qzILVector2l& Assign(qzILVector2d const& v);
};

class QZIL_API qzILVector2f {
public:
    qzILVector2f(float x_ = 0, float y_ = 0) : x(x_), y(y_) {}
    qzILVector2f(qzILVector2f const&) = default;
    template <class V>
    requires(std::is_same_v<V, qzILVector2l> || std::is_same_v<V, qzILVector2d>) qzILVector2f(V const& v)
        : qzILVector2f(static_cast<float>(v.x), static_cast<float>(v.y)) {}
    virtual ~qzILVector2f() = default;
    qzILVector2f& operator=(qzILVector2f const&) = default;
    template <class V>
    requires(std::is_same_v<V, qzILVector2l> || std::is_same_v<V, qzILVector2d>) qzILVector2f& operator=(V const& v) {
        return *this = qzILVector2f(static_cast<float>(v.x), static_cast<float>(v.y));
    }
    qzILVector2f& operator+=(qzILVector2l const& v);
    qzILVector2f& operator-=(qzILVector2l const& v);
    bool operator==(qzILVector2f const& v) const { return x == v.x && y == v.y; }
    static char const* GetClassNameA() { return m_ClassName; }
    virtual char const* GetActualClassName() const { return m_ClassName; }
    void Init() { *this = qzILVector2f(); }
    void Trash() {}

    static constexpr char m_ClassName[] = "qzILVector2f";
    float x;
    float y;
};

class QZIL_API qzILVector2d {
public:
    qzILVector2d(double x_ = 0, double y_ = 0) : x(x_), y(y_) {}
    qzILVector2d(qzILVector2d const&) = default;
    template <class V>
    requires(std::is_same_v<V, qzILVector2l> || std::is_same_v<V, qzILVector2f>) qzILVector2d(V const& v)
        : qzILVector2d(v.x, v.y) {}
    virtual ~qzILVector2d() = default;
    qzILVector2d& operator=(qzILVector2d const&) = default;
    template <class V>
    requires(std::is_same_v<V, qzILVector2l> || std::is_same_v<V, qzILVector2f>) qzILVector2d& operator=(V const& v) {
        return *this = qzILVector2d(v.x, v.y);
    }
    qzILVector2d& operator+=(qzILVector2l const& v);
    qzILVector2d& operator-=(qzILVector2l const& v);
    bool operator==(qzILVector2d const& v) const { return x == v.x && y == v.y; }
    static char const* GetClassNameA() { return m_ClassName; }
    virtual char const* GetActualClassName() const { return m_ClassName; }
    void Init() { *this = qzILVector2d(); }
    void Trash() {}

    static constexpr char m_ClassName[] = "qzILVector2d";
    double x;
    double y;
};

QZIL_API qzILVector2l operator+(qzILVector2l const& a, qzILVector2l const& b);
QZIL_API qzILVector2l operator-(qzILVector2l const& a, qzILVector2l const& b);
QZIL_API qzILVector2d operator+(qzILVector2d const& a, qzILVector2l const& b);
QZIL_API qzILVector2d operator-(qzILVector2d const& a, qzILVector2l const& b);
QZIL_API qzILVector2f operator+(qzILVector2f const& a, qzILVector2l const& b);
QZIL_API qzILVector2f operator-(qzILVector2f const& a, qzILVector2l const& b);
QZIL_API qzILVector2f operator+(qzILVector2l const& a, qzILVector2f const& b);
QZIL_API qzILVector2f operator-(qzILVector2l const& a, qzILVector2f const& b);
QZIL_API qzILVector2d operator+(qzILVector2l const& a, qzILVector2d const& b);
QZIL_API qzILVector2d operator-(qzILVector2l const& a, qzILVector2d const& b);
QZIL_API qzILVector2f operator*(qzILVector2l const& a, float b);
QZIL_API qzILVector2f operator*(float a, qzILVector2l const& b);

/// Integer rectangle: columns x to x + width - 1, rows y to y + height - 1. Empty when a side is below 1.
class QZIL_API qzILBbox2l {
public:
    qzILBbox2l() = default;
    qzILBbox2l(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height)
        : Size(width, height), Origin(x, y) {}
    qzILBbox2l(qzILBbox2l const&) = default;
    virtual ~qzILBbox2l() = default;
    qzILBbox2l& operator=(qzILBbox2l const&) = default;
    bool operator==(qzILBbox2l const& other) const { return Origin == other.Origin && Size == other.Size; }
    bool IsEmpty() const { return Size.x < 1 || Size.y < 1; }
    /// All zero when either is empty; disjoint rectangles give an empty one that keeps the computed origin.
    qzILBbox2l Intersect(qzILBbox2l const& other) const;
    static char const* GetClassNameA() { return m_ClassName; }
    virtual char const* GetActualClassName() const { return m_ClassName; }
    void Init() { *this = qzILBbox2l(); }
    void Trash() {}

    static constexpr char m_ClassName[] = "qzILBbox2l";
    qzILVector2l Size;
    qzILVector2l Origin;
};

namespace qzil {

/// The rectangle moved by a distance; a coordinate that leaves 32 bits stops at its end.
qzILBbox2l Moved(qzILBbox2l const& box, qzILVector2l const& distance);
/// The way from one place to another, with the same stop: what lies further apart never meets in an image.
qzILVector2l Way(qzILVector2l const& from, qzILVector2l const& to);

}  // namespace qzil
