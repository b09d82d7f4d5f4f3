#include "door/choice.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>

#include "core/constants.h"
#include "core/input_error.h"
#include "door/options.h"
#include "door/values.h"
#include "transducers/spectral/lossy_transient.h"

namespace kavro {
namespace {

bool is_given(std::span<const Value* const> options, const char* name) {
    for (std::size_t i = 0; i < options.size(); i += 2) {
        const std::optional<std::string> text = text_of(options[i]);
        if (text && same_but_case(*text, name)) {
            return true;
        }
    }
    return false;
}

double farthest_point(const CoordinateGrid& grid, const CartesianCoordinate& center) {
    const auto reach = [](double min, double max, double from) {
        return std::max(std::fabs(min - from), std::fabs(max - from));
    };
    return std::hypot(reach(grid.xmin, grid.xmax, center.x), reach(grid.ymin, grid.ymax, center.y),
                      reach(grid.zmin, grid.zmax, center.z));
}

// The rounding of single precision as a share of the element's field, at worst, with room to spare.
// Terms of the size of the direct wave cancel to the field of a small source far away on the axis,
// k A / 2 pi R of it; far off it those of a rim cancel to its two ends.
double rounding_of_single(const SolveRequest& request, const Transducer& element) {
    constexpr double rounding_of_terms = 4e-7;
    const double k = two_pi * element.excitation->centre_frequency() / request.medium._soundspeed;
    const double R = farthest_point(request.points, element.center) + element.face_extent();
    const double on_axis = two_pi * R / (k * element.face_area());
    const double off_axis = 2.0 * std::sqrt(0.5 * k * element.face_extent());
    return rounding_of_terms * std::max({1.0, on_axis, off_axis});
}

}  // namespace

const Operation& operation_asked_for(std::span<const Value* const> options, const Value* medium) {
    const bool wave = is_given(options, "f0");
    const bool over_time = is_given(options, "time") || is_given(options, "excitation");
    if (wave == over_time) {
        throw InputError(
            std::string("The pressure needs the option 'f0' (a continuous wave) or the "
                        "options 'time' and 'excitation' (a wave over time)") +
            (wave ? ", not both." : "."));
    }
    if (wave) {
        return *operation_of("fnm_cw");
    }
    const double loss = is_record(medium) && has_field(medium, "attenuationdBcmMHz")
                            ? single_number(field_of(medium, 0, "attenuationdBcmMHz")).value_or(0.0)
                            : 0.0;
    const Operation* lossy = operation_of("fnm_spectral");
    return loss > 0.0 && lossy != nullptr ? *lossy : *operation_of("fnm_tsd");
}

const Operation& in_fitting_precision(const SolveRequest& request) {
    constexpr double share_of_tolerance = 0.25;
    const Operation& single = *operation_of("fnm_tsd_low_precision");
    const bool fits = request.tolerance >= least_tolerance_of_single &&
                      std::all_of(request.elements.begin(), request.elements.end(),
                                  [&](const RequestedElement& element) {
                                      return implements(single, *element.shape) &&
                                             rounding_of_single(request, *element.transducer) <
                                                 share_of_tolerance * request.tolerance;
                                  });
    return fits ? single : *request.operation;
}

bool goes_by_frequencies(const SolveRequest& request) {
    const Operation& spectral = *operation_of("fnm_spectral");
    SharedPulses pulses;
    return request.times.ntimes > 0 &&
           std::all_of(request.elements.begin(), request.elements.end(),
                       [&](const RequestedElement& element) {
                           return implements(spectral, *element.shape) &&
                                  is_faster_by_frequencies(*element.transducer,
                                                           0.5 * request.tolerance, pulses);
                       });
}

bool delays_stand_for_phases(const SolveRequest& request) {
    return std::all_of(
        request.elements.begin(), request.elements.end(),
        [](const RequestedElement& element) { return element.transducer->get_phase() == 0.0; });
}

void turn_delays_into_phases(SolveRequest& request) {
    for (const RequestedElement& element : request.elements) {
        Transducer& transducer = *element.transducer;
        transducer.set_phase(-two_pi * request.medium._f0 * transducer.get_time_delay());
    }
}

}  // namespace kavro
