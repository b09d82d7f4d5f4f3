// Steps that the rectangle's operations share.
#pragma once

#include <cmath>
#include <cstddef>

#include "oracle/disc_steps.h"
#include "oracle/gauss.h"
#include "oracle/rectangle.h"

namespace kavro_oracle {

inline constexpr double rectangle_two_pi = 6.28318530717958;

// The points in a rectangle's own frame.
class Placement {
public:
    explicit Placement(const Rectangle& rectangle);
    Triple local(const Triple& point) const { return rotate_translate(rotation_, disc_, point); }

private:
    Disc disc_;  // at the rectangle's place
    Rotation rotation_;
};

// What is tabulated once per call: the rule moved to [0, 1] with the abscissa squared, and the rule
// stretched to either side. `scale` multiplies every weight.
template <class Real>
struct EdgeTables {
    Real hw, hh;
    std::vector<Real> u, v, X, WX, Y, WY;

    EdgeTables(const Rectangle& rectangle, const Rule& rule, double scale)
        : hw(static_cast<Real>(rectangle.width * 0.5)),
          hh(static_cast<Real>(rectangle.height * 0.5)) {
        const double half_width = rectangle.width * 0.5;
        const double half_height = rectangle.height * 0.5;
        for (std::size_t i = 0; i < rule.x.size(); ++i) {
            const double root = (rule.x[i] + 1) * 0.5;
            u.push_back(static_cast<Real>(root * root));
            v.push_back(static_cast<Real>(rule.w[i] * 0.5 * scale));
            X.push_back(static_cast<Real>(rule.x[i] * half_width));
            WX.push_back(static_cast<Real>(rule.w[i] * half_width * scale));
            Y.push_back(static_cast<Real>(rule.x[i] * half_height));
            WY.push_back(static_cast<Real>(rule.w[i] * half_height * scale));
        }
    }
};

// use(i, weight, jacobian, L, q) for every edge term of a point over (x, y), in order: abscissa,
// quadrature weight, length of the piece of the edge, signed distance of the edge, squared distance
// along it.
template <class Real, class Use>
void for_each_edge_term(const EdgeTables<Real>& tables, Real x, Real y, Use use) {
    const Real sx1 = tables.hw - x, sx2 = tables.hw + x;
    const Real sy1 = tables.hh - y, sy2 = tables.hh + y;
    const std::size_t n = tables.u.size();
    for (std::size_t i = 0; i < n; ++i) {  // the two edges parallel to x
        if (sx2 <= 0 || sx1 <= 0) {
            const Real q = (tables.X[i] + x) * (tables.X[i] + x);
            use(i, tables.WX[i], Real(1), sy2, q);
            use(i, tables.WX[i], Real(1), sy1, q);
        } else {
            const Real q2 = sx2 * sx2 * tables.u[i];
            const Real q1 = sx1 * sx1 * tables.u[i];
            use(i, tables.v[i], sx2, sy2, q2);
            use(i, tables.v[i], sx2, sy1, q2);
            use(i, tables.v[i], sx1, sy2, q1);
            use(i, tables.v[i], sx1, sy1, q1);
        }
    }
    for (std::size_t i = 0; i < n; ++i) {  // the two edges parallel to y
        if (sy2 <= 0 || sy1 <= 0) {
            const Real q = (tables.Y[i] + y) * (tables.Y[i] + y);
            use(i, tables.WY[i], Real(1), sx2, q);
            use(i, tables.WY[i], Real(1), sx1, q);
        } else {
            const Real q2 = sy2 * sy2 * tables.u[i];
            const Real q1 = sy1 * sy1 * tables.u[i];
            use(i, tables.v[i], sy2, sx2, q2);
            use(i, tables.v[i], sy2, sx1, q2);
            use(i, tables.v[i], sy1, sx2, q1);
            use(i, tables.v[i], sy1, sx1, q1);
        }
    }
}

// Distances from a point to the nearest and to the farthest point of the face.
template <class Real>
Real nearest_distance(Real hw, Real hh, Real x, Real y, Real z) {
    const Real ax = std::fabs(x), ay = std::fabs(y);
    if (ax <= hw && ay <= hh) {
        return std::fabs(z);
    }
    if (ay <= hh) {
        return std::sqrt((ax - hw) * (ax - hw) + z * z);
    }
    if (ax <= hw) {
        return std::sqrt((ay - hh) * (ay - hh) + z * z);
    }
    return std::sqrt((ax - hw) * (ax - hw) + (ay - hh) * (ay - hh) + z * z);
}

double farthest_distance(double hw, double hh, const Triple& local);

}  // namespace kavro_oracle
