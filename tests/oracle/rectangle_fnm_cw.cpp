// The rectangle's fast nearfield method in its four precisions.
#include <array>

#include "oracle/four_wide.h"
#include "oracle/rectangle_steps.h"

namespace kavro_oracle {
namespace {

constexpr Complex j{0.0, 1.0};

double wavelength(const RectangleScene& scene) {
    return scene.f0 <= 1e-10 ? scene.speed / 1e6 : scene.speed / scene.f0;
}

double attenuation(const RectangleScene& scene) {
    return scene.attenuation * 100 * scene.f0 / 1e6 / 8.685889638065037;
}

Complex weight_of(const Rectangle& rectangle) {
    return {rectangle.amplitude * std::cos(rectangle.phase),
            rectangle.amplitude * std::sin(rectangle.phase)};
}

// rho c w / (-2 pi), or, exactly, with losses, that times j k / (alpha + j k).
Complex prefactor(const RectangleScene& scene, const Rectangle& rectangle, double two_pi) {
    Complex P = scene.density * scene.speed * weight_of(rectangle) / -two_pi;
    if (scene.exact) {
        const double k = rectangle_two_pi / wavelength(scene);
        P *= j * k / (attenuation(scene) + j * k);
    }
    return P;
}

bool is_silent(const Rectangle& rectangle) {
    return std::fabs(rectangle.amplitude) <= 1e-10;
}

// Sums in double; k and alpha as given.
void add_in_double(const RectangleScene& scene, const Rectangle& rectangle, const Rule& rule,
                   double k, double alpha, Complex P, ComplexField& field) {
    const EdgeTables<double> tables(rectangle, rule, 1.0);
    const Placement placement(rectangle);
    for (std::size_t p = 0; p < scene.points.size(); ++p) {
        const Triple at = placement.local(scene.points[p]);
        if (at.z < 0) {
            continue;
        }
        const auto E = [&](double R) { return std::exp(-alpha * R) * std::exp(-j * k * R); };
        const Complex E0 = E(at.z);
        Complex sum = 0;
        double terms = 0;
        for_each_edge_term(tables, at.x, at.y,
                           [&](std::size_t, double weight, double jacobian, double L, double q) {
                               const Complex ER = E(std::sqrt(at.z * at.z + L * L + q));
                               const Complex T = L * (ER - E0) / (L * L + q);
                               sum += weight * (jacobian * T);
                               terms += std::abs(weight * jacobian * L / (L * L + q)) *
                                        (std::abs(ER) + std::abs(E0));
                           });
        field.values[p] += sum * P;
        field.terms[p] += terms * std::abs(P);
    }
}

struct SinglePhase {
    float k, alpha;

    explicit SinglePhase(const RectangleScene& scene)
        : k(6.2831855f / static_cast<float>(wavelength(scene))),
          alpha(static_cast<float>(attenuation(scene))) {}

    std::complex<float> damped(float R) const {
        float re = 0, im = 0;
        complex_exp_lane(-alpha * R, -k * R, &re, &im);
        return {re, im};
    }

    std::complex<float> undamped(float R) const {
        float sine = 0, cosine = 0;
        sincos_lane(k * R, &sine, &cosine);
        return {cosine, -sine};
    }
};

// Four abscissas at a time in single precision.
template <class EdgeFactor, class DirectFactor>
void add_four_wide(const RectangleScene& scene, const Rectangle& rectangle, EdgeFactor edge_factor,
                   DirectFactor direct_factor, ComplexField& field) {
    Rule rule = gauss(scene.ndiv);
    if (!scene.exact) {  // groups of four only
        rule.x.resize(rule.x.size() / 4 * 4);
        rule.w.resize(rule.x.size());
    }
    const EdgeTables<float> tables(rectangle, rule, 1.0);
    const Placement placement(rectangle);
    const Complex P = prefactor(scene, rectangle, rectangle_two_pi);
    for (std::size_t p = 0; p < scene.points.size(); ++p) {
        const Triple at = placement.local(scene.points[p]);
        const auto x = static_cast<float>(at.x), y = static_cast<float>(at.y);
        const auto z = static_cast<float>(at.z);
        if (z < 0) {
            continue;
        }
        const std::complex<float> E0 = direct_factor(z);
        std::array<float, 4> re{}, im{};
        double terms = 0;
        for_each_edge_term(
            tables, x, y, [&](std::size_t i, float weight, float jacobian, float L, float q) {
                const std::complex<float> ER = edge_factor(std::sqrt(z * z + L * L + q));
                const float g = weight * jacobian * L / (L * L + q);
                re[i % 4] += g * (ER.real() - E0.real());
                im[i % 4] += g * (ER.imag() - E0.imag());
                terms += static_cast<double>(std::fabs(g) * (std::abs(ER) + std::abs(E0)));
            });
        const auto across = [](const std::array<float, 4>& lanes) {
            return static_cast<double>((lanes[0] + lanes[2]) + (lanes[1] + lanes[3]));
        };
        field.values[p] += Complex(across(re), across(im)) * P;
        field.terms[p] += terms * std::abs(P);
    }
}

}  // namespace

void add_fnm_cw(const RectangleScene& scene, ComplexField& field) {
    for (const Rectangle& rectangle : scene.rectangles) {
        if (!is_silent(rectangle)) {
            add_in_double(scene, rectangle, gauss(scene.ndiv), rectangle_two_pi / wavelength(scene),
                          attenuation(scene), prefactor(scene, rectangle, rectangle_two_pi), field);
        }
    }
}

void add_fnm_cw_single(const RectangleScene& scene, ComplexField& field) {
    Rule rule = gauss(scene.ndiv);
    for (double& t : rule.x) {
        t = static_cast<double>(static_cast<float>(t));
    }
    const SinglePhase phase(scene);
    for (const Rectangle& rectangle : scene.rectangles) {
        if (!is_silent(rectangle)) {
            add_in_double(scene, rectangle, rule, static_cast<double>(phase.k),
                          static_cast<double>(phase.alpha),
                          prefactor(scene, rectangle, 6.2831854820251465), field);
        }
    }
}

void add_fnm_cw_sse(const RectangleScene& scene, ComplexField& field) {
    const SinglePhase phase(scene);
    const auto damped = [&](float R) { return phase.damped(R); };
    for (const Rectangle& rectangle : scene.rectangles) {
        add_four_wide(scene, rectangle, damped, damped, field);
    }
}

void add_fnm_cw_sse2(const RectangleScene& scene, ComplexField& field) {
    const SinglePhase phase(scene);
    const auto direct = [&](float z) -> std::complex<float> {
        const float magnitude = std::exp(-phase.alpha * z);
        return {magnitude * std::cos(-phase.k * z), magnitude * std::sin(-phase.k * z)};
    };
    const auto edge = [&](float R) { return scene.exact ? phase.damped(R) : phase.undamped(R); };
    for (const Rectangle& rectangle : scene.rectangles) {
        if (!is_silent(rectangle)) {
            add_four_wide(scene, rectangle, edge, direct, field);
        }
    }
}

}  // namespace kavro_oracle
