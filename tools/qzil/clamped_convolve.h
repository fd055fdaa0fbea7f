#pragma once

#include "effect_run.h"

namespace qzil::command {

/// Whether an effect takes a kernel of weights.
bool TakesKernel(catalog::Entry const& entry);

/// The sums of a kernel limited to full scale, where the effect itself would wrap: positive and negative weights are
/// summed apart, each divided by its total, in 16 bits, and put together again. A sum is off by half a step of 16 bits
/// for each unit of the weights' total at the most. Region, mask and channels are those of the settings. The input has
/// 16-bit channels; `steps` are the 16-bit steps of a unit of the bias. Throws Failure.
Ref<IXFImage> ConvolveClamped(Settings const& settings, GUID const& format, Ref<IXFImage> const& input, double steps,
                              Ref<IXFImage> const& mask, std::optional<qzILVector2l> const& maskSize);

}  // namespace qzil::command
