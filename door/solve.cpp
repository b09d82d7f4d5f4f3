#include "door/request.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>

#include "core/console.h"
#include "core/counts.h"
#include "core/input_error.h"
#include "core/threads.h"
#include "door/coordinate_grid.h"
#include "door/medium.h"
#include "door/time_samples.h"
#include "door/values.h"

namespace kavro {
namespace {

double no_output = 0.0;

mxArray* array_of_zeros(std::initializer_list<int> sizes, mxComplexity complexity) {
    mwSize dims[4] = {};  // nothing here that a host could abandon on the heap
    std::copy(sizes.begin(), sizes.end(), dims);
    mxArray* output = sizes.size() == 2
                          ? mxCreateNumericMatrix(dims[0], dims[1], mxDOUBLE_CLASS, complexity)
                          : mxCreateNumericArray(static_cast<mwSize>(sizes.size()), dims,
                                                 mxDOUBLE_CLASS, complexity);
    if (output == nullptr) {
        throw std::bad_alloc();
    }
    return output;
}

#if defined(HAVE_OCTAVE)
// Octave copies what its interface made when the call returns, but takes back as it is what came
// from one of its own functions: its own, whatever the user calls `zeros`. Null where that is not
// an array as asked for.
mxArray* zeros_from_interpreter(std::initializer_list<int> sizes, int count) {
    mxArray* arguments[5] = {mxCreateString("zeros")};
    std::transform(sizes.begin(), sizes.end(), arguments + 1,
                   [](int size) { return mxCreateDoubleScalar(size); });
    mxArray* output = nullptr;
    mxArray* error =
        mexCallMATLABWithTrap(1, &output, static_cast<int>(sizes.size()) + 1, arguments, "builtin");
    for (mxArray* argument : arguments) {
        if (argument != nullptr) {
            mxDestroyArray(argument);
        }
    }
    const bool usable = error == nullptr && output != nullptr && mxIsDouble(output) &&
                        !mxIsComplex(output) && !mxIsSparse(output) &&
                        mxGetNumberOfElements(output) == static_cast<std::size_t>(count);
    if (!usable && output != nullptr) {
        mxDestroyArray(output);
    }
    return usable ? output : nullptr;
}
#endif

void require_structure(const mxArray* value, const char* complaint) {
    if (!mxIsStruct(value)) {
        throw InputError(complaint);
    }
}

}  // namespace

int SolverCall::read_element_count(const mxArray* structure) const {
    require_structure(structure, "Transducer array must be a MATLAB structure.\n");
    return count_of(mxGetNumberOfElements(structure), "transducer elements");
}

void SolverCall::read_grid(const mxArray* structure) {
    require_structure(structure, "Coordinate grid must be a MATLAB structure.\n");
    allocate_memory_and_set_values(grid_, structure);
}

void SolverCall::read_medium(const mxArray* structure) {
    require_structure(structure, "Medium must be a MATLAB structure.\n");
    medium_ = medium_from(structure);
}

void SolverCall::read_times(const mxArray* structure) {
    require_structure(structure, "Time samples must be a MATLAB structure.\n");
    allocate_memory_and_set_values(times_, structure);
}

void SolverCall::warn_of_ignored_attenuation() const {
    if (medium_._dBcmMHz != 0.0) {
        console::warn("Non-zero attenuation will be ignored. See the documentation for details.\n");
    }
}

mxArray* SolverCall::new_transient_output() const {
    return grid_.regular ? new_output({grid_.nx, grid_.ny, grid_.nz, times_.ntimes})
                         : new_output({grid_.npoints, times_.ntimes});
}

void SolverCall::attach_records() {
    for (std::size_t i = 0; i < elements_.size(); ++i) {
        Transducer& element = *elements_[i];
        element.set_global_coordinate_grid(&grid_);
        element.set_time_vector(&times_);
        element.set_medium(&medium_);
        element.set_integral_pointer(&quadrature_);
        element.excitation = i < excitations_.size() ? excitations_[i].get() : nullptr;
    }
}

std::vector<Transducer*> SolverCall::element_pointers() const {
    std::vector<Transducer*> elements;
    for (const std::unique_ptr<Transducer>& element : elements_) {
        elements.push_back(element.get());
    }
    return elements;
}

mxArray* new_output(std::initializer_list<int> sizes, mxComplexity complexity) {
    // Checked here because a host that runs out of memory may not live to tell.
    constexpr const char* what = "output values";
    int count = 1;
    for (const int size : sizes) {
        count = checked_product(count, size, what);
    }
    const std::size_t parts = complexity == mxCOMPLEX ? 2 : 1;
    const std::size_t bytes = parts * sizeof(double);
    require_memory(static_cast<std::size_t>(count), bytes, what);
#if defined(HAVE_OCTAVE)
    if (complexity == mxREAL && count > 0) {
        mxArray* output = zeros_from_interpreter(sizes, count);
        if (output != nullptr) {
            return output;
        }
    }
    require_memory(static_cast<std::size_t>(count), 2 * bytes, what);  // it will be copied
#endif
    return array_of_zeros(sizes, complexity);
}

double* real_parts(mxArray* output) {
    double* values = mxGetPr(output);
    return values != nullptr ? values : &no_output;
}

double* imaginary_parts(mxArray* output) {
    double* values = mxGetPi(output);
    return values != nullptr ? values : &no_output;
}

int abscissas(double n, int multiple) {
    constexpr int smallest = std::numeric_limits<int>::min();
    if (!(n >= smallest)) {
        return smallest;
    }
    const double rounded = n > 0.0 ? std::ceil(n / multiple) * multiple : n;
    if (rounded > std::numeric_limits<int>::max()) {
        throw InputError("Computed number of abscissas is too large.");
    }
    return static_cast<int>(rounded);
}

void apply_thread_setting(int n) {
    const char* setting = std::getenv("KAVRO_THREADS");
    if (n == 0 && setting != nullptr) {
        n = static_cast<int>(std::strtol(setting, nullptr, 10));
    }
    set_thread_count(n);
}

void check_status(TransducerStatus status) {
    switch (status) {
        case status_success:
            return;
        case status_not_implemented:
            throw InputError("This function is not implemented for this transducer shape.");
        case status_out_of_memory:
            throw InputError("Out of memory.");
        case status_interrupted:
            throw InputError("The call was interrupted.");
        default:
            throw InputError(
                "An unspecified error occurred. See this function's documentation for details.");
    }
}

}  // namespace kavro
