// The pressure of flat discs by the fast nearfield method with time-space decomposition, written
// down loop by loop. Every function adds into `field` (entry p + j * points, point index fastest)
// the share of each disc in turn.
#pragma once

#include <vector>

#include "oracle/scene.h"

namespace kavro_oracle {

// The samples that one wave touches: [begin, end), or those marked in `listed` where the time axis
// is an explicit list.
struct Window {
    int begin = 0, end = 0;
    std::vector<char> listed;

    bool contains(int j) const;
};

// Of one disc and one point.
struct PointWindows {
    bool behind = false;
    std::vector<Window> edge;  // one for each abscissa
    Window direct;
    // For each sample, the sum of the magnitudes of all terms of the decomposed waves.
    std::vector<double> terms;
};

using Field = std::vector<double>;
using WindowLog = std::vector<PointWindows>;  // disc after disc, each point after point

enum class DelayBy { quotient, reciprocal };
enum class Terms { real, complex };

// A field of zeros for the scene.
Field silence(const Scene& scene);

// Single precision: distances are divided by the speed (`fnm_tsd_sse`) or multiplied with its
// reciprocal (`fnm_tsd_low_precision`).
void add_single(const Scene& scene, DelayBy delay_by, Field& field, WindowLog* log = nullptr);

// The single-precision sum (`fnm_tsd_sse`) of the same rounded geometry, factors and times, but
// with every product and sum in double: what rounding in the sums costs is the distance from it.
void add_single_unrounded(const Scene& scene, DelayBy delay_by, Field& field);

// Double precision, with the real (`fnm_tsd`) or the complex (`fnm_fdtsd`) decomposition.
void add_double(const Scene& scene, Terms terms, Field& field, WindowLog* log = nullptr);

// The formula itself: every factor in double, the waveform evaluated directly, over the windows of
// `log`, which one of the functions above has made of the same scene. For measuring errors.
void add_exact(const Scene& scene, const WindowLog& log, Field& field);

}  // namespace kavro_oracle
