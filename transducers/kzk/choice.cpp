#include "transducers/kzk/choice.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

#include "core/number_text.h"
#include "transducers/kzk/beam_grid.h"
#include "transducers/kzk/beam_time.h"
#include "transducers/kzk/fault.h"
#include "transducers/kzk/frame.h"
#include "transducers/kzk/harmonic_beam.h"
#include "transducers/kzk/transient_beam.h"

namespace kavro::kzk {
namespace {

// What the needs of a march follow from.
struct Beam {
    double radius, scale_length, gain, curvature, nonlinearity;
    double first =
        std::numeric_limits<double>::infinity();  // range of the first plane before the face
    double last = 0.0;
    bool harmonic, diffracts;

    Beam(Transducer& element, bool is_harmonic) : harmonic(is_harmonic) {
        if (harmonic) {
            const std::unique_ptr<HarmonicShape> shape = element.harmonic_march();
            radius = shape->radius;
            scale_length = shape->scale_length;
            gain = shape->gain;
            curvature = shape->curvature;
            nonlinearity = shape->nonlinearity;
        } else {
            const std::unique_ptr<TransientShape> shape = element.transient_march();
            radius = shape->radius;
            scale_length = shape->scale_length;
            gain = static_cast<double>(shape->gain);
            curvature = shape->curvature;
            nonlinearity = static_cast<double>(shape->nonlinearity);
        }
        diffracts = harmonic || element.integral->kzk_parameters.diffracts();
        const CoordinateGrid& grid = *element.coordinate_grid;
        for (int k = 0; k < grid.nz; ++k) {
            const double range = (grid.zmin + k * grid.deltaz) / scale_length;
            first = range > 0.0 ? std::min(first, range) : first;
            last = std::max(last, range);
        }
    }

    Frame frame() const { return {gain, curvature, diffracts}; }

    // From where on the accuracy is held.
    double held_from() const {
        const double promised = curvature == 0.0 ? 0.25 : harmonic ? 0.5 : 0.8;
        return std::max(std::min(first, last), promised);
    }

    // Seen from the axis at the range s (1 + C s) the rim's wave is G/s ahead, and the radial
    // differences get that wrong by a share of (q/P)^4/240 or (q/P)^2/12 of the radial wave number
    // q = 2G/s. Half of that is the error, and the steps of range add to it.
    double points(double accuracy) const {
        constexpr double least = 20.0;  // for the beam itself
        const double left = 1.0 + curvature * held_from();
        if (!diffracts || left <= 0.0) {
            return least;
        }
        const double ratio = gain * left / held_from();
        const double needed = harmonic ? std::pow(std::pow(ratio, 5) / (12.0 * accuracy), 0.25)
                                       : std::sqrt(std::pow(ratio, 3) / (18.0 * accuracy));
        return std::max(least, std::ceil(needed));
    }

    // The first harmonic that is left out is to be a tenth of the accuracy at most. Beyond the
    // shock 40 harmonics do, the lower ones of which are right whatever the shock is.
    int harmonics(double accuracy) const {
        constexpr int most = 40;
        const double X = std::abs(nonlinearity) * frame().steepening(last);
        const double ratio = X < 1.0 ? X * std::exp(1.0 - X) : 1.0;
        int count = 1;
        while (count < most &&
               std::pow(ratio, count + 1) / std::pow(count + 1.0, 1.5) > 0.1 * accuracy) {
            ++count;
        }
        return count;
    }
};

// Steps through the planes that no distortion shortens, where each follows a phase of `turn`.
std::size_t steps_of(const BeamGrid& grid, const Frame& frame, double longest, double turn) {
    std::size_t count = 0;
    double range = 0.0;
    for (const double plane : grid.ranges) {
        for (; range < plane; ++count) {
            const double end = std::min({frame.step_end(range, grid.points_per_radius, turn),
                                         frame.change_end(range), range + longest});
            range = end > range ? std::min(end, plane) : plane;
        }
    }
    return count;
}

}  // namespace

Parameters chosen_parameters(Transducer& element, bool harmonic, double accuracy, int harmonics) {
    Parameters parameters = element.integral->kzk_parameters;
    parameters.implicit = parameters.diffraction = 1.0f;
    element.integral->kzk_parameters = parameters;
    const Beam beam(element, harmonic);
    constexpr double usual_points = 40.0;
    parameters.extent = 4.0f;
    parameters.points_per_radius =
        static_cast<float>(std::max(beam.points(accuracy), usual_points));
    parameters.step = parameters.growth = 0.02f;
    parameters.harmonics =
        beam.nonlinearity == 0.0 ? 1 : std::max(harmonics + 3, beam.harmonics(accuracy));
    parameters.source_phase = 0;
    return parameters;
}

Cost cost_of(Transducer& element, bool harmonic) {
    const Beam beam(element, harmonic);
    const Parameters& parameters = element.integral->kzk_parameters;
    const BeamGrid grid(*element.coordinate_grid, beam.radius, beam.scale_length, beam.frame(),
                        parameters);
    const MemoryNeed need = harmonic ? harmonic_beam_memory(element, *element.harmonic_march())
                                     : transient_beam_memory(element, *element.transient_march());
    Cost cost;
    cost.columns = grid.columns;
    cost.bytes = static_cast<double>(need.count) * static_cast<double>(need.bytes);
    const auto columns = static_cast<double>(grid.columns);
    if (harmonic) {
        const double N = beam.nonlinearity != 0.0 ? parameters.harmonics : 1;
        const double lanes = 8.0 * std::ceil(N / 8.0);
        const auto growth = static_cast<double>(parameters.growth);
        cost.samples = static_cast<std::size_t>(N);
        cost.steps = steps_of(grid, beam.frame(), growth, harmonic_turn);
        const auto legs = static_cast<double>(
            steps_of(grid, beam.frame(), growth, std::numeric_limits<double>::infinity()));
        cost.seconds = 1e-9 * columns *
                       (6.0 * lanes * static_cast<double>(cost.steps) +
                        (N > 1.0 ? 1.2 * lanes * (lanes + 30.0) * legs : 0.0));
    } else {
        const RetardedTime axis = beam_time(element, *element.transient_march());
        cost.samples = static_cast<std::size_t>(axis.steps) + 1;
        cost.steps =
            steps_of(grid, beam.frame(), static_cast<double>(parameters.step), transient_turn);
        const double values = columns * static_cast<double>(cost.samples);
        cost.seconds =
            (beam.nonlinearity != 0.0 ? 5e-9 : 2.5e-9) * values * static_cast<double>(cost.steps);
    }
    return cost;
}

std::vector<std::string> shortcomings(Transducer& element, bool harmonic) {
    const Beam beam(element, harmonic);
    const Parameters& parameters = element.integral->kzk_parameters;
    std::vector<std::string> all;
    const double points = beam.points(usual_accuracy);
    const auto given = static_cast<double>(parameters.points_per_radius);
    if (given < points) {
        const double from = beam.held_from();
        const double turn = 2.0 * beam.gain * std::max(1.0 + beam.curvature * from, 0.0) / from;
        std::string sentence =
            "the field 'points_per_radius' is " + number_text(given) + ", but it takes " +
            number_text(points) +
            " to hold the axis from z = " + number_text(1e3 * from * beam.scale_length) +
            " mm on to " + (harmonic ? "1 %" : "6 %");
        if (turn > 0.0) {
            sentence += ": the rim's wave turns by " +
                        number_text(std::round(100.0 * turn / given) / 100.0) +
                        " rad between neighbouring radii there";
        }
        all.push_back(sentence + ".");
    }
    if (harmonic && parameters.harmonics < beam.harmonics(usual_accuracy)) {
        all.push_back("the field 'harmonics' is " + number_text(parameters.harmonics) +
                      ", but it takes " + number_text(beam.harmonics(usual_accuracy)) +
                      " to carry a wave of this amplitude to 1 %.");
    }
    return all;
}

}  // namespace kavro::kzk
