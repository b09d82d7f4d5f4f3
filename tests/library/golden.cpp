#include "golden.h"

#include <fstream>
#include <sstream>

namespace kavro_test {

std::vector<std::string> parts_of(const std::string& text, char mark) {
    std::vector<std::string> parts;
    std::istringstream rest(text);
    for (std::string part; std::getline(rest, part, mark);) {
        parts.push_back(part);
    }
    return parts;
}

Values numbers(const std::vector<std::string>& words, std::size_t first) {
    Values values;
    for (std::size_t i = first; i < words.size(); ++i) {
        values.push_back(std::stod(words[i]));
    }
    return values;
}

Source source_of(const std::string& text) {
    const std::vector<std::string> words = parts_of(text, ' ');
    Values v = numbers(words, 1);
    const double* placed = v.data() + v.size() - 8;
    Source source{.shape = words[0] == "disc"        ? "circ"
                           : words[0] == "rectangle" ? "rect"
                           : words[0] == "shell"     ? "shel"
                           : words[0] == "shellring" ? "sph ring"
                                                     : "ring"};
    source.center = {placed[0], placed[1], placed[2]};
    source.euler = {placed[3], placed[4], placed[5]};
    source.amplitude = placed[6];
    source.time_delay = placed[7];
    source.exact = true;
    v.resize(v.size() - 8);
    source.sizes = v;
    return source;
}

Waveform waveform_of(const std::string& text) {
    const std::vector<std::string> words = parts_of(text, ' ');
    const Values v = numbers(words, 1);
    Waveform waveform;
    if (words[0] == "hanning") {
        waveform = std::make_shared<kavro::HanningPulse>(v[0], v[1], 0.0);
    } else if (words[0] == "burst") {
        waveform = std::make_shared<kavro::ToneBurst>(v[0], v[1], 0.0);
    } else {
        waveform = std::make_shared<kavro::TCubedPulse>(v[0], v[1], v[2]);
    }
    waveform->set_exact(true);
    return waveform;
}

std::vector<std::vector<std::string>> golden_table(const std::string& name) {
    std::ifstream file(KAVRO_TEST_DATA "/" + name);
    std::vector<std::vector<std::string>> rows;
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line[0] != '#' && line[0] != 'i') {
            rows.push_back(parts_of(line, ','));
        }
    }
    return rows;
}

}  // namespace kavro_test
