#include "spectral.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdio>
#include <memory>
#include <vector>

#include "kavro.h"
#include "machine.h"
#include "measure.h"
#include "transducers/spectral/transfer_function.h"

namespace kavro_bench {
namespace {

using Complex = std::complex<double>;

// The median of the CPU times.
template <class Work>
double median_time(int repeat, const Work& work) {
    std::vector<double> times;
    for (int i = 0; i < repeat; ++i) {
        times.push_back(time_work([] {}, work).cpu);
    }
    std::nth_element(times.begin(), times.begin() + repeat / 2, times.end());
    return times[static_cast<std::size_t>(repeat / 2)];
}

kavro::Medium tissue(double attenuation, double exponent) {
    kavro::Medium medium;
    medium._soundspeed = 1540.0;
    medium._rho_density = 1000.0;
    medium._dBcmMHz = attenuation;
    medium._b = exponent;
    return medium;
}

// ---- the kernel

constexpr int samples_of_point = 80;
constexpr int frequencies = 192;

struct Bins {
    kavro::AlignedVector<double> re, im;

    Bins() : re(frequencies * kavro::block_lanes), im(re.size()) {}
};

void sum_literally(const kavro::Comb& comb, const kavro::CombSamples& samples,
                   const kavro::CombPoints& points, Bins& bins) {
    for (std::size_t lane = 0; lane < kavro::block_lanes; ++lane) {
        for (int q = 0; q < frequencies; ++q) {
            const Complex mu = comb.mu[static_cast<std::size_t>(q)];
            const Complex exponent = comb.s(q) + mu;
            Complex sum = 0.0;
            for (std::size_t i = 0; i < samples_of_point; ++i) {
                const std::size_t at = i * kavro::block_lanes + lane;
                sum += samples.coefficient[at] * std::exp(-exponent * samples.delay[at]);
            }
            const Complex P = comb.factor[static_cast<std::size_t>(q)] *
                              std::exp(-comb.s(q) * points.lag[lane] - mu * points.middle[lane]) *
                              sum;
            const std::size_t at = static_cast<std::size_t>(q) * kavro::block_lanes + lane;
            bins.re[at] += P.real();
            bins.im[at] += P.imag();
        }
    }
}

void print_kernel(const char* what, const kavro::Medium& medium, int repeat, bool literal) {
    constexpr double period = 6.4e-6;
    const kavro::Comb comb(kavro::PowerLaw(medium, 5e6), medium._soundspeed, 3.0 / period,
                           6.283185307179586 / period, frequencies, 0.5 * period, 1e-4);
    kavro::CombSamples samples;
    samples.count = samples_of_point;
    kavro::CombPoints points;
    for (std::size_t lane = 0; lane < kavro::block_lanes; ++lane) {
        points.middle[lane] = 2e-5 + 1e-8 * static_cast<double>(lane);
        points.lag[lane] = 1e-6;
        points.wanted[lane] = frequencies;
    }
    for (int i = 0; i < samples_of_point * kavro::block_lanes; ++i) {
        samples.coefficient.push_back(std::cos(0.37 * i));
        samples.delay.push_back(1e-6 * std::sin(0.73 * i));
    }
    const double terms = double{kavro::block_lanes} * samples_of_point * frequencies;
    Bins found, expected;
    sum_literally(comb, samples, points, expected);
    kavro::add_spectrum(comb, samples, points, {0, found.re.data(), found.im.data()});
    double largest = 0.0, off = 0.0;
    for (std::size_t i = 0; i < found.re.size(); ++i) {
        largest = std::max(largest, std::hypot(expected.re[i], expected.im[i]));
        off = std::max(off, std::hypot(found.re[i] - expected.re[i], found.im[i] - expected.im[i]));
    }
    constexpr int rounds = 200;
    const double kernel =
        median_time(repeat,
                    [&] {
                        for (int i = 0; i < rounds; ++i) {
                            kavro::add_spectrum(comb, samples, points,
                                                {0, found.re.data(), found.im.data()});
                        }
                    }) /
        rounds / terms * 1e9;
    std::printf("  %-36s %8.3f ns  off by %.0e of the largest", what, kernel, off / largest);
    if (literal) {
        const double plain =
            median_time(repeat, [&] { sum_literally(comb, samples, points, expected); }) / terms *
            1e9;
        std::printf(", literal %6.2f ns, ratio %5.1f", plain, plain / kernel);
    }
    std::printf("\n");
}

// ---- an array

// 64 elements of 0.27 mm x 5 mm, focused at 30 mm, 10,400 points of a plane or a part of them.
class TissueScene {
public:
    explicit TissueScene(double spacing) : times_(25e-9, 0.0, 40e-6), pulse_(5e6, 0.6e-6, 0.0) {
        constexpr int count = 64;
        constexpr double pitch = 0.3e-3, depth = 30e-3;
        grid_.RegularCoordinateGrid(-10e-3, 10e-3, 0, 0, 3e-3, 55e-3, spacing * 20e-3 / 103, 0,
                                    spacing * 52e-3 / 99);
        pulse_.set_exact(true);
        output_.resize(static_cast<std::size_t>(grid_.npoints) *
                       static_cast<std::size_t>(times_.ntimes));
        const double far = std::hypot(0.5 * (count - 1) * pitch, depth);
        for (int i = 0; i < count; ++i) {
            const double x = (i - 0.5 * (count - 1)) * pitch;
            auto& element =
                *elements_.emplace_back(std::make_unique<kavro::RectangularTransducer>());
            element.width = 0.27e-3;
            element.height = 5e-3;
            element.set_exact(true);
            element.set_center(x, 0.0, 0.0);
            element.set_amplitude(1.0);
            element.set_time_delay((far - std::hypot(x, depth)) / 1540.0);
            element.excitation = &pulse_;
            element.set_global_coordinate_grid(&grid_);
            element.set_time_vector(&times_);
            element.set_transient_pressure_pointer(output_.data());
            array_.push_back(&element);
        }
    }

    int points() const { return grid_.npoints; }

    const std::vector<double>& solve(kavro::Method method, kavro::Medium medium, double tolerance) {
        for (const auto& element : elements_) {
            element->set_medium(&medium);
            element->set_tolerance(tolerance);
        }
        std::fill(output_.begin(), output_.end(), 0.0);
        kavro::solve(method, array_, kavro::Output::all_zero);
        return output_;
    }

    // The largest error, of the field's largest pressure.
    double error(kavro::Method method, const kavro::Medium& medium, double tolerance,
                 const std::vector<double>& truth) {
        const std::vector<double>& found = solve(method, medium, tolerance);
        double largest = 0.0, off = 0.0;
        for (std::size_t i = 0; i < found.size(); ++i) {
            largest = std::max(largest, std::fabs(truth[i]));
            off = std::max(off, std::fabs(found[i] - truth[i]));
        }
        return off / largest;
    }

private:
    kavro::CoordinateGrid grid_;
    kavro::TimeSamples times_;
    kavro::HanningPulse pulse_;
    std::vector<double> output_;
    std::vector<std::unique_ptr<kavro::RectangularTransducer>> elements_;
    std::vector<kavro::Transducer*> array_;
};

void print_array(int repeat) {
    constexpr double tolerance = 1e-4;
    TissueScene scene(1.0), sparse(4.3);
    std::printf("\n64 rectangles, %d points, 40 us at 40 MHz, tolerance %.0e; s of CPU\n",
                scene.points(), tolerance);
    double lossless = 0.0;
    for (const bool lossy : {false, true}) {
        const kavro::Medium medium = tissue(lossy ? 0.5 : 0.0, 1.1);
        const auto method = lossy ? kavro::Method::fnm_spectral : kavro::Method::fnm_tsd;
        const std::vector<double> truth = sparse.solve(method, medium, 1e-7);
        const double error = sparse.error(method, medium, tolerance, truth);
        const double time = median_time(repeat, [&] { scene.solve(method, medium, tolerance); });
        std::printf("  %-36s %7.2f s  error %.0e\n",
                    lossy ? "0.5 dB/(cm MHz^1.1), fnm_spectral" : "lossless, fnm_tsd", time, error);
        if (lossy) {
            std::printf("  ratio %.1f\n", time / lossless);
        }
        lossless = time;
    }
}

// ---- a spectrum

// 64 rectangles of 0.27 mm x 5 mm at 700 points: a comb beside a wave for each frequency.
void print_spectrum(int repeat) {
    constexpr double tolerance = 1e-4;
    constexpr int count = 64;
    std::vector<double> f0;
    for (int f = 0; f <= 140; ++f) {
        f0.push_back(1e6 + 5e4 * f);
    }
    kavro::Medium medium = tissue(0.5, 1.1);
    medium._reference_frequency = 5e6;
    kavro::CoordinateGrid grid;
    grid.RegularCoordinateGrid(-10e-3, 10e-3, 0, 0, 3e-3, 55e-3, 0.8e-3, 0, 2e-3);
    const auto points = static_cast<std::size_t>(grid.npoints);
    std::vector<double> comb_re(points * f0.size()), comb_im(comb_re.size());
    std::vector<double> wave_re(comb_re.size()), wave_im(comb_re.size());
    std::vector<std::unique_ptr<kavro::RectangularTransducer>> elements;
    std::vector<kavro::Transducer*> array;
    for (int i = 0; i < count; ++i) {
        auto& element = *elements.emplace_back(std::make_unique<kavro::RectangularTransducer>());
        element.width = 0.27e-3;
        element.height = 5e-3;
        element.set_exact(true);
        element.set_center((i - 0.5 * (count - 1)) * 0.3e-3, 0.0, 0.0);
        element.set_amplitude(1.0);
        element.set_global_coordinate_grid(&grid);
        element.set_medium(&medium);
        element.set_tolerance(tolerance);
        array.push_back(&element);
    }
    const auto output = [&](std::vector<double>& re, std::vector<double>& im, std::size_t layer) {
        for (const auto& element : elements) {
            element->set_complex_pressure_pointers(re.data() + layer * points,
                                                   im.data() + layer * points);
        }
    };
    const double together = median_time(repeat, [&] {
        std::fill(comb_re.begin(), comb_re.end(), 0.0);
        std::fill(comb_im.begin(), comb_im.end(), 0.0);
        output(comb_re, comb_im, 0);
        kavro::solve_spectrum(array, f0);
    });
    const double apart = median_time(repeat, [&] {
        std::fill(wave_re.begin(), wave_re.end(), 0.0);
        std::fill(wave_im.begin(), wave_im.end(), 0.0);
        for (std::size_t f = 0; f < f0.size(); ++f) {
            medium._f0 = f0[f];
            output(wave_re, wave_im, f);
            kavro::solve(kavro::Method::fnm_cw, array);
        }
    });
    double largest = 0.0, off = 0.0;
    for (std::size_t i = 0; i < comb_re.size(); ++i) {
        largest = std::max(largest, std::hypot(wave_re[i], wave_im[i]));
        off = std::max(off, std::hypot(comb_re[i] - wave_re[i], comb_im[i] - wave_im[i]));
    }
    std::printf("\n64 rectangles, %d points, %zu frequencies, tolerance %.0e; s of CPU\n",
                grid.npoints, f0.size(), tolerance);
    std::printf(
        "  one comb %.2f s, a wave for each %.2f s, ratio %.1f; apart by %.0e of the peak\n",
        together, apart, apart / together, off / largest);
}

}  // namespace

void print_spectral(int repeat, int threads, bool literal) {
    std::printf("%s, %s, %d thread(s), %s vectors, medians of %d\n", processor().c_str(),
                compiler().c_str(), threads, vectors().c_str(), repeat);
    std::printf("the kernel, for a point, sample and frequency:\n");
    print_kernel("no losses", tissue(0.0, 1.0), repeat, literal);
    print_kernel("0.5 dB/(cm MHz^1.1)", tissue(0.5, 1.1), repeat, literal);
    print_kernel("0.0022 dB/(cm MHz^2)", tissue(0.0022, 2.0), repeat, literal);
    print_array(repeat);
    print_spectrum(repeat);
}

}  // namespace kavro_bench
