// Quadrature rules: abscissas and weights on an interval.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "kzk_parameters.h"

namespace kavro {

struct QuadratureRule;

// One rule, shared by all elements of a call. Size it with `allocate_memory` before filling it. Not
// to be filled and read from two threads at once.
//
// An element in exact mode reads nothing of it but the number of abscissas, and never writes it. In
// reference mode it is mutable on purpose: a method that needs the interval [0, pi] refills it, and
// whatever the last one asked for is what the next reader sees.
class NumericalIntegration {
public:
    kzk::Parameters kzk_parameters;
    std::int32_t npoints = 0;       // number of abscissas and weights
    std::vector<double> abscissas;  // npoints long; Gauss rules: in descending order
    std::vector<double> weights;    // npoints long
    std::vector<double> cosines;    // cosine of each abscissa, gauss_quadrature_cylindrical only

    // Sizes the rule to n abscissas. Returns true. Throws InputError for n below 1 and for counts
    // beyond the memory.
    bool allocate_memory(int n);

    // Gauss rules. The work grows with the square of npoints, but the last rule is remembered (by
    // copies, too): the same npoints on another interval costs next to nothing. They throw
    // Interrupted where the console port asks to stop, and leave the rule as it was.
    bool gauss_quadrature();                    // Gauss-Legendre on [-1, 1]; returns true
    bool gauss_quadrature(double a, double b);  // mapped to [a, b]; returns true
    bool gauss_quadrature_cylindrical();        // mapped to [0, pi], with cosines; returns true
    bool midpoint_rule();                       // midpoint rule on [-1, 1]; returns true

    // Midpoint rule on [a, b], shifted down by one step on purpose: the first abscissa lies at
    // a - h/2, and the interval's last midpoint is not used. Returns true.
    bool midpoint_rule(double a, double b);

    // Writes the n-point Gauss-Legendre rule on [-1, 1] into x and w, n values each, abscissas
    // descending: one Newton step from a closed-form start, corrected by a fourth-order Taylor
    // expansion of the Legendre polynomial. Writes nothing for n below 1.
    static void grule(int n, double* x, double* w);

    // The same, unless `give_up`, which is asked now and then, says so: false then, with x and w
    // incomplete. For large n: the work grows with its square.
    static bool grule(int n, double* x, double* w, const std::function<bool()>& give_up);

    // As grule, with a second pass for roots whose last correction was above 1e-15 of the root.
    static void modifiedgrule(int n, double* x, double* w);

    // Fill the record in the order extent, points_per_radius, step, implicit, diffraction; or
    // extent, points_per_radius, growth, harmonics, source_phase. Step and growth are one number
    // here: either setter sets both.
    void set_kzk_parameters(float p1, float p2, float p3, float p4, float p5);
    void cw_set_kzk_parameters(float p1, float p2, float p3, int k1, int k2);

    double get_abscissa(int i) const;  // 0.0 where there is no abscissa i
    double get_weight(int i) const;    // 0.0 where there is no weight i
    int get_npoints() const { return npoints; }

private:
    std::shared_ptr<const QuadratureRule> standard_;  // the last Gauss rule on [-1, 1], or null
};

}  // namespace kavro
