// The pressure of flat rings, bowls and annuli of bowls, written down loop by loop. Every function
// adds into `field` the share of each aperture in turn.
//
// Transient fields: entry p + j * points. Continuous-wave fields: one value per point.
#pragma once

#include <complex>
#include <utility>
#include <vector>

#include "oracle/disc.h"
#include "oracle/scene.h"

namespace kavro_oracle {

// A disc's part outside a hole, flat or bent to a bowl that opens towards +z. Disc::radius is the
// outer rim's.
struct Aperture : Disc {
    double inner_radius = 0.0;  // m; the hole is left out where it is not positive
    double focus = 0.0;         // m, radius of curvature; 0: flat
    Complex weight = 1.0;       // continuous-wave amplitude and phase
};

struct ApertureScene : Scene {
    ApertureScene() { f0 = 1e6; }

    std::vector<Aperture> apertures;  // Scene::discs stays empty
};

using ComplexField = std::vector<Complex>;

// Whether a curved aperture computes the points that it does not face.
enum class Behind { skipped, computed };

ComplexField stillness(const ApertureScene& scene);

void add_fnm_cw(const ApertureScene& scene, ComplexField& field);
void add_fnm_cw_sse(const ApertureScene& scene, ComplexField& field);  // bowls
void add_rayleigh_cw(const ApertureScene& scene, ComplexField& field);
void add_rayleigh_cw_sse(const ApertureScene& scene, ComplexField& field);  // bowls

// Of the first aperture, s.
std::pair<double, double> begin_and_end_times(const ApertureScene& scene);

void add_impulse_response(const ApertureScene& scene, Field& field);
void add_fnm_transient(const ApertureScene& scene, Behind behind, Field& field);

// The windows of direct waves are noted among those of the edge waves.
void add_fnm_tsd(const ApertureScene& scene, Terms terms, Behind behind, Field& field,
                 WindowLog* log = nullptr);
void add_fnm_tsd_low_precision(const ApertureScene& scene, Field& field, WindowLog* log = nullptr);

}  // namespace kavro_oracle
