// The scales and sources that disc and shell give the nonlinear marches. The elements have their
// records.
#pragma once

namespace kavro {
class CircularTransducer;
class SphericalTransducer;
}  // namespace kavro

namespace kavro::kzk {

struct HarmonicShape;
struct TransientShape;

TransientShape transient_shape(const CircularTransducer& disc);
TransientShape transient_shape(const SphericalTransducer& shell);

// What they return calls the element.
HarmonicShape harmonic_shape(CircularTransducer& disc);
HarmonicShape harmonic_shape(SphericalTransducer& shell);

}  // namespace kavro::kzk
