// The oracle's view of a waveform and of its time-space decomposition.
#pragma once

#include <complex>
#include <vector>

namespace kavro_oracle {

using Complex = std::complex<double>;

// v(t - tau) = sum over k of S_k(tau) T_k(t). Temporal factors are term-major: entry (k, i) at
// out[k * times.size() + i], with room for three floats more.
class Waveform {
public:
    virtual ~Waveform() = default;

    virtual double width() const = 0;  // s
    virtual int terms() const = 0;
    virtual void spatial(double tau, double* out) const = 0;
    virtual void spatial(float tau, float* out) const = 0;
    virtual void temporal(const std::vector<double>& times, double delay, double* out) const = 0;
    virtual void temporal(const std::vector<double>& times, float delay, float* out) const = 0;
    virtual double at(double t) const = 0;
    virtual double derivative(double t) const = 0;

    // The complex decomposition v(t - tau) = Re sum of S_k T_k; sampled waveforms only.
    virtual void spatial(double, Complex*) const {}
    virtual void temporal(const std::vector<double>&, double, Complex*) const {}
};

}  // namespace kavro_oracle
