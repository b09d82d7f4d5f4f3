#include "curved_support.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <fstream>
#include <map>
#include <sstream>

namespace kavro_test {

std::unique_ptr<kavro::Transducer> element_of(const Aperture& aperture) {
    std::unique_ptr<kavro::Transducer> element;
    if (aperture.focus <= 0.0) {
        element = std::make_unique<kavro::RingTransducer>(aperture.inner_radius, aperture.radius);
    } else if (aperture.inner_radius > 0.0) {
        element = std::make_unique<kavro::SphericalRingTransducer>(aperture.inner_radius,
                                                                   aperture.radius, aperture.focus);
    } else {
        element = std::make_unique<kavro::SphericalTransducer>(aperture.radius, aperture.focus);
    }
    element->set_center(aperture.center.x, aperture.center.y, aperture.center.z);
    element->set_euler(aperture.euler.x, aperture.euler.y, aperture.euler.z);
    element->set_amplitude(aperture.amplitude);
    element->set_time_delay(aperture.time_delay);
    element->complex_weight = aperture.weight;
    return element;
}

ApertureStage::ApertureStage(ApertureScene scene, Waveform waveform)
    : scene_(std::move(scene)), waveform_(std::move(waveform)) {
    if (waveform_ != nullptr) {
        wrapped_ = std::make_shared<kavro_oracle::ProductWaveform>(*waveform_);
        for (Aperture& aperture : scene_.apertures) {
            aperture.waveform = wrapped_.get();
        }
    }
}

template <class Read>
void ApertureStage::solve(Operation operation, bool exact, Read read) const {
    Records records(scene_);
    for (const Aperture& aperture : scene_.apertures) {
        const auto element = element_of(aperture);
        records.connect(*element);
        element->excitation = waveform_.get();
        element->set_exact(exact);
        if (waveform_ == nullptr) {
            records.connect_continuous_wave(*element);
        }
        EXPECT_EQ((element.get()->*operation)(), kavro::status_success);
    }
    read(records);
}

Field ApertureStage::transient(Operation operation, bool exact) const {
    Field field;
    solve(operation, exact, [&](const Records& records) { field = records.pressure; });
    return field;
}

ComplexField ApertureStage::wave(Operation operation, bool exact) const {
    ComplexField field(scene_.points.size());
    solve(operation, exact, [&](const Records& records) {
        for (std::size_t i = 0; i < field.size(); ++i) {
            field[i] = {records.pressure_real[i], records.pressure_imag[i]};
        }
    });
    return field;
}

void expect_same_to_the_last_bit(kavro::Transducer& a, kavro::Transducer& b, const Scene& scene,
                                 const std::vector<Operation>& operations) {
    const Waveform waveform = sampled(noise(40, 3), 1e-7, 3.9e-6, 0.0);
    for (const Operation operation : operations) {
        Records of_a(scene), of_b(scene);
        for (const auto& [element, records] : {std::pair(&a, &of_a), std::pair(&b, &of_b)}) {
            element->set_amplitude(1.25);
            records->connect(*element);
            element->pressure_real = records->pressure_real.data();
            element->pressure_imag = records->pressure_imag.data();
            element->excitation = waveform.get();
            EXPECT_EQ((element->*operation)(), kavro::status_success);
        }
        EXPECT_EQ(of_a.pressure, of_b.pressure);
        EXPECT_EQ(of_a.pressure_real, of_b.pressure_real);
        EXPECT_EQ(of_a.pressure_imag, of_b.pressure_imag);
        EXPECT_EQ(a.impulse_begin_time, b.impulse_begin_time);
        EXPECT_EQ(a.impulse_end_time, b.impulse_end_time);
    }
}

Aperture aperture_of(double inner_radius, double radius, double focus) {
    Aperture aperture;
    aperture.inner_radius = inner_radius;
    aperture.radius = radius;
    aperture.focus = focus;
    return aperture;
}

std::vector<Triple> points_around(const Aperture& aperture) {
    const double a = aperture.radius;
    const double d = aperture.focus > 0.0 ? aperture.focus : 3.0 * a;
    const double depth = d - std::sqrt((d - std::min(a, d)) * (d + a));
    const double edge = std::min(a / d, 1.0);  // sine of the cone's angle
    const double up = std::sqrt(1.0 - edge * edge);
    std::vector<Triple> points = {
        {0, 0, 0.3 * d},
        {0, 0, 1.5 * d},
        {0, 0, d},
        {1e-9 * d, 0, d},
        {0, 3e-6 * d, d * (1 + 1e-6)},
        {4e-6 * d, 0, d},
        {0.02 * d, 0, d},
        {0, 0.3 * d, d},
        {0.1 * a, 0.2 * a, 0.6 * d},
        {0.5 * edge * d, 0, d - 0.5 * up * d},
        {0.5 * edge * d * (1 + 1e-6), 0, d - 0.5 * up * d},
        {0, 0.5 * edge * d, d + 0.5 * up * d},
        {1.2 * a, 0, 0.7 * d},
        {0.3 * a, 0.9 * a, 1.4 * d},
        {0.2 * a, 0.1 * a, 0.5 * depth},
        {0, 0, 0},
        {a, 0, depth},
        {1.1 * a, 0, depth},
        {1.2 * a, 0, 0.4 * depth},
        {0.9 * a, 0, 0.1 * depth},
        {0.1 * a, 0, -0.1 * d},
    };
    const std::vector<double> random = noise(60, 7);
    for (std::size_t i = 0; i < random.size(); i += 3) {
        points.push_back(
            {1.5 * a * random[i], 1.5 * a * random[i + 1], 0.9 * d * (1 + random[i + 2])});
    }
    return points;
}

std::vector<ApertureMethod> decomposed_methods(bool behind) {
    using kavro::Transducer;
    using kavro_oracle::Behind;
    using kavro_oracle::Terms;
    std::vector<ApertureMethod> methods = {
        {"fnm_tsd", &Transducer::fnm_tsd,
         [](const ApertureScene& scene, Field& field, WindowLog* log) {
             add_fnm_tsd(scene, Terms::real, Behind::skipped, field, log);
         },
         false},
        {"fnm_tsd_low_precision", &Transducer::fnm_tsd_low_precision,
         [](const ApertureScene& scene, Field& field, WindowLog* log) {
             add_fnm_tsd_low_precision(scene, field, log);
         },
         true},
        {"fnm_fdtsd", &Transducer::fnm_fdtsd,
         [](const ApertureScene& scene, Field& field, WindowLog* log) {
             add_fnm_tsd(scene, Terms::complex, Behind::skipped, field, log);
         },
         false}};
    if (behind) {
        methods.push_back({"fnm_tsd_behind_source", &Transducer::fnm_tsd_behind_source,
                           [](const ApertureScene& scene, Field& field, WindowLog* log) {
                               add_fnm_tsd(scene, Terms::real, Behind::computed, field, log);
                           },
                           false});
    }
    return methods;
}

std::vector<ApertureWave> wave_methods(bool of_shell) {
    using kavro::Transducer;
    std::vector<ApertureWave> methods = {
        {"fnm_cw", &Transducer::fnm_cw, kavro_oracle::add_fnm_cw, false},
        {"rayleigh_cw", &Transducer::rayleigh_cw, kavro_oracle::add_rayleigh_cw, false}};
    if (of_shell) {
        methods.push_back(
            {"fnm_cw_sse", &Transducer::fnm_cw_sse, kavro_oracle::add_fnm_cw_sse, true});
        methods.push_back({"rayleigh_cw_sse", &Transducer::rayleigh_cw_sse,
                           kavro_oracle::add_rayleigh_cw_sse, true});
    }
    return methods;
}

void expect_decomposed_like_oracle(const ApertureStage& stage, const ApertureMethod& method,
                                   double tolerance) {
    SCOPED_TRACE(method.name);
    Field field = silence(stage.scene());
    WindowLog log;
    method.oracle(stage.scene(), field, &log);
    const Yardstick yardstick = yardstick_of(std::move(field), log, stage.scene().points.size());
    EXPECT_TRUE(agrees(stage.transient(method.operation), yardstick, tolerance, true));
}

void expect_wave_like_oracle(const ApertureStage& stage, const ApertureWave& wave,
                             double tolerance) {
    SCOPED_TRACE(wave.name);
    ComplexField expected = stillness(stage.scene());
    wave.oracle(stage.scene(), expected);
    const ComplexField field = stage.wave(wave.operation);
    const double rho_c = stage.scene().density * stage.scene().speed;
    for (std::size_t i = 0; i < field.size(); ++i) {
        EXPECT_LE(std::abs(field[i] - expected[i]), tolerance * (std::abs(expected[i]) + rho_c))
            << "point " << i << ": " << field[i] << " instead of " << expected[i];
    }
}

double largest_of(const Field& field) {
    double largest = 0.0;
    for (const double value : field) {
        largest = std::fmax(largest, std::fabs(value));
    }
    return largest;
}

double largest_of(const ComplexField& field) {
    double largest = 0.0;
    for (const auto& value : field) {
        largest = std::fmax(largest, std::abs(value));
    }
    return largest;
}

double largest_difference_of(const Field& a, const Field& b) {
    double largest = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const double difference = std::fabs(a[i] - b[i]);
        largest = difference <= largest ? largest : difference;  // NaN stays
    }
    return largest;
}

double largest_difference_of(const ComplexField& a, const ComplexField& b) {
    double largest = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const double difference = std::abs(a[i] - b[i]);
        largest = difference <= largest ? largest : difference;
    }
    return largest;
}

namespace {

std::vector<std::string> columns_of(const std::string& line) {
    std::vector<std::string> columns;
    std::istringstream rest(line);
    for (std::string column; std::getline(rest, column, ',');) {
        columns.push_back(column);
    }
    return columns;
}

GoldenRow row_of(const std::vector<std::string>& names, const std::vector<std::string>& columns) {
    std::map<std::string, std::string> text;
    for (std::size_t i = 0; i < names.size(); ++i) {
        text[names[i]] = i < columns.size() ? columns[i] : "";
    }
    const auto number = [&](const char* name) {
        return text[name].empty() ? 0.0 : std::stod(text[name]);
    };
    static const kavro::HanningPulse pulse(1e6, 3e-6, 0);
    static const kavro_oracle::ProductWaveform waveform(pulse);
    GoldenRow row;
    row.id = static_cast<int>(number("id"));
    row.operation = text["operation"];
    row.sample = static_cast<int>(number("j"));
    row.value = {number("value_re"), number("value_im")};
    row.reached = number("proto128");
    Aperture aperture;
    aperture.radius = number("outer");
    aperture.inner_radius = number("inner");
    aperture.focus = number("roc");
    aperture.time_delay = number("delay");
    aperture.waveform = &waveform;
    row.scene.apertures = {aperture};
    row.scene.points = {{number("x"), number("y"), number("z")}};
    row.scene.attenuation = number("dBcmMHz");
    row.scene.ndiv = 128;
    set_axis(row.scene, number("dt"), 0.0, row.sample + 2);
    return row;
}

}  // namespace

std::vector<GoldenRow> golden_rows() {
    std::ifstream file(KAVRO_TEST_DATA "/curved.csv");
    std::vector<std::string> names;
    std::vector<GoldenRow> rows;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#') {
            continue;
        }
        if (names.empty()) {
            names = columns_of(line);
        } else {
            rows.push_back(row_of(names, columns_of(line)));
        }
    }
    return rows;
}

}  // namespace kavro_test
