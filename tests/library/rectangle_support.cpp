#include "rectangle_support.h"

#include <cmath>
#include <cstddef>

namespace kavro_test {
namespace {

// What scenes of discs and of rectangles have in common.
Scene without_elements(const RectangleScene& scene) {
    Scene common;
    common.points = scene.points;
    common.times = scene.times;
    common.deltat = scene.deltat;
    common.speed = scene.speed;
    common.density = scene.density;
    common.f0 = scene.f0;
    common.attenuation = scene.attenuation;
    common.ndiv = scene.ndiv;
    return common;
}

}  // namespace

RectangleScene rectangle_scene() {
    RectangleScene scene;
    scene.rectangles = {Rectangle{}};  // 4 mm x 6 mm
    for (const double x : {-3.1e-3, -2e-3, -0.7e-3, 0.0, 2e-3, 4.4e-3}) {
        for (const double y : {-3e-3, -1.9e-3, 0.0, 2.2e-3, 5e-3}) {
            for (const double z : {-1e-3, 0.0, 0.4e-3, 7e-3}) {
                scene.points.push_back({x, y, z});
            }
        }
    }
    scene.deltat = 1.0 / 32e6;
    for (int i = 0; i < 420; ++i) {
        scene.times.push_back(i * scene.deltat);
    }
    return scene;
}

void set_times(RectangleScene& scene, double deltat, double tmin, int count) {
    Scene axis;
    set_axis(axis, deltat, tmin, count);
    scene.times = axis.times;
    scene.deltat = deltat;
}

std::vector<Rectangle> turned_rectangles() {
    return {{2e-3, 5e-3, {1e-3, -2e-3, 5e-4}, {0.3, -0.4, 0.7}, 1.5, 0.4, 4e-7, nullptr},
            {1e-3, 1e-3, {-3e-3, 0, 0}, {-0.2, 0.1, 2.0}, -0.25, -2.0, -3e-7, nullptr},
            {6e-3, 0.5e-3, {0, 1e-3, -1e-3}, {3.0, 0.05, -1.0}, 1, 0, 0, nullptr},
            {2e-3, 2e-3, {0, 0, 0}, {0, 0, 0}, 1e-10, 0, 0, nullptr},
            {5e-4, 3e-3, {2e-3, 2e-3, 1e-3}, {0, 0, 0}, 1.0000001e-10, 1, 1e-6, nullptr}};
}

RectangleRecords::RectangleRecords(const RectangleScene& scene) : Records(without_elements(scene)) {
    rule.gauss_quadrature();
}

kavro::RectangularTransducer element_of(const Rectangle& rectangle, bool exact) {
    kavro::RectangularTransducer element(rectangle.width, rectangle.height);
    element.set_center(rectangle.center.x, rectangle.center.y, rectangle.center.z);
    element.set_euler(rectangle.euler.x, rectangle.euler.y, rectangle.euler.z);
    element.set_amplitude(rectangle.amplitude);
    element.set_phase(rectangle.phase);
    element.set_time_delay(rectangle.time_delay);
    element.set_exact(exact);
    return element;
}

Field transient_by_library(const RectangleScene& scene, RectangleSolve method,
                           kavro::ExcitationFunction& waveform) {
    RectangleRecords records(scene);
    for (const Rectangle& rectangle : scene.rectangles) {
        kavro::RectangularTransducer element = element_of(rectangle, scene.exact);
        records.connect(element);
        element.excitation = &waveform;
        EXPECT_EQ((element.*method)(), kavro::status_success);
    }
    return records.pressure;
}

std::vector<Complex> cw_by_library(const RectangleScene& scene, RectangleSolve method) {
    RectangleRecords records(scene);
    for (const Rectangle& rectangle : scene.rectangles) {
        kavro::RectangularTransducer element = element_of(rectangle, scene.exact);
        records.connect_continuous_wave(element);
        records.rule.allocate_memory(scene.ndiv);  // whatever size the one before left it with
        records.rule.gauss_quadrature();
        EXPECT_EQ((element.*method)(), kavro::status_success);
    }
    std::vector<Complex> field(scene.points.size());
    for (std::size_t p = 0; p < field.size(); ++p) {
        field[p] = {records.pressure_real[p], records.pressure_imag[p]};
    }
    return field;
}

RectangleScene driven(RectangleScene scene, const kavro_oracle::Waveform& waveform) {
    for (Rectangle& rectangle : scene.rectangles) {
        rectangle.waveform = &waveform;
    }
    return scene;
}

testing::AssertionResult agrees(const std::vector<Complex>& field,
                                const std::vector<Complex>& expected,
                                const std::vector<double>& scale, double tolerance) {
    for (std::size_t p = 0; p < expected.size(); ++p) {
        const double difference = std::abs(field[p] - expected[p]);
        const bool is_singular = !std::isfinite(expected[p].real());
        if (is_singular ? std::isfinite(field[p].real()) : !(difference <= tolerance * scale[p])) {
            return testing::AssertionFailure()
                   << "point " << p << ": " << field[p] << " instead of " << expected[p]
                   << ", off by " << difference / scale[p] << " of " << scale[p];
        }
    }
    return testing::AssertionSuccess();
}

}  // namespace kavro_test
