#include "transducers/rectangular/radiator.h"

#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <new>
#include <utility>
#include <vector>

#include "core/console.h"
#include "core/counts.h"
#include "core/interrupted.h"
#include "core/quadrature_rule.h"
#include "transducers/blocks/point_tile.h"
#include "transducers/rectangular/radiator_row.h"

namespace kavro {
namespace {

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

// Throws std::bad_alloc where the rule and what is made of it exceed the memory, Interrupted where
// it is given up.
QuadratureRule rule_of(int N, const std::function<bool()>& gives_up) {
    const auto n = static_cast<std::size_t>(N);
    if (!fits_into_memory(n, 6 * sizeof(double))) {
        throw std::bad_alloc();
    }
    QuadratureRule rule{std::vector<double>(n), std::vector<double>(n)};
    if (!NumericalIntegration::grule(N, rule.abscissas.data(), rule.weights.data(), gives_up)) {
        throw Interrupted();
    }
    return rule;
}

// The rule over the face at the size of the last point.
struct FaceRule {
    int size = 0;
    RadiatorRule rule;
    const Transducer* face = nullptr;
};

class Radiator : public Share {
public:
    Radiator(const RectangularTransducer& rectangle, const WaveParameters& wave)
        : rectangle_(rectangle),
          wave_(wave),
          wavelength_(wavelength_of(*rectangle.medium)),
          reference_size_(rectangle.integral->get_npoints()) {
        if (!rectangle.exact()) {
            leave_last_rule();
        }
    }

    void add(PointTile& tile) const override {
        auto& face = tile.room<FaceRule>([] { return std::make_shared<FaceRule>(); });
        const Medium& medium = *rectangle_.medium;
        for (int b = 0; b < tile.blocks(); ++b) {
            Lanes<CartesianCoordinate> local;
            tile.place(rectangle_, b, local);
            for (int lane = 0; lane < tile.present(b); ++lane) {
                const CartesianCoordinate& p = local[static_cast<std::size_t>(lane)];
                if (is_reached(p)) {
                    resize(face, abscissas_at(rectangle_, p.z, wavelength_, reference_size_), tile);
                    const std::complex<double> sum = integrate(face, p, tile);
                    tile.add(b, lane,
                             sum * rectangle_.complex_weight *
                                 std::complex<double>(0.0, medium._f0 * medium._rho_density));
                }
            }
        }
    }

private:
    void resize(FaceRule& face, int N, const PointTile& tile) const {
        if (face.size == N && face.face == &rectangle_) {
            return;
        }
        face.size = 0;
        const auto n = static_cast<std::size_t>(N);
        const QuadratureRule gauss = rule_of(N, [&tile] {
            tile.spend()(steps_between_looks);
            return false;
        });
        const std::size_t padded = (n + block_lanes - 1) / block_lanes * block_lanes;
        face.rule.X.resize(n);
        face.rule.WX.resize(n);
        face.rule.Y.assign(padded, 0.0);
        face.rule.WY.assign(padded, 0.0);
        for (std::size_t i = 0; i < n; ++i) {
            face.rule.X[i] = gauss.abscissas[i] * (rectangle_.width * 0.5);
            face.rule.WX[i] = gauss.weights[i] * (rectangle_.width * 0.5);
            face.rule.Y[i] = gauss.abscissas[i] * (rectangle_.height * 0.5);
            face.rule.WY[i] = gauss.weights[i] * (rectangle_.height * 0.5);
        }
        face.size = N;
        face.face = &rectangle_;
    }

    std::complex<double> integrate(const FaceRule& face, const CartesianCoordinate& p,
                                   const PointTile& tile) const {
        constexpr std::int64_t steps_of_pair = 10;
        const RadiatorForm form =
            rectangle_.exact() ? RadiatorForm::exact : RadiatorForm::reference;
        std::complex<double> sum = 0.0;
        for (int i = 0; i < face.size; ++i) {
            tile.spend()(steps_of_pair * face.size);
            sum += radiator_row(face.rule, i, p.x, p.y, p.z, wave_, form);
        }
        return sum;
    }

    void leave_last_rule() const {
        const CoordinateGrid& grid = *rectangle_.coordinate_grid;
        NumericalIntegration& shared = *rectangle_.integral;
        InterruptCheck check;
        for (int i = grid.npoints - 1; i >= 0; --i) {
            check.spend(4);
            const CartesianCoordinate p = rectangle_.rotateTranslate(grid.spatial_index_value(i));
            if (is_reached(p)) {
                const int N = abscissas_at(rectangle_, p.z, wavelength_, reference_size_);
                QuadratureRule last = rule_of(N, console::interrupted);
                shared.cosines.resize(last.abscissas.size());
                shared.abscissas = std::move(last.abscissas);
                shared.weights = std::move(last.weights);
                shared.npoints = N;
                return;
            }
        }
    }

    const RectangularTransducer& rectangle_;
    const WaveParameters wave_;
    const double wavelength_;
    const int reference_size_;
};

}  // namespace

std::unique_ptr<Share> radiator_share(const RectangularTransducer& rectangle,
                                      const WaveParameters& wave) {
    return std::make_unique<Radiator>(rectangle, wave);
}

}  // namespace kavro
