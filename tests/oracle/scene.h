// What the oracle computes: elements, points, a time axis and a fluid, as plain data.
#pragma once

#include <vector>

#include "oracle/waveform.h"

namespace kavro_oracle {

struct Triple {
    double x = 0.0, y = 0.0, z = 0.0;
};

enum class Shape { disc, ring, rectangle, bowl };  // a bowl may have a hole

struct Element {
    Shape shape = Shape::disc;
    double radius = 5e-3;                // m, of the outer rim
    double inner_radius = 0.0;           // m, of the hole, which is left out where not positive
    double focus = 0.0;                  // m, a bowl's radius of curvature
    double width = 0.0, height = 0.0;    // m, a rectangle's sides along x and y
    Triple center;                       // m
    Triple euler;                        // rad
    double amplitude = 1.0, phase = 0;   // phase in rad, continuous wave
    double time_delay = 0.0;             // s
    const Waveform* waveform = nullptr;  // not owned
    bool exact = false;                  // instead of the reference's departures
};

struct Scene {
    std::vector<Element> elements;
    std::vector<Triple> points;  // m
    std::vector<double> times;   // s
    double deltat = 0.0;         // s; 0: `times` is a list in any order
    double speed = 1500.0;       // m/s
    double density = 1000.0;     // kg/m^3
    int ndiv = 32;
    double f0 = 0.0;           // Hz, continuous wave
    double attenuation = 0.0;  // dB/(cm MHz), continuous wave
};

inline bool is_silent(const Element& element) {
    return !(element.amplitude > 1e-10 || element.amplitude < -1e-10);
}

// Points in an element's own frame.
class Placement {
public:
    explicit Placement(const Element& element);
    Triple local(const Triple& point) const;

private:
    Triple center_;
    double m_[9];  // row by row, global to element frame
};

}  // namespace kavro_oracle
