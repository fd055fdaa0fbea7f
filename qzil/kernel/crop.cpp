#include "qzil/kernel/crop.h"

#include <algorithm>

namespace qzil::kernel {
namespace {

/// Passes an interrupt on, and keeps that there was one.
struct Stop {
    Walk const& oWalk;
    mutable bool bStopped = false;

    static bool Ask(void const* self) {
        auto const& stop = *static_cast<Stop const*>(self);
        return stop.bStopped = stop.oWalk.pStop(stop.oWalk.pStopContext);
    }
};

}  // namespace

void RunCropped(Walk const& walk, RowTraits const& traits, RowCall const& call, Crop const& crop) {
    int const width = walk.iWidth, lines = walk.iLines, whole = traits.iSamples == 2 ? ~1 : ~0;
    int const left = std::clamp(crop.iLeft, 0, width) & whole, right = std::clamp(crop.iRight, 0, width) & whole;
    int const columns = std::max(width - left - right, 0) & whole;
    Stop const stop{walk};
    auto const run = [&](Interval part, int x, int count, RowCall const& with, bool polls) {
        if (part.iStart >= part.iEnd || count <= 0) return;
        Walk area = ColumnsOf(PartOf(walk, part.iStart, part.iEnd - part.iStart), x, count);
        area.pStop = polls && walk.pStop ? Stop::Ask : nullptr;
        area.pStopContext = &stop;
        RunRows(area, traits, with);
    };
    Interval inside[2] = {crop.aLines[0], crop.aLines[1]};
    int done = 0;
    for (Interval& part : inside) {
        part.iStart = std::clamp(part.iStart, done, lines);
        part.iEnd = columns > 0 ? std::clamp(part.iEnd, part.iStart, lines) : part.iStart;
        run({done, part.iStart}, 0, width, crop.oBackground, false);
        run(part, 0, left, crop.oBackground, false);
        run(part, left + columns, width - left - columns, crop.oBackground, false);
        done = part.iEnd;
    }
    run({done, lines}, 0, width, crop.oBackground, false);
    for (Interval const& part : inside) {
        if (!stop.bStopped) run(part, left, columns, call, true);
    }
}

}  // namespace qzil::kernel
