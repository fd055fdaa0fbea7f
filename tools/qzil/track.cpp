#include "track.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace qzil::command {

std::vector<double> Keys::At(long long frame, long long frames, bool smooth) const {
    auto const frameOf = [&](Key const& key) { return key.oFrame.value_or(std::max(frames - 1, 0ll)); };
    auto const next = std::find_if(oKeys.begin(), oKeys.end(), [&](Key const& key) { return frameOf(key) >= frame; });
    if (next == oKeys.end()) return oKeys.back().oNumbers;
    if (next == oKeys.begin() || frameOf(*next) == frame) return next->oNumbers;
    Key const& before = *(next - 1);
    double share = static_cast<double>(frame - frameOf(before)) / static_cast<double>(frameOf(*next) - frameOf(before));
    if (smooth) share = share * share * (3.0 - 2.0 * share);
    std::vector<double> numbers = before.oNumbers;
    for (std::size_t i = 0; i < numbers.size(); ++i) numbers[i] += (next->oNumbers[i] - numbers[i]) * share;
    return numbers;
}

std::optional<std::vector<std::pair<std::optional<long long>, std::string>>> SplitKeys(std::string const& text,
                                                                                       bool single) {
    std::vector<std::pair<std::optional<long long>, std::string>> keys;
    std::size_t const dots = text.find("..");
    if (dots != std::string::npos) {
        keys.emplace_back(0, text.substr(0, dots));
        keys.emplace_back(std::nullopt, text.substr(dots + 2));
        return keys;
    }
    char const separator = single && text.find(';') == std::string::npos ? ',' : ';';
    for (std::size_t start = 0; start <= text.size();) {
        std::size_t const end = std::min(text.find(separator, start), text.size());
        long long frame = -1;
        auto const [colon, error] = std::from_chars(text.data() + start, text.data() + end, frame);
        bool const later = keys.empty() || frame > *keys.back().first;
        if (error != std::errc() || colon == text.data() + end || *colon != ':' || frame < 0 || !later) return {};
        keys.emplace_back(frame, std::string(colon + 1, text.data() + end));
        start = end + 1;
    }
    return keys;
}

std::vector<double> NumbersOf(catalog::Value const& value) {
    if (auto const* const pReal = std::get_if<double>(&value)) return {*pReal};
    if (auto const* const pWhole = std::get_if<long>(&value)) return {static_cast<double>(*pWhole)};
    if (auto const* const pPair = std::get_if<qzILVector2f>(&value)) return {pPair->x, pPair->y};
    if (auto const* const pColor = std::get_if<qzILColor>(&value)) {
        return {pColor->GetRed(), pColor->GetGreen(), pColor->GetBlue(), pColor->GetAlpha()};
    }
    return {};
}

catalog::Value Track::At(catalog::Parameter const& parameter, long long frame, long long frames, bool smooth) const {
    std::vector<double> const n = oKeys.At(frame, frames, smooth);
    switch (parameter.eKind) {
        case catalog::Kind::Integer: return std::lround(n[0]);
        case catalog::Kind::Pair: return qzILVector2f(static_cast<float>(n[0]), static_cast<float>(n[1]));
        case catalog::Kind::Color: return qzILColor(n[0], n[1], n[2], n[3]);
        default: return n[0];
    }
}

std::array<int, 4> PlaceTrack::At(long long frame, long long frames, bool smooth) const {
    std::vector<double> const numbers = oKeys.At(frame, frames, smooth);
    std::array<int, 4> place{};
    for (std::size_t i = 0; i < numbers.size(); ++i) place[i] = static_cast<int>(std::lround(numbers[i]));
    return place;
}

}  // namespace qzil::command
