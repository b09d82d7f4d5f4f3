// Steps that the precisions share: placement, sample windows, superposition.
#pragma once

#include <cmath>
#include <cstddef>

#include "oracle/disc.h"

namespace kavro_oracle {

// Row by row, global to element frame.
struct Rotation {
    double m[9];
};

Rotation rotation_of(const Disc& disc);
Triple rotate_translate(const Rotation& rotation, const Disc& disc, const Triple& point);

std::vector<double> cosines_of(const std::vector<double>& angles);

// Of the angles (j + 1/2) pi/n.
std::vector<double> midpoint_cosines(int n);

// [max(0, ceil(first)), min(ntimes, floor(last) + 1)); what is not a number gives no samples.
Window regular_window(double first, double last, std::size_t ntimes);

// Sample j where (t_j - delay) - begin >= 0 and (t_j - delay) - end_delay <= width.
Window listed_window(const std::vector<double>& times, double delay, double begin, double end_delay,
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

// Adds the magnitudes of one wave's terms, g S_k T_k, to those of each sample.
template <class Factor>
void note_terms(PointWindows& windows, const Window& window, const std::vector<Factor>& spatial,
                double g, const std::vector<Factor>& temporal, std::size_t ntimes) {
    windows.terms.resize(ntimes);
    for_each_sample(window, [&](std::size_t j) {
        for (std::size_t k = 0; k < spatial.size(); ++k) {
            const auto factors = static_cast<double>(std::abs(spatial[k])) *
                                 static_cast<double>(std::abs(temporal[k * ntimes + j]));
            windows.terms[j] += std::fabs(g) * factors;
        }
    });
}

template <class Real>
void superpose(Field& field, std::size_t point, std::size_t npoints,
               const std::vector<Real>& series) {
    for (std::size_t j = 0; j < series.size(); ++j) {
        field[point + j * npoints] += static_cast<double>(series[j]);
    }
}

}  // namespace kavro_oracle
