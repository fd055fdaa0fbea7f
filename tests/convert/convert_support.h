#pragma once

#include "model/convert_model.h"

#include "qzil/convert/hls.h"
#include "qzil/convert/rgba_to_rgba.h"
#include "qzil/convert/rgba_to_ycca.h"
#include "qzil/convert/ycca_to_rgba.h"

#include <gtest/gtest.h>

#include <memory>

/// The effects behind the conversions.
namespace qzil::test::model {

/// The effect of a conversion with a job's settings and images.
inline std::unique_ptr<qzILMonadicConvertProc> MakeEffect(ConvertJob const& job) {
    auto const set = [&](auto effect) -> std::unique_ptr<qzILMonadicConvertProc> {
        if constexpr (requires { effect->SetDoFiltering(1); }) effect->SetDoFiltering(job.bFilter);
        if constexpr (requires { effect->SetDoDithering(1); }) effect->SetDoDithering(job.bDither);
        effect->SetInputImg(job.oInput.Get());
        effect->SetOutputImg(job.oOutput.Get());
        effect->SetROI(job.oRoi);
        effect->SetOutputOffset(job.oOffset);
        effect->SetProcessingMode(job.uMode);
        effect->SetDefaultColor(job.oDefault);
        return effect;
    };
    switch (job.eKind) {
        case Conversion::Rgba: return set(std::make_unique<qzILRGBA2RGBA>());
        case Conversion::ToYcc: return set(std::make_unique<qzILRGBAORDIB2YCCA>());
        case Conversion::FromYcc: return set(std::make_unique<qzILYCCA2RGBA>());
        case Conversion::ToHls: return set(std::make_unique<qzILRGBA2HLSA>());
        default: return set(std::make_unique<qzILHLSA2RGBA>());
    }
}

/// A job over a whole picture, with an output of its size.
inline ConvertJob WholeJob(Conversion kind, GUID const& in, GUID const& out, int width, int height) {
    ConvertJob job{.eKind = kind, .oInput = MakeImage(in, width, height), .oOutput = MakeImage(out, width, height)};
    job.oRoi = {0, 0, width, height};
    return job;
}

inline constexpr std::array kConversions{Conversion::Rgba, Conversion::ToYcc, Conversion::FromYcc, Conversion::ToHls,
                                         Conversion::FromHls};

struct Pair {
    Conversion eKind;
    GUID oIn, oOut;
};

/// Every pair that a conversion accepts, by conversion and input.
inline std::vector<Pair> AcceptedPairs() {
    std::vector<Pair> pairs;
    for (Conversion const kind : kConversions) {
        for (auto const& in : AllFormats()) {
            for (auto const& out : AllFormats()) {
                if (PairCode(kind, in.oFormat, out.oFormat) == 0) pairs.push_back({kind, in.oFormat, out.oFormat});
            }
        }
    }
    return pairs;
}

}  // namespace qzil::test::model
