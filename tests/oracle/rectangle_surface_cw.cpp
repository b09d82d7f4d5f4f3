// The rectangle's far field and its integrals over the face.
#include <array>

#include "oracle/four_wide.h"
#include "oracle/rectangle_steps.h"

namespace kavro_oracle {
namespace {

constexpr Complex j{0.0, 1.0};

struct Wave {
    double lambda, k, alpha;

    explicit Wave(const RectangleScene& scene)
        : lambda(scene.f0 <= 1e-10 ? scene.speed / 1e6 : scene.speed / scene.f0),
          k(rectangle_two_pi / lambda),
          alpha(scene.attenuation * 100 * scene.f0 / 1e6 / 8.685889638065037) {}
};

Complex weight_of(const Rectangle& rectangle) {
    return {rectangle.amplitude * std::cos(rectangle.phase),
            rectangle.amplitude * std::sin(rectangle.phase)};
}

// use(rectangle, point index, local coordinates) wherever an element that is not silent is to be
// added.
template <class Use>
void for_each_pair(const RectangleScene& scene, Use use) {
    for (const Rectangle& rectangle : scene.rectangles) {
        if (std::fabs(rectangle.amplitude) <= 1e-10) {
            continue;
        }
        const Placement placement(rectangle);
        for (std::size_t p = 0; p < scene.points.size(); ++p) {
            use(rectangle, p, placement.local(scene.points[p]));
        }
    }
}

void add_far_field(const RectangleScene& scene, double alpha, ComplexField& field) {
    const Wave wave(scene);
    for_each_pair(scene, [&](const Rectangle& rectangle, std::size_t p, const Triple& at) {
        const double hw = rectangle.width * 0.5, hh = rectangle.height * 0.5;
        const Complex F = j * scene.f0 * scene.density * 4.0 * hw * hh * weight_of(rectangle);
        const double kx = hw * rectangle_two_pi / wave.lambda;
        const double ky = hh * rectangle_two_pi / wave.lambda;
        const double R = std::sqrt(at.z * at.z + at.x * at.x + at.y * at.y);
        if (at.z < 0 || !(R > 0)) {
            return;
        }
        Complex value = std::exp(-alpha * R) * std::exp(-j * wave.k * R) * F / R;
        field.terms[p] += std::abs(value);
        if (at.x != 0) {
            value *= std::sin(at.x * kx / R) / (at.x * kx / R);
        }
        if (at.y != 0) {
            value *= std::sin(at.y * ky / R) / (at.y * ky / R);
        }
        field.values[p] += value;
    });
}

// sin(s) / s for complex s, 1 at 0.
Complex sinc(Complex s) {
    if (s == 0.0) {
        return 1.0;
    }
    const double a = s.real(), b = s.imag();
    return Complex(std::sin(a) * std::cosh(b), std::cos(a) * std::sinh(b)) / s;
}

// An area over its distance R; for a point on it the integral of 1/R over a disc as large, which
// the exact sibling never exceeds.
double over_distance(double area, double R, bool exact) {
    const double mean = 2.0 * std::sqrt(std::numbers::pi * area);
    return R == 0.0 || (exact && mean < area / R) ? mean : area / R;
}

}  // namespace

void add_farfield_cw(const RectangleScene& scene, ComplexField& field) {
    add_far_field(scene, Wave(scene).alpha, field);
}

void add_farfield_cw_lossless(const RectangleScene& scene, ComplexField& field) {
    add_far_field(scene, 0.0, field);
}

void add_rayleigh_cw(const RectangleScene& scene, ComplexField& field) {
    const Wave wave(scene);
    const Rule rule = gauss(scene.ndiv);
    const std::size_t n = rule.x.size();
    for_each_pair(scene, [&](const Rectangle& rectangle, std::size_t p, const Triple& at) {
        const double hw = rectangle.width * 0.5, hh = rectangle.height * 0.5;
        if (at.z < 0) {
            return;
        }
        Complex sum = 0;
        double terms = 0;
        for (std::size_t i = 0; i < n; ++i) {
            for (std::size_t l = 0; l < n; ++l) {
                const double dx = at.x - rule.x[i] * hw, dy = at.y - rule.x[l] * hh;
                const double R = std::sqrt(dy * dy + dx * dx + at.z * at.z);
                const Complex term =
                    over_distance(rule.w[i] * hw * (rule.w[l] * hh), R, scene.exact) *
                    std::exp(-wave.alpha * R) * std::exp(-j * wave.k * R);
                sum += term;
                terms += std::abs(term);
            }
        }
        field.values[p] += sum * weight_of(rectangle) * j * scene.f0 * scene.density;
        field.terms[p] += terms * std::fabs(rectangle.amplitude) * scene.f0 * scene.density;
    });
}

void add_rayleigh_cw_sse(const RectangleScene& scene, ComplexField& field) {
    const Wave wave(scene);
    const float k = 6.2831855f / static_cast<float>(wave.lambda);
    const auto alpha = static_cast<float>(wave.alpha);
    const Rule rule = gauss(scene.ndiv);
    const std::size_t n = rule.x.size();
    for_each_pair(scene, [&](const Rectangle& rectangle, std::size_t p, const Triple& at) {
        const double hw = rectangle.width * 0.5, hh = rectangle.height * 0.5;
        const auto x = static_cast<float>(at.x), y = static_cast<float>(at.y);
        const auto z = static_cast<float>(at.z);
        if (z < 0) {
            return;
        }
        std::array<float, 4> re{}, im{};
        double terms = 0;
        for (std::size_t i = 0; i < n; ++i) {
            for (std::size_t l = 0; l < (scene.exact ? n : n / 4 * 4); ++l) {
                const float dx = x - static_cast<float>(rule.x[i] * hw);
                const float dy = y - static_cast<float>(rule.x[l] * hh);
                const float R = std::sqrt(dy * dy + dx * dx + z * z);
                const auto W = static_cast<float>(rule.w[i] * hw * (rule.w[l] * hh));
                const auto over_R = static_cast<float>(
                    over_distance(static_cast<double>(W), static_cast<double>(R), scene.exact));
                float E_re = 0, E_im = 0;
                complex_exp_lane(-alpha * R, -k * R, &E_re, &E_im);
                re[l % 4] += over_R * E_re;
                im[l % 4] += over_R * E_im;
                terms += static_cast<double>(over_R * std::hypot(E_re, E_im));
            }
        }
        const auto across = [](const std::array<float, 4>& lanes) {
            return static_cast<double>((lanes[0] + lanes[2]) + (lanes[1] + lanes[3]));
        };
        const Complex sum(across(re), across(im));
        field.values[p] += sum * weight_of(rectangle) * j * scene.f0 * scene.density;
        field.terms[p] += terms * std::fabs(rectangle.amplitude) * scene.f0 * scene.density;
    });
}

int add_radiator_cw(const RectangleScene& scene, ComplexField& field) {
    const Wave wave(scene);
    int N = scene.ndiv;
    for_each_pair(scene, [&](const Rectangle& rectangle, std::size_t p, const Triple& at) {
        const double hw = rectangle.width * 0.5, hh = rectangle.height * 0.5;
        if (!(at.z > 0)) {
            return;
        }
        const double d = std::sqrt(4 * wave.lambda * at.z / scene.ndiv);
        N = (static_cast<int>(2 * hh / d) + 1) * (static_cast<int>(2 * hw / d) + 1);
        const Rule rule = gauss(N);
        const Complex g = wave.k - j * wave.alpha;
        Complex sum = 0;
        double terms = 0;
        for (std::size_t i = 0; i < rule.x.size(); ++i) {
            for (std::size_t l = 0; l < rule.x.size(); ++l) {
                const double X = rule.x[i] * hw, WX = rule.w[i] * hw;
                const double Y = rule.x[l] * hh, WY = rule.w[l] * hh;
                const double R =
                    std::sqrt((at.y - Y) * (at.y - Y) + (at.x - X) * (at.x - X) + at.z * at.z);
                Complex term = WX * WY / R;
                if (scene.exact) {
                    term *= std::exp(-wave.alpha * R) * std::exp(-j * wave.k * R) *
                            sinc(wave.k * (at.x - X) * WX / (2 * R)) *
                            sinc(wave.k * (at.y - Y) * WY / (2 * R));
                } else {
                    term *= std::exp(wave.alpha * R) * std::exp(j * wave.k * R) *
                            sinc(g * X * WX / R) * sinc(g * Y * WY / R);
                }
                sum += term;
                terms += std::abs(term);
            }
        }
        field.values[p] += sum * weight_of(rectangle) * j * scene.f0 * scene.density;
        field.terms[p] += terms * std::fabs(rectangle.amplitude) * scene.f0 * scene.density;
    });
    return N;
}

}  // namespace kavro_oracle
