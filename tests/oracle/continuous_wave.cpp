#include "oracle/continuous_wave.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <functional>
#include <string_view>
#include <type_traits>

#include "oracle/four_wide.h"
#include "oracle/geometry.h"
#include "oracle/literal_waveforms.h"

namespace kavro_oracle {

namespace {

constexpr Complex j{0.0, 1.0};

struct Wave {
    double k;      // rad/m
    double alpha;  // Np/m

    // e^(-(alpha + jk) R)
    Complex over(double R) const { return std::polar(std::exp(-alpha * R), -k * R); }

    // e^(-(alpha + jk) x) - 1 without cancellation.
    Complex change_over(double distance) const {
        const double x = -alpha * distance, y = -k * distance;
        const double q = std::expm1(x), h = std::sin(y / 2.0);
        return {q - 2.0 * (1.0 + q) * h * h, (1.0 + q) * std::sin(y)};
    }
};

Wave wave_of(const Scene& scene) {
    return {two_pi / (scene.speed / scene.f0),
            scene.attenuation * 100 * (scene.f0 / 1e6) / 8.685889638065037};
}

// Rounded, as the single-precision methods have it; a rectangle's k is a quotient of rounded
// numbers.
Wave single_wave_of(const Scene& scene, const Element& element) {
    const bool rectangle = element.shape == Shape::rectangle;
    const Wave wave = wave_of(scene);
    const float quotient = 6.2831855f / static_cast<float>(two_pi / wave.k);
    return {static_cast<double>(rectangle ? quotient : static_cast<float>(wave.k)),
            static_cast<double>(static_cast<float>(wave.alpha))};
}

Complex weight_of(const Element& element) {
    return std::polar(1.0, element.phase) * element.amplitude;
}

// rho c times the weight over pi for a bowl, times its radius for a disc, over -2 pi for a
// rectangle; exact with losses, times jk/(alpha + jk).
Complex nearfield_factor(const Scene& scene, const Element& element, const Wave& wave) {
    const double size = element.shape == Shape::bowl        ? 1 / pi
                        : element.shape == Shape::rectangle ? -1 / two_pi
                                                            : element.radius / pi;
    const Complex factor = scene.density * scene.speed * size * weight_of(element);
    return element.exact ? factor * (j * wave.k) / (wave.alpha + j * wave.k) : factor;
}

// A sum at one point.
struct Sum {
    Complex value;
    double terms = 0.0;

    void add(Complex term, double magnitude) {
        value += term;
        terms += magnitude;
    }
};

using SumAt = std::function<Sum(const Triple& local)>;

// Adds factor * sum(local point) of one element.
void add_element(const Scene& scene, const Element& element, Complex factor, const SumAt& sum_at,
                 ComplexField& field) {
    const Placement placement(element);
    for (std::size_t p = 0; p < scene.points.size(); ++p) {
        const Sum sum = sum_at(placement.local(scene.points[p]));
        field.values[p] += sum.value * factor;
        field.terms[p] += sum.terms * std::abs(factor);
    }
}

// ---- the fast nearfield method

// sum of g (e^(..R) - e^(..R_0))
Sum edge_sum(Geometry<double>& geometry, const Triple& local, const Wave& wave) {
    Sum sum;
    for (const View<double>& view : geometry.look(local)) {
        for (const EdgeSample<double>& sample : view.edge) {
            const Complex direct = wave.over(view.direct[sample.pole].delay);
            const Complex change = direct * wave.change_over(sample.excess);
            sum.add(sample.coefficient * change,
                    std::fabs(sample.coefficient) * (std::abs(direct + change) + std::abs(direct)));
        }
        if (view.direct.size() > 1) {
            const auto& [near, far] = std::pair(view.direct[0], view.direct[1]);
            sum.value -= far.moved * wave.over(near.delay) * wave.change_over(view.between);
        }
    }
    return sum;
}

void add_nearfield(const Scene& scene, const Element& element, const Rule& rule, const Wave& wave,
                   Complex factor, ComplexField& field) {
    const auto geometry = geometry_of<double>(scene, element, rule, Units::lengths);
    const bool bowl = element.shape == Shape::bowl;
    const auto sum_at = [&](const Triple& local) {
        Sum sum = edge_sum(*geometry, local, wave);
        sum.terms = bowl ? std::abs(sum.value) + pi : sum.terms;
        return sum;
    };
    add_element(scene, element, factor, sum_at, field);
}

void fnm_cw(const Scene& scene, const Element& element, ComplexField& field) {
    const Wave wave = wave_of(scene);
    add_nearfield(scene, element, rule_of(scene, element), wave,
                  nearfield_factor(scene, element, wave), field);
}

// Rectangles only: rounded abscissas, wave and 2 pi, in sums in double.
void fnm_cw_single(const Scene& scene, const Element& element, ComplexField& field) {
    Rule rule = rule_of(scene, element);
    for (double& t : rule.x) {
        t = static_cast<double>(static_cast<float>(t));
    }
    const Complex factor = nearfield_factor(scene, element, wave_of(scene));
    add_nearfield(scene, element, rule, single_wave_of(scene, element),
                  factor * (two_pi / 6.2831854820251465), field);
}

// Whole groups of four, unless exact.
Rule in_fours(Rule rule, const Element& element) {
    if (!element.exact) {
        rule.x.resize(rule.x.size() / 4 * 4);
        rule.w.resize(rule.x.size());
    }
    return rule;
}

// Four sums, added as pairs of lanes.
struct Lanes {
    std::array<float, 4> re{}, im{};

    Complex total() const {
        const auto across = [](const std::array<float, 4>& l) {
            return static_cast<double>((l[0] + l[2]) + (l[1] + l[3]));
        };
        return {across(re), across(im)};
    }
};

using SingleWave = std::function<std::complex<float>(float)>;

// The lanes of flat elements, four abscissas at a time. Every operation rounds.
Sum edge_sum_in_lanes(Geometry<float>& geometry, const Triple& local, const SingleWave& edge,
                      const SingleWave& direct) {
    Sum sum;
    Lanes lanes;
    for (const View<float>& view : geometry.look(local)) {
        const std::complex<float> E0 = direct(view.direct[0].delay);
        for (const EdgeSample<float>& sample : view.edge) {
            const std::complex<float> E = edge(sample.delay);
            const float g = sample.coefficient;
            lanes.re[sample.abscissa % 4] += g * (E.real() - E0.real());
            lanes.im[sample.abscissa % 4] += g * (E.imag() - E0.imag());
            sum.terms += static_cast<double>(std::fabs(g) * (std::abs(E) + std::abs(E0)));
        }
    }
    sum.value = lanes.total();
    return sum;
}

void add_in_lanes(const Scene& scene, const Element& element, const SingleWave& edge,
                  const SingleWave& direct, ComplexField& field) {
    const Rule rule = in_fours(rule_of(scene, element), element);
    const auto geometry = geometry_of<float>(scene, element, rule, Units::lengths);
    const Wave wave = wave_of(scene);
    add_element(
        scene, element, nearfield_factor(scene, element, wave),
        [&](const Triple& local) { return edge_sum_in_lanes(*geometry, local, edge, direct); },
        field);
}

SingleWave damped(const Wave& wave) {
    return [k = static_cast<float>(wave.k), alpha = static_cast<float>(wave.alpha)](float R) {
        float re = 0, im = 0;
        complex_exp_lane(-alpha * R, -k * R, &re, &im);
        return std::complex<float>(re, im);
    };
}

// No amplitude is too small. A bowl's sum is that of double precision, a nearly hemispherical one's
// even with all abscissas.
void fnm_cw_sse(const Scene& scene, const Element& element, ComplexField& field) {
    const SingleWave wave = damped(single_wave_of(scene, element));
    if (element.shape != Shape::bowl) {
        add_in_lanes(scene, element, wave, wave, field);
    } else if (rims_of(element).front().nearly_hemispherical()) {
        fnm_cw(scene, element, field);
    } else {
        const Wave plain = wave_of(scene);
        add_nearfield(scene, element, in_fours(rule_of(scene, element), element), plain,
                      nearfield_factor(scene, element, plain), field);
    }
}

// Rectangles only. The reference's edge waves are not damped.
void fnm_cw_sse2(const Scene& scene, const Element& element, ComplexField& field) {
    const Wave wave = single_wave_of(scene, element);
    const auto k = static_cast<float>(wave.k), alpha = static_cast<float>(wave.alpha);
    const SingleWave undamped = [k](float R) {
        float sine = 0, cosine = 0;
        sincos_lane(k * R, &sine, &cosine);
        return std::complex<float>(cosine, -sine);
    };
    const SingleWave direct = [k, alpha](float z) {
        const float magnitude = std::exp(-alpha * z);
        return std::complex<float>(magnitude * std::cos(-k * z), magnitude * std::sin(-k * z));
    };
    add_in_lanes(scene, element, element.exact ? damped(wave) : undamped, direct, field);
}

}  // namespace

ComplexField continuous_wave(const Scene& scene, const char* operation) {
    struct Named {
        std::string_view name;
        void (*add)(const Scene&, const Element&, ComplexField&);
    };
    constexpr Named methods[] = {{"fnm_cw", fnm_cw},
                                 {"fnm_cw_single", fnm_cw_single},
                                 {"fnm_cw_sse", fnm_cw_sse},
                                 {"fnm_cw_sse2", fnm_cw_sse2}};
    ComplexField field{std::vector<Complex>(scene.points.size()),
                       std::vector<double>(scene.points.size())};
    for (const Element& element : scene.elements) {
        for (const Named& method : methods) {
            const bool counts = !is_silent(element) || method.name == "fnm_cw_sse";
            if (method.name == operation && counts) {
                method.add(scene, element, field);
            }
        }
    }
    return field;
}

}  // namespace kavro_oracle
