#include "transducers/circular/piston_apodization.h"

#include <cmath>

#include "core/constants.h"

namespace kavro::piston_apodization {
namespace {

bool inside(double r, double a) {
    return a > std::abs(r);
}

}  // namespace

double cosine(double r, double a) {
    return inside(r, a) ? std::cos(r * half_pi / a) : 0.0;
}

double raisedcosine(double r, double a) {
    return inside(r, a) ? (std::cos(r * pi / a) + 1) * 0.5 : 0.0;
}

double quadratic(double r, double a) {
    return inside(r, a) ? 1 - (r / a) * (r / a) : 0.0;
}

double quartic(double r, double a) {
    return inside(r, a) ? 1 - std::pow(r / a, 4) : 0.0;
}

double derivativecosine(double r, double a) {
    return inside(r, a) ? (-half_pi / a) * std::sin(r * half_pi / a) : 0.0;
}

double derivativeraisedcosine(double r, double a) {
    return inside(r, a) ? (-half_pi / a) * std::sin(r * pi / a) : 0.0;
}

double derivativequadratic(double r, double a) {
    return inside(r, a) ? -2 * r / a / a : 0.0;
}

double derivativequartic(double r, double a) {
    return inside(r, a) ? -4 * std::pow(r / a, 3) / a : 0.0;
}

double evaluate(int index, double r, double a) {
    switch (index) {
        case 1:
            return cosine(r, a);
        case 2:
            return raisedcosine(r, a);
        case 3:
            return quadratic(r, a);
        case 4:
            return quartic(r, a);
        default:
            return 1.0;
    }
}

double derivative(int index, double r, double a) {
    switch (index) {
        case 1:
            return derivativecosine(r, a);
        case 2:
            return derivativeraisedcosine(r, a);
        case 3:
            return derivativequadratic(r, a);
        case 4:
            return derivativequartic(r, a);
        default:
            return 0.0;
    }
}

}  // namespace kavro::piston_apodization
