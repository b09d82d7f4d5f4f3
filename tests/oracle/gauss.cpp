#include "oracle/gauss.h"

#include <cmath>
#include <cstddef>

namespace kavro_oracle {

Rule gauss(int n, int passes) {
    const auto size = static_cast<std::size_t>(n < 1 ? 0 : n);
    Rule rule{std::vector<double>(size), std::vector<double>(size)};
    if (n < 1) {
        return rule;
    }
    const int m = (n + 1) / 2;
    const double e1 = n * (n + 1);
    const double t0 = 1.0 + (1.0 - 1.0 / n) / (-8.0 * n * n);
    for (int i = 1; i <= m; ++i) {
        double t = t0 * std::cos(3.14159265358979 * (4 * i - 1) / (4 * n + 2));
        double h = 0, d1 = 0, pn = 0, dpn = 0, d2pn = 0, d3pn = 0, d4pn = 0;
        for (int pass = 1; pass <= passes; ++pass) {
            double p_prev = 1.0;
            double p = t;
            for (int k = 2; k <= n; ++k) {
                const double t1 = t * p;
                const double p_next = t1 - p_prev - (t1 - p_prev) / k + t1;
                p_prev = p;
                p = p_next;
            }
            pn = p;
            const double den = 1.0 - t * t;
            d1 = n * (p_prev - t * pn);
            dpn = d1 / den;
            d2pn = (2.0 * t * dpn - e1 * pn) / den;
            d3pn = ((2.0 - e1) * dpn + 4.0 * t * d2pn) / den;
            d4pn = ((6.0 - e1) * d2pn + 6.0 * t * d3pn) / den;
            const double u = pn / dpn;
            const double v = d2pn / dpn;
            h = -u * (1.0 + 0.5 * u * (v + u * (v * v - u * d3pn / (3.0 * dpn))));
            p = pn + h * (dpn + 0.5 * h * (d2pn + (h / 3.0) * (d3pn + 0.25 * h * d4pn)));
            const double dp = dpn + h * (d2pn + 0.5 * h * (d3pn + h * d4pn / 3.0));
            h = h - p / dp;
            t = t + h;
            if (!(std::fabs(p / dp) / std::fabs(t) > 1e-15)) {
                break;
            }
        }
        const double fx =
            d1 -
            h * e1 *
                (pn + 0.5 * h * (dpn + (h / 3.0) * (d2pn + 0.25 * h * (d3pn + 0.2 * h * d4pn))));
        const auto low = static_cast<std::size_t>(i - 1);
        const auto high = static_cast<std::size_t>(n - i);
        rule.x[low] = t;
        rule.w[low] = 2.0 * (1.0 - t * t) / (fx * fx);
        rule.x[high] = -t;
        rule.w[high] = rule.w[low];
    }
    if (n % 2 == 1) {
        rule.x[static_cast<std::size_t>(m - 1)] = 0.0;
    }
    return rule;
}

Rule gauss(int n, double a, double b) {
    Rule rule = gauss(n);
    for (double& x : rule.x) {
        x = x * (b - a) * 0.5 + (a + b) * 0.5;
    }
    for (double& w : rule.w) {
        w = w * (b - a) * 0.5;
    }
    return rule;
}

}  // namespace kavro_oracle
