#include "command.h"
#include "options.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <memory>

namespace qzil::command {

namespace {

using Pixel = std::array<double, 4>;

/// Red, green, blue and alpha with 1.0 as full scale; grey counts for all three, missing alpha is full.
Pixel PixelAt(media::Picture const& picture, int x, int y) {
    auto const sample = [&](int channel) { return SampleOf(picture, x, y, channel); };
    bool const grey = picture.iChannels < 3;
    bool const alpha = picture.iChannels % 2 == 0;
    return {sample(0), sample(grey ? 0 : 1), sample(grey ? 0 : 2), alpha ? sample(grey ? 1 : 3) : 1.0};
}

constexpr char const* kNames[] = {"red", "green", "blue", "alpha"};

struct Differences {
    Pixel aMax{};
    Pixel aSum{};
    std::string sFirst;  ///< empty when nothing exceeds the tolerance
};

/// `full` is the number of steps of the full scale.
Differences Compare(media::Picture const& a, media::Picture const& b, double full, double tolerance) {
    Differences found;
    bool const whole = a.iDepth == b.iDepth && a.iDepth != 32;
    for (int y = 0; y < a.iHeight; ++y) {
        for (int x = 0; x < a.iWidth; ++x) {
            Pixel const pixelA = PixelAt(a, x, y), pixelB = PixelAt(b, x, y);
            for (std::size_t i = 0; i < 4; ++i) {
                double const valueA = pixelA[i] * full, valueB = pixelB[i] * full;
                // Equal infinities do not differ, and a NaN differs from everything as much as anything can.
                double delta = valueA == valueB ? 0.0 : std::abs(valueA - valueB);
                if (std::isnan(delta)) delta = std::isnan(valueA) && std::isnan(valueB) ? 0.0 : HUGE_VAL;
                // Steps of one depth are whole; what division and multiplication leave behind does not count.
                if (whole) delta = std::round(delta);
                found.aMax[i] = std::max(found.aMax[i], delta);
                found.aSum[i] += delta;
                if (delta > tolerance && found.sFirst.empty()) {
                    char text[160];
                    std::snprintf(text, sizeof text, "first difference at %d,%d from the top left: %s %.10g and %.10g",
                                  x, y, kNames[i], valueA, valueB);
                    found.sFirst = text;
                }
            }
        }
    }
    return found;
}

int Diff(std::string const& pathA, std::string const& pathB, double tolerance, FileSettings const& files) {
    media::Picture const a = ReadInput(pathA, files), b = ReadInput(pathB, files);
    if (a.iWidth != b.iWidth || a.iHeight != b.iHeight) {
        std::printf("the sizes differ: %s and %s\n", SizeText(a.iWidth, a.iHeight).c_str(),
                    SizeText(b.iWidth, b.iHeight).c_str());
        return kDifferent;
    }
    // Pictures of 16 bits are compared in their own steps, all others in those of 8 bits.
    bool const wide = a.iDepth == 16 && b.iDepth == 16;
    Differences const found = Compare(a, b, wide ? 65535.0 : 255.0, tolerance);
    std::printf("channel  max         mean        (steps of %s)\n", wide ? "1/65535" : "1/255");
    double const pixels = static_cast<double>(a.iWidth) * a.iHeight;
    for (std::size_t i = 0; i < 4; ++i) {
        std::printf("%-7s  %-10.6g  %.6g\n", kNames[i], found.aMax[i], found.aSum[i] / pixels);
    }
    if (!found.sFirst.empty()) std::printf("%s\n", found.sFirst.c_str());
    return found.sFirst.empty() ? kOk : kDifferent;
}

}  // namespace

void AddDiff(CLI::App& app, int& result) {
    struct Arguments {
        std::string sA, sB;
        double dfTolerance = 0.0;
        FileSettings oFiles;
    };
    CLI::App* const pCommand = app.add_subcommand("diff", "Compares two pictures; exit code 1 when they differ");
    auto const arguments = std::make_shared<Arguments>();
    pCommand->add_option("A", arguments->sA, "First picture")->required();
    pCommand->add_option("B", arguments->sB, "Second picture")->required();
    pCommand->add_option("--max", arguments->dfTolerance, "Largest difference that counts as equal, in printed steps")
        ->check(CLI::NonNegativeNumber);
    AddRows(*pCommand, InputRows(), arguments->oFiles, "diff");
    pCommand->callback([arguments, &result] {
        result = Diff(arguments->sA, arguments->sB, arguments->dfTolerance, arguments->oFiles);
    });
}

}  // namespace qzil::command
