// Rayleigh integrals: sums over samples of an aperture's surface.
#pragma once

#include <cmath>
#include <complex>
#include <cstddef>
#include <memory>

#include "core/aligned_vector.h"
#include "core/cartesian_coordinate.h"
#include "core/constants.h"
#include "transducers/blocks/share.h"
#include "transducers/methods/wave_parameters.h"
#include "transducers/transducer.h"

namespace kavro {

// One row of surface samples in the element's frame (m). The area of a sample is its weight times
// the row's (m^2 in all).
template <class Real>
struct SurfaceRow {
    AlignedVector<Real> x, y, z, weight;
    double row_weight = 0.0;

    explicit SurfaceRow(int samples) { resize(samples); }

    void resize(int samples) {
        for (auto* values : {&x, &y, &z, &weight}) {
            values->resize(static_cast<std::size_t>(samples));
        }
    }
};

// Near a sample its share, area/R, would grow without bound. There it is the mean over a disc of
// the sample's area S around it, 2 sqrt(pi S), wherever the mean is smaller: where R^2 <= S/(4 pi).
// Within rounding, it is taken for points that only rounding keeps off the sample. An apodization
// counts as part of the area: the share stays finite and continuous, and the sum converges.
//
// The largest R^2 that takes the mean, in areas of a sample.
inline double averaged_within(bool means_within_rounding) {
    return (means_within_rounding ? 1e-10 : 1.0) / (4.0 * pi);
}

// m, from m^2.
inline double mean_share(double area) {
    return std::copysign(2.0 * std::sqrt(pi * std::abs(area)), area);
}

// A shape supplies its surface row by row; read by several threads at once.
template <class Real>
class SurfaceRows {
public:
    virtual ~SurfaceRows() = default;
    virtual int rows() const = 0;
    virtual int samples_per_row() const = 0;
    virtual void fill(int row, SurfaceRow<Real>& samples) const = 0;

    // Whether the rows hold only the half y >= 0 of an aperture that is symmetric about its axis:
    // points are then turned to (r, 0, z), and the method's prefactor counts the other half.
    virtual bool is_half_of_axisymmetric() const { return true; }

    // A point in the element's frame as the rows want it.
    CartesianCoordinate turned(const CartesianCoordinate& p) const {
        return is_half_of_axisymmetric()
                   ? CartesianCoordinate{std::sqrt(p.x * p.x + p.y * p.y), 0.0, p.z}
                   : p;
    }

    // Whether a point in the element's frame receives anything.
    virtual bool reaches(const CartesianCoordinate& point) const { return !(point.z < 0.0); }
};

struct SurfaceManners {
    bool means_within_rounding;
    // Of single precision:
    bool in_fours;     // samples of a row beyond a multiple of four are left out
    bool from_middle;  // the phase of the path from the face's middle is taken off before rounding
};

// Adds prefactor * sum over the samples of area e^(-(alpha + jk) R) / R at every point. In single
// precision, the samples of a row are summed in four partial sums, sample j in sum j mod 4, which
// are added and widened before the row's weight is applied.
template <class Real>
std::unique_ptr<Share> rayleigh_share(const Transducer& element,
                                      std::unique_ptr<SurfaceRows<Real>> surface,
                                      const WaveParameters& wave, const SurfaceManners& manners,
                                      std::complex<double> prefactor);

// Adds amplitude * prefactor * sum over the samples of area v'(t - R/c - delay) / R.
std::unique_ptr<Share> rayleigh_transient_share(const Transducer& element,
                                                std::unique_ptr<SurfaceRows<double>> surface,
                                                const SurfaceManners& manners, double prefactor);

}  // namespace kavro
