#include "kzk_support.h"

#include <cmath>
#include <cstddef>
#include <numbers>

namespace kavro_test {

using kavro_oracle::KzkBeam;

KzkBeam small_beam(bool shell) {
    KzkBeam beam;
    beam.shell = shell;
    beam.radius = 5e-3;
    beam.roc = 40e-3;
    beam.amplitude = 0.3;
    beam.beta = 3.5;
    beam.attenuation = 0.1;
    beam.f0 = 1e6;
    beam.xmax = 8e-3;
    beam.zmin = 1e-3;
    beam.zmax = 61e-3;
    beam.nx = 5;
    beam.nz = 13;
    beam.extent = 3.0f;
    beam.points_per_radius = 14.0f;
    beam.duration = 3e-6;
    beam.deltat = 0.05e-6;
    beam.tmin = -3e-6;
    beam.tmax = 48e-6;
    beam.step = 0.0071f;
    beam.growth = 0.0023f;
    beam.harmonics = 6;
    return beam;
}

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
    if (beam.deltat > 0.0) {
        times.generatetimevectorfromminmaxdeltat(beam.deltat, beam.tmin, beam.tmax);
        set_kzk_tau_axis(times, *waveform, medium, grid);
    }
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

kavro::TransducerStatus KzkStage::transient() {
    rule.set_kzk_parameters(beam.extent, beam.points_per_radius, beam.step, beam.scheme,
                            beam.diffraction);
    return element->kzk_transient();
}

kavro::TransducerStatus KzkStage::harmonics() {
    rule.cw_set_kzk_parameters(beam.extent, beam.points_per_radius, beam.growth, beam.harmonics,
                               beam.source_phase);
    return element->kzk_cw();
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

double KzkStage::magnitude(int ix, int iz, int n) const {
    const std::size_t i =
        static_cast<std::size_t>(ix + grid.nx * iz) + points() * static_cast<std::size_t>(n - 1);
    return std::hypot(real[i], imag[i]);
}

double harmonic_amplitude(const std::vector<double>& series, std::size_t first, std::size_t count,
                          int periods, int n) {
    double c = 0.0;
    double s = 0.0;
    for (std::size_t i = 0; i < count; ++i) {
        const double phase = 2.0 * std::numbers::pi * n * periods * static_cast<double>(i) /
                             static_cast<double>(count);
        c += series[first + i] * std::cos(phase);
        s += series[first + i] * std::sin(phase);
    }
    return 2.0 * std::hypot(c, s) / static_cast<double>(count);
}

double RisingSine::at(double const& t) const {
    const double cycles = t * f0;
    if (t < 0.0 || t > w) {
        return 0.0;
    }
    const double share =
        cycles < rise_ ? 0.5 - 0.5 * std::cos(std::numbers::pi * cycles / rise_) : 1.0;
    return share * std::sin(2.0 * std::numbers::pi * cycles);
}

}  // namespace kavro_test
