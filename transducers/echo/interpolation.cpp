#include "transducers/echo/interpolation.h"

#include <cmath>
#include <complex>
#include <cstddef>
#include <utility>

#include "core/constants.h"

namespace kavro::echo {
namespace {

using Complex = std::complex<double>;

// Least squares by Householder's reflections: rows of coefficients and a right side, whose real and
// imaginary parts are solved for alike.
struct Row {
    std::vector<double> of;
    Complex right;
};

std::vector<Complex> solved(std::vector<Row> rows, std::size_t columns) {
    for (std::size_t k = 0; k < columns; ++k) {
        double norm = 0.0;
        for (std::size_t i = k; i < rows.size(); ++i) {
            norm += rows[i].of[k] * rows[i].of[k];
        }
        const double alpha = rows[k].of[k] > 0.0 ? -std::sqrt(norm) : std::sqrt(norm);
        rows[k].of[k] -= alpha;
        const double scale = alpha * rows[k].of[k];  // -1/2 of the reflecting vector's square
        if (scale == 0.0) {
            continue;
        }
        const auto reflect = [&](auto column) {
            auto dot = column(rows[k]) * 0.0;
            for (std::size_t i = k; i < rows.size(); ++i) {
                dot += column(rows[i]) * rows[i].of[k];
            }
            for (std::size_t i = k; i < rows.size(); ++i) {
                column(rows[i]) += dot / scale * rows[i].of[k];
            }
        };
        for (std::size_t c = k + 1; c < columns; ++c) {
            reflect([c](Row& row) -> double& { return row.of[c]; });
        }
        reflect([](Row& row) -> Complex& { return row.right; });
        rows[k].of[k] = alpha;
    }
    std::vector<Complex> x(columns);
    for (std::size_t k = columns; k-- > 0;) {
        Complex rest = rows[k].right;
        for (std::size_t c = k + 1; c < columns; ++c) {
            rest -= rows[k].of[c] * x[c];
        }
        x[k] = rows[k].of[k] != 0.0 ? rest / rows[k].of[k] : 0.0;
    }
    return x;
}

}  // namespace

// Least squares at Chebyshev's points, which keeps the largest error close to the least. Of theta
// and -theta together, half the sum and half the difference are real equations for the real parts
// of the weights, and for the imaginary ones.
std::vector<Complex> weights_at(Complex x, int taps, double most) {
    const auto n = static_cast<std::size_t>(taps);
    const std::size_t points = 2 * n;
    std::vector<Row> rows;
    rows.reserve(2 * points);
    for (std::size_t i = 0; i < points; ++i) {
        const double angle =
            pi / 4.0 * static_cast<double>(2 * i + 1) / static_cast<double>(points);
        const double theta = most * std::cos(angle);
        Row even{std::vector<double>(n), std::cosh(theta * x.imag())};
        Row odd{std::vector<double>(n), {0.0, std::sinh(theta * x.imag())}};
        const Complex turn = std::polar(1.0, theta);
        Complex wave = std::polar(1.0, -theta * x.real());
        for (std::size_t k = 0; k < n; ++k, wave *= turn) {
            even.of[k] = wave.real();
            odd.of[k] = wave.imag();
        }
        rows.push_back(std::move(even));
        rows.push_back(std::move(odd));
    }
    return solved(std::move(rows), n);
}

double error_of(const std::vector<Complex>& weights, Complex x, double most) {
    const auto checks = static_cast<int>(3 * weights.size());
    double error = 0.0;
    for (int i = -checks; i <= checks; ++i) {
        const double theta = most * i / checks;
        const Complex turn = std::polar(1.0, theta);
        Complex wave = std::polar(1.0, -theta * x.real());
        Complex off = -std::exp(-theta * x.imag());
        for (const Complex& weight : weights) {
            off += weight * wave;
            wave *= turn;
        }
        error = std::fmax(error, std::abs(off));
    }
    return error;
}

}  // namespace kavro::echo
