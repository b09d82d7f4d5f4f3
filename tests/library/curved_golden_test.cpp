// Rings, bowls and annuli of bowls against values of the Rayleigh surface integral.
#include <algorithm>
#include <cmath>
#include <complex>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "literal.h"

namespace kavro_test {
namespace {

// One element and one point of the file of reference values, which were computed from the surface
// integral.
struct GoldenRow {
    int id = 0;
    std::string operation;
    Tank tank;
    std::size_t sample = 0;  // of a transient
    std::complex<double> value;
    double reached = 0.0;  // relative difference of a converged rim integral with 128 abscissas
};

constexpr int next_to_the_rim = 11;

GoldenRow row_of(const std::vector<std::string>& names, const std::string& line) {
    std::map<std::string, std::string> text;
    std::istringstream rest(line);
    for (const std::string& name : names) {
        std::getline(rest, text[name], ',');
    }
    const auto number = [&](const char* name) {
        return text[name].empty() ? 0.0 : std::stod(text[name]);
    };
    GoldenRow row;
    row.id = static_cast<int>(number("id"));
    row.operation = text["operation"];
    row.sample = static_cast<std::size_t>(number("j"));
    row.value = {number("value_re"), number("value_im")};
    row.reached = number("proto128");
    const double in = number("inner"), out = number("outer"), d = number("roc");
    Source source{.shape = "ring", .sizes = {in, out}};
    if (d > 0.0) {
        source.shape = in > 0.0 ? "sph ring" : "shel";
        source.sizes = in > 0.0 ? Values{in, out, d} : Values{out, d};
    }
    source.time_delay = number("delay");
    row.tank = tank_of(source);
    row.tank.waveform = std::make_shared<kavro::HanningPulse>(1e6, 3e-6, 0);
    row.tank.medium._dBcmMHz = number("dBcmMHz");
    row.tank.set_points({{number("x"), number("y"), number("z")}});
    row.tank.set_axis(number("dt"), 0.0, static_cast<int>(row.sample) + 2);
    row.tank.set_order(128);
    return row;
}

std::vector<GoldenRow> golden_rows() {
    std::ifstream file(KAVRO_TEST_DATA "/curved.csv");
    std::vector<std::string> names;
    std::vector<GoldenRow> rows;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#') {
            continue;
        }
        if (names.empty()) {
            std::istringstream rest(line);
            for (std::string name; std::getline(rest, name, ',');) {
                names.push_back(name);
            }
        } else {
            rows.push_back(row_of(names, line));
        }
    }
    return rows;
}

bool is_wave(const GoldenRow& row) {
    return row.operation.ends_with("_cw");
}

double tolerance_of(const GoldenRow& row) {
    if (is_wave(row)) {
        return row.id == next_to_the_rim ? 1e-5 : 1e-10;
    }
    return row.operation.starts_with("impulse") ? 1e-11 : std::max(1e-9, 10.0 * row.reached);
}

std::complex<double> by_library(const GoldenRow& row, const std::string& operation) {
    const Complexes values = waves_in(row.tank, operation.c_str());
    return row.operation == "impulse_begin_and_end_times"
               ? std::complex<double>(values[0].real(), values[1].real())
               : values[is_wave(row) ? 0 : row.sample];
}

std::complex<double> by_oracle(const GoldenRow& row) {
    if (row.operation == "impulse_begin_and_end_times") {
        const Literal literal(row.tank);
        const auto [begin, end] = arrivals_of(literal.scene, literal.scene.elements[0]);
        return {begin, end};
    }
    return expected_of(row.tank, operation_named(row.operation.c_str()))
        .values[is_wave(row) ? 0 : row.sample];
}

double error_of(const GoldenRow& row, std::complex<double> value) {
    return std::abs(value - row.value) / std::abs(row.value);
}

TEST(CurvedGolden, LibraryAndOracleReachTheSurfaceIntegral) {
    const std::vector<GoldenRow> rows = golden_rows();
    ASSERT_EQ(rows.size(), 30u);
    for (const GoldenRow& row : rows) {
        EXPECT_LE(error_of(row, by_oracle(row)), tolerance_of(row)) << "oracle, row " << row.id;
        EXPECT_LE(error_of(row, by_library(row, row.operation)), tolerance_of(row))
            << "row " << row.id;
    }
}

TEST(CurvedGolden, SinglePrecisionAndMidpointReachTheSurfaceIntegral) {
    int compared = 0;
    for (const GoldenRow& row : golden_rows()) {
        SCOPED_TRACE(testing::Message() << "row " << row.id);
        const Source& source = row.tank.sources[0];
        const bool close = row.id == next_to_the_rim;
        if (row.operation == "fnm_tsd") {
            // Of the row's value, which is stricter than of its trace's peak.
            EXPECT_LE(error_of(row, by_library(row, "fnm_tsd_low_precision")),
                      std::max(2e-4, 10.0 * row.reached));
            ++compared;
        } else if (row.operation == "fnm_cw") {
            // The Rayleigh integral, less the factor by which the reference prefactor departs.
            const double k = 2 * 3.14159265358979 * 1e6 / 1500;
            const double alpha = row.tank.medium._dBcmMHz * 100 / 8.685889638065037;
            const std::complex<double> departs(1.0, -alpha / k);
            EXPECT_LE(error_of(row, departs * by_library(row, "rayleigh_cw")),
                      close ? 0.05 : (is_bowl(source) ? 1e-10 : 1e-3));
            if (source.shape == "shel" && !close) {
                EXPECT_LE(error_of(row, by_library(row, "fnm_cw_sse")), 1e-5);
                EXPECT_LE(error_of(row, departs * by_library(row, "rayleigh_cw_sse")), 1e-4);
                ++compared;
            }
            ++compared;
        }
    }
    EXPECT_EQ(compared, 7 + 8 + 12);
}

}  // namespace
}  // namespace kavro_test
