// Elements on their way to be solved together.
#pragma once

#include <complex>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "transducers/blocks/share.h"
#include "transducers/decomposition/decomposition.h"
#include "transducers/shape.h"
#include "transducers/spectral/lossy_transient.h"
#include "transducers/spectral/spectrum.h"
#include "transducers/velocity.h"

namespace kavro {

struct PreparedShare {
    const Transducer* element;
    std::unique_ptr<Share> share;
};

using Shares = std::vector<PreparedShare>;

// Where the field goes to: into the elements' outputs, or nowhere, because of it only measures are
// wanted.
enum class Destination { outputs, measures };

// Asks each element's shape for what a method needs, and makes the element's share of it.
class Preparation {
public:
    explicit Preparation(Method method, Destination destination = Destination::outputs)
        : method_(method), destination_(destination) {}

    // Of continuous waves with their velocity.
    explicit Preparation(const VelocityOutput& velocity)
        : method_(Method::fnm_cw), destination_(Destination::outputs), velocity_(velocity) {}

    // Appends the element's shares: none for a silent one. Returns what the method answers for it:
    // status_failure for null or where a record is missing, status_not_implemented where its shape
    // does not offer the method. Throws std::bad_alloc and Interrupted. In reference mode, the
    // shared rule is left as the method promises.
    TransducerStatus add(Transducer* element);

    // The same for its spectrum at a band of frequencies, of which one element asks for no other
    // records than another; and whether it can be added.
    TransducerStatus add_spectrum(Transducer& element, const Band& band);
    TransducerStatus can_add_spectrum(const Transducer* element,
                                      std::span<const double> frequencies) const;

    const Shares& shares() const { return shares_; }

    // Memory that all shares take.
    std::size_t bytes() const {
        return bytes_ + factors_.bytes() + single_factors_.bytes() + exact_single_factors_.bytes();
    }

private:
    bool keeps_tolerance(const Transducer& element) const;
    bool has_records(const Transducer& element) const;
    bool passes_over(const Transducer& element, const Departures& departures) const;
    WaveParameters wave_of_method(const Transducer& element, const Departures& departures) const;
    void add_continuous_wave(Transducer& element, const Departures& departures,
                             const WaveParameters& wave);
    void add_single_wave(Transducer& element, const Departures& departures,
                         const WaveParameters& wave);
    void add_rayleigh(Transducer& element, const Departures& departures, WaveParameters wave);
    void add_transient(Transducer& element, const Departures& departures);
    void add_decomposition(Transducer& element, const Departures& departures);
    void add_direct_transient(Transducer& element, Method method, const Departures& departures);
    bool has_pulse(const Transducer& element) const;
    double tolerance_of_frequencies(const Transducer& element) const;
    bool goes_by_frequencies(const Transducer& element);
    void add_lossy_transient(Transducer& element);
    void add_rayleigh_transient(Transducer& element, const Departures& departures);
    void add_impulse_response(const Transducer& element);
    void find_demand(const Transducer& element, const WaveParameters& wave);
    Wanted wanted(Transducer& element, Method method);
    void append(const Transducer& element, std::unique_ptr<Share> share);

    Method method_;
    Destination destination_;
    std::optional<VelocityOutput> velocity_;
    Shares shares_;
    std::size_t bytes_ = 0;
    SharedFactors<float> single_factors_;
    SharedFactors<float, double> exact_single_factors_;
    SharedFactors<double> factors_;
    SharedPulses pulses_;
    // Of the element at hand.
    QuadratureRule rule_;
    std::optional<QuadratureDemand> demand_;
    // Of the last waveform that was asked about.
    struct {
        const ExcitationFunction* waveform = nullptr;
        const Medium* medium = nullptr;
        QuadratureDemand demand{};
    } known_;
};

}  // namespace kavro
