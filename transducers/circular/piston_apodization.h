// Radial weightings of a disc's velocity.
#pragma once

namespace kavro::piston_apodization {

// r is the distance from the centre, a the radius (m). Every profile, and its derivative by r
// (1/m), is 0 unless |r| < a.
double cosine(double r, double a);        // index 1: cos(pi r / 2a)
double raisedcosine(double r, double a);  // index 2: (1 + cos(pi r / a)) / 2
double quadratic(double r, double a);     // index 3: 1 - (r/a)^2
double quartic(double r, double a);       // index 4: 1 - (r/a)^4
double derivativecosine(double r, double a);
double derivativeraisedcosine(double r, double a);
double derivativequadratic(double r, double a);
double derivativequartic(double r, double a);

// The profile with this index, and its derivative. Any other index is uniform: 1 and 0 whatever r
// is.
double evaluate(int index, double r, double a);
double derivative(int index, double r, double a);

}  // namespace kavro::piston_apodization
