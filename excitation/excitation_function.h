// The waveform that drives an element: the normal velocity of its face over time.
#pragma once

#include <complex>
#include <cstdint>
#include <span>
#include <vector>

#include "../core/time_samples.h"
#include "waveform_kernels.h"

namespace kavro {

// The interface of every waveform, and the waveform made from a sampled signal.
//
// Transient solvers use a waveform v(t) through its time-space decomposition
//
//     v(t - tau) = sum over k of S_k(tau) T_k(t),   k = 0 ... number_of_tsd_terms() - 1,
//
// in which the spatial factors S_k depend on a propagation delay alone and the temporal factors T_k
// on an output sample alone. The caller owns both buffers: K values for `spatial_tsd`, and K rows
// of ntimes values for `temporal_tsd`, entry (k, i) at out[k * ntimes + i].
//
// The sampled form expands the signal by a discrete Fourier transform. Its reference behaviour
// keeps these departures from the waveform on purpose; `set_exact(true)` turns them off:
// - one product (cos + sin)(Re + Im) per frequency, which adds an advanced wave to the delayed one;
// - an odd length loses its last bin;
// - zero and Nyquist frequency count double in `at`;
// - zero frequency counts double in the spatial factors, too, unless the clip threshold is 0;
// - with threshold 0, a zero-frequency bin that is exactly 0 leaves its weight to the next term;
// - `derivative` lacks the factor of the frequency.
class ExcitationFunction {
public:
    double f0 = 0.0;       // centre frequency, Hz (analytic pulses)
    double B = 0.0;        // decay, 1/s (TCubedPulse)
    double w = 0.0;        // duration, s: the waveform is zero outside 0 ... w
    double omega0 = 0.0;   // 2 pi f0, rad/s (analytic pulses)
    double omega_w = 0.0;  // 2 pi / w, rad/s (analytic pulses)

    std::int32_t signal_length = 0;                  // N, samples of the signal
    std::int32_t n_terms = 0;                        // frequencies kept
    std::int32_t nyquist_index = 0;                  // kept term that is the Nyquist frequency
    std::int32_t dc_index = 0;                       // kept term of frequency zero, -1 for none
    std::vector<std::complex<double>> coefficients;  // of the kept frequencies, unnormalised
    std::vector<double> signal;                      // the N samples
    std::vector<double> frequencies;                 // of the kept terms, rad/s
    double ts = 0.0;                                 // sample interval of the signal, s

    ExcitationFunction() = default;

    // The waveform whose samples, ts seconds apart from t = 0 on, are `signal`; zero beyond w
    // seconds. Frequencies of a magnitude not above clip_threshold times the largest are dropped; a
    // negative threshold is a level in dB, counted as a power ratio (10^(dB/10)) on purpose.
    ExcitationFunction(std::span<const double> signal, double ts, double w, double clip_threshold);

    virtual ~ExcitationFunction() = default;

    virtual void spatial_tsd(double* out, double const& tau) const;
    virtual void spatial_tsd(float* out, float const& tau) const;
    virtual void temporal_tsd(double* out, TimeSamples const* times, int const& ntimes,
                              double const& delay) const;
    virtual void temporal_tsd(float* out, TimeSamples const* times, int const& ntimes,
                              float const& delay) const;
    virtual double at(double const& t) const;          // v(t)
    virtual double derivative(double const& t) const;  // dv/dt(t)
    virtual int number_of_tsd_terms() const;

    // The complex decomposition v(t - tau) = Re sum over k of S_k T_k, k = 0 ... n_terms - 1, with
    // S_k = e^(-j omega_k tau). Sampled form only; an analytic pulse has none and these write
    // nothing for it.
    void spatial_tsd(std::complex<double>* out, double const& tau) const;
    void temporal_tsd(std::complex<double>* out, TimeSamples const* times, int const& ntimes,
                      double const& delay) const;
    bool has_complex_decomposition() const { return sampled_; }

    // The same for many delays or instants at once: factor k of delay m at out[k * count + m],
    // value m at out[m]. The defaults loop over the operations above; a waveform that overrides
    // them with vector kernels agrees with those to rounding.
    virtual void spatial_tsd_batch(double* out, const double* tau, int count) const;
    virtual void spatial_tsd_batch(float* out, const float* tau, int count) const;
    // The factors in double, rounded last: of delays that single precision would not tell apart.
    virtual void spatial_tsd_batch(float* out, const double* tau, int count) const;
    virtual void at_batch(double* out, const double* t, int count) const;

    // The complex decomposition as two real factors per term: weight cos, weight sin.
    void complex_spatial_tsd_batch(double* out, const double* tau, int count) const;

    // A decomposition that equals at() inside the pulse to rounding, so that it can stand for it:
    // the number of its terms (0 for none), its temporal factors in the layout of temporal_tsd,
    // whether its spatial factors are those of spatial_tsd, and if not, they in the layout of
    // spatial_tsd_batch.
    virtual int number_of_value_terms() const { return sampled_ ? 2 * n_terms : 0; }
    virtual void value_temporal(double* out, TimeSamples const& times, double delay) const;
    virtual bool value_uses_spatial_tsd() const { return sampled_ && exact_; }
    virtual void value_spatial_batch(float* out, const float* tau, int count) const;
    virtual void value_spatial_batch(float* out, const double* tau, int count) const;

    // V(s), the integral of at(t) e^(-st) over the pulse, at complex frequencies s (1/s). Closed
    // forms in the pulses of this library; the default is a quadrature that resolves e^(-st) and
    // some 200 oscillations of a waveform without jumps inside.
    virtual void transform(std::complex<double>* out, const std::complex<double>* s,
                           int count) const;

    // Whether factors and sums in single precision represent the decomposition. Where they do not,
    // the single-precision methods form the sums in double.
    virtual bool single_precision_suffices() const { return true; }

    // Whether the decomposition keeps its precision for delays within `spread` of each other and
    // instants up to `latest` (s). Where it does not, the methods evaluate at() instead.
    virtual bool decomposition_holds(double /* spread */, double /* latest */) const {
        return true;
    }

    // Hz: up to which the spectrum counts for quadrature of a relative tolerance, what the ends of
    // the pulse add to it left out. A waveform that does not know answers infinity, and gets the
    // finest quadrature.
    virtual double highest_frequency(double tolerance) const;

    // f0 of an analytic pulse; the mean frequency of a sampled signal, weighted with its power.
    double centre_frequency() const;

    // Whether at(t) is evaluated at t; it is 0 where this is false.
    bool is_inside_pulse(double t) const {
        return sampled_ ? t >= 0.0 && t <= w : t > 0.0 && t < w;
    }

    // Whether the other waveform is known to have the same values and the same factors, so that one
    // may stand for the other.
    virtual bool same_waveform(const ExcitationFunction& other) const;

    // Reference behaviour (false, the default) or the exact waveform (true), see above and at each
    // pulse. A sampled waveform's terms are made anew.
    void set_exact(bool exact);
    bool exact() const { return exact_; }

protected:
    // An analytic pulse: Hz, s and 1/s.
    ExcitationFunction(double centre_frequency, double pulse_width, double decay);

    bool same_parameters(const ExcitationFunction& other) const;

private:
    template <class Delay, class Real>
    void write_spatial_tsd(Real* out, const Delay* tau, int count) const;
    void expand();
    void transform_sampled(std::complex<double>* out, const std::complex<double>* s,
                           int count) const;
    double weight_of(int k) const;
    double weight_of_value(int k) const;

    HarmonicSeries harmonics_;  // of the sampled form, as the batch operations need it
    double clip_threshold_ = 0.0;
    bool sampled_ = false;
    bool exact_ = false;
};

}  // namespace kavro
