// Elements as points see them: the samples of their edges, the direct paths, and when the first and
// the last wave arrive. The field is the sum of g (wave(tau) - wave(direct path)) over the samples.
#pragma once

#include <memory>
#include <span>
#include <vector>

#include "oracle/gauss.h"
#include "oracle/scene.h"

namespace kavro_oracle {

template <class Real>
struct EdgeSample {
    Real coefficient, delay;
    Real excess;  // over the direct path's delay
    std::size_t abscissa = 0;
    std::size_t pole = 0;  // the direct path that it is relative to
};

template <class Real>
struct DirectPath {
    Real delay;
    Real begin, end;     // delays between which its window begins and after which it ends
    double moved = 0.0;  // coefficient beyond those of its samples
};

template <class Real>
struct View {
    std::vector<EdgeSample<Real>> edge;
    std::vector<DirectPath<Real>> direct;
    double first = 0.0, last = 0.0;  // delays of the nearest and farthest point of the face
    double between = 0.0;            // length from the first direct path to the second
};

// Delays in seconds with coefficients in Pa, or lengths with coefficients that lack the
// continuous wave's prefactor.
enum class Units { times, lengths };
// Whether distances are divided by the speed or multiplied with its reciprocal.
enum class DelayBy { quotient, reciprocal };
// Whether bowls compute the points that they do not face.
enum class Behind { skipped, computed };

template <class Real>
class Geometry {
public:
    virtual ~Geometry() = default;
    // None where the point is not reached, two next to a bowl's focus.
    virtual std::span<const View<Real>> look(const Triple& local) = 0;
};

Rule rule_of(const Scene& scene, const Element& element);

template <class Real>
std::unique_ptr<Geometry<Real>> geometry_of(const Scene& scene, const Element& element,
                                            const Rule& rule, Units units,
                                            DelayBy delay_by = DelayBy::quotient,
                                            Behind behind = Behind::skipped);

// Of the nearest and the farthest point of the face, m. The reference takes a point behind a disc
// with the sign of its height.
struct Distances {
    double first, last;
};

Distances distances_of(const Element& element, const Triple& local);

// ---- bowls

// A circle that bounds a bowl; sign +1 outside, -1 around the hole.
struct Rim {
    double sign;
    double a;  // radius
    double S;  // sine of its angle seen from the centre of curvature
    double C;  // cosine
    double V;  // 1 - C
    double height;

    bool nearly_hemispherical() const { return C < 0.125; }
};

// The outer rim, then the inner one if there is one.
std::vector<Rim> rims_of(const Element& bowl);

// Distance from the axis and height.
struct Place {
    double r, z;
};

Place place_of(const Triple& local);

// Of a point, with respect to the sphere of radius d: the ends of the diameter through it.
struct Pole {
    double s, sigma, m, n, U, R0, R1;
    bool at_focus;
};

Pole pole_of(double d, const Place& place);

// Next to the focus: nearer than any sum over the rims can resolve.
inline constexpr double nearest_to_focus = 0x1p-18;  // of d

bool is_skipped(const Element& bowl, const Place& place);

// kappa = 1 - cos phi of an angle.
double kappa_of(double phi);

}  // namespace kavro_oracle
