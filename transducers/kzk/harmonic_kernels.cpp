#include "transducers/kzk/harmonic_kernels.h"

#include <algorithm>
#include <cstdint>

#include "core/simd/vector_dispatch.h"
#include "core/zeros.h"
#include "transducers/kzk/pieces.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transducers/kzk/harmonic_kernels.cpp"
#include "hwy/foreach_target.h"
#include "hwy/highway.h"

#include "core/simd/complex-inl.h"

HWY_BEFORE_NAMESPACE();
namespace kavro::kzk {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using Doubles = hn::CappedTag<double, harmonic_lanes>;
using V = hn::Vec<Doubles>;
inline constexpr size_t kStep = hn::MaxLanes(Doubles());

// ---- coupling

// The nonlinear source of neighbouring vectors of harmonics at one radius.
template <size_t kVectors>
class Coupling {
public:
    // re, im: the row's harmonics, with as many zeros on both sides. begin: the first harmonic,
    // counted from 0.
    HWY_INLINE Coupling(const double* re, const double* im, size_t harmonics, size_t begin)
        : re_(re), im_(im), harmonics_(harmonics), begin_(begin) {
        for (size_t v = 0; v < kVectors; ++v) {
            sum_re_[v] = sum_im_[v] = hn::Zero(Doubles());
        }
    }

    HWY_INLINE void Store(const double* factor, double* to_re, double* to_im) {
        const Doubles d;
        AddSums<0>(1);
        for (size_t v = 0; v < kVectors; ++v) {
            sum_im_[v] = hn::Mul(sum_im_[v], hn::Set(d, 0.5));
        }
        AddDifferences<kVectors>(1);
        for (size_t v = 0; v < kVectors; ++v) {
            const size_t at = begin_ + v * kStep;
            const V f = hn::Load(d, factor + at);
            hn::Store(hn::Mul(sum_re_[v], f), d, to_re + at);
            hn::Store(hn::Mul(sum_im_[v], f), d, to_im + at);
        }
    }

private:
    // Harmonics k and n - k, k from `k` on. Vectors before kFirst hold no harmonic above k.
    template <size_t kFirst>
    HWY_INLINE void AddSums(size_t k) {
        if constexpr (kFirst < kVectors) {
            const Doubles d;
            const size_t end = std::min(begin_ + (kFirst + 1) * kStep, harmonics_);
            for (; k < end; ++k) {
                const V re = hn::Set(d, re_[k - 1]);
                const V im = hn::Set(d, im_[k - 1]);
                for (size_t v = kFirst; v < kVectors; ++v) {
                    const size_t at = begin_ + v * kStep;
                    const V other_re = hn::LoadU(d, re_ + at - k);
                    const V other_im = hn::LoadU(d, im_ + at - k);
                    sum_re_[v] = hn::Add(sum_re_[v], hn::Mul(im, other_re));
                    sum_im_[v] =
                        hn::Add(sum_im_[v], hn::Sub(hn::Mul(im, other_im), hn::Mul(re, other_re)));
                }
            }
            AddSums<kFirst + 1>(k);
        }
    }

    // Harmonics n + k and k, k from `k` on. Vectors from kCount on hold no n with n + k <= N.
    template <size_t kCount>
    HWY_INLINE void AddDifferences(size_t k) {
        if constexpr (kCount > 0) {
            const Doubles d;
            for (; k + begin_ + (kCount - 1) * kStep < harmonics_; ++k) {
                const V re = hn::Set(d, re_[k - 1]);
                const V im = hn::Set(d, im_[k - 1]);
                for (size_t v = 0; v < kCount; ++v) {
                    const size_t at = begin_ + v * kStep;
                    const V other_re = hn::LoadU(d, re_ + at + k);
                    const V other_im = hn::LoadU(d, im_ + at + k);
                    sum_re_[v] =
                        hn::Add(sum_re_[v], hn::Sub(hn::Mul(re, other_im), hn::Mul(im, other_re)));
                    sum_im_[v] =
                        hn::Sub(sum_im_[v], hn::Add(hn::Mul(re, other_re), hn::Mul(im, other_im)));
                }
            }
            AddDifferences<kCount - 1>(k);
        }
    }

    const double* re_;
    const double* im_;
    size_t harmonics_;
    size_t begin_;
    V sum_re_[kVectors];
    V sum_im_[kVectors];
};

void CoupleRows(const HarmonicRows& field, const double* factor, size_t harmonics, size_t stride,
                size_t first, size_t past, HarmonicRows& source, AlignedVector<double>& scratch,
                const Spend& spend) {
    assign_zeros(scratch, 6 * stride, spend);
    double* re = scratch.data() + stride;
    double* im = scratch.data() + 4 * stride;
    for (size_t j = first; j < past; ++j) {
        std::copy_n(field.re.data() + j * stride, stride, re);
        std::copy_n(field.im.data() + j * stride, stride, im);
        double* to_re = source.re.data() + j * stride;
        double* to_im = source.im.data() + j * stride;
        size_t begin = 0;
        for (; begin + 4 * kStep <= stride; begin += 4 * kStep) {
            spend(static_cast<std::int64_t>(4 * kStep * stride));
            Coupling<4>(re, im, harmonics, begin).Store(factor, to_re, to_im);
        }
        for (; begin < stride; begin += kStep) {
            spend(static_cast<std::int64_t>(kStep * stride));
            Coupling<1>(re, im, harmonics, begin).Store(factor, to_re, to_im);
        }
    }
}

// ---- elimination

using Complex = kavro::HWY_NAMESPACE::ComplexVec<V>;

template <size_t kVectors>
class Elimination {
public:
    Elimination(HarmonicRows& field, const HarmonicRows& source, const HarmonicStep& step,
                const HarmonicRadius& radius, size_t stride, size_t lane, double* scratch,
                const Spend& spend)
        : re_(field.re.data() + lane),
          im_(field.im.data() + lane),
          source_re_(source.re.data() + lane),
          source_im_(source.im.data() + lane),
          below_(radius.below.data()),
          above_(radius.above.data()),
          rows_(radius.below.size()),
          stride_(stride),
          implicit_(step.implicit),
          scratch_(scratch),
          spend_(spend) {
        const Doubles d;
        length_ = hn::Set(d, step.length);
        for (size_t v = 0; v < kVectors; ++v) {
            const size_t at = lane + v * kStep;
            diagonal_[v] = hn::Load(d, step.diagonal.data() + at);
            kept_[v] = hn::Load(d, step.kept.data() + at);
            twist_[v] = hn::Load(d, step.twist.data() + at);
        }
    }

    void Solve() {
        const Doubles d;
        Complex former[kVectors];  // old values of the row before
        Complex ratio[kVectors];   // upper block over eliminated diagonal
        Complex g[kVectors];
        for (size_t v = 0; v < kVectors; ++v) {
            former[v] = ratio[v] = g[v] = {hn::Zero(d), hn::Zero(d)};
        }
        for (size_t j = 0; j < rows_; ++j) {
            if (j % kPiece == 0) {
                SpendPiece();
            }
            Eliminate(j, former, ratio, g);
        }
        for (size_t j = rows_ - 1; j-- > 0;) {
            if (j % kPiece == 0) {
                SpendPiece();
            }
            for (size_t v = 0; v < kVectors; ++v) {
                const size_t at = j * stride_ + v * kStep;
                const double* kept = scratch_ + (j * kVectors + v) * 2 * kStep;
                const V p = hn::Load(d, kept);
                const V q = hn::Load(d, kept + kStep);
                const V re = hn::Add(hn::Mul(p, g[v].re), hn::Mul(q, g[v].im));
                const V im = hn::Sub(hn::Mul(p, g[v].im), hn::Mul(q, g[v].re));
                g[v] = {hn::Sub(hn::Load(d, re_ + at), re), hn::Sub(hn::Load(d, im_ + at), im)};
                hn::Store(g[v].re, d, re_ + at);
                hn::Store(g[v].im, d, im_ + at);
            }
        }
    }

private:
    static constexpr size_t kPiece = rows_at_a_time;

    HWY_INLINE void SpendPiece() const {
        spend_(static_cast<std::int64_t>(std::min(kPiece, rows_) * kVectors * kStep));
    }

    HWY_INLINE void Eliminate(size_t j, Complex* former, Complex* ratio, Complex* g) {
        const Doubles d;
        const V half = hn::Set(d, 0.5);
        const V one = hn::Set(d, 1.0);
        const bool last = j + 1 == rows_;
        for (size_t v = 0; v < kVectors; ++v) {
            const size_t at = j * stride_ + v * kStep;
            const V t = j == 0 ? hn::Add(twist_[v], twist_[v]) : twist_[v];
            const V l =
                j == 0 ? hn::Zero(d) : hn::Mul(hn::Mul(hn::Set(d, below_[j]), twist_[v]), half);
            const V u = j == 0 ? t
                        : last ? hn::Zero(d)
                               : hn::Mul(hn::Mul(hn::Set(d, above_[j]), twist_[v]), half);
            const Complex r = RightHandSide(j, v, former[v]);
            // Eliminated diagonal, its inverse, and the row over it.
            const V x = hn::Sub(diagonal_[v], hn::Mul(l, ratio[v].im));
            const V y = hn::Add(t, hn::Mul(l, ratio[v].re));
            const V over = hn::Div(one, hn::Add(hn::Mul(x, x), hn::Mul(y, y)));
            const V xo = hn::Mul(x, over);
            const V yo = hn::Mul(y, over);
            const V re = hn::Add(r.re, hn::Mul(l, g[v].im));
            const V im = hn::Sub(r.im, hn::Mul(l, g[v].re));
            g[v] = {hn::Sub(hn::Mul(xo, re), hn::Mul(yo, im)),
                    hn::Add(hn::Mul(yo, re), hn::Mul(xo, im))};
            ratio[v] = {hn::Neg(hn::Mul(yo, u)), hn::Neg(hn::Mul(xo, u))};
            double* keep = scratch_ + (j * kVectors + v) * 2 * kStep;
            hn::Store(ratio[v].re, d, keep);
            hn::Store(ratio[v].im, d, keep + kStep);
            hn::Store(g[v].re, d, re_ + at);
            hn::Store(g[v].im, d, im_ + at);
        }
    }

    // Reads the old values of rows j and j + 1 and leaves those of row j in `former`.
    HWY_INLINE Complex RightHandSide(size_t j, size_t v, Complex& former) {
        const Doubles d;
        const size_t at = j * stride_ + v * kStep;
        const Complex p{hn::Load(d, re_ + at), hn::Load(d, im_ + at)};
        const V q_re = hn::Mul(hn::Load(d, source_re_ + at), length_);
        const V q_im = hn::Mul(hn::Load(d, source_im_ + at), length_);
        if (implicit_) {
            return {hn::Add(p.re, q_re), hn::Add(p.im, q_im)};
        }
        Complex next{hn::Zero(d), hn::Zero(d)};  // beyond the outer edge
        if (j + 1 < rows_) {
            next = {hn::Load(d, re_ + at + stride_), hn::Load(d, im_ + at + stride_)};
        }
        V weight;
        Complex bend;
        if (j == 0) {
            weight = hn::Add(twist_[v], twist_[v]);
            bend = {hn::Sub(next.re, p.re), hn::Sub(next.im, p.im)};
        } else {
            weight = hn::Mul(twist_[v], hn::Set(d, 0.5));
            const V below = hn::Set(d, below_[j]);
            const V above = hn::Set(d, above_[j]);
            bend = {hn::Sub(hn::Add(hn::Mul(below, former.re), hn::Mul(above, next.re)),
                            hn::Add(p.re, p.re)),
                    hn::Sub(hn::Add(hn::Mul(below, former.im), hn::Mul(above, next.im)),
                            hn::Add(p.im, p.im))};
        }
        former = p;
        const V re = hn::Add(q_re, hn::Mul(kept_[v], p.re));
        const V im = hn::Add(q_im, hn::Mul(kept_[v], p.im));
        return {hn::Add(re, hn::Mul(weight, bend.im)), hn::Sub(im, hn::Mul(weight, bend.re))};
    }

    double* re_;
    double* im_;
    const double* source_re_;
    const double* source_im_;
    const double* below_;
    const double* above_;
    size_t rows_;
    size_t stride_;
    bool implicit_;
    double* scratch_;
    const Spend& spend_;
    V length_;
    V diagonal_[kVectors];
    V kept_[kVectors];
    V twist_[kVectors];
};

void AdvanceHarmonics(HarmonicRows& field, const HarmonicRows& source, const HarmonicStep& step,
                      const HarmonicRadius& radius, size_t stride, size_t first, size_t count,
                      AlignedVector<double>& scratch, const Spend& spend) {
    if (scratch.size() < 4 * harmonic_lanes * radius.below.size()) {
        assign_zeros(scratch, 4 * harmonic_lanes * radius.below.size(), spend);
    }
    size_t lane = first;
    for (; lane + 2 * kStep <= first + count; lane += 2 * kStep) {
        Elimination<2>(field, source, step, radius, stride, lane, scratch.data(), spend).Solve();
    }
    for (; lane < first + count; lane += kStep) {
        Elimination<1>(field, source, step, radius, stride, lane, scratch.data(), spend).Solve();
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace kavro::kzk
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace kavro::kzk {

void couple_harmonics(const HarmonicRows& field, const HarmonicStep& step, std::size_t harmonics,
                      std::size_t stride, std::size_t first, std::size_t past, HarmonicRows& source,
                      AlignedVector<double>& scratch, const Spend& spend) {
    KAVRO_KERNEL(CoupleRows)
    (field, step.coupling.data(), harmonics, stride, first, past, source, scratch, spend);
}

void advance_harmonics(HarmonicRows& field, const HarmonicRows& source, const HarmonicStep& step,
                       const HarmonicRadius& radius, std::size_t stride, std::size_t first,
                       std::size_t count, AlignedVector<double>& scratch, const Spend& spend) {
    KAVRO_KERNEL(AdvanceHarmonics)
    (field, source, step, radius, stride, first, count, scratch, spend);
}

}  // namespace kavro::kzk
#endif  // HWY_ONCE
