#include <algorithm>
#include <cmath>
#include <cstddef>

#include "oracle/kzk.h"

namespace kavro_oracle {
namespace {

class HarmonicMarch {
public:
    explicit HarmonicMarch(const KzkBeam& beam) : beam_(beam), N_(beam.harmonics) {
        const double a = beam.radius;
        const double c = beam.speed;
        const auto u0 = static_cast<double>(static_cast<float>(beam.amplitude));
        const auto w = static_cast<double>(static_cast<float>(beam.f0) * 6.2831855f);
        zR_ = static_cast<float>(a * w * a * 0.5 / c);
        G_ = static_cast<double>(zR_) / beam.roc;
        const double range = beam.shell ? beam.roc : static_cast<double>(zR_);
        A_ = (beam.f0 / 1e6) * (range * beam.attenuation * 100 / 8.686);
        Kn_ = beam.shell ? beam.roc * beam.beta * w * u0 / (c * c)
                         : beam.beta * a * a * w * w * u0 * 0.5 / (c * c * c);
        scale_ = beam.density * u0 * c;
        R_ = static_cast<int>(beam.extent);
        Nr_ = static_cast<int>(static_cast<float>(R_) * beam.points_per_radius);
        dr_ = static_cast<double>(R_) / (Nr_ + 1);
        const auto rows = static_cast<std::size_t>(Nr_ + 1);
        P_.assign(2 * static_cast<std::size_t>(N_) * rows, 0.0);
        Q_.assign(P_.size(), 0.0);
        alpha_.assign(static_cast<std::size_t>(N_), 0.0);
        previous_ = delta_ = alpha_;
        matrix_.assign(12 * rows, 0.0);
        bet_ = gam_ = matrix_;
        r_.assign(2 * rows, 0.0);
        planes();
        initial();
    }

    KzkHarmonics march() {
        coeff(0.0);
        previous_ = alpha_;
        double sigma = 0.0;
        for (int s = 1; s <= 20; ++s) {
            const double R1 = static_cast<double>(beam_.extent);
            const double step =
                (2 * R1) * (2 * R1) * 0.01 / (std::fabs(delta_[0]) * 3947.841760435735);
            const double next = next_range(sigma, step);
            coeff(next);
            nonlin(next);
            for (int n = 1; n <= N_; ++n) {
                backward_euler(n, next - sigma);
            }
            sigma = next;
            previous_ = alpha_;
            record(sigma);
            ++field_.first_stage;
        }
        while (k_ < beam_.nz) {
            const double q = static_cast<double>(beam_.growth);
            const double next = next_range(sigma, q * (1 + sigma) * (1 + sigma));
            const double h = next - sigma;
            coeff(sigma + h / 2);
            nonlin(next);
            for (int n = 1; n <= N_; ++n) {
                crank_nicolson(n, h);
            }
            sigma = next;
            previous_ = alpha_;
            record(sigma);
            ++field_.second_stage;
        }
        return field_;
    }

private:
    std::size_t at(int n, int j) const {
        return static_cast<std::size_t>(n - 1) * static_cast<std::size_t>(Nr_ + 1) +
               static_cast<std::size_t>(j);
    }
    std::size_t half() const { return P_.size() / 2; }
    double& re(int n, int j) { return P_[at(n, j)]; }
    double& im(int n, int j) { return P_[half() + at(n, j)]; }
    double& qre(int n, int j) { return Q_[at(n, j)]; }
    double& qim(int n, int j) { return Q_[half() + at(n, j)]; }
    double& r(int j, int part) { return r_[static_cast<std::size_t>(2 * j + part)]; }
    // Entry 0 to 3 of the lower (0), diagonal (1) and upper (2) block of row j.
    double& entry(int j, int block, int i) {
        return matrix_[static_cast<std::size_t>(12 * j + 4 * block + i)];
    }
    double g(double sigma) const {
        return !beam_.shell && beam_.source_phase > 0 ? 1 + sigma : 1.0;
    }

    void planes() {
        const auto zmin = static_cast<float>(beam_.zmin);
        const auto xmin = static_cast<float>(beam_.xmin);
        for (int k = 0; k < beam_.nz; ++k) {
            const float z = beam_.nz == 1
                                ? zmin
                                : static_cast<float>(k) * (static_cast<float>(beam_.zmax) - zmin) /
                                          (static_cast<float>(beam_.nz) - 1.0f) +
                                      zmin;
            sigma_of_.push_back(static_cast<double>(
                beam_.shell ? static_cast<float>(static_cast<double>(z) / beam_.roc) : z / zR_));
        }
        const float dx = beam_.nx > 1 ? (static_cast<float>(beam_.xmax) - xmin) /
                                            static_cast<float>(beam_.nx - 1)
                                      : 0.0f;
        for (int m = 0; m < beam_.nx; ++m) {
            x_of_.push_back(std::fabs(static_cast<float>(
                static_cast<double>(static_cast<float>(m) * dx + xmin) / beam_.radius)));
        }
        const auto values = static_cast<std::size_t>(beam_.nx) *
                            static_cast<std::size_t>(beam_.nz) * static_cast<std::size_t>(N_);
        field_.real.assign(values, 0.0);
        field_.imag.assign(values, 0.0);
        while (k_ < beam_.nz && sigma_of_[static_cast<std::size_t>(k_)] < 0) {
            ++k_;  // behind the face
        }
    }

    void initial() {
        for (int j = 0; j <= Nr_; ++j) {
            const double radius = static_cast<double>(j) * R_ / (Nr_ + 1);
            const double w = std::fabs(radius) <= 1 ? 1.0 : 0.0;
            const double phase = beam_.shell ? G_ * radius * radius : radius * radius;
            const bool curved = beam_.shell || beam_.source_phase > 0;
            re(1, j) = curved ? w * std::sin(phase) : w;
            im(1, j) = curved ? w * std::cos(phase) : 0.0;
        }
    }

    void coeff(double sigma) {
        for (int n = 1; n <= N_; ++n) {
            const double spread = beam_.shell ? G_ : g(sigma) * g(sigma);
            alpha_[static_cast<std::size_t>(n - 1)] = n * A_ * n;
            delta_[static_cast<std::size_t>(n - 1)] = -1.0 / (4.0 * n * spread);
        }
    }

    void nonlin(double sigma) {
        for (int n = 1; n <= N_; ++n) {
            const double factor = n * Kn_ * 0.5 / g(sigma);
            for (int j = 0; j <= Nr_; ++j) {
                double sum_re = 0.0;
                double sum_im = 0.0;
                for (int k = 1; k < n; ++k) {
                    sum_re += im(k, j) * re(n - k, j);
                    sum_im += im(k, j) * im(n - k, j) - re(k, j) * re(n - k, j);
                }
                sum_im *= 0.5;
                for (int m = n + 1; m <= N_; ++m) {
                    sum_re += re(m - n, j) * im(m, j) - im(m - n, j) * re(m, j);
                    sum_im -= re(m - n, j) * re(m, j) + im(m - n, j) * im(m, j);
                }
                qre(n, j) = sum_re * factor;
                qim(n, j) = sum_im * factor;
            }
        }
    }

    double next_range(double sigma, double step) const {
        const double last = sigma_of_.back();
        if (k_ >= beam_.nz) {
            return last;
        }
        return std::min({sigma + step, sigma_of_[static_cast<std::size_t>(k_)], last});
    }

    // The off-diagonal entries of every block have the sign that makes the implicit side diffract
    // in the same sense as the explicit one.
    void matrix(double diagonal, double d) {
        for (int j = 0; j <= Nr_; ++j) {
            const double twist = j == 0 ? 2 * d : d;
            entry(j, 1, 0) = entry(j, 1, 3) = diagonal;
            entry(j, 1, 1) = twist;
            entry(j, 1, 2) = -twist;
            if (j > 0) {
                const double below = (1 - 0.5 / j) * d / 2;
                entry(j, 0, 1) = -below;
                entry(j, 0, 2) = below;
            }
            if (j < Nr_) {
                const double above = j == 0 ? 2 * d : (1 + 0.5 / j) * d / 2;
                entry(j, 2, 1) = -above;
                entry(j, 2, 2) = above;
            }
        }
    }

    void solve(int n) {
        block_tridiagonal(matrix_.data(), Nr_, r_.data(), bet_.data(), gam_.data());
        for (int j = 0; j <= Nr_; ++j) {
            re(n, j) = r(j, 0);
            im(n, j) = r(j, 1);
        }
    }

    void backward_euler(int n, double h) {
        const auto i = static_cast<std::size_t>(n - 1);
        matrix(1 + alpha_[i] * h, 2 * delta_[i] * h / (dr_ * dr_));
        for (int j = 0; j <= Nr_; ++j) {
            r(j, 0) = re(n, j) + h * qre(n, j);
            r(j, 1) = im(n, j) + h * qim(n, j);
        }
        solve(n);
    }

    void crank_nicolson(int n, double h) {
        const auto i = static_cast<std::size_t>(n - 1);
        const double d = delta_[i] * h / (dr_ * dr_);
        const double e = 1 - previous_[i] * h / 2;
        matrix(1 + alpha_[i] * h / 2, d);
        r(0, 0) = qre(n, 0) * h + e * re(n, 0) + 2 * d * (im(n, 1) - im(n, 0));
        r(0, 1) = qim(n, 0) * h + e * im(n, 0) - 2 * d * (re(n, 1) - re(n, 0));
        for (int j = 1; j <= Nr_; ++j) {
            const double below = 1 - 0.5 / j;
            const double above = 1 + 0.5 / j;
            const double next_re = j < Nr_ ? re(n, j + 1) : 0.0;
            const double next_im = j < Nr_ ? im(n, j + 1) : 0.0;
            r(j, 0) = qre(n, j) * h + e * re(n, j) +
                      d / 2 * (below * im(n, j - 1) + above * next_im - 2 * im(n, j));
            r(j, 1) = qim(n, j) * h + e * im(n, j) -
                      d / 2 * (below * re(n, j - 1) + above * next_re - 2 * re(n, j));
        }
        solve(n);
    }

    void record(double sigma) {
        if (k_ >= beam_.nz || sigma < sigma_of_[static_cast<std::size_t>(k_)]) {
            return;
        }
        const double spread = g(sigma_of_[static_cast<std::size_t>(k_)]);
        for (int ix = 0; ix < beam_.nx; ++ix) {
            const double place =
                static_cast<double>(x_of_[static_cast<std::size_t>(ix)] * beam_.points_per_radius) /
                    spread +
                0.5;
            const bool axis = ix == 0 && !beam_.exact;
            for (int n = 1; n <= N_ && (axis || place < Nr_ + 1.0); ++n) {
                const int j = axis ? 0 : static_cast<int>(place);
                const auto to =
                    static_cast<std::size_t>(ix + beam_.nx * k_) +
                    static_cast<std::size_t>(beam_.nx * beam_.nz) * static_cast<std::size_t>(n - 1);
                field_.real[to] = re(n, j) * scale_ / spread;
                field_.imag[to] = im(n, j) * scale_ / spread;
            }
        }
        ++k_;
    }

    const KzkBeam& beam_;
    KzkHarmonics field_;
    int N_, R_, Nr_, k_ = 0;
    float zR_;
    double G_, A_, Kn_, scale_, dr_;
    std::vector<double> P_, Q_, alpha_, previous_, delta_, matrix_, bet_, gam_, r_, sigma_of_;
    std::vector<float> x_of_;
};

}  // namespace

KzkHarmonics kzk_cw(const KzkBeam& beam) {
    return HarmonicMarch(beam).march();
}

}  // namespace kavro_oracle
