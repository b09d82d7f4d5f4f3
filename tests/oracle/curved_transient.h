// The waves that arrive at a point.
#pragma once

#include <vector>

#include "oracle/curved_geometry.h"

namespace kavro_oracle {

struct EdgeArrival {
    double coefficient, delay;
};

// A direct wave, and the delays between which its window begins and after which it ends.
struct DirectArrival {
    double coefficient, delay, begin, end;
};

struct Arrivals {
    std::vector<EdgeArrival> edge;
    std::vector<DirectArrival> direct;
    double first = 0.0, last = 0.0;  // delays of the nearest and farthest point of the aperture
};

// One set, two next to a bowl's focus, none where the point is skipped.
std::vector<Arrivals> arrivals_of(const ApertureScene& scene, const Aperture& aperture,
                                  const Rule& rule, const Triple& point, Behind behind);

}  // namespace kavro_oracle
