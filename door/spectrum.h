// A continuous wave at several frequencies.
#pragma once

#include "door/options.h"
#include "door/request.h"

namespace kavro {

// Reads the option 'f0', a frequency or a list. With a list, what losses by a power law leave open,
// the frequency at which the speed of sound is the medium's, becomes the middle of the band: one
// medium for all of them.
void read_frequencies(SolveRequest& request, const SolveOptions& options);

// Whether the frequencies are solved together, as a comb of exact transfer functions; otherwise one
// after another.
bool is_solved_as_comb(const SolveRequest& request);

// At the call's beginning: a continuous wave reads phases only, unless delays count. A comb has
// them both.
void drop_delays_that_do_not_count(SolveRequest& request);

// The phases of the elements as they were read, and what they are at each frequency.
class PhasesByFrequency {
public:
    explicit PhasesByFrequency(SolveRequest& request);
    void turn_to(double frequency);  // the medium's, too

private:
    SolveRequest& request_;
    std::vector<double> own_;
};

}  // namespace kavro
