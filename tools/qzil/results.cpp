#include "results.h"

#include "command.h"
#include "json.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>

namespace qzil::command {

namespace {

std::string Number(double value, char const* format) {
    char text[32];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

/// A curve's colour: those of channels for the first three.
std::array<unsigned char, 3> ColorOf(std::size_t index) {
    static constexpr std::array<unsigned char, 3> kColors[] = {
        {255, 64, 64}, {64, 224, 64}, {96, 128, 255}, {255, 255, 255}, {144, 144, 144}, {255, 224, 64}, {64, 224, 224}};
    return kColors[index % std::size(kColors)];
}

void DrawColumn(media::Picture& plot, int x, int from, int to, std::array<unsigned char, 3> const& color) {
    for (int y = std::min(from, to); y <= std::max(from, to); ++y) {
        std::copy(color.begin(), color.end(), plot.Row(y) + 3 * x);
    }
}

}  // namespace

std::string ResultsTable(std::span<NamedNumbers const> results) {
    std::string text;
    bool const columns = std::all_of(results.begin(), results.end(), [&](NamedNumbers const& one) {
        return one.oNumbers.size() == results[0].oNumbers.size() && one.oNumbers.size() > 1;
    });
    if (!columns) {
        for (NamedNumbers const& one : results) {
            text += one.sName;
            for (double const value : one.oNumbers) text += ' ' + Number(value, "%.9g");
            text += '\n';
        }
        return text;
    }
    text = "      ";
    char cell[64];
    for (NamedNumbers const& one : results) {
        std::snprintf(cell, sizeof cell, "  %10s", one.sName.c_str());
        text += cell;
    }
    text += '\n';
    for (std::size_t i = 0; i < results[0].oNumbers.size(); ++i) {
        std::snprintf(cell, sizeof cell, "%6zu", i);
        text += cell;
        for (NamedNumbers const& one : results) text += "  " + Number(one.oNumbers[i], "%10.6f");
        text += '\n';
    }
    return text;
}

std::string ResultsJson(std::span<NamedNumbers const> results) {
    std::string text;
    for (NamedNumbers const& one : results) {
        text += (text.empty() ? "{" : ", ") + JsonText(one.sName) + ": [";
        for (std::size_t i = 0; i < one.oNumbers.size(); ++i) {
            // JSON has no number for what is none.
            text += (i == 0 ? "" : ", ") + (std::isfinite(one.oNumbers[i]) ? Number(one.oNumbers[i], "%.9g") : "null");
        }
        text += ']';
    }
    return (text.empty() ? "{" : text) + "}\n";
}

media::Picture ResultsPlot(std::span<NamedNumbers const> results) {
    constexpr int kWidth = 1024, kHeight = 512;
    media::Picture plot(kWidth, kHeight, 3, 8);
    double largest = 0.0;
    for (NamedNumbers const& one : results) {
        // One peak alone, such as that of a full alpha, would press all other curves flat.
        auto const some = [](double value) { return value > 0.0; };
        bool const peak = std::count_if(one.oNumbers.begin(), one.oNumbers.end(), some) < 2;
        for (double const value : one.oNumbers) {
            if (!peak && std::isfinite(value)) largest = std::max(largest, value);
        }
    }
    for (std::size_t k = 0; k < results.size(); ++k) {
        std::vector<double> const& numbers = results[k].oNumbers;
        if (numbers.size() < 2 || largest <= 0.0) continue;
        int before = -1;
        for (int x = 0; x < kWidth; ++x) {
            double const value = numbers[static_cast<std::size_t>(x) * numbers.size() / kWidth];
            double const height = std::isfinite(value) ? std::clamp(value / largest, 0.0, 1.0) : 0.0;
            int const y = kHeight - 1 - static_cast<int>(height * (kHeight - 1) + 0.5);
            DrawColumn(plot, x, before < 0 ? y : before, y, ColorOf(k));
            before = y;
        }
    }
    return plot;
}

}  // namespace qzil::command
