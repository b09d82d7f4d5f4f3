// What a rectangle states of itself.
#include "transducers/shape.h"

#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

#include "core/constants.h"
#include "transducers/polygon/straight_edges.h"
#include "transducers/rectangular/corner_response.h"
#include "transducers/rectangular/farfield.h"
#include "transducers/rectangular/radiator.h"
#include "transducers/rectangular/rectangular_edge.h"
#include "transducers/rectangular/rectangular_transducer.h"

namespace kavro {
namespace {

// The product of two Gauss rules over the face, a line along y to a row.
template <class Real>
class Face : public SurfaceRows<Real> {
public:
    Face(const RectangularTransducer& rectangle, QuadratureRule rule)
        : rule_(std::move(rule)),
          half_width_(rectangle.width * 0.5),
          half_height_(rectangle.height * 0.5) {}

    int rows() const override { return rule_.order(); }
    int samples_per_row() const override { return rule_.order(); }
    bool is_half_of_axisymmetric() const override { return false; }

    void fill(int i, SurfaceRow<Real>& row) const override {
        const auto k = static_cast<std::size_t>(i);
        const auto x = static_cast<Real>(rule_.abscissas[k] * half_width_);
        for (std::size_t j = 0; j < rule_.abscissas.size(); ++j) {
            row.x[j] = x;
            row.y[j] = static_cast<Real>(rule_.abscissas[j] * half_height_);
            row.z[j] = Real(0);
            row.weight[j] = static_cast<Real>(rule_.weights[j] * half_height_);
        }
        row.row_weight = rule_.weights[k] * half_width_;
    }

private:
    const QuadratureRule rule_;
    const double half_width_, half_height_;
};

std::vector<PolygonTransducer::Side> sides_of(const RectangularTransducer& rectangle) {
    const double x = rectangle.width * 0.5;
    const double y = rectangle.height * 0.5;
    return {{-x, -y, 1.0, 0.0, rectangle.width},
            {x, -y, 0.0, 1.0, rectangle.height},
            {x, y, -1.0, 0.0, rectangle.width},
            {-x, y, 0.0, -1.0, rectangle.height}};
}

}  // namespace

Departures RectangularTransducer::departures() const {
    Departures departures = Departures::common(exact());
    // The windows' bounds are quotients by the time step.
    departures.arrival_window = ArrivalWindow::outward_by_division;
    // The direct wave begins with a sample rounded down, although edge waves (and a disc's direct
    // wave) round up: deliberate. Its argument is formed in double precision in every variant.
    departures.direct_wave_begins_early = true;
    departures.direct_argument = DirectArgument::element_delay_first;
    departures.silent_without_impulse_response = true;
    departures.arrivals_of_no_points = true;
    departures.defaults_frequency = true;
    departures.rounds_wave = true;
    departures.single_wave = exact() ? SingleWaveBy::from_middle : SingleWaveBy::delays;
    // The reference damps the direct wave only, on purpose; exactly, the edge waves too.
    departures.undamped_edges = !exact();
    return departures;
}

ApertureDistances RectangularTransducer::distances(const CartesianCoordinate& p) const {
    const double half_width = width * 0.5;
    const double half_height = height * 0.5;
    const double dx = std::abs(p.x) - half_width;
    const double dy = std::abs(p.y) - half_height;
    const double beside_x = dx <= 0.0 ? 0.0 : dx * dx;
    const double beside_y = dy <= 0.0 ? 0.0 : dy * dy;
    const double across = std::abs(p.x) + half_width;
    const double along = std::abs(p.y) + half_height;
    return {dx <= 0.0 && dy <= 0.0 ? std::abs(p.z) : std::sqrt(beside_x + beside_y + p.z * p.z),
            std::sqrt(along * along + p.z * p.z + across * across)};
}

RuleInterval RectangularTransducer::rule_interval(Method method) const {
    const bool needs_none = method == Method::radiator_cw || method == Method::farfield_cw ||
                            method == Method::farfield_cw_lossless;
    return needs_none ? RuleInterval::none : RuleInterval::standard;
}

std::unique_ptr<EdgeGenerator<double>> RectangularTransducer::edge(const Wanted& wanted) const {
    if (wanted.demand != nullptr) {
        return std::make_unique<StraightEdges<double>>(*this, sides_of(*this), wanted);
    }
    return std::make_unique<RectangularEdge<double>>(*this, wanted);
}

std::unique_ptr<EdgeGenerator<float>> RectangularTransducer::single_edge(
    const Wanted& wanted) const {
    if (wanted.demand != nullptr) {
        return nullptr;  // pieces of a point's own number of samples are formed in double
    }
    return std::make_unique<RectangularEdge<float>>(*this, wanted);
}

EdgeScale RectangularTransducer::edge_scale(Method method) const {
    constexpr double rounded_two_pi =
        6.2831854820251465;  // as the variant of rounded abscissas has it
    return {1.0, method == Method::fnm_cw_single ? -rounded_two_pi : -two_pi};
}

FarPattern RectangularTransducer::far_pattern(double wavenumber) const {
    return rectangle_pattern(wavenumber, width, height);
}

std::unique_ptr<SurfaceRows<double>> RectangularTransducer::surface(const Wanted& wanted) const {
    return std::make_unique<Face<double>>(*this, wanted.rule);
}

std::unique_ptr<SurfaceRows<float>> RectangularTransducer::single_surface(
    const Wanted& wanted) const {
    return std::make_unique<Face<float>>(*this, wanted.rule);
}

// The same in front of the face and behind.
void RectangularTransducer::write_impulse_response(const CartesianCoordinate& p,
                                                   SampleWindow samples, double later,
                                                   double* values) const {
    const CornerResponse h(*this, p);
    for (int j = samples.begin; j < samples.end; ++j) {
        values[j - samples.begin] = h.at(time_samples->time_index_value(j) - time_delay - later);
    }
}

std::unique_ptr<Share> RectangularTransducer::own_share(const OwnMethod& own) const {
    if (own.method == Method::radiator_cw) {
        return radiator_share(*this, own.wave);
    }
    const double attenuation = own.method == Method::farfield_cw ? own.wave.attenuation : 0.0;
    return farfield_share(*this, {own.wave.wavenumber, attenuation});
}

}  // namespace kavro
