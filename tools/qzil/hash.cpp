#include "command.h"

#include <cinttypes>
#include <cstdio>
#include <memory>
#include <span>

namespace qzil::command {

namespace {

/// FNV-1a, 64 bits (Fowler, Noll and Vo).
struct Fnv {
    std::uint64_t uHash = 0xCBF29CE484222325u;

    void Add(std::span<unsigned char const> bytes) {
        for (unsigned char const byte : bytes) uHash = (uHash ^ byte) * 0x100000001B3u;
    }
    void AddNumber(int number) {
        for (int i = 0; i < 4; ++i) {
            auto const byte = static_cast<unsigned char>(number >> 8 * i);
            Add({&byte, 1});
        }
    }
};

void Hash(std::string const& path) {
    media::Picture const picture = ReadInput(path);
    Fnv fnv;
    for (int const number : {picture.iWidth, picture.iHeight, picture.iChannels, picture.iDepth}) fnv.AddNumber(number);
    fnv.Add(picture.oBytes);
    std::printf("%016" PRIx64 "\n", fnv.uHash);
}

}  // namespace

void AddHash(CLI::App& app, int&) {
    CLI::App* const pCommand = app.add_subcommand("hash", "Prints a 64-bit hash of a picture's size and samples");
    auto const path = std::make_shared<std::string>();
    pCommand->add_option("FILE", *path, "PNG, JPEG or TIFF file")->required();
    pCommand->callback([path] { Hash(*path); });
}

}  // namespace qzil::command
