#include "command.h"
#include "options.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace qzil::command {

namespace {

struct Arguments {
    std::vector<std::string> oInputs;
    std::string sOutput;
    int iColumns = 4;
    int iShrink = 2;
    int iMargin = 8;
    FileSettings oFiles;
};

constexpr unsigned char kMarginGrey = 32;

/// The mean of a box of pixels over a checkerboard, so that transparency shows.
void Shrink(media::Picture const& picture, int shrink, int left, int top, unsigned char* out) {
    bool const grey = picture.iChannels < 3;
    bool const hasAlpha = picture.iChannels % 2 == 0;
    int const right = std::min(left + shrink, picture.iWidth), bottom = std::min(top + shrink, picture.iHeight);
    double sums[3] = {};
    for (int y = top; y < bottom; ++y) {
        for (int x = left; x < right; ++x) {
            double const board = (x / 16 + y / 16) % 2 == 0 ? 0.4 : 0.6;
            double const alpha = hasAlpha ? SampleOf(picture, x, y, picture.iChannels - 1) : 1.0;
            for (int i = 0; i < 3; ++i) sums[i] += board + (SampleOf(picture, x, y, grey ? 0 : i) - board) * alpha;
        }
    }
    double const count = static_cast<double>(right - left) * (bottom - top);
    for (int i = 0; i < 3; ++i) {
        double const mean = sums[i] / count;
        // Written so that a NaN becomes black.
        out[i] = mean > 0.0 ? static_cast<unsigned char>(std::min(mean, 1.0) * 255.0 + 0.5) : 0;
    }
}

int Shrunk(int side, int shrink) {
    return (side + shrink - 1) / shrink;
}

void PutTile(media::Picture& sheet, media::Picture const& picture, int shrink, int left, int top) {
    for (int y = 0; y < Shrunk(picture.iHeight, shrink); ++y) {
        for (int x = 0; x < Shrunk(picture.iWidth, shrink); ++x) {
            unsigned char* const pOut = sheet.Row(top + y) + 3 * static_cast<std::ptrdiff_t>(left + x);
            Shrink(picture, shrink, x * shrink, y * shrink, pOut);
        }
    }
}

void Sheet(Arguments const& arguments) {
    CheckPicturePath(arguments.sOutput, "sheet");
    std::vector<media::Picture> pictures;
    int width = 0, height = 0;
    for (std::string const& path : arguments.oInputs) {
        pictures.push_back(ReadInput(path, arguments.oFiles));
        width = std::max(width, Shrunk(pictures.back().iWidth, arguments.iShrink));
        height = std::max(height, Shrunk(pictures.back().iHeight, arguments.iShrink));
    }
    int const count = static_cast<int>(pictures.size());
    int const columns = std::min(arguments.iColumns, count);
    int const rows = (count + columns - 1) / columns;
    long long const sheetWidth = 1ll * columns * (width + arguments.iMargin) + arguments.iMargin;
    long long const sheetHeight = 1ll * rows * (height + arguments.iMargin) + arguments.iMargin;
    if (sheetWidth > media::kMaxSide || sheetHeight > media::kMaxSide) {
        throw Failure(kWrongUsage, "sheet: --shrink is '" + std::to_string(arguments.iShrink) +
                                       "', but takes a factor that keeps the sheet within " +
                                       std::to_string(media::kMaxSide) + " pixels a side.");
    }
    media::Picture sheet(static_cast<int>(sheetWidth), static_cast<int>(sheetHeight), 3, 8);
    std::fill(sheet.oBytes.begin(), sheet.oBytes.end(), kMarginGrey);
    for (int i = 0; i < count; ++i) {
        int const left = arguments.iMargin + i % columns * (width + arguments.iMargin);
        int const top = arguments.iMargin + i / columns * (height + arguments.iMargin);
        PutTile(sheet, pictures[static_cast<std::size_t>(i)], arguments.iShrink, left, top);
    }
    WriteOutput(arguments.sOutput, sheet, arguments.oFiles);
}

}  // namespace

void AddSheet(CLI::App& app, int&) {
    CLI::App* const pCommand = app.add_subcommand("sheet", "Puts pictures on one contact sheet, row by row");
    auto const arguments = std::make_shared<Arguments>();
    pCommand->add_option("INPUT", arguments->oInputs, "Pictures")->required();
    pCommand->add_option("-o,--output", arguments->sOutput, "Picture to write")->required();
    pCommand->add_option("--columns", arguments->iColumns, "Pictures in a row (default 4)")->check(CLI::Range(1, 100));
    pCommand->add_option("--shrink", arguments->iShrink, "Whole factor by which each is made smaller (default 2)")
        ->check(CLI::Range(1, 64));
    pCommand->add_option("--margin", arguments->iMargin, "Pixels between pictures (default 8)")
        ->check(CLI::Range(0, 256));
    AddRows(*pCommand, InputRows(), arguments->oFiles, "sheet");
    AddRows(*pCommand, OutputRows(), arguments->oFiles, "sheet");
    pCommand->callback([arguments] { Sheet(*arguments); });
}

}  // namespace qzil::command
