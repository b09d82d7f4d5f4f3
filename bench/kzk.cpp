#include "kzk.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <stdexcept>

#include "kavro.h"
#include "machine.h"
#include "oracle/kzk.h"

namespace kavro_bench {
namespace {

double seconds(int threads) {
    if (threads == 1) {
        timespec now{};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
        return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
    }
    using Clock = std::chrono::steady_clock;
    return std::chrono::duration<double>(Clock::now().time_since_epoch()).count();
}

template <class Work>
double median_time(int repeat, int threads, Work work) {
    std::vector<double> times;
    for (int i = 0; i < repeat; ++i) {
        const double start = seconds(threads);
        work();
        times.push_back(seconds(threads) - start);
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

// A disc in water at 1 MHz, and the records that both sides read.
class Scene {
public:
    explicit Scene(bool implicit) : waveform_(1e6, 5e-6, 0.0), element_(5e-3) {
        beam.nx = beam.nz = 1;
        beam.xmax = 0.0;
        beam.zmin = beam.zmax = 0.1 * 52.36e-3;
        beam.extent = 8.0f;
        beam.points_per_radius = 50.0f;
        beam.duration = 5e-6;
        beam.deltat = 1e-8;
        beam.tmin = -2e-6;
        beam.tmax = 18e-6 + beam.zmax / beam.speed;
        beam.step = 0.002f;
        beam.scheme = implicit ? 1.0f : 0.0f;
        beam.harmonics = 30;
        beam.growth = 0.0005f;
        beam.waveform = [this](double t) { return waveform_.at(t); };
        grid_.RegularCoordinateGrid(0, 0, 0, 0, beam.zmin, beam.zmax, 0, 0, 0);
        medium_._f0 = beam.f0;
        medium_._soundspeed = beam.speed;
        medium_._rho_density = beam.density;
        medium_._beta = beam.beta;
        medium_._dBcmMHz = beam.attenuation;
        times_.generatetimevectorfromminmaxdeltat(beam.deltat, beam.tmin, beam.tmax);
        set_kzk_tau_axis(times_, waveform_, medium_, grid_);
        beam.times = times_.times;
        beam.taus = times_.taus;
        pressure.assign(static_cast<std::size_t>(times_.ntimes), 0.0);
        real.assign(static_cast<std::size_t>(beam.harmonics), 0.0);
        imag = real;
        element_.set_amplitude(beam.amplitude);
        element_.excitation = &waveform_;
        element_.coordinate_grid = &grid_;
        element_.medium = &medium_;
        element_.integral = &rule_;
        element_.time_samples = &times_;
        element_.transient_pressure = pressure.data();
        element_.pressure_real = real.data();
        element_.pressure_imag = imag.data();
    }

    void transient() {
        rule_.set_kzk_parameters(beam.extent, beam.points_per_radius, beam.step, beam.scheme, 1.0f);
        require(element_.kzk_transient());
    }
    void harmonics() {
        rule_.cw_set_kzk_parameters(beam.extent, beam.points_per_radius, beam.growth,
                                    beam.harmonics, 0);
        require(element_.kzk_cw());
    }

    kavro_oracle::KzkBeam beam;
    std::vector<double> pressure, real, imag;

private:
    static void require(kavro::TransducerStatus status) {
        if (status != kavro::status_success) {
            throw std::runtime_error("the library did not march the scene");
        }
    }

    kavro::HanningPulse waveform_;
    kavro::CircularTransducer element_;
    kavro::CoordinateGrid grid_;
    kavro::Medium medium_;
    kavro::TimeSamples times_;
    kavro::NumericalIntegration rule_;
};

double distance(const std::vector<double>& field, const std::vector<double>& reference) {
    double peak = 0.0;
    double difference = 0.0;
    for (std::size_t i = 0; i < reference.size(); ++i) {
        peak = std::max(peak, std::abs(reference[i]));
        difference = std::max(difference, std::abs(field[i] - reference[i]));
    }
    return difference / peak;
}

void print(const KzkRow& row) {
    std::printf("%-10s %10.4f %10.4f %8.1f %10.1e  %s\n", row.name.c_str(), row.product,
                row.literal, row.literal / row.product, row.difference, row.what.c_str());
    std::fflush(stdout);
}

}  // namespace

std::vector<KzkRow> measure_kzk(int repeat, int threads, bool with_literal) {
    kavro::console::Port port;
    port.print = [](const char*) {};  // the disc tells its coefficient of nonlinearity
    const kavro::console::Connection quiet(port);
    std::printf("%s, %s, %d thread(s), %s vectors, medians of %d; s per march\n\n",
                processor().c_str(), compiler().c_str(), threads, vectors().c_str(), repeat);
    std::printf("%-10s %10s %10s %8s %10s\n", "", "library", "literal", "ratio", "differ");
    std::vector<KzkRow> rows;
    for (const bool implicit : {true, false}) {
        Scene scene(implicit);
        KzkRow row;
        row.name = implicit ? "transient" : "transientCN";
        row.what = std::string(implicit ? "backward Euler" : "Crank-Nicolson") +
                   ", 51 steps, 2000 x 400 grid";
        row.product = median_time(repeat, threads, [&] { scene.transient(); });
        if (with_literal) {
            kavro_oracle::KzkTransientField field;
            row.literal = median_time(std::max(1, repeat / 3), 1, [&] {
                field = kavro_oracle::kzk_transient<float>(scene.beam);
            });
            row.difference = distance(scene.pressure, field.pressure);
        }
        print(row);
        rows.push_back(row);
    }
    Scene scene(true);
    KzkRow row;
    row.name = "harmonic";
    row.what = "30 harmonics, 20 + 92 steps, 400 radii";
    row.product = median_time(repeat, threads, [&] { scene.harmonics(); });
    if (with_literal) {
        kavro_oracle::KzkHarmonics field;
        row.literal = median_time(std::max(1, repeat / 3), 1,
                                  [&] { field = kavro_oracle::kzk_cw(scene.beam); });
        row.what = "30 harmonics, " + std::to_string(field.first_stage) + " + " +
                   std::to_string(field.second_stage) + " steps, 400 radii";
        row.difference =
            std::max(distance(scene.real, field.real), distance(scene.imag, field.imag));
    }
    print(row);
    rows.push_back(row);
    return rows;
}

void write_kzk(const std::vector<KzkRow>& rows, int threads, const std::string& file) {
    std::ofstream out(file);
    out << "{" << machine_as_json(threads) << ", \"marches\": [";
    for (std::size_t i = 0; i < rows.size(); ++i) {
        out << (i > 0 ? ",\n" : "\n") << "  {\"name\": \"" << rows[i].name << "\", \"scene\": \""
            << rows[i].what << "\", \"library_s\": " << rows[i].product
            << ", \"literal_s\": " << rows[i].literal
            << ", \"difference_from_literal\": " << rows[i].difference << "}";
    }
    out << "\n]}\n";
}

}  // namespace kavro_bench
