#include "thermal/bioheat.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "core/aligned_vector.h"
#include "core/console.h"
#include "core/counts.h"
#include "core/input_error.h"
#include "core/interrupted.h"
#include "core/parts.h"
#include "core/threads.h"
#include "thermal/axis_series.h"

namespace kavro {
namespace {

std::string shown(double number) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%g", number);
    return text.data();
}

[[noreturn]] void refuse(const std::string& what, const std::string& expected) {
    throw InputError("bioheat: " + what + " must be " + expected + ".");
}

void require_number(bool good, double value, const std::string& what, const char* expected) {
    if (!good || !std::isfinite(value)) {
        refuse(what, expected + (", not " + shown(value)));
    }
}

void check_medium(const Medium& medium) {
    const auto check = [](double value, bool zero_is_good, const char* field) {
        require_number(value > 0.0 || (zero_is_good && value == 0.0), value,
                       std::string("the medium's field '") + field + "'",
                       zero_is_good ? "zero or positive" : "positive");
    };
    check(medium._rho_density, false, "density");
    check(medium._ct, false, "specificheat");
    check(medium._kappa, true, "thermalconductivity");
    check(medium._wb, true, "bloodperfusion");
    check(medium._cb, true, "specificheatofblood");
}

void check_field(std::span<const double> values, const CoordinateGrid& grid, const char* what,
                 InterruptCheck& interrupts) {
    const auto points = static_cast<std::size_t>(grid.npoints);
    if (values.size() != 1 && values.size() != points) {
        refuse(what, "one number, or " + std::to_string(points) +
                         " of them, one for each point, not " + std::to_string(values.size()));
    }
    for (const double value : values) {
        interrupts.spend(1);
        require_number(true, value, what, "of finite numbers");
    }
}

void check_times(std::span<const double> times, const std::vector<HeatChange>& changes) {
    double before = 0.0;
    for (const double time : times) {
        require_number(time >= before, time, "times", "zero or positive, each not before the last");
        before = time;
    }
    before = -1.0;
    for (const HeatChange& change : changes) {
        require_number(change.begin >= 0.0 && change.begin > before, change.begin,
                       "the instants of switching", "zero or positive and increasing");
        require_number(true, change.factor, "the factors of switching", "finite");
        before = change.begin;
    }
}

// The region in one of its dimensions: steps through memory, and the series along it.
struct Axis {
    std::size_t stride = 1;
    std::unique_ptr<AxisSeries> series;  // none where there is one point
    Wall first = Wall::insulated, last = Wall::insulated;
};

class Region {
public:
    Region(const CoordinateGrid& grid, const BioheatSetting& setting, const Spend& spend) {
        const std::array<std::int32_t, 3> counts{grid.nx, grid.ny, grid.nz};
        const std::array<double, 3> spacings{grid.deltax, grid.deltay, grid.deltaz};
        std::size_t stride = 1;
        for (std::size_t a = 0; a < 3; ++a) {
            Axis& axis = axes[a];
            axis.stride = stride;
            stride *= static_cast<std::size_t>(counts[a]);
            const bool radial = setting.axisymmetric && a == 0;
            if (counts[a] < 2) {
                continue;
            }
            axis.first = radial ? Wall::insulated : setting.walls[2 * a];
            axis.last = setting.walls[2 * a + 1];
            const bool between_fixed = axis.first == Wall::fixed && axis.last == Wall::fixed;
            if (between_fixed && counts[a] < 3) {
                refuse("the grid's axis " + std::string(1, "xyz"[a]),
                       "of three points or more between fixed walls");
            }
            has_walls = has_walls || axis.first == Wall::fixed || axis.last == Wall::fixed;
            axis.series = radial ? radial_series(counts[a], spacings[a], axis.last, spend)
                                 : straight_series(counts[a], spacings[a], axis.first, axis.last);
        }
        points = stride;
    }

    int count(std::size_t a) const { return axes[a].series ? axes[a].series->points() : 1; }

    // Of a mode by its place along an axis, 1/m^2.
    double square(std::size_t a, std::size_t place) const {
        return axes[a].series ? axes[a].series->squares()[place] : 0.0;
    }

    void to_modes(double* field) const {
        for (const Axis& axis : axes) {
            transform(axis, field, &AxisSeries::to_modes);
        }
    }

    void to_samples(double* field) const {
        for (const Axis& axis : axes) {
            transform(axis, field, &AxisSeries::to_samples);
        }
    }

    std::array<Axis, 3> axes;
    std::size_t points = 0;
    bool has_walls = false;

private:
    // Through copies of some neighbouring lines at a time.
    void transform(const Axis& axis, double* field,
                   void (AxisSeries::*way)(double*, int) const) const {
        if (!axis.series) {
            return;
        }
        constexpr std::size_t lines_at_a_time = 16;
        const auto n = static_cast<std::size_t>(axis.series->points());
        const std::size_t lines = points / n;
        const std::size_t parts = (lines + lines_at_a_time - 1) / lines_at_a_time;
        const auto work = [&](std::int64_t part, AlignedVector<double>& room, const Spend& spend) {
            const std::size_t begin = static_cast<std::size_t>(part) * lines_at_a_time;
            const std::size_t count = std::min(lines_at_a_time, lines - begin);
            room.resize(n * lines_at_a_time);
            const auto each = [&](auto move) {
                for (std::size_t l = 0; l < count; ++l) {
                    const std::size_t line = begin + l;
                    double* at = field + line / axis.stride * axis.stride * n + line % axis.stride;
                    for (std::size_t i = 0; i < n; ++i) {
                        move(room[l * n + i], at[i * axis.stride]);
                    }
                }
            };
            spend(static_cast<std::int64_t>(count) * axis.series->steps_of_line());
            each([](double& copy, const double& value) { copy = value; });
            ((*axis.series).*way)(room.data(), static_cast<int>(count));
            each([](const double& copy, double& value) { value = copy; });
        };
        in_parts<AlignedVector<double>>(static_cast<std::int64_t>(parts), thread_count(), work);
    }
};

class Heating {
public:
    Heating(const CoordinateGrid& grid, const Medium& medium, const BioheatSetting& setting)
        : setting_(setting), region_(grid, setting, spend_) {
        const double capacity = medium._rho_density * medium._ct;
        diffusivity_ = medium._kappa / capacity;
        perfusion_ = medium._wb * medium._cb / capacity;
        per_heat_ = 1.0 / capacity;
        zero_ = region_.has_walls ? setting.wall_temperature : setting.arterial_temperature;
    }

    void begin(std::span<const double> heat, std::span<const double> start) {
        // What warm blood brings where temperatures are counted from the walls'.
        const double blood = perfusion_ * (setting_.arterial_temperature - zero_);
        state_ = modes(start, [this](double value) { return value - zero_; });
        rate_ = modes(heat, [this](double value) { return value * per_heat_; });
        if (blood != 0.0) {
            blood_ = modes(std::span(&blood, 1), [](double value) { return value; });
        }
    }

    // Goes on to a time, through all changes of heat on the way.
    void advance(double to) {
        while (now_ < to) {
            const auto& changes = setting_.changes;
            while (next_ < changes.size() && changes[next_].begin <= now_) {
                factor_ = changes[next_++].factor;
            }
            const double end = next_ < changes.size() ? std::min(to, changes[next_].begin) : to;
            let_pass(end - now_);
            now_ = end;
        }
    }

    void store(double* temperatures) {
        copy(state_.data(), temperatures);
        region_.to_samples(temperatures);
        in_rows([&](std::size_t from, std::size_t past, std::size_t, std::size_t) {
            for (std::size_t i = from; i < past; ++i) {
                temperatures[i] += zero_;
            }
        });
    }

private:
    template <class Scale>
    AlignedVector<double> modes(std::span<const double> values, Scale scale) {
        AlignedVector<double> field(region_.points);
        in_rows([&](std::size_t from, std::size_t past, std::size_t, std::size_t) {
            for (std::size_t i = from; i < past; ++i) {
                field[i] = scale(values[values.size() == 1 ? 0 : i]);
            }
        });
        region_.to_modes(field.data());
        return field;
    }

    void copy(const double* from, double* to) {
        in_rows([&](std::size_t first, std::size_t past, std::size_t, std::size_t) {
            std::copy(from + first, from + past, to + first);
        });
    }

    // Each mode decays at a rate of its own towards what its heat keeps up.
    void let_pass(double time) {
        in_rows([&](std::size_t from, std::size_t past, std::size_t y, std::size_t z) {
            const double across = region_.square(1, y) + region_.square(2, z);
            for (std::size_t i = from; i < past; ++i) {
                const double decay =
                    diffusivity_ * (region_.square(0, i - from) + across) + perfusion_;
                const double lost = std::expm1(-decay * time);
                const double lasting = decay * time > 0.0 ? -lost / decay : time;
                const double rate = factor_ * rate_[i] + (blood_.empty() ? 0.0 : blood_[i]);
                state_[i] += lost * state_[i] + lasting * rate;
            }
        });
    }

    // Calls work(first point, past the last, y, z) for each row along x.
    template <class Work>
    void in_rows(Work work) {
        const auto nx = static_cast<std::size_t>(region_.count(0));
        const auto ny = static_cast<std::size_t>(region_.count(1));
        struct Nothing {};
        in_parts<Nothing>(static_cast<std::int64_t>(region_.points / nx), thread_count(),
                          [&](std::int64_t part, Nothing&, const Spend& spend) {
                              const auto row = static_cast<std::size_t>(part);
                              spend(static_cast<std::int64_t>(8 * nx));
                              work(row * nx, (row + 1) * nx, row % ny, row / ny);
                          });
    }

    const BioheatSetting& setting_;
    InterruptCheck check_;
    const Spend spend_ = [this](std::int64_t steps) { check_.spend(steps); };
    Region region_;
    double diffusivity_, perfusion_, per_heat_;
    double zero_;                                 // the temperature that is counted from
    AlignedVector<double> state_, rate_, blood_;  // of modes: K, K/s, K/s
    double now_ = 0.0;
    double factor_ = 0.0;
    std::size_t next_ = 0;  // change
};

}  // namespace

void bioheat(const CoordinateGrid& grid, const Medium& medium, std::span<const double> heat,
             std::span<const double> start, std::span<const double> times,
             const BioheatSetting& setting, double* temperatures) {
    if (!grid.regular) {
        refuse("the grid", "a regular one");
    }
    if (setting.axisymmetric && (grid.xmin != 0.0 || grid.nx < 2 || grid.ny != 1)) {
        refuse("the grid of an axisymmetric field", "one of x from 0 on and of one y");
    }
    InterruptCheck interrupts;
    check_medium(medium);
    check_field(heat, grid, "the heat rate", interrupts);
    check_field(start, grid, "the start temperature", interrupts);
    require_number(true, setting.wall_temperature, "the wall temperature", "finite");
    require_number(true, setting.arterial_temperature, "the arterial temperature", "finite");
    check_times(times, setting.changes);
    const auto points = static_cast<std::size_t>(grid.npoints);
    const auto radii = static_cast<std::size_t>(setting.axisymmetric ? grid.nx : 0);
    const std::size_t fields = setting.arterial_temperature != setting.wall_temperature ? 3 : 2;
    require_memory(fields * points + 2 * radii * radii, sizeof(double), "temperatures");

    Heating heating(grid, medium, setting);
    heating.begin(heat, start);
    for (std::size_t n = 0; n < times.size(); ++n) {
        heating.advance(times[n]);
        heating.store(temperatures + n * points);
        console::progress(static_cast<double>(n + 1) / static_cast<double>(times.size()));
    }
}

}  // namespace kavro
