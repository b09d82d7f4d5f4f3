#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "oracle/kzk.h"

namespace kavro_oracle {
namespace {

using Block = std::array<double, 4>;  // row by row
using Pair = std::array<double, 2>;   // real and imaginary part

Block operator*(const Block& p, const Block& q) {
    return {p[0] * q[0] + p[1] * q[2], p[0] * q[1] + p[1] * q[3], p[2] * q[0] + p[3] * q[2],
            p[2] * q[1] + p[3] * q[3]};
}

Pair operator*(const Block& p, const Pair& q) {
    return {p[0] * q[0] + p[1] * q[1], p[2] * q[0] + p[3] * q[1]};
}

template <std::size_t n>
std::array<double, n> operator-(const std::array<double, n>& p, const std::array<double, n>& q) {
    std::array<double, n> all{};
    std::transform(p.begin(), p.end(), q.begin(), all.begin(), std::minus<>());
    return all;
}

Block inverse(const Block& p) {
    const double over = 1.0 / (p[0] * p[3] - p[1] * p[2]);
    return {p[3] * over, -p[1] * over, -p[2] * over, p[0] * over};
}

struct Row {
    Block lower{}, diagonal{}, upper{};
    Pair right{};
};

// Elimination without pivoting, block by block. The solution replaces the right-hand sides.
void solve(std::vector<Row>& rows) {
    std::vector<Block> ratio(rows.size());
    for (std::size_t j = 0; j < rows.size(); ++j) {
        Row& row = rows[j];
        if (j > 0) {
            row.diagonal = row.diagonal - row.lower * ratio[j - 1];
            row.right = row.right - row.lower * rows[j - 1].right;
        }
        const Block inverted = inverse(row.diagonal);
        ratio[j] = inverted * row.upper;
        row.right = inverted * row.right;
    }
    for (std::size_t j = rows.size() - 1; j-- > 0;) {
        rows[j].right = rows[j].right - ratio[j] * rows[j + 1].right;
    }
}

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
        rows_.resize(static_cast<std::size_t>(Nr_ + 1));
        P_.assign(2 * static_cast<std::size_t>(N_) * rows_.size(), 0.0);
        Q_ = P_;
        alpha_.assign(static_cast<std::size_t>(N_), 0.0);
        delta_ = alpha_;
        const auto values = static_cast<std::size_t>(beam.nx) * static_cast<std::size_t>(beam.nz) *
                            static_cast<std::size_t>(N_);
        field_.real.assign(values, 0.0);
        field_.imag.assign(values, 0.0);
        initial();
    }

    KzkHarmonics march() {
        while (k_ < beam_.nz && sigma_of(k_) < 0) {
            ++k_;  // behind the face
        }
        coeff(0.0);
        double sigma = 0.0;
        for (field_.first_stage = 0; field_.first_stage < 20; ++field_.first_stage) {
            const double R1 = static_cast<double>(beam_.extent);
            const double step =
                (2 * R1) * (2 * R1) * 0.01 / (std::fabs(delta_[0]) * 3947.841760435735);
            advance(sigma, next_range(sigma, step), true);
        }
        for (; k_ < beam_.nz; ++field_.second_stage) {
            const double q = static_cast<double>(beam_.growth);
            advance(sigma, next_range(sigma, q * (1 + sigma) * (1 + sigma)), false);
        }
        return field_;
    }

private:
    std::size_t at(int n, int j) const {
        return static_cast<std::size_t>(n - 1) * rows_.size() + static_cast<std::size_t>(j);
    }
    std::size_t imaginary(int n, int j) const { return P_.size() / 2 + at(n, j); }
    double& re(int n, int j) { return P_[at(n, j)]; }
    double& im(int n, int j) { return P_[imaginary(n, j)]; }
    double g(double sigma) const {
        return !beam_.shell && beam_.source_phase > 0 ? 1 + sigma : 1.0;
    }
    double sigma_of(int k) const {
        const auto z = beam_.z<float>(k);
        return static_cast<double>(
            beam_.shell ? static_cast<float>(static_cast<double>(z) / beam_.roc) : z / zR_);
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
                Q_[at(n, j)] = sum_re * factor;
                Q_[imaginary(n, j)] = sum_im * factor;
            }
        }
    }

    double next_range(double sigma, double step) const {
        const double last = sigma_of(beam_.nz - 1);
        return k_ >= beam_.nz ? last : std::min({sigma + step, sigma_of(k_), last});
    }

    // Backward Euler, or Crank-Nicolson with coefficients of the middle.
    void advance(double& sigma, double next, bool implicit) {
        const double h = next - sigma;
        const std::vector<double> previous = alpha_;
        coeff(implicit ? next : sigma + h / 2);
        nonlin(next);
        for (int n = 1; n <= N_; ++n) {
            const auto i = static_cast<std::size_t>(n - 1);
            const double weight = implicit ? 2 * delta_[i] : delta_[i];
            const double d = weight * h / (dr_ * dr_);
            matrix(1 + (implicit ? alpha_[i] * h : alpha_[i] * h / 2), d);
            const double e = 1 - previous[i] * h / 2;
            for (int j = 0; j <= Nr_; ++j) {
                rows_[static_cast<std::size_t>(j)].right =
                    implicit ? Pair{re(n, j) + h * Q_[at(n, j)], im(n, j) + h * Q_[imaginary(n, j)]}
                             : crank_nicolson(n, j, h, d, e);
            }
            solve(rows_);
            for (int j = 0; j <= Nr_; ++j) {
                re(n, j) = rows_[static_cast<std::size_t>(j)].right[0];
                im(n, j) = rows_[static_cast<std::size_t>(j)].right[1];
            }
        }
        sigma = next;
        record(sigma);
    }

    // The off-diagonal entries of every block have the sign that makes the implicit side diffract
    // in the same sense as the explicit one.
    void matrix(double diagonal, double d) {
        for (int j = 0; j <= Nr_; ++j) {
            const double twist = j == 0 ? 2 * d : d;
            const double below = j == 0 ? 0.0 : (1 - 0.5 / j) * d / 2;
            const double above = j == 0 ? 2 * d : (1 + 0.5 / j) * d / 2;
            rows_[static_cast<std::size_t>(j)] = {{0.0, -below, below, 0.0},
                                                  {diagonal, twist, -twist, diagonal},
                                                  {0.0, -above, above, 0.0},
                                                  {}};
        }
    }

    Pair crank_nicolson(int n, int j, double h, double d, double e) {
        const double next_re = j < Nr_ ? re(n, j + 1) : 0.0;
        const double next_im = j < Nr_ ? im(n, j + 1) : 0.0;
        const double first_re = Q_[at(n, j)] * h + e * re(n, j);
        const double first_im = Q_[imaginary(n, j)] * h + e * im(n, j);
        if (j == 0) {
            return {first_re + 2 * d * (next_im - im(n, 0)),
                    first_im - 2 * d * (next_re - re(n, 0))};
        }
        const double below = 1 - 0.5 / j;
        const double above = 1 + 0.5 / j;
        return {first_re + d / 2 * (below * im(n, j - 1) + above * next_im - 2 * im(n, j)),
                first_im - d / 2 * (below * re(n, j - 1) + above * next_re - 2 * re(n, j))};
    }

    void record(double sigma) {
        if (k_ >= beam_.nz || sigma < sigma_of(k_)) {
            return;
        }
        const double spread = g(sigma_of(k_));
        for (int ix = 0; ix < beam_.nx; ++ix) {
            const double place =
                static_cast<double>(beam_.r<float>(ix) * beam_.points_per_radius) / spread + 0.5;
            for (int n = 1; n <= N_ && place < Nr_ + 1.0; ++n) {
                const int j = static_cast<int>(place);
                const auto to =
                    static_cast<std::size_t>(ix + beam_.nx * k_ + beam_.nx * beam_.nz * (n - 1));
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
    std::vector<double> P_, Q_, alpha_, delta_;
    std::vector<Row> rows_;
};

}  // namespace

KzkHarmonics kzk_cw(const KzkBeam& beam) {
    return HarmonicMarch(beam).march();
}

}  // namespace kavro_oracle
