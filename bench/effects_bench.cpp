// Times every catalogued effect on every format that it takes, at 1920 x 1080 with default parameters, without and with
// a mask. Names read effect/format/plain and effect/format/mask.
//
// Beside the time of a frame come GB_s, the bytes of all images that the frame reads or writes per second, and
// x_memcpy, the time as a multiple of that of a memcpy of the output frame. Effect and memcpy take turns, each between
// images of its own, and the least time of each counts: what a busy machine does to one, it does to the other.

#include "catalog/catalog.h"
#include "qzil/image/formats.h"
#include "qzil/image/image_ops.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

namespace {

using namespace qzil;
using Image = Ref<IXFImage>;

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
/// Turns of one benchmark.
constexpr int kTurns = 24;

unsigned char* PixelsOf(Image const& image) {
    void* pPixels = nullptr;
    image->GetPixelArray(&pPixels);
    return static_cast<unsigned char*>(pPixels);
}

std::size_t SizeOf(Image const& image) {
    unsigned size = 0;
    image->GetPixelArraySize(&size);
    return size;
}

/// Values from 0 to full scale without a pattern; `seed` tells images apart.
Image MakeImage(GUID const& format, int width, int height, std::uint32_t seed) {
    Image image;
    if (qzILCreateAndAllocImage(nullptr, IID_IXFImage, width, height, format, image.Out()) < 0) return {};
    unsigned char* const pPixels = PixelsOf(image);
    std::size_t const size = SizeOf(image);
    auto const fill = [&](auto makeSample) {
        for (std::size_t i = 0; i < size / sizeof makeSample(0u); ++i) {
            seed = seed * 1664525u + 1013904223u;
            auto const sample = makeSample(seed >> 8);
            std::memcpy(pPixels + i * sizeof sample, &sample, sizeof sample);
        }
    };
    switch (GetChannelTypeFromFormat(format)) {
        case XFChannelTypeFloat: fill([](std::uint32_t v) { return static_cast<float>(v) / 16777215.0f; }); break;
        case XFChannelTypeS2_14: fill([](std::uint32_t v) { return static_cast<short>(v % 16385); }); break;
        default: fill([](std::uint32_t v) { return static_cast<unsigned char>(v); });
    }
    return image;
}

GUID MaskFormatFor(GUID const& format) {
    switch (GetChannelTypeFromFormat(format)) {
        case XFChannelTypeUInt8: return MFIF_MONO_RAW_8;
        case XFChannelTypeUInt16: return MFIF_MONO_RAW_16;
        case XFChannelTypeS2_14: return MFIF_MONO_S2_14;
        default: return MFIF_MONO_FLOAT;
    }
}

template <class Work>
double SecondsOf(Work work) {
    auto const start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// One effect, format and mask, with its images.
class Frame {
public:
    Frame(catalog::Entry const& entry, GUID const& format, bool masked, int width, int height)
        : m_oInstance(entry.Make()) {
        for (std::size_t i = 0; i < entry.oInputs.size(); ++i) {
            m_oInputs.push_back(MakeImage(format, width, height, static_cast<std::uint32_t>(i + 1)));
            m_oInstance.SetInput(i, m_oInputs.back().Get());
        }
        m_oOutput = MakeImage(format, width, height, 11);
        m_oCopy = MakeImage(format, width, height, 12);
        m_oOriginal = MakeImage(format, width, height, 13);
        qzILImgProc& effect = m_oInstance.Effect();
        effect.SetOutputImg(m_oOutput.Get());
        if (masked) {
            m_oMask = MakeImage(MaskFormatFor(format), width, height, 14);
            effect.SetMask({0, 0, width, height}, m_oMask.Get(), XFImageChannelMono);
        }
        effect.SetProcessingMode(kModeAllChannels);
    }

    bool Verify() { return m_oInstance.Effect().Verify() == 1; }
    bool Run() { return m_oInstance.Effect().Execute() == 1; }
    void Copy() { std::memcpy(PixelsOf(m_oCopy), PixelsOf(m_oOriginal), SizeOf(m_oCopy)); }
    double Bytes() const {
        std::size_t bytes = SizeOf(m_oOutput) + (m_oMask ? SizeOf(m_oMask) : 0);
        for (Image const& input : m_oInputs) bytes += SizeOf(input);
        return static_cast<double>(bytes);
    }

private:
    catalog::Instance m_oInstance;
    std::vector<Image> m_oInputs;
    Image m_oOutput, m_oMask, m_oCopy, m_oOriginal;
};

void RunEffect(benchmark::State& state, catalog::Entry const& entry, GUID const& format, bool masked) {
    Frame frame(entry, format, masked, kWidth, kHeight);
    if (!frame.Verify() || !frame.Run()) {
        state.SkipWithError("the effect refuses its images");
        return;
    }
    frame.Copy();
    double least = std::numeric_limits<double>::infinity(), leastCopy = least;
    for (auto _ : state) {
        leastCopy = std::min(leastCopy, SecondsOf([&frame] { frame.Copy(); }));
        double const seconds = SecondsOf([&frame] { benchmark::DoNotOptimize(frame.Run()); });
        state.SetIterationTime(seconds);
        least = std::min(least, seconds);
    }
    state.counters["ms"] = least * 1e3;
    state.counters["GB_s"] = frame.Bytes() / least * 1e-9;
    state.counters["x_memcpy"] = least / leastCopy;
}

/// True when the effect takes the format, with a mask or without; tried on small images.
bool Accepts(catalog::Entry const& entry, GUID const& format, bool masked) {
    Frame frame(entry, format, masked, 16, 16);
    return frame.Verify() && frame.Run();
}

}  // namespace

int main(int argc, char** argv) {
    for (catalog::Entry const& entry : catalog::Effects()) {
        for (GUID const& format : entry.oFormats) {
            for (bool const masked : {false, true}) {
                if (!Accepts(entry, format, masked)) continue;
                std::string const name = entry.sName + '/' + FormatName(format) + (masked ? "/mask" : "/plain");
                auto const run = [&entry, &format, masked](benchmark::State& state) {
                    RunEffect(state, entry, format, masked);
                };
                benchmark::RegisterBenchmark(name.c_str(), run)
                    ->Iterations(kTurns)
                    ->UseManualTime()
                    ->Unit(benchmark::kMillisecond);
            }
        }
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
