// The Gauss-Legendre rule, root by root.
#pragma once

#include <vector>

namespace kavro_oracle {

struct Rule {
    std::vector<double> x, w;
};

// On [-1, 1], abscissas descending. `passes` is the largest number of Newton passes per root: 1, or
// 2 for the rule that repeats a pass where the last correction was above 1e-15 of the root.
Rule gauss(int n, int passes = 1);

Rule gauss(int n, double a, double b);

}  // namespace kavro_oracle
