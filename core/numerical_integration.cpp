#include "core/numerical_integration.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "core/console.h"
#include "core/constants.h"
#include "core/counts.h"
#include "core/input_error.h"
#include "core/interrupted.h"
#include "core/quadrature_rule.h"

namespace kavro {
namespace {

// Asks now and then whether the work is to be given up.
class GiveUp {
public:
    explicit GiveUp(const std::function<bool()>& ask) : ask_(ask) {}

    void spend(std::int64_t steps) {
        steps_ += steps;
        if (steps_ > steps_between_looks && ask_) {
            steps_ = 0;
            given_up_ = given_up_ || ask_();
        }
    }
    bool given_up() const { return given_up_; }

private:
    const std::function<bool()>& ask_;
    std::int64_t steps_ = 0;
    bool given_up_ = false;
};

constexpr std::int64_t terms_at_a_time = std::int64_t{1} << 20;

// The Legendre polynomial of degree n at t, with what the root correction needs of it.
struct LegendreExpansion {
    double value, d1, first, second, third, fourth;  // P_n, (1 - t^2) P_n', P_n', P_n'', ...

    // Nothing of use where it was given up, as the check then says.
    LegendreExpansion(int n, double e1, double t, GiveUp& give_up) {
        double previous = 1.0;
        value = t;
        for (std::int64_t k = 2; k <= n && !give_up.given_up();) {
            const std::int64_t end =
                std::min<std::int64_t>(k + terms_at_a_time, n + std::int64_t{1});
            give_up.spend(end - k);
            for (; k < end; ++k) {
                const double t1 = t * value;
                const double next = t1 - previous - (t1 - previous) / static_cast<double>(k) + t1;
                previous = value;
                value = next;
            }
        }
        const double den = 1.0 - t * t;
        d1 = n * (previous - t * value);
        first = d1 / den;
        second = (2.0 * t * first - e1 * value) / den;
        third = ((2.0 - e1) * first + 4.0 * t * second) / den;
        fourth = ((6.0 - e1) * second + 6.0 * t * third) / den;
    }
};

struct Correction {
    double h;       // distance to the root
    double newton;  // its last, Newton part
};

Correction correction_to_root(const LegendreExpansion& p) {
    const double u = p.value / p.first;
    const double v = p.second / p.first;
    double h = -u * (1.0 + 0.5 * u * (v + u * (v * v - u * p.third / (3.0 * p.first))));
    const double value =
        p.value + h * (p.first + 0.5 * h * (p.second + h / 3.0 * (p.third + 0.25 * h * p.fourth)));
    const double slope = p.first + h * (p.second + 0.5 * h * (p.third + h * p.fourth / 3.0));
    const double newton = value / slope;
    h = h - newton;
    return {h, newton};
}

// False where it was given up.
bool legendre_rule(int n, double* x, double* w, bool refine,
                   const std::function<bool()>& asks = {}) {
    if (n < 1) {
        return true;
    }
    GiveUp give_up(asks);
    const int m = (n + 1) / 2;
    const auto e1 = static_cast<double>(std::int64_t{n} * (std::int64_t{n} + 1));
    const double count = n;
    const double t0 = 1.0 + (1.0 - 1.0 / count) / (-8.0 * count * count);
    for (int i = 1; i <= m; ++i) {
        double t = t0 * std::cos(pi * (4.0 * i - 1.0) / (4.0 * count + 2.0));
        LegendreExpansion p(n, e1, t, give_up);
        if (give_up.given_up()) {
            return false;
        }
        Correction step = correction_to_root(p);
        t = t + step.h;
        if (refine && std::abs(step.newton) / std::abs(t) > 1e-15) {
            p = LegendreExpansion(n, e1, t, give_up);
            step = correction_to_root(p);
            t = t + step.h;
        }
        const double h = step.h;
        const double fx =
            p.d1 -
            h * e1 *
                (p.value +
                 0.5 * h *
                     (p.first + h / 3.0 * (p.second + 0.25 * h * (p.third + 0.2 * h * p.fourth))));
        x[i - 1] = t;
        w[i - 1] = 2.0 * (1.0 - t * t) / (fx * fx);
        x[n - i] = -t;
        w[n - i] = w[i - 1];
    }
    if (n % 2 == 1) {
        x[m - 1] = 0.0;
    }
    return true;
}

double value_or_zero(const std::vector<double>& values, int i, int npoints) {
    return i >= 0 && i < npoints ? values[static_cast<std::size_t>(i)] : 0.0;
}

}  // namespace

bool NumericalIntegration::allocate_memory(int n) {
    if (n < 1) {
        console::print("Illegal number of abscissas %d\n", n);
        throw InputError("Specified number of abscissas is less than 1.\n");
    }
    const auto count = static_cast<std::size_t>(n);
    require_memory(count, 5 * sizeof(double), "abscissas");  // with a Gauss rule's standard rule
    abscissas.resize(count);
    cosines.resize(count);
    weights.resize(count);
    npoints = n;
    return true;
}

bool NumericalIntegration::gauss_quadrature() {
    if (!standard_ || standard_->order() != npoints) {
        standard_ = gauss_rule(npoints);
    }
    std::copy(standard_->abscissas.begin(), standard_->abscissas.end(), abscissas.begin());
    std::copy(standard_->weights.begin(), standard_->weights.end(), weights.begin());
    return true;
}

bool NumericalIntegration::gauss_quadrature(double a, double b) {
    gauss_quadrature();
    const QuadratureRule mapped = standard_->mapped(a, b);
    std::copy(mapped.abscissas.begin(), mapped.abscissas.end(), abscissas.begin());
    std::copy(mapped.weights.begin(), mapped.weights.end(), weights.begin());
    return true;
}

bool NumericalIntegration::gauss_quadrature_cylindrical() {
    gauss_quadrature();
    for (std::size_t i = 0; i < abscissas.size(); ++i) {
        abscissas[i] = abscissas[i] * pi * 0.5 + half_pi;
        cosines[i] = std::cos(abscissas[i]);
        weights[i] = weights[i] * pi * 0.5;
    }
    return true;
}

bool NumericalIntegration::midpoint_rule() {
    const double h = 2.0 / npoints;
    for (std::size_t i = 0; i < abscissas.size(); ++i) {
        abscissas[i] = static_cast<double>(i) * h + (0.5 * h - 1.0);
        weights[i] = h;
    }
    return true;
}

bool NumericalIntegration::midpoint_rule(double a, double b) {
    const double h = (b - a) / npoints;
    for (std::size_t i = 0; i < abscissas.size(); ++i) {
        abscissas[i] = (static_cast<double>(i) - 1.0) * h + (a + 0.5 * h);
        weights[i] = h;
    }
    return true;
}

void NumericalIntegration::grule(int n, double* x, double* w) {
    legendre_rule(n, x, w, false);
}

bool NumericalIntegration::grule(int n, double* x, double* w,
                                 const std::function<bool()>& give_up) {
    return legendre_rule(n, x, w, false, give_up);
}

void NumericalIntegration::modifiedgrule(int n, double* x, double* w) {
    legendre_rule(n, x, w, true);
}

void NumericalIntegration::set_kzk_parameters(float p1, float p2, float p3, float p4, float p5) {
    kzk_parameters.extent = p1;
    kzk_parameters.points_per_radius = p2;
    kzk_parameters.step = kzk_parameters.growth = p3;
    kzk_parameters.implicit = p4;
    kzk_parameters.diffraction = p5;
}

void NumericalIntegration::cw_set_kzk_parameters(float p1, float p2, float p3, int k1, int k2) {
    kzk_parameters.extent = p1;
    kzk_parameters.points_per_radius = p2;
    kzk_parameters.step = kzk_parameters.growth = p3;
    kzk_parameters.harmonics = k1;
    kzk_parameters.source_phase = k2;
}

double NumericalIntegration::get_abscissa(int i) const {
    return value_or_zero(abscissas, i, npoints);
}

double NumericalIntegration::get_weight(int i) const {
    return value_or_zero(weights, i, npoints);
}

}  // namespace kavro
