#include "transducers/spectral/transfer_function.h"

#include <algorithm>
#include <cstddef>

#include "core/simd/vector_dispatch.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/spectral/transfer_function.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "core/simd/exp-inl.h"
#include "core/simd/sincos-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kavro {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using Tag = hn::CappedTag<double, block_lanes>;
using Vec = hn::Vec<Tag>;

struct ComplexVec {
    Vec re, im;
};

// e^-(a x + b y) for complex a and b.
HWY_INLINE ComplexVec Wave(std::complex<double> a, Vec x, std::complex<double> b, Vec y) {
    const Tag d;
    const auto magnitude = Exp(
        d, hn::Neg(hn::Add(hn::Mul(hn::Set(d, a.real()), x), hn::Mul(hn::Set(d, b.real()), y))));
    Vec s;
    Vec c;
    SinCos(d, hn::Neg(hn::Add(hn::Mul(hn::Set(d, a.imag()), x), hn::Mul(hn::Set(d, b.imag()), y))),
           s, c);
    return {hn::Mul(magnitude, c), hn::Mul(magnitude, s)};
}

HWY_INLINE ComplexVec Product(ComplexVec a, ComplexVec b) {
    return {hn::Sub(hn::Mul(a.re, b.re), hn::Mul(a.im, b.im)),
            hn::Add(hn::Mul(a.re, b.im), hn::Mul(a.im, b.re))};
}

// A vector of points on its way through the frequencies. The state of a sample is its term of the
// sum, that term's ratio from frequency to frequency, and its delay.
class PointSums {
public:
    PointSums(const Comb& comb, CombSamples& samples, const CombPoints& points,
              const CombBins& bins, int lane)
        : comb_(comb),
          bins_(bins),
          lane_(lane),
          count_(samples.count),
          state_(samples.state.data()),
          middle_(hn::Load(Tag(), points.middle.data() + lane)),
          lag_(hn::Load(Tag(), points.lag.data() + lane)),
          wanted_(hn::Load(Tag(), points.wanted.data() + lane)),
          is_bare_(hn::AllTrue(
              Tag(), hn::And(hn::Eq(middle_, hn::Zero(Tag())), hn::Eq(lag_, hn::Zero(Tag()))))) {
        const Tag d;
        const std::complex<double> start = comb.first + comb.mu[0];
        for (int i = 0; i < count_; ++i) {
            const auto at = static_cast<std::size_t>(i * block_lanes + lane);
            const auto delay = hn::Load(d, samples.delay.data() + at);
            const auto g = hn::Load(d, samples.coefficient.data() + at);
            const ComplexVec wave = Wave(start, delay, 0.0, delay);
            double* state = of(i);
            hn::Store(hn::Mul(g, wave.re), d, state);
            hn::Store(hn::Mul(g, wave.im), d, state + N);
            hn::Store(delay, d, state + 4 * N);
        }
    }

    // Through a run, or as far as frequencies are wanted.
    void Go(const Comb::Run& run, int most) {
        const Tag d;
        for (int i = 0; i < count_; ++i) {
            double* state = of(i);
            const auto delay = hn::Load(d, state + 4 * N);
            const ComplexVec ratio = Wave(run.rate, delay, 0.0, delay);
            hn::Store(ratio.re, d, state + 2 * N);
            hn::Store(ratio.im, d, state + 3 * N);
        }
        const int last = std::min(run.last, most);
        int q = run.first;
        if (run.moment) {
            q = GoBy<frequencies_with_moment, true>(q, last);
            GoBy<1, true>(q, last);
        } else {
            q = GoBy<frequencies_at_a_time, false>(q, last);
            GoBy<1, false>(q, last);
        }
    }

private:
    static constexpr std::size_t N = hn::MaxLanes(Tag());
    // As many as registers hold the sums of.
    static constexpr int frequencies_at_a_time = HWY_TARGET <= HWY_AVX3 ? 8 : 4;
    static constexpr int frequencies_with_moment = HWY_TARGET <= HWY_AVX3 ? 4 : 2;

    double* of(int i) { return state_ + static_cast<std::size_t>(i) * 5 * N; }

    template <int count, bool moment>
    HWY_INLINE int GoBy(int q, int last) {
        const Tag d;
        for (; q + count <= last; q += count) {
            ComplexVec sum[count], first[count];
            for (int f = 0; f < count; ++f) {
                sum[f] = first[f] = {hn::Zero(d), hn::Zero(d)};
            }
            double* state = state_;
            for (int i = 0; i < count_; ++i, state += 5 * N) {
                ComplexVec term = {hn::Load(d, state), hn::Load(d, state + N)};
                const ComplexVec ratio = {hn::Load(d, state + 2 * N), hn::Load(d, state + 3 * N)};
                const auto delay = hn::Load(d, state + 4 * N);
                for (int f = 0; f < count; ++f) {
                    sum[f].re = hn::Add(sum[f].re, term.re);
                    sum[f].im = hn::Add(sum[f].im, term.im);
                    if constexpr (moment) {
                        first[f].re = hn::Add(first[f].re, hn::Mul(delay, term.re));
                        first[f].im = hn::Add(first[f].im, hn::Mul(delay, term.im));
                    }
                    term = Product(term, ratio);
                }
                hn::Store(term.re, d, state);
                hn::Store(term.im, d, state + N);
            }
            for (int f = 0; f < count; ++f) {
                if constexpr (moment) {
                    const std::complex<double> rest = comb_.rest[static_cast<std::size_t>(q + f)];
                    const ComplexVec off =
                        Product({hn::Set(d, rest.real()), hn::Set(d, rest.imag())}, first[f]);
                    sum[f] = {hn::Sub(sum[f].re, off.re), hn::Sub(sum[f].im, off.im)};
                }
                Finish(q + f, sum[f]);
            }
        }
        return q;
    }

    HWY_INLINE void Finish(int q, ComplexVec sum) {
        const Tag d;
        const auto k = static_cast<std::size_t>(q);
        const std::complex<double> factor = comb_.factor[k];
        ComplexVec P = is_bare_ ? sum : Product(Wave(comb_.s(q), lag_, comb_.mu[k], middle_), sum);
        P = Product({hn::Set(d, factor.real()), hn::Set(d, factor.imag())}, P);
        const auto is_wanted = hn::Lt(hn::Set(d, static_cast<double>(q)), wanted_);
        int bin = q;
        if (bins_.period > 0) {
            bin = q % bins_.period;
            if (bin > bins_.period / 2) {
                bin = bins_.period - bin;
                P.im = hn::Neg(P.im);
            }
        }
        const auto at = static_cast<std::size_t>(bin * block_lanes + lane_);
        double* re = bins_.re + at;
        double* im = bins_.im + at;
        hn::Store(hn::Add(hn::Load(d, re), hn::IfThenElseZero(is_wanted, P.re)), d, re);
        hn::Store(hn::Add(hn::Load(d, im), hn::IfThenElseZero(is_wanted, P.im)), d, im);
    }

    const Comb& comb_;
    const CombBins& bins_;
    const int lane_;
    const int count_;
    double* const state_;
    const Vec middle_, lag_, wanted_;
    const bool is_bare_;  // no wave but the samples' own
};

void AddSpectrum(const Comb& comb, CombSamples& samples, const CombPoints& points,
                 const CombBins& bins) {
    constexpr int step = static_cast<int>(hn::MaxLanes(Tag()));
    samples.state.resize(
        std::max(samples.state.size(), static_cast<std::size_t>(samples.count) * 5 * step));
    for (int lane = 0; lane < block_lanes; lane += step) {
        const double* const wanted = points.wanted.data() + lane;
        const auto most = static_cast<int>(*std::max_element(wanted, wanted + step));
        if (most == 0) {
            continue;
        }
        PointSums sums(comb, samples, points, bins, lane);
        for (const Comb::Run& run : comb.runs) {
            if (run.first >= most) {
                break;
            }
            sums.Go(run, most);
        }
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kavro {

void gather_samples(const EdgeGenerator<double>& edge, const PointTile& tile, int b,
                    EdgeBlock<double>& block, const Lanes<double>& middle,
                    const Lanes<double>& earliest, Lanes<std::int32_t>& is_wanted,
                    CombSamples& samples) {
    Lanes<std::int32_t> is_reached{};
    samples.count = 0;
    const int passes = edge.passes(block);
    for (int pass = 0; pass < passes; ++pass) {
        edge.sample(block, pass);
        tile.note_quadrature(b, block);
        const auto held = static_cast<std::size_t>(samples.count) * block_lanes;
        const auto n = static_cast<std::size_t>(block.size);
        samples.count += block.size + 1;
        const std::size_t needed = held + (n + 1) * block_lanes;
        samples.coefficient.resize(std::max(samples.coefficient.size(), needed));
        samples.delay.resize(samples.coefficient.size());
        for (std::size_t lane = 0; lane < block_lanes; ++lane) {
            const bool reached = is_wanted[lane] != 0 && block.reached[lane] != 0;
            is_reached[lane] |= reached ? 1 : 0;
            const auto set = [&](std::size_t i, double g, double delay) {
                const std::size_t at = held + i * block_lanes + lane;
                samples.coefficient[at] = reached ? g : 0.0;
                samples.delay[at] = reached ? delay - middle[lane] : 0.0;
            };
            const auto own = static_cast<std::size_t>(block.samples_of(lane));
            for (std::size_t i = 0; i < own; ++i) {
                set(i, block.coefficient[i * block_lanes + lane],
                    block.delay[i * block_lanes + lane]);
            }
            for (std::size_t i = own; i < n; ++i) {
                set(i, 0.0, middle[lane]);
            }
            const bool comes = block.direct_delay[lane] >= earliest[lane];
            set(n, comes ? -block.coefficient_sum[lane] : 0.0,
                comes ? block.direct_delay[lane] : middle[lane]);
        }
    }
    is_wanted = is_reached;
}

void add_spectrum(const Comb& comb, CombSamples& samples, const CombPoints& points,
                  const CombBins& bins) {
    KAVRO_KERNEL(AddSpectrum)(comb, samples, points, bins);
}

}  // namespace kavro
#endif  // HWY_ONCE
