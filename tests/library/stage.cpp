#include "stage.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <random>
#include <string_view>

namespace kavro_test {

using kavro::CartesianCoordinate;
using kavro::Operation;
using kavro::OperationKind;
using kavro::TransducerStatus;

// ---- scenes

Tank::Tank() {
    medium._soundspeed = 1500.0;
    medium._rho_density = 1000.0;
    medium._f0 = 1e6;
    medium._dBcmMHz = 0.1;
    medium._beta = 3.5;
    set_order(12);
}

void Tank::set_points(const std::vector<CartesianCoordinate>& points) {
    Values columns;
    for (double CartesianCoordinate::*axis :
         {&CartesianCoordinate::x, &CartesianCoordinate::y, &CartesianCoordinate::z}) {
        for (const CartesianCoordinate& point : points) {
            columns.push_back(point.*axis);
        }
    }
    grid.CoordinateGridVector(columns.data(), static_cast<int>(points.size()));
}

std::vector<CartesianCoordinate> Tank::points() const {
    std::vector<CartesianCoordinate> all;
    for (int i = 0; i < grid.npoints; ++i) {
        all.push_back(grid.spatial_index_value(i));
    }
    return all;
}

void Tank::set_axis(double deltat, double tmin, int count) {
    Values instants;
    for (int i = 0; i < count; ++i) {
        instants.push_back(i * deltat + tmin);
    }
    set_list(instants);
    times._deltat = deltat;
    times._tmin = tmin;
    times._tmax = instants.empty() ? tmin : instants.back();
}

void Tank::set_list(const Values& instants) {
    times = {};
    times.times = instants;
    times.ntimes = static_cast<std::int32_t>(instants.size());
}

void Tank::set_order(int ndiv) {
    rule.allocate_memory(ndiv);
    rule.gauss_quadrature();
}

namespace {

double small_size(std::string_view name) {
    return name == "inner_radius"                                 ? 1.5e-3
           : name == "rad_curvature" || name == "geometric_focus" ? 12e-3
           : name == "width"                                      ? 4e-3
                                                                  : 3e-3;
}

// A pulse on five points of three planes, in few and long steps.
void prepare_march(Tank& tank) {
    tank.waveform = std::make_shared<kavro::HanningPulse>(1e6, 3e-6, 0.0);
    tank.grid.RegularCoordinateGrid(0, 8e-3, 0, 0, 4e-3, 16e-3, 2e-3, 0, 6e-3);
    tank.set_axis(0.1e-6, -3e-6, 240);
    set_kzk_tau_axis(tank.times, *tank.waveform, tank.medium, tank.grid);
}

}  // namespace

Tank tank_for(const Operation& operation, const std::vector<Source>& sources) {
    Tank tank;
    tank.sources = sources;
    if (stores(operation)) {
        prepare_march(tank);
        return tank;
    }
    tank.waveform = sampled(noise(16, 21), 1e-7, 1.6e-6, 0.0);
    if (std::string_view(operation.name) == "fnm_spectral") {
        tank.waveform =
            std::make_shared<kavro::HanningPulse>(1e6, 3e-6, 0.0);  // of few frequencies
        tank.medium._b = 1.2;
    }
    tank.set_axis(1.0 / 32e6, 0.0, 300);
    tank.set_points({{0, 0, 5e-3},
                     {1e-3, -1e-3, 4e-3},
                     {0, 3e-3, 2e-3},
                     {5e-3, 1e-3, 6e-3},
                     {2.5e-3, 1e-3, 3e-4},
                     {0, 0, 0},
                     {-4.5e-3, 2e-3, 0},
                     {1e-3, 0, -1e-3}});
    return tank;
}

Tank crowded_tank(const Operation& operation, const std::vector<Source>& sources, int count) {
    Tank tank = tank_for(operation, sources);
    if (!stores(operation)) {
        // Towards the face the radiator takes ever more abscissas.
        const double farther = std::string_view(operation.name) == "radiator_cw" ? 6e-3 : 0.0;
        const Values random = noise(3 * static_cast<std::size_t>(count), 41);
        std::vector<CartesianCoordinate> points;
        for (std::size_t i = 0; i < random.size(); i += 3) {
            points.emplace_back(5e-3 * random[i], 5e-3 * random[i + 1],
                                farther + 3e-3 + 4e-3 * random[i + 2]);
        }
        tank.set_points(points);
        tank.set_axis(1.0 / 20e6, 0.0, 160);
    }
    return tank;
}

std::unique_ptr<kavro::Transducer> element_of(const Source& source) {
    const kavro::Shape* shape = kavro::shape_of(source.shape);
    if (shape == nullptr) {
        throw kavro::InputError("No shape is called " + source.shape + ".");
    }
    Values sizes = source.sizes;
    for (std::size_t i = sizes.size(); i < shape->sizes.size(); ++i) {
        sizes.push_back(small_size(shape->sizes[i]));
    }
    if (shape->corners != nullptr && sizes.empty()) {
        sizes = {-3e-3, 3e-3, 2e-3, -2e-3, -2e-3, -2e-3, 3e-3, 3e-3};
    }
    std::unique_ptr<kavro::Transducer> element = shape->make(sizes);
    element->set_center(source.center);
    element->set_euler(source.euler);
    element->set_amplitude(source.amplitude);
    element->set_phase(source.phase);
    element->set_time_delay(source.time_delay);
    element->set_exact(source.exact);
    element->set_piston_apodization_index(source.apodization);
    element->set_tolerance(source.tolerance);
    return element;
}

Measurement::Measurement(const Tank& of, const Operation& by, double former)
    : tank(of), operation(by) {
    const auto npoints = static_cast<std::size_t>(tank.grid.npoints);
    const bool is_wave =
        by.kind == OperationKind::continuous_wave || by.kind == OperationKind::kzk_cw;
    const auto layers = static_cast<std::size_t>(by.kind == OperationKind::kzk_cw ? tank.harmonics
                                                 : is_wave                        ? 1
                                                           : tank.times.ntimes);
    output.reserve(1);  // not even an empty one is missing
    output.assign(is_field(by) ? npoints * layers * (is_wave ? 2 : 1) : 2 * tank.sources.size(),
                  former);
    if (by.kind == OperationKind::kzk_transient) {
        tank.rule.set_kzk_parameters(3.0f, 14.0f, 0.03f, 1.0f, 1.0f);
    } else if (by.kind == OperationKind::kzk_cw) {
        tank.rule.cw_set_kzk_parameters(3.0f, 14.0f, 0.01f, tank.harmonics, 0);
    }
    for (const Source& source : tank.sources) {
        owned.push_back(element_of(source));
        kavro::Transducer& element = *owned.back();
        element.set_global_coordinate_grid(&tank.grid);
        element.set_medium(&tank.medium);
        element.set_time_vector(&tank.times);
        element.set_integral_pointer(source.tolerance > 0.0 ? nullptr : &tank.rule);
        element.excitation = source.waveform ? source.waveform.get() : tank.waveform.get();
        if (is_wave) {
            element.set_complex_pressure_pointers(output.data(), output.data() + npoints * layers);
        } else if (is_field(by)) {
            element.set_transient_pressure_pointer(output.data());
        }
    }
}

TransducerStatus Measurement::one_by_one() {
    for (const auto& element : owned) {
        const TransducerStatus status = ((*element).*operation.solve)();
        if (status != kavro::status_success) {
            return status;
        }
    }
    note_arrivals();
    return kavro::status_success;
}

TransducerStatus Measurement::together(kavro::Output knowing) {
    const TransducerStatus status = operation.solve_array(elements(), knowing);
    if (status == kavro::status_success) {
        note_arrivals();
    }
    return status;
}

std::vector<kavro::Transducer*> Measurement::elements() const {
    std::vector<kavro::Transducer*> pointers;
    for (const auto& element : owned) {
        pointers.push_back(element.get());
    }
    return pointers;
}

void Measurement::note_arrivals() {
    for (std::size_t i = 0; !is_field(operation) && i < owned.size(); ++i) {
        output[2 * i] = owned[i]->impulse_begin_time;
        output[2 * i + 1] = owned[i]->impulse_end_time;
    }
}

Values measured(const Tank& tank, const Operation& operation) {
    Measurement measurement(tank, operation);
    EXPECT_EQ(measurement.one_by_one(), kavro::status_success) << operation.name;
    return measurement.output;
}

void for_everything_offered(const std::function<void(const Operation&, const Source&)>& test) {
    for (const Operation& operation : kavro::operations()) {
        for (const kavro::Shape& shape : kavro::shapes()) {
            for (const bool exact : {false, true}) {
                if (implements(operation, shape)) {
                    SCOPED_TRACE(testing::Message() << operation.name << " of a " << shape.name
                                                    << (exact ? ", exact" : ""));
                    // Marches speak.
                    const kavro::console::Connection quiet(
                        {[](const char*) {}, [](const char*) {}});
                    test(operation, {.shape = shape.identifier, .exact = exact});
                }
            }
        }
    }
}

const Operation& operation_named(const char* name) {
    const Operation* found = kavro::operation_of(name);
    if (found == nullptr) {
        throw kavro::InputError(std::string("No operation is called ") + name + ".");
    }
    return *found;
}

Values at_point(const Values& output, std::size_t i, std::size_t npoints) {
    Values values;
    for (std::size_t at = i; at < output.size(); at += npoints) {
        values.push_back(output[at]);
    }
    return values;
}

// ---- comparisons

testing::AssertionResult same_bits(const Values& found, const Values& expected) {
    if (found.size() != expected.size()) {
        return testing::AssertionFailure()
               << found.size() << " values instead of " << expected.size();
    }
    for (std::size_t i = 0; i < found.size(); ++i) {
        if (std::bit_cast<std::uint64_t>(found[i]) != std::bit_cast<std::uint64_t>(expected[i])) {
            return testing::AssertionFailure()
                   << "value " << i << " is " << found[i] << " instead of " << expected[i]
                   << ", off by " << found[i] - expected[i];
        }
    }
    return testing::AssertionSuccess();
}

testing::AssertionResult close_to(const Values& found, const Values& expected, double tolerance) {
    if (found.size() != expected.size()) {
        return testing::AssertionFailure()
               << found.size() << " values instead of " << expected.size();
    }
    const double peak = peak_of(expected);
    for (std::size_t i = 0; i < found.size(); ++i) {
        if (!(std::fabs(found[i] - expected[i]) <= tolerance * peak)) {
            return testing::AssertionFailure()
                   << "value " << i << " is " << found[i] << " instead of " << expected[i]
                   << ", off by " << (found[i] - expected[i]) / peak << " of the peak";
        }
    }
    return testing::AssertionSuccess();
}

double peak_of(const Values& values) {
    return largest_difference(values, Values(values.size()));
}

double largest_difference(const Values& one, const Values& other) {
    double most = 0;
    for (std::size_t i = 0; i < one.size(); ++i) {
        const double difference = std::fabs(one[i] - other[i]);
        most = std::isnan(most) || difference <= most ? most : difference;  // keeps a NaN
    }
    return most;
}

// ---- waveforms

// v(t - tau) = (1 + t/w) - tau (1/w)
void Ramp::spatial_tsd(double* out, double const& tau) const {
    out[0] = 1.0;
    out[1] = tau;
}

void Ramp::spatial_tsd(float* out, float const& tau) const {
    out[0] = 1.0f;
    out[1] = tau;
}

void Ramp::temporal_tsd(double* out, kavro::TimeSamples const* times, int const& ntimes,
                        double const& delay) const {
    for (int i = 0; i < ntimes; ++i) {
        out[i] = 1.0 + (times->time_index_value(i) - delay) / w;
        out[ntimes + i] = -1.0 / w;
    }
}

void Ramp::temporal_tsd(float* out, kavro::TimeSamples const* times, int const& ntimes,
                        float const& delay) const {
    for (int i = 0; i < ntimes; ++i) {
        const double t = times->time_index_value(i) - static_cast<double>(delay);
        out[i] = static_cast<float>(1.0 + t / w);
        out[ntimes + i] = static_cast<float>(-1.0 / w);
    }
}

double Ramp::at(double const& t) const {
    return 1.0 + t / w;
}

double Ramp::derivative(double const&) const {
    return 1.0 / w;
}

Values noise(std::size_t count, unsigned seed) {
    std::mt19937 generator(seed);
    Values values(count);
    for (double& value : values) {
        value = static_cast<double>(generator()) / 2147483648.0 - 1.0;
    }
    return values;
}

Waveform sampled(const Values& signal, double ts, double w, double clip_threshold) {
    return std::make_shared<kavro::ExcitationFunction>(signal, ts, w, clip_threshold);
}

std::vector<Waveform> exact_waveforms() {
    const std::vector<Waveform> waveforms = {std::make_shared<kavro::ToneBurst>(1e6, 2.3e-6, 0),
                                             std::make_shared<kavro::HanningPulse>(1e6, 2e-6, 0),
                                             std::make_shared<kavro::TCubedPulse>(1e6, 2e-6, 4e5),
                                             sampled(noise(21, 31), 1e-7, 2.1e-6, 0.0)};
    for (const Waveform& waveform : waveforms) {
        waveform->set_exact(true);
    }
    return waveforms;
}

// ---- the process

void for_every_vector_target(const std::function<void()>& test) {
    for (const char* name : {"scalar", "sse4", "avx2", "avx512"}) {
        const auto target = kavro::vector_target_named(name);
        // The sanitizers' build has none between: asked for one, it would do without vectors again.
        const bool is_built = !KAVRO_SANITIZED || target == kavro::VectorTarget::scalar ||
                              target == kavro::best_vector_target();
        if (is_built && target <= kavro::best_vector_target()) {
            SCOPED_TRACE(name);
            kavro::set_vector_target(target);
            EXPECT_EQ(kavro::vector_target(), target);
            test();
        }
    }
    kavro::set_vector_target(std::nullopt);
}

}  // namespace kavro_test
