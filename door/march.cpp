#include "door/march.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <span>
#include <string>

#include "core/input_error.h"
#include "door/options.h"
#include "door/values.h"

namespace kavro {
namespace {

using Names = std::span<const char* const>;

constexpr std::array transient_fields{"extent", "points_per_radius", "step", "implicit",
                                      "diffraction"};
constexpr std::array harmonic_fields{"extent", "points_per_radius", "growth", "harmonics",
                                     "source_phase"};

class KzkReader {
public:
    KzkReader(const mxArray* structure, const char* method, Names fields)
        : structure_(structure), method_(method) {
        if (!mxIsStruct(structure) || mxGetNumberOfElements(structure) != 1) {
            throw InputError("The option 'kzk' must be a structure with the fields " +
                             quoted_list(fields) + " for " + method_ + ".");
        }
        for (int i = 0; i < mxGetNumberOfFields(structure); ++i) {
            const std::string name = mxGetFieldNameByNumber(structure, i);
            if (std::find(fields.begin(), fields.end(), name) == fields.end()) {
                throw InputError("The option 'kzk' has a field '" + name + "', but " + method_ +
                                 " reads " + quoted_list(fields) + ".");
            }
        }
    }

    float number(const char* name) const {
        const std::optional<double> value = single_number(field_of(structure_, 0, name));
        constexpr auto least = static_cast<double>(std::numeric_limits<float>::min());
        constexpr auto most = static_cast<double>(std::numeric_limits<float>::max());
        if (!value || !(*value >= least && *value <= most)) {
            refuse(name, "one positive number");
        }
        return static_cast<float>(*value);
    }

    int count(const char* name) const {
        const std::optional<double> value = single_number(field_of(structure_, 0, name));
        if (!value || !(*value >= 1.0 && *value <= std::numeric_limits<int>::max()) ||
            *value != std::floor(*value)) {
            refuse(name, "one whole number of at least 1");
        }
        return static_cast<int>(*value);
    }

    bool flag(const char* name, bool otherwise) const {
        const mxArray* value = field_of(structure_, 0, name);
        if (value == nullptr) {
            return otherwise;
        }
        const std::optional<bool> on = switch_of(value);
        if (!on) {
            refuse(name, "true or false");
        }
        return *on;
    }

private:
    [[noreturn]] void refuse(const char* name, const char* expected) const {
        throw InputError(std::string("The field '") + name + "' of the option 'kzk' must be " +
                         expected + " for " + method_ + ".");
    }

    const mxArray* structure_;
    std::string method_;
};

}  // namespace

void set_kzk_parameters_from(NumericalIntegration& rule, const mxArray* structure,
                             const Operation& operation) {
    const bool harmonic = operation.kind == OperationKind::kzk_cw;
    const Names fields = harmonic ? Names(harmonic_fields) : Names(transient_fields);
    const KzkReader kzk(structure, operation.name, fields);
    const auto extent = static_cast<float>(kzk.count("extent"));
    const float points = kzk.number("points_per_radius");
    if (harmonic) {
        const float growth = kzk.number("growth");
        const int harmonics = kzk.count("harmonics");
        rule.cw_set_kzk_parameters(extent, points, growth, harmonics,
                                   kzk.flag("source_phase", false) ? 1 : 0);
    } else {
        const float step = kzk.number("step");
        const float implicit = kzk.flag("implicit", true) ? 1.0f : 0.0f;
        rule.set_kzk_parameters(extent, points, step, implicit,
                                kzk.flag("diffraction", true) ? 1.0f : 0.0f);
    }
}

}  // namespace kavro
