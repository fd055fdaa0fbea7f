#include "catalog/catalog.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace qzil::catalog {

namespace {

constexpr char kColorForms[] = "a colour: r,g,b or r,g,b,a from 0 to 1, or #rrggbb or #rrggbbaa";

constexpr char kKernelForms[] =
    "rows of numbers from the top, with ';' between rows and blanks between numbers, an odd number of each, and "
    "perhaps a divisor, as in '1 2 1; 2 4 2; 1 2 1 / 16'; or @FILE with such a text";

std::string Number(double value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

bool ParseFlag(std::string_view text) {
    if (text == "on" || text == "true" || text == "yes" || text == "1") return true;
    if (text == "off" || text == "false" || text == "no" || text == "0") return false;
    throw std::invalid_argument("not a flag");
}

qzILColor ParseHexColor(std::string_view digits) {
    std::uint32_t value = 0;
    auto const [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
    if (error != std::errc() || end != digits.data() + digits.size() || (digits.size() != 6 && digits.size() != 8)) {
        throw std::invalid_argument("not a colour");
    }
    if (digits.size() == 6) value = value << 8 | 0xFF;
    auto const channel = [value](int shift) { return (value >> shift & 0xFF) / 255.0; };
    return {channel(24), channel(16), channel(8), channel(0)};
}

double ParseIn(Range const& range, std::string_view text) {
    double const value = ParseReal(text);
    if (value < range.dfMin || value > range.dfMax) throw std::invalid_argument("out of range");
    return value;
}

long ParseInteger(Range const& range, std::string_view text) {
    double const value = ParseIn(range, text);
    if (value != std::floor(value)) throw std::invalid_argument("not a whole number");
    return static_cast<long>(value);
}

long ParseChoice(std::vector<Choice> const& choices, std::string_view text) {
    for (Choice const& choice : choices) {
        if (text == choice.sName || text == std::to_string(choice.iValue)) return choice.iValue;
    }
    throw std::invalid_argument("no such choice");
}

/// Names apart by commas, or "all"; the sum of their numbers.
long ParseSet(std::vector<Choice> const& choices, std::string_view text) {
    long set = 0;
    if (text == "all") {
        for (Choice const& choice : choices) set |= choice.iValue;
        return set;
    }
    for (bool more = true; more;) {
        std::size_t const comma = text.find(',');
        more = comma != std::string_view::npos;
        set |= ParseChoice(choices, text.substr(0, comma));
        if (more) text.remove_prefix(comma + 1);
    }
    return set;
}

/// "X,Y", or one number for both.
qzILVector2f ParsePair(Range const& range, std::string_view text) {
    std::size_t const comma = text.find(',');
    double const x = ParseIn(range, text.substr(0, comma));
    double const y = comma == std::string_view::npos ? x : ParseIn(range, text.substr(comma + 1));
    return {static_cast<float>(x), static_cast<float>(y)};
}

/// Numbers apart by commas, blanks or, between rows, semicolons.
std::vector<double> ParseNumbers(Range const& range, std::string_view text) {
    std::vector<double> numbers;
    while (!text.empty()) {
        std::size_t const end = text.find_first_of(", ;");
        if (end != 0) numbers.push_back(ParseIn(range, text.substr(0, end)));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return numbers;
}

/// As many numbers as the default has; the default itself says how many.
std::vector<double> ParseNumbers(Parameter const& parameter, std::string_view text) {
    std::vector<double> numbers = ParseNumbers(parameter.oRange, text);
    auto const* const pDefault = std::get_if<std::vector<double>>(&parameter.oDefault);
    if (numbers.empty() || (pDefault && !pDefault->empty() && numbers.size() != pDefault->size())) {
        throw std::invalid_argument("not as many numbers");
    }
    return numbers;
}

/// `count` whole numbers apart by commas.
std::vector<int> ParseWhole(std::size_t count, std::string_view text) {
    std::vector<int> whole;
    for (double const number : ParseNumbers({-1e9, 1e9}, text)) {
        if (number != std::floor(number)) throw std::invalid_argument("not whole");
        whole.push_back(static_cast<int>(number));
    }
    if (whole.size() != count) throw std::invalid_argument("not as many numbers");
    return whole;
}

qzILVector2l ParsePoint(std::string_view text) {
    std::vector<int> const xy = ParseWhole(2, text);
    return {xy[0], xy[1]};
}

qzILBbox2l ParseRectangle(std::string_view text) {
    std::vector<int> const box = ParseWhole(4, text);
    if (box[2] < 0 || box[3] < 0) throw std::invalid_argument("a negative size");
    return {box[0], box[1], box[2], box[3]};
}

std::string CountOf(Parameter const& parameter) {
    auto const* const pDefault = std::get_if<std::vector<double>>(&parameter.oDefault);
    return pDefault && !pDefault->empty() ? std::to_string(pDefault->size()) + " numbers" : "numbers";
}

std::string NamesOf(std::vector<Choice> const& choices) {
    std::string names;
    for (Choice const& choice : choices) names += (names.empty() ? "" : ", ") + choice.sName;
    return names;
}

std::string RangeText(Parameter const& parameter) {
    std::string const text = Number(parameter.oRange.dfMin) + " to " + Number(parameter.oRange.dfMax);
    return parameter.sUnit.empty() ? text : text + " " + parameter.sUnit;
}

Value Parse(Parameter const& parameter, std::string_view text) {
    switch (parameter.eKind) {
        case Kind::Real: return ParseIn(parameter.oRange, text);
        case Kind::Integer: return ParseInteger(parameter.oRange, text);
        case Kind::Flag: return ParseFlag(text);
        case Kind::Choice: return ParseChoice(parameter.oChoices, text);
        case Kind::Color: return ParseColor(text);
        case Kind::Lut: return parameter.pParseLut(text);
        case Kind::Set: return ParseSet(parameter.oChoices, text);
        case Kind::Pair: return ParsePair(parameter.oRange, text);
        case Kind::Kernel: return ParseKernel(text);
        case Kind::Angle: return ParseIn(parameter.oRange, text);
        case Kind::Numbers:
        case Kind::Matrix: return ParseNumbers(parameter, text);
        case Kind::Point: return ParsePoint(text);
        case Kind::Rectangle: return ParseRectangle(text);
        case Kind::Text: return std::string(text);
    }
    throw std::invalid_argument("no such kind");
}

}  // namespace

double ParseReal(std::string_view text) {
    double value = 0.0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) {
        throw std::invalid_argument("not a number");
    }
    return value;
}

qzILColor ParseColor(std::string_view text) {
    if (text.starts_with('#')) return ParseHexColor(text.substr(1));
    double values[4] = {0.0, 0.0, 0.0, 1.0};
    std::size_t count = 0;
    for (bool more = true; more; ++count) {
        std::size_t const comma = text.find(',');
        more = comma != std::string_view::npos;
        if (count == 4) throw std::invalid_argument("not a colour");
        values[count] = ParseIn({0.0, 1.0}, text.substr(0, comma));
        if (more) text.remove_prefix(comma + 1);
    }
    if (count < 3) throw std::invalid_argument("not a colour");
    return {values[0], values[1], values[2], values[3]};
}

std::string Allowed(Parameter const& parameter) {
    switch (parameter.eKind) {
        case Kind::Real: return "a number from " + RangeText(parameter);
        case Kind::Integer: return "a whole number from " + RangeText(parameter);
        case Kind::Flag: return "on or off";
        case Kind::Choice: return "one of " + NamesOf(parameter.oChoices);
        case Kind::Set: return "all, or some of " + NamesOf(parameter.oChoices) + " with commas between";
        case Kind::Pair: return "one number or X,Y, each from " + RangeText(parameter);
        case Kind::Kernel: return kKernelForms;
        case Kind::Color: return kColorForms;
        case Kind::Lut: return parameter.sLutForms;
        case Kind::Angle: return "an angle from " + RangeText(parameter);
        case Kind::Numbers: return CountOf(parameter) + " with commas between, each from " + RangeText(parameter);
        case Kind::Matrix: return CountOf(parameter) + ", rows with ';' between, each from " + RangeText(parameter);
        case Kind::Point: return "a point X,Y in pixels";
        case Kind::Rectangle: return "a rectangle X,Y,WIDTH,HEIGHT in pixels";
        case Kind::Text: return "a text";
    }
    return {};
}

Value ParseValue(Parameter const& parameter, std::string_view text) {
    try {
        return Parse(parameter, text);
    } catch (std::invalid_argument const&) {
        throw std::invalid_argument(parameter.sEffect + ": --" + parameter.sName + " is '" + std::string(text) +
                                    "', but takes " + Allowed(parameter) + ".");
    }
}

}  // namespace qzil::catalog
