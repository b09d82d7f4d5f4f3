#include "oracle/geometry.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <type_traits>

#include "oracle/literal_waveforms.h"

namespace kavro_oracle {

Placement::Placement(const Element& element) : center_(element.center) {
    const double sa = std::sin(element.euler.x), ca = std::cos(element.euler.x);
    const double sb = std::sin(element.euler.y), cb = std::cos(element.euler.y);
    const double sc = std::sin(element.euler.z), cc = std::cos(element.euler.z);
    const double m[9] = {ca * cc - sa * (sb * sc),
                         sa * (sb * cc) + ca * sc,
                         -(sa * cb),  //
                         -(cb * sc),
                         cb * cc,
                         sb,  //
                         ca * (sb * sc) + sa * cc,
                         sa * sc - ca * (sb * cc),
                         ca * cb};
    std::copy(m, m + 9, m_);
}

Triple Placement::local(const Triple& p) const {
    const double x = p.x - center_.x, y = p.y - center_.y, z = p.z - center_.z;
    const auto row = [&](int i) { return m_[i] * x + m_[i + 1] * y + m_[i + 2] * z; };
    return {row(0), row(3), row(6)};
}

Rule rule_of(const Scene& scene, const Element& element) {
    return element.shape == Shape::rectangle ? gauss(scene.ndiv) : gauss(scene.ndiv, 0, pi);
}

namespace {

// ---- discs and rings

template <class Real>
class Round : public Geometry<Real> {
public:
    Round(const Scene& scene, const Element& element, const Rule& rule, Units units,
          DelayBy delay_by)
        : c_(units == Units::times ? static_cast<Real>(scene.speed) : Real(1)),
          inverse_c_(Real(1) / c_),
          delay_by_(delay_by),
          hole_(element.inner_radius > 0.0) {
        add_rim(scene, element, element.radius, 1.0, rule, units);
        if (hole_) {
            add_rim(scene, element, element.inner_radius, -1.0, rule, units);
        }
        view_.direct.resize(1);
    }

    std::span<const View<Real>> look(const Triple& local) override {
        const auto x = static_cast<Real>(local.x), y = static_cast<Real>(local.y);
        const auto z = static_cast<Real>(local.z);
        if (z < 0) {
            return {};
        }
        const Real r_squared = y * y + x * x;
        const Real r = std::sqrt(r_squared);
        const Real zeta = delay_of(z);
        view_.edge.clear();
        for (const RimTable& rim : rims_) {
            for (std::size_t i = 0; i < rim.cosine.size(); ++i) {
                const Real D = (r_squared + rim.a * rim.a) - rim.two_a_cosine[i] * r;
                const Real g = ((rim.cosine[i] * r - rim.a) / D) * rim.weight[i];
                const Real tau = delay_of(std::sqrt(D + z * z));
                view_.edge.push_back({g, tau, tau - zeta, i, 0});
            }
        }
        // Beside the face, and on its rim, the first arrival is the nearest rim point's.
        const Real out = rims_.front().a, in = hole_ ? rims_.back().a : Real(0);
        const auto gap = static_cast<double>(r < in ? in - r : r - out);
        const double to_rim = std::sqrt(gap * gap + static_cast<double>(z * z));
        const auto rim = static_cast<Real>(to_rim / static_cast<double>(c_));
        view_.direct[0] = {zeta, gap >= 0 ? rim : zeta, zeta};
        view_.first = static_cast<double>(view_.direct[0].begin);
        view_.last = static_cast<double>(delay_of(std::sqrt((out + r) * (out + r) + z * z)));
        return {&view_, 1};
    }

private:
    struct RimTable {
        Real a;
        std::vector<Real> cosine, two_a_cosine, weight;
    };

    void add_rim(const Scene& scene, const Element& element, double radius, double sign,
                 const Rule& rule, Units units) {
        RimTable rim{static_cast<Real>(radius), {}, {}, {}};
        const Real rho_c_a = static_cast<Real>(scene.density) * c_ * rim.a;
        const double scale =
            units == Units::times ? static_cast<double>(rho_c_a) / pi : radius / element.radius;
        for (std::size_t i = 0; i < rule.x.size(); ++i) {
            const auto cosine = static_cast<Real>(std::cos(rule.x[i]));
            rim.cosine.push_back(cosine);
            rim.two_a_cosine.push_back(cosine * (2 * rim.a));
            rim.weight.push_back(static_cast<Real>(rule.w[i] * (sign * scale)));
        }
        rims_.push_back(rim);
    }

    Real delay_of(Real distance) const {
        return delay_by_ == DelayBy::quotient ? distance / c_ : distance * inverse_c_;
    }

    Real c_, inverse_c_;
    DelayBy delay_by_;
    bool hole_;
    std::vector<RimTable> rims_;
    View<Real> view_;
};

// ---- rectangles

// Along x or y: the rule moved to [0, 1] with the abscissa squared, and stretched to the side.
template <class Real>
struct Side {
    Real half;
    std::vector<Real> u, v, X, W;

    Side(double length, const Rule& rule, double scale) : half(static_cast<Real>(length * 0.5)) {
        for (std::size_t i = 0; i < rule.x.size(); ++i) {
            const double root = (rule.x[i] + 1) * 0.5;
            u.push_back(static_cast<Real>(root * root));
            v.push_back(static_cast<Real>(rule.w[i] * 0.5 * scale));
            X.push_back(static_cast<Real>(rule.x[i] * (length * 0.5)));
            W.push_back(static_cast<Real>(rule.w[i] * (length * 0.5) * scale));
        }
    }
};

// Delays of edge waves are products, that of the direct wave in double a quotient.
template <class Real>
class Rectangle : public Geometry<Real> {
public:
    Rectangle(const Scene& scene, const Element& element, const Rule& rule, Units units)
        : element_(element),
          c_(units == Units::times ? static_cast<Real>(scene.speed) : Real(1)),
          along_x_(element.width, rule, scale_of(scene, units)),
          along_y_(element.height, rule, scale_of(scene, units)) {
        view_.direct.resize(1);
    }

    std::span<const View<Real>> look(const Triple& local) override {
        const auto x = static_cast<Real>(local.x), y = static_cast<Real>(local.y);
        z_ = static_cast<Real>(local.z);
        if (z_ < 0) {
            return {};
        }
        view_.edge.clear();
        add_edges(along_x_, x, along_y_.half - y, along_y_.half + y);
        add_edges(along_y_, y, along_x_.half - x, along_x_.half + x);
        const Real dx = std::fmax(std::fabs(x) - along_x_.half, Real(0));
        const Real dy = std::fmax(std::fabs(y) - along_y_.half, Real(0));
        const Real nearest = dx > 0 || dy > 0 ? std::sqrt(dx * dx + dy * dy + z_ * z_) : z_;
        const Real zeta = direct_delay_of(z_);
        view_.direct[0] = {zeta, direct_delay_of(nearest), zeta};
        view_.first = static_cast<double>(view_.direct[0].begin);
        view_.last = distances_of(element_, local).last / static_cast<double>(c_);
        return {&view_, 1};
    }

private:
    double scale_of(const Scene& scene, Units units) const {
        const Real rho_c = static_cast<Real>(scene.density) * c_;
        return units == Units::times ? static_cast<double>(rho_c) / -two_pi : 1.0;
    }

    // Both edges along a side, over a foot at `at`: in one piece where the foot is beside them,
    // else in two that meet in it. `above` and `below` are the edges' own distances from the foot.
    void add_edges(const Side<Real>& side, Real at, Real above, Real below) {
        const Real s1 = side.half - at, s2 = side.half + at;
        for (std::size_t i = 0; i < side.u.size(); ++i) {
            if (s2 <= 0 || s1 <= 0) {
                const Real q = (side.X[i] + at) * (side.X[i] + at);
                add(i, side.W[i], below, q);
                add(i, side.W[i], above, q);
                continue;
            }
            for (const Real s : {s2, s1}) {
                add(i, side.v[i] * s, below, s * s * side.u[i]);
                add(i, side.v[i] * s, above, s * s * side.u[i]);
            }
        }
    }

    void add(std::size_t i, Real weight, Real L, Real q) {
        const Real R = std::sqrt(z_ * z_ + L * L + q);
        view_.edge.push_back({weight * L / (L * L + q), R * (Real(1) / c_), R - z_, i, 0});
    }

    Real direct_delay_of(Real distance) const {
        return std::is_same_v<Real, double> ? distance / c_ : distance * (Real(1) / c_);
    }

    const Element& element_;
    Real c_, z_ = 0;
    Side<Real> along_x_, along_y_;
    View<Real> view_;
};

// ---- bowls

Distances reach_of(const std::vector<Rim>& rims, double d, const Place& place) {
    const Pole pole = pole_of(d, place);
    if (rims.empty() || pole.at_focus) {
        return rims.empty() ? Distances{0.0, 0.0} : Distances{d, d};
    }
    const Rim& outer = rims.front();
    const Rim& inner = rims.back();
    const auto to = [&](const Rim& rim, double side) {
        const double along = place.r + side * rim.a, up = place.z - rim.height;
        return std::sqrt(along * along + up * up);
    };
    const bool before = pole.sigma > 0.0;
    if (pole.m > outer.S) {
        return {to(outer, -1), to(outer, 1)};
    }
    if (rims.size() > 1 && pole.m < inner.S) {
        return before ? Distances{to(inner, -1), to(outer, 1)}
                      : Distances{to(outer, -1), to(inner, 1)};
    }
    return before ? Distances{pole.R0, to(outer, 1)} : Distances{to(outer, -1), pole.R0};
}

// In double up to the numbers that a point and a rim share, which are rounded.
template <class Real>
class Bowl : public Geometry<Real> {
public:
    Bowl(const Scene& scene, const Element& element, const Rule& rule, Units units, Behind behind)
        : element_(element),
          rule_(rule),
          units_(units),
          behind_(behind),
          speed_(units == Units::times ? scene.speed : 1.0),
          strength_(units == Units::times ? scene.density * scene.speed / pi : 1.0),
          rims_(rims_of(element)) {}

    std::span<const View<Real>> look(const Triple& local) override {
        const double d = element_.focus;
        const Place place = place_of(local);
        if (behind_ == Behind::skipped && is_skipped(element_, place)) {
            return {};
        }
        const double s0 = d * nearest_to_focus;
        if (units_ == Units::lengths || !(pole_of(d, place).s < s0)) {
            see(place, 1.0, views_[0]);
            return {views_.data(), 1};
        }
        // Instead of a point next to the focus two beside the axis, by the square of the distance.
        const double x = place.r * place.r / (s0 * s0);
        see({s0, place.z}, (4.0 - x) / 3.0, views_[0]);
        see({2.0 * s0, place.z}, (x - 1.0) / 3.0, views_[1]);
        return views_;
    }

private:
    void see(const Place& place, double share, View<Real>& view) {
        const double d = element_.focus;
        const Pole pole = pole_of(d, place);
        const auto R0 = static_cast<Real>(pole.R0), R1 = static_cast<Real>(pole.R1);
        const auto R0_squared = static_cast<Real>(pole.R0 * pole.R0);
        const auto product = static_cast<Real>(pole.sigma * d * pole.s);
        const double ratio = share * (pole.sigma / pole.s);
        double moved = 0.0;
        view.edge.clear();
        for (const Rim& rim : rims_) {
            const bool split = rim.nearly_hemispherical();
            moved += split ? rim.sign * (pi / 2.0) * strength_ * d * rim.V * ratio : 0.0;
            const double across = rim.S - pole.m, up = rim.V - pole.U;
            const auto b = static_cast<Real>(across * across + up * up);
            const auto two_S_m = static_cast<Real>(2.0 * rim.S * pole.m);
            const auto N0 = static_cast<Real>(rim.C * pole.m - rim.S * pole.n);
            const auto C_m = static_cast<Real>(rim.C * pole.m);
            for (std::size_t i = 0; i < rule_.x.size(); ++i) {
                const auto kappa = static_cast<Real>(kappa_of(rule_.x[i]));
                const Real D2 = b + two_S_m * kappa;
                const Real N = N0 - C_m * kappa;
                const Real R = std::sqrt(std::fmax(Real(0), R0_squared + product * D2));
                const Real W = static_cast<Real>(rule_.w[i] * (rim.sign * strength_ * rim.a)) *
                               static_cast<Real>(ratio);
                const Real excess = product * D2 / (R + R0);
                if (split) {
                    view.edge.push_back({W * (N / D2), delay_of(R), excess, i, 0});
                    view.edge.push_back(
                        {W * (N / (4 - D2)), delay_of(R), -product * (4 - D2) / (R + R1), i, 1});
                } else {
                    const Real K = N / (D2 * (1 - D2 * Real(0.25)));
                    view.edge.push_back({W * K, delay_of(R), excess, i, 0});
                }
            }
        }
        const Distances reach = reach_of(rims_, d, place);
        view.first = reach.first / speed_;
        view.last = reach.last / speed_;
        view.between = 2.0 * pole.sigma * std::fmin(pole.s, d);
        const auto direct = [&](Real R, double beyond) {
            const Real delay = delay_of(R);
            return DirectPath<Real>{delay, std::fmax(delay, static_cast<Real>(view.first)),
                                    std::fmin(delay, static_cast<Real>(view.last)), beyond};
        };
        view.direct = {direct(R0, -moved)};
        if (!rims_.empty() && rims_.front().nearly_hemispherical()) {
            view.direct.push_back(direct(R1, moved));
        }
    }

    Real delay_of(Real R) const {
        const auto c = static_cast<Real>(speed_);
        return std::is_same_v<Real, double> ? R / c : R * (Real(1) / c);
    }

    const Element& element_;
    Rule rule_;
    Units units_;
    Behind behind_;
    double speed_, strength_;
    std::vector<Rim> rims_;
    std::array<View<Real>, 2> views_;
};

}  // namespace

std::vector<Rim> rims_of(const Element& bowl) {
    std::vector<Rim> rims;
    const double d = bowl.focus;
    for (const auto& [radius, sign] :
         {std::pair(bowl.radius, 1.0), std::pair(bowl.inner_radius, -1.0)}) {
        if (radius > 0.0) {
            const double a = std::min(radius, d), S = a / d;
            const double C = std::sqrt((d - a) * (d + a)) / d, V = S * S / (1.0 + C);
            rims.push_back({sign, a, S, C, V, V * d});
        }
    }
    return rims;
}

Place place_of(const Triple& local) {
    return {std::sqrt(local.y * local.y + local.x * local.x), local.z};
}

Pole pole_of(double d, const Place& place) {
    const double r = place.r, z = place.z;
    Pole pole{std::sqrt(r * r + (z - d) * (z - d)), z < d ? 1.0 : -1.0, 0, 1, 0, 0, 0, false};
    pole.at_focus = pole.s < 1e-15 * d;
    if (pole.at_focus) {
        pole.s = 1e-15 * d;
        pole.sigma = 1.0;
    } else {
        pole.m = r / pole.s;
        pole.n = std::fabs(z - d) / pole.s;
    }
    pole.U = pole.m * pole.m / (1.0 + pole.n);
    const double near = std::fabs(2.0 * d * z - r * r - z * z) / (d + pole.s);
    const double far = d + pole.s;
    pole.R0 = pole.sigma > 0.0 ? near : far;
    pole.R1 = pole.sigma > 0.0 ? far : near;
    return pole;
}

bool is_skipped(const Element& bowl, const Place& place) {
    const std::vector<Rim> rims = rims_of(bowl);
    const double d = bowl.focus, r = place.r, z = place.z;
    const double height = rims.empty() ? 0.0 : rims.front().height;
    return z < 0.0 || (z < height && r * r + z * z - 2.0 * d * z > 1e-12 * d * d);
}

double kappa_of(double phi) {
    const double h = std::sin(phi / 2.0);
    return 2.0 * (h * h);
}

Distances distances_of(const Element& element, const Triple& local) {
    const auto [r, z] = place_of(local);
    if (element.shape == Shape::bowl) {
        return reach_of(rims_of(element), element.focus, {r, z});
    }
    if (element.shape == Shape::rectangle) {
        const double hw = element.width * 0.5, hh = element.height * 0.5;
        const double ax = std::fabs(local.x), ay = std::fabs(local.y);
        const double dx = std::fmax(ax - hw, 0.0), dy = std::fmax(ay - hh, 0.0);
        return {dx > 0 || dy > 0 ? std::sqrt(dx * dx + dy * dy + z * z) : std::fabs(z),
                std::sqrt((ay + hh) * (ay + hh) + z * z + (ax + hw) * (ax + hw))};
    }
    const double out = element.radius, in = element.inner_radius;
    const double gap = r < in ? in - r : r - out;
    const double height = element.shape == Shape::disc && !element.exact ? z : std::fabs(z);
    return {gap > 0 ? std::sqrt(gap * gap + z * z) : height,
            std::sqrt((r + out) * (r + out) + z * z)};
}

template <class Real>
std::unique_ptr<Geometry<Real>> geometry_of(const Scene& scene, const Element& element,
                                            const Rule& rule, Units units, DelayBy delay_by,
                                            Behind behind) {
    switch (element.shape) {
        case Shape::rectangle:
            return std::make_unique<Rectangle<Real>>(scene, element, rule, units);
        case Shape::bowl:
            return std::make_unique<Bowl<Real>>(scene, element, rule, units, behind);
        default:
            return std::make_unique<Round<Real>>(scene, element, rule, units, delay_by);
    }
}

template std::unique_ptr<Geometry<float>> geometry_of<float>(const Scene&, const Element&,
                                                             const Rule&, Units, DelayBy, Behind);
template std::unique_ptr<Geometry<double>> geometry_of<double>(const Scene&, const Element&,
                                                               const Rule&, Units, DelayBy, Behind);

}  // namespace kavro_oracle
