// The four waveforms, written down formula by formula in their reference behaviour.
#pragma once

#include <complex>
#include <span>
#include <vector>

#include "oracle/waveform.h"

namespace kavro_oracle {

// The literals of pi that the formulas use.
inline constexpr double pi = 3.14159265358979;
inline constexpr double two_pi = 6.28318530717958;

// Factors are computed in double and rounded, but for the two that are declared in single
// precision.
class AnalyticPulse : public Waveform {
public:
    using Waveform::spatial;
    using Waveform::temporal;
    AnalyticPulse(double f0, double w, double B)
        : f0_(f0), w_(w), B_(B), omega0_(f0 * two_pi), omega_w_(two_pi / w) {}
    double width() const override { return w_; }
    void spatial(double tau, double* out) const override;
    void spatial(float tau, float* out) const override;
    void temporal(const std::vector<double>& times, double delay, double* out) const override;
    void temporal(const std::vector<double>& times, float delay, float* out) const override;

protected:
    using Factors = std::vector<double>;
    virtual Factors spatial_factors(double tau) const = 0;
    // `first` is the first sample's t.
    virtual Factors temporal_factors(double t, double first) const = 0;

    double f0_, w_, B_, omega0_, omega_w_;
};

class ToneBurst : public AnalyticPulse {
public:
    using AnalyticPulse::AnalyticPulse;
    using AnalyticPulse::temporal;
    int terms() const override { return 2; }
    // In groups of four: holes and spills included.
    void temporal(const std::vector<double>& times, float delay, float* out) const override;
    double at(double t) const override;
    double derivative(double t) const override;

protected:
    Factors spatial_factors(double tau) const override;
    Factors temporal_factors(double t, double first) const override;
};

class HanningPulse : public AnalyticPulse {
public:
    using AnalyticPulse::AnalyticPulse;
    int terms() const override { return 6; }
    double at(double t) const override;
    double derivative(double t) const override;

protected:
    Factors spatial_factors(double tau) const override;
    Factors temporal_factors(double t, double first) const override;
};

class TCubedPulse : public AnalyticPulse {
public:
    using AnalyticPulse::AnalyticPulse;
    using AnalyticPulse::spatial;
    int terms() const override { return 8; }
    void spatial(float tau, float* out) const override;
    double at(double t) const override;
    double derivative(double t) const override;

protected:
    Factors spatial_factors(double tau) const override;
    Factors temporal_factors(double t, double first) const override;
};

class SampledSignal : public Waveform {
public:
    SampledSignal(std::span<const double> signal, double ts, double w, double clip_threshold);

    double width() const override { return w_; }
    int terms() const override { return n_terms; }
    void spatial(double tau, double* out) const override;
    void spatial(float tau, float* out) const override;
    void spatial(double tau, Complex* out) const override;
    void temporal(const std::vector<double>& times, double delay, double* out) const override;
    void temporal(const std::vector<double>& times, float delay, float* out) const override;
    void temporal(const std::vector<double>& times, double delay, Complex* out) const override;
    double at(double t) const override;
    double derivative(double t) const override;

    int n_terms = 0;
    int nyquist_index = 0;
    int dc_index = -1;
    std::vector<Complex> coefficients;
    std::vector<double> frequencies;  // rad/s

private:
    bool counts_once(int k) const { return k == nyquist_index || k == dc_index; }

    double N_, w_;
};

}  // namespace kavro_oracle
