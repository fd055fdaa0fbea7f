#include "command.h"

#include <cstdio>
#include <memory>

namespace qzil::command {

namespace {

void Info(std::string const& path) {
    static constexpr char const* kChannels[] = {"grey", "grey and alpha", "RGB", "RGBA"};
    media::Picture const picture = ReadInput(path);
    std::printf("%s: %s pixels, %s, %s\n", path.c_str(), SizeText(picture.iWidth, picture.iHeight).c_str(),
                kChannels[picture.iChannels - 1],
                picture.iDepth == 32 ? "32-bit float" : (std::to_string(picture.iDepth) + " bits").c_str());
}

}  // namespace

void AddInfo(CLI::App& app, int&) {
    CLI::App* const pCommand = app.add_subcommand("info", "Tells a picture's size, channels and depth");
    auto const path = std::make_shared<std::string>();
    pCommand->add_option("FILE", *path, "PNG, JPEG or TIFF file")->required();
    pCommand->callback([path] { Info(*path); });
}

}  // namespace qzil::command
