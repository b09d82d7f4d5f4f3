// What the rectangle's tests share: one scene solved by library and oracle.
#pragma once

#include "oracle/rectangle.h"
#include "support.h"

namespace kavro_test {

using kavro_oracle::Complex;
using kavro_oracle::ComplexField;
using kavro_oracle::Rectangle;
using kavro_oracle::RectangleScene;

using RectangleSolve = kavro::TransducerStatus (kavro::RectangularTransducer::*)();

// One rectangle, and points in all nine regions that the lines through its edges make, on those
// lines, in the plane of the face, and behind.
RectangleScene rectangle_scene();

void set_times(RectangleScene& scene, double deltat, double tmin, int count);

// Turned and moved rectangles that overlap in time, one of them too weak to count.
std::vector<Rectangle> turned_rectangles();

// The library's records for a scene, with the reference rule.
struct RectangleRecords : Records {
    explicit RectangleRecords(const RectangleScene& scene);
};

kavro::RectangularTransducer element_of(const Rectangle& rectangle, bool exact);

// Every rectangle of the scene in turn, driven by the waveform.
Field transient_by_library(const RectangleScene& scene, RectangleSolve method,
                           kavro::ExcitationFunction& waveform);
std::vector<Complex> cw_by_library(const RectangleScene& scene, RectangleSolve method);

// The scene with a waveform in every rectangle.
RectangleScene driven(RectangleScene scene, const kavro_oracle::Waveform& waveform);

// Whether values agree within `tolerance` of each point's scale, and are not finite where a point
// lies on an abscissa.
testing::AssertionResult agrees(const std::vector<Complex>& field,
                                const std::vector<Complex>& expected,
                                const std::vector<double>& scale, double tolerance);

}  // namespace kavro_test
