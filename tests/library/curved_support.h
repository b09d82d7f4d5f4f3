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
