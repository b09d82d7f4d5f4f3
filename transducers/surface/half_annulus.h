// Surface samples of flat round apertures.
#pragma once

#include <cmath>
#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

#include "core/constants.h"
#include "transducers/surface/surface_rows.h"

namespace kavro {

// Midpoint rule in radius and angle, n by n, over the half 0 <= phi <= pi of an annulus: a circle
// to a row. A disc has the inner radius 0. `apodization`, where there is one, is the weight of a
// radius.
template <class Real>
class HalfAnnulus : public SurfaceRows<Real> {
public:
    HalfAnnulus(int n, double inner, double outer,
                std::function<double(double)> apodization = nullptr)
        : n_(n),
          inner_(inner),
          dr_((outer - inner) / n),
          dphi_(pi / n),
          apodization_(std::move(apodization)) {
        for (int j = 0; j < n_; ++j) {
            cosine_.push_back(std::cos((j + 0.5) * dphi_));
            sine_.push_back(std::sin((j + 0.5) * dphi_));
        }
    }

    int rows() const override { return n_; }
    int samples_per_row() const override { return n_; }

    void fill(int i, SurfaceRow<Real>& row) const override {
        const double r = inner_ + (i + 0.5) * dr_;
        for (std::size_t j = 0; j < cosine_.size(); ++j) {
            row.x[j] = static_cast<Real>(r * cosine_[j]);
            row.y[j] = static_cast<Real>(r * sine_[j]);
            row.z[j] = Real(0);
            row.weight[j] = Real(1);
        }
        row.row_weight = dr_ * r * dphi_ * (apodization_ ? apodization_(r) : 1.0);
    }

private:
    int n_;
    double inner_, dr_, dphi_;
    std::function<double(double)> apodization_;
    std::vector<double> cosine_, sine_;
};

}  // namespace kavro
