#include "qzil/image/core_values.h"

#include "qzil/platform/host.h"

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <limits>

namespace {

std::atomic<unsigned> s_uFlags{1};

/// Truncation toward zero; what lies outside 32 bits stops at the nearest end, NaN at the lower one.
std::int32_t Truncate(double value) {
    constexpr double kLow = std::numeric_limits<std::int32_t>::min();
    constexpr double kHigh = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(value >= kLow ? std::min(value, kHigh) : kLow);
}

std::int32_t WrapAdd(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

std::int32_t WrapSubtract(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

std::int32_t Limit(std::int64_t value) {
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(value, std::numeric_limits<std::int32_t>::min(),
                                                              std::numeric_limits<std::int32_t>::max()));
}

}  // namespace

bool qzILGetFlags(unsigned mask) {
    return (s_uFlags & mask) == mask;
}

void qzILSetFlags(unsigned mask, int on) {
    if (on) {
        s_uFlags |= mask;
    } else {
        s_uFlags &= ~mask;
    }
}

unsigned qzILGetAllFlags() {
    return s_uFlags;
}

void qzILSetAllFlags(unsigned flags) {
    s_uFlags = flags;
}

int qzILFast() {
    return 1;
}

void _qzILTRACE(char const* format, ...) {
    char text[512];
    std::va_list arguments;
    va_start(arguments, format);
    int const length = std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    if (length >= 0) qzil::platform::OutputDebugStringA(text);
}

qzILVector2l& qzILVector2l::Assign(qzILVector2f const& v) {
    x = Truncate(v.x);
    y = Truncate(v.y);
    return *this;
}

qzILVector2l& qzILVector2l::Assign(qzILVector2d const& v) {
    x = Truncate(v.x);
    y = Truncate(v.y);
    return *this;
}

qzILVector2l& qzILVector2l::operator+=(qzILVector2l const& v) {
    x = WrapAdd(x, v.x);
    y = WrapAdd(y, v.y);
    return *this;
}

qzILVector2l& qzILVector2l::operator-=(qzILVector2l const& v) {
    x = WrapSubtract(x, v.x);
    y = WrapSubtract(y, v.y);
    return *this;
}

qzILVector2l& qzILVector2l::operator+=(qzILVector2f const& v) {
    return *this += qzILVector2l(Truncate(v.x), Truncate(v.y));
}

qzILVector2l& qzILVector2l::operator-=(qzILVector2f const& v) {
    return *this -= qzILVector2l(Truncate(v.x), Truncate(v.y));
}

qzILVector2f& qzILVector2f::operator+=(qzILVector2l const& v) {
    return *this = *this + v;
}

qzILVector2f& qzILVector2f::operator-=(qzILVector2l const& v) {
    return *this = *this - v;
}

qzILVector2d& qzILVector2d::operator+=(qzILVector2l const& v) {
    return *this = *this + v;
}

qzILVector2d& qzILVector2d::operator-=(qzILVector2l const& v) {
    return *this = *this - v;
}

qzILVector2l operator+(qzILVector2l const& a, qzILVector2l const& b) {
    return {WrapAdd(a.x, b.x), WrapAdd(a.y, b.y)};
}

qzILVector2l operator-(qzILVector2l const& a, qzILVector2l const& b) {
    return {WrapSubtract(a.x, b.x), WrapSubtract(a.y, b.y)};
}

qzILVector2d operator+(qzILVector2d const& a, qzILVector2l const& b) {
    return {a.x + b.x, a.y + b.y};
}

qzILVector2d operator-(qzILVector2d const& a, qzILVector2l const& b) {
    return {a.x - b.x, a.y - b.y};
}

qzILVector2f operator+(qzILVector2f const& a, qzILVector2l const& b) {
    return {a.x + static_cast<float>(b.x), a.y + static_cast<float>(b.y)};
}

qzILVector2f operator-(qzILVector2f const& a, qzILVector2l const& b) {
    return {a.x - static_cast<float>(b.x), a.y - static_cast<float>(b.y)};
}

qzILVector2f operator+(qzILVector2l const& a, qzILVector2f const& b) {
    return {static_cast<float>(a.x) + b.x, static_cast<float>(a.y) + b.y};
}

qzILVector2f operator-(qzILVector2l const& a, qzILVector2f const& b) {
    return {static_cast<float>(a.x) - b.x, static_cast<float>(a.y) - b.y};
}

qzILVector2d operator+(qzILVector2l const& a, qzILVector2d const& b) {
    return {a.x + b.x, a.y + b.y};
}

qzILVector2d operator-(qzILVector2l const& a, qzILVector2d const& b) {
    return {a.x - b.x, a.y - b.y};
}

qzILVector2f operator*(qzILVector2l const& a, float b) {
    return {static_cast<float>(a.x) * b, static_cast<float>(a.y) * b};
}

qzILVector2f operator*(float a, qzILVector2l const& b) {
    return b * a;
}

qzILBbox2l qzILBbox2l::Intersect(qzILBbox2l const& other) const {
    if (IsEmpty() || other.IsEmpty()) return {};
    auto const axis = [](std::int64_t a, std::int64_t sizeA, std::int64_t b, std::int64_t sizeB, std::int32_t& origin,
                         std::int32_t& size) {
        std::int64_t const first = std::max(a, b);
        std::int64_t const last = std::min(a + sizeA - 1, b + sizeB - 1);
        origin = static_cast<std::int32_t>(first);
        size = Limit(std::max<std::int64_t>(last - first + 1, 0));
    };
    qzILBbox2l result;
    axis(Origin.x, Size.x, other.Origin.x, other.Size.x, result.Origin.x, result.Size.x);
    axis(Origin.y, Size.y, other.Origin.y, other.Size.y, result.Origin.y, result.Size.y);
    return result;
}

namespace qzil {

qzILBbox2l Moved(qzILBbox2l const& box, qzILVector2l const& distance) {
    return {Limit(std::int64_t{box.Origin.x} + distance.x), Limit(std::int64_t{box.Origin.y} + distance.y), box.Size.x,
            box.Size.y};
}

qzILVector2l Way(qzILVector2l const& from, qzILVector2l const& to) {
    return {Limit(std::int64_t{to.x} - from.x), Limit(std::int64_t{to.y} - from.y)};
}

}  // namespace qzil
