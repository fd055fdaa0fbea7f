#include "qzil/image/image_ops.h"
#include "qzil/spatial/blur_makers.h"

#include <algorithm>
#include <new>

namespace qzil {
namespace {

/// The samples of a margin buffer, as the filters take them.
template <class Out, class In>
StripLoad<Out, In> StripOf(Out* out, MarginLines const& lines, int at, int samples) {
    return {out, reinterpret_cast<In const*>(lines.pFirst) + at, lines.iStep / std::ptrdiff_t{sizeof(In)}, samples,
            lines.iLines};
}

void Load(s16* out, XFChannelType, MarginLines const& lines, int at, int samples) {
    GetFilterRows().pTimes64(StripOf<s16, u8>(out, lines, at, samples));
}

void Load(float* out, XFChannelType type, MarginLines const& lines, int at, int samples) {
    FilterRows const& rows = GetFilterRows();
    switch (type) {
        case XFChannelTypeUInt8: rows.pFloatsOf8(StripOf<float, u8>(out, lines, at, samples)); break;
        case XFChannelTypeUInt16: rows.pFloatsOf16(StripOf<float, u16>(out, lines, at, samples)); break;
        case XFChannelTypeS2_14: rows.pFloatsOfS2_14(StripOf<float, s16>(out, lines, at, samples)); break;
        default: rows.pFloats(StripOf<float, float>(out, lines, at, samples)); break;
    }
}

void Finish(u8* out, XFChannelType, s16 const* in, int samples) {
    GetFilterRows().pBy64(out, in, samples);
}

void Finish(u8* out, XFChannelType type, float const* in, int samples) {
    FilterRows const& rows = GetFilterRows();
    switch (type) {
        case XFChannelTypeUInt8: rows.pTo8(out, in, samples); break;
        case XFChannelTypeUInt16: rows.pTo16(reinterpret_cast<u16*>(out), in, samples); break;
        case XFChannelTypeS2_14: rows.pToS2_14(reinterpret_cast<s16*>(out), in, samples); break;
        default: rows.pToFloat(reinterpret_cast<float*>(out), in, samples); break;
    }
}

int SampleBytes(XFChannelType type) {
    return type == XFChannelTypeUInt8 ? 1 : type == XFChannelTypeFloat ? 4 : 2;
}

}  // namespace

template <class Sample>
RecursiveMaker<Sample>::RecursiveMaker(XFChannelType type, MarginLines const& lines, AxisFilter<Sample> down,
                                       AxisFilter<Sample> across)
    : m_uType(type),
      m_oLines(lines),
      m_oDown(std::move(down)),
      m_oAcross(std::move(across)),
      m_iPixels(lines.iSamples / lines.iPixelSamples),
      m_iActiveLines(lines.iLines - 2 * m_oDown.iReach),
      m_iPitch((lines.iSamples + kLanes - 1) / kLanes * kLanes) {
}

/// The pool keeps one free block of up to 32 MiB, which is the margin buffer's, and one of the sizes above: scratch up
/// to there comes from the heap, which keeps such blocks, too.
template <class Sample>
void RecursiveMaker<Sample>::TakeColumns() {
    constexpr std::size_t kMostOnHeap = 0x2000000;
    std::size_t const samples = static_cast<std::size_t>(m_iPitch) * static_cast<std::size_t>(m_iActiveLines);
    if (samples * sizeof(Sample) <= kMostOnHeap) {
        m_pHeap.reset(new Sample[samples]);
        m_pColumns = m_pHeap.get();
        return;
    }
    GUID const format = sizeof(Sample) == 2 ? MFIF_MONO_S2_14 : MFIF_MONO_FLOAT;
    void* pPixels = nullptr;
    if (qzILCreateAndAllocImage(nullptr, IID_IXFImage, m_iPitch, m_iActiveLines, format, m_pScratch.Out()) < 0 ||
        m_pScratch->GetPixelArray(&pPixels) < 0) {
        throw std::bad_alloc();
    }
    m_pColumns = static_cast<Sample*>(pPixels);
}

/// The forward pass puts its output where the sample stood that has just left its reach, one place before the first
/// input; the place beyond the last output stays free for the pass back.
template <class Sample>
void RecursiveMaker<Sample>::FilterThere(AxisFilter<Sample> const& axis, int places) {
    axis.oPass({Place(0), kLanes, Place(places - 2 - axis.iReach), -kLanes, places, axis.iReach, kLanes});
}

/// The backward pass over what FilterThere left; its output, in natural order, goes to `out`.
template <class Sample>
void RecursiveMaker<Sample>::FilterBack(AxisFilter<Sample> const& axis, int places, Sample* out, std::ptrdiff_t step) {
    int const reach = axis.iReach;
    axis.oPass({Place(places - 2 - reach), -kLanes, out, step, places - reach, reach, kLanes});
}

template <class Sample>
bool RecursiveMaker<Sample>::FilterColumns(bool (*stops)(void const* context), void const* context) {
    TakeColumns();
    std::size_t const places = static_cast<std::size_t>(std::max(m_oLines.iLines, m_iPixels));
    m_aLanes.resize((places + 1) * kLanes);
    m_aFinished.resize(static_cast<std::size_t>(m_iPixels) * kLanes * static_cast<std::size_t>(SampleBytes(m_uType)));
    int const reach = m_oDown.iReach;
    for (int at = 0; at < m_oLines.iSamples; at += kLanes) {
        int const samples = std::min(kLanes, m_oLines.iSamples - at);
        Load(Place(0), m_uType, m_oLines, at, samples);
        if (m_oDown.bActive) {
            FilterThere(m_oDown, m_oLines.iLines);
            FilterBack(m_oDown, m_oLines.iLines, Columns(0) + at, m_iPitch);
        } else {
            for (int line = 0; line < m_iActiveLines; ++line) {
                std::copy_n(Place(line + reach), kLanes, Columns(line) + at);
            }
        }
        for (int column = 0; stops && column < samples; column += m_oLines.iPixelSamples) {
            if (stops(context)) return false;
        }
    }
    return true;
}

template <class Sample>
void RecursiveMaker<Sample>::FilterBlock(int first, int count) {
    int const pixelBytes = m_oLines.iPixelSamples * static_cast<int>(sizeof(Sample)), reach = m_oAcross.iReach;
    GetFilterRows().pToTile({reinterpret_cast<u8*>(Place(0)), kLanes * static_cast<int>(sizeof(Sample)),
                             reinterpret_cast<u8*>(Columns(m_oLines.ActiveLine(first))),
                             std::ptrdiff_t{m_iPitch} * m_oLines.iKeptStep * static_cast<int>(sizeof(Sample)), count,
                             m_iPixels, pixelBytes});
    if (m_oAcross.bActive) {
        FilterThere(m_oAcross, m_iPixels);
        FilterBack(m_oAcross, m_iPixels, Place(reach), kLanes);
    }
    Finish(m_aFinished.data(), m_uType, Place(reach), (m_iPixels - 2 * reach) * kLanes);
    m_iBlockFirst = first;
    m_iBlockLines = count;
}

template <class Sample>
void RecursiveMaker<Sample>::Make(int first, int count, unsigned char* out, std::ptrdiff_t step) {
    int const pixelBytes = m_oLines.iPixelSamples * SampleBytes(m_uType);
    int const kept = (m_iActiveLines - m_oLines.iFirstKept + m_oLines.iKeptStep - 1) / m_oLines.iKeptStep;
    while (count > 0) {
        if (first < m_iBlockFirst || first >= m_iBlockFirst + m_iBlockLines) {
            FilterBlock(first, std::min(BlockLines(), kept - first));
        }
        int const place = first - m_iBlockFirst, lines = std::min(count, m_iBlockLines - place);
        GetFilterRows().pFromTile({m_aFinished.data() + std::ptrdiff_t{place} * pixelBytes,
                                   kLanes * SampleBytes(m_uType), out, step, lines, m_iPixels - 2 * m_oAcross.iReach,
                                   pixelBytes});
        first += lines;
        count -= lines;
        out += lines * step;
    }
}

template class RecursiveMaker<s16>;
template class RecursiveMaker<float>;

}  // namespace qzil
