// The order in which a chunk's scatterers are added up.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "transducers/scatterer.h"

namespace kavro::echo {

// Indices of the scatterers such that neighbours in space follow each other, for the lanes of a
// block to take alike rules; ties by index.
std::vector<std::uint32_t> order_in_space(std::span<const Scatterer> scatterers);

}  // namespace kavro::echo
