// Rings, bowls and annuli of bowls against values of the Rayleigh surface integral.
#include <algorithm>
#include <cmath>
#include <complex>

#include "curved_support.h"

namespace kavro_test {
namespace {

using kavro_oracle::Behind;
using kavro_oracle::Terms;

bool ends_with(const std::string& text, const std::string& end) {
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

double tolerance_of(const GoldenRow& row) {
    constexpr int next_to_the_rim = 11;
    if (ends_with(row.operation, "_cw")) {
        return row.id == next_to_the_rim ? 1e-5 : 1e-10;
    }
    if (row.operation.starts_with("impulse")) {
        return 1e-11;
    }
    return std::max(1e-9, 10.0 * row.reached);
}

std::complex<double> by_oracle(const GoldenRow& row) {
    const ApertureScene& scene = row.scene;
    const auto sample = static_cast<std::size_t>(row.sample);
    ComplexField wave = stillness(scene);
    Field field = silence(scene);
    const auto behind =
        ends_with(row.operation, "behind_source") ? Behind::computed : Behind::skipped;
    if (row.operation == "fnm_cw") {
        add_fnm_cw(scene, wave);
        return wave[0];
    }
    if (row.operation == "rayleigh_cw") {
        add_rayleigh_cw(scene, wave);
        return wave[0];
    }
    if (row.operation == "impulse_begin_and_end_times") {
        const auto [begin, end] = begin_and_end_times(scene);
        return {begin, end};
    }
    if (row.operation == "impulse_response") {
        add_impulse_response(scene, field);
    } else if (row.operation.starts_with("fnm_transient")) {
        add_fnm_transient(scene, behind, field);
    } else {
        add_fnm_tsd(scene, Terms::real, behind, field);
    }
    return field[sample];
}

TEST(CurvedGolden, OracleReachesTheSurfaceIntegral) {
    const std::vector<GoldenRow> rows = golden_rows();
    ASSERT_EQ(rows.size(), 30u);
    for (const GoldenRow& row : rows) {
        const double error = std::abs(by_oracle(row) - row.value) / std::abs(row.value);
        EXPECT_LE(error, tolerance_of(row)) << "row " << row.id << ", " << row.operation;
    }
}

}  // namespace
}  // namespace kavro_test
