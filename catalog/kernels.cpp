#include "catalog/catalog.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace qzil::catalog {

namespace {

/// Larger kernels than this have no use that a blur would not serve.
constexpr std::size_t kMostSide = 255;
constexpr std::size_t kMostBytes = 1 << 20;

std::string ReadFile(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::invalid_argument("no such file");
    std::string text;
    for (std::istreambuf_iterator<char> next(file), end; next != end && text.size() <= kMostBytes; ++next)
        text += *next;
    if (text.size() > kMostBytes) throw std::invalid_argument("too long");
    return text;
}

bool IsBlank(char c) {
    return c == ' ' || c == '\t' || c == ',' || c == '\r';
}

std::vector<double> ParseRow(std::string_view text) {
    std::vector<double> taps;
    while (!text.empty()) {
        std::size_t const length =
            static_cast<std::size_t>(std::find_if(text.begin(), text.end(), IsBlank) - text.begin());
        if (length != 0) taps.push_back(ParseReal(text.substr(0, length)));
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    return taps;
}

}  // namespace

std::shared_ptr<Kernel const> ParseKernel(std::string_view text) {
    std::string const content = text.starts_with('@') ? ReadFile(std::string(text.substr(1))) : std::string(text);
    std::size_t const slash = content.find('/');
    double divisor = 1.0;
    if (slash != std::string::npos) {
        std::vector<double> const numbers =
            ParseRow(content.substr(slash + 1, content.find_last_not_of("\n;") - slash));
        if (numbers.size() != 1 || numbers[0] == 0.0) throw std::invalid_argument("not a divisor");
        divisor = numbers[0];
    }
    std::vector<std::vector<double>> rows;
    for (std::size_t at = 0, end = std::min(slash, content.size()); at < end;) {
        std::size_t const stop = std::min(content.find_first_of(";\n", at), end);
        std::vector<double> row = ParseRow(std::string_view(content).substr(at, stop - at));
        if (!row.empty()) rows.push_back(std::move(row));
        at = stop + 1;
    }
    auto const isSide = [](std::size_t side) { return side % 2 == 1 && side <= kMostSide; };
    if (rows.empty() || !isSide(rows.size()) || !isSide(rows[0].size())) throw std::invalid_argument("not a kernel");
    Kernel kernel{static_cast<int>(rows[0].size()), static_cast<int>(rows.size()), {}};
    // The lowest line of a picture is the first one of an image.
    for (auto row = rows.rbegin(); row != rows.rend(); ++row) {
        if (row->size() != rows[0].size()) throw std::invalid_argument("rows differ in length");
        for (double const tap : *row) kernel.oTaps.push_back(static_cast<float>(tap / divisor));
    }
    return std::make_shared<Kernel const>(std::move(kernel));
}

}  // namespace qzil::catalog
