#include "scenes.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <stdexcept>

namespace kavro_bench {
namespace {

constexpr double mm = 1e-3;
constexpr double us = 1e-6;
constexpr double MHz = 1e6;

struct Plane {
    double x_min, x_max;
    int nx;
    double z_min, z_max;
    int nz;
};

void set_plane(kavro::CoordinateGrid& grid, const Plane& plane) {
    const double dx = (plane.x_max - plane.x_min) / (plane.nx - 1);
    const double dz = (plane.z_max - plane.z_min) / (plane.nz - 1);
    // Half a step more, so that the count does not hang on the last digit.
    grid.RegularCoordinateGrid(plane.x_min, plane.x_max + dx / 2, 0.0, 0.0, plane.z_min,
                               plane.z_max + dz / 2, dx, 0.0, dz);
}

std::unique_ptr<BenchScene> start(const std::string& name, const std::string& what,
                                  const Plane& plane, double rate, int samples, int ndiv) {
    auto scene = std::make_unique<BenchScene>();
    scene->name = name;
    scene->what = what;
    set_plane(scene->grid, plane);
    scene->times.generatetimevectorfromminmaxdeltat(1.0 / rate, 0.0, (samples - 0.5) / rate);
    scene->medium._soundspeed = 1500.0;
    scene->medium._rho_density = 1000.0;
    scene->rule.allocate_memory(ndiv);
    scene->rule.gauss_quadrature();
    return scene;
}

// Ties the records together and writes the same scene down for the oracle.
std::unique_ptr<BenchScene> finish(std::unique_ptr<BenchScene> scene) {
    kavro_oracle::Scene& literal = scene->literal;
    for (std::size_t i = 0; i < scene->discs.size(); ++i) {
        kavro::CircularTransducer& disc = *scene->discs[i];
        disc.excitation = scene->waveforms[std::min(i, scene->waveforms.size() - 1)].get();
        disc.set_global_coordinate_grid(&scene->grid);
        disc.set_time_vector(&scene->times);
        disc.set_medium(&scene->medium);
        disc.set_integral_pointer(&scene->rule);
        scene->elements.push_back(&disc);
        if (static_cast<int>(i) < scene->literal_discs) {
            kavro_oracle::Element same;
            same.radius = disc.radius;
            same.center = {disc.center.x, disc.center.y, disc.center.z};
            same.amplitude = disc.amplitude;
            same.time_delay = disc.time_delay;
            same.waveform = scene->literal_waveform.get();
            literal.elements.push_back(same);
        }
    }
    for (int p = 0; p < scene->grid.npoints; p += scene->literal_stride) {
        const kavro::CartesianCoordinate point = scene->grid.spatial_index_value(p);
        literal.points.push_back({point.x, point.y, point.z});
    }
    literal.times = scene->times.times;
    literal.deltat = scene->times.deltat();
    literal.speed = scene->medium._soundspeed;
    literal.density = scene->medium._rho_density;
    literal.ndiv = scene->ndiv();
    return scene;
}

void add_single_disc(BenchScene& scene) {
    scene.discs.push_back(std::make_unique<kavro::CircularTransducer>(5.0 * mm));
}

// Discs in a row, focused on (x, z).
void add_row(BenchScene& scene, int count, double radius, double pitch, double x, double z) {
    const auto path = [&](int i) { return std::hypot((i - (count - 1) / 2.0) * pitch - x, z); };
    const double longest = std::max(path(0), path(count - 1));
    for (int i = 0; i < count; ++i) {
        auto disc = std::make_unique<kavro::CircularTransducer>(radius);
        disc->set_center((i - (count - 1) / 2.0) * pitch, 0.0, 0.0);
        disc->set_time_delay((longest - path(i)) / scene.medium._soundspeed);
        scene.discs.push_back(std::move(disc));
    }
}

template <class Product, class Literal>
void drive(BenchScene& scene, double f0, double w) {
    scene.waveforms.push_back(std::make_unique<Product>(f0, w, 0.0));
    scene.literal_waveform = std::make_unique<Literal>(f0, w, 0.0);
}

const Plane near_plane{0.0, 10 * mm, 101, 0.6 * mm, 60 * mm, 101};

std::unique_ptr<BenchScene> s1() {
    auto scene =
        start("S1", "1 disc, tone burst, 101 x 101 points", near_plane, 32 * MHz, 1441, 32);
    add_single_disc(*scene);
    drive<kavro::ToneBurst, kavro_oracle::ToneBurst>(*scene, 1 * MHz, 3 * us);
    return finish(std::move(scene));
}

std::unique_ptr<BenchScene> s2() {
    auto scene = start("S2", "1 disc, Hanning, 101 x 101 points", near_plane, 32 * MHz, 1441, 32);
    add_single_disc(*scene);
    drive<kavro::HanningPulse, kavro_oracle::HanningPulse>(*scene, 1 * MHz, 3 * us);
    return finish(std::move(scene));
}

std::unique_ptr<BenchScene> sixty_four_discs(const std::string& name, const std::string& what,
                                             int nx, int nz, int literal_stride) {
    auto scene =
        start(name, what, {-10 * mm, 10 * mm, nx, 5 * mm, 60 * mm, nz}, 20 * MHz, 1000, 16);
    add_row(*scene, 64, 0.25 * mm, 0.6 * mm, 3 * mm, 35 * mm);
    drive<kavro::HanningPulse, kavro_oracle::HanningPulse>(*scene, 3 * MHz, 1.5 * us);
    scene->literal_discs = 64;
    scene->literal_stride = literal_stride;
    return finish(std::move(scene));
}

// The points are a power of two, and so are those that the literal transcription sees: in both, the
// samples of a point fall on the same few cache lines.
std::unique_ptr<BenchScene> s3() {
    return sixty_four_discs("S3", "64 discs, Hanning, 64 x 64 points", 64, 64, 4);
}

// The same without that: what is left is the difference in arithmetic.
std::unique_ptr<BenchScene> s3b() {
    return sixty_four_discs("S3b", "64 discs, Hanning, 63 x 65 points", 63, 65, 5);
}

std::unique_ptr<BenchScene> one_disc_of_many_terms(const std::string& name, const std::string& what,
                                                   const Plane& plane, int literal_stride) {
    auto scene = start(name, what, plane, 32 * MHz, 1441, 32);
    add_single_disc(*scene);
    std::vector<double> signal(128);
    for (std::size_t i = 0; i < signal.size(); ++i) {
        const double t = static_cast<double>(i) / 128.0;
        signal[i] = std::sin(2 * kavro::pi * 4 * t) * std::exp(-50 * (t - 0.5) * (t - 0.5));
    }
    const double ts = 1.0 / (32 * MHz);
    const double w = 127 * ts;
    scene->waveforms.push_back(std::make_unique<kavro::ExcitationFunction>(signal, ts, w, 0.0));
    scene->literal_waveform =
        std::make_unique<kavro_oracle::SampledSignal>(std::span<const double>(signal), ts, w, 0.0);
    scene->literal_stride = literal_stride;
    return finish(std::move(scene));
}

std::unique_ptr<BenchScene> s4() {
    return one_disc_of_many_terms("S4", "1 disc, sampled waveform, 65 terms", near_plane, 16);
}

// So few points that what is made once for a call shows.
std::unique_ptr<BenchScene> s4b() {
    return one_disc_of_many_terms("S4b", "1 disc, 65 terms, 26 x 26 points",
                                  {0.0, 10 * mm, 26, 0.6 * mm, 60 * mm, 26}, 1);
}

std::unique_ptr<BenchScene> s5() {
    auto scene = start("S5", "1 disc, tone burst, 1000 x 1000 points",
                       {0.0, 10 * mm, 1000, 0.6 * mm, 60 * mm, 1000}, 6 * MHz, 256, 32);
    add_single_disc(*scene);
    drive<kavro::ToneBurst, kavro_oracle::ToneBurst>(*scene, 1 * MHz, 3 * us);
    scene->literal_stride = 64;
    return finish(std::move(scene));
}

std::unique_ptr<BenchScene> s6() {
    auto scene = start("S6", "256 discs, Hanning, 200 x 200 points",
                       {-20 * mm, 20 * mm, 200, 5 * mm, 60 * mm, 200}, 20 * MHz, 1500, 16);
    add_row(*scene, 256, 0.1 * mm, 0.25 * mm, 5 * mm, 40 * mm);
    drive<kavro::HanningPulse, kavro_oracle::HanningPulse>(*scene, 3 * MHz, 1.5 * us);
    scene->literal_discs = 256;
    scene->literal_stride = 401;
    return finish(std::move(scene));
}

// A waveform of which `count` frequencies are kept: as many cosines of equal weight, with phases
// that keep them from piling up.
std::unique_ptr<kavro::ExcitationFunction> cosines(int count, double w) {
    constexpr int n = 1024;
    std::vector<double> signal(n);
    for (int i = 0; i < n; ++i) {
        for (int k = 1; k <= count; ++k) {
            signal[static_cast<std::size_t>(i)] +=
                std::cos(2 * kavro::pi * k * i / n + kavro::pi * k * k / count);
        }
    }
    auto waveform = std::make_unique<kavro::ExcitationFunction>(signal, w / n, w, 1e-6);
    waveform->set_exact(true);
    if (waveform->n_terms != count) {
        throw std::logic_error("the sampled waveform keeps another number of frequencies");
    }
    return waveform;
}

}  // namespace

std::size_t BenchScene::output_values() const {
    return static_cast<std::size_t>(grid.npoints) * static_cast<std::size_t>(times.ntimes);
}

std::vector<std::string> scene_names() {
    return {"S1", "S2", "S3", "S3b", "S4", "S4b", "S5", "S6"};
}

std::unique_ptr<BenchScene> make_scene(const std::string& name) {
    using Maker = std::unique_ptr<BenchScene> (*)();
    constexpr Maker makers[] = {s1, s2, s3, s3b, s4, s4b, s5, s6};
    const std::vector<std::string> names = scene_names();
    const auto found = std::find(names.begin(), names.end(), name);
    if (found == names.end()) {
        throw std::invalid_argument("no scene " + name);
    }
    return makers[found - names.begin()]();
}

std::unique_ptr<BenchScene> make_scaling_scene(const ScalingScene& design) {
    constexpr double length = 40 * mm;
    constexpr double w = 3 * us;
    auto scene =
        start("", "", {-20 * mm, 20 * mm, design.side, 5 * mm, 60 * mm, design.side}, design.rate,
              static_cast<int>(std::lround(design.duration * design.rate)) + 1, design.ndiv);
    // The focus lies off the axis, so that no two delays agree.
    add_row(*scene, design.elements, 0.5 * mm, length / design.elements, 7.3 * mm, 35 * mm);
    for (const auto& disc : scene->discs) {
        if (!design.focused) {
            disc->set_time_delay(0.0);
        }
    }
    if (design.frequencies > 0) {
        scene->waveforms.push_back(cosines(design.frequencies, w));
    } else {
        scene->waveforms.push_back(std::make_unique<kavro::HanningPulse>(1 * MHz, w, 0.0));
    }
    return finish(std::move(scene));
}

}  // namespace kavro_bench
