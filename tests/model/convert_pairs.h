#pragma once

#include "model/format_lists.h"
#include "support/table.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <utility>

/// Which pairs of formats each conversion accepts, by a table apart from the library's own.
namespace qzil::test::model {

enum class Conversion { Rgba, ToYcc, FromYcc, ToHls, FromHls };

inline bool In(GUID const& format, Formats const& formats) {
    return std::ranges::find(formats, format) != formats.end();
}

inline Formats const kBlue8{MFIF_BGRA_RAW_32, MFIF_BGRA_RAW_32_VIDEO, MFIF_DIB_RAW_32, MFIF_DIB_RAW_24,
                            MFIF_BGR_RAW_24};

/// Error code for two formats; 0 when they pass.
inline unsigned PairCode(Conversion kind, GUID const& in, GUID const& out) {
    struct Targets {
        unsigned uCode;
        std::string sOutputs;  ///< blanks round each
    };
    static auto const l_oTargets = [] {
        std::map<std::pair<std::string, std::string>, Targets> targets;
        for (Row const& row : ReadTable("convert/pairs.tsv")) {
            targets[{row["conversion"], row["input"]}] = {static_cast<unsigned>(row.Number("code")),
                                                          ' ' + row["outputs"] + ' '};
        }
        return targets;
    }();
    static char const* const l_apNames[] = {"rgba-to-rgba", "rgba-to-ycca", "ycca-to-rgba", "rgba-to-hlsa",
                                            "hlsa-to-rgba"};
    auto const name = [](GUID const& format) { return std::string(FormatName(format) + std::strlen("MFIF_")); };
    auto const found = l_oTargets.find({l_apNames[static_cast<int>(kind)], name(in)});
    if (found == l_oTargets.end()) return 0x10034;
    return found->second.sOutputs.find(' ' + name(out) + ' ') != std::string::npos ? 0 : found->second.uCode;
}

}  // namespace qzil::test::model
