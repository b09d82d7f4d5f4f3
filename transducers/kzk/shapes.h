// The scales and sources that disc and shell give the nonlinear marches. The elements have their
// records.
#pragma once

namespace kavro {

class CircularTransducer;
class SphericalTransducer;
struct KzkHarmonicShape;
struct KzkTransientShape;

KzkTransientShape kzk_transient_shape(const CircularTransducer& disc);
KzkTransientShape kzk_transient_shape(const SphericalTransducer& shell);

// What they return calls the element.
KzkHarmonicShape kzk_harmonic_shape(CircularTransducer& disc);
KzkHarmonicShape kzk_harmonic_shape(SphericalTransducer& shell);

}  // namespace kavro
