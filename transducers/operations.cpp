#include "transducers/operations.h"

#include <algorithm>
#include <array>

namespace kavro {
namespace {

using T = Transducer;

constexpr unsigned tone = input_frequency;
constexpr unsigned tone_rule = input_frequency | input_quadrature;
constexpr unsigned pulse_rule = input_time | input_excitation | input_quadrature;
constexpr auto cw = OperationKind::continuous_wave;
constexpr auto transient = OperationKind::transient;
constexpr auto any = WaveformDemand::none;

// clang-format off
const std::array table{
    Operation{"farfield_cw", Method::farfield_cw, &T::farfield_cw, cw, tone, 0, 1, any,
              "far-field approximation"},
    Operation{"fnm_cw", Method::fnm_cw, &T::fnm_cw, cw, tone_rule, 64, 1, any,
              "fast nearfield method"},
    Operation{"fnm_cw_apodized", Method::fnm_cw_apodized, &T::fnm_cw_apodized, cw,
              tone_rule | input_apodization, 64, 1, any,
              "fast nearfield method, face weighted along its radius"},
    Operation{"fnm_cw_single", Method::fnm_cw_single, &T::fnm_cw_single, cw, tone_rule, 64, 1, any,
              "fast nearfield method, tables in single precision"},
    Operation{"fnm_cw_sse", Method::fnm_cw_sse, &T::fnm_cw_sse, cw, tone_rule, 64, 4, any,
              "fast nearfield method in single precision"},
    Operation{"fnm_cw_sse2", Method::fnm_cw_sse2, &T::fnm_cw_sse2, cw, tone_rule, 64, 4, any,
              "fast nearfield method in single precision, tables too"},
    Operation{"radiator_cw", Method::radiator_cw, &T::radiator_cw, cw, tone_rule, 32, 1, any,
              "face cut into radiators, the finer the nearer the point"},
    Operation{"rayleigh_cw", Method::rayleigh_cw, &T::rayleigh_cw, cw, tone_rule, 64, 1, any,
              "Rayleigh integral over the face"},
    Operation{"rayleigh_cw_apodized", Method::rayleigh_cw_apodized, &T::rayleigh_cw_apodized, cw,
              tone_rule | input_apodization, 64, 1, any,
              "Rayleigh integral, face weighted along its radius"},
    Operation{"rayleigh_cw_sse", Method::rayleigh_cw_sse, &T::rayleigh_cw_sse, cw, tone_rule, 64, 4, any,
              "Rayleigh integral in single precision"},
    Operation{"impulse_begin_and_end_times", Method::impulse_begin_and_end_times, &T::impulse_begin_and_end_times,
              OperationKind::arrival_times, 0, 0, 1, any,
              "first and last arrival over all points"},
    Operation{"impulse_response", Method::impulse_response, &T::impulse_response,
              OperationKind::impulse_response, input_time, 0, 1, any,
              "spatial impulse response in closed form"},
    Operation{"fnm_transient", Method::fnm_transient, &T::fnm_transient, transient, pulse_rule, 32, 1, any,
              "fast nearfield method, waveform evaluated directly"},
    Operation{"fnm_transient_behind_source", Method::fnm_transient_behind_source, &T::fnm_transient_behind_source, transient,
              pulse_rule, 32, 1, any,
              "the same, behind the face too"},
    Operation{"fnm_spectral", Method::fnm_spectral, &T::fnm_spectral, transient, pulse_rule, 32, 1, any,
              "fast nearfield method by frequencies, with losses and dispersion"},
    Operation{"fnm_fdtsd", Method::fnm_fdtsd, &T::fnm_fdtsd, transient, pulse_rule, 32, 1,
              WaveformDemand::sampled,
              "time-space decomposition by frequencies"},
    Operation{"fnm_tsd", Method::fnm_tsd, &T::fnm_tsd, transient, pulse_rule, 32, 1, any,
              "time-space decomposition"},
    Operation{"fnm_tsd_behind_source", Method::fnm_tsd_behind_source, &T::fnm_tsd_behind_source, transient,
              pulse_rule, 32, 1, any,
              "the same, behind the face too"},
    Operation{"fnm_tsd_low_precision", Method::fnm_tsd_low_precision, &T::fnm_tsd_low_precision, transient,
              pulse_rule, 32, 1, any,
              "time-space decomposition in single precision"},
    Operation{"fnm_tsd_sse", Method::fnm_tsd_sse, &T::fnm_tsd_sse, transient, pulse_rule, 32, 4, any,
              "time-space decomposition in single precision, fastest"},
    Operation{"rayleigh_transient", Method::rayleigh_transient, &T::rayleigh_transient, transient, pulse_rule, 32, 1,
              any,
              "Rayleigh integral over the face"},
    Operation{"kzk_transient", Method::kzk_transient, &T::kzk_transient, OperationKind::kzk_transient,
              input_time | input_excitation | input_kzk, 0, 1, WaveformDemand::centre_frequency,
              "nonlinear pulse, marched in retarded time"},
    Operation{"kzk_cw", Method::kzk_cw, &T::kzk_cw, OperationKind::kzk_cw, input_frequency | input_kzk,
              0, 1, any,
              "nonlinear tone, marched in harmonics"},
};
// clang-format on

}  // namespace

std::span<const Operation> operations() {
    return table;
}

const Operation* operation_of(std::string_view name) {
    const auto found = std::find_if(table.begin(), table.end(), [&](const Operation& operation) {
        return operation.name == name;
    });
    return found != table.end() ? &*found : nullptr;
}

bool implements(const Operation& operation, const Shape& shape) {
    return shape.methods.contains(operation.method);
}

}  // namespace kavro
