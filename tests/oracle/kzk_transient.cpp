#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "oracle/kzk.h"

namespace kavro_oracle {
namespace {

template <class Real>
class TransientMarch {
public:
    explicit TransientMarch(const KzkBeam& beam) : beam_(beam) {
        scales();
        radial_grid();
        retarded_time();
        coefficients();
        planes();
        source();
    }

    KzkTransientField march() {
        int total = static_cast<int>(static_cast<double>(sigma_max_ / step_) + 1.0);
        Real sigma = 0;
        int k = 1;
        Real target = sigma_of_[0];
        Real h = 11 * step_;
        bool shock = false;
        for (int s = 1; s <= total; ++s) {
            Real delta = step_;
            if (h / 2 < step_) {
                delta = h / 2;
                ++total;
                ++field_.shortened;
            }
            if (shock) {
                s = total + 1;
                field_.shock = true;
            }
            if (beam_.diffraction == 1.0f) {
                diffract(delta);
            }
            if (A_ != 0) {
                absorb(delta);
            }
            sigma += delta;
            if (Kn_ != 0) {
                const Real steepest = distort(delta, shock);
                h = Real(1) / (steepest * Kn_);
            }
            ++field_.steps;
            if (k <= beam_.nz && sigma > target) {
                record(k - 1);
                field_.recorded_at.push_back(static_cast<double>(sigma));
                if (sigma >= sigma_max_) {
                    s = total;
                }
                ++k;
                if (k <= beam_.nz) {
                    target = sigma_of_[static_cast<std::size_t>(k - 1)];
                }
            }
        }
        output();
        return field_;
    }

private:
    Real& p(int i, int j) {
        return grid_[static_cast<std::size_t>(i) * static_cast<std::size_t>(Nr_ + 1) +
                     static_cast<std::size_t>(j)];
    }
    double tau(int i) const {
        return i >= 0 && static_cast<std::size_t>(i) < beam_.taus.size()
                   ? beam_.taus[static_cast<std::size_t>(i)]
                   : 0.0;
    }

    void scales() {
        const double a = beam_.radius;
        const double c = beam_.speed;
        u0_ = static_cast<Real>(beam_.amplitude);
        f0_ = static_cast<Real>(beam_.f0);
        omega0_ = static_cast<Real>(6.28318530717958 * static_cast<double>(f0_));
        const auto w = static_cast<double>(omega0_);
        zR_ = static_cast<Real>(a * w * a * 0.5 / c);
        G_ = beam_.shell ? static_cast<Real>(static_cast<double>(zR_) / beam_.roc) : Real(1);
    }

    void radial_grid() {
        P_ = static_cast<Real>(beam_.points_per_radius);
        Nr_ = static_cast<int>(static_cast<Real>(static_cast<int>(beam_.extent)) * P_);
        dr_ = Real(1) / P_;
        step_ = static_cast<Real>(beam_.step);
    }

    void retarded_time() {
        const auto w = static_cast<double>(omega0_);
        const Real T = static_cast<Real>((beam_.tmax - beam_.zmax / beam_.speed) * w) -
                       static_cast<Real>(beam_.tmin * w);
        const Real rate = (Real(1) / static_cast<Real>(beam_.deltat)) / f0_;
        Nt_ = static_cast<int>(
            std::floor(static_cast<double>(T) * 0.5 / 3.1415927 * static_cast<double>(rate) + 0.5));
        dt_ = T / static_cast<Real>(Nt_);
        field_.step = static_cast<double>(dt_);
        i0_ = static_cast<int>(-static_cast<Real>(beam_.tmin * w) / dt_);
        grid_.assign(static_cast<std::size_t>(Nt_ + 1) * static_cast<std::size_t>(Nr_ + 1), 0);
        const auto longest = static_cast<std::size_t>(std::max(Nt_, Nr_) + 1);
        for (std::vector<Real>* v : {&a_, &b_, &c_, &r_, &x_, &bet_, &gam_, &sum_}) {
            v->assign(longest, 0);
        }
        u_.assign(static_cast<std::size_t>(Nt_ + 1), 0);
        shifted_.assign(static_cast<std::size_t>(Nt_ + 1), 0);
    }

    void coefficients() {
        const double a = beam_.radius;
        const double c = beam_.speed;
        const auto w = static_cast<double>(omega0_);
        const auto u0 = static_cast<double>(u0_);
        const double Kn = beam_.shell ? beam_.roc * beam_.beta * w * u0 / (c * c)
                                      : beam_.beta * a * a * w * w * u0 * 0.5 / (c * c * c);
        Kn_ = static_cast<Real>(Kn);
        const double MHz = static_cast<double>(f0_) / 1e6;
        const double range = beam_.shell ? beam_.roc : static_cast<double>(zR_);
        A_ = beam_.shell ? static_cast<Real>(MHz * (beam_.attenuation * range * 100 / 8.686))
                         : static_cast<Real>(MHz * (range * beam_.attenuation * 100.0 / 8.686));
        sigma_max_ =
            beam_.shell
                ? static_cast<Real>(beam_.zmax * static_cast<double>(G_) / static_cast<double>(zR_))
                : static_cast<Real>(beam_.zmax / (a * a * 0.5 / c * w));
    }

    Real z_of(int k) const {
        const auto zmin = static_cast<Real>(beam_.zmin);
        if (beam_.nz == 1) {
            return zmin;
        }
        return static_cast<Real>(k) * (static_cast<Real>(beam_.zmax) - zmin) /
                   (static_cast<Real>(beam_.nz) - Real(1)) +
               zmin;
    }

    void planes() {
        for (int k = 0; k < beam_.nz; ++k) {
            const Real sigma = z_of(k) / zR_;
            sigma_of_.push_back(beam_.shell ? sigma * G_ : sigma);
        }
        const auto xmin = static_cast<Real>(beam_.xmin);
        const Real dx =
            beam_.nx > 1 ? (static_cast<Real>(beam_.xmax) - xmin) / static_cast<Real>(beam_.nx - 1)
                         : Real(0);
        for (int m = 0; m < beam_.nx; ++m) {
            const auto x = static_cast<Real>(static_cast<double>(static_cast<Real>(m) * dx + xmin) /
                                             beam_.radius);
            const double j = static_cast<double>(std::fabs(x) * P_) + 0.5;
            column_of_.push_back(j < Nr_ + 1.0 ? static_cast<int>(j) : -1);
        }
        if (!beam_.exact) {
            column_of_[0] = 0;
        }
        recorded_.assign(
            static_cast<std::size_t>(beam_.nx * beam_.nz) * static_cast<std::size_t>(Nt_ + 1), 0.0);
    }

    void source() {
        const auto w = static_cast<double>(omega0_);
        const double cycles = 3.14159265358979 * 2 * static_cast<double>(f0_) * beam_.duration;
        const int end =
            std::min(static_cast<int>(cycles / static_cast<double>(dt_) + 1.0) + i0_, Nt_);
        for (int i = i0_; i <= end; ++i) {
            for (int j = 0; static_cast<Real>(j) <= P_ && j <= Nr_; ++j) {
                const Real r = static_cast<Real>(j) * dr_;
                const int row = beam_.shell ? i - static_cast<int>(r * r * G_ / dt_) : i;
                if (row >= 0) {
                    p(row, j) = static_cast<Real>(beam_.waveform(tau(i) / w));
                }
            }
        }
    }

    // (e - 1) alpha / part or (e + 1) alpha / part; the shell's are formed in double.
    Real share(int j, int sign, Real alpha, int part, bool in_double) const {
        const Real e = Real(1) / static_cast<Real>(2 * j);
        if (in_double) {
            return static_cast<Real>((static_cast<double>(e) + sign) * static_cast<double>(alpha) /
                                     part);
        }
        return (e + static_cast<Real>(sign)) * alpha / static_cast<Real>(part);
    }

    void diffract(Real delta) {
        const Real alpha = beam_.shell ? dt_ * delta / (dr_ * dr_ * G_) : dt_ * delta / (dr_ * dr_);
        if (beam_.scheme == 1.0f) {
            matrix(alpha, 8, false);
            diffract_implicit(alpha);
        } else {
            matrix(alpha, 16, beam_.shell);
            diffract_crank_nicolson(alpha);
        }
    }

    void matrix(Real alpha, int part, bool in_double) {
        const auto axis = static_cast<Real>(part / 4);
        const auto rest = static_cast<Real>(part / 2);
        b_[0] = 1 + alpha / axis;
        c_[0] = -alpha / axis;
        for (int j = 1; j < Nr_; ++j) {
            const auto at = static_cast<std::size_t>(j);
            a_[at] = share(j, -1, alpha, part, in_double);
            b_[at] = 1 + alpha / rest;
            c_[at] = j < Nr_ - 1 ? -share(j, 1, alpha, part, in_double) : Real(0);
        }
    }

    void diffract_implicit(Real alpha) {
        const int last = Nr_ - 1;
        std::fill(sum_.begin(), sum_.end(), Real(0));
        for (int i = 1; i < Nt_; ++i) {
            for (int j = 0; j < Nr_; ++j) {
                S(j) += p(i - 1, j);
            }
            R(0) = p(i, 0) + alpha * (S(1) - S(0));
            for (int j = 1; j <= last; ++j) {
                const Real e = Real(1) / static_cast<Real>(2 * j);
                R(j) = j < last ? p(i, j) + alpha / 4 * (1 + e) * S(j + 1) - alpha / 2 * S(j) +
                                      alpha / 4 * (1 - e) * S(j - 1)
                                : p(i, j) - alpha / 2 * S(j) + alpha / 4 * (1 - e) * S(j - 1);
            }
            solve(0, last);
            for (int j = 0; j < Nr_; ++j) {
                p(i, j) = x_[static_cast<std::size_t>(j)];
            }
        }
    }

    void diffract_crank_nicolson(Real alpha) {
        const int last = Nr_ - 1;
        std::fill(sum_.begin(), sum_.end(), Real(0));
        std::fill(x_.begin(), x_.end(), Real(0));
        for (int i = 1; i < Nt_; ++i) {
            for (int j = 0; j < Nr_; ++j) {
                S(j) += x_[static_cast<std::size_t>(j)];
            }
            R(0) = 2 * p(i, 0) + alpha / 2 * (S(1) - S(0));
            for (int j = 1; j <= last; ++j) {
                const Real e = Real(1) / static_cast<Real>(2 * j);
                R(j) = j < last ? 2 * p(i, j) + alpha / 8 * (1 + e) * S(j + 1) - alpha / 4 * S(j) +
                                      alpha / 8 * (1 - e) * S(j - 1)
                                : 2 * p(i, j) - alpha / 4 * S(j) + alpha / 8 * (1 - e) * S(j - 1);
            }
            solve(0, last);
            for (int j = 0; j < Nr_; ++j) {
                p(i, j) = x_[static_cast<std::size_t>(j)] - p(i, j);
            }
        }
    }

    void absorb(Real delta) {
        const Real kappa = delta * A_ / (dt_ * dt_);
        const bool implicit = beam_.scheme == 1.0f;
        for (int i = 1; i < Nt_; ++i) {
            const auto at = static_cast<std::size_t>(i);
            a_[at] = c_[at] = implicit ? -kappa : -kappa / 2;
            b_[at] = implicit ? 1 + 2 * kappa : 1 + kappa;
        }
        for (int j = 0; j < Nr_; ++j) {
            for (int i = 1; i < Nt_; ++i) {
                R(i) = implicit ? p(i, j)
                                : kappa / 2 * p(i + 1, j) + (1 - kappa) * p(i, j) +
                                      kappa / 2 * p(i - 1, j);
            }
            solve(1, Nt_ - 1);
            for (int i = 1; i < Nt_; ++i) {
                p(i, j) = x_[static_cast<std::size_t>(i)];
            }
        }
    }

    // The steepest slope, counted along the sign of Kn.
    Real distort(Real delta, bool& shock) {
        const Real lambda = delta * Kn_;
        Real steepest = 0;
        for (int j = 0; j <= Nr_; ++j) {
            for (int i = 0; i <= Nt_; ++i) {
                u_[static_cast<std::size_t>(i)] = p(i, j);
                shifted_[static_cast<std::size_t>(i)] =
                    static_cast<Real>(tau(i) - static_cast<double>(p(i, j) * lambda));
                if (i >= 2 && shifted_[static_cast<std::size_t>(i)] <=
                                  shifted_[static_cast<std::size_t>(i - 1)]) {
                    shock = true;
                }
            }
            resample(j, steepest);
        }
        return steepest;
    }

    void resample(int j, Real& steepest) {
        std::size_t kk = 1;
        for (int i = 1; i < Nt_; ++i) {
            while (kk <= static_cast<std::size_t>(Nt_) &&
                   static_cast<double>(shifted_[kk]) < tau(i)) {
                ++kk;
            }
            if (kk > static_cast<std::size_t>(Nt_)) {
                for (int rest = i; rest < Nt_; ++rest) {
                    p(rest, j) = p(Nt_, j);
                }
                return;
            }
            const Real slope = (u_[kk] - u_[kk - 1]) / (shifted_[kk] - shifted_[kk - 1]);
            if (Kn_ > 0 ? slope > steepest : slope < steepest) {
                steepest = slope;
            }
            p(i, j) = static_cast<Real>((tau(i) - static_cast<double>(shifted_[kk - 1])) *
                                            static_cast<double>(slope) +
                                        static_cast<double>(u_[kk - 1]));
        }
    }

    void record(int k) {
        for (int m = 0; m < beam_.nx; ++m) {
            const int j = column_of_[static_cast<std::size_t>(m)];
            for (int i = 0; i <= Nt_; ++i) {
                recorded_[static_cast<std::size_t>(m + beam_.nx * k) *
                              static_cast<std::size_t>(Nt_ + 1) +
                          static_cast<std::size_t>(i)] = j < 0 ? 0.0 : static_cast<double>(p(i, j));
            }
        }
    }

    void output() {
        const auto ntimes = static_cast<int>(beam_.times.size());
        const double spacing = static_cast<double>(dt_) / static_cast<double>(omega0_);
        field_.rows =
            std::min(static_cast<int>((beam_.tmax - beam_.tmin) * static_cast<double>(omega0_) /
                                      static_cast<double>(dt_)),
                     ntimes);
        const int points = beam_.nx * beam_.nz;
        field_.pressure.assign(
            static_cast<std::size_t>(points) * static_cast<std::size_t>(field_.rows), 0.0);
        for (int q = 0; q < points; ++q) {
            const auto delay = static_cast<double>(static_cast<Real>(
                static_cast<double>(z_of(q / beam_.nx)) / beam_.speed + beam_.tmin));
            int start = 0;
            while (start < field_.rows && beam_.times[static_cast<std::size_t>(start)] < delay &&
                   delay - beam_.times[static_cast<std::size_t>(start)] > spacing / 2) {
                ++start;
            }
            for (int n = start; n < field_.rows && n - start <= Nt_; ++n) {
                const auto row = static_cast<std::size_t>(n - start);
                field_.pressure[static_cast<std::size_t>(q) +
                                static_cast<std::size_t>(n) * static_cast<std::size_t>(points)] =
                    beam_.speed * static_cast<double>(u0_) * beam_.density *
                    recorded_[static_cast<std::size_t>(q) * static_cast<std::size_t>(Nt_ + 1) +
                              row];
            }
        }
    }

    Real& S(int j) { return sum_[static_cast<std::size_t>(j)]; }
    Real& R(int j) { return r_[static_cast<std::size_t>(j)]; }
    void solve(int first, int last) {
        tridiagonal(static_cast<float>(first), static_cast<float>(last), a_.data(), b_.data(),
                    c_.data(), r_.data(), x_.data(), bet_.data(), gam_.data());
    }

    const KzkBeam& beam_;
    KzkTransientField field_;
    Real u0_, f0_, omega0_, zR_, G_, Kn_, A_, sigma_max_, P_, dr_, dt_, step_;
    int Nr_, Nt_, i0_;
    std::vector<Real> grid_, a_, b_, c_, r_, x_, bet_, gam_, sum_, u_, shifted_, sigma_of_;
    std::vector<int> column_of_;
    std::vector<double> recorded_;
};

}  // namespace

template <class Real>
KzkTransientField kzk_transient(const KzkBeam& beam) {
    return TransientMarch<Real>(beam).march();
}

template KzkTransientField kzk_transient<float>(const KzkBeam&);
template KzkTransientField kzk_transient<double>(const KzkBeam&);

}  // namespace kavro_oracle
