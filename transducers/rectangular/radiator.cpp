// The rectangle's face integral with a rule of its own for every point.
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "core/console.h"
#include "core/counts.h"
#include "transducers/blocks/edge_block.h"
#include "transducers/blocks/guarded.h"
#include "transducers/blocks/point_tiles.h"
#include "transducers/rectangular/radiator_row.h"
#include "transducers/rectangular/rectangular_transducer.h"

namespace kavro {
namespace {

// Pairs of abscissas between two looks at whether the work is given up.
constexpr std::int64_t pairs_at_a_time = 100'000;

// Points that receive something lie over the face's plane; those in it do not, unlike elsewhere.
bool is_reached(const CartesianCoordinate& local) {
    return local.z > 0.0;
}

// The number of abscissas at a height over the face: as many cells as a width of
// sqrt(4 lambda z / n), n the size of the reference rule, makes on the whole face. Both directions
// use that many: deliberate. Throws std::bad_alloc beyond 32 bits.
int abscissas_at(const RectangularTransducer& rectangle, double z, double wavelength,
                 int reference_size) {
    const double d = std::sqrt(4 * wavelength * z / reference_size);
    const double N = (std::trunc(2 * (rectangle.height * 0.5) / d) + 1) *
                     (std::trunc(2 * (rectangle.width * 0.5) / d) + 1);
    if (!(N >= 1 && N <= std::numeric_limits<std::int32_t>::max())) {
        throw std::bad_alloc();
    }
    return static_cast<int>(N);
}

struct Gauss {
    std::vector<double> t, w;
};

// On [-1, 1]; empty where it is given up. Throws std::bad_alloc where the rule and what is made of
// it exceed the memory.
std::optional<Gauss> gauss_rule(int N, const std::function<bool()>& give_up) {
    const auto n = static_cast<std::size_t>(N);
    if (!fits_into_memory(n, 6 * sizeof(double))) {
        throw std::bad_alloc();
    }
    Gauss rule{std::vector<double>(n), std::vector<double>(n)};
    if (!NumericalIntegration::grule(N, rule.t.data(), rule.w.data(), give_up)) {
        return {};
    }
    return rule;
}

class Worker : public TileWorker {
public:
    Worker(RectangularTransducer& rectangle, const WaveParameters& wave, double wavelength)
        : rectangle_(rectangle),
          wave_(wave),
          wavelength_(wavelength),
          reference_size_(rectangle.integral->get_npoints()) {}

    void work(int first, int count) override {
        for (int i = first; i < first + count; ++i) {
            const CartesianCoordinate local =
                rectangle_.rotateTranslate(rectangle_.coordinate_grid->spatial_index_value(i));
            if (!is_reached(local)) {
                continue;
            }
            const int N = abscissas_at(rectangle_, local.z, wavelength_, reference_size_);
            if (N != size_ && !resize(N)) {
                return;
            }
            std::complex<double> sum;
            if (!integrate(local, sum)) {
                return;
            }
            const Medium& medium = *rectangle_.medium;
            rectangle_.superpose_complex_pressure(
                i, sum * rectangle_.complex_weight *
                       std::complex<double>(0.0, medium._f0 * medium._rho_density));
        }
    }

private:
    // False where the work is given up.
    bool resize(int N) {
        size_ = 0;
        const auto n = static_cast<std::size_t>(N);
        std::optional<Gauss> gauss = gauss_rule(N, [this] { return is_given_up(); });
        if (!gauss) {
            return false;
        }
        const auto& [t, w] = *gauss;
        const std::size_t padded = (n + block_lanes - 1) / block_lanes * block_lanes;
        rule_.X.resize(n);
        rule_.WX.resize(n);
        rule_.Y.assign(padded, 0.0);
        rule_.WY.assign(padded, 0.0);
        for (std::size_t i = 0; i < n; ++i) {
            rule_.X[i] = t[i] * (rectangle_.width * 0.5);
            rule_.WX[i] = w[i] * (rectangle_.width * 0.5);
            rule_.Y[i] = t[i] * (rectangle_.height * 0.5);
            rule_.WY[i] = w[i] * (rectangle_.height * 0.5);
        }
        size_ = N;
        return true;
    }

    bool integrate(const CartesianCoordinate& p, std::complex<double>& sum) const {
        const RadiatorForm form =
            rectangle_.exact() ? RadiatorForm::exact : RadiatorForm::reference;
        std::int64_t pairs = 0;
        sum = 0.0;
        for (int i = 0; i < size_; ++i) {
            pairs += size_;
            if (pairs > pairs_at_a_time) {
                pairs = 0;
                if (is_given_up()) {
                    return false;
                }
            }
            sum += radiator_row(rule_, i, p.x, p.y, p.z, wave_, form);
        }
        return true;
    }

    RectangularTransducer& rectangle_;
    const WaveParameters wave_;
    double wavelength_;
    int reference_size_;
    int size_ = 0;
    RadiatorRule rule_;
};

// Leaves the shared rule with the size of the last point that is reached.
TransducerStatus leave_last_rule(RectangularTransducer& rectangle, double wavelength) {
    const CoordinateGrid& grid = *rectangle.coordinate_grid;
    NumericalIntegration& rule = *rectangle.integral;
    for (int i = grid.npoints - 1; i >= 0; --i) {
        const CartesianCoordinate local = rectangle.rotateTranslate(grid.spatial_index_value(i));
        if (!is_reached(local)) {
            continue;
        }
        const int N = abscissas_at(rectangle, local.z, wavelength, rule.get_npoints());
        std::optional<Gauss> last = gauss_rule(N, console::interrupted);
        if (!last) {
            return status_interrupted;
        }
        rule.cosines.resize(last->t.size());
        rule.abscissas = std::move(last->t);
        rule.weights = std::move(last->w);
        rule.npoints = N;
        break;
    }
    return status_success;
}

}  // namespace

// Resizes and refills the shared rule, on purpose: whoever relies on the reference rule afterwards
// must restore it.
TransducerStatus RectangularTransducer::radiator_cw() {
    if (!has_continuous_wave_records()) {
        return status_failure;
    }
    const WaveParameters wave = wave_with_default_frequency(*medium);
    if (is_silent()) {
        return status_success;
    }
    InitializeRotationMatrix();
    return guarded([&] {
        const double wavelength = wavelength_of(*medium);
        const TransducerStatus status = work_in_tiles(coordinate_grid->npoints, block_lanes, [&] {
            return std::make_unique<Worker>(*this, wave, wavelength);
        });
        return status == status_success ? leave_last_rule(*this, wavelength) : status;
    });
}

}  // namespace kavro
