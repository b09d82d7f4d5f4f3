#include "oracle/disc_continuous_wave.h"

#include <cmath>
#include <cstddef>

#include "oracle/disc_steps.h"
#include "oracle/gauss.h"
#include "oracle/literal_waveforms.h"

namespace kavro_oracle {

double profile(int index, double r, double a) {
    constexpr double half_pi = 1.570796326794895;
    if (index < 1 || index > 4) {
        return 1.0;
    }
    if (!(a > std::fabs(r))) {
        return 0.0;
    }
    switch (index) {
        case 1:
            return std::cos(r * half_pi / a);
        case 2:
            return (std::cos(r * pi / a) + 1) * 0.5;
        case 3:
            return 1 - (r / a) * (r / a);
        default:
            return 1 - std::pow(r / a, 4);
    }
}

double profile_slope(int index, double r, double a) {
    constexpr double half_pi = 1.570796326794895;
    if (index < 1 || index > 4 || !(a > std::fabs(r))) {
        return 0.0;
    }
    switch (index) {
        case 1:
            return (-half_pi / a) * std::sin(r * half_pi / a);
        case 2:
            return (-half_pi / a) * std::sin(r * pi / a);
        case 3:
            return -2 * r / a / a;
        default:
            return -4 * std::pow(r / a, 3) / a;
    }
}

double nepers(const Scene& scene) {
    return scene.attenuation * 100 * (scene.f0 / 1e6) / 8.685889638065037;
}

Complex weight_of(const Disc& disc) {
    return {disc.amplitude * std::cos(disc.phase), disc.amplitude * std::sin(disc.phase)};
}

Complex nearfield_factor(const Scene& scene, const Disc& disc, double k) {
    const Complex factor = scene.density * scene.speed * (disc.radius / pi) * weight_of(disc);
    const double alpha = nepers(scene);
    if (!disc.exact || alpha == 0) {
        return factor;
    }
    return factor * Complex(0, k) / Complex(alpha, k);
}

Complex rayleigh_factor(const Scene& scene, const Disc& disc) {
    return Complex(0, 2 * scene.density * scene.f0) * weight_of(disc);
}

namespace {

// exp(gain R) e^(-j k R)
Complex wave(double gain, double k, double R) {
    const double magnitude = std::exp(gain * R);
    return {magnitude * std::cos(-k * R), magnitude * std::sin(-k * R)};
}

// A sum at one point.
struct Sum {
    Complex value;
    double terms = 0.0;

    void add(double coefficient, Complex one, Complex other = 0.0) {
        value += coefficient * (one - other);
        terms += std::fabs(coefficient) * (std::abs(one) + std::abs(other));
    }
};

// Adds factor(disc) * sum(disc, local point) over all discs that radiate.
template <class Factor, class SumAt>
ComplexField sum_over_discs(const Scene& scene, Factor factor, SumAt sum_at) {
    ComplexField field{std::vector<Complex>(scene.points.size()),
                       std::vector<double>(scene.points.size())};
    for (const Disc& disc : scene.discs) {
        if (std::fabs(disc.amplitude) <= 1e-10) {
            continue;
        }
        const Rotation rotation = rotation_of(disc);
        for (std::size_t p = 0; p < scene.points.size(); ++p) {
            const Triple local = rotate_translate(rotation, disc, scene.points[p]);
            if (local.z < 0) {
                continue;
            }
            const Sum sum = sum_at(disc, local);
            field.values[p] += sum.value * factor(disc);
            field.terms[p] += sum.terms * std::abs(factor(disc));
        }
    }
    return field;
}

// The wave number without a default for anything.
double plain_wavenumber(const Scene& scene) {
    const double lambda = scene.speed / scene.f0;
    return two_pi / lambda;
}

// The midpoint rule over half the disc. The reference lets the amplitude grow with the path.
ComplexField rayleigh(const Scene& scene, double k, bool apodized) {
    const std::vector<double> cosines = midpoint_cosines(scene.ndiv);
    const auto factor = [&](const Disc& disc) { return rayleigh_factor(scene, disc); };
    return sum_over_discs(scene, factor, [&](const Disc& disc, const Triple& local) {
        const double gain = disc.exact ? -nepers(scene) : nepers(scene);
        const double dphi = pi / scene.ndiv;
        const double dr = disc.radius / scene.ndiv;
        const double B = local.z * local.z + local.x * local.x + local.y * local.y;
        const double s = std::sqrt(local.x * local.x + local.y * local.y);
        Sum sum;
        for (int i = 0; i < scene.ndiv; ++i) {
            const double r = (i + 0.5) * dr;
            const double dA = dr * r * dphi;
            const double height = apodized ? profile(disc.apodization, r, disc.radius) : 1.0;
            for (const double cosine : cosines) {
                const double R = std::sqrt(r * r + B - cosine * 2 * r * s);
                sum.add(dA / R * height, wave(gain, k, R));
            }
        }
        return sum;
    });
}

}  // namespace

ComplexField fnm_cw(const Scene& scene) {
    // Attenuation takes the stored frequency, so a default frequency has none.
    const double lambda = scene.f0 <= 1e-10 ? scene.speed / 1e6 : scene.speed / scene.f0;
    const double k = two_pi / lambda;
    const double alpha = nepers(scene);
    const Rule rule = gauss(scene.ndiv, 0, pi);
    const std::vector<double> cosines = cosines_of(rule.x);
    const auto factor = [&](const Disc& disc) { return nearfield_factor(scene, disc, k); };
    return sum_over_discs(scene, factor, [&](const Disc& disc, const Triple& local) {
        const double a = disc.radius;
        const Complex E0 = wave(-alpha, k, local.z);
        const double s = std::sqrt(local.x * local.x + local.y * local.y);
        const double A = local.x * local.x + local.y * local.y + a * a;
        Sum sum;
        for (std::size_t i = 0; i < cosines.size(); ++i) {
            const double D = A - (2 * a * cosines[i]) * s;
            const double R = std::sqrt(local.z * local.z + D);
            const double g = (s * cosines[i] - a) / D;
            sum.add(rule.w[i] * g, wave(-alpha, k, R), E0);
        }
        return sum;
    });
}

// A disc with the radial profile f is the sum of uniform discs of all radii b < a, each with the
// amplitude -f'(b) db (every profile is zero at the rim). The reference leaves out the sign,
// spreads the radii over [0, pi a] and has a factor pi a too many.
ComplexField fnm_cw_apodized(const Scene& scene) {
    const double k = plain_wavenumber(scene);
    const double alpha = nepers(scene);
    const Rule rule = gauss(scene.ndiv, 0, pi);
    const std::vector<double> cosines = cosines_of(rule.x);
    const auto factor = [&](const Disc& disc) {
        const Complex P = nearfield_factor(scene, disc, k);
        return disc.exact ? -P / disc.radius : P;
    };
    const auto sum_at = [&](const Disc& disc, const Triple& local) {
        const double a = disc.radius;
        const double radius_scale = disc.exact ? a / pi : a;
        const double angle_scale = disc.exact ? 1.0 : pi;
        const Complex E0 = wave(-alpha, k, local.z);
        const double s_squared = local.x * local.x + local.y * local.y;
        const double s = std::sqrt(s_squared);
        Sum sum;
        for (std::size_t i = 0; i < rule.x.size(); ++i) {
            const double r = rule.x[i] * radius_scale;
            const double slope = profile_slope(disc.apodization, r, a);
            for (std::size_t j = 0; j < rule.x.size(); ++j) {
                const double D = (r * r + s_squared) - (2 * cosines[j]) * s * r;
                const double R = std::sqrt(local.z * local.z + D);
                const double g = slope * (s * cosines[j] - r) * r / D;
                sum.add(rule.w[i] * radius_scale * (rule.w[j] * angle_scale) * g,
                        wave(-alpha, k, R), E0);
            }
        }
        return sum;
    };
    ComplexField field = sum_over_discs(scene, factor, sum_at);
    // Exact, a uniform disc among them is a uniform disc.
    Scene uniform = scene;
    std::erase_if(uniform.discs, [](const Disc& disc) {
        return !disc.exact || (disc.apodization >= 1 && disc.apodization <= 4);
    });
    const ComplexField rest = fnm_cw(uniform);
    for (std::size_t p = 0; p < field.values.size(); ++p) {
        field.values[p] += rest.values[p];
        field.terms[p] += rest.terms[p];
    }
    return field;
}

ComplexField rayleigh_cw(const Scene& scene) {
    const double speed = scene.speed <= 1e-10 ? 1500.0 : scene.speed;
    return rayleigh(scene, scene.f0 * two_pi / speed, false);
}

ComplexField rayleigh_cw_apodized(const Scene& scene) {
    return rayleigh(scene, plain_wavenumber(scene), true);
}

}  // namespace kavro_oracle
