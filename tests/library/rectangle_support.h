// What the rectangle's tests share.
#pragma once

#include "support.h"

namespace kavro_test {

using kavro_oracle::Complex;
using Rectangle = kavro_oracle::Element;

struct RectangleScene : kavro_oracle::Scene {
    std::vector<Rectangle> rectangles;
    bool exact = false;
};

using RectangleSolve = kavro::TransducerStatus (kavro::RectangularTransducer::*)();

// One rectangle, and points in all nine regions that the lines through its edges make, on those
// lines, in the plane of the face, and behind.
RectangleScene rectangle_scene();

// The library's records for a scene, with the reference rule.
struct RectangleRecords : Records {
    explicit RectangleRecords(const RectangleScene& scene);
};

kavro::RectangularTransducer element_of(const Rectangle& rectangle, bool exact);

// Every rectangle of the scene in turn, driven by the waveform.
Field transient_by_library(const RectangleScene& scene, RectangleSolve method,
                           kavro::ExcitationFunction& waveform);
std::vector<Complex> cw_by_library(const RectangleScene& scene, RectangleSolve method);

}  // namespace kavro_test
