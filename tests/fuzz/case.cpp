#include "case.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <typeinfo>

namespace fuzz {

using kavro::Operation;
using kavro::OperationKind;

class Dice {
public:
    Dice(std::uint64_t seed, std::uint64_t number)
        : state_(seed * 0x9e3779b97f4a7c15 + number * 0xd1b54a32d192ed03 + 1) {}

    std::uint64_t next() {
        state_ += 0x9e3779b97f4a7c15;
        std::uint64_t z = state_;
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9;
        z = (z ^ (z >> 27)) * 0x94d049bb133111eb;
        return z ^ (z >> 31);
    }
    int below(int n) { return static_cast<int>(next() % static_cast<std::uint64_t>(n)); }
    bool once_in(int n) { return below(n) == 0; }
    template <class T>
    T one_of(std::initializer_list<T> values) {
        return values.begin()[below(static_cast<int>(values.size()))];
    }
    double between(double low, double high) {
        return low + (high - low) * static_cast<double>(next() >> 11) * 0x1p-53;
    }

    // How absurd the case is: one number in so many, none for 0.
    int absurdity = 0;
    bool moderate = true;

    // A number of the range, or an absurd one.
    double number(double low, double high) {
        if (absurdity == 0 || !once_in(absurdity)) {
            return between(low, high);
        }
        moderate = false;
        const double usual = between(low, high);
        return one_of({0.0, -0.0, -usual, std::nan(""), HUGE_VAL, -HUGE_VAL, 5e-324, 1e-310, 1e300,
                       -1e300, 1e-30, 1e30, usual * 1e6, usual * 1e-6, 2147483647.0});
    }
    int count(int low, int high) {
        if (absurdity == 0 || !once_in(absurdity)) {
            return low + below(high - low + 1);
        }
        moderate = false;
        return one_of({0, -1, 1, 2, 3, 1000, 100000, 1 << 24, INT32_MAX, INT32_MIN});
    }

private:
    std::uint64_t state_;
};

namespace {

const kavro::Shape& any_shape(Dice& dice, const Operation& operation) {
    for (;;) {
        const auto shapes = kavro::shapes();
        const kavro::Shape& shape =
            shapes[static_cast<std::size_t>(dice.below(static_cast<int>(shapes.size())))];
        if (kavro::implements(operation, shape) || dice.once_in(50)) {
            return shape;
        }
    }
}

}  // namespace

Case::Case(std::uint64_t seed, std::uint64_t number) : Case(Dice(seed, number)) {}

bool Case::hangs_together() const {
    const double impedance = medium._rho_density * medium._soundspeed;
    const bool is_endless = std::any_of(elements.begin(), elements.end(), [&](const auto& e) {
        return !std::isfinite(e->amplitude * impedance);
    });
    return operation->kind >= OperationKind::arrival_times || is_endless ||
           (operation->method == kavro::Method::radiator_cw && !exact_ && elements.size() > 1);
}

Case::Case(Dice dice) {
    const auto all = kavro::operations();
    operation = &all[static_cast<std::size_t>(dice.below(static_cast<int>(all.size())))];
    is_wave = operation->kind == OperationKind::continuous_wave ||
              operation->kind == OperationKind::kzk_cw;
    dice.absurdity = dice.one_of({0, 60, 20, 6});
    exact_ = dice.once_in(2);
    text = std::string(operation->name) + (exact_ ? ", exact" : ", reference");
    medium._f0 = dice.number(0.2e6, 3e6);
    medium._soundspeed = dice.number(1000, 2000);
    medium._rho_density = dice.number(800, 1200);
    medium._dBcmMHz = dice.once_in(3) ? 0.0 : dice.number(0, 1);
    medium._beta = dice.number(0, 6);
    make_times(dice);
    make_waveform(dice);
    make_rule(dice);
    make_elements(dice);
    if (operation->kind == OperationKind::kzk_transient && !dice.once_in(20)) {
        set_kzk_tau_axis(times, *waveform, medium, grid);
    }
    const auto layers = operation->kind == OperationKind::kzk_cw ? rule.kzk_parameters.harmonics
                        : is_wave                                ? 1
                                                                 : times.ntimes;
    if (operation->kind != OperationKind::arrival_times) {
        values = static_cast<std::size_t>(grid.npoints) *
                 static_cast<std::size_t>(std::max(layers, 0)) * (is_wave ? 2 : 1);
    }
    if (dice.once_in(40)) {
        forget_a_record(dice);
    }
    moderate = dice.moderate;
}

void Case::make_elements(Dice& dice) {
    const int count = dice.once_in(3) ? 2 : 1;
    for (int i = 0; i < count; ++i) {
        const kavro::Shape& shape = any_shape(dice, *operation);
        text += std::string(", ") + shape.name;
        Values sizes;
        for (const char* name : shape.sizes) {
            const bool is_long = std::strstr(name, "curv") || std::strstr(name, "focus");
            sizes.push_back(is_long ? dice.number(4e-3, 30e-3) : dice.number(0.5e-3, 4e-3));
        }
        if (shape.sizes.size() > 1 && dice.once_in(10)) {
            sizes[1] = sizes[0];  // hemispheres, squares, rings of no width
        }
        if (shape.corners != nullptr) {
            const int n = 3 + dice.below(4);
            const double turn = dice.between(0, 6);
            for (int k = 0; k < 2 * n; ++k) {
                sizes.push_back(dice.number(3e-3, 3e-3) *
                                std::sin(turn + 6.283185307179586 * (k % n) / n +
                                         (k < n ? 1.5707963267948966 : 0.0)));
            }
        }
        for (const double size : sizes) {
            text += " " + std::to_string(size);
        }
        if (i == 0) {
            make_points(dice, sizes);
        }
        elements.push_back(shape.make(sizes));
        kavro::Transducer& element = *elements.back();
        if (operation->kind < OperationKind::kzk_transient && dice.once_in(2)) {
            element.set_center(dice.number(-3e-3, 3e-3), dice.number(-3e-3, 3e-3),
                               dice.number(-3e-3, 3e-3));
            element.set_euler(dice.number(-3, 3), dice.number(-3, 3), dice.number(-3, 3));
        }
        element.set_amplitude(dice.once_in(10) ? 0.0 : dice.number(-2, 2));
        element.set_phase(dice.number(-3, 3));
        element.set_time_delay(dice.once_in(2) ? 0.0 : dice.number(-2e-6, 5e-6));
        element.set_piston_apodization_index(dice.count(0, 5));
        element.set_exact(exact_);
        element.coordinate_grid = &grid;
        element.medium = &medium;
        element.integral = &rule;
        element.time_samples = &times;
        element.excitation = waveform.get();
    }
}

// On the axis, the rim, the edges and the focus as well, and in the plane of the face.
void Case::make_points(Dice& dice, const Values& sizes) {
    if (operation->kind >= OperationKind::kzk_transient) {
        const double dx = dice.number(0.2e-3, 2e-3);
        const double dz = dice.number(1e-3, 8e-3);
        const double zmin = dice.once_in(8) ? -5e-3 : dice.number(0, 5e-3);
        grid.RegularCoordinateGrid(0, dice.below(5) * dx, 0, 0, zmin, zmin + dice.below(4) * dz, dx,
                                   0, dz);
        return;
    }
    const int n = dice.once_in(20) ? 0 : 1 + dice.below(40);
    Values columns;
    for (int i = 0; i < 3 * n; ++i) {
        const double size =
            sizes[static_cast<std::size_t>(dice.below(static_cast<int>(sizes.size())))];
        columns.push_back(dice.once_in(3) ? dice.one_of({0.0, size, size / 2, -size, -size / 2})
                                          : dice.number(i < 2 * n ? -8e-3 : -1e-3, 12e-3));
    }
    grid.CoordinateGridVector(columns.data(), n);
}

void Case::make_times(Dice& dice) {
    const double step = dice.number(20e-9, 200e-9);
    const double first = dice.once_in(2) ? 0.0 : dice.number(-3e-6, 10e-6);
    const bool march = operation->kind == OperationKind::kzk_transient;
    const int count = dice.once_in(10) ? 1 : 1 + dice.below(march ? 600 : 200);
    if (march || !dice.once_in(6)) {
        times.generatetimevectorfromminmaxdeltat(step, first, first + (count - 1) * step);
        return;
    }
    Values list;
    for (int i = 0; i < count; ++i) {
        list.push_back(dice.number(0, 20e-6));
    }
    times.vectoroftimevalues(list.data(), count);
}

void Case::make_waveform(Dice& dice) {
    const double f0 = dice.number(0.2e6, 3e6);
    const double w = dice.number(0.2e-6, 5e-6);
    switch (dice.below(4)) {
        case 0:
            waveform = std::make_unique<kavro::ToneBurst>(f0, w, 0.0);
            break;
        case 1:
            waveform = std::make_unique<kavro::HanningPulse>(f0, w, 0.0);
            break;
        case 2:
            waveform = std::make_unique<kavro::TCubedPulse>(f0, w, dice.number(0, 2e6));
            break;
        default: {
            Values signal;
            for (int i = dice.below(40); i >= 0; --i) {
                signal.push_back(dice.number(-1, 1));
            }
            const double ts = dice.number(20e-9, 200e-9);
            waveform = std::make_unique<kavro::ExcitationFunction>(
                signal, ts, dice.once_in(2) ? static_cast<double>(signal.size()) * ts : w,
                dice.one_of({0.0, 0.0, 0.05, -30.0, 2.0}));
            waveform->f0 = f0;
        }
    }
    text += std::string(", waveform ") + typeid(*waveform).name();
    waveform->set_exact(dice.once_in(10) ? !exact_ : exact_);
}

void Case::make_rule(Dice& dice) {
    const std::int64_t multiple = operation->ndiv_multiple;
    const std::int64_t order = multiple * dice.count(1, static_cast<int>(48 / multiple));
    rule.allocate_memory(
        static_cast<int>(std::clamp<std::int64_t>(order, -1, std::numeric_limits<int>::max())));
    if (!dice.once_in(20)) {
        rule.gauss_quadrature();
    }
    const auto single = [&](double low, double high) {
        return static_cast<float>(dice.number(low, high));
    };
    if (operation->kind == OperationKind::kzk_cw) {
        rule.cw_set_kzk_parameters(single(1, 5), single(3, 40), single(1e-3, 0.1),
                                   dice.count(1, 12), dice.below(2));
    } else {
        rule.set_kzk_parameters(single(1, 5), single(3, 40), single(3e-3, 0.2),
                                static_cast<float>(dice.below(2)),
                                static_cast<float>(dice.below(2)));
    }
}

void Case::forget_a_record(Dice& dice) {
    kavro::Transducer& element = *elements.back();
    switch (dice.below(5)) {
        case 0:
            element.coordinate_grid = nullptr;
            break;
        case 1:
            element.medium = nullptr;
            break;
        case 2:
            element.integral = nullptr;
            break;
        case 3:
            element.time_samples = nullptr;
            break;
        default:
            element.excitation = nullptr;
    }
    text += ", without a record";
}

}  // namespace fuzz
