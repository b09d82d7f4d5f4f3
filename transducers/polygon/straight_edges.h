// The edge generator of faces with straight edges, every point with abscissas of its own.
#pragma once

#include <cstdint>
#include <vector>

#include "transducers/polygon/polygon_transducer.h"
#include "transducers/shape.h"
#include "transducers/tolerance/choice.h"

namespace kavro {

// Samples as PolygonEdge has them, side after side, each of a side's two pieces by a rule that
// keeps a tolerance. In single precision everything is rounded to it where it is stored.
template <class Real>
class StraightEdges : public EdgeGenerator<Real> {
public:
    // Of the convex face that these sides go around counter-clockwise. A tolerance is wanted.
    StraightEdges(const Transducer& element, std::vector<PolygonTransducer::Side> sides,
                  const Wanted& wanted);

    int size() const override { return 0; }
    void sample(EdgeBlock<Real>& block, int pass) const override;

private:
    // Returns the distances from the nearest point of the face (m).
    Lanes<double> choose_rules(EdgeBlock<Real>& block) const;

    const Transducer& element_;
    std::vector<PolygonTransducer::Side> sides_;
    QuadratureDemand demand_;
    double speed_ = 1.0;
    double scale_ = 1.0;
    double extents_[2];  // the least width of the face, and the other one
    double sharpness_ = 1.0;
    // Of each side: whether it goes along the face, whether more across than the one before.
    std::vector<std::uint8_t> is_level_, corner_is_across_;
};

extern template class StraightEdges<double>;

}  // namespace kavro
