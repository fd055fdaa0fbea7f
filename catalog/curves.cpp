#include "catalog/effect.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace qzil::catalog {

namespace {

using Curve = std::function<double(double)>;

double ParseBetween(std::string_view text, double min, double max) {
    double const value = ParseReal(text);
    if (value < min || value > max) throw std::invalid_argument("out of range");
    return value;
}

/// Straight lines between the points; flat before the first and behind the last.
Curve ParsePoints(std::string_view text) {
    std::vector<std::pair<double, double>> points;
    for (bool more = true; more;) {
        std::size_t const comma = text.find(',');
        more = comma != std::string_view::npos;
        std::string_view const point = text.substr(0, comma);
        std::size_t const colon = point.find(':');
        if (colon == std::string_view::npos) throw std::invalid_argument("not a point");
        double const x = ParseBetween(point.substr(0, colon), 0.0, 1.0);
        if (!points.empty() && x <= points.back().first) throw std::invalid_argument("points do not ascend");
        points.emplace_back(x, ParseBetween(point.substr(colon + 1), 0.0, 1.0));
        if (more) text.remove_prefix(comma + 1);
    }
    return [points](double v) {
        if (v <= points.front().first) return points.front().second;
        for (std::size_t i = 1; i < points.size(); ++i) {
            auto const& [x0, y0] = points[i - 1];
            auto const& [x1, y1] = points[i];
            if (v <= x1) return y0 + (y1 - y0) * (v - x0) / (x1 - x0);
        }
        return points.back().second;
    };
}

Curve ParseCurveForm(std::string_view text) {
    if (text == "invert") return [](double v) { return 1.0 - v; };
    std::size_t const colon = text.find(':');
    std::string_view const name = text.substr(0, colon);
    std::string_view const rest = colon == std::string_view::npos ? "" : text.substr(colon + 1);
    if (name == "gamma") {
        double const exponent = 1.0 / ParseBetween(rest, 0.01, 100.0);
        return [exponent](double v) { return std::pow(v, exponent); };
    }
    if (name == "posterize") {
        double const levels = ParseBetween(rest, 2.0, 256.0);
        if (levels != std::floor(levels)) throw std::invalid_argument("not a whole number");
        return [levels](double v) { return std::min(std::floor(v * levels), levels - 1.0) / (levels - 1.0); };
    }
    return ParsePoints(text);
}

template <class T>
std::vector<T> Evaluate(Curve const& curve) {
    constexpr double kFull = static_cast<T>(~T{0});
    std::vector<T> table(static_cast<std::size_t>(kFull) + 1);
    for (std::size_t i = 0; i < table.size(); ++i) {
        double const value = std::clamp(curve(static_cast<double>(i) / kFull), 0.0, 1.0);
        table[i] = static_cast<T>(value * kFull + 0.5);
    }
    return table;
}

using PairRule = int (*)(int a, int b);

int Multiply(int a, int b) {
    return (a * b + 127) / 255;
}

PairRule FindPairRule(std::string_view name) {
    if (name == "multiply") return Multiply;
    if (name == "screen") return [](int a, int b) { return 255 - Multiply(255 - a, 255 - b); };
    if (name == "difference") return [](int a, int b) { return std::abs(a - b); };
    if (name == "add") return [](int a, int b) { return std::min(a + b, 255); };
    if (name == "min") return [](int a, int b) { return std::min(a, b); };
    if (name == "max") return [](int a, int b) { return std::max(a, b); };
    throw std::invalid_argument("no such rule");
}

}  // namespace

std::shared_ptr<Lut const> ParseCurve(std::string_view text) {
    Curve const curve = ParseCurveForm(text);
    return std::make_shared<Lut>(Lut{Evaluate<unsigned char>(curve), Evaluate<unsigned short>(curve)});
}

std::shared_ptr<Lut const> ParsePairRule(std::string_view text) {
    PairRule const rule = FindPairRule(text);
    std::vector<unsigned char> table(0x10000);
    for (int b = 0; b < 256; ++b) {
        for (int a = 0; a < 256; ++a) {
            table[static_cast<std::size_t>(b * 256 + a)] = static_cast<unsigned char>(rule(a, b));
        }
    }
    return std::make_shared<Lut>(Lut{std::move(table), {}});
}

}  // namespace qzil::catalog
