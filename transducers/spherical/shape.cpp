// What bowls state of themselves, whole or with a hole.
#include "transducers/shape.h"

#include <cmath>
#include <cstddef>
#include <vector>

#include "core/constants.h"
#include "transducers/spherical/spherical_edge.h"
#include "transducers/spherical/spherical_geometry.h"
#include "transducers/spherical/spherical_shape.h"

namespace kavro {
namespace {

SphericalGeometry geometry_of(const SphericalShape& shape) {
    const SphericalCap cap = shape.cap();
    return SphericalGeometry(cap.curvature_radius, cap.outer_radius, cap.inner_radius);
}

SphericalReach reach_of(Method method) {
    switch (method) {
        case Method::fnm_transient_behind_source:
        case Method::fnm_tsd_behind_source:
            return SphericalReach::everywhere;
        case Method::fnm_tsd_low_precision:
            return SphericalReach::off_focus;
        default:
            return SphericalReach::facing;
    }
}

// The Gauss rule serves both directions over the half 0 <= phi <= pi: a circle of equal polar angle
// theta to a row, theta over the angles of the rims as seen from the centre of curvature.
template <class Real>
class HalfSphericalFace : public SurfaceRows<Real> {
public:
    HalfSphericalFace(const SphericalGeometry& geometry, const QuadratureRule& rule)
        : geometry_(geometry) {
        const double d = geometry.curvature_radius();
        double span[2] = {0.0, 0.0};
        for (const SphericalRim& rim : geometry.rims()) {
            span[rim.sign > 0.0 ? 1 : 0] = std::atan2(rim.radius, rim.cosine * d);
        }
        const double width = span[1] - span[0];
        for (std::size_t i = 0; i < rule.abscissas.size(); ++i) {
            const double phi = rule.abscissas[i];
            const double weight = rule.weights[i];
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

// Half the angle of the circle of points that are heard at once, as far as it lies within one rim.
class RimArc {
public:
    RimArc(const SphericalRim& rim, const SphericalPole& pole, const AxialPoint& point, double d,
           double c)
        : pole_(pole), rim_depth_(rim.depth), inside_(pole.sine <= rim.sine), c_(c), d_(d) {
        const double up = point.z - rim.height;
        const double near = point.r - rim.radius;
        const double far = point.r + rim.radius;
        t_direct_ = pole.path / c;
        t_near_ = std::sqrt(near * near + up * up) / c;
        t_far_ = std::sqrt(far * far + up * up) / c;
    }

    double operator()(double t) const {
        const bool whole =
            pole_.side > 0.0 ? t_direct_ <= t && t <= t_near_ : t_far_ < t && t <= t_direct_;
        if (inside_ && whole) {
            return pi;
        }
        if (!(t_near_ <= t && t <= t_far_)) {
            return 0.0;
        }
        const double q =
            pole_.side * (c_ * c_ * t * t - pole_.path * pole_.path) / (2.0 * d_ * pole_.s);
        const double X = (pole_.depth - rim_depth_) + pole_.cosine * q;
        const double Y = pole_.sine * std::sqrt(std::fmax(q * (2.0 - q), 0.0));
        if (X >= Y) {
            return 0.0;
        }
        return X <= -Y ? pi : std::acos(X / Y);
    }

private:
    SphericalPole pole_;
    double rim_depth_;
    bool inside_;
    double c_, d_;
    double t_direct_ = 0.0, t_near_ = 0.0, t_far_ = 0.0;
};

// Next to the focus the response is a pulse of area d (V_out - V_in) at d/c: the nearest sample
// holds all of it.
void write_pulse(const Transducer& element, const SphericalGeometry& geometry, SampleWindow samples,
                 double later, double* values) {
    const TimeSamples& times = *element.time_samples;
    const double d = geometry.curvature_radius();
    double depth = 0.0;
    for (const SphericalRim& rim : geometry.rims()) {
        depth += rim.sign * rim.depth;
    }
    const double arrival = d / element.medium->_soundspeed + element.time_delay + later;
    const double sample = std::floor((arrival - times.time_index_value(0)) / times.deltat() + 0.5);
    if (times.deltat() != 0.0 && sample >= samples.begin && sample < samples.end) {
        values[static_cast<int>(sample) - samples.begin] = d * depth / times.deltat();
    }
}

}  // namespace

Departures SphericalShape::departures() const {
    Departures departures = Departures::common(exact());
    departures.direct_wave = DirectWaveBy::decomposition;
    departures.windows_in_double = true;
    departures.single_wave = exact() ? SingleWaveBy::from_middle : SingleWaveBy::excess;
    return departures;
}

// That of the zone between the rims, 2 pi d times its height.
double SphericalShape::face_area() const {
    const SphericalGeometry geometry = geometry_of(*this);
    double depth = 0.0;
    for (const SphericalRim& rim : geometry.rims()) {
        depth += rim.sign * rim.depth;
    }
    const double d = geometry.curvature_radius();
    return two_pi * d * d * depth;
}

ApertureDistances SphericalShape::distances(const CartesianCoordinate& point) const {
    const SphericalDistances distances = geometry_of(*this).distances(axial(point));
    return {distances.nearest, distances.farthest};
}

std::unique_ptr<EdgeGenerator<double>> SphericalShape::edge(const Wanted& wanted) const {
    return std::make_unique<SphericalEdge<double>>(*this, geometry_of(*this),
                                                   reach_of(wanted.method), wanted);
}

// Nearly hemispherical bowls, whose two poles single precision would not hold, are computed in
// double precision.
std::unique_ptr<EdgeGenerator<float>> SphericalShape::single_edge(const Wanted& wanted) const {
    const SphericalGeometry geometry = geometry_of(*this);
    if (geometry.has_nearly_hemispherical_rim()) {
        return nullptr;
    }
    return std::make_unique<SphericalEdge<float>>(*this, geometry, reach_of(wanted.method), wanted);
}

std::unique_ptr<EdgeGenerator<double>> SphericalShape::rounded_edge(const Wanted& wanted) const {
    const SphericalGeometry geometry = geometry_of(*this);
    const SphericalReach reach = geometry.has_nearly_hemispherical_rim()
                                     ? SphericalReach::facing
                                     : SphericalReach::near_focus;
    return std::make_unique<SphericalEdge<double>>(*this, geometry, reach, wanted);
}

FarPattern SphericalShape::far_pattern(double wavenumber) const {
    const SphericalGeometry geometry = geometry_of(*this);
    double angle[2] = {0.0, 0.0};
    for (const SphericalRim& rim : geometry.rims()) {
        angle[rim.sign > 0.0 ? 1 : 0] = std::atan2(rim.sine, rim.cosine);
    }
    return bowl_pattern(wavenumber, geometry.curvature_radius(), angle[0], angle[1]);
}

std::unique_ptr<SurfaceRows<double>> SphericalShape::surface(const Wanted& wanted) const {
    return std::make_unique<HalfSphericalFace<double>>(geometry_of(*this), wanted.rule);
}

std::unique_ptr<SurfaceRows<float>> SphericalShape::single_surface(const Wanted& wanted) const {
    return std::make_unique<HalfSphericalFace<float>>(geometry_of(*this), wanted.rule);
}

// Every point counts, those behind the bowl, too.
void SphericalShape::write_impulse_response(const CartesianCoordinate& p, SampleWindow samples,
                                            double later, double* values) const {
    const SphericalGeometry geometry = geometry_of(*this);
    const AxialPoint point = axial(p);
    const SphericalPole pole = geometry.pole(point);
    const double d = geometry.curvature_radius();
    const double c = medium->_soundspeed;
    if (pole.s < nearest_to_focus * d) {
        write_pulse(*this, geometry, samples, later, values);
        return;
    }
    const double scale = c * d / (pi * pole.s);
    for (const SphericalRim& rim : geometry.rims()) {
        const RimArc arc(rim, pole, point, d, c);
        for (int j = samples.begin; j < samples.end; ++j) {
            const double t = time_samples->time_index_value(j) - time_delay - later;
            values[j - samples.begin] += rim.sign * scale * arc(t);
        }
    }
}

}  // namespace kavro
