#include "support.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace kavro_test {

void set_axis(Scene& scene, double deltat, double tmin, int count) {
    scene.deltat = deltat;
    scene.times.clear();
    for (int i = 0; i < count; ++i) {
        scene.times.push_back(i * deltat + tmin);
    }
}

void set_list(Scene& scene, std::vector<double> times) {
    scene.deltat = 0.0;
    scene.times = std::move(times);
}

Scene plain_scene() {
    Scene scene;
    scene.ndiv = 12;
    Disc disc;
    disc.radius = 3e-3;
    scene.discs = {disc};
    scene.points = {
        {0, 0, 5e-3},           // on the axis
        {1e-3, -1e-3, 4e-3},    // over the face
        {0, 3e-3, 2e-3},        // over the rim
        {5e-3, 1e-3, 6e-3},     // outside
        {2.5e-3, 1e-3, 3e-4},   // close to the face
        {0, 0, 0},              // the centre of the face
        {3e-3, 0, 0},           // on the rim
        {-4.5e-3, 2e-3, 0},     // in the plane, outside
        {1e-3, 0, -1e-6},       // behind
        {0, -2.999999e-3, 0.0}  // in the plane, just inside
    };
    set_axis(scene, 1.0 / 32e6, 0.0, 300);
    return scene;
}

Scene crowded_scene(std::size_t npoints) {
    Scene scene = plain_scene();
    scene.discs = {{2e-3, {0, 0, 0}, {0.1, 0.2, 0.3}, 1.5, 2e-7, nullptr},
                   {1e-3, {-3e-3, 0, 0}, {-0.2, 0.1, 2.0}, -1, 0, nullptr},
                   {1.5e-3, {4e-3, 1e-3, 0}, {0, 0, 0}, 1, 2e-7, nullptr}};
    const std::vector<double> random = noise(3 * npoints, 41);
    scene.points.clear();
    for (std::size_t p = 0; p < npoints; ++p) {
        scene.points.push_back(
            {5e-3 * random[3 * p], 5e-3 * random[3 * p + 1], 3e-3 + 4e-3 * random[3 * p + 2]});
    }
    set_axis(scene, 1.0 / 20e6, 0.0, 160);
    return scene;
}

Records::Records(const Scene& scene)
    : pressure(kavro_oracle::silence(scene)),
      pressure_real(scene.points.size()),
      pressure_imag(scene.points.size()) {
    std::vector<double> columns;
    for (const Triple& p : scene.points) {
        columns.push_back(p.x);
    }
    for (const Triple& p : scene.points) {
        columns.push_back(p.y);
    }
    for (const Triple& p : scene.points) {
        columns.push_back(p.z);
    }
    grid.CoordinateGridVector(columns.data(), static_cast<int>(scene.points.size()));
    times.times = scene.times;
    times.ntimes = static_cast<std::int32_t>(scene.times.size());
    times._deltat = scene.deltat;
    medium._soundspeed = scene.speed;
    medium._rho_density = scene.density;
    medium._f0 = scene.f0;
    medium._dBcmMHz = scene.attenuation;
    rule.allocate_memory(scene.ndiv);
}

void Records::connect(kavro::Transducer& element) {
    element.set_global_coordinate_grid(&grid);
    element.set_time_vector(&times);
    element.set_medium(&medium);
    element.set_integral_pointer(&rule);
    element.set_transient_pressure_pointer(pressure.data());
}

void Records::connect_continuous_wave(kavro::Transducer& element) {
    connect(element);
    element.set_complex_pressure_pointers(pressure_real.data(), pressure_imag.data());
}

kavro::CircularTransducer element_of(const Disc& disc, kavro::ExcitationFunction& waveform) {
    kavro::CircularTransducer element = element_of(disc);
    element.excitation = &waveform;
    return element;
}

kavro::CircularTransducer element_of(const Disc& disc) {
    kavro::CircularTransducer element(disc.radius);
    element.set_center(disc.center.x, disc.center.y, disc.center.z);
    element.set_euler(disc.euler.x, disc.euler.y, disc.euler.z);
    element.set_amplitude(disc.amplitude);
    element.set_phase(disc.phase);
    element.set_piston_apodization_index(disc.apodization);
    element.set_exact(disc.exact);
    element.set_time_delay(disc.time_delay);
    return element;
}

const std::vector<Method>& real_methods() {
    using kavro::CircularTransducer;
    using kavro_oracle::DelayBy;
    static const std::vector<Method> methods = {
        {"fnm_tsd_sse", &CircularTransducer::fnm_tsd_sse,
         [](const Scene& scene, Field& field, WindowLog* log) {
             kavro_oracle::add_single(scene, DelayBy::quotient, field, log);
         },
         true},
        {"fnm_tsd_low_precision", &CircularTransducer::fnm_tsd_low_precision,
         [](const Scene& scene, Field& field, WindowLog* log) {
             kavro_oracle::add_single(scene, DelayBy::reciprocal, field, log);
         },
         true},
        {"fnm_tsd", &CircularTransducer::fnm_tsd,
         [](const Scene& scene, Field& field, WindowLog* log) {
             kavro_oracle::add_double(scene, kavro_oracle::Terms::real, field, log);
         },
         false}};
    return methods;
}

const Method& complex_method() {
    static const Method method = {"fnm_fdtsd", &kavro::CircularTransducer::fnm_fdtsd,
                                  [](const Scene& scene, Field& field, WindowLog* log) {
                                      kavro_oracle::add_double(scene, kavro_oracle::Terms::complex,
                                                               field, log);
                                  },
                                  false};
    return method;
}

Stage::Stage(Scene scene, Waveform waveform)
    : scene_(std::move(scene)), waveform_(std::move(waveform)), wrapped_(*waveform_) {}

Field Stage::by_library(Solve method) const {
    Records records(scene_);
    for (const Disc& disc : scene_.discs) {
        kavro::CircularTransducer element = element_of(disc, *waveform_);
        records.connect(element);
        EXPECT_EQ((element.*method)(), kavro::status_success);
    }
    return records.pressure;
}

Scene Stage::for_oracle(const kavro_oracle::Waveform* waveform) const {
    Scene scene = scene_;
    for (Disc& disc : scene.discs) {
        disc.waveform = waveform != nullptr ? waveform : &wrapped_;
    }
    return scene;
}

namespace {

void note(const kavro_oracle::PointWindows& windows, std::size_t p, Yardstick& yardstick) {
    for (const double terms : windows.terms) {
        yardstick.terms_scale[p] = std::fmax(yardstick.terms_scale[p], terms);
    }
    const std::size_t npoints = yardstick.scale.size();
    for (std::size_t i = p; i < yardstick.field.size(); i += npoints) {
        const auto j = static_cast<int>(i / npoints);
        const auto reaches = [j](const kavro_oracle::Window& w) { return w.contains(j); };
        if (reaches(windows.direct) || std::ranges::any_of(windows.edge, reaches)) {
            yardstick.touched[i] = 1;
        }
    }
}

}  // namespace

Yardstick yardstick_of(Field field, const WindowLog& log, std::size_t npoints) {
    Yardstick yardstick;
    yardstick.field = std::move(field);
    yardstick.touched.assign(yardstick.field.size(), 0);
    yardstick.scale.assign(npoints, 0.0);
    yardstick.terms_scale.assign(npoints, 0.0);
    for (std::size_t i = 0; i < yardstick.field.size(); ++i) {
        double& scale = yardstick.scale[i % npoints];
        scale = std::fmax(scale, std::fabs(yardstick.field[i]));
    }
    for (std::size_t entry = 0; entry < log.size(); ++entry) {
        note(log[entry], entry % npoints, yardstick);
    }
    return yardstick;
}

Yardstick yardstick_of(const Stage& stage, const Method& method,
                       const kavro_oracle::Waveform* waveform) {
    const Scene scene = stage.for_oracle(waveform);
    Field field = kavro_oracle::silence(scene);
    WindowLog log;
    method.oracle(scene, field, &log);
    return yardstick_of(std::move(field), log, scene.points.size());
}

testing::AssertionResult agrees(const Field& field, const Yardstick& yardstick, double tolerance,
                                bool by_terms) {
    const std::size_t npoints = yardstick.scale.size();
    for (std::size_t i = 0; i < field.size(); ++i) {
        const double expected = yardstick.field[i];
        const double scale = std::fmax(yardstick.scale[i % npoints],
                                       by_terms ? yardstick.terms_scale[i % npoints] : 0.0);
        const double difference = std::fabs(field[i] - expected);
        const bool same =
            std::isnan(expected) ? std::isnan(field[i]) : difference <= tolerance * scale;
        if (!same || (yardstick.touched[i] == 0 && field[i] != 0.0)) {
            return testing::AssertionFailure()
                   << "point " << i % npoints << ", sample " << i / npoints << ": " << field[i]
                   << " instead of " << expected << ", off by " << difference / scale << " of "
                   << scale << (yardstick.touched[i] != 0 ? "" : ", where no wave is");
        }
    }
    return testing::AssertionSuccess();
}

}  // namespace kavro_test
