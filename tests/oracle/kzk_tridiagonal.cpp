#include <cstddef>

#include "oracle/kzk.h"

namespace kavro_oracle {

template <class Real>
void tridiagonal(float first, float last, const Real* a, const Real* b, const Real* c,
                 const Real* r, Real* x, Real* bet, Real* gam) {
    const int begin = static_cast<int>(first);
    const int end = static_cast<int>(last);
    bet[begin] = b[begin];
    gam[begin] = r[begin] / bet[begin];
    for (int j = begin + 1; j <= end; ++j) {
        const Real w = a[j] * c[j - 1] / bet[j - 1];
        bet[j] = b[j] - w;
        gam[j] = (r[j] - a[j] * gam[j - 1]) / bet[j];
    }
    x[end] = gam[end];
    for (int j = end - 1; j >= begin; --j) {
        x[j] = gam[j] - c[j] * x[j + 1] / bet[j];
    }
}

template void tridiagonal<float>(float, float, const float*, const float*, const float*,
                                 const float*, float*, float*, float*);
template void tridiagonal<double>(float, float, const double*, const double*, const double*,
                                  const double*, double*, double*, double*);

namespace {

struct Block {
    double m[4];
};

Block block_at(const double* from) {
    return {{from[0], from[1], from[2], from[3]}};
}

Block product(const Block& p, const Block& q) {
    return {{p.m[0] * q.m[0] + p.m[1] * q.m[2], p.m[0] * q.m[1] + p.m[1] * q.m[3],
             p.m[2] * q.m[0] + p.m[3] * q.m[2], p.m[2] * q.m[1] + p.m[3] * q.m[3]}};
}

Block difference(const Block& p, const Block& q) {
    return {{p.m[0] - q.m[0], p.m[1] - q.m[1], p.m[2] - q.m[2], p.m[3] - q.m[3]}};
}

Block inverse(const Block& p) {
    const double over = 1.0 / (p.m[0] * p.m[3] - p.m[1] * p.m[2]);
    return {{p.m[3] * over, -p.m[1] * over, -p.m[2] * over, p.m[0] * over}};
}

void apply(const Block& p, double re, double im, double* out) {
    out[0] = p.m[0] * re + p.m[1] * im;
    out[1] = p.m[2] * re + p.m[3] * im;
}

}  // namespace

// bet holds 12 doubles per row of which the first four are used: the inverse of the eliminated
// diagonal block times the upper block; gam likewise, two: the eliminated right-hand side.
void block_tridiagonal(const double* matrix, int last, double* r, double* bet, double* gam) {
    for (int j = 0; j <= last; ++j) {
        const double* row = matrix + std::ptrdiff_t{12} * j;
        Block diagonal = block_at(row + 4);
        double re = r[2 * j];
        double im = r[2 * j + 1];
        if (j > 0) {
            const double* above = gam + std::ptrdiff_t{12} * (j - 1);
            diagonal = difference(
                diagonal, product(block_at(row), block_at(bet + std::ptrdiff_t{12} * (j - 1))));
            double carried[2];
            apply(block_at(row), above[0], above[1], carried);
            re -= carried[0];
            im -= carried[1];
        }
        const Block inverted = inverse(diagonal);
        const Block upper = product(inverted, block_at(row + 8));
        for (int i = 0; i < 4; ++i) {
            bet[std::ptrdiff_t{12} * j + i] = upper.m[i];
        }
        apply(inverted, re, im, gam + std::ptrdiff_t{12} * j);
    }
    for (int j = last; j >= 0; --j) {
        const double* own = gam + std::ptrdiff_t{12} * j;
        double carried[2] = {0.0, 0.0};
        if (j < last) {
            apply(block_at(bet + std::ptrdiff_t{12} * j), r[2 * j + 2], r[2 * j + 3], carried);
        }
        r[2 * j] = own[0] - carried[0];
        r[2 * j + 1] = own[1] - carried[1];
    }
}

}  // namespace kavro_oracle
