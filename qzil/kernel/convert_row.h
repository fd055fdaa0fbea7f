#pragma once

#include "qzil/kernel/row.h"

// The row layer of conversions: lines of one format in, lines of another out, without mask and channel bits.

namespace qzil::kernel {

/// What a conversion's row function works on: a stretch of one line. Its pixels have the positions 0 to iPixels - 1.
struct ConvertRow {
    unsigned char const* pIn;       ///< position 0
    unsigned char const* pAlphaIn;  ///< alpha plane of the input at position 0; null for formats without one
    unsigned char* pOut;
    unsigned char* pAlphaOut;  ///< alpha plane of the output; null for formats without one
    int iPixels;               ///< even where the conversion works on pixel pairs
    int iFirst, iLast;         ///< the positions that can be read; see ConvertTraits::bRegionLimits
    bool bLineStart;           ///< the first stretch of a line
    int iSkip;                 ///< 1 where position 0 only completes a pair and its result is dropped
};

/// Pixels of a stretch, at most: a row function may keep that many on its stack.
inline constexpr int kStretchPixels = 512;

/// What the walk has to know of a conversion.
struct ConvertTraits {
    int iInBytes = 4;            ///< per interleaved pixel
    int iOutBytes = 4;           ///< per interleaved pixel
    bool bPairs = false;         ///< input or output are pixel pairs: an odd last pixel is not written
    bool bPairsIn = false;       ///< the input's pairs start at the even columns of its image
    bool bOrdered = false;       ///< a state goes along: lines and stretches in ascending order
    bool bPolls = false;         ///< the interrupt is asked after each line
    bool bUpdates = false;       ///< results depend on what the output holds
    bool bAlphaOnly = false;     ///< the row function writes the alpha plane only
    bool bRegionLimits = false;  ///< reading ends with the processed box, else with the input image
};

/// A row function with its constants. Where bOrdered holds, it may change what its context points to.
struct ConvertCall {
    void (*pFunction)(ConvertRow const& row, void const* context) = nullptr;
    void const* pContext = nullptr;
};

template <class Constants>
using TypedConvertRow = void (*)(ConvertRow const& row, Constants const& constants);

template <class Constants>
class BoundConversion : public ConvertCall {
public:
    BoundConversion(TypedConvertRow<Constants> function, Constants const& constants)
        : ConvertCall{Call, this}, m_pFunction(function), m_oConstants(constants) {}
    BoundConversion(BoundConversion const&) = delete;
    BoundConversion& operator=(BoundConversion const&) = delete;

private:
    static void Call(ConvertRow const& row, void const* self) {
        auto const& bound = *static_cast<BoundConversion const*>(self);
        bound.m_pFunction(row, bound.m_oConstants);
    }

    TypedConvertRow<Constants> m_pFunction;
    Constants const& m_oConstants;
};

}  // namespace qzil::kernel
