// What a disc states of itself.
#include "transducers/shape.h"

#include <cmath>
#include <span>

#include "core/constants.h"
#include "transducers/circular/apodized_edge.h"
#include "transducers/circular/circular_edge.h"
#include "transducers/circular/circular_response.h"
#include "transducers/circular/circular_transducer.h"
#include "transducers/circular/piston_apodization.h"
#include "transducers/surface/half_annulus.h"

namespace kavro {
namespace {

template <class Real>
std::unique_ptr<SurfaceRows<Real>> half_of(const CircularTransducer& disc, const Wanted& wanted) {
    const double a = disc.radius;
    if (wanted.method != Method::rayleigh_cw_apodized) {
        return std::make_unique<HalfAnnulus<Real>>(wanted.order, 0.0, a);
    }
    const int index = disc.get_piston_apodization_index();
    return std::make_unique<HalfAnnulus<Real>>(
        wanted.order, 0.0, a, [=](double r) { return piston_apodization::evaluate(index, r, a); });
}

}  // namespace

Departures CircularTransducer::departures() const {
    Departures departures = Departures::common(exact());
    // The start is rounded down, where the decomposition rounds it up: deliberate.
    departures.arrival_window = ArrivalWindow::outward;
    // Unlike the single-precision one's, the double-precision integrals' amplitude grows with the
    // path, on purpose.
    departures.rayleigh_grows = !exact();
    departures.single_wave = exact() ? SingleWaveBy::from_middle : SingleWaveBy::delays;
    return departures;
}

// The sign of z is not looked at: a point behind the face and over it begins earlier than the
// element's delay, on purpose; exactly, it begins with |z|.
ApertureDistances CircularTransducer::distances(const CartesianCoordinate& p) const {
    const double r = std::sqrt(p.x * p.x + p.y * p.y);
    const double axial = exact() ? std::abs(p.z) : p.z;
    return {radius >= r ? axial : std::sqrt((r - radius) * (r - radius) + p.z * p.z),
            std::sqrt(p.z * p.z + (r + radius) * (r + radius))};
}

RuleInterval CircularTransducer::rule_interval(Method method) const {
    const bool is_integral = method == Method::rayleigh_cw || method == Method::rayleigh_cw_sse ||
                             method == Method::rayleigh_cw_apodized ||
                             method == Method::rayleigh_transient;
    return is_integral ? RuleInterval::none : RuleInterval::half_circle;
}

// With the uniform index the reference adds zero everywhere: a uniform profile has no slope. The
// exact one is then that of fnm_cw.
std::unique_ptr<EdgeGenerator<double>> CircularTransducer::edge(const Wanted& wanted) const {
    const bool is_uniform = piston_apodization_index < 1 || piston_apodization_index > 4;
    if (wanted.method == Method::fnm_cw_apodized && !(exact() && is_uniform)) {
        return std::make_unique<ApodizedEdge>(*this, wanted.rule);
    }
    return std::make_unique<CircularEdge<double>>(*this, std::span(&radius, 1), wanted);
}

std::unique_ptr<EdgeGenerator<float>> CircularTransducer::single_edge(const Wanted& wanted) const {
    const DelayBy delay_by =
        wanted.method == Method::fnm_tsd_low_precision ? DelayBy::product : DelayBy::quotient;
    return std::make_unique<CircularEdge<float>>(*this, std::span(&radius, 1), wanted, delay_by);
}

EdgeScale CircularTransducer::edge_scale(Method) const {
    return {radius / pi, 1.0};
}

FarPattern CircularTransducer::far_pattern(double wavenumber) const {
    return annulus_pattern(wavenumber, 0.0, radius);
}

std::unique_ptr<SurfaceRows<double>> CircularTransducer::surface(const Wanted& wanted) const {
    return half_of<double>(*this, wanted);
}

std::unique_ptr<SurfaceRows<float>> CircularTransducer::single_surface(const Wanted& wanted) const {
    return half_of<float>(*this, wanted);
}

// The sign of z is not looked at, as in the arrival times: behind the face the plateau begins
// before the element's delay, on purpose; exactly, it begins with |z|.
void CircularTransducer::write_impulse_response(const CartesianCoordinate& p, SampleWindow samples,
                                                double later, double* values) const {
    const double height = exact() ? std::abs(p.z) : p.z;
    const CircularResponse h(radius, medium->_soundspeed, std::sqrt(p.x * p.x + p.y * p.y), height);
    for (int j = samples.begin; j < samples.end; ++j) {
        values[j - samples.begin] = h(time_samples->time_index_value(j) - time_delay - later);
    }
}

}  // namespace kavro
