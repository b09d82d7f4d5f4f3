#include "core/quadrature_rule.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>

#include "core/console.h"
#include "core/interrupted.h"
#include "core/numerical_integration.h"
#include "core/zeros.h"

namespace kavro {
namespace {

// Abscissas that are kept for the next call, all rules together.
constexpr std::size_t most_kept = std::size_t{1} << 18;

class Ladder {
public:
    std::shared_ptr<const QuadratureRule> find(int n) {
        const std::lock_guard lock(mutex_);
        const auto found = rules_.find(n);
        return found != rules_.end() ? found->second : nullptr;
    }

    void keep(const std::shared_ptr<const QuadratureRule>& rule) {
        const std::lock_guard lock(mutex_);
        const std::size_t size = rule->abscissas.size();
        if (kept_ + size > most_kept) {
            rules_.clear();
            kept_ = 0;
        }
        if (size <= most_kept && rules_.emplace(rule->order(), rule).second) {
            kept_ += size;
        }
    }

private:
    std::mutex mutex_;
    std::map<int, std::shared_ptr<const QuadratureRule>> rules_;
    std::size_t kept_ = 0;
};

Ladder& ladder() {
    static Ladder rules;
    return rules;
}

}  // namespace

QuadratureRule QuadratureRule::mapped(double a, double b) const {
    QuadratureRule rule = *this;
    for (double& x : rule.abscissas) {
        x = x * (b - a) * 0.5 + (a + b) * 0.5;
    }
    for (double& w : rule.weights) {
        w = w * (b - a) * 0.5;
    }
    return rule;
}

std::shared_ptr<const QuadratureRule> gauss_rule(int n) {
    std::shared_ptr<const QuadratureRule> known = ladder().find(n);
    if (known) {
        return known;
    }
    const auto size = static_cast<std::size_t>(std::max(n, 0));
    const auto rule = std::make_shared<QuadratureRule>();
    InterruptCheck check;
    const Spend spend = [&check](std::int64_t steps) { check.spend(steps); };
    assign_zeros(rule->abscissas, size, spend);
    assign_zeros(rule->weights, size, spend);
    if (!NumericalIntegration::grule(n, rule->abscissas.data(), rule->weights.data(),
                                     console::interrupted)) {
        throw Interrupted();
    }
    ladder().keep(rule);
    return rule;
}

}  // namespace kavro
