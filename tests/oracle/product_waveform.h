// A waveform of the library, behind the oracle's interface.
#pragma once

#include "excitation/excitation_function.h"
#include "oracle/waveform.h"

namespace kavro_oracle {

class ProductWaveform : public Waveform {
public:
    explicit ProductWaveform(const kavro::ExcitationFunction& wrapped) : wrapped_(wrapped) {}

    double width() const override { return wrapped_.w; }
    int terms() const override { return wrapped_.number_of_tsd_terms(); }
    void spatial(double tau, double* out) const override { wrapped_.spatial_tsd(out, tau); }
    void spatial(float tau, float* out) const override { wrapped_.spatial_tsd(out, tau); }
    void spatial(double tau, Complex* out) const override { wrapped_.spatial_tsd(out, tau); }
    void temporal(const std::vector<double>& times, double delay, double* out) const override {
        fill(times, delay, out);
    }
    void temporal(const std::vector<double>& times, float delay, float* out) const override {
        fill(times, delay, out);
    }
    void temporal(const std::vector<double>& times, double delay, Complex* out) const override {
        fill(times, delay, out);
    }
    double at(double t) const override { return wrapped_.at(t); }
    double derivative(double t) const override { return wrapped_.derivative(t); }

private:
    template <class Real, class Value>
    void fill(const std::vector<double>& times, Real delay, Value* out) const {
        kavro::TimeSamples axis;
        axis.times = times;
        axis.ntimes = static_cast<std::int32_t>(times.size());
        wrapped_.temporal_tsd(out, &axis, axis.ntimes, delay);
    }

    const kavro::ExcitationFunction& wrapped_;
};

}  // namespace kavro_oracle
