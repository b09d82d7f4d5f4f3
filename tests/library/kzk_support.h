// What the tests of the nonlinear marches share: one beam for library and oracle.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "kavro.h"
#include "oracle/kzk.h"

namespace kavro_test {

// A beam's records, and the element that marches it.
class KzkStage {
public:
    KzkStage(const kavro_oracle::KzkBeam& beam,
             std::shared_ptr<kavro::ExcitationFunction> waveform);
    explicit KzkStage(const kavro_oracle::KzkBeam& beam) : KzkStage(beam, nullptr) {}

    // Puts another element in the place of the disc or shell.
    void use(std::unique_ptr<kavro::Transducer> another);

    // Set the parameters of the beam and march.
    kavro::TransducerStatus transient();
    kavro::TransducerStatus harmonics();

    // The beam with everything that the oracle reads of the axes.
    kavro_oracle::KzkBeam for_oracle() const;

    std::size_t points() const { return static_cast<std::size_t>(grid.nx * grid.nz); }
    // Time series of a point, zero where nothing was written.
    std::vector<double> series(int ix, int iz) const;
    // Magnitude of harmonic n.
    double magnitude(int ix, int iz, int n) const;

    kavro_oracle::KzkBeam beam;
    std::shared_ptr<kavro::ExcitationFunction> waveform;
    kavro::CoordinateGrid grid;
    kavro::TimeSamples times;
    kavro::Medium medium;
    kavro::NumericalIntegration rule;
    std::vector<double> pressure;    // filled with `unwritten`
    std::vector<double> real, imag;  // filled with `unwritten`
    std::unique_ptr<kavro::Transducer> element;

    static constexpr double unwritten = 1e30;
};

// Water, 1 MHz, a disc of 5 mm, 13 planes of 5 points; a Hanning pulse of 3 periods in 20 samples
// each. Shell: with 40 mm radius of curvature.
kavro_oracle::KzkBeam small_beam(bool shell = false);

// Amplitude of the n-th harmonic in the samples first ... first + count - 1 of a series, a whole
// number of periods.
double harmonic_amplitude(const std::vector<double>& series, std::size_t first, std::size_t count,
                          int periods, int n);

// A continuous sine from t = 0 on, zero before; the first cycles rise smoothly.
class RisingSine : public kavro::ExcitationFunction {
public:
    RisingSine(double frequency, double duration, double cycles_of_rise)
        : kavro::ExcitationFunction(frequency, duration, 0.0), rise_(cycles_of_rise) {}
    double at(double const& t) const override;

private:
    double rise_;
};

}  // namespace kavro_test
