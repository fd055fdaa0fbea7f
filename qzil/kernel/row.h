#pragma once

#include "qzil/image/lines.h"
#include "qzil/image/pixel_math.h"
#include "qzil/kernel/levels.h"

#include <cstddef>

namespace qzil::kernel {

/// What a row function works on: a stretch of one line. Pointers stand on the first pixel of the stretch. The output
/// may be an input line itself, never one shifted against it.
struct Row {
    void const* pA;        ///< first input; null for effects that have none
    void const* pB;        ///< second input, null for one-input effects
    void const* pPass;     ///< the input whose pixels pass where the effect does not act
    void const* pMask;     ///< mask values, laid out as the effect's RowTraits say; null without a mask
    void const* pAlphaIn;  ///< alpha plane of the first input; null for formats without one
    void* pOut;            ///< null for effects that only read
    void* pAlphaOut;
    std::ptrdiff_t iLineStep;  ///< bytes from a line around the first input's to the next; 0 where it lies alone
    int iPixels;               ///< of the stretch
    int iSamples;              ///< of the stretch
    unsigned uSelected;        ///< channels that the processing mode selects; 15 where it selects none of them
    bool bMaskPerPair;         ///< mask values are widened, one for two samples: integer pixels of four samples
    bool bOddX;                ///< the stretch starts on an odd pixel of its line
    int iX, iY;                ///< place of the stretch's first pixel
};

/// How a result is mixed into the passed-through pixel by a mask value.
enum class MixRule : u8 {
    NormMult,  ///< 8 bits, by the two table products
    Mix257,    ///< 8 bits, by the rounded 257 mix
    UInt16,
    S2_14,
    Float,
    FloatLimited,  ///< as Float, but a full mask mixes by 1 instead of taking the result itself
    FloatOrFull,   ///< as Float, but a mask that is not a number counts as full
};

/// How mask values are handed to a row function and to the commit.
enum class MaskLayout : u8 {
    Pixel,    ///< one per pixel
    Samples,  ///< repeated for the samples of a pixel; see Row::bMaskPerPair
    Pair8,    ///< 4:2:2, 8 bits: byte 0 of a pair by its first pixel, byte 2 by its second, bytes 1 and 3 by their mean
    Chroma,   ///< 4:2:2: each luma by its own pixel, the chroma of a pair by the first
};

/// What the walker has to know of a row function.
struct RowTraits {
    int iSampleBytes = 1;
    int iSamples = 4;  ///< interleaved samples per pixel
    MixRule eMix = MixRule::NormMult;
    MaskLayout eMaskLayout = MaskLayout::Samples;
    bool bTakesMask = false;      ///< folds the mask into its own weights; otherwise the commit mixes
    bool bTakesChannels = false;  ///< leaves unselected channels as the passed-through pixel has them
    bool bHasChannels = true;     ///< the channel bits of the processing mode count; false for mono and 4:2:2
    bool bPolls = true;           ///< the interrupt is asked after each line
    bool bIgnoresMask = false;    ///< neither the row function nor the commit looks at it
    bool bWritesAll = true;       ///< every pixel of a stretch is written; otherwise the output is written in place
};

/// One entry per channel type.
template <class T>
struct ByType {
    T oUInt8{};
    T oUInt16{};
    T oS2_14{};
    T oFloat{};
};

/// A row function with its prepared constants; both live until the walk ends. A call without a function stands for
/// the second input: its pixels are the result.
struct RowCall {
    void (*pFunction)(Row const& row, void const* context) = nullptr;
    void const* pContext = nullptr;
};

/// A row function typed by its constants.
template <class Constants>
using TypedRow = void (*)(Row const& row, Constants const& constants);

template <class Constants>
class Bound : public RowCall {
public:
    Bound(TypedRow<Constants> function, Constants const& constants)
        : RowCall{Call, this}, m_pFunction(function), m_oConstants(constants) {}
    Bound(Bound const&) = delete;
    Bound& operator=(Bound const&) = delete;

private:
    static void Call(Row const& row, void const* self) {
        auto const& bound = *static_cast<Bound const*>(self);
        bound.m_pFunction(row, bound.m_oConstants);
    }

    TypedRow<Constants> m_pFunction;
    Constants const& m_oConstants;
};

/// One walk over the processed box. The input or output lines of an absent image have a null first pixel: a walk
/// without inputs is that of a generator, one without an output that of a sink.
struct Walk {
    Lines oA, oB, oOut, oMask, oAlphaIn, oAlphaOut;
    std::ptrdiff_t iLineStep = 0;  ///< of what lies around the first input, see Row
    bool bPassB = false;           ///< the second input is the one that passes through
    int iWidth = 0;
    int iLines = 0;
    bool bOddX = false;  ///< the box starts on an odd column as 4:2:2 parity counts it
    int iX = 0, iY = 0;  ///< place of the first pixel
    int iYStep = 1;      ///< from a line to the next, 2 for a field
    unsigned uMode = 0;
    /// Asked after each line, from the first on; true stops the walk. Null where no interrupt is set.
    bool (*pStop)(void const* context) = nullptr;
    void const* pStopContext = nullptr;
};

/// Runs a row function over every line of a walk, directly into the output where no mask and no channel selection ask
/// for a mix, else through a scratch stretch and the commit. Needs no memory of the heap.
void RunRows(Walk const& walk, RowTraits const& traits, RowCall const& call);

/// `count` lines of a walk, from line `first` on.
Walk PartOf(Walk const& walk, int first, int count);
/// `count` columns of a walk, from column `first` on; 4:2:2 keeps its pairs where both are even.
Walk ColumnsOf(Walk const& walk, int first, int count);

}  // namespace qzil::kernel

// QZIL_PER_LEVEL(Name, Type) in namespace qzil declares one constant per CPU level and Get<Name>(), that of the active
// level. The row source defines it as Type const g_o<Name>{...} inside QZIL_ROWS_BEGIN and QZIL_ROWS_END.
#define QZIL_LEVEL_CONSTANT(level, Name, ...) \
    namespace level {                         \
    extern __VA_ARGS__ const g_o##Name;       \
    }
#ifdef QZIL_HAS_X86_LEVELS
#define QZIL_PER_LEVEL(Name, ...)                            \
    QZIL_LEVEL_CONSTANT(baseline, Name, __VA_ARGS__)         \
    QZIL_LEVEL_CONSTANT(v3, Name, __VA_ARGS__)               \
    QZIL_LEVEL_CONSTANT(v4, Name, __VA_ARGS__)               \
    QZIL_INLINE __VA_ARGS__ const& Get##Name() {             \
        switch (kernel::ActiveCpuLevel()) {                  \
            case kernel::CpuLevel::V4: return v4::g_o##Name; \
            case kernel::CpuLevel::V3: return v3::g_o##Name; \
            default: return baseline::g_o##Name;             \
        }                                                    \
    }
#else
#define QZIL_PER_LEVEL(Name, ...)                    \
    QZIL_LEVEL_CONSTANT(baseline, Name, __VA_ARGS__) \
    QZIL_INLINE __VA_ARGS__ const& Get##Name() {     \
        return baseline::g_o##Name;                  \
    }
#endif
// A table of row functions: a plain struct of function pointers.
#define QZIL_ROW_TABLE(Table) QZIL_PER_LEVEL(Table, Table)

#define QZIL_ROWS_BEGIN \
    namespace qzil {    \
    namespace QZIL_LEVEL {
#define QZIL_ROWS_END \
    }                 \
    }
