#include "command.h"
#include "media/source.h"

#include <cstdio>
#include <memory>

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

void VideoInfo(media::Source& source) {
    media::Y4mHeader const& header = source.pVideo->Header();
    while (source.pVideo->Skip()) {
    }
    std::printf("%s: %s pixels, %s, %d bits, %s range, %s, aspect %s, %s frames a second, %lld frames\n",
                source.sPath.c_str(), SizeText(header.iWidth, header.iHeight).c_str(), LayoutName(header.eLayout),
                header.iBits, header.bFullRange ? "full" : "video", FieldsName(header.cFields),
                header.oAspect.Text().c_str(), header.oRate.Text().c_str(), source.pVideo->Frames());
}

void PictureInfo(std::string const& path, media::Picture const& picture) {
    static constexpr char const* kChannels[] = {"grey", "grey and alpha", "RGB", "RGBA"};
    std::printf("%s: %s pixels, %s, %s\n", path.c_str(), SizeText(picture.iWidth, picture.iHeight).c_str(),
                kChannels[picture.iChannels - 1],
                picture.iDepth == 32 ? "32-bit float" : (std::to_string(picture.iDepth) + " bits").c_str());
}

void Info(std::string const& path) {
    WithCode(kUnreadable, [&] {
        media::Source source = media::OpenSource(path);
        source.pVideo ? VideoInfo(source) : PictureInfo(path, source.oPicture);
    });
}

}  // namespace

void AddInfo(CLI::App& app, int&) {
    CLI::App* const pCommand = app.add_subcommand("info", "Tells what a picture or a video is");
    auto const path = std::make_shared<std::string>();
    pCommand->add_option("FILE", *path, "PNG, JPEG, TIFF or y4m file, - for the standard input")->required();
    pCommand->callback([path] { Info(*path); });
}

}  // namespace qzil::command
