#include "support.h"

#include <cstddef>

namespace kavro_test {

void set_axis(Scene& scene, double deltat, double tmin, int count) {
    scene.deltat = deltat;
    scene.times.clear();
    for (int i = 0; i < count; ++i) {
        scene.times.push_back(i * deltat + tmin);
    }
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

Records::Records(const kavro_oracle::Scene& scene)
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
    kavro::CircularTransducer element(disc.radius);
    element.set_center(disc.center.x, disc.center.y, disc.center.z);
    element.set_euler(disc.euler.x, disc.euler.y, disc.euler.z);
    element.set_amplitude(disc.amplitude);
    element.set_phase(disc.phase);
    element.set_piston_apodization_index(disc.apodization);
    element.set_exact(disc.exact);
    element.set_time_delay(disc.time_delay);
    element.excitation = &waveform;
    return element;
}

Stage::Stage(Scene scene, Waveform waveform)
    : scene_(std::move(scene)), waveform_(std::move(waveform)) {}

Field Stage::by_library(Solve method) const {
    Records records(scene_);
    for (const Disc& disc : scene_.discs) {
        kavro::CircularTransducer element = element_of(disc, *waveform_);
        records.connect(element);
        EXPECT_EQ((element.*method)(), kavro::status_success);
    }
    return records.pressure;
}

}  // namespace kavro_test
