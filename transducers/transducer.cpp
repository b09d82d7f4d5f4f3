#include "transducers/transducer.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <iostream>
#include <limits>

#include "core/console.h"
#include "core/input_error.h"
#include "transducers/blocks/sample_window.h"
#include "transducers/kzk/harmonic_march.h"
#include "transducers/kzk/march.h"
#include "transducers/kzk/transient_march.h"
#include "transducers/shape.h"

namespace kavro {
namespace {

std::complex<double> weight(double amplitude, double phase) {
    return {amplitude * std::cos(phase), amplitude * std::sin(phase)};
}

// What rounding may have done to the coordinates of a point, m.
double rounding_of(const CartesianCoordinate& point) {
    constexpr double units = 8.0 * std::numeric_limits<double>::epsilon();
    return units * (std::fabs(point.x) + std::fabs(point.y) + std::fabs(point.z));
}

}  // namespace

void Transducer::set_center(CartesianCoordinate value) {
    center = value;
}

void Transducer::set_center(double* xyz) {
    center = {xyz[0], xyz[1], xyz[2]};
}

void Transducer::set_center(double x, double y, double z) {
    center = {x, y, z};
}

void Transducer::set_euler(CartesianCoordinate value) {
    euler = value;
}

void Transducer::set_euler(double* angles) {
    euler = {angles[0], angles[1], angles[2]};
}

void Transducer::set_euler(double a, double b, double c) {
    euler = {a, b, c};
}

void Transducer::set_amplitude(double value) {
    amplitude = value;
    complex_weight = weight(amplitude, phase);
}

void Transducer::set_phase(double value) {
    phase = value;
    complex_weight = weight(amplitude, phase);
}

void Transducer::set_complex_weight(double* re, double* im) {
    complex_weight = {*re, im != nullptr ? *im : 0.0};
    console::warn(
        "KAVRO no longer uses the complex_weight property. Please use phase and amplitude "
        "instead.");
}

void Transducer::set_time_delay(double value) {
    time_delay = value;
}

void Transducer::set_tolerance(double value) {
    if (value != 0.0 && !(value >= 1e-12 && value <= 0.1)) {
        char text[96];
        std::snprintf(text, sizeof text,
                      "The tolerance must be a number from 1e-12 to 0.1, or 0 for none, not %g.",
                      value);
        throw InputError(text);
    }
    tolerance_ = value;
}

void Transducer::set_piston_apodization_index(int index) {
    piston_apodization_index = index;
}

double Transducer::get_amplitude() const {
    return amplitude;
}

double Transducer::get_phase() const {
    return phase;
}

int Transducer::get_piston_apodization_index() const {
    return piston_apodization_index;
}

void Transducer::set_global_coordinate_grid(CoordinateGrid* grid) {
    coordinate_grid = grid;
}

void Transducer::set_integral_pointer(NumericalIntegration* rule) {
    integral = rule;
}

void Transducer::set_medium(Medium* value) {
    medium = value;
}

void Transducer::set_time_vector(TimeSamples* times) {
    time_samples = times;
}

void Transducer::set_complex_pressure_pointers(double* re, double* im) {
    pressure_real = re;
    pressure_imag = im;
    transient_pressure = nullptr;
}

void Transducer::set_transient_pressure_pointer(double* pressure) {
    pressure_real = nullptr;
    pressure_imag = nullptr;
    transient_pressure = pressure;
}

double Transducer::get_impulse_end_time() const {
    if (impulse_end_time < 0.0) {
        console::warn("Impulse end time used before impulse_begin_and_end_times was called.\n");
    }
    return impulse_end_time;
}

void Transducer::InitializeRotationMatrix() {
    const double sa = std::sin(euler.x);
    const double ca = std::cos(euler.x);
    const double sb = std::sin(euler.y);
    const double cb = std::cos(euler.y);
    const double sc = std::sin(euler.z);
    const double cc = std::cos(euler.z);
    rotation_matrix = {
        ca * cc - sa * (sb * sc), sa * (sb * cc) + ca * sc, -(sa * cb), -(cb * sc), cb * cc, sb,
        ca * (sb * sc) + sa * cc, sa * sc - ca * (sb * cc), ca * cb};
}

CartesianCoordinate Transducer::rotateTranslate(const CartesianCoordinate& point) const {
    const double dx = point.x - center.x;
    const double dy = point.y - center.y;
    const double dz = point.z - center.z;
    const std::array<double, 9>& m = rotation_matrix;
    CartesianCoordinate local{m[0] * dx + m[1] * dy + m[2] * dz, m[3] * dx + m[4] * dy + m[5] * dz,
                              m[6] * dx + m[7] * dy + m[8] * dz};
    if (exact() && std::fabs(local.z) <= rounding_of(point) + rounding_of(center)) {
        local.z = 0.0;
    }
    return local;
}

Departures Transducer::departures() const {
    return {};
}

ApertureDistances Transducer::distances(const CartesianCoordinate&) const {
    return {};
}

FarPattern Transducer::far_pattern(double) const {
    return {};
}

std::unique_ptr<EdgeGenerator<double>> Transducer::edge(const Wanted&) const {
    return nullptr;
}

std::unique_ptr<EdgeGenerator<float>> Transducer::single_edge(const Wanted&) const {
    return nullptr;
}

std::unique_ptr<EdgeGenerator<double>> Transducer::rounded_edge(const Wanted&) const {
    return nullptr;
}

std::unique_ptr<SurfaceRows<double>> Transducer::surface(const Wanted&) const {
    return nullptr;
}

std::unique_ptr<SurfaceRows<float>> Transducer::single_surface(const Wanted&) const {
    return nullptr;
}

void Transducer::write_impulse_response(const CartesianCoordinate&, SampleWindow, double,
                                        double*) const {}

std::unique_ptr<kzk::TransientShape> Transducer::transient_march() const {
    return nullptr;
}

std::unique_ptr<kzk::HarmonicShape> Transducer::harmonic_march() {
    return nullptr;
}

std::unique_ptr<Share> Transducer::own_share(const OwnMethod&) const {
    return nullptr;
}

TransducerStatus Transducer::kzk_transient() {
    return kzk::march(*this, false).status;
}

TransducerStatus Transducer::kzk_cw() {
    return kzk::march(*this, true).status;
}

bool Transducer::has_transient_records() const {
    return excitation != nullptr && integral != nullptr && has_impulse_response_records();
}

bool Transducer::has_impulse_response_records() const {
    return coordinate_grid != nullptr && medium != nullptr && time_samples != nullptr &&
           transient_pressure != nullptr;
}

bool Transducer::has_continuous_wave_records() const {
    return integral != nullptr && has_continuous_wave_outputs();
}

bool Transducer::has_continuous_wave_outputs() const {
    return coordinate_grid != nullptr && medium != nullptr && pressure_real != nullptr &&
           pressure_imag != nullptr;
}

bool Transducer::is_silent() const {
    return std::abs(amplitude) <= 1e-10;
}

void Transducer::superpose_complex_pressure(const int& i, const std::complex<double>& pressure) {
    pressure_real[i] += pressure.real();
    pressure_imag[i] += pressure.imag();
}

template <class Real>
void Transducer::add_series(int i, const Real* series) {
    const auto npoints = static_cast<std::size_t>(coordinate_grid->npoints);
    double* output = transient_pressure + i;
    for (int t = 0; t < time_samples->ntimes; ++t, output += npoints) {
        *output += static_cast<double>(series[t]);
    }
}

void Transducer::superpose_transient_pressure(const int& i, const double* series) {
    add_series(i, series);
}

void Transducer::superpose_transient_pressure(const int& i, const float* series) {
    add_series(i, series);
}

void Transducer::zerofill_complex_pressure() {
    std::fill_n(pressure_real, coordinate_grid->npoints, 0.0);
    std::fill_n(pressure_imag, coordinate_grid->npoints, 0.0);
}

void Transducer::zerofill_transient_pressure() {
    const auto count = static_cast<std::size_t>(coordinate_grid->npoints) *
                       static_cast<std::size_t>(time_samples->ntimes);
    std::fill_n(transient_pressure, count, 0.0);
}

void Transducer::mex_debug(int level) const {
    console::print("Element center: (%e, %e, %e)\n", center.x, center.y, center.z);
    console::print("Element Euler angles: (%e, %e, %e)\n", euler.x, euler.y, euler.z);
    console::print("Amplitude: %e\n", amplitude);
    console::print("Phase: %e\n", phase);
    console::print("Time Delay: %e\n", time_delay);
    console::print("Complex Weight: %e + %e i\n", complex_weight.real(), complex_weight.imag());
    if (level < 2) {
        return;
    }
    const Medium no_medium;
    const CoordinateGrid no_grid;
    const Medium& m = medium != nullptr ? *medium : no_medium;
    const CoordinateGrid& grid = coordinate_grid != nullptr ? *coordinate_grid : no_grid;
    console::print("Parameters:\n");
    console::print("fs: %f\n", m._fs);
    console::print("f0: %f\n", m._f0);
    console::print("c: %f\n", m._soundspeed);
    console::print("attenuation: %f\n", m._dBcmMHz);
    console::print("density: %f\n", m._rho_density);
    console::print("\nCoordinate grid:\n");
    console::print("x range: %f to %f\n", grid.xmin, grid.xmax);
    console::print("y range: %f to %f\n", grid.ymin, grid.ymax);
    console::print("z range: %f to %f\n", grid.zmin, grid.zmax);
}

void Transducer::debug(int) const {
    std::ostream& out = std::cout;
    out << "Center Coordinates Address: " << &center << "\n  center.x: " << center.x
        << "\n  center.y: " << center.y << "\n  center.z: " << center.z
        << "\nEuler Angles Address: " << &euler << "\n  euler.x: " << euler.x
        << "\n  euler.y: " << euler.y << "\n  euler.z: " << euler.z
        << "\nMain obs grid address: " << coordinate_grid << "\nParameters address: " << medium
        << "\nAmplitude: " << amplitude << "\nPhase: " << phase << '\n';
    if (medium != nullptr) {
        out << "Parameters Used:\n  c_sound: " << medium->_soundspeed
            << "\n  atten: " << medium->_dBcmMHz << "\n  rho_den: " << medium->_rho_density << '\n';
    }
    out << "Local information\nGlobal information\n";
    if (coordinate_grid != nullptr) {
        const CoordinateGrid& grid = *coordinate_grid;
        out << "  Number of obs points: " << grid.npoints << "\n  X-range: " << grid.xmin << " to "
            << grid.xmax << "\n  Y-range: " << grid.ymin << " to " << grid.ymax
            << "\n  Z-range: " << grid.zmin << " to " << grid.zmax << '\n';
    }
    out << "Integral info\n";
    if (integral != nullptr) {
        out << "  Coordinates to calculate: " << integral->get_npoints() << '\n';
    }
}

}  // namespace kavro
