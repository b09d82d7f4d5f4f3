// What bowls state of themselves, whole (SphericalTransducer) or with a hole
// (SphericalRingTransducer).
#pragma once

#include "../transducer.h"

namespace kavro {

// Lengths in metres; a hole of no radius is none.
struct SphericalCap {
    double curvature_radius;
    double outer_radius;
    double inner_radius;
};

class SphericalShape : public Transducer {
public:
    virtual SphericalCap cap() const = 0;

    Departures departures() const override;
    double face_extent() const override { return 2.0 * cap().outer_radius; }
    double face_area() const override;
    ApertureDistances distances(const CartesianCoordinate& point) const override;
    RuleInterval rule_interval(Method) const override { return RuleInterval::half_circle; }
    std::unique_ptr<EdgeGenerator<double>> edge(const Wanted& wanted) const override;
    std::unique_ptr<EdgeGenerator<float>> single_edge(const Wanted& wanted) const override;
    std::unique_ptr<EdgeGenerator<double>> rounded_edge(const Wanted& wanted) const override;
    FarPattern far_pattern(double wavenumber) const override;
    std::unique_ptr<SurfaceRows<double>> surface(const Wanted& wanted) const override;
    std::unique_ptr<SurfaceRows<float>> single_surface(const Wanted& wanted) const override;
    void write_impulse_response(const CartesianCoordinate& point, SampleWindow samples,
                                double later, double* values) const override;
    std::unique_ptr<kzk::TransientShape> transient_march() const override;
    std::unique_ptr<kzk::HarmonicShape> harmonic_march() override;
};

}  // namespace kavro
