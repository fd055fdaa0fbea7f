#pragma once

#include "effect_run.h"
#include "media/picture.h"

#include <span>
#include <string>

namespace qzil::command {

/// A column of numbers for each result, or a line for each where they are not equally long.
std::string ResultsTable(std::span<NamedNumbers const> results);
/// An object with an array for each result.
std::string ResultsJson(std::span<NamedNumbers const> results);
/// A picture of all results that are rows of numbers: curves over one scale, from 0 to the largest number of those that
/// have more than one peak.
media::Picture ResultsPlot(std::span<NamedNumbers const> results);

}  // namespace qzil::command
