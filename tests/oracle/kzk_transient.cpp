#include <algorithm>
#include <cmath>
#include <cstddef>

#include "oracle/kzk.h"

namespace kavro_oracle {
namespace {

template <class Real>
class TransientMarch {
public:
    explicit TransientMarch(const KzkBeam& beam) : beam_(beam) {
        scales();
        grid();
        source();
    }

    KzkTransientField march() {
        int total = static_cast<int>(static_cast<double>(sigma_max_ / step_) + 1.0);
        Real sigma = 0;
        int k = 0;
        Real h = 11 * step_;
        bool shock = false;
        for (int s = 1; s <= total; ++s) {
            Real delta = step_;
            if (h / 2 < step_) {
                delta = h / 2;
                ++total;
            }
            if (shock) {
                s = total + 1;
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
            if (k < beam_.nz && sigma > beam_.z<Real>(k) / zR_ * G_) {
                record(k);
                if (sigma >= sigma_max_) {
                    s = total;
                }
                ++k;
            }
        }
        return output();
    }

private:
    Real& p(int i, int j) {
        return grid_[static_cast<std::size_t>(i) * static_cast<std::size_t>(Nr_ + 1) +
                     static_cast<std::size_t>(j)];
    }
    // Of the vectors of the linear systems.
    static std::size_t at(int i) { return static_cast<std::size_t>(i); }
    double tau(int i) const {
        return i >= 0 && at(i) < beam_.taus.size() ? beam_.taus[at(i)] : 0.0;
    }

    void scales() {
        const double a = beam_.radius;
        const double c = beam_.speed;
        u0_ = static_cast<Real>(beam_.amplitude);
        f0_ = static_cast<Real>(beam_.f0);
        omega0_ = static_cast<Real>(6.28318530717958 * static_cast<double>(f0_));
        const auto w = static_cast<double>(omega0_);
        const auto u0 = static_cast<double>(u0_);
        zR_ = static_cast<Real>(a * w * a * 0.5 / c);
        G_ = beam_.shell ? static_cast<Real>(static_cast<double>(zR_) / beam_.roc) : Real(1);
        const double range = beam_.shell ? beam_.roc : static_cast<double>(zR_);
        const double loss = beam_.shell ? beam_.attenuation * range * 100 / 8.686
                                        : range * beam_.attenuation * 100.0 / 8.686;
        A_ = static_cast<Real>(static_cast<double>(f0_) / 1e6 * loss);
        Kn_ = static_cast<Real>(beam_.shell ? beam_.roc * beam_.beta * w * u0 / (c * c)
                                            : beam_.beta * a * a * w * w * u0 * 0.5 / (c * c * c));
        sigma_max_ = static_cast<Real>(beam_.shell ? beam_.zmax * static_cast<double>(G_) /
                                                         static_cast<double>(zR_)
                                                   : beam_.zmax / (a * a * 0.5 / c * w));
    }

    void grid() {
        P_ = static_cast<Real>(beam_.points_per_radius);
        Nr_ = static_cast<int>(static_cast<Real>(static_cast<int>(beam_.extent)) * P_);
        dr_ = Real(1) / P_;
        step_ = static_cast<Real>(beam_.step);
        const auto w = static_cast<double>(omega0_);
        const Real T = static_cast<Real>((beam_.tmax - beam_.zmax / beam_.speed) * w) -
                       static_cast<Real>(beam_.tmin * w);
        const Real rate = (Real(1) / static_cast<Real>(beam_.deltat)) / f0_;
        Nt_ = static_cast<int>(
            std::floor(static_cast<double>(T) * 0.5 / 3.1415927 * static_cast<double>(rate) + 0.5));
        dt_ = T / static_cast<Real>(Nt_);
        grid_.assign(at(Nt_ + 1) * at(Nr_ + 1), 0);
        recorded_.assign(at(beam_.nx * beam_.nz) * at(Nt_ + 1), 0.0);
        for (std::vector<Real>* v : {&a_, &b_, &c_, &r_, &x_, &bet_, &gam_, &sum_}) {
            v->assign(at(std::max(Nt_, Nr_) + 1), 0);
        }
    }

    void source() {
        const auto w = static_cast<double>(omega0_);
        const double cycles = 3.14159265358979 * 2 * static_cast<double>(f0_) * beam_.duration;
        const int first = static_cast<int>(-static_cast<Real>(beam_.tmin * w) / dt_);
        const int last =
            std::min(static_cast<int>(cycles / static_cast<double>(dt_) + 1.0) + first, Nt_);
        for (int i = first; i <= last; ++i) {
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

    // The matrix carries alpha over 8 or 16, the right-hand side over 4 or 8.
    void diffract(Real delta) {
        const bool implicit = beam_.scheme == 1.0f;
        const Real alpha = dt_ * delta / (dr_ * dr_ * G_);
        const int part = implicit ? 8 : 16;
        const int last = Nr_ - 1;
        b_[0] = 1 + alpha / static_cast<Real>(part / 4);
        c_[0] = -alpha / static_cast<Real>(part / 4);
        for (int j = 1; j <= last; ++j) {
            const bool in_double = beam_.shell && !implicit;
            a_[at(j)] = share(j, -1, alpha, part, in_double);
            b_[at(j)] = 1 + alpha / static_cast<Real>(part / 2);
            c_[at(j)] = j < last ? -share(j, 1, alpha, part, in_double) : Real(0);
        }
        const Real quarter = alpha / static_cast<Real>(part / 2);
        const Real half = alpha / static_cast<Real>(part / 4);
        const Real axis = implicit ? alpha : alpha / 2;
        std::fill(sum_.begin(), sum_.end(), Real(0));
        for (int j = 0; j < Nr_; ++j) {
            x_[at(j)] = implicit ? p(0, j) : Real(0);
        }
        for (int i = 1; i < Nt_; ++i) {
            for (int j = 0; j <= last; ++j) {
                S(j) += x_[at(j)];
            }
            for (int j = 0; j <= last; ++j) {
                const Real e = j > 0 ? Real(1) / static_cast<Real>(2 * j) : Real(0);
                const Real base = implicit ? p(i, j) : 2 * p(i, j);
                r_[at(j)] = j == 0     ? base + axis * (S(1) - S(0))
                            : j < last ? base + quarter * (1 + e) * S(j + 1) - half * S(j) +
                                             quarter * (1 - e) * S(j - 1)
                                       : base - half * S(j) + quarter * (1 - e) * S(j - 1);
            }
            solve(0, last);
            for (int j = 0; j <= last; ++j) {
                p(i, j) = implicit ? x_[at(j)] : x_[at(j)] - p(i, j);
            }
        }
    }

    void absorb(Real delta) {
        const Real kappa = delta * A_ / (dt_ * dt_);
        const bool implicit = beam_.scheme == 1.0f;
        for (int i = 1; i < Nt_; ++i) {
            a_[at(i)] = c_[at(i)] = implicit ? -kappa : -kappa / 2;
            b_[at(i)] = implicit ? 1 + 2 * kappa : 1 + kappa;
        }
        for (int j = 0; j < Nr_; ++j) {
            for (int i = 1; i < Nt_; ++i) {
                r_[at(i)] = implicit ? p(i, j)
                                     : kappa / 2 * p(i + 1, j) + (1 - kappa) * p(i, j) +
                                           kappa / 2 * p(i - 1, j);
            }
            solve(1, Nt_ - 1);
            for (int i = 1; i < Nt_; ++i) {
                p(i, j) = x_[at(i)];
            }
        }
    }

    // a x of the row before + b x + c x of the row after = r, by elimination without pivoting.
    void solve(int first, int last) {
        bet_[at(first)] = b_[at(first)];
        gam_[at(first)] = r_[at(first)] / bet_[at(first)];
        for (std::size_t j = at(first) + 1; j <= at(last); ++j) {
            const Real w = a_[j] * c_[j - 1] / bet_[j - 1];
            bet_[j] = b_[j] - w;
            gam_[j] = (r_[j] - a_[j] * gam_[j - 1]) / bet_[j];
        }
        x_[at(last)] = gam_[at(last)];
        for (std::size_t j = at(last); j-- > at(first);) {
            x_[j] = gam_[j] - c_[j] * x_[j + 1] / bet_[j];
        }
    }

    // The steepest slope, counted along the sign of Kn.
    Real distort(Real delta, bool& shock) {
        const Real lambda = delta * Kn_;
        Real steepest = 0;
        std::vector<Real> u(at(Nt_ + 1)), shifted(at(Nt_ + 1));
        for (int j = 0; j <= Nr_; ++j) {
            for (int i = 0; i <= Nt_; ++i) {
                u[at(i)] = p(i, j);
                shifted[at(i)] = static_cast<Real>(tau(i) - static_cast<double>(p(i, j) * lambda));
                shock = shock || (i >= 2 && shifted[at(i)] <= shifted[at(i - 1)]);
            }
            std::size_t kk = 1;
            for (int i = 1; i < Nt_; ++i) {
                while (kk <= at(Nt_) && static_cast<double>(shifted[kk]) < tau(i)) {
                    ++kk;
                }
                if (kk > at(Nt_)) {
                    p(i, j) = p(Nt_, j);
                    continue;
                }
                const Real slope = (u[kk] - u[kk - 1]) / (shifted[kk] - shifted[kk - 1]);
                if (Kn_ > 0 ? slope > steepest : slope < steepest) {
                    steepest = slope;
                }
                p(i, j) = static_cast<Real>((tau(i) - static_cast<double>(shifted[kk - 1])) *
                                                static_cast<double>(slope) +
                                            static_cast<double>(u[kk - 1]));
            }
        }
        return steepest;
    }

    void record(int k) {
        for (int m = 0; m < beam_.nx; ++m) {
            const double place = static_cast<double>(beam_.r<Real>(m) * P_) + 0.5;
            for (int i = 0; place < Nr_ + 1.0 && i <= Nt_; ++i) {
                recorded_[at(m + beam_.nx * k) * at(Nt_ + 1) + at(i)] =
                    static_cast<double>(p(i, static_cast<int>(place)));
            }
        }
    }

    KzkTransientField output() const {
        KzkTransientField field;
        const double spacing = static_cast<double>(dt_) / static_cast<double>(omega0_);
        field.rows =
            std::min(static_cast<int>((beam_.tmax - beam_.tmin) * static_cast<double>(omega0_) /
                                      static_cast<double>(dt_)),
                     static_cast<int>(beam_.times.size()));
        const int points = beam_.nx * beam_.nz;
        field.pressure.assign(at(points) * at(field.rows), 0.0);
        for (int q = 0; q < points; ++q) {
            const auto delay = static_cast<double>(static_cast<Real>(
                static_cast<double>(beam_.z<Real>(q / beam_.nx)) / beam_.speed + beam_.tmin));
            int start = 0;
            while (start < field.rows && beam_.times[at(start)] < delay &&
                   delay - beam_.times[at(start)] > spacing / 2) {
                ++start;
            }
            for (int n = start; n < field.rows && n - start <= Nt_; ++n) {
                field.pressure[at(q) + at(n) * at(points)] =
                    beam_.speed * static_cast<double>(u0_) * beam_.density *
                    recorded_[at(q) * at(Nt_ + 1) + at(n - start)];
            }
        }
        return field;
    }

    Real& S(int j) { return sum_[at(j)]; }

    const KzkBeam& beam_;
    Real u0_, f0_, omega0_, zR_, G_, Kn_, A_, sigma_max_, P_, dr_, dt_, step_;
    int Nr_, Nt_;
    std::vector<Real> grid_, a_, b_, c_, r_, x_, bet_, gam_, sum_;
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
