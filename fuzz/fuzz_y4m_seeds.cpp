// Writes the seed corpus of fuzz_y4m: two small frames of each layout and some depths and field orders.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

struct Seed {
    char const* pHeader;
    int iFrameBytes;
};

constexpr Seed kSeeds[] = {
    {"W4 H4 F25:1 Ip A1:1 C420jpeg", 24},
    {"W4 H4 F25:1 It A16:15 C420mpeg2", 24},
    {"W3 H5 F30000:1001 Ib C420p10", 54},
    {"W4 H2 F25:1 Ip C422 XCOLORRANGE=FULL", 16},
    {"W5 H2 F25:1 It A1:1 C422p16", 44},
    {"W2 H2 F25:1 Ip C444 XYSCSS=444", 12},
    {"W2 H2 F50:1 C444p12", 24},
    {"W2 H2 C444alpha", 16},
    {"W3 H3 F24:1 Cmono", 9},
    {"W3 H3 F24:1 Cmono16 XCOLORRANGE=LIMITED", 18},
    {"W4 H4 F25:1 Im A0:0 C420paldv Xnote", 24},
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s DIRECTORY\n", argv[0]);
        return 2;
    }
    std::filesystem::path const folder(argv[1]);
    std::filesystem::create_directories(folder);
    int number = 0;
    for (Seed const& seed : kSeeds) {
        auto const path = folder / ("seed_" + std::to_string(number++));
        std::ofstream file(path, std::ios::binary);
        file << "YUV4MPEG2 " << seed.pHeader << '\n';
        for (char const* const frame : {"FRAME\n", "FRAME Ipi\n"}) {
            file << frame;
            for (int i = 0; i < seed.iFrameBytes; ++i) file.put(static_cast<char>(i * 37));
        }
        if (!file.flush()) {
            std::fprintf(stderr, "%s cannot be written\n", path.c_str());
            return 1;
        }
    }
}
