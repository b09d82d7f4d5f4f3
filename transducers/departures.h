// How a shape's solution departs from the common form.
#pragma once

namespace kavro {

// The samples j0 <= j < j1 that the waveform's direct evaluation computes, with begin the delay
// from the nearest and end that from the farthest point of the aperture, and w the waveform's
// duration. On an explicit list of times they are those with begin <= t - delay <= end + w.
enum class ArrivalWindow {
    outward,              // j0 rounded down, j1 rounded up: products with 1 / step
    outward_by_division,  // the same: quotients by the step
    inward,               // j0 rounded up, j1 one beyond the last rounded down
};

// How a transient method takes the direct wave: as the waveform's value, or through the same
// decomposition as the edge waves. Where the coefficients grow without bound, as at a focus, the
// two kinds of wave must be alike to the last term, so that they cancel.
enum class DirectWaveBy { value, decomposition };

// How the direct wave's argument is formed from a sample's time t, the axial delay zeta and the
// element's delay t_d: (t - zeta) - t_d, the first difference rounded to the method's precision, or
// (t - t_d) - zeta in double.
enum class DirectArgument { axial_delay_first, element_delay_first };

// How a single-precision continuous wave forms the difference of edge wave and direct wave.
enum class SingleWaveBy {
    delays,  // of the two waves' values, each of its whole path
    excess,  // from R_i - R_0, the direct wave's phase in double
    // From R_i - R_m and R_m - R_0, the latter and the direct wave's phase in double, R_m being the
    // path from the middle of the face: nothing that is rounded grows with the distance.
    from_middle,
};

// What a shape states of itself once, resolved into its reference or its exact behaviour. The
// defaults are neutral: a new shape states nothing.
struct Departures {
    bool writes_nothing = false;  // a placeholder, which needs no output

    // ---- transient
    ArrivalWindow arrival_window = ArrivalWindow::inward;
    DirectWaveBy direct_wave = DirectWaveBy::value;
    DirectArgument direct_argument = DirectArgument::axial_delay_first;
    // The direct wave begins with a sample rounded down, although edge waves round up.
    bool direct_wave_begins_early = false;
    // What windows are made of is rounded to double in single-precision methods, too.
    bool windows_in_double = false;
    // A Rayleigh integral of a waveform that begins or ends with a jump lacks that jump's wave.
    bool without_jump_waves = false;
    // A silent element's impulse response is left out, as in the other methods.
    bool silent_without_impulse_response = false;
    // Without points, the arrival times are the largest number and 0 instead of the origin's.
    bool arrivals_of_no_points = false;

    // ---- continuous wave
    // A frequency that is missing counts as 1 MHz in every method, in Rayleigh integrals, too,
    // where others know a default for the speed of sound instead.
    bool defaults_frequency = false;
    // Single-precision methods round wavelength and attenuation before anything is formed of them,
    // unless they go by way of the middle.
    bool rounds_wave = false;
    SingleWaveBy single_wave = SingleWaveBy::delays;
    // Single-precision sums leave out samples beyond a multiple of four.
    bool in_fours = false;
    // fnm_cw_sse2 attenuates the direct wave only.
    bool undamped_edges = false;
    // The Rayleigh integrals' amplitude grows with the path (double precision).
    bool rayleigh_grows = false;
    // The prefactor of the fast nearfield method lacks the Rayleigh integral's factor
    // jk/(alpha+jk).
    bool without_loss_factor = false;
    // Surface samples take their mean only where nothing but rounding keeps a point off them, see
    // surface/surface_rows.h.
    bool means_within_rounding = false;

    // Those that all shapes of the first hour share in their reference behaviour, deliberately.
    static constexpr Departures common(bool exact) {
        Departures departures;
        departures.in_fours = !exact;
        departures.without_loss_factor = !exact;
        departures.means_within_rounding = !exact;
        departures.without_jump_waves = !exact;
        return departures;
    }
};

}  // namespace kavro
