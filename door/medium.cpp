#include "door/medium.h"

#include <optional>

#include "core/input_error.h"
#include "door/values.h"

namespace kavro {

Medium medium_from(const mxArray* structure) {
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
        const std::optional<double> value = first_number(field_of(structure, 0, field.name));
        if (!value) {
            throw InputError(
                "Medium object is not structured correctly. Please see the documentation for the "
                "correct structure.");
        }
        medium.*field.member = *value;
    }
    return medium;
}

}  // namespace kavro
