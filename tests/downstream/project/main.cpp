// A user's program: the pressure of one disc at one point of its axis, against the closed form.
#include <kavro.h>

#include <cmath>
#include <cstdio>
#include <vector>

int main() {
    const double radius = 5e-3, z = 0.03;

    kavro::CoordinateGrid grid;
    grid.SinglePoint(0, 0, z);
    kavro::TimeSamples times(1e-8, 19e-6, 24e-6);
    kavro::Medium water;
    water._soundspeed = 1500;
    water._rho_density = 1000;
    kavro::NumericalIntegration rule;
    rule.allocate_memory(16);
    kavro::HanningPulse pulse(1e6, 3e-6, 0);

    std::vector<double> pressure(static_cast<std::size_t>(grid.npoints * times.ntimes));
    kavro::CircularTransducer disc(radius);
    disc.excitation = &pulse;
    disc.set_global_coordinate_grid(&grid);
    disc.set_time_vector(&times);
    disc.set_medium(&water);
    disc.set_integral_pointer(&rule);
    disc.set_transient_pressure_pointer(pressure.data());
    if (disc.fnm_tsd() != kavro::status_success) {
        std::puts("the disc was not solved");
        return 1;
    }

    double peak = 0, error = 0;
    for (int j = 0; j < times.ntimes; ++j) {
        const double t = times.time_index_value(j);
        const double rim = std::sqrt(z * z + radius * radius);
        const double expected =
            1000.0 * 1500.0 * (pulse.at(t - z / 1500) - pulse.at(t - rim / 1500));
        peak = std::fmax(peak, std::fabs(expected));
        error = std::fmax(error, std::fabs(pressure[static_cast<std::size_t>(j)] - expected));
    }
    std::printf("KAVRO %s: peak %g Pa, error %g Pa\n", KAVRO_VERSION, peak, error);
    return peak > 1e6 && error < 1e-9 * peak ? 0 : 1;
}
