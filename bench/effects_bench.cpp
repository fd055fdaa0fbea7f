// Times every catalogued effect on every format that it takes, at 1920 x 1080 with default parameters, without and with
// a mask, and conversions between pairs of formats that users meet, without and with filtered chroma. Names read
// effect/format/plain, effect/format/mask, conversion/format>format/plain and conversion/format>format/filter.
//
// Beside the time of a frame come GB_s, the bytes of all images that the frame reads or writes per second, and
// x_memcpy, the time as a multiple of that of a memcpy of the output frame, or of the input for effects that find
// numbers. Effect and memcpy take turns, each between images of its own, and the least time of each counts: what a busy
// machine does to one, it does to the other.

#include "catalog/catalog.h"
#include "qzil/image/formats.h"
#include "qzil/image/image_ops.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <limits>
#include <string>
#include <utility>
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

template <class Work>
double SecondsOf(Work work) {
    auto const start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// One effect, format and mask, with its images.
class Frame {
public:
    Frame(catalog::Entry const& entry, catalog::FormatPair const& formats, int width, int height)
        : m_oInstance(entry.Make()) {
        for (std::size_t i = 0; i < entry.oInputs.size(); ++i) {
            m_oInputs.push_back(MakeImage(formats.oFrom, width, height, static_cast<std::uint32_t>(i + 1)));
            m_oInstance.SetInput(i, m_oInputs.back().Get());
        }
        for (std::size_t i = 0; i < entry.oOutputs.size(); ++i) {
            m_oOutputs.push_back(MakeImage(formats.oTo, width, height, static_cast<std::uint32_t>(20 + i)));
            m_oInstance.SetOutput(m_oOutputs.back().Get(), i);
        }
        m_oCopy = MakeImage(formats.oTo, width, height, 12);
        m_oOriginal = MakeImage(formats.oTo, width, height, 13);
        m_oInstance.Effect().SetProcessingMode(kModeAllChannels);
    }

    void SetMask(GUID const& format, int width, int height) {
        m_oMask = MakeImage(catalog::MaskFormatFor(format), width, height, 14);
        m_oInstance.SetMask({0, 0, width, height}, m_oMask.Get(), XFImageChannelMono);
    }
    void Set(char const* parameter, char const* text) {
        m_oInstance.Set(parameter, ParseValue(*m_oInstance.Describes().FindParameter(parameter), text));
    }
    void SetFilter(bool filter) {
        if (m_oInstance.Describes().FindParameter("filter")) m_oInstance.Set("filter", filter);
    }

    bool Verify() { return m_oInstance.Effect().Verify() == 1; }
    bool Run() { return m_oInstance.Effect().Execute() == 1; }
    void Copy() { std::memcpy(PixelsOf(m_oCopy), PixelsOf(m_oOriginal), SizeOf(m_oCopy)); }
    double Bytes() const {
        std::size_t bytes = m_oMask ? SizeOf(m_oMask) : 0;
        for (Image const& image : m_oInputs) bytes += SizeOf(image);
        for (Image const& image : m_oOutputs) bytes += SizeOf(image);
        return static_cast<double>(bytes);
    }

private:
    catalog::Instance m_oInstance;
    std::vector<Image> m_oInputs, m_oOutputs;
    Image m_oMask, m_oCopy, m_oOriginal;
};

void Measure(benchmark::State& state, Frame frame) {
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

/// A frame of an effect in one format.
Frame EffectFrame(catalog::Entry const& entry, GUID const& format, bool masked, int width, int height) {
    Frame frame(entry, {format, format}, width, height);
    if (masked) frame.SetMask(format, width, height);
    return frame;
}

/// True when the effect takes the format, with a mask or without; tried on small images.
bool Accepts(catalog::Entry const& entry, GUID const& format, bool masked) {
    Frame frame = EffectFrame(entry, format, masked, 16, 16);
    return frame.Verify() && frame.Run();
}

template <class Run>
void Register(std::string const& name, Run run) {
    benchmark::RegisterBenchmark(name.c_str(), run)->Iterations(kTurns)->UseManualTime()->Unit(benchmark::kMillisecond);
}

/// The pairs of formats that are measured, of some hundreds.
constexpr catalog::FormatPair kPairs[] = {
    {MFIF_RGBA_RAW_32, MFIF_CbYCrY_16},      {MFIF_BGRA_RAW_32, MFIF_CbYCrY709_16},
    {MFIF_RGB_RAW_24, MFIF_CbYCrY709_16},    {MFIF_RGBA_RAW_32, MFIF_CbYCrYA_24},
    {MFIF_RGBA_RAW_32, MFIF_CbYCrY709_10_6}, {MFIF_RGBA_RAW_32, MFIF_CbYCr709A_8_4444},
    {MFIF_RGBA_FLOAT, MFIF_CbYCrY_FLOAT},    {MFIF_RGBA_FLOAT, MFIF_CbYCrY709_10_6},
    {MFIF_CbYCrY_16, MFIF_RGBA_RAW_32},      {MFIF_CbYCrY709_16, MFIF_BGRA_RAW_32},
    {MFIF_CbYCrY709_16, MFIF_RGB_RAW_24},    {MFIF_CbYCrYA_24, MFIF_RGBA_RAW_32},
    {MFIF_CbYCrY709_10_6, MFIF_RGBA_RAW_32}, {MFIF_CbYCrY_FLOAT, MFIF_RGBA_FLOAT},
    {MFIF_RGBA_RAW_32, MFIF_RGBA_RAW_64},    {MFIF_RGBA_RAW_64, MFIF_RGBA_RAW_32},
    {MFIF_RGBA_RAW_32, MFIF_RGBA_FLOAT},     {MFIF_RGBA_FLOAT, MFIF_RGBA_RAW_32},
    {MFIF_RGBA_RAW_32, MFIF_RGBA_S2_14},     {MFIF_RGBA_S2_14, MFIF_RGBA_RAW_32},
    {MFIF_RGBA_RAW_32, MFIF_BGRA_RAW_32},    {MFIF_RGBA_RAW_32_VIDEO, MFIF_RGBA_RAW_32},
    {MFIF_RGBA_RAW_32, MFIF_RGB_RAW_24},     {MFIF_RGB_RAW_24, MFIF_RGBA_RAW_32},
    {MFIF_YCC_422_16, MFIF_CbYCrY_16},       {MFIF_CbYCrY_16, MFIF_CbYCrY709_16},
    {MFIF_CbYCrY_16, MFIF_CbYCrY_10_6},      {MFIF_CbYCrY_10_6, MFIF_CbYCrY_16},
    {MFIF_CbYCrYA_24, MFIF_CbYCrY_16},       {MFIF_CbYCrA_8_4444, MFIF_CbYCrY_16},
    {MFIF_RGBA_RAW_32, MFIF_MONO_RAW_8},     {MFIF_MONO_RAW_8, MFIF_RGBA_RAW_32},
};

void RegisterConversions(catalog::Entry const& entry) {
    for (catalog::FormatPair const& pair : entry.oPairs) {
        auto const same = [&pair](catalog::FormatPair const& one) {
            return one.oFrom == pair.oFrom && one.oTo == pair.oTo;
        };
        if (std::none_of(std::begin(kPairs), std::end(kPairs), same)) continue;
        for (bool const filter : {false, true}) {
            if (filter && !entry.FindParameter("filter")) continue;
            std::string const formats = std::string(FormatName(pair.oFrom)) + '>' + FormatName(pair.oTo);
            Register(entry.sName + '/' + formats + (filter ? "/filter" : "/plain"),
                     [&entry, &pair, filter](benchmark::State& state) {
                         Frame frame(entry, pair, kWidth, kHeight);
                         frame.SetFilter(filter);
                         Measure(state, std::move(frame));
                     });
        }
    }
}

/// Settings that decide what an effect costs.
struct Variant {
    char const* pEffect;
    std::vector<std::pair<char const*, char const*>> oSettings;
};

std::vector<Variant> Variants() {
    std::vector<Variant> variants;
    char const* const sevenBySeven =
        "1 2 3 4 3 2 1; 2 3 4 5 4 3 2; 3 4 5 6 5 4 3; 4 5 6 9 6 5 4; 3 4 5 6 5 4 3; 2 3 4 5 4 3 2; 1 2 3 4 3 2 1 / 180";
    char const* const flat =
        "1 1 1 1 1 1 1; 1 1 1 1 1 1 1; 1 1 1 1 1 1 1; 1 1 1 1 1 1 1; 1 1 1 1 1 1 1; 1 1 1 1 1 1 1; 1 1 1 1 1 1 1 / 49";
    variants.push_back({"convolve", {{"kernel", sevenBySeven}}});
    variants.push_back({"convolve", {{"kernel", flat}}});
    variants.push_back({"gradient", {{"direction", "all"}}});
    for (char const* type : {"uniform", "exponential", "exponential-float", "fast-gauss", "fast-gauss-float"}) {
        for (char const* radius : {"3", "10", "50", "200"}) {
            variants.push_back({"blur", {{"type", type}, {"radius", radius}, {"degree", "1"}}});
        }
    }
    for (char const* radius : {"3", "10"}) {
        variants.push_back({"blur", {{"type", "gauss"}, {"radius", radius}, {"degree", "1"}}});
    }
    return variants;
}

void RegisterVariants() {
    static std::vector<Variant> const l_oVariants = Variants();
    for (Variant const& variant : l_oVariants) {
        catalog::Entry const& entry = *catalog::Find(variant.pEffect);
        for (GUID const& format : {MFIF_RGBA_RAW_32, MFIF_MONO_RAW_8}) {
            std::string name = entry.sName;
            for (auto const& [parameter, text] : variant.oSettings) {
                // A kernel is told by its shape.
                bool const kernel = std::string(parameter) == "kernel";
                bool const product = std::string(text).starts_with("1 1");
                name += std::string(" ") + (kernel ? product ? "7 x 7, a product" : "7 x 7" : text);
            }
            Register(name + '/' + FormatName(format) + "/plain", [&entry, &variant, format](benchmark::State& state) {
                Frame frame(entry, {format, format}, kWidth, kHeight);
                for (auto const& [parameter, text] : variant.oSettings) frame.Set(parameter, text);
                Measure(state, std::move(frame));
            });
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    for (catalog::Entry const& entry : catalog::Effects()) {
        for (GUID const& format : entry.oFormats) {
            for (bool const masked : {false, true}) {
                if (!Accepts(entry, format, masked)) continue;
                std::string const name = entry.sName + '/' + FormatName(format) + (masked ? "/mask" : "/plain");
                Register(name, [&entry, &format, masked](benchmark::State& state) {
                    Measure(state, EffectFrame(entry, format, masked, kWidth, kHeight));
                });
            }
        }
    }
    RegisterVariants();
    for (catalog::Entry const& entry : catalog::Conversions()) RegisterConversions(entry);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
}
