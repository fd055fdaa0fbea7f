#include "command.h"
#include "fnv.h"
#include "options.h"

#include <cstdio>
#include <memory>

namespace qzil::command {

namespace {

void Hash(std::string const& path, FileSettings const& files) {
    media::Picture const picture = ReadInput(path, files);
    Fnv fnv;
    for (int const number : {picture.iWidth, picture.iHeight, picture.iChannels, picture.iDepth}) fnv.AddNumber(number);
    fnv.Add(picture.oBytes);
    std::printf("%s\n", fnv.Text().c_str());
}

}  // namespace

void AddHash(CLI::App& app, int&) {
    CLI::App* const pCommand = app.add_subcommand("hash", "Prints a 64-bit hash of a picture's size and samples");
    auto const path = std::make_shared<std::string>();
    auto const files = std::make_shared<FileSettings>();
    pCommand->add_option("FILE", *path, "Picture")->required();
    AddRows(*pCommand, InputRows(), *files, "hash");
    pCommand->callback([path, files] { Hash(*path, *files); });
}

}  // namespace qzil::command
