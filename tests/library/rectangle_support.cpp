#include "rectangle_support.h"

#include <cstddef>

namespace kavro_test {

RectangleScene rectangle_scene() {
    RectangleScene scene;
    scene.f0 = 1e6;
    scene.ndiv = 12;
    scene.rectangles.resize(1);
    scene.rectangles[0].width = 4e-3;
    scene.rectangles[0].height = 6e-3;
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

RectangleRecords::RectangleRecords(const RectangleScene& scene) : Records(scene) {
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

}  // namespace kavro_test
