// Echoes of point scatterers, against double surface integrals computed elsewhere, against closed
// forms and against themselves in other orders.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <string>
#include <vector>

#include "golden.h"
#include "stage.h"

namespace kavro_test {
namespace {

using Complex = std::complex<double>;
using kavro::Scatterer;
constexpr double two_pi = 6.283185307179586;

// Elements that own themselves, and the scene that points to them.
struct Probe {
    kavro::Medium medium = Tank().medium;
    std::vector<std::unique_ptr<kavro::Transducer>> owned{};
    std::vector<kavro::Transducer*> elements{};

    void add(const Source& source) {
        owned.push_back(element_of(source));
        elements.push_back(owned.back().get());
        elements.back()->set_medium(&medium);
    }
    kavro::EchoElements all() const { return {elements}; }
};

struct GoldenEcho {
    std::string id;
    Probe senders, receiver;
    std::vector<Scatterer> scatterers;
    Waveform waveform;
    Values at, re, im;
    double allowed;

    explicit GoldenEcho(const std::vector<std::string>& column) : id(column[0]) {
        const Values v = numbers({column[5], column[6], column[7], column[8], column[9]});
        senders.medium._soundspeed = v[0];
        senders.medium._rho_density = v[1];
        senders.medium._dBcmMHz = v[2];
        senders.medium._b = v[3];
        senders.medium._reference_frequency = v[4];
        receiver.medium = senders.medium;
        for (const std::string& element : parts_of(column[2], '|')) {
            senders.add(source_of(element));
        }
        receiver.add(source_of(column[3]));
        receiver.elements[0]->set_medium(&senders.medium);
        for (const std::string& scatterer : parts_of(column[4], '|')) {
            const Values s = numbers(parts_of(scatterer, ' '));
            scatterers.emplace_back(s[0], s[1], s[2], s[3]);
        }
        if (column[1] == "transient") {
            waveform = waveform_of(column[10]);
        }
        at = numbers(parts_of(column[11], ';'));
        re = numbers(parts_of(column[12], ';'));
        im = numbers(parts_of(column[13], ';'));
        allowed = std::fmax(1e-8, 10.0 * std::stod(column[15])) * std::stod(column[14]);
    }
};

TEST(Echo, ReachesTheDoubleSurfaceIntegrals) {
    int transients = 0, spectra = 0;
    for (const std::vector<std::string>& column : golden_table("echo.csv")) {
        const GoldenEcho row(column);
        SCOPED_TRACE("row " + row.id);
        const kavro::EchoScene scene{
            .transmitters = row.senders.all(), .receivers = row.receiver.all(), .tolerance = 1e-9};
        if (row.waveform) {
            kavro::TimeSamples times;
            times.times = row.at;
            times.ntimes = static_cast<int>(row.at.size());
            const Values found = pulse_echo(scene, {times, *row.waveform}, row.scatterers);
            for (std::size_t i = 0; i < found.size(); ++i) {
                EXPECT_NEAR(found[i], row.re[i], row.allowed) << i;
            }
            ++transients;
        } else {
            const std::vector<Complex> found = pulse_echo(scene, row.at, row.scatterers);
            for (std::size_t i = 0; i < found.size(); ++i) {
                EXPECT_LE(std::abs(found[i] - Complex(row.re[i], row.im[i])), row.allowed) << i;
            }
            ++spectra;
        }
    }
    EXPECT_EQ(transients, 17);
    EXPECT_EQ(spectra, 18);
}

}  // namespace
}  // namespace kavro_test
