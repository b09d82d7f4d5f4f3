#include "transducers/methods/jump_waves.h"

#include <cmath>
#include <cstddef>
#include <vector>

#include "transducers/blocks/point_series.h"

namespace kavro {
namespace {

double first_value(const ExcitationFunction& v) {
    return v.at(std::nextafter(0.0, 1.0));
}

double last_value(const ExcitationFunction& v) {
    return std::isfinite(v.w) ? v.at(std::nextafter(v.w, 0.0)) : 0.0;
}

}  // namespace

std::unique_ptr<Share> jump_waves_share(const Transducer& element) {
    const ExcitationFunction& v = *element.excitation;
    if (!(v.w > 0.0) || (first_value(v) == 0.0 && last_value(v) == 0.0)) {
        return nullptr;
    }
    const double density = element.medium->_rho_density;
    const double first = density * first_value(v);
    const double last = density * last_value(v);
    return point_series_share(
        element, [=, &element, w = v.w](const CartesianCoordinate& point, SampleWindow samples,
                                        double* values) {
            if (point.z < 0.0) {
                return;
            }
            std::vector<double> ends(static_cast<std::size_t>(samples.end - samples.begin));
            element.write_impulse_response(point, samples, 0.0, values);
            element.write_impulse_response(point, samples, w, ends.data());
            for (std::size_t j = 0; j < ends.size(); ++j) {
                values[j] = first * values[j] - last * ends[j];
            }
        });
}

}  // namespace kavro
