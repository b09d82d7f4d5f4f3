#include "transducers/kzk/tridiagonal.h"

#include <algorithm>
#include <cstddef>

namespace kavro::kzk {
namespace {

constexpr std::size_t row_size = 12;  // three blocks of four

// out = p q
void multiply(const double* p, const double* q, double* out) {
    out[0] = p[0] * q[0] + p[1] * q[2];
    out[1] = p[0] * q[1] + p[1] * q[3];
    out[2] = p[2] * q[0] + p[3] * q[2];
    out[3] = p[2] * q[1] + p[3] * q[3];
}

void invert(double* p) {
    const double reciprocal = 1.0 / (p[0] * p[3] - p[1] * p[2]);
    const double first = p[0];
    p[0] = p[3] * reciprocal;
    p[1] = -p[1] * reciprocal;
    p[2] = -p[2] * reciprocal;
    p[3] = first * reciprocal;
}

}  // namespace

void solve_tridiagonal(float first, float last, const float* a, const float* b, const float* c,
                       const float* r, float* x, float* bet, float* gam) {
    const int begin = static_cast<int>(first);
    int end = begin;
    if (!(static_cast<float>(begin) <= last)) {
        return;
    }
    bet[begin] = b[begin];
    gam[begin] = r[begin] / bet[begin];
    for (int j = begin + 1; static_cast<float>(j) <= last; ++j) {
        const float w = a[j] * c[j - 1] / bet[j - 1];
        bet[j] = b[j] - w;
        gam[j] = (r[j] - a[j] * gam[j - 1]) / bet[j];
        end = j;
    }
    x[end] = gam[end];
    for (int j = end - 1; j >= begin; --j) {
        x[j] = gam[j] - c[j] * x[j + 1] / bet[j];
    }
}

void solve_block_tridiagonal(const double* matrix, int last, double* r, double* solution,
                             double* bet, double* gam) {
    for (std::size_t j = 0; last >= 0 && j <= static_cast<std::size_t>(last); ++j) {
        const double* lower = matrix + j * row_size;
        const double* diagonal = lower + 4;
        double* inverse = bet + j * row_size;
        double re = r[2 * j];
        double im = r[2 * j + 1];
        std::copy_n(diagonal, 4, inverse);
        if (j > 0) {
            const double* eliminated = solution + 2 * (j - 1);
            double carried[4];
            multiply(lower, gam + (j - 1) * row_size, carried);
            for (int i = 0; i < 4; ++i) {
                inverse[i] -= carried[i];
            }
            re -= lower[0] * eliminated[0] + lower[1] * eliminated[1];
            im -= lower[2] * eliminated[0] + lower[3] * eliminated[1];
        }
        invert(inverse);
        solution[2 * j] = inverse[0] * re + inverse[1] * im;
        solution[2 * j + 1] = inverse[2] * re + inverse[3] * im;
        if (j < static_cast<std::size_t>(last)) {
            multiply(inverse, diagonal + 4, gam + j * row_size);
        }
    }
    for (int row = last; row >= 0; --row) {
        const auto j = static_cast<std::size_t>(row);
        double* own = solution + 2 * j;
        if (row < last) {
            const double* next = gam + j * row_size;
            own[0] -= next[0] * own[2] + next[1] * own[3];
            own[1] -= next[2] * own[2] + next[3] * own[3];
        }
        r[2 * j] = own[0];
        r[2 * j + 1] = own[1];
    }
}

}  // namespace kavro::kzk
