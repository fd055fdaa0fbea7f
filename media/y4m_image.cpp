#include "media/y4m_image.h"

#include "qzil/image/image_helper.h"
#include "qzil/image/pixel_math.h"

#include <algorithm>
#include <type_traits>

namespace qzil::media {

namespace {

/// A sample is a channel value times the scale plus the offset.
struct Level {
    float fOffset;
    float fScale;
};

struct Levels {
    Level oLuma;
    Level oChroma;
    float fFull;  ///< of alpha
};

Levels LevelsOf(Y4mHeader const& header) {
    float const step = header.iBits == 8 ? 1.0f : 256.0f;
    float const full = header.iBits == 8 ? 255.0f : 65535.0f;
    if (header.eLayout == Y4mLayout::kMono) return {{0.0f, full}, {0.0f, full}, full};
    if (header.bFullRange) return {{0.0f, full}, {128.0f * step, full}, full};
    return {{16.0f * step, 219.0f * step}, {128.0f * step, 224.0f * step}, full};
}

/// How samples and channels become each other.
template <class T>
struct Same {
    T operator()(T value) const { return value; }
};

template <class Sample>
struct ToFloat {
    Level oLevel;
    float operator()(Sample sample) const { return (static_cast<float>(sample) - oLevel.fOffset) / oLevel.fScale; }
};

template <class Sample>
struct FromFloat {
    Level oLevel;
    Sample operator()(float value) const {
        constexpr float kHighest = sizeof(Sample) == 1 ? 255.0f : 65535.0f;
        float const raised = value * oLevel.fScale + oLevel.fOffset + 0.5f;
        // Written so that a NaN becomes 0.
        float const low = raised > 0.0f ? raised : 0.0f;
        return static_cast<Sample>(static_cast<int>(low < kHighest ? low : kHighest));
    }
};

/// One row of each plane.
template <class Sample>
struct Rows {
    Sample* pY;
    Sample* pCb;
    Sample* pCr;
    Sample* pAlpha;
};

template <class Sample, class Byte>
Rows<Sample> RowsAt(Y4mHeader const& header, Byte* bytes, int y) {
    auto* const pY = reinterpret_cast<Sample*>(bytes);
    auto* const pCb = reinterpret_cast<Sample*>(bytes + header.LumaBytes());
    auto* const pCr = reinterpret_cast<Sample*>(bytes + header.LumaBytes() + header.ChromaBytes());
    auto* const pAlpha = reinterpret_cast<Sample*>(bytes + header.LumaBytes() + 2 * header.ChromaBytes());
    std::ptrdiff_t const line = std::ptrdiff_t{header.iWidth} * y;
    std::ptrdiff_t const chromaLine = std::ptrdiff_t{header.ChromaWidth()} * y;
    return {pY + line, pCb + chromaLine, pCr + chromaLine, pAlpha + line};
}

template <class Sample, class Channel, class Luma, class Chroma>
void JoinPairs(Rows<Sample const> const& rows, int width, Channel* out, Luma luma, Chroma chroma) {
    int const pairs = width / 2;
    Sample const *const y = rows.pY, *const cb = rows.pCb, *const cr = rows.pCr;
    for (int i = 0; i < pairs; ++i) {
        out[4 * i] = chroma(cb[i]);
        out[4 * i + 1] = luma(y[2 * i]);
        out[4 * i + 2] = chroma(cr[i]);
        out[4 * i + 3] = luma(y[2 * i + 1]);
    }
    if (width % 2 == 0) return;
    Channel* const pLast = out + 4 * pairs;
    pLast[0] = chroma(cb[pairs]);
    pLast[1] = pLast[3] = luma(y[width - 1]);
    pLast[2] = chroma(cr[pairs]);
}

template <class Sample, class Channel, class Luma, class Chroma>
void SplitPairs(Channel const* in, int width, Rows<Sample> const& rows, Luma luma, Chroma chroma) {
    int const pairs = width / 2;
    Sample *const y = rows.pY, *const cb = rows.pCb, *const cr = rows.pCr;
    for (int i = 0; i < pairs; ++i) {
        cb[i] = chroma(in[4 * i]);
        y[2 * i] = luma(in[4 * i + 1]);
        cr[i] = chroma(in[4 * i + 2]);
        y[2 * i + 1] = luma(in[4 * i + 3]);
    }
    if (width % 2 == 0) return;
    cb[pairs] = chroma(in[4 * pairs]);
    y[width - 1] = luma(in[4 * pairs + 1]);
    cr[pairs] = chroma(in[4 * pairs + 2]);
}

template <class Sample, class Channel, class Luma, class Chroma, class Alpha>
void JoinQuads(Rows<Sample const> const& rows, bool hasAlpha, int width, Channel* out, Luma luma, Chroma chroma,
               Alpha alpha) {
    constexpr auto kFullSample = static_cast<Sample>(~0u);
    Sample const *const y = rows.pY, *const cb = rows.pCb, *const cr = rows.pCr, *const a = rows.pAlpha;
    for (int i = 0; i < width; ++i) {
        out[4 * i] = chroma(cb[i]);
        out[4 * i + 1] = luma(y[i]);
        out[4 * i + 2] = chroma(cr[i]);
        out[4 * i + 3] = alpha(hasAlpha ? a[i] : kFullSample);
    }
}

template <class Sample, class Channel, class Luma, class Chroma, class Alpha>
void SplitQuads(Channel const* in, int width, Rows<Sample> const& rows, bool hasAlpha, Luma luma, Chroma chroma,
                Alpha alpha) {
    Sample *const y = rows.pY, *const cb = rows.pCb, *const cr = rows.pCr, *const a = rows.pAlpha;
    for (int i = 0; i < width; ++i) {
        cb[i] = chroma(in[4 * i]);
        y[i] = luma(in[4 * i + 1]);
        cr[i] = chroma(in[4 * i + 2]);
        if (hasAlpha) a[i] = alpha(in[4 * i + 3]);
    }
}

template <class Sample, class Channel, class Luma, class Chroma, class Alpha>
void JoinRow(Y4mHeader const& header, Rows<Sample const> const& rows, Channel* out, Luma luma, Chroma chroma,
             Alpha alpha) {
    switch (header.eLayout) {
        case Y4mLayout::kMono: std::transform(rows.pY, rows.pY + header.iWidth, out, luma); break;
        case Y4mLayout::k420:
        case Y4mLayout::k422: JoinPairs(rows, header.iWidth, out, luma, chroma); break;
        case Y4mLayout::k444: JoinQuads(rows, false, header.iWidth, out, luma, chroma, alpha); break;
        case Y4mLayout::k444Alpha: JoinQuads(rows, true, header.iWidth, out, luma, chroma, alpha); break;
    }
}

template <class Sample, class Channel, class Luma, class Chroma, class Alpha>
void SplitRow(Y4mHeader const& header, Channel const* in, Rows<Sample> const& rows, Luma luma, Chroma chroma,
              Alpha alpha) {
    switch (header.eLayout) {
        case Y4mLayout::kMono: std::transform(in, in + header.iWidth, rows.pY, luma); break;
        case Y4mLayout::k420:
        case Y4mLayout::k422: SplitPairs(in, header.iWidth, rows, luma, chroma); break;
        case Y4mLayout::k444: SplitQuads(in, header.iWidth, rows, false, luma, chroma, alpha); break;
        case Y4mLayout::k444Alpha: SplitQuads(in, header.iWidth, rows, true, luma, chroma, alpha); break;
    }
}

/// Calls `f` with a sample and a channel for their types.
template <class F>
void WithTypes(Y4mHeader const& header, qzILImageHelper const& image, F f) {
    bool const real = IsFormatFloat(image.m_oFormat);
    if (header.SampleBytes() == 1) {
        real ? f(u8(), float()) : f(u8(), u8());
    } else {
        real ? f(u16(), float()) : f(u16(), u16());
    }
}

/// The image's logical lines count from the bottom of the picture, whatever the order in memory.
template <class Channel>
Channel* LineAt(qzILImageHelper const& image, int y) {
    return reinterpret_cast<Channel*>(image.GetPixelPtr(0, image.m_iHeight - 1 - y));
}

/// Calls `f` for each line with the frame's rows, the image's line, and what becomes of luma, chroma and alpha: they
/// stay the same, or pass through `Real` where the image has float channels.
template <template <class> class Real, class Byte, class F>
void ForEachLine(Y4mHeader const& header, Byte* bytes, qzILImageHelper const& image, F f) {
    Levels const levels = LevelsOf(header);
    WithTypes(header, image, [&]<class Sample, class Channel>(Sample, Channel) {
        using Stored = std::conditional_t<std::is_const_v<Byte>, Sample const, Sample>;
        for (int y = 0; y < header.iHeight; ++y) {
            auto const rows = RowsAt<Stored>(header, bytes, y);
            auto* const pLine = LineAt<Channel>(image, y);
            if constexpr (std::is_same_v<Sample, Channel>) {
                Same<Sample> const same;
                f(rows, pLine, same, same, same);
            } else {
                Real<Sample> const luma{levels.oLuma}, chroma{levels.oChroma}, alpha{{0.0f, levels.fFull}};
                f(rows, pLine, luma, chroma, alpha);
            }
        }
    });
}

void CheckImage(Y4mHeader const& header, qzILImageHelper const& image) {
    bool const format =
        Contains(VideoFormats(header, false), image.m_oFormat) || Contains(VideoFormats(header, true), image.m_oFormat);
    if (!format || image.m_iWidth != ImageWidth(header) || image.m_iHeight != header.iHeight || !image.m_pLineZero) {
        throw MediaError("the image does not suit the frames of the video");
    }
}

template <class Sample>
void Widen(Bytes const& narrow, int bits, bool fullRange, Bytes& wide) {
    u32 const highest = (1u << bits) - 1;
    auto const* const pIn = reinterpret_cast<Sample const*>(narrow.data());
    auto* const pOut = reinterpret_cast<u16*>(wide.data());
    std::size_t const count = narrow.size() / sizeof(Sample);
    for (std::size_t i = 0; i < count; ++i) {
        u32 const value = std::min<u32>(pIn[i], highest);
        pOut[i] = static_cast<u16>(fullRange ? (value * 65535u + highest / 2) / highest : value << (16 - bits));
    }
}

/// Two chroma lines of 4:2:0 and their shares of a line of 4:2:2, in eighths.
struct ChromaMix {
    int iNear, iFar;
    u32 uNear, uFar;
};

/// `lines` chroma lines serve line `y` of a progressive picture, or of a field when `field` is 0 (top) or 1.
ChromaMix MixOf(int y, int lines, int field) {
    bool const second = y % 2 != 0;
    // The last line of an odd field has its place behind the last chroma line: both then are that one.
    int const place = y / 2;
    int const near = std::clamp(place, 0, lines - 1);
    int const far = std::clamp(second ? place + 1 : place - 1, 0, lines - 1);
    if (field < 0) return {near, far, 6, 2};
    return second == (field == 1) ? ChromaMix{near, far, 7, 1} : ChromaMix{near, far, 5, 3};
}

/// The mix for a line of a frame of two fields, whose chroma lines alternate like its lines.
ChromaMix InterlacedMixOf(int y, int lines) {
    int const field = lines > 1 ? y % 2 : 0;
    ChromaMix mix = MixOf(y / 2, (lines - field + 1) / 2, y % 2);
    mix.iNear = 2 * mix.iNear + field;
    mix.iFar = 2 * mix.iFar + field;
    return mix;
}

template <class Sample>
void MixLines(Sample const* near, Sample const* far, ChromaMix const& mix, bool centred, int width, Sample* out) {
    auto const sum = [=](int x) { return near[x] * mix.uNear + far[x] * mix.uFar; };
    if (!centred) {
        for (int x = 0; x < width; ++x) out[x] = static_cast<Sample>((sum(x) + 4) >> 3);
        return;
    }
    out[0] = static_cast<Sample>((sum(0) + 4) >> 3);
    for (int x = 1; x < width; ++x) out[x] = static_cast<Sample>((3 * sum(x) + sum(x - 1) + 16) >> 5);
}

template <class Sample>
void RaiseChroma(Y4mHeader const& stream, bool interlaced, unsigned char const* in, unsigned char* out) {
    int const width = stream.ChromaWidth(), lines = stream.ChromaHeight();
    auto const* const pIn = reinterpret_cast<Sample const*>(in);
    auto* const pOut = reinterpret_cast<Sample*>(out);
    for (int y = 0; y < stream.iHeight; ++y) {
        ChromaMix const mix = interlaced ? InterlacedMixOf(y, lines) : MixOf(y, lines, -1);
        MixLines(pIn + std::ptrdiff_t{width} * mix.iNear, pIn + std::ptrdiff_t{width} * mix.iFar, mix,
                 stream.eSiting == Y4mSiting::kCenter, width, pOut + std::ptrdiff_t{width} * y);
    }
}

/// In mixed streams the third letter of a frame's own I tag tells how its chroma was made.
bool HasFieldChroma(Y4mHeader const& stream, Y4mFrame const& frame) {
    if (stream.cFields != 'm') return stream.IsInterlaced();
    std::size_t const place = frame.sParameters.find(" I");
    return place != std::string::npos && frame.sParameters.size() > place + 4 && frame.sParameters[place + 4] == 'i';
}

template <class Sample>
void Raise420(Y4mHeader const& stream, Y4mFrame const& frame, Bytes& out) {
    Y4mHeader target = stream;
    target.eLayout = Y4mLayout::k422;
    out.resize(target.FrameBytes());
    unsigned char const* const pIn = frame.oBytes.data();
    bool const interlaced = HasFieldChroma(stream, frame);
    std::copy_n(pIn, stream.LumaBytes(), out.data());
    for (std::size_t plane = 0; plane < 2; ++plane) {
        RaiseChroma<Sample>(stream, interlaced, pIn + stream.LumaBytes() + plane * stream.ChromaBytes(),
                            out.data() + target.LumaBytes() + plane * target.ChromaBytes());
    }
}

}  // namespace

Y4mHeader ImageHeader(Y4mHeader const& stream) {
    Y4mHeader header = stream;
    if (header.eLayout == Y4mLayout::k420) header.eLayout = Y4mLayout::k422;
    header.eSiting = Y4mSiting::kLeft;
    if (header.iBits != 8) header.iBits = 16;
    return header;
}

std::vector<GUID> VideoFormats(Y4mHeader const& stream, bool rec709) {
    bool const wide = stream.iBits != 8, full = stream.bFullRange;
    auto const choose = [rec709](GUID const& of601, GUID const& of709) { return rec709 ? of709 : of601; };
    switch (stream.eLayout) {
        case Y4mLayout::kMono: return {wide ? MFIF_MONO_RAW_16 : MFIF_MONO_RAW_8, MFIF_MONO_FLOAT};
        case Y4mLayout::k420:
        case Y4mLayout::k422: {
            GUID const real = choose(MFIF_CbYCrY_FLOAT, MFIF_CbYCrY709_FLOAT);
            if (wide && full) return {choose(MFIF_CbYCrY_10_6_FR, MFIF_CbYCrY709_10_6_FR), real};
            if (wide) return {choose(MFIF_CbYCrY_10_6, MFIF_CbYCrY709_10_6), real};
            if (full) return {choose(MFIF_CbYCrY_16_FR, MFIF_CbYCrY709_16_FR), real};
            return {choose(MFIF_CbYCrY_16, MFIF_CbYCrY709_16), real};
        }
        case Y4mLayout::k444:
        case Y4mLayout::k444Alpha: {
            GUID const real = choose(MFIF_CbYCrA_FLOAT_4444, MFIF_CbYCr709A_FLOAT_4444);
            if (full) return {real};
            if (wide) return {choose(MFIF_CbYCrA_10_6_4444, MFIF_CbYCr709A_10_6_4444), real};
            return {choose(MFIF_CbYCrA_8_4444, MFIF_CbYCr709A_8_4444), real};
        }
    }
    return {};
}

bool HoldsPairs(GUID const& format) {
    unsigned const channel = GetChannelSizeFromFormat(format);
    bool const video = IsFormatYCC422(format) && (IsFormat601(format) || IsFormat709(format));
    return video && channel != 0 && GetPixelSizeFromFormat(format) == channel * (IsFormatWithAlpha(format) ? 3 : 2);
}

int ImageWidth(Y4mHeader const& stream) {
    bool const pairs = stream.eLayout == Y4mLayout::k420 || stream.eLayout == Y4mLayout::k422;
    return pairs ? stream.iWidth + stream.iWidth % 2 : stream.iWidth;
}

void ToImageLayout(Y4mHeader const& stream, Y4mFrame& frame, Bytes& scratch) {
    if (stream.iBits != 8 && stream.iBits != 16) {
        scratch.resize(frame.oBytes.size());
        Widen<u16>(frame.oBytes, stream.iBits, stream.bFullRange, scratch);
        frame.oBytes.swap(scratch);
    }
    if (stream.eLayout != Y4mLayout::k420) return;
    if (stream.SampleBytes() == 1) {
        Raise420<u8>(stream, frame, scratch);
    } else {
        Raise420<u16>(stream, frame, scratch);
    }
    frame.oBytes.swap(scratch);
}

void FrameToImage(Y4mHeader const& header, Y4mFrame const& frame, IXFImage& image) {
    qzILImageHelper const helper(&image);
    CheckImage(header, helper);
    if (frame.oBytes.size() != header.FrameBytes()) throw MediaError("a frame does not fit the header of the video");
    ForEachLine<ToFloat>(header, frame.oBytes.data(), helper,
                         [&](auto const& rows, auto* line, auto... levels) { JoinRow(header, rows, line, levels...); });
}

void ImageToFrame(IXFImage& image, Y4mHeader const& header, Y4mFrame& frame) {
    qzILImageHelper const helper(&image);
    CheckImage(header, helper);
    frame.oBytes.resize(header.FrameBytes());
    ForEachLine<FromFloat>(
        header, frame.oBytes.data(), helper,
        [&](auto const& rows, auto const* line, auto... levels) { SplitRow(header, line, rows, levels...); });
}

}  // namespace qzil::media
