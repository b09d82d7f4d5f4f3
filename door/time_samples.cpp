#include "door/time_samples.h"

#include <cstddef>
#include <optional>

#include "core/console.h"
#include "core/counts.h"
#include "door/values.h"

namespace kavro {
namespace {

void set_list(TimeSamples& times, const Value* list) {
    constexpr const char* what = "time samples";
    const int n = count_of(entries_of(list), what);
    require_memory(static_cast<std::size_t>(n), 2 * sizeof(double), what);
    times.vectoroftimevalues(Numbers(list).span().data(), n);
}

}  // namespace

void read_times(TimeSamples& times, const Value* value) {
    require_record(value, "Time samples");
    const Value* list = field_of(value, 0, "time_samples");
    if (holds_real_numbers(list)) {
        set_list(times, list);
        return;
    }
    const char* page = host_words.times_page;
    const double tmin = made_number(value, "tmin", page, "time_samples");
    const double tmax = made_number(value, "tmax", page);
    const double deltat = made_number(value, "deltat", page);
    times.generatetimevectorfromminmaxdeltat(deltat, tmin, tmax);
}

void read_times_quietly(TimeSamples& times, const Value* value) {
    std::optional<console::Connection> quiet;
    if (is_record(value) && holds_real_numbers(field_of(value, 0, "time_samples"))) {
        quiet.emplace(console::Port{.print = [](const char*) {}});
    }
    read_times(times, value);
}

}  // namespace kavro
