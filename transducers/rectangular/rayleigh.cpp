// The rectangle's Rayleigh integrals.
#include <complex>
#include <cstddef>

#include "transducers/blocks/guarded.h"
#include "transducers/rectangular/rectangular_transducer.h"
#include "transducers/rectangular/single_wave.h"
#include "transducers/surface/surface_rows.h"

namespace kavro {
namespace {

// The product of two Gauss rules over the face, a line along y to a row.
template <class Real>
class Face : public SurfaceRows<Real> {
public:
    explicit Face(const RectangularTransducer& rectangle)
        : rule_(*rectangle.integral),
          half_width_(rectangle.width * 0.5),
          half_height_(rectangle.height * 0.5) {}

    int rows() const override { return rule_.get_npoints(); }
    int samples_per_row() const override { return rule_.get_npoints(); }
    bool is_half_of_axisymmetric() const override { return false; }

    void fill(int i, SurfaceRow<Real>& row) const override {
        const auto x = static_cast<Real>(rule_.get_abscissa(i) * half_width_);
        for (int j = 0; j < rule_.get_npoints(); ++j) {
            const auto at = static_cast<std::size_t>(j);
            row.x[at] = x;
            row.y[at] = static_cast<Real>(rule_.get_abscissa(j) * half_height_);
            row.z[at] = Real(0);
            row.weight[at] = static_cast<Real>(rule_.get_weight(j) * half_height_);
        }
        row.row_weight = rule_.get_weight(i) * half_width_;
    }

private:
    const NumericalIntegration& rule_;
    double half_width_, half_height_;
};

// p = j rho f0 w * sum of dA e^(-(alpha + jk) R) / R.
template <class Real>
TransducerStatus solve(RectangularTransducer& rectangle, const WaveParameters& wave) {
    const Medium& medium = *rectangle.medium;
    const std::complex<double> prefactor =
        rectangle.complex_weight * std::complex<double>(0.0, medium._f0 * medium._rho_density);
    rectangle.InitializeRotationMatrix();
    return guarded(
        [&] { return solve_rayleigh(rectangle, Face<Real>(rectangle), wave, prefactor); });
}

}  // namespace

TransducerStatus RectangularTransducer::rayleigh_cw() {
    if (!has_continuous_wave_records()) {
        return status_failure;
    }
    const WaveParameters wave = wave_with_default_frequency(*medium);
    return is_silent() ? status_success : solve<double>(*this, wave);
}

TransducerStatus RectangularTransducer::rayleigh_cw_sse() {
    if (!has_continuous_wave_records()) {
        return status_failure;
    }
    wave_with_default_frequency(*medium);  // for its warning
    return is_silent() ? status_success : solve<float>(*this, single_wave(*medium));
}

}  // namespace kavro
