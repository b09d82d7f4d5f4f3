#include "excitation/excitation_function.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <typeinfo>

#include "core/constants.h"
#include "core/counts.h"
#include "core/interrupted.h"
#include "excitation/discrete_spectrum.h"

namespace kavro {
namespace {

using Spectrum = std::vector<std::complex<double>>;

// The phase of a coefficient, formed from the quadrant by hand with the short literals of pi.
double phase_of(std::complex<double> coefficient) {
    const double a = coefficient.real();
    const double b = coefficient.imag();
    if (a > 0.0) {
        return std::atan(b / a);
    }
    if (a < 0.0) {
        return b >= 0.0 ? std::atan(b / a) + pi : std::atan(b / a) - pi;
    }
    if (b == 0.0) {
        return 0.0;
    }
    return b > 0.0 ? half_pi : -half_pi;
}

double largest_magnitude(const Spectrum& bins) {
    double largest = 0.0;
    for (const std::complex<double>& bin : bins) {
        largest = std::abs(bin) > largest ? std::abs(bin) : largest;
    }
    return largest;
}

// Temporal factors of one term at one instant: a sine and a cosine.
constexpr std::int64_t steps_of_factor = 8;

// Calls write(k, i, re, im) with real and imaginary part of C_k e^(j omega_k (t_i - delay)) for all
// terms and instants, those of a term by runs of instants.
template <class Write>
void for_each_rotated(const Spectrum& coefficients, const std::vector<double>& frequencies,
                      const TimeSamples& times, int ntimes, double delay, Write write) {
    constexpr int run = 256;
    double t[run], angle[run], sine[run], cosine[run];
    InterruptCheck check;
    for (int begin = 0; begin < ntimes; begin += run) {
        const int count = std::min(run, ntimes - begin);
        for (int i = 0; i < count; ++i) {
            t[i] = times.time_index_value(begin + i) - delay;
        }
        for (std::size_t k = 0; k < coefficients.size(); ++k) {
            check.spend(steps_of_factor * count);
            for (int i = 0; i < count; ++i) {
                angle[i] = frequencies[k] * t[i];
            }
            sine_and_cosine(angle, count, sine, cosine);
            const double a = coefficients[k].real();
            const double b = coefficients[k].imag();
            for (int i = 0; i < count; ++i) {
                write(k, static_cast<std::size_t>(begin + i), a * cosine[i] - b * sine[i],
                      a * sine[i] + b * cosine[i]);
            }
        }
    }
}

}  // namespace

ExcitationFunction::ExcitationFunction(std::span<const double> samples, double sample_interval,
                                       double duration, double clip_threshold)
    : w(duration),
      signal(samples.begin(), samples.end()),
      ts(sample_interval),
      clip_threshold_(clip_threshold),
      sampled_(true) {
    if (samples.size() > std::numeric_limits<std::int32_t>::max()) {
        refuse_count(static_cast<double>(samples.size()), "signal samples");
    }
    signal_length = static_cast<std::int32_t>(samples.size());
    expand();
}

ExcitationFunction::ExcitationFunction(double centre_frequency, double pulse_width, double decay)
    : f0(centre_frequency),
      B(decay),
      w(pulse_width),
      omega0(centre_frequency * two_pi),
      omega_w(two_pi / pulse_width) {}

void ExcitationFunction::set_exact(bool exact) {
    const bool changed = exact != exact_;
    exact_ = exact;
    if (changed && sampled_) {
        expand();
    }
}

void ExcitationFunction::expand() {
    Spectrum bins = discrete_spectrum(signal);
    const bool odd = signal_length % 2 == 1;
    if (odd && !exact_) {
        bins.pop_back();  // the reference expansion drops it as if it were a Nyquist bin
    }
    const double threshold =
        clip_threshold_ < 0.0 ? std::pow(10.0, clip_threshold_ / 10.0) : clip_threshold_;
    const double largest = largest_magnitude(bins);
    const double step = 2.0 * (1.0 / signal_length) * pi / ts;

    nyquist_index = signal_length / 2;
    dc_index = threshold == 0.0 ? 0 : -1;
    if (exact_) {
        nyquist_index = dc_index = -1;
    }
    coefficients.clear();
    frequencies.clear();
    harmonics_ = {};
    harmonics_.step = step;
    for (std::size_t k = 0; k < bins.size(); ++k) {
        if (!(threshold < std::abs(bins[k]) / largest)) {
            continue;
        }
        const auto bin = static_cast<std::int32_t>(k);
        const auto position = static_cast<std::int32_t>(coefficients.size());
        if (exact_) {
            dc_index = bin == 0 ? position : dc_index;
            nyquist_index = !odd && bin == signal_length / 2 ? position : nyquist_index;
        } else if (bin == nyquist_index) {
            nyquist_index = position;
        } else if (bin == dc_index) {
            dc_index = position;
        }
        coefficients.push_back(bins[k]);
        frequencies.push_back(bin * step);
        harmonics_.bins.push_back(bin);
    }
    if (threshold == 0.0 && !exact_) {
        // Bins of magnitude zero are counted although they were not kept: terms that add nothing.
        coefficients.resize(bins.size());
        frequencies.resize(bins.size());
        harmonics_.bins.resize(bins.size(), -1);
    }
    n_terms = static_cast<std::int32_t>(coefficients.size());
    harmonics_.frequencies = frequencies;
    for (int k = 0; k < n_terms; ++k) {
        harmonics_.weights.push_back(weight_of(k));
        harmonics_.coefficients.push_back(coefficients[static_cast<std::size_t>(k)] *
                                          (weight_of_value(k) / signal_length));
    }
}

// How often term k counts: each frequency stands for a conjugate pair of bins.
double ExcitationFunction::weight_of(int k) const {
    return k == nyquist_index || k == dc_index ? 1.0 : 2.0;
}

double ExcitationFunction::weight_of_value(int k) const {
    return exact_ ? weight_of(k) : 2.0;
}

void ExcitationFunction::spatial_tsd(double* out, double const& tau) const {
    for (int k = 0; k < n_terms; ++k) {
        const double angle = frequencies[static_cast<std::size_t>(k)] * tau;
        if (exact_) {
            out[2 * k] = weight_of(k) * std::cos(angle);
            out[2 * k + 1] = weight_of(k) * std::sin(angle);
        } else {
            out[k] = weight_of(k) * (std::cos(angle) + std::sin(angle));
        }
    }
}

void ExcitationFunction::spatial_tsd(float* out, float const& tau) const {
    const auto wide_tau = static_cast<double>(tau);
    for (int k = 0; k < n_terms; ++k) {
        const double angle = frequencies[static_cast<std::size_t>(k)] * wide_tau;
        if (exact_) {
            out[2 * k] = static_cast<float>(weight_of(k) * std::cos(angle));
            out[2 * k + 1] = static_cast<float>(weight_of(k) * std::sin(angle));
        } else {
            out[k] = static_cast<float>(weight_of(k) * (std::cos(angle) + std::sin(angle)));
        }
    }
}

namespace {

// Writes the temporal factors of a sampled waveform; `normalise` scales a value by 1/N.
template <class Real, class Normalise>
void write_temporal_factors(const ExcitationFunction& f, Real* out, TimeSamples const& times,
                            int ntimes, double delay, Normalise normalise) {
    const auto row = static_cast<std::size_t>(ntimes);
    const bool exact = f.exact();
    for_each_rotated(f.coefficients, f.frequencies, times, ntimes, delay,
                     [=](std::size_t k, std::size_t i, double re, double im) {
                         if (exact) {
                             out[2 * k * row + i] = normalise(re);
                             out[(2 * k + 1) * row + i] = normalise(im);
                         } else {
                             out[k * row + i] = normalise(im + re);
                         }
                     });
}

}  // namespace

void ExcitationFunction::temporal_tsd(double* out, TimeSamples const* times, int const& ntimes,
                                      double const& delay) const {
    write_temporal_factors(*this, out, *times, ntimes, delay,
                           [n = signal_length](double value) { return value / n; });
}

void ExcitationFunction::temporal_tsd(float* out, TimeSamples const* times, int const& ntimes,
                                      float const& delay) const {
    // 1/N is rounded to single precision before it is used.
    const double inverse = static_cast<double>(static_cast<float>(1.0 / signal_length));
    write_temporal_factors(*this, out, *times, ntimes, static_cast<double>(delay),
                           [inverse](double value) { return static_cast<float>(value * inverse); });
}

void ExcitationFunction::spatial_tsd(std::complex<double>* out, double const& tau) const {
    for (int k = 0; k < n_terms; ++k) {
        const double angle = frequencies[static_cast<std::size_t>(k)] * tau;
        out[k] = {weight_of(k) * std::cos(angle), -weight_of(k) * std::sin(angle)};
    }
}

void ExcitationFunction::temporal_tsd(std::complex<double>* out, TimeSamples const* times,
                                      int const& ntimes, double const& delay) const {
    const auto row = static_cast<std::size_t>(ntimes);
    for_each_rotated(coefficients, frequencies, *times, ntimes, delay,
                     [=, this](std::size_t k, std::size_t i, double re, double im) {
                         out[k * row + i] = {re / signal_length, im / signal_length};
                     });
}

template <class Delay, class Real>
void ExcitationFunction::write_spatial_tsd(Real* out, const Delay* tau, int count) const {
    if (sampled_) {
        harmonic_spatial_factors(harmonics_,
                                 exact_ ? HarmonicFactors::cosine_sine : HarmonicFactors::hartley,
                                 tau, count, out);
        return;
    }
    const auto terms = static_cast<std::size_t>(number_of_tsd_terms());
    const auto row = static_cast<std::size_t>(count);
    std::vector<Delay> factors(terms);
    for (std::size_t m = 0; m < row; ++m) {
        spatial_tsd(factors.data(), tau[m]);
        for (std::size_t k = 0; k < terms; ++k) {
            out[k * row + m] = static_cast<Real>(factors[k]);
        }
    }
}

void ExcitationFunction::spatial_tsd_batch(double* out, const double* tau, int count) const {
    write_spatial_tsd(out, tau, count);
}

void ExcitationFunction::spatial_tsd_batch(float* out, const float* tau, int count) const {
    write_spatial_tsd(out, tau, count);
}

void ExcitationFunction::spatial_tsd_batch(float* out, const double* tau, int count) const {
    write_spatial_tsd(out, tau, count);
}

void ExcitationFunction::complex_spatial_tsd_batch(double* out, const double* tau,
                                                   int count) const {
    harmonic_spatial_factors(harmonics_, HarmonicFactors::cosine_sine, tau, count, out);
}

void ExcitationFunction::value_spatial_batch(float* out, const float* tau, int count) const {
    harmonic_spatial_factors(harmonics_, HarmonicFactors::unit_cosine_sine, tau, count, out);
}

void ExcitationFunction::value_spatial_batch(float* out, const double* tau, int count) const {
    harmonic_spatial_factors(harmonics_, HarmonicFactors::unit_cosine_sine, tau, count, out);
}

void ExcitationFunction::value_temporal(double* out, TimeSamples const& times, double delay) const {
    if (exact_) {
        temporal_tsd(out, &times, times.ntimes, delay);
        return;
    }
    const auto row = static_cast<std::size_t>(times.ntimes);
    for_each_rotated(harmonics_.coefficients, frequencies, times, times.ntimes, delay,
                     [=](std::size_t k, std::size_t i, double re, double im) {
                         out[2 * k * row + i] = re;
                         out[(2 * k + 1) * row + i] = im;
                     });
}

void ExcitationFunction::at_batch(double* out, const double* t, int count) const {
    if (sampled_) {
        harmonic_values(harmonics_, t, count, w, out);
        return;
    }
    for (int m = 0; m < count; ++m) {
        out[m] = at(t[m]);
    }
}

bool ExcitationFunction::same_waveform(const ExcitationFunction& other) const {
    // A class derived elsewhere may hold more than this one knows of.
    const bool both_sampled =
        typeid(*this) == typeid(ExcitationFunction) && typeid(other) == typeid(ExcitationFunction);
    return this == &other || (both_sampled && same_parameters(other));
}

bool ExcitationFunction::same_parameters(const ExcitationFunction& other) const {
    return f0 == other.f0 && B == other.B && w == other.w && omega0 == other.omega0 &&
           omega_w == other.omega_w && exact_ == other.exact_ && sampled_ == other.sampled_ &&
           nyquist_index == other.nyquist_index && dc_index == other.dc_index &&
           signal_length == other.signal_length && coefficients == other.coefficients &&
           frequencies == other.frequencies;
}

double ExcitationFunction::at(double const& t) const {
    if (t < 0.0 || t > w || n_terms < 1) {
        return 0.0;
    }
    double sum = 0.0;
    for (std::size_t k = 0; k < coefficients.size(); ++k) {
        const double magnitude = weight_of_value(static_cast<int>(k)) * std::abs(coefficients[k]);
        sum += magnitude * std::cos(frequencies[k] * t + phase_of(coefficients[k])) / signal_length;
    }
    return sum;
}

double ExcitationFunction::derivative(double const& t) const {
    if (t < 0.0 || t > w || n_terms < 1) {
        return 0.0;
    }
    double sum = 0.0;
    for (std::size_t k = 0; k < coefficients.size(); ++k) {
        const double magnitude = weight_of_value(static_cast<int>(k)) * std::abs(coefficients[k]);
        // The reference derivative leaves the frequency out on purpose.
        const double rate = exact_ ? frequencies[k] : 1.0;
        sum += -magnitude * rate * std::sin(frequencies[k] * t + phase_of(coefficients[k])) /
               signal_length;
    }
    return sum;
}

double ExcitationFunction::highest_frequency(double tolerance) const {
    if (!sampled_) {
        return std::numeric_limits<double>::infinity();
    }
    const double least = 0.1 * tolerance * largest_magnitude(coefficients);
    double highest = 0.0;
    for (std::size_t k = 0; k < coefficients.size(); ++k) {
        if (std::abs(coefficients[k]) > least) {
            highest = std::max(highest, frequencies[k] / two_pi);
        }
    }
    return highest;
}

double ExcitationFunction::centre_frequency() const {
    double power = 0.0;
    double moment = 0.0;
    for (std::size_t k = 0; k < coefficients.size(); ++k) {
        power += std::norm(coefficients[k]);
        moment += std::norm(coefficients[k]) * frequencies[k] / two_pi;
    }
    return sampled_ ? (power > 0.0 ? moment / power : 0.0) : f0;
}

int ExcitationFunction::number_of_tsd_terms() const {
    return exact_ ? 2 * n_terms : n_terms;
}

}  // namespace kavro
