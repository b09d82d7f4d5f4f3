// Rings, bowls and annuli of bowls against values of the Rayleigh surface integral.
#include <algorithm>
#include <cmath>
#include <complex>
#include <map>

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

Operation operation_named(const std::string& name) {
    using kavro::Transducer;
    static const std::map<std::string, Operation> operations = {
        {"fnm_cw", &Transducer::fnm_cw},
        {"rayleigh_cw", &Transducer::rayleigh_cw},
        {"impulse_response", &Transducer::impulse_response},
        {"fnm_transient", &Transducer::fnm_transient},
        {"fnm_transient_behind_source", &Transducer::fnm_transient_behind_source},
        {"fnm_tsd", &Transducer::fnm_tsd},
        {"fnm_tsd_behind_source", &Transducer::fnm_tsd_behind_source}};
    return operations.at(name);
}

std::complex<double> by_library(const GoldenRow& row, Operation operation) {
    if (ends_with(row.operation, "_cw")) {
        return ApertureStage(row.scene).wave(operation)[0];
    }
    const ApertureStage stage(row.scene, std::make_shared<kavro::HanningPulse>(1e6, 3e-6, 0));
    return stage.transient(operation)[static_cast<std::size_t>(row.sample)];
}

std::complex<double> by_library(const GoldenRow& row) {
    if (row.operation == "impulse_begin_and_end_times") {
        Records records(row.scene);
        const auto element = element_of(row.scene.apertures[0]);
        records.connect(*element);
        EXPECT_EQ(element->impulse_begin_and_end_times(), kavro::status_success);
        return {element->get_impulse_begin_time(), element->get_impulse_end_time()};
    }
    return by_library(row, operation_named(row.operation));
}

double error_of(const GoldenRow& row, std::complex<double> value) {
    return std::abs(value - row.value) / std::abs(row.value);
}

TEST(CurvedGolden, LibraryAndOracleReachTheSurfaceIntegral) {
    const std::vector<GoldenRow> rows = golden_rows();
    ASSERT_EQ(rows.size(), 30u);
    for (const GoldenRow& row : rows) {
        EXPECT_LE(error_of(row, by_oracle(row)), tolerance_of(row)) << "oracle, row " << row.id;
        EXPECT_LE(error_of(row, by_library(row)), tolerance_of(row)) << "row " << row.id;
    }
}

TEST(CurvedGolden, SinglePrecisionAndMidpointReachTheSurfaceIntegral) {
    int compared = 0;
    for (const GoldenRow& row : golden_rows()) {
        const Aperture& aperture = row.scene.apertures[0];
        const bool shell = aperture.focus > 0.0 && aperture.inner_radius == 0.0;
        constexpr int next_to_the_rim = 11;
        if (row.operation == "fnm_cw" && shell && row.id != next_to_the_rim) {
            EXPECT_LE(error_of(row, by_library(row, &kavro::Transducer::fnm_cw_sse)), 1e-5)
                << "row " << row.id;
            ++compared;
        }
        if (row.operation == "fnm_tsd") {
            // Of the row's value, which is stricter than of its trace's peak.
            EXPECT_LE(error_of(row, by_library(row, &kavro::Transducer::fnm_tsd_low_precision)),
                      std::max(2e-4, 10.0 * row.reached))
                << "row " << row.id;
            ++compared;
        }
        if (row.operation == "fnm_cw") {
            // The Rayleigh integral, less the factor by which the reference prefactor departs.
            const double k = 2 * 3.14159265358979 * row.scene.f0 / row.scene.speed;
            const double alpha = row.scene.attenuation * 100 / 8.685889638065037;
            const std::complex<double> departs(1.0, -alpha / k);
            const bool is_close = row.id == next_to_the_rim;
            EXPECT_LE(error_of(row, departs * by_library(row, &kavro::Transducer::rayleigh_cw)),
                      is_close ? 0.05 : (aperture.focus > 0.0 ? 1e-10 : 1e-3))
                << "row " << row.id;
            if (shell && !is_close) {
                EXPECT_LE(
                    error_of(row, departs * by_library(row, &kavro::Transducer::rayleigh_cw_sse)),
                    1e-4)
                    << "row " << row.id;
            }
            ++compared;
        }
    }
    EXPECT_EQ(compared, 7 + 8 + 12);
}

}  // namespace
}  // namespace kavro_test
