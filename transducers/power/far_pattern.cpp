#include "transducers/power/far_pattern.h"

#include <cmath>
#include <memory>
#include <new>
#include <vector>

#include "core/constants.h"
#include "core/quadrature_rule.h"

namespace kavro {
namespace {

double sinc(double x) {
    return x == 0.0 ? 1.0 : std::sin(x) / x;
}

// The integral of e^(jk u.r) over a disc.
double disc_integral(double x, double radius) {
    return pi * radius * radius * (x == 0.0 ? 1.0 : 2.0 * ::j1(x) / x);
}

double sine_of(const CartesianCoordinate& u) {
    return std::sqrt(u.x * u.x + u.y * u.y);
}

}  // namespace

FarPattern annulus_pattern(double k, double inner_radius, double outer_radius) {
    return {[=](const CartesianCoordinate& u) -> std::complex<double> {
                const double q = k * sine_of(u);
                const double hole =
                    inner_radius > 0.0 ? disc_integral(q * inner_radius, inner_radius) : 0.0;
                return disc_integral(q * outer_radius, outer_radius) - hole;
            },
            true};
}

FarPattern rectangle_pattern(double k, double width, double height) {
    return {[=](const CartesianCoordinate& u) -> std::complex<double> {
                return width * height * sinc(0.5 * k * u.x * width) * sinc(0.5 * k * u.y * height);
            },
            false};
}

// By Gauss's theorem in the plane, with q = k times u's part in it:
//
//     integral of e^(j q.r) = 1/(j q^2) * sum over sides of q.n l sinc(q.t l/2) e^(j q.m),
//
// t along the side, n outwards, l its length and m its middle. Towards the axis the sum is small by
// q; there the face is as good as a point.
FarPattern polygon_pattern(double k, std::span<const PolygonTransducer::Side> sides, double area) {
    double perimeter = 0.0;
    for (const PolygonTransducer::Side& side : sides) {
        perimeter += side.length;
    }
    return {[=, sides = std::vector(sides.begin(), sides.end())](
                const CartesianCoordinate& u) -> std::complex<double> {
                const double qx = k * u.x;
                const double qy = k * u.y;
                const double q_squared = qx * qx + qy * qy;
                if (q_squared * perimeter * perimeter < 1e-8) {
                    const PolygonTransducer::Side& first = sides.front();
                    return std::polar(area, qx * first.x + qy * first.y);
                }
                std::complex<double> sum = 0.0;
                for (const PolygonTransducer::Side& side : sides) {
                    const double half = 0.5 * side.length;
                    const double along = qx * side.ux + qy * side.uy;
                    const double outwards = qx * side.uy - qy * side.ux;
                    const double middle = qx * side.x + qy * side.y + along * half;
                    sum += std::polar(outwards * side.length * sinc(along * half), middle);
                }
                return sum / std::complex<double>(0.0, q_squared);
            },
            false};
}

// Circle after circle.
FarPattern bowl_pattern(double k, double curvature_radius, double inner_angle, double outer_angle) {
    const double d = curvature_radius;
    const double turns = k * d * (outer_angle - inner_angle);
    if (!(turns <= 1e6)) {
        throw std::bad_alloc();
    }
    const int order = static_cast<int>(std::ceil(0.5 * turns + 4.0 * std::cbrt(turns))) + 16;
    const auto rule =
        std::make_shared<QuadratureRule>(gauss_rule(order)->mapped(inner_angle, outer_angle));
    return {[=](const CartesianCoordinate& u) {
                const double sine = sine_of(u);
                std::complex<double> sum = 0.0;
                for (std::size_t i = 0; i < rule->abscissas.size(); ++i) {
                    const double beta = rule->abscissas[i];
                    const double h = std::sin(0.5 * beta);
                    const double radius = d * std::sin(beta);
                    const double height = 2.0 * d * h * h;
                    const double area = two_pi * radius * d * rule->weights[i];
                    sum += std::polar(area * ::j0(k * radius * sine), k * height * u.z);
                }
                return sum;
            },
            true};
}

}  // namespace kavro
