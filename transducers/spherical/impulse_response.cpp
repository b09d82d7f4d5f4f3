// A bowl's arrival times and spatial impulse response.
#include <cmath>
#include <cstddef>

#include "core/constants.h"
#include "transducers/blocks/guarded.h"
#include "transducers/blocks/point_series.h"
#include "transducers/methods/arrival_times.h"
#include "transducers/spherical/methods.h"

namespace kavro {
namespace {

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
                 double* values) {
    const TimeSamples& times = *element.time_samples;
    const double d = geometry.curvature_radius();
    double depth = 0.0;
    for (const SphericalRim& rim : geometry.rims()) {
        depth += rim.sign * rim.depth;
    }
    const double arrival = d / element.medium->_soundspeed + element.time_delay;
    const double sample = std::floor((arrival - times.time_index_value(0)) / times.deltat() + 0.5);
    if (times.deltat() != 0.0 && sample >= samples.begin && sample < samples.end) {
        values[static_cast<int>(sample) - samples.begin] = d * depth / times.deltat();
    }
}

void write_response(const Transducer& element, const SphericalGeometry& geometry,
                    const CartesianCoordinate& p, SampleWindow samples, double* values) {
    const AxialPoint point = axial(p);
    const SphericalPole pole = geometry.pole(point);
    const double d = geometry.curvature_radius();
    const double c = element.medium->_soundspeed;
    if (pole.s < nearest_to_focus * d) {
        write_pulse(element, geometry, samples, values);
        return;
    }
    const double scale = c * d / (pi * pole.s);
    for (const SphericalRim& rim : geometry.rims()) {
        const RimArc arc(rim, pole, point, d, c);
        for (int j = samples.begin; j < samples.end; ++j) {
            const double t = element.time_samples->time_index_value(j) - element.time_delay;
            values[j - samples.begin] += rim.sign * scale * arc(t);
        }
    }
}

}  // namespace

TransducerStatus spherical_begin_and_end_times(Transducer& element,
                                               const SphericalGeometry& geometry) {
    if (element.coordinate_grid == nullptr || element.medium == nullptr) {
        return status_failure;
    }
    record_arrival_times(element, [&geometry](const CartesianCoordinate& p) -> ApertureDistances {
        const SphericalDistances distances = geometry.distances(axial(p));
        return {distances.nearest, distances.farthest};
    });
    return status_success;
}

// Every amplitude and every point counts, those behind the bowl, too.
TransducerStatus spherical_impulse_response(Transducer& element,
                                            const SphericalGeometry& geometry) {
    if (!element.has_impulse_response_records()) {
        return status_failure;
    }
    element.InitializeRotationMatrix();
    return guarded([&] {
        return add_point_series(
            element, [&](const CartesianCoordinate& p, SampleWindow samples, double* values) {
                write_response(element, geometry, p, samples, values);
            });
    });
}

}  // namespace kavro
