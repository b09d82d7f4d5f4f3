#include "echo.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <random>
#include <vector>

#include "kavro.h"
#include "machine.h"
#include "measure.h"
#include "transducers/echo/node_sums.h"
#include "transducers/echo/order.h"
#include "transducers/echo/rows.h"
#include "transducers/shape.h"

namespace kavro_bench {
namespace {

using Complex = std::complex<double>;
constexpr double mm = 1e-3;
constexpr int frequencies = 96;
constexpr double first_frequency = 1e6, frequency_step = 100e3;  // Hz
constexpr double tolerance = 1e-3;

// 128 elements of 0.27 mm x 5 mm, and scatterers strewn in a slice of 40 mm x 4 mm x 40 mm.
class EchoBench {
public:
    explicit EchoBench(std::size_t scatterers) {
        medium_._soundspeed = 1540.0;
        medium_._rho_density = 1000.0;
        medium_._f0 = 5e6;
        for (int i = 0; i < 128; ++i) {
            auto& element = *owned_.emplace_back(std::make_unique<kavro::RectangularTransducer>());
            element.width = 0.27 * mm;
            element.height = 5.0 * mm;
            element.set_exact(true);
            element.set_center((i - 63.5) * 0.3 * mm, 0.0, 0.0);
            element.set_amplitude(1.0);
            element.set_medium(&medium_);
            element.InitializeRotationMatrix();
            elements_.push_back(&element);
        }
        std::mt19937 random(1);
        const auto between = [&](double low, double high) {
            return low + (high - low) * (static_cast<double>(random()) / 4294967296.0);
        };
        for (std::size_t i = 0; i < scatterers; ++i) {
            const double x = between(-20.0, 20.0), y = between(-2.0, 2.0);
            scatterers_.emplace_back(x * mm, y * mm, between(5.0, 45.0) * mm,
                                     between(-1.0, 1.0) * mm);
        }
        for (int q = 0; q < frequencies; ++q) {
            frequencies_.push_back(first_frequency + q * frequency_step);
        }
    }

    void set_losses(double beta, double exponent) {
        medium_._dBcmMHz = beta;
        medium_._b = exponent;
    }

    // All elements in every event.
    kavro::EchoScene plane_waves(std::size_t count) {
        delays_.assign(count * elements_.size(), 0.0);
        for (std::size_t i = 0; i < delays_.size(); ++i) {
            const double angle = 0.3 * static_cast<double>(i % count) / static_cast<double>(count);
            delays_[i] = static_cast<double>(i / count) * 0.3 * mm * std::sin(angle) / 1540.0;
        }
        return {.transmitters = {elements_},
                .events = {.count = count, .delays = delays_},
                .tolerance = tolerance};
    }

    // One after the other.
    kavro::EchoScene aperture() {
        const std::size_t n = elements_.size();
        delays_.assign(n * n, std::nan(""));
        for (std::size_t i = 0; i < n; ++i) {
            delays_[i + n * i] = 0.0;
        }
        return {.transmitters = {elements_},
                .events = {.count = n, .delays = delays_},
                .tolerance = tolerance};
    }

    double seconds(const kavro::EchoScene& scene, int repeat) {
        return least(repeat, [&] { kavro::pulse_echo(scene, frequencies_, scatterers_); });
    }

    // Of 60 us at 40 MHz, from a pulse of 5 MHz; how many frequencies it took into `count`.
    double seconds_over_time(const kavro::EchoScene& scene, int repeat, int& count) {
        const kavro::TimeSamples times(25e-9, 0.0, 60e-6);
        kavro::HanningPulse pulse(5e6, 0.6e-6, 0.0);
        pulse.set_exact(true);
        kavro::EchoReport report;
        const double time = least(repeat, [&] {
            kavro::pulse_echo(scene, {times, pulse}, scatterers_, &report);
        });
        count = report.frequencies;
        return time;
    }

    // Of the transfer functions alone, as a plan computes them, and of the literal loop over a part
    // of the same samples scaled up; s.
    void print_transfer_functions(int repeat, bool literal) {
        const kavro::EchoExtent extent = kavro::echo_extent({{elements_}}, scatterers_);
        const kavro::PowerLaw law(medium_, 5e6);
        const double speed = medium_._soundspeed;
        const kavro::echo::Lines lines(
            law, speed, {0.0, kavro::two_pi * first_frequency}, kavro::two_pi * frequency_step,
            frequencies, {extent.longest_way / speed, 0.5 * extent.spread / speed}, tolerance);
        const kavro::QuadratureRule none;
        const kavro::QuadratureDemand demand{
            tolerance, lines.s(0).imag() / speed, lines.highest_node() / speed, 0.0, false, 0.0, {},
            {}};
        std::vector<kavro::echo::Face> faces;
        for (kavro::Transducer* element : elements_) {
            faces.push_back(
                {element, element->edge({kavro::Method::fnm_spectral, 0, none, &demand})});
        }
        const std::vector<std::uint32_t> order = kavro::echo::order_in_space(scatterers_);
        constexpr auto lanes = static_cast<std::size_t>(kavro::block_lanes);
        kavro::echo::NodeRoom room;
        const std::size_t size = static_cast<std::size_t>(lines.most_nodes()) * lanes;
        kavro::AlignedVector<double> nodes(2 * size + lanes), row(2 * frequencies * lanes);
        double samples = 0.0, blocks = 0.0, node_count = 0.0, literal_time = 0.0,
               literal_share = 0.0;
        const double time = least(repeat, [&] {
            samples = blocks = node_count = 0.0;
            for (std::size_t first = 0; first < order.size(); first += lanes) {
                kavro::Lanes<kavro::CartesianCoordinate> points;
                for (std::size_t lane = 0; lane < lanes; ++lane) {
                    const std::size_t i = std::min(first + lane, order.size() - 1);
                    points[lane] = scatterers_[order[i]].position;
                }
                for (const kavro::echo::Face& face : faces) {
                    const kavro::echo::NodeLayout& layout =
                        sum_at_nodes(face, points, lines, room, nodes.data(), nodes.data() + size,
                                     nodes.data() + 2 * size);
                    node_count += layout.nodes();
                    for (int q = 0; q < frequencies; q += kavro::echo::Lines::slab) {
                        const auto at = static_cast<std::size_t>(q) * lanes;
                        add_transfer(
                            lines,
                            {layout, nodes.data(), nodes.data() + size, nodes.data() + 2 * size}, q,
                            std::min(q + kavro::echo::Lines::slab, frequencies), nullptr,
                            {row.data() + at, row.data() + frequencies * lanes + at});
                    }
                    samples += room.samples.count;
                    blocks += 1.0;
                }
            }
        });
        const double values = static_cast<double>(order.size() * elements_.size() * frequencies);
        std::printf("  transfer functions: %.2f s, %.2f ns a value, %.0f samples, %.0f nodes", time,
                    time / values * 1e9, samples / blocks, node_count / blocks);
        if (literal) {
            literal_time = least(1, [&] {
                for (int turn = 0; turn < 20; ++turn) {
                    literally(lines, room.samples);
                    literal_share += static_cast<double>(lanes * frequencies);
                }
            });
            // For as many samples as the mean.
            const double each =
                literal_time / literal_share * (samples / blocks) / room.samples.count;
            std::printf("; literal loop over these %.0f ns a value, ratio %.0f", each * 1e9,
                        each / (time / values));
        }
        std::printf("\n");
    }

private:
    template <class Work>
    static double least(int repeat, Work work) {
        double fastest = 1e300;
        for (int i = 0; i < repeat; ++i) {
            fastest = std::min(fastest, time_work([] {}, work).least_cpu);
        }
        return fastest;
    }

    static void literally(const kavro::echo::Lines& lines, const kavro::CombSamples& samples) {
        volatile double sink = 0.0;
        for (std::size_t lane = 0; lane < kavro::block_lanes; ++lane) {
            for (int q = 0; q < lines.count(); ++q) {
                Complex sum = 0.0;
                for (int i = 0; i < samples.count; ++i) {
                    const std::size_t at = static_cast<std::size_t>(i) * kavro::block_lanes + lane;
                    sum += samples.coefficient[at] *
                           std::exp(-(lines.s(q) + lines.mu(q)) * (samples.delay[at] + 20e-6));
                }
                sink = sink + sum.real();
            }
        }
    }

    kavro::Medium medium_;
    std::vector<std::unique_ptr<kavro::RectangularTransducer>> owned_;
    std::vector<kavro::Transducer*> elements_;
    std::vector<kavro::Scatterer> scatterers_;
    std::vector<double> frequencies_, delays_;
};

}  // namespace

void print_echo(int repeat, int threads, bool literal) {
    std::printf("%s, %s, %d thread(s), %s vectors, fastest of %d\n", processor().c_str(),
                compiler().c_str(), threads, vectors().c_str(), repeat);
    EchoBench bench(10'000);
    for (const bool lossy : {false, true}) {
        bench.set_losses(lossy ? 0.5 : 0.0, 1.1);
        std::printf(
            "128 rectangles, 10,000 scatterers, %d frequencies, tolerance %.0e, %s; s of CPU\n",
            frequencies, tolerance, lossy ? "0.5 dB/(cm MHz^1.1)" : "no losses");
        bench.print_transfer_functions(repeat, literal);
        std::printf("  a plane wave %.2f s\n", bench.seconds(bench.plane_waves(1), repeat));
        std::printf("  15 plane waves %.2f s\n", bench.seconds(bench.plane_waves(15), repeat));
        std::printf("  full aperture, 128 x 128 %.2f s\n", bench.seconds(bench.aperture(), repeat));
        int count = 0;
        const double time = bench.seconds_over_time(bench.plane_waves(1), repeat, count);
        std::printf("  a plane wave over time, 60 us, %d frequencies %.2f s\n", count, time);
    }
}

}  // namespace kavro_bench
