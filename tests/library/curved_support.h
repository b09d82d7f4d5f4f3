// What the tests of rings, bowls and annuli of bowls share.
#pragma once

#include <complex>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "oracle/curved.h"
#include "support.h"

namespace kavro_test {

using kavro_oracle::Aperture;
using kavro_oracle::ApertureScene;
using kavro_oracle::ComplexField;

using Operation = kavro::TransducerStatus (kavro::Transducer::*)();

// The library's element for an aperture: a flat ring, a shell, or a spherical ring.
std::unique_ptr<kavro::Transducer> element_of(const Aperture& aperture);

// Apertures that are driven by the same waveform (continuous-wave operations need none).
class ApertureStage {
public:
    explicit ApertureStage(ApertureScene scene, Waveform waveform = nullptr);

    // The sum over the apertures by a transient or a continuous-wave operation.
    Field transient(Operation operation, bool exact = false) const;
    ComplexField wave(Operation operation, bool exact = false) const;

    const ApertureScene& scene() const { return scene_; }  // the oracle's waveform is the library's

private:
    template <class Read>
    void solve(Operation operation, bool exact, Read read) const;

    ApertureScene scene_;
    Waveform waveform_;
    std::shared_ptr<kavro_oracle::ProductWaveform> wrapped_;
};

// By every one of the operations, with a sampled waveform.
void expect_same_to_the_last_bit(kavro::Transducer& a, kavro::Transducer& b, const Scene& scene,
                                 const std::vector<Operation>& operations);

// A bowl or ring of radii in metres, without a waveform.
Aperture aperture_of(double inner_radius, double radius, double focus);

// Points that no rule but one reaches: on the axis before, in and beyond the focus, off the axis in
// and beside the cone, on the edge of the cone, over the hole, in the hollow, on surface and rim,
// behind, and at random.
std::vector<Triple> points_around(const Aperture& aperture);

// An operation and what it is compared with.
struct ApertureMethod {
    const char* name;
    Operation operation;
    void (*oracle)(const ApertureScene& scene, Field& field, WindowLog* log);
    bool single;
};

struct ApertureWave {
    const char* name;
    Operation operation;
    void (*oracle)(const ApertureScene& scene, ComplexField& field);
    bool single;
};

// fnm_tsd, fnm_tsd_low_precision, fnm_fdtsd; those of the shell alone with `behind`.
std::vector<ApertureMethod> decomposed_methods(bool behind);
std::vector<ApertureWave> wave_methods(bool of_shell);

// Library and oracle: windows to the sample, values to a small share of the point's scale.
void expect_decomposed_like_oracle(const ApertureStage& stage, const ApertureMethod& method,
                                   double tolerance);
void expect_wave_like_oracle(const ApertureStage& stage, const ApertureWave& wave,
                             double tolerance);

double largest_of(const Field& field);
double largest_of(const ComplexField& field);
double largest_difference_of(const Field& a, const Field& b);
double largest_difference_of(const ComplexField& a, const ComplexField& b);

// One element and one point of the file of reference values, which were computed from the surface
// integral.
struct GoldenRow {
    int id = 0;
    std::string operation;
    ApertureScene scene;
    int sample = 0;  // of a transient
    std::complex<double> value;
    double reached = 0.0;  // relative difference of a converged rim integral with 128 abscissas
};

std::vector<GoldenRow> golden_rows();

}  // namespace kavro_test
