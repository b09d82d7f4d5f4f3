#include "excitation/discrete_spectrum.h"

#include <fftw3.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <new>
#include <utility>

#include "core/aligned_vector.h"

namespace kavro {
namespace {

struct FftwFree {
    void operator()(void* memory) const { fftw_free(memory); }
};

// FFTW executes plans concurrently but makes and destroys only one at a time.
std::mutex planner;

}  // namespace

std::vector<std::complex<double>> discrete_spectrum(std::span<const double> signal) {
    if (signal.empty()) {
        return {};
    }
    const std::size_t bins = signal.size() / 2 + 1;
    const std::unique_ptr<double, FftwFree> input(fftw_alloc_real(signal.size()));
    const std::unique_ptr<fftw_complex, FftwFree> output(fftw_alloc_complex(bins));
    if (!input || !output) {
        throw std::bad_alloc();
    }
    // A separate input buffer, because a transform to real output may overwrite what it reads.
    std::copy(signal.begin(), signal.end(), input.get());
    fftw_plan plan = nullptr;
    {
        const std::lock_guard lock(planner);
        plan = fftw_plan_dft_r2c_1d(static_cast<int>(signal.size()), input.get(), output.get(),
                                    FFTW_ESTIMATE);
    }
    if (plan == nullptr) {
        throw std::bad_alloc();
    }
    fftw_execute(plan);
    {
        const std::lock_guard lock(planner);
        fftw_destroy_plan(plan);
    }
    std::vector<std::complex<double>> spectrum(bins);
    for (std::size_t k = 0; k < bins; ++k) {
        spectrum[k] = {output.get()[k][0], output.get()[k][1]};
    }
    return spectrum;
}

InverseTransform::InverseTransform(int length, int signals)
    : bins_(static_cast<std::size_t>(length / 2 + 1) * static_cast<std::size_t>(signals)) {
    AlignedVector<double> bins(2 * bins_);
    AlignedVector<double> values(static_cast<std::size_t>(length) *
                                 static_cast<std::size_t>(signals));
    const fftw_iodim points{length, signals, signals};
    const fftw_iodim beside{signals, 1, 1};
    const std::lock_guard lock(planner);
    plan_.reset(fftw_plan_guru_split_dft_c2r(1, &points, 1, &beside, bins.data(),
                                             bins.data() + bins_, values.data(), FFTW_ESTIMATE));
    if (!plan_) {
        throw std::bad_alloc();
    }
}

void InverseTransform::operator()(double* bins, double* values) const {
    // A plan holds for the distance between the parts that it was made for.
    fftw_execute_split_dft_c2r(static_cast<fftw_plan>(plan_.get()), bins, bins + bins_, values);
}

void InverseTransform::Destroy::operator()(void* plan) const {
    const std::lock_guard lock(planner);
    fftw_destroy_plan(static_cast<fftw_plan>(plan));
}

HarmonicTransform::HarmonicTransform(int samples, bool first_is_even, bool last_is_even)
    : samples_(samples) {
    const bool alike = first_is_even == last_is_even;
    const int more = !alike ? 0 : first_is_even ? -1 : 1;
    scale_ = 0.5 / (samples + more);
    const auto kinds = [&]() -> std::pair<fftw_r2r_kind, fftw_r2r_kind> {
        if (alike) {
            const fftw_r2r_kind kind = first_is_even ? FFTW_REDFT00 : FFTW_RODFT00;
            return {kind, kind};
        }
        return first_is_even ? std::pair{FFTW_REDFT01, FFTW_REDFT10}
                             : std::pair{FFTW_RODFT01, FFTW_RODFT10};
    }();
    AlignedVector<double> line(static_cast<std::size_t>(samples));
    const std::lock_guard lock(planner);
    // Lines lie as they come in a field: on no boundary.
    constexpr unsigned flags = FFTW_ESTIMATE | FFTW_UNALIGNED;
    analysis_.reset(fftw_plan_r2r_1d(samples, line.data(), line.data(), kinds.first, flags));
    synthesis_.reset(fftw_plan_r2r_1d(samples, line.data(), line.data(), kinds.second, flags));
    if (!analysis_ || !synthesis_) {
        throw std::bad_alloc();
    }
}

void HarmonicTransform::analyse(double* samples) const {
    fftw_execute_r2r(static_cast<fftw_plan>(analysis_.get()), samples, samples);
    for (int i = 0; i < samples_; ++i) {
        samples[i] *= scale_;
    }
}

void HarmonicTransform::synthesise(double* coefficients) const {
    fftw_execute_r2r(static_cast<fftw_plan>(synthesis_.get()), coefficients, coefficients);
}

void HarmonicTransform::Destroy::operator()(void* plan) const {
    const std::lock_guard lock(planner);
    fftw_destroy_plan(static_cast<fftw_plan>(plan));
}

}  // namespace kavro
