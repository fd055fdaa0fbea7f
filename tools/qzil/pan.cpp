#include "command.h"
#include "interrupt.h"
#include "media/y4m_image.h"
#include "options.h"
#include "video_options.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

namespace qzil::command {

namespace {

struct Arguments {
    std::string sInput;
    std::string sOutput;
    std::vector<int> oSize = {1920, 1080};
    std::vector<double> oFrom, oTo;  ///< left, top and width of the window
    std::string sFields;
    std::string sAspect = "1:1";
    VideoOptions oVideo{"", "25", 25};
    FileSettings oFiles;
};

/// The part of the picture that a frame shows, in its pixels.
struct Window {
    double dfLeft, dfTop, dfWidth;
};

/// A camera's way over a picture.
class Pan {
public:
    explicit Pan(Arguments const& arguments)
        : m_oArguments(arguments),
          m_oPicture(ReadInput(arguments.sInput, arguments.oFiles)),
          m_iWidth(arguments.oSize[0]),
          m_iHeight(arguments.oSize[1]),
          m_b709(IsRec709(arguments.oVideo.sMatrix, m_iWidth, m_iHeight)) {
        m_oAspect = *ParseRate(arguments.sAspect);
        double const pixel = static_cast<double>(m_oAspect.uNumerator) / m_oAspect.uDenominator;
        m_dfShape = m_iHeight / (m_iWidth * pixel);
        double const widest = std::min<double>(m_oPicture.iWidth, m_oPicture.iHeight / m_dfShape);
        double const width = 0.8 * widest;
        m_oFrom = WindowOf("--from", arguments.oFrom, {0.0, 0.0, width});
        m_oTo =
            WindowOf("--to", arguments.oTo, {m_oPicture.iWidth - width, m_oPicture.iHeight - width * m_dfShape, width});
    }

    void Run() {
        GUID const format = m_oPicture.iChannels < 3 ? MFIF_MONO_RAW_8 : m_b709 ? MFIF_CbYCrY709_16 : MFIF_CbYCrY_16;
        media::Y4mHeader header = HeaderFor(format, m_iWidth, m_iHeight);
        header.oRate = *ParseRate(m_oArguments.oVideo.sRate);
        header.oAspect = m_oAspect;
        header.cFields = m_oArguments.sFields.empty() ? 'p' : m_oArguments.sFields[0];
        media::Picture shown(m_iWidth, m_iHeight, m_oPicture.iChannels < 3 ? 1 : 3, 8);
        media::Y4mFrame frame;
        WithCode(kUnwritable, [&] {
            media::Y4mWriter writer(m_oArguments.sOutput, header);
            for (int i = 0; i < m_oArguments.oVideo.iFrames; ++i) {
                if (IsInterrupted()) throw Failure(kInterrupted, "interrupted; the video is not whole.");
                for (int y = 0; y < m_iHeight; ++y) ShowLine(y, WindowAt(TimeOf(i, y)), shown);
                StoreFrame(*media::ToImage(Padded(shown, header.eLayout == media::Y4mLayout::k422), format).Get(),
                           m_b709, header, frame);
                writer.Write(frame);
            }
            writer.Finish();
        });
    }

private:
    Window WindowOf(char const* option, std::vector<double> const& numbers, Window const& otherwise) const {
        if (numbers.empty()) return otherwise;
        Window const window{numbers[0], numbers[1], numbers[2]};
        bool const inside = window.dfLeft >= 0.0 && window.dfTop >= 0.0 && window.dfWidth >= 1.0 &&
                            window.dfLeft + window.dfWidth <= m_oPicture.iWidth &&
                            window.dfTop + window.dfWidth * m_dfShape <= m_oPicture.iHeight;
        if (inside) return window;
        throw Failure(kWrongUsage, std::string("pan: ") + option + " takes X,Y,W of a window inside the picture of " +
                                       SizeText(m_oPicture.iWidth, m_oPicture.iHeight) + " pixels, whose height is " +
                                       std::to_string(m_dfShape) + " of W.");
    }

    /// Frames since the start. The two fields of an interlaced frame are half a frame apart.
    double TimeOf(int frame, int line) const {
        if (m_oArguments.sFields.empty()) return frame;
        bool const first = (line % 2 == 0) == (m_oArguments.sFields == "top");
        return frame + (first ? 0.0 : 0.5);
    }

    Window WindowAt(double time) const {
        double const share = time / std::max(m_oArguments.oVideo.iFrames - 1, 1);
        // Eased at both ends, and standing still behind the last frame.
        double const way = 0.5 - 0.5 * std::cos(std::min(share, 1.0) * 3.14159265358979323846);
        auto const between = [way](double from, double to) { return from + (to - from) * way; };
        return {between(m_oFrom.dfLeft, m_oTo.dfLeft), between(m_oFrom.dfTop, m_oTo.dfTop),
                between(m_oFrom.dfWidth, m_oTo.dfWidth)};
    }

    /// One line of a frame, bilinear between the pixels of the picture.
    void ShowLine(int y, Window const& window, media::Picture& shown) const {
        double const top = window.dfTop + (y + 0.5) * window.dfWidth * m_dfShape / m_iHeight - 0.5;
        for (int x = 0; x < m_iWidth; ++x) {
            double const left = window.dfLeft + (x + 0.5) * window.dfWidth / m_iWidth - 0.5;
            for (int i = 0; i < shown.iChannels; ++i) {
                double const value = std::clamp(ValueAt(left, top, i), 0.0, 1.0);
                shown.Row(y)[x * shown.iChannels + i] = static_cast<unsigned char>(value * 255.0 + 0.5);
            }
        }
    }

    double ValueAt(double x, double y, int channel) const {
        int const left = static_cast<int>(std::floor(x)), top = static_cast<int>(std::floor(y));
        double const right = x - left, down = y - top;
        auto const at = [&](int column, int row) {
            return SampleOf(m_oPicture, std::clamp(column, 0, m_oPicture.iWidth - 1),
                            std::clamp(row, 0, m_oPicture.iHeight - 1), channel);
        };
        double const above = at(left, top) * (1.0 - right) + at(left + 1, top) * right;
        double const below = at(left, top + 1) * (1.0 - right) + at(left + 1, top + 1) * right;
        return above * (1.0 - down) + below * down;
    }

    Arguments const& m_oArguments;
    media::Picture m_oPicture;
    int m_iWidth;
    int m_iHeight;
    bool m_b709;
    media::Y4mRatio m_oAspect;
    double m_dfShape = 1.0;  ///< height of a window over its width
    Window m_oFrom{};
    Window m_oTo{};
};

}  // namespace

void AddPan(CLI::App& app, int&) {
    CLI::App* const pCommand = app.add_subcommand("pan", "Makes a video of a picture by moving a window over it");
    auto const arguments = std::make_shared<Arguments>();
    auto const ratio = [](std::string const& text) {
        return ParseRate(text) ? std::string() : "'" + text + "' is not a ratio such as 16:15";
    };
    pCommand->add_option("INPUT", arguments->sInput, "Picture")->required();
    pCommand->add_option("-o,--output", arguments->sOutput, "Video to write: .y4m or -")
        ->required()
        ->check([](std::string const& path) {
            return path == "-" || path.ends_with(".y4m") ? std::string()
                                                         : "'" + path + "' does not end in .y4m and is not -";
        });
    pCommand->add_option("--size", arguments->oSize, "W,H of the video (default 1920,1080)")
        ->delimiter(',')
        ->expected(2)
        ->check(CLI::Range(1, 16384));
    pCommand->add_option("--from", arguments->oFrom, "X,Y,W: left, top and width of the first frame's window")
        ->delimiter(',')
        ->expected(3);
    pCommand->add_option("--to", arguments->oTo, "X,Y,W of the last frame's window")->delimiter(',')->expected(3);
    pCommand->add_option("--interlaced", arguments->sFields, "top or bottom: the field that comes first")
        ->check(CLI::IsMember({"top", "bottom"}));
    pCommand->add_option("--aspect", arguments->sAspect, "Width and height of a pixel (default 1:1)")->check(ratio);
    AddVideoOptions(*pCommand, arguments->oVideo);
    AddRows(*pCommand, InputRows(), arguments->oFiles, "pan");
    pCommand->callback([arguments] { Pan(*arguments).Run(); });
}

}  // namespace qzil::command
