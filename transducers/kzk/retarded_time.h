// The retarded-time axis of the transient nonlinear march.
#pragma once

#include "../../core/coordinate_grid.h"
#include "../../core/medium.h"
#include "../../core/time_samples.h"
#include "../../excitation/excitation_function.h"

namespace kavro::kzk {

// tau = omega0 (t - z/c) in radians. Rounded to single precision where it is stored.
struct RetardedTime {
    float f0 = 0.0f;      // Hz
    float omega0 = 0.0f;  // 2 pi f0, rad/s
    float begin = 0.0f;   // rad
    int steps = 0;        // the axis has one sample more; 0 where there is no axis
    float step = 0.0f;    // rad

    // From omega0 tmin over the time that is left of the time axis after the wave has come to the
    // farthest plane. What a wave has before tmin is lost: deliberate.
    RetardedTime(const TimeSamples& times, const ExcitationFunction& excitation,
                 const Medium& medium, const CoordinateGrid& grid);

    // In steps of `seconds` from `first` <= 0 or a little earlier to `last` (rad) or a little
    // later; a sample is at 0.
    RetardedTime(double seconds, const ExcitationFunction& excitation, double first, double last);

private:
    explicit RetardedTime(const ExcitationFunction& excitation);
};

}  // namespace kavro::kzk

namespace kavro {

// Sets the tau axis of `times` to what kzk_transient needs for this excitation, medium and grid,
// from the evenly spaced time axis it has. To be called before kzk_transient, and again after any
// of the four has changed; an exact element makes an axis of its own and does not need it. False,
// and the axis stays, where no retarded time is left: the time axis is a list or a single sample,
// ends before the wave has come to the last plane, or the excitation's f0 is not positive. Throws
// InputError where the axis does not fit into memory.
bool set_kzk_tau_axis(TimeSamples& times, const ExcitationFunction& excitation,
                      const Medium& medium, const CoordinateGrid& grid);

}  // namespace kavro
