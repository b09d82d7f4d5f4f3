// Transient pressure by time-space decomposition, written down loop by loop: v(t - tau) = sum over
// k of S_k(tau) T_k(t), over the samples that each wave touches.
#pragma once

#include <vector>

#include "oracle/geometry.h"

namespace kavro_oracle {

using Field = std::vector<double>;  // entry p + j * points

Field silence(const Scene& scene);

// What the field is made of.
struct Trace {
    explicit Trace(const Scene& scene);

    Field terms;                // sums of the magnitudes of all terms
    std::vector<char> touched;  // whether any wave's samples reach so far
};

// The samples that one wave touches: [begin, end), or those marked in `listed` where the time axis
// is an explicit list.
struct Window {
    int begin = 0, end = 0;
    std::vector<char> listed;
};

// [max(0, begin), min(ntimes, end)); what is not a number gives no samples.
Window regular_window(double begin, double end, std::size_t ntimes);

// Sample j where (t_j - delay) - begin >= 0 and (t_j - delay) - end <= width.
Window listed_window(const std::vector<double>& times, double delay, double begin, double end,
                     double width);

template <class Use>
void for_each_sample(const Window& window, Use use) {
    if (window.listed.empty()) {
        for (int j = window.begin; j < window.end; ++j) {
            use(static_cast<std::size_t>(j));
        }
        return;
    }
    for (std::size_t j = 0; j < window.listed.size(); ++j) {
        if (window.listed[j] != 0) {
            use(j);
        }
    }
}

template <class Real>
void superpose(Field& field, std::size_t point, std::size_t npoints,
               const std::vector<Real>& series) {
    for (std::size_t j = 0; j < series.size(); ++j) {
        field[point + j * npoints] += static_cast<double>(series[j]);
    }
}

// In single precision, by either delay, or with every product and sum of the same rounded
// geometry, factors and times in double: what rounding in the sums costs is the distance from it.
enum class Sums { rounded, unrounded };

void add_single(const Scene& scene, DelayBy delay_by, Field& field, Trace* trace = nullptr,
                Sums sums = Sums::rounded);

// In double precision, with the real or the complex decomposition.
enum class Terms { real, complex };

void add_double(const Scene& scene, Terms terms, Field& field, Trace* trace = nullptr,
                Behind behind = Behind::skipped);

}  // namespace kavro_oracle
