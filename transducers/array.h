// Methods over all elements of an array.
#pragma once

#include <span>

#include "method.h"
#include "output.h"
#include "quadrature_report.h"
#include "transducer.h"

namespace kavro {

// Bit for bit what the method of each element in order gives, much faster: elements that share
// grid and time axis, of any shapes and with any outputs, are solved together, point by point.
// Returns the first status that is not 0; elements after that one are not solved. status_failure
// for a null element or one whose records are not all set. Reports progress to the console port,
// and asks it between tiles of points whether to stop: status_interrupted then, with an incomplete
// output. Methods that do not add (arrival times, nonlinear marches) are carried out for one
// element after the other. The report, if one is wanted, tells of elements with a tolerance; it is
// written, not added to.
TransducerStatus solve(Method method, std::span<Transducer* const> elements,
                       Output output = Output::accumulate, QuadratureReport* report = nullptr);

// The same for the one method by its own name.
TransducerStatus fnm_tsd_sse(std::span<Transducer* const> elements,
                             Output output = Output::accumulate);

// The continuous-wave field at many frequencies (Hz, not negative), by the fast nearfield method:
// adds amplitude e^(j phase) e^(-j omega delay) times the transfer function of each element, whose
// losses and dispersion are the medium's power law about its reference frequency, or _f0. Outputs
// have npoints values for each frequency, entry i + f * npoints. Equally spaced, ascending
// frequencies take a fraction of the time of others. Exact elements with a tolerance keep it at
// each frequency, as in fnm_cw. Elements of every shape that offers fnm_spectral, over one grid;
// status_failure, and nothing is added, where one lacks a record, where frequencies make no sense,
// or where the power law does not hold or has no reference frequency.
TransducerStatus solve_spectrum(std::span<Transducer* const> elements,
                                std::span<const double> frequencies,
                                QuadratureReport* report = nullptr);

// Whether these are ascending and equally spaced, to rounding. One or none is not.
bool are_equally_spaced(std::span<const double> frequencies);

}  // namespace kavro
