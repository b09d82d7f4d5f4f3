#include "transducers/triangle/triangle_transducer.h"

#include "transducers/shape.h"

namespace kavro {

Departures TriangleTransducer::departures() const {
    Departures departures;
    departures.writes_nothing = true;
    return departures;
}

std::unique_ptr<EdgeGenerator<double>> TriangleTransducer::edge(const Wanted&) const {
    debug(2);
    return nullptr;
}

}  // namespace kavro
