#include "command.h"
#include "encoder.h"
#include "json.h"
#include "media/source.h"
#include "options.h"

#include <cstdio>
#include <memory>
#include <vector>

namespace qzil::command {

namespace {

char const* LayoutName(media::Y4mLayout layout) {
    switch (layout) {
        case media::Y4mLayout::kMono: return "mono";
        case media::Y4mLayout::k420: return "4:2:0";
        case media::Y4mLayout::k422: return "4:2:2";
        case media::Y4mLayout::k444: return "4:4:4";
        case media::Y4mLayout::k444Alpha: return "4:4:4 and alpha";
    }
    return "";
}

char const* FieldsName(char fields) {
    switch (fields) {
        case 'p': return "progressive";
        case 't': return "interlaced, top field first";
        case 'b': return "interlaced, bottom field first";
        case 'm': return "mixed fields";
        default: return "unknown fields";
    }
}

/// Facts with their names, in the order of printing.
using Facts = std::vector<std::pair<char const*, std::string>>;

void VideoInfo(media::Source& source, bool json) {
    media::Y4mHeader const& header = source.pVideo->Header();
    while (source.pVideo->Skip()) {
    }
    if (json) {
        std::printf(
            "{\"file\":%s,\"width\":%d,\"height\":%d,\"layout\":\"%s\",\"bits\":%d,\"range\":\"%s\","
            "\"fields\":\"%s\",\"aspect\":\"%s\",\"rate\":\"%s\",\"frames\":%lld}\n",
            JsonText(source.sPath).c_str(), header.iWidth, header.iHeight, LayoutName(header.eLayout), header.iBits,
            header.bFullRange ? "full" : "video", FieldsName(header.cFields), header.oAspect.Text().c_str(),
            header.oRate.Text().c_str(), source.pVideo->Frames());
        return;
    }
    std::printf("%s: %s pixels, %s, %d bits, %s range, %s, aspect %s, %s frames a second, %lld frames\n",
                source.sPath.c_str(), SizeText(header.iWidth, header.iHeight).c_str(), LayoutName(header.eLayout),
                header.iBits, header.bFullRange ? "full" : "video", FieldsName(header.cFields),
                header.oAspect.Text().c_str(), header.oRate.Text().c_str(), source.pVideo->Frames());
}

/// What the description of a profile's tag says would need a reader of its own; the size tells whether there is one.
Facts TagFacts(media::Tags const& tags) {
    Facts facts;
    auto const number = [](double value) {
        char text[40];
        std::snprintf(text, sizeof text, "%.6g", value);
        return std::string(text);
    };
    if (tags.dfDotsX > 0.0) {
        facts.emplace_back("resolution",
                           number(tags.dfDotsX * 0.0254) + " x " + number(tags.dfDotsY * 0.0254) + " dpi");
    }
    if (tags.oGamma) facts.emplace_back("gamma", number(*tags.oGamma));
    if (!tags.oProfile.empty()) facts.emplace_back("profile", "of " + std::to_string(tags.oProfile.size()) + " bytes");
    if (!tags.oExif.empty()) facts.emplace_back("exif", "of " + std::to_string(tags.oExif.size()) + " bytes");
    if (tags.iOrientation != 1) facts.emplace_back("orientation", std::to_string(tags.iOrientation));
    if (tags.iPages > 1) facts.emplace_back("pages", std::to_string(tags.iPages));
    return facts;
}

void PictureInfo(std::string const& path, media::Picture const& picture, bool json) {
    static constexpr char const* kChannels[] = {"grey", "grey and alpha", "RGB", "RGBA"};
    char const* const pChannels = kChannels[picture.iChannels - 1];
    std::string const bits = picture.iDepth != 32  ? std::to_string(picture.iDepth) + " bits"
                             : picture.oTags.bHalf ? "16-bit float"
                                                   : "32-bit float";
    std::string line =
        json ? "{\"file\":" + JsonText(path) + ",\"width\":" + std::to_string(picture.iWidth) +
                   ",\"height\":" + std::to_string(picture.iHeight) + ",\"channels\":" + JsonText(pChannels) +
                   ",\"samples\":" + JsonText(bits)
             : path + ": " + SizeText(picture.iWidth, picture.iHeight) + " pixels, " + pChannels + ", " + bits;
    for (auto const& [name, text] : TagFacts(picture.oTags)) {
        line += json ? "," + JsonText(name) + ":" + JsonText(text) : std::string(", ") + name + " " + text;
    }
    std::printf("%s%s\n", line.c_str(), json ? "}" : "");
}

struct Arguments {
    std::string sPath;
    bool bJson = false;
    FileSettings oFiles;
};

void Info(Arguments& arguments) {
    arguments.oFiles.oRead.bSamples = false;
    // What is stored is told as it is shown.
    WithCode(kUnreadable, [&] {
        media::Source source = IsForeignVideo(arguments.sPath)
                                   ? OpenForeignVideo(arguments.sPath)
                                   : media::OpenSource(arguments.sPath, arguments.oFiles.oRead);
        source.pVideo ? VideoInfo(source, arguments.bJson)
                      : PictureInfo(arguments.sPath, source.oPicture, arguments.bJson);
    });
}

}  // namespace

void AddInfo(CLI::App& app, int&) {
    CLI::App* const pCommand = app.add_subcommand("info", "Tells what a picture or a video is");
    auto const arguments = std::make_shared<Arguments>();
    pCommand->add_option("FILE", arguments->sPath, "Picture or video, - for the standard input")->required();
    pCommand->add_flag("--json", arguments->bJson, "One object of JSON");
    AddRows(*pCommand, InputRows(), arguments->oFiles, "info");
    pCommand->callback([arguments] { Info(*arguments); });
}

}  // namespace qzil::command
