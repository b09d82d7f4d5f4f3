#include "door/medium.h"

#include <cmath>
#include <optional>
#include <string>

#include "core/console.h"
#include "core/input_error.h"
#include "door/values.h"

namespace kavro {

Medium medium_from(const Value* value) {
    require_record(value, "Medium");
    struct Field {
        const char* name;
        double Medium::*member;
    };
    constexpr Field fields[] = {
        {"soundspeed", &Medium::_soundspeed},
        {"density", &Medium::_rho_density},
        {"attenuationdBcmMHz", &Medium::_dBcmMHz},
        {"bloodperfusion", &Medium::_wb},
        {"specificheat", &Medium::_ct},
        {"specificheatofblood", &Medium::_cb},
        {"thermalconductivity", &Medium::_kappa},
        {"nonlinearityparameter", &Medium::_beta},
        {"powerlawexponent", &Medium::_b},
    };
    Medium medium;
    for (const Field& field : fields) {
        const std::optional<double> number =
            first_real_part(field_of(value, 0, field.name), field.name);
        if (!number) {
            throw InputError(
                "Medium object is not structured correctly. Please see the documentation for the "
                "correct structure.");
        }
        medium.*field.member = *number;
    }
    return medium;
}

void read_power_law(Medium& medium, const Value* value) {
    const Record record(value, "Medium");
    const double y = medium._b;
    if (medium._dBcmMHz != 0.0 && !(y > 0.0 && y <= 2.0)) {
        record.refuse(
            "powerlawexponent",
            "must be above 0 and at most 2 where the medium attenuates, but holds " + shown(y));
    }
    constexpr const char* name = "referencefrequency";
    if (const Value* field = record.field(name)) {
        const std::optional<double> reference = first_number(field);
        if (!reference || !(*reference > 0.0) || std::isinf(*reference)) {
            record.refuse(name, "must be finite and positive" +
                                    (reference ? ", but holds " + shown(*reference) : ""));
        }
        medium._reference_frequency = *reference;
    }
}

void warn_of_ignored_attenuation(const Medium& medium) {
    if (medium._dBcmMHz != 0.0) {
        console::warn("Non-zero attenuation will be ignored. See the documentation for details.\n");
    }
}

}  // namespace kavro
