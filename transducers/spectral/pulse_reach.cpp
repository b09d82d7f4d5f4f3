#include "transducers/spectral/pulse_reach.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <limits>
#include <vector>

namespace kavro {
namespace {

using Complex = std::complex<double>;

// |j omega V| at frequencies in a constant ratio, which span all that a pulse may hold.
struct PulseSpectrum {
    static constexpr double ratio = 1.01;
    std::vector<double> omega, part;  // part: times the interval of frequencies

    explicit PulseSpectrum(const ExcitationFunction& waveform) {
        constexpr double least = 1e-2, most = 1e5;  // over the duration
        constexpr int at_a_time = 128;
        const auto about = static_cast<std::size_t>(std::log(most / least) / std::log(ratio));
        omega.reserve(about + at_a_time);
        part.reserve(about + at_a_time);
        InterruptCheck check;
        for (double x = least; x < most;) {
            Complex s[at_a_time], V[at_a_time];
            for (Complex& at : s) {
                at = {0.0, x / waveform.w};
                x *= ratio;
            }
            check.spend(std::int64_t{at_a_time} * steps_of_transform(waveform));
            waveform.transform(V, s, at_a_time);
            for (int i = 0; i < at_a_time; ++i) {
                omega.push_back(s[i].imag());
                part.push_back(s[i].imag() * std::abs(V[i]) * s[i].imag() * std::log(ratio));
            }
        }
    }
};

// What decays slowest beyond the pulse: the law's loss is not analytic at frequency 0, so that it
// spreads an impulse into a tail like t^-(1+y), of which V(0) and V'(0) take the first and the
// second derivative.
struct Tail {
    double V0, V1;
    double y;

    Tail(const ExcitationFunction& waveform, double exponent) : y(exponent) {
        const double h = 1e-3 / waveform.w;
        const Complex s[] = {0.0, h, -h};
        Complex V[3];
        waveform.transform(V, s, 3);
        V0 = std::abs(V[0]);
        V1 = std::abs(V[1] - V[2]) / (2.0 * h);
        if (V0 < 1e-12 * V1 / waveform.w) {
            V0 = 0.0;
        }
    }

    // When it has fallen to so much.
    double ends(double loss, double level) const {
        const double c = loss * 2.0 / pi * std::tgamma(1.0 + y) * std::sin(pi * y / 2.0);
        if (!(c > 0.0 && y < 2.0)) {
            return 0.0;
        }
        const double first = std::pow(c * (1.0 + y) * V0 / level, 1.0 / (2.0 + y));
        const double second = std::pow(c * (1.0 + y) * (2.0 + y) * V1 / level, 1.0 / (3.0 + y));
        return std::fmax(first, second);
    }
};

// When the share e^-fall of the pulse may have arrived, at the latest before R / c. The losses act
// as a convolution with a probability density, whose Laplace transform is e^(-excess(s) R), and so
// Chernoff's bound holds for it.
double precursor(const PowerLaw& law, double path, double fall) {
    double least = std::numeric_limits<double>::infinity();
    for (double sigma = 1e2; sigma < 1e14; sigma *= 2.0) {
        least = std::fmin(least, (fall - law.excess(sigma).real() * path) / sigma);
    }
    return least;
}

}  // namespace

std::int64_t steps_of_transform(const ExcitationFunction& waveform) {
    return 20 * (6 + std::int64_t{waveform.n_terms});
}

PulseReach::PulseReach(const ExcitationFunction& waveform, const PowerLaw& law, double tolerance) {
    const PulseSpectrum spectrum(waveform);
    const Tail tail(waveform, law.exponent());
    std::vector<double> alpha(spectrum.omega.size()), part(alpha.size());
    double lossless = 0.0;
    for (std::size_t i = 0; i < alpha.size(); ++i) {
        alpha[i] = law.attenuation(spectrum.omega[i]);
        lossless += spectrum.part[i];
    }
    omega_ = spectrum.omega;
    part_ = spectrum.part;
    alpha_ = alpha;
    for (int k = 0; k < count; ++k) {
        Step& step = steps_[static_cast<std::size_t>(k)];
        const double path = std::exp2(0.5 * (k + lowest));
        double all = 0.0;
        for (std::size_t i = 0; i < part.size(); ++i) {
            part[i] = spectrum.part[i] * std::exp(-alpha[i] * path);
            all += part[i];
        }
        std::size_t last = part.size() - 1;
        for (double beyond = 0.0; last > 0; --last) {
            beyond += part[last];
            if (!(beyond <= tolerance * all)) {
                break;
            }
        }
        step.band = spectrum.omega[last];
        // Over very long paths nothing is left to be accurate about.
        const double peak = std::fmax(all, 1e-30 * lossless);
        const double fall = std::log(lossless / (tolerance * peak));
        const double loss = law.slope() * path;
        step.early = precursor(law, path, fall);
        const double width = std::pow(loss, 1.0 / law.exponent());
        const double settled =
            loss > 0.0 ? law.excess({0.0, 1.0 / width}).imag() * width * path : 0.0;
        step.late = std::fmax(settled, 0.0) + 2.0 * std::sqrt(fall) * width +
                    tail.ends(loss, tolerance * peak / pi);
    }
}

double PulseReach::left_out(double path, double band, double gain) const {
    double derivative = 0.0, derivative_beyond = 0.0, shape = 0.0, shape_beyond = 0.0;
    for (std::size_t i = 0; i < part_.size(); ++i) {
        const double part = part_[i] * std::exp(-alpha_[i] * path);
        derivative += part;
        shape += part / omega_[i];
        if (omega_[i] > band) {
            derivative_beyond += part;
            shape_beyond += part / omega_[i];
        }
    }
    // Found by trial.
    constexpr double safety = 2.0;
    return safety * std::fmin(derivative_beyond / derivative, gain * shape_beyond / shape);
}

std::size_t PulseReach::rung(double step) {
    return step > lowest ? static_cast<std::size_t>(std::fmin(step - lowest, count - 1.0)) : 0;
}

std::size_t PulseReach::below(double path) {
    return rung(std::floor(2.0 * std::log2(path)));
}

std::size_t PulseReach::above(double path) {
    return rung(std::ceil(2.0 * std::log2(path)));
}

}  // namespace kavro
