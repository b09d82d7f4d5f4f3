// A bowl's continuous-wave pressure in double precision: by the fast nearfield method and as a
// Rayleigh integral.
#include <cmath>
#include <complex>
#include <cstddef>
#include <vector>

#include "core/constants.h"
#include "transducers/blocks/guarded.h"
#include "transducers/methods/continuous_wave.h"
#include "transducers/spherical/methods.h"
#include "transducers/spherical/spherical_edge.h"
#include "transducers/surface/surface_rows.h"

namespace kavro {
namespace {

// The Gauss rule serves both directions over the half 0 <= phi <= pi: a circle of equal polar angle
// theta to a row, theta over the angles of the rims as seen from the centre of curvature.
template <class Real>
class HalfSphericalFace : public SurfaceRows<Real> {
public:
    HalfSphericalFace(const Transducer& element, const SphericalGeometry& geometry)
        : geometry_(geometry) {
        NumericalIntegration& rule = *element.integral;
        rule.gauss_quadrature(0, pi);
        const double d = geometry.curvature_radius();
        double span[2] = {0.0, 0.0};
        for (const SphericalRim& rim : geometry.rims()) {
            span[rim.sign > 0.0 ? 1 : 0] = std::atan2(rim.radius, rim.cosine * d);
        }
        const double width = span[1] - span[0];
        for (int i = 0; i < rule.get_npoints(); ++i) {
            const double phi = rule.get_abscissa(i);
            const double weight = rule.get_weight(i);
            const double theta = span[0] + width * phi / pi;
            const double h = std::sin(theta / 2.0);
            const double q = d * std::sin(theta);
            radius_.push_back(q);
            height_.push_back(2.0 * d * h * h);
            area_.push_back(d * q * (weight * width / pi));
            cosine_.push_back(std::cos(phi));
            sine_.push_back(std::sin(phi));
            weight_.push_back(weight);
        }
    }

    int rows() const override { return static_cast<int>(radius_.size()); }
    int samples_per_row() const override { return rows(); }

    void fill(int i, SurfaceRow<Real>& row) const override {
        const auto k = static_cast<std::size_t>(i);
        for (std::size_t j = 0; j < cosine_.size(); ++j) {
            row.x[j] = static_cast<Real>(radius_[k] * cosine_[j]);
            row.y[j] = static_cast<Real>(radius_[k] * sine_[j]);
            row.z[j] = static_cast<Real>(height_[k]);
            row.weight[j] = static_cast<Real>(weight_[j]);
        }
        row.row_weight = area_[k];
    }

    bool reaches(const CartesianCoordinate& point) const override {
        return !geometry_.is_behind(axial(point));
    }

private:
    const SphericalGeometry geometry_;
    std::vector<double> radius_, height_, area_;  // of circle i
    std::vector<double> cosine_, sine_, weight_;  // of azimuth j
};

// Q = 2 j rho f0 w: the other half of the bowl is the factor 2.
template <class Real>
TransducerStatus solve_surface(Transducer& element, const SphericalGeometry& geometry,
                               const WaveParameters& wave) {
    element.InitializeRotationMatrix();
    return guarded([&] {
        const Medium& medium = *element.medium;
        const std::complex<double> Q(0.0, 2 * medium._rho_density * medium._f0);
        return solve_rayleigh(element, HalfSphericalFace<Real>(element, geometry), wave,
                              Q * element.complex_weight);
    });
}

}  // namespace

TransducerStatus solve_spherical_continuous_wave(Transducer& element,
                                                 const SphericalGeometry& geometry,
                                                 const WaveParameters& wave) {
    element.InitializeRotationMatrix();
    return guarded([&] {
        const SphericalEdge<double> edge(element, geometry, SphericalReach::facing,
                                         EdgeUnits::lengths);
        const Medium& medium = *element.medium;
        const std::complex<double> reference =
            medium._rho_density * medium._soundspeed * element.complex_weight;
        return solve_continuous_wave(element, edge, wave,
                                     element.exact() ? reference * loss_factor(wave) : reference);
    });
}

TransducerStatus spherical_fnm_cw(Transducer& element, const SphericalGeometry& geometry) {
    if (!element.has_continuous_wave_records()) {
        return status_failure;
    }
    const WaveParameters wave = wave_with_default_frequency(*element.medium);
    return element.is_silent() ? status_success
                               : solve_spherical_continuous_wave(element, geometry, wave);
}

TransducerStatus spherical_rayleigh_cw(Transducer& element, const SphericalGeometry& geometry) {
    if (!element.has_continuous_wave_records()) {
        return status_failure;
    }
    const WaveParameters wave = wave_with_default_speed(*element.medium);
    return element.is_silent() ? status_success : solve_surface<double>(element, geometry, wave);
}

TransducerStatus spherical_rayleigh_cw_sse(Transducer& element, const SphericalGeometry& geometry) {
    if (!element.has_continuous_wave_records()) {
        return status_failure;
    }
    return element.is_silent() ? status_success
                               : solve_surface<float>(element, geometry, wave_of(*element.medium));
}

}  // namespace kavro
