// The base of every radiating element.
#pragma once

#include <array>
#include <complex>
#include <cstdint>
#include <limits>
#include <memory>

#include "../core/cartesian_coordinate.h"
#include "../core/coordinate_grid.h"
#include "../core/medium.h"
#include "../core/numeric_kernels.h"
#include "../core/numerical_integration.h"
#include "../core/time_samples.h"
#include "../excitation/excitation_function.h"
#include "departures.h"
#include "method.h"
#include "transducer_status.h"

namespace kavro {

namespace kzk {
struct HarmonicShape;
struct TransientShape;
}  // namespace kzk

template <class Real>
class EdgeGenerator;
template <class Real>
class SurfaceRows;
class Share;
struct FarPattern;
struct OwnMethod;
struct SampleWindow;
struct Wanted;

// From a point to the nearest and to the farthest point of a face (m).
struct ApertureDistances {
    double nearest = 0.0;
    double farthest = 0.0;
};

// Where a method's Gauss rule lies. In reference mode, `half_circle` refills the shared rule on
// [0, pi], and `standard` reads it as it stands.
enum class RuleInterval {
    none,         // only the number of abscissas counts
    standard,     // [-1, 1]
    half_circle,  // [0, pi]
};

struct EdgeScale {
    double factor = 1.0;
    double divisor = 1.0;
};

// Placement, weighting and records of an element, and one operation per solution method.
//
// An element owns nothing it points to: grid, medium, quadrature, time axis, excitation and outputs
// belong to the caller and must outlive the solver calls. Results are added into the outputs, never
// assigned, so elements that share an output give the summed field; the caller clears it once. Only
// the nonlinear marches, of which a sum has no meaning, store theirs.
//
// Transient output: npoints x ntimes values, entry i + t * npoints (the point index is fastest).
// Continuous-wave output: npoints real and npoints imaginary parts. The marches take the grid as an
// nx x nz plane; kzk_cw has one after another for each harmonic.
class Transducer {
public:
    ExcitationFunction* excitation = nullptr;
    CartesianCoordinate center;  // reference point, m
    CartesianCoordinate euler;   // angles of the three rotations, rad
    // amplitude e^(j phase). Zero until set_amplitude or set_phase is called, although the
    // amplitude starts at 1, on purpose.
    std::complex<double> complex_weight{0.0, 0.0};
    double amplitude = 1.0;
    double phase = 0.0;                // rad, continuous-wave methods
    double time_delay = 0.0;           // s, transient methods
    double impulse_begin_time = -1.0;  // s; negative until impulse_begin_and_end_times is called
    double impulse_end_time = -1.0;
    std::int32_t piston_apodization_index = 0;
    CoordinateGrid* coordinate_grid = nullptr;
    Medium* medium = nullptr;
    NumericalIntegration* integral = nullptr;
    TimeSamples* time_samples = nullptr;
    double* pressure_real = nullptr;
    double* pressure_imag = nullptr;
    double* transient_pressure = nullptr;
    std::array<double, 9> rotation_matrix{};  // row by row, global to element frame

    Transducer() = default;
    virtual ~Transducer() = default;

    // Write the element to the standard output stream, and to the console (level 2: its records
    // too).
    virtual void debug(int level) const;
    virtual void mex_debug(int level) const;

    // Three doubles each; the rotation matrix is not recomputed.
    virtual void set_center(CartesianCoordinate value);
    virtual void set_center(double* xyz);
    virtual void set_center(double x, double y, double z);
    virtual void set_euler(CartesianCoordinate value);
    virtual void set_euler(double* angles);
    virtual void set_euler(double a, double b, double c);

    virtual void set_amplitude(double value);                 // keeps complex_weight in step
    virtual void set_phase(double value);                     // keeps complex_weight in step
    virtual void set_complex_weight(double* re, double* im);  // im may be null; warns
    virtual void set_time_delay(double value);
    virtual void set_piston_apodization_index(int index);
    virtual double get_amplitude() const;
    virtual double get_phase() const;
    virtual int get_piston_apodization_index() const;

    virtual void set_global_coordinate_grid(CoordinateGrid* grid);
    virtual void set_integral_pointer(NumericalIntegration* rule);
    virtual void set_medium(Medium* value);
    virtual void set_time_vector(TimeSamples* times);
    // An element is in continuous-wave or in transient mode: each of these clears the other's.
    virtual void set_complex_pressure_pointers(double* re, double* im);
    virtual void set_transient_pressure_pointer(double* pressure);

    // Accuracy instead of a number of abscissas: the quadrature's error stays below this share of
    // the magnitude of the element's field at the point: of a continuous wave's envelope (the root
    // mean square of |p| over 0.8 to 1.2 times the frequency, so that nodes are not resolved), of
    // max |p(t)| over time. Every point takes as few abscissas as that needs, at most 1024 a rim or
    // piece of an edge; QuadratureReport (array.h) tells where those do not suffice.
    //
    // It counts for an exact element and the fast nearfield methods but the apodized one. These
    // read no rule then, which may be null. The other methods, and reference mode, keep the rule,
    // whatever the tolerance. 0, the default, is none. Throws InputError for anything else outside
    // 1e-12 to 0.1. Methods in single precision return status_failure for less than 1e-5.
    //
    // fnm_spectral chooses its frequencies by it, too, in reference mode as well; 0 stands for 1e-4
    // there.
    void set_tolerance(double value);
    double get_tolerance() const { return tolerance_; }

    // The solution methods. Each answers status_not_implemented where the shape does not offer it.
    // They are the same for all shapes, and for one element as for an array (array.h): what differs
    // is what a shape states below.
    TransducerStatus farfield_cw() { return solve_alone(Method::farfield_cw); }
    TransducerStatus fnm_cw() { return solve_alone(Method::fnm_cw); }
    TransducerStatus fnm_cw_apodized() { return solve_alone(Method::fnm_cw_apodized); }
    TransducerStatus fnm_cw_single() { return solve_alone(Method::fnm_cw_single); }
    TransducerStatus fnm_cw_sse() { return solve_alone(Method::fnm_cw_sse); }
    TransducerStatus fnm_cw_sse2() { return solve_alone(Method::fnm_cw_sse2); }
    TransducerStatus radiator_cw() { return solve_alone(Method::radiator_cw); }
    TransducerStatus rayleigh_cw() { return solve_alone(Method::rayleigh_cw); }
    TransducerStatus rayleigh_cw_apodized() { return solve_alone(Method::rayleigh_cw_apodized); }
    TransducerStatus rayleigh_cw_sse() { return solve_alone(Method::rayleigh_cw_sse); }
    TransducerStatus impulse_begin_and_end_times() {
        return solve_alone(Method::impulse_begin_and_end_times);
    }
    TransducerStatus impulse_response() { return solve_alone(Method::impulse_response); }
    TransducerStatus fnm_transient() { return solve_alone(Method::fnm_transient); }
    TransducerStatus fnm_transient_behind_source() {
        return solve_alone(Method::fnm_transient_behind_source);
    }
    TransducerStatus fnm_spectral() { return solve_alone(Method::fnm_spectral); }
    TransducerStatus fnm_fdtsd() { return solve_alone(Method::fnm_fdtsd); }
    TransducerStatus fnm_tsd() { return solve_alone(Method::fnm_tsd); }
    TransducerStatus fnm_tsd_behind_source() { return solve_alone(Method::fnm_tsd_behind_source); }
    TransducerStatus fnm_tsd_low_precision() { return solve_alone(Method::fnm_tsd_low_precision); }
    TransducerStatus fnm_tsd_sse() { return solve_alone(Method::fnm_tsd_sse); }
    TransducerStatus rayleigh_transient() { return solve_alone(Method::rayleigh_transient); }
    // The nonlinear marches store their results, they do not add.
    virtual TransducerStatus kzk_transient();
    virtual TransducerStatus kzk_cw();

    // ---- What a shape states of itself. Points are in the element's own frame, the rotation
    // matrix is set, and so are the records that the method needs.

    virtual MethodSet methods() const = 0;

    // In reference or exact mode, as the element is. None.
    virtual Departures departures() const;

    // No two points of the face are farther apart, m: tells whether a waveform's decomposition
    // keeps its precision over the face. A shape that does not know answers infinity.
    virtual double face_extent() const { return std::numeric_limits<double>::infinity(); }

    // Area of the face, m^2: tells how strong the element's field is far away. A shape that does not
    // know answers 0.
    virtual double face_area() const { return 0.0; }

    // The nearest and the farthest point of the face.
    virtual ApertureDistances distances(const CartesianCoordinate& point) const;

    // On which interval a method wants its rule.
    virtual RuleInterval rule_interval(Method) const { return RuleInterval::standard; }

    // The edge generators: blocks in lengths for continuous waves, in times for the others. Null
    // where there is nothing to add. In single precision null where that would not hold, and not
    // used for exact transients; in double precision and rounded at the end for those points that
    // the single one leaves out.
    virtual std::unique_ptr<EdgeGenerator<double>> edge(const Wanted& wanted) const;
    virtual std::unique_ptr<EdgeGenerator<float>> single_edge(const Wanted& wanted) const;
    virtual std::unique_ptr<EdgeGenerator<double>> rounded_edge(const Wanted& wanted) const;

    // What rho c times the complex weight is multiplied with and divided by to give the prefactor
    // of edges in lengths.
    virtual EdgeScale edge_scale(Method) const { return {}; }

    // Samples of the face for the Rayleigh integrals.
    virtual std::unique_ptr<SurfaceRows<double>> surface(const Wanted& wanted) const;
    virtual std::unique_ptr<SurfaceRows<float>> single_surface(const Wanted& wanted) const;

    // Writes the spatial impulse response (m/s) at a point: h(t - delay - later) at the samples of
    // a window, into as many values, zeros so far.
    virtual void write_impulse_response(const CartesianCoordinate& point, SampleWindow samples,
                                        double later, double* values) const;

    // What it sends far away at a wavenumber (1/m), for the radiated power.
    virtual FarPattern far_pattern(double wavenumber) const;

    // The scales and the source of its nonlinear marches. What the second one returns calls the
    // element.
    virtual std::unique_ptr<kzk::TransientShape> transient_march() const;
    virtual std::unique_ptr<kzk::HarmonicShape> harmonic_march();

    // The methods that no other shape knows.
    virtual std::unique_ptr<Share> own_share(const OwnMethod& own) const;

    // A global point in the element's own frame. Needs InitializeRotationMatrix. Rounding may put a
    // point of the plane z = 0 behind it, where faces do not radiate; exactly, it stays in the
    // plane.
    virtual CartesianCoordinate rotateTranslate(const CartesianCoordinate& point) const;

    // Computes the rotation matrix from the Euler angles; every solver calls it first.
    void InitializeRotationMatrix();

    double get_time_delay() const { return time_delay; }
    CartesianCoordinate get_center() const { return center; }
    double get_impulse_begin_time() const { return impulse_begin_time; }
    double get_impulse_end_time() const;  // warns where it has not been computed

    // Whether everything that the transient methods, an impulse response and the continuous-wave
    // methods need is set.
    bool has_transient_records() const;
    bool has_impulse_response_records() const;
    bool has_continuous_wave_records() const;
    bool has_continuous_wave_outputs() const;  // the same but for the rule

    void superpose_complex_pressure(const int& i, const std::complex<double>& pressure);
    void superpose_transient_pressure(const int& i, const double* series);  // ntimes values
    void superpose_transient_pressure(const int& i, const float* series);   // ntimes values
    void zerofill_complex_pressure();
    void zerofill_transient_pressure();

    // Reference behaviour (false, the default), or the physically exact sibling of every departure
    // that the shape states (true).
    void set_exact(bool exact) { exact_ = exact; }
    bool exact() const { return exact_ || !has_reference_mode(); }

    // Elements whose amplitude is not above 1e-10 are skipped by most methods.
    bool is_silent() const;

protected:
    // A shape that is exact only answers false.
    virtual bool has_reference_mode() const { return true; }

    TransducerStatus solve_alone(Method method);

private:
    template <class Real>
    void add_series(int i, const Real* series);

    double tolerance_ = 0.0;
    bool exact_ = false;
};

}  // namespace kavro
