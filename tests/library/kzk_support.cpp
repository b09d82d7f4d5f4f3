#include "kzk_support.h"

#include <cmath>
#include <cstddef>
#include <numbers>

namespace kavro_test {

KzkStage::KzkStage(const KzkBeam& of, std::shared_ptr<kavro::ExcitationFunction> driven_by)
    : beam(of), waveform(std::move(driven_by)) {
    if (!waveform) {
        waveform = std::make_shared<kavro::HanningPulse>(beam.f0, beam.duration, 0.0);
    }
    const auto spacing = [](double min, double max, int n) {
        return n > 1 ? (max - min) / (n - 1) : 0.0;
    };
    grid.RegularCoordinateGrid(beam.xmin, beam.xmax, 0, 0, beam.zmin, beam.zmax,
                               spacing(beam.xmin, beam.xmax, beam.nx), 0,
                               spacing(beam.zmin, beam.zmax, beam.nz));
    medium._f0 = beam.f0;
    medium._soundspeed = beam.speed;
    medium._rho_density = beam.density;
    medium._beta = beam.beta;
    medium._dBcmMHz = beam.attenuation;
    times.generatetimevectorfromminmaxdeltat(beam.deltat, beam.tmin, beam.tmax);
    set_kzk_tau_axis(times, *waveform, medium, grid);
    pressure.assign(points() * static_cast<std::size_t>(times.ntimes), unwritten);
    real.assign(points() * static_cast<std::size_t>(beam.harmonics), unwritten);
    imag = real;
    if (beam.shell) {
        use(std::make_unique<kavro::SphericalTransducer>(beam.radius, beam.roc));
    } else {
        use(std::make_unique<kavro::CircularTransducer>(beam.radius));
    }
}

void KzkStage::use(std::unique_ptr<kavro::Transducer> another) {
    element = std::move(another);
    element->set_amplitude(beam.amplitude);
    element->set_exact(beam.exact);
    element->excitation = waveform.get();
    element->coordinate_grid = &grid;
    element->medium = &medium;
    element->integral = &rule;
    element->time_samples = &times;
    element->transient_pressure = pressure.data();
    element->pressure_real = real.data();
    element->pressure_imag = imag.data();
}

template <class March>
auto KzkStage::heard(March march) {
    printed.clear();
    warnings.clear();
    progress.clear();
    asked = 0;
    const kavro::console::Connection connection(
        {[this](const char* text) { printed += text; },
         [this](const char* text) { warnings.emplace_back(text); },
         [this](double done) { progress.push_back(done); },
         [this] { return ++asked, interrupted(); }});
    rule.set_kzk_parameters(beam.extent, beam.points_per_radius, beam.step, beam.scheme,
                            beam.diffraction);
    rule.kzk_parameters.growth = beam.growth;
    rule.kzk_parameters.harmonics = beam.harmonics;
    rule.kzk_parameters.source_phase = beam.source_phase;
    return march();
}

kavro::TransducerStatus KzkStage::transient() {
    return heard([this] { return element->kzk_transient(); });
}

kavro::TransducerStatus KzkStage::harmonics() {
    return heard([this] { return element->kzk_cw(); });
}

kavro::kzk::Outcome KzkStage::outcome(bool harmonic) {
    return heard([=, this] { return kavro::kzk::march(*element, harmonic); });
}

void KzkStage::both() {
    EXPECT_EQ(transient(), kavro::status_success);
    EXPECT_EQ(harmonics(), kavro::status_success);
}

KzkBeam KzkStage::for_oracle() const {
    KzkBeam complete = beam;
    complete.times = times.times;
    complete.taus = times.taus;
    complete.waveform = [this](double t) { return waveform->at(t); };
    return complete;
}

std::vector<double> KzkStage::series(int ix, int iz) const {
    std::vector<double> values;
    for (auto i = static_cast<std::size_t>(ix + grid.nx * iz); i < pressure.size(); i += points()) {
        values.push_back(pressure[i] == unwritten ? 0.0 : pressure[i]);
    }
    return values;
}

std::complex<double> KzkStage::phasor(int ix, int iz, int n) const {
    const std::size_t i =
        static_cast<std::size_t>(ix + grid.nx * iz) + points() * static_cast<std::size_t>(n - 1);
    return {real[i], imag[i]};
}

std::vector<double> KzkStage::everything() const {
    std::vector<double> all = pressure;
    all.insert(all.end(), real.begin(), real.end());
    all.insert(all.end(), imag.begin(), imag.end());
    return all;
}

double harmonic_amplitude(const std::vector<double>& series, std::size_t first, std::size_t count,
                          int periods, int n) {
    std::complex<double> sum;
    for (std::size_t i = 0; i < count; ++i) {
        sum += series[first + i] *
               std::polar(1.0, 2.0 * std::numbers::pi * n * periods * static_cast<double>(i) /
                                   static_cast<double>(count));
    }
    return 2.0 * std::abs(sum) / static_cast<double>(count);
}

double RisingSine::at(double const& t) const {
    const double cycles = t * f0;
    if (t < 0.0) {
        return 0.0;
    }
    const double share =
        cycles < rise_ ? 0.5 - 0.5 * std::cos(std::numbers::pi * cycles / rise_) : 1.0;
    return share * std::sin(2.0 * std::numbers::pi * cycles);
}

}  // namespace kavro_test
