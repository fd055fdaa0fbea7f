#include "media/y4m_header.h"

#include "media/codecs.h"

#include <algorithm>
#include <charconv>
#include <iterator>

namespace qzil::media {

namespace {

constexpr std::string_view kSignature = "YUV4MPEG2";

struct Chroma {
    std::string_view oTag;
    Y4mLayout eLayout;
    Y4mSiting eSiting;
    int iBits;
};

using enum Y4mLayout;
using enum Y4mSiting;
constexpr Chroma kChromas[] = {
    {"420jpeg", k420, kCenter, 8}, {"420", k420, kCenter, 8},    {"420mpeg2", k420, kLeft, 8},
    {"420paldv", k420, kLeft, 8},  {"420p9", k420, kLeft, 9},    {"420p10", k420, kLeft, 10},
    {"420p12", k420, kLeft, 12},   {"420p14", k420, kLeft, 14},  {"420p16", k420, kLeft, 16},
    {"422", k422, kLeft, 8},       {"422p9", k422, kLeft, 9},    {"422p10", k422, kLeft, 10},
    {"422p12", k422, kLeft, 12},   {"422p14", k422, kLeft, 14},  {"422p16", k422, kLeft, 16},
    {"444", k444, kLeft, 8},       {"444p9", k444, kLeft, 9},    {"444p10", k444, kLeft, 10},
    {"444p12", k444, kLeft, 12},   {"444p14", k444, kLeft, 14},  {"444p16", k444, kLeft, 16},
    {"mono", kMono, kLeft, 8},     {"mono9", kMono, kLeft, 9},   {"mono10", kMono, kLeft, 10},
    {"mono12", kMono, kLeft, 12},  {"mono16", kMono, kLeft, 16}, {"444alpha", k444Alpha, kLeft, 8},
};

/// A text from a file for a sentence: short, and without what could upset a terminal.
std::string Shown(std::string_view text) {
    std::string shown(text.substr(0, 40));
    std::replace_if(
        shown.begin(), shown.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return std::string("'").append(shown).append(text.size() > 40 ? "...'" : "'");
}

std::uint32_t ParseNumber(std::string_view text, std::string_view whole, char const* what) {
    std::uint32_t value = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size() || value > 0x7FFFFFFF) {
        throw Fault(std::string(what) + " of the video is " + Shown(whole) + ", which makes no sense");
    }
    return value;
}

int ParseSide(std::string_view text, char const* what) {
    std::uint32_t const value = ParseNumber(text, text, what);
    if (value < 1 || value > static_cast<std::uint32_t>(kMaxVideoSide)) {
        throw Fault(std::string(what) + " of the video is " + std::to_string(value) + ", but goes from 1 to " +
                    std::to_string(kMaxVideoSide));
    }
    return static_cast<int>(value);
}

void ParseChroma(std::string_view text, Y4mHeader& header) {
    auto const* const pFound =
        std::find_if(std::begin(kChromas), std::end(kChromas), [&](Chroma const& known) { return known.oTag == text; });
    if (pFound == std::end(kChromas)) {
        throw Fault("the video has the colour space " + Shown(text) +
                    "; those of 4:2:0, 4:2:2, 4:4:4 (8 to 16 bits), 444alpha and mono are served");
    }
    header.eLayout = pFound->eLayout;
    header.eSiting = pFound->eSiting;
    header.iBits = pFound->iBits;
}

void ParseFields(std::string_view text, Y4mHeader& header) {
    if (text.size() != 1 || std::string_view("ptbm?").find(text[0]) == std::string_view::npos) {
        throw Fault("the field order of the video is " + Shown(text) + ", but goes by the letters p, t, b, m or ?");
    }
    header.cFields = text[0];
}

void ParseExtension(std::string_view text, Y4mHeader& header) {
    if (text == "COLORRANGE=FULL" || text == "COLORRANGE=LIMITED") {
        header.bRangeGiven = true;
        header.bFullRange = text.ends_with("FULL");
    } else if (!text.starts_with("YSCSS=")) {  // repeats the colour space, which may change
        header.sExtensions.append(" X").append(text);
    }
}

void ParseTag(std::string_view tag, Y4mHeader& header) {
    std::string_view const text = tag.substr(1);
    switch (tag[0]) {
        case 'W': header.iWidth = ParseSide(text, "the width"); break;
        case 'H': header.iHeight = ParseSide(text, "the height"); break;
        case 'F': header.oRate = ParseRatio(text, "the frame rate"); break;
        case 'A': header.oAspect = ParseRatio(text, "the pixel aspect"); break;
        case 'I': ParseFields(text, header); break;
        case 'C': ParseChroma(text, header); break;
        case 'X': ParseExtension(text, header); break;
        default: header.sExtensions.append(" ").append(tag);
    }
}

void CheckVideoSize(Y4mHeader const& header) {
    if (header.iWidth == 0 || header.iHeight == 0) {
        throw Fault(std::string("the video has no ") + (header.iWidth == 0 ? "width" : "height"));
    }
    if (1ll * header.iWidth * header.iHeight > kMaxVideoPixels) {
        throw Fault("the video's " + std::to_string(header.iWidth) + " x " + std::to_string(header.iHeight) +
                    " pixels exceed the limit of " + std::to_string(kMaxVideoPixels));
    }
}

std::string ChromaTag(Y4mHeader const& header) {
    // Of several names for one layout the first one is written.
    auto const* const pFound = std::find_if(std::begin(kChromas), std::end(kChromas), [&](Chroma const& known) {
        return known.eLayout == header.eLayout && known.eSiting == header.eSiting && known.iBits == header.iBits;
    });
    return pFound != std::end(kChromas) ? std::string(pFound->oTag) : "unknown";
}

}  // namespace

std::string Y4mRatio::Text() const {
    return std::to_string(uNumerator) + ":" + std::to_string(uDenominator);
}

int Y4mHeader::ChromaWidth() const {
    if (eLayout == kMono) return 0;
    return eLayout == k420 || eLayout == k422 ? (iWidth + 1) / 2 : iWidth;
}

int Y4mHeader::ChromaHeight() const {
    if (eLayout == kMono) return 0;
    return eLayout == k420 ? (iHeight + 1) / 2 : iHeight;
}

std::size_t Y4mHeader::LumaBytes() const {
    return SampleBytes() * static_cast<unsigned>(iWidth) * static_cast<unsigned>(iHeight);
}

std::size_t Y4mHeader::ChromaBytes() const {
    return SampleBytes() * static_cast<unsigned>(ChromaWidth()) * static_cast<unsigned>(ChromaHeight());
}

std::size_t Y4mHeader::FrameBytes() const {
    return LumaBytes() * (eLayout == k444Alpha ? 2 : 1) + 2 * ChromaBytes();
}

std::string Y4mHeader::Line() const {
    std::string line(kSignature);
    line += " W" + std::to_string(iWidth) + " H" + std::to_string(iHeight) + " F" + oRate.Text() + " I" + cFields;
    line += " A" + oAspect.Text() + " C" + ChromaTag(*this);
    if (bRangeGiven) line += bFullRange ? " XCOLORRANGE=FULL" : " XCOLORRANGE=LIMITED";
    return line + sExtensions;
}

Y4mRatio ParseRatio(std::string_view text, char const* what) {
    std::size_t const colon = std::min(text.find(':'), text.size());
    Y4mRatio const ratio{ParseNumber(text.substr(0, colon), text, what),
                         ParseNumber(text.substr(std::min(colon + 1, text.size())), text, what)};
    if ((ratio.uNumerator == 0) != (ratio.uDenominator == 0)) {
        throw Fault(std::string(what) + " of the video is " + Shown(text) + ", which makes no sense");
    }
    return ratio;
}

Y4mHeader ParseY4mHeader(std::string_view line) {
    if (!line.starts_with(kSignature)) throw Fault("it is not a y4m video");
    line.remove_prefix(kSignature.size());
    Y4mHeader header;
    std::string seen;
    while (!line.empty()) {
        if (line[0] != ' ') throw Fault("it is not a y4m video");
        line.remove_prefix(1);
        std::string_view const tag = line.substr(0, line.find(' '));
        line.remove_prefix(tag.size());
        if (tag.empty()) continue;
        if (tag[0] != 'X' && seen.find(tag[0]) != std::string::npos) {
            throw Fault("the header of the video has the tag " + Shown(tag.substr(0, 1)) + " twice");
        }
        seen += tag[0];
        ParseTag(tag, header);
    }
    CheckVideoSize(header);
    return header;
}

}  // namespace qzil::media
