// What the tests of the nonlinear marches share: one beam for library and oracle.
#pragma once

#include <complex>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "kavro.h"
#include "oracle/kzk.h"
#include "stage.h"
#include "transducers/kzk/march.h"

namespace kavro_test {

using kavro_oracle::KzkBeam;

// One thread, so that a busy machine does not make the many short steps wait for each other.
class Kzk : public Variants {
protected:
    Kzk() { kavro::set_thread_count(1); }
};

// A beam's records, and the element that marches it.
class KzkStage {
public:
    explicit KzkStage(const KzkBeam& beam,
                      std::shared_ptr<kavro::ExcitationFunction> waveform = nullptr);

    // Puts another element in the place of the disc or shell.
    void use(std::unique_ptr<kavro::Transducer> another);

    // Set the parameters of the beam and march; the console is heard.
    kavro::TransducerStatus transient();
    kavro::TransducerStatus harmonics();
    kavro::kzk::Outcome outcome(bool harmonic);
    void both();  // successfully

    // The beam with everything that the oracle reads of the axes.
    KzkBeam for_oracle() const;

    std::size_t points() const { return static_cast<std::size_t>(grid.nx * grid.nz); }
    // Time series of a point, zero where nothing was written.
    std::vector<double> series(int ix, int iz) const;
    std::complex<double> phasor(int ix, int iz, int n) const;  // of harmonic n
    double magnitude(int ix, int iz, int n) const { return std::abs(phasor(ix, iz, n)); }
    // What both marches have stored.
    std::vector<double> everything() const;

    KzkBeam beam;
    std::shared_ptr<kavro::ExcitationFunction> waveform;
    kavro::CoordinateGrid grid;
    kavro::TimeSamples times;
    kavro::Medium medium;
    kavro::NumericalIntegration rule;
    std::vector<double> pressure, real, imag;  // filled with `unwritten`
    std::unique_ptr<kavro::Transducer> element;

    // What the last march told the console, and what it is told.
    std::string printed;
    std::vector<std::string> warnings;
    std::vector<double> progress;
    int asked = 0;
    std::function<bool()> interrupted = [] { return false; };

    static constexpr double unwritten = 1e30;

private:
    template <class March>
    auto heard(March march);
};

inline KzkBeam small_beam(bool shell = false) {
    KzkBeam beam;
    beam.shell = shell;
    return beam;
}

// Amplitude of the n-th harmonic in the samples first ... first + count - 1 of a series, a whole
// number of periods.
double harmonic_amplitude(const std::vector<double>& series, std::size_t first, std::size_t count,
                          int periods, int n);

// A continuous sine from t = 0 on, zero before; the first cycles rise smoothly. It does not end
// with its duration, as the source must.
class RisingSine : public kavro::ExcitationFunction {
public:
    RisingSine(double frequency, double duration, double cycles_of_rise)
        : kavro::ExcitationFunction(frequency, duration, 0.0), rise_(cycles_of_rise) {}
    double at(double const& t) const override;

private:
    double rise_;
};

}  // namespace kavro_test
