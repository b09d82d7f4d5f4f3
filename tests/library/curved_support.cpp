#include "curved_support.h"

#include <cstddef>
#include <fstream>
#include <map>
#include <sstream>

namespace kavro_test {
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
