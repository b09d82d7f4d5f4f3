#include "literal.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string_view>

namespace kavro_test {

using kavro::CartesianCoordinate;
using kavro::Operation;
using kavro::OperationKind;
using kavro_oracle::DelayBy;
using kavro_oracle::Element;
using kavro_oracle::Shape;

namespace {

Element literal_element(const Source& source) {
    Element element;
    const Values& sizes = source.sizes;
    if (source.shape == "rect") {
        element.shape = Shape::rectangle;
        element.width = sizes[0];
        element.height = sizes[1];
    } else if (source.shape == "circ") {
        element.radius = sizes[0];
    } else {
        const bool holed = source.shape != "shel";
        element.shape = source.shape == "ring" ? Shape::ring : Shape::bowl;
        element.inner_radius = holed ? sizes[0] : 0.0;
        element.radius = sizes[holed ? 1 : 0];
        element.focus = is_bowl(source) ? sizes.back() : 0.0;
    }
    element.center = {source.center.x, source.center.y, source.center.z};
    element.euler = {source.euler.x, source.euler.y, source.euler.z};
    element.amplitude = source.amplitude;
    element.phase = source.phase;
    element.time_delay = source.time_delay;
    element.exact = source.exact;
    return element;
}

}  // namespace

Literal::Literal(const Tank& tank) {
    for (const Source& source : tank.sources) {
        scene.elements.push_back(literal_element(source));
        const Waveform& waveform = source.waveform ? source.waveform : tank.waveform;
        if (waveform) {
            waveforms_.emplace_back(*waveform);
            scene.elements.back().waveform = &waveforms_.back();
        }
    }
    for (const CartesianCoordinate& p : tank.points()) {
        scene.points.push_back({p.x, p.y, p.z});
    }
    scene.times = tank.times.times;
    scene.deltat = tank.times.deltat();
    scene.speed = tank.medium._soundspeed;
    scene.density = tank.medium._rho_density;
    scene.f0 = tank.medium._f0;
    scene.attenuation = tank.medium._dBcmMHz;
    scene.ndiv = tank.rule.npoints;
}

namespace {

bool is_single(std::string_view name) {
    return name == "fnm_tsd_sse" || name == "fnm_tsd_low_precision";
}

bool is_single_wave(std::string_view name) {
    return name.starts_with("fnm_cw_sse");
}

}  // namespace

Expected expected_of(const Tank& tank, const Operation& operation) {
    const Literal literal(tank);
    const kavro_oracle::Scene& scene = literal.scene;
    const std::size_t npoints = scene.points.size();
    if (operation.kind == OperationKind::continuous_wave) {
        const char* name = operation.name;
        if (tank.sources.front().exact && is_single_wave(name)) {  // held against double precision
            name = "fnm_cw";
        }
        kavro_oracle::ComplexField field = continuous_wave(scene, name);
        return {field.values, field.terms, {}, npoints};
    }
    const std::string_view name = operation.name;
    const auto behind = name.ends_with("behind_source") ? kavro_oracle::Behind::computed
                                                        : kavro_oracle::Behind::skipped;
    Values field = silence(scene);
    kavro_oracle::Trace trace(scene);
    if (name.starts_with("fnm_transient")) {
        add_direct(scene, field, &trace, behind);
    } else if (is_single(name) && !tank.sources.front().exact) {
        add_single(scene, name == "fnm_tsd_sse" ? DelayBy::quotient : DelayBy::reciprocal, field,
                   &trace, kavro_oracle::Sums::unrounded);
    } else {
        const bool real = name.starts_with("fnm_tsd");  // exact single ones are held against these
        add_double(scene, real ? kavro_oracle::Terms::real : kavro_oracle::Terms::complex, field,
                   &trace, behind);
    }
    if (name.starts_with("fnm_transient")) {  // an onset is no better than its instants
        for (double& terms : trace.terms) {
            terms += 1e-3 * scene.density * scene.speed;
        }
    }
    return {Complexes(field.begin(), field.end()), trace.terms, trace.touched, npoints};
}

testing::AssertionResult agrees(const Complexes& found, const Expected& expected, double tolerance,
                                Measure measure) {
    Values scale(expected.npoints);
    for (std::size_t i = 0; i < expected.values.size(); ++i) {
        double& most = scale[i % expected.npoints];
        most = std::fmax(most, std::abs(expected.values[i]));
        most = std::fmax(most, measure == Measure::terms ? expected.terms[i] : 0.0);
    }
    for (std::size_t i = 0; i < found.size(); ++i) {
        const double difference = std::abs(found[i] - expected.values[i]);
        const bool silent = !expected.touched.empty() && expected.touched[i] == 0;
        const bool same = std::isnan(std::abs(expected.values[i]))
                              ? std::isnan(std::abs(found[i]))
                              : difference <= tolerance * scale[i % expected.npoints];
        if (!same || (silent && found[i] != 0.0)) {
            return testing::AssertionFailure()
                   << "point " << i % expected.npoints << ", sample " << i / expected.npoints
                   << ": " << found[i] << " instead of " << expected.values[i] << ", off by "
                   << difference / scale[i % expected.npoints] << " of "
                   << scale[i % expected.npoints] << (silent ? ", where no wave is" : "");
        }
    }
    return testing::AssertionSuccess();
}

namespace {

double tolerance_of(const Source& source, std::string_view name) {
    if (source.exact && is_single_wave(name)) {
        return 5e-6;
    }
    if (name.starts_with("fnm_cw_sse")) {
        return source.shape == "circ" ? 1e-13 : is_bowl(source) ? 2e-5 : 1e-6;
    }
    if (is_single(name)) {
        return source.exact ? 2e-7 : 1e-6;
    }
    if (name == "fnm_transient") {
        return 1e-12;
    }
    return is_bowl(source) && !name.starts_with("fnm_tsd") ? 2e-12 : 1e-13;
}

}  // namespace

testing::AssertionResult is_like_the_oracle(const Tank& tank, const Operation& operation,
                                            Measure measure) {
    return agrees(waves_in(tank, operation), expected_of(tank, operation),
                  tolerance_of(tank.sources[0], operation.name), measure);
}

Complexes waves_in(const Tank& tank, const Operation& operation) {
    const Values values = measured(tank, operation);
    if (operation.kind != OperationKind::continuous_wave) {
        return {values.begin(), values.end()};
    }
    const std::size_t n = values.size() / 2;
    Complexes waves;
    for (std::size_t i = 0; i < n; ++i) {
        waves.emplace_back(values[i], values[n + i]);
    }
    return waves;
}

Complexes waves_in(const Tank& tank, const char* operation) {
    return waves_in(tank, operation_named(operation));
}

Values measured(const Tank& tank, const char* operation) {
    return measured(tank, operation_named(operation));
}

// ---- tanks

Tank tank_of(const Source& source) {
    Tank tank;
    tank.sources = {source};
    tank.set_axis(1.0 / 32e6, 0.0, 300);
    tank.medium._dBcmMHz = 0.0;
    return tank;
}

std::vector<CartesianCoordinate> points_around(const Source& source) {
    const Element element = literal_element(source);
    const bool rectangle = element.shape == Shape::rectangle;
    const double a = rectangle ? element.width / 2 : element.radius;
    const double b = rectangle ? element.height / 2 : a;
    const double d = is_bowl(source) ? element.focus : 3.0 * a;
    const double depth = is_bowl(source) ? d - std::sqrt((d - std::min(a, d)) * (d + a)) : 0.0;
    const double edge = std::min(a / d, 1.0);  // sine of the cone's angle
    const double up = std::sqrt(1.0 - edge * edge);
    std::vector<CartesianCoordinate> points = {{0, 0, 0.3 * d},
                                               {0, 0, 1.5 * d},
                                               {0, 0, d},
                                               {1e-9 * d, 0, d},
                                               {0, 3e-6 * d, d * (1 + 1e-6)},
                                               {4e-6 * d, 0, d},
                                               {0.02 * d, 0, d},
                                               {0, 0.3 * d, d},
                                               {0.1 * a, 0.2 * a, 0.6 * d},
                                               {0.5 * edge * d, 0, d - 0.5 * up * d},
                                               {0.5 * edge * d * (1 + 1e-6), 0, d - 0.5 * up * d},
                                               {0, 0.5 * edge * d, d + 0.5 * up * d},
                                               {1.2 * a, 0, 0.7 * d},
                                               {0.2 * a, 0.1 * a, 0.5 * depth + 1e-4},
                                               {0, 0, 0},
                                               {a, 0, depth},
                                               {1.1 * a, 0, depth},
                                               {1.2 * a, 0, 0.4 * depth},
                                               {0.9 * a, 0, 0.1 * depth},
                                               {element.inner_radius, 0, 2e-3},
                                               {0.3 * element.inner_radius, 0, depth},
                                               {0, b, 2e-3},
                                               {0, -0.9999997 * b, depth},
                                               {-1.5 * a, 0.7 * b, depth},
                                               {0.1 * a, 0, -1e-6},
                                               {0.1 * a, 0, -0.1 * d},
                                               {a, 0, -0.15 * d}};  // the rim counts as the face
    for (const double x : {-a, 0.35 * a, 2.2 * a}) {  // over the nine regions of a rectangle
        for (const double y : {-b, -0.6 * b, 1.7 * b}) {
            points.insert(points.end(), {{x, y, 4e-4 + depth}, {x, y, 7e-3}});
        }
    }
    const Values random = noise(30, 7);
    for (std::size_t i = 0; i < random.size(); i += 3) {
        points.emplace_back(1.5 * a * random[i], 1.5 * a * random[i + 1],
                            0.9 * d * (1 + random[i + 2]));
    }
    return points;
}

const std::vector<Source>& every_source() {
    static const std::vector<Source> sources = {
        {.shape = "circ", .sizes = {3e-3}},
        {.shape = "ring", .sizes = {1.2e-3, 3e-3}},
        {.shape = "rect", .sizes = {4e-3, 6e-3}},
        {.shape = "shel", .sizes = {3e-3, 9e-3}},
        {.shape = "shel", .sizes = {1e-3, 12e-3}},
        {.shape = "shel", .sizes = {2.985e-3, 3e-3}},
        {.shape = "shel", .sizes = {3e-3, 3e-3}},
        {.shape = "sph ring", .sizes = {1.2e-3, 3e-3, 9e-3}},
        {.shape = "sph ring", .sizes = {1.2e-3, 2.997e-3, 3e-3}}};
    return sources;
}

bool is_bowl(const Source& source) {
    return source.shape == "shel" || source.shape == "sph ring";
}

bool offers(const Source& source, const Operation& operation) {
    return kavro::implements(operation, *kavro::shape_of(source.shape));
}

}  // namespace kavro_test
