// The rectangle's transient operations against the oracle, on scenes made to hurt.
#include <algorithm>
#include <cmath>
#include <limits>

#include "rectangle_support.h"

namespace kavro_test {
namespace {

using kavro::RectangularTransducer;
using kavro_oracle::Terms;

struct Kind {
    const char* name;
    Waveform waveform;
    // Whether the terms of the decomposition are much larger than their sum, as those of an
    // expanded cube are: rounding is then of their size.
    bool cancels = false;
};

std::vector<Kind> kinds() {
    const auto pulse = [](auto waveform) { return std::make_shared<decltype(waveform)>(waveform); };
    std::vector<Kind> all = {{"tone burst", pulse(kavro::ToneBurst(1e6, 2.3e-6, 0))},
                             {"Hanning", pulse(kavro::HanningPulse(1e6, 2e-6, 0))},
                             {"t cubed", pulse(kavro::TCubedPulse(1e6, 2e-6, 4e5)), true},
                             {"signal", sampled(noise(24, 1), 1e-7, 2.4e-6, 0.0)},
                             {"clipped signal", sampled(noise(17, 2), 1e-7, 1.7e-6, 0.2)},
                             {"ramp", pulse(Ramp(1.7e-6))}};
    for (const char* name : {"exact tone burst", "exact signal"}) {
        const bool is_tone = name[6] == 't';
        all.push_back({name, is_tone ? pulse(kavro::ToneBurst(1e6, 2.3e-6, 0))
                                     : sampled(noise(17, 1), 1e-7, 1.7e-6, 0.0)});
        all.back().waveform->set_exact(true);
    }
    return all;
}

// Rounding is measured by each point's peak or, where an axis may miss the peak, by the magnitude
// of the terms.
enum class Measure { peak, terms };

void compare(const std::string& what, const RectangleScene& scene, Measure measure) {
    struct Case {
        const char* name;
        RectangleSolve solve;
        void (*oracle)(const RectangleScene&, Field&, WindowLog*);
        double tolerance;
        bool needs_complex = false;
    };
    const std::vector<Case> cases = {
        {"fnm_tsd", &RectangularTransducer::fnm_tsd,
         [](const RectangleScene& s, Field& f, WindowLog* log) {
             kavro_oracle::add_double(s, Terms::real, f, log);
         },
         1e-13},
        {"fnm_fdtsd", &RectangularTransducer::fnm_fdtsd,
         [](const RectangleScene& s, Field& f, WindowLog* log) {
             kavro_oracle::add_double(s, Terms::complex, f, log);
         },
         1e-13, true},
        {"fnm_tsd_low_precision", &RectangularTransducer::fnm_tsd_low_precision,
         kavro_oracle::add_single_unrounded, 1e-6},
        // The literal sum of all edge waves rounds after each of them.
        {"fnm_tsd_low_precision", &RectangularTransducer::fnm_tsd_low_precision,
         kavro_oracle::add_single, 3e-6},
    };
    for (const Kind& kind : kinds()) {
        const kavro_oracle::ProductWaveform waveform(*kind.waveform);
        const RectangleScene with_waveform = driven(scene, waveform);
        for (const Case& c : cases) {
            if (c.needs_complex && !kind.waveform->has_complex_decomposition()) {
                continue;
            }
            SCOPED_TRACE(what + ", " + kind.name + ", " + c.name);
            Field expected = kavro_oracle::silence(scene);
            WindowLog log;
            c.oracle(with_waveform, expected, &log);
            const bool by_terms = kind.cancels || measure == Measure::terms;
            const Field field = transient_by_library(scene, c.solve, *kind.waveform);
            ASSERT_TRUE(agrees(field, yardstick_of(expected, log, scene.points.size()), c.tolerance,
                               by_terms));
        }
    }
}

TEST(RectangleDecomposition, AgreesInEveryRegion) {
    compare("plain", rectangle_scene(), Measure::peak);
}

TEST(RectangleDecomposition, AgreesForTurnedElementsThatOverlapInTime) {
    RectangleScene scene = rectangle_scene();
    scene.rectangles = turned_rectangles();
    scene.speed = 1540.7;
    scene.density = 1060.3;
    scene.ndiv = 7;
    compare("turned", scene, Measure::peak);
}

TEST(RectangleDecomposition, AgreesWhereTheAxisCutsTheWaves) {
    RectangleScene scene = rectangle_scene();
    scene.ndiv = 5;
    scene.rectangles[0].time_delay = 1e-7;
    set_times(scene, 1.0 / 37e6, 3.1e-6, 97);
    compare("late start, early end", scene, Measure::terms);
    set_times(scene, 1.0 / 37e6, -4e-6, 60);
    compare("over before anything arrives", scene, Measure::terms);
    scene.rectangles[0].time_delay = -2.2e-6;
    set_times(scene, 1.7e-7, -1e-6, 11);
    compare("negative delay, few samples", scene, Measure::terms);
}

TEST(RectangleDecomposition, ComparesTimesOfAListDirectly) {
    RectangleScene scene = rectangle_scene();
    std::reverse(scene.times.begin(), scene.times.end());
    std::rotate(scene.times.begin(), scene.times.begin() + 41, scene.times.end());
    scene.deltat = 0.0;
    scene.ndiv = 3;
    compare("list", scene, Measure::terms);
}

}  // namespace
}  // namespace kavro_test
