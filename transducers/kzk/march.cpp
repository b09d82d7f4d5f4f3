#include "transducers/kzk/march.h"

#include <memory>
#include <string>

#include "core/console.h"
#include "transducers/blocks/guarded.h"
#include "transducers/kzk/choice.h"
#include "transducers/kzk/harmonic_march.h"
#include "transducers/kzk/planes.h"
#include "transducers/kzk/transient_march.h"

namespace kavro::kzk {
namespace {

// A regular grid of points and whatever else a march reads.
bool has_inputs(const Transducer& element, bool harmonic) {
    return element.coordinate_grid != nullptr && element.medium != nullptr &&
           element.integral != nullptr && Planes::fit(*element.coordinate_grid) &&
           (harmonic || (element.excitation != nullptr && element.time_samples != nullptr));
}

bool has_outputs(const Transducer& element, bool harmonic) {
    return harmonic ? element.pressure_real != nullptr && element.pressure_imag != nullptr
                    : element.transient_pressure != nullptr;
}

}  // namespace

std::optional<Fault> fault_of(Transducer& element, bool harmonic) {
    if (!has_inputs(element, harmonic)) {
        return std::nullopt;
    }
    if (harmonic) {
        const std::unique_ptr<HarmonicShape> shape = element.harmonic_march();
        return shape ? harmonic_fault(element, *shape) : std::nullopt;
    }
    const std::unique_ptr<TransientShape> shape = element.transient_march();
    return shape ? transient_fault(element, *shape) : std::nullopt;
}

MemoryNeed memory_of(Transducer& element, bool harmonic) {
    return harmonic ? harmonic_memory(element, *element.harmonic_march())
                    : transient_memory(element, *element.transient_march());
}

Outcome march(Transducer& element, bool harmonic) {
    if (!element.methods().contains(harmonic ? Method::kzk_cw : Method::kzk_transient)) {
        return {.status = status_not_implemented};
    }
    if (!has_inputs(element, harmonic) || !has_outputs(element, harmonic)) {
        return {.status = status_failure};
    }
    Outcome outcome;
    outcome.status = guarded([&] {
        if (element.exact() && !fault_of(element, harmonic)) {
            for (const std::string& sentence : shortcomings(element, harmonic)) {
                console::warn(
                    ((harmonic ? "kzk_cw: " : "kzk_transient: ") + sentence + "\n").c_str());
            }
        }
        outcome = harmonic ? march_harmonics(element, *element.harmonic_march())
                           : march_transient(element, *element.transient_march());
        return outcome.status;
    });
    return outcome;
}

}  // namespace kavro::kzk
