#include "transducers/rectangular/farfield.h"

#include <cmath>
#include <complex>

#include "core/numeric_kernels.h"
#include "transducers/blocks/point_tile.h"

namespace kavro {
namespace {

// sin(s) / s; 1 on the axis.
double sinc(double s) {
    return s != 0.0 ? std::sin(s) / s : 1.0;
}

class Farfield : public Share {
public:
    Farfield(const RectangularTransducer& rectangle, const WaveParameters& wave)
        : rectangle_(rectangle), wave_(wave) {
        const Medium& medium = *rectangle.medium;
        const double half_width = rectangle.width * 0.5;
        const double half_height = rectangle.height * 0.5;
        factor_ = std::complex<double>(
                      0.0, medium._f0 * medium._rho_density * 4 * half_width * half_height) *
                  rectangle.complex_weight;
        kx_ = half_width * wave.wavenumber;
        ky_ = half_height * wave.wavenumber;
    }

    int tile_width() const override { return 16 * block_lanes; }

    void add(PointTile& tile) const override {
        for (int b = 0; b < tile.blocks(); ++b) {
            Lanes<CartesianCoordinate> local;
            tile.place(rectangle_, b, local);
            for (int lane = 0; lane < tile.present(b); ++lane) {
                tile.add(b, lane, pressure(local[static_cast<std::size_t>(lane)]));
            }
        }
    }

private:
    std::complex<double> pressure(const CartesianCoordinate& p) const {
        const double R = std::sqrt(p.z * p.z + p.x * p.x + p.y * p.y);
        if (p.z < 0.0 || !(R > 0.0)) {
            return 0.0;
        }
        const std::complex<double> spherical =
            smart_exp(-wave_.attenuation * R, -wave_.wavenumber * R) * factor_ / R;
        return spherical * (sinc(p.x * kx_ / R) * sinc(p.y * ky_ / R));
    }

    const RectangularTransducer& rectangle_;
    const WaveParameters wave_;
    std::complex<double> factor_;
    double kx_, ky_;
};

}  // namespace

std::unique_ptr<Share> farfield_share(const RectangularTransducer& rectangle,
                                      const WaveParameters& wave) {
    return std::make_unique<Farfield>(rectangle, wave);
}

}  // namespace kavro
