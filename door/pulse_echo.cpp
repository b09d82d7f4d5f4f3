#include "door/pulse_echo.h"

#include <algorithm>
#include <array>
#include <complex>
#include <cstddef>
#include <limits>
#include <span>
#include <string>
#include <vector>

#include "core/console.h"
#include "core/counts.h"
#include "core/input_error.h"
#include "door/advised.h"
#include "door/echo_request.h"
#include "door/values.h"

namespace kavro {
namespace {

using Complex = std::complex<double>;

// Of the progress: the way to all scatterers is measured, and their echoes are summed up.
constexpr double measured = 0.02;
constexpr double summed = 0.95;

void add_matrix(Result* record, const char* name, const std::vector<double>& numbers,
                std::size_t rows) {
    const int extents[] = {static_cast<int>(rows), static_cast<int>(numbers.size() / rows)};
    Result* matrix = new_zeros(extents, false);
    std::copy(numbers.begin(), numbers.end(), real_parts(matrix));
    add_field(record, name, matrix);
}

class PulseEcho : public Command {
public:
    void read(std::span<const Value* const> arguments, CallConsole& console) override {
        kavro::read(request_, console, arguments);
        threads = request_.threads;
        advised("Take fewer events, receivers or instants.", [this] { make_values(); });
    }

    TransducerStatus run() override {
        const EchoPlan plan = request_.plan(extent());
        report_ = plan.report();
        report_.scatterers = static_cast<std::int64_t>(request_.scatterers->count());
        const std::vector<Complex> total = total_of(plan);
        const console::ProgressPart part(summed, 1.0);
        write(plan, total);
        return status_success;
    }

    std::vector<Result*> results() override { return {values_, new_report()}; }

protected:
    virtual EchoExtent extent() const {
        const console::ProgressPart part(0.0, measured);
        return request_.extent();
    }

    // One chunk after the other: memory does not grow with the number of scatterers.
    virtual std::vector<Complex> total_of(const EchoPlan& plan) const {
        require_memory(plan.sum_size(), 2 * sizeof(Complex), "sums of echoes");
        std::vector<Complex> total(plan.sum_size()), sum(plan.sum_size());
        std::vector<Scatterer> chunk;
        const std::size_t chunks = request_.scatterers->chunks();
        const double share = (summed - measured) / static_cast<double>(chunks);
        for (std::size_t i = 0; i < chunks; ++i) {
            const double begin = measured + share * static_cast<double>(i);
            const console::ProgressPart part(begin, begin + share);
            request_.scatterers->read_chunk(i, chunk);
            plan.sum_chunk(chunk, sum);
            std::transform(total.begin(), total.end(), sum.begin(), total.begin(),
                           std::plus<Complex>());
        }
        return total;
    }

private:
    void make_values() {
        constexpr const char* what = "output values";
        const bool over_time = request_.is_over_time();
        const int receivers = count_of(request_.receiving_channels(), what);
        const int events = count_of(request_.events, what);
        const int others =
            over_time ? request_.times.ntimes : count_of(request_.frequencies.size(), what);
        const std::vector<int> extents = over_time ? std::vector{others, receivers, events}
                                                   : std::vector{receivers, events, others};
        const auto count = static_cast<std::size_t>(checked_product(extents, what));
        require_memory(count, (over_time ? 1 : 4) * sizeof(double), what);
        values_ = new_zeros(extents, !over_time);
        real_ = real_parts(values_);
        imaginary_ = over_time ? nullptr : imaginary_parts(values_);
        count_ = count;
    }

    void write(const EchoPlan& plan, const std::vector<Complex>& total) {
        if (request_.is_over_time()) {
            plan.signals(total, real_);
            return;
        }
        std::vector<Complex> spectrum(count_);
        plan.spectrum(total, spectrum.data());
        for (std::size_t i = 0; i < count_; ++i) {
            real_[i] = spectrum[i].real();
            imaginary_[i] = spectrum[i].imag();
        }
    }

    Result* new_report() const {
        Result* record = new_record();
        if (request_.is_over_time()) {
            const TimeSamples& times = request_.times;
            constexpr double none = std::numeric_limits<double>::quiet_NaN();
            add_numbers(record, "first_sample",
                        {times.ntimes > 0 ? times.time_index_value(0) : none});
            add_numbers(record, "step", {times.deltat() > 0.0 ? times.deltat() : none});
            add_numbers(record, "pulse_delay", {report_.pulse_delay});
            add_numbers(record, "arrivals", {report_.first_arrival, report_.last_arrival});
            add_numbers(record, "period", {report_.period});
        }
        add_matrix(record, "firing_times", request_.firing_times(), request_.events);
        add_numbers(record, "frequencies",
                    {static_cast<double>(report_.frequencies), report_.first_frequency,
                     report_.last_frequency});
        add_numbers(record, "scatterers", {static_cast<double>(report_.scatterers)});
        return record;
    }

    EchoRequest request_;
    EchoReport report_;
    Result* values_ = nullptr;
    double* real_ = nullptr;
    double* imaginary_ = nullptr;
    std::size_t count_ = 0;
};

// ---- parts

constexpr std::size_t extent_size = 6;

std::array<double, extent_size> numbers_of(const EchoExtent& extent) {
    return {extent.nearest,     extent.earliest, extent.farthest,
            extent.longest_way, extent.spread,   extent.latest};
}

EchoExtent extent_from(const Value* value) {
    if (!holds_real_numbers(value) || entries_of(value) != extent_size) {
        throw InputError("The extent must hold 6 numbers, but " + described(value) + ".");
    }
    const std::vector<double> numbers = first_numbers(value, extent_size);
    return {.nearest = numbers[0],
            .farthest = numbers[2],
            .longest_way = numbers[3],
            .spread = numbers[4],
            .earliest = numbers[1],
            .latest = numbers[5]};
}

std::span<const Value* const> behind(std::span<const Value* const> arguments, std::size_t own) {
    if (arguments.size() < own) {
        throw InputError("This function needs the extent of all scatterers" +
                         std::string(own > 1 ? " and their sum." : "."));
    }
    return arguments.subspan(own);
}

class EchoExtentPart : public Command {
public:
    void read(std::span<const Value* const> arguments, CallConsole& console) override {
        kavro::read(request_, console, arguments);
        threads = request_.threads;
        const int extents[] = {1, extent_size};
        values_ = new_zeros(extents, false);
    }

    TransducerStatus run() override {
        std::ranges::copy(numbers_of(request_.extent()), real_parts(values_));
        return status_success;
    }

    std::vector<Result*> results() override { return {values_}; }

private:
    EchoRequest request_;
    Result* values_ = nullptr;
};

class EchoSum : public Command {
public:
    void read(std::span<const Value* const> arguments, CallConsole& console) override {
        const auto others = behind(arguments, 1);
        extent_ = extent_from(arguments[0]);
        kavro::read(request_, console, others);
        threads = request_.threads;
    }

    TransducerStatus run() override {
        const EchoPlan plan = request_.plan(extent_);
        const std::size_t chunks = request_.scatterers->chunks();
        require_memory(plan.sum_size() * chunks, 2 * sizeof(Complex), "sums of echoes");
        size_ = plan.sum_size();
        sums_.resize(size_ * chunks);
        std::vector<Scatterer> chunk;
        for (std::size_t i = 0; i < chunks; ++i) {
            const console::ProgressPart part(
                static_cast<double>(i) / static_cast<double>(chunks),
                static_cast<double>(i + 1) / static_cast<double>(chunks));
            request_.scatterers->read_chunk(i, chunk);
            plan.sum_chunk(chunk, std::span(sums_).subspan(i * size_, size_));
        }
        return status_success;
    }

    std::vector<Result*> results() override {
        constexpr const char* what = "sums of echoes";
        const int extents[] = {2, count_of(size_, what),
                               count_of(request_.scatterers->chunks(), what)};
        checked_product(extents, what);
        Result* values = new_zeros(extents, false);
        double* to = real_parts(values);
        for (const Complex& sum : sums_) {
            *to++ = sum.real();
            *to++ = sum.imag();
        }
        return {values};
    }

private:
    EchoRequest request_;
    EchoExtent extent_;
    std::size_t size_ = 0;
    std::vector<Complex> sums_;
};

class EchoSignals : public PulseEcho {
public:
    void read(std::span<const Value* const> arguments, CallConsole& console) override {
        const auto others = behind(arguments, 2);
        extent_ = extent_from(arguments[0]);
        if (!is_numeric(arguments[1]) || is_complex(arguments[1])) {
            throw InputError("The sum must hold real numbers, but " + described(arguments[1]) +
                             ".");
        }
        const Numbers numbers(arguments[1]);
        const std::span<const double> parts = numbers.span();
        for (std::size_t i = 1; i < parts.size(); i += 2) {
            total_.emplace_back(parts[i - 1], parts[i]);
        }
        PulseEcho::read(others, console);
    }

protected:
    EchoExtent extent() const override { return extent_; }
    std::vector<Complex> total_of(const EchoPlan&) const override { return total_; }

private:
    EchoExtent extent_;
    std::vector<Complex> total_;
};

}  // namespace

std::unique_ptr<Command> new_pulse_echo() {
    return std::make_unique<PulseEcho>();
}

std::unique_ptr<Command> new_echo_extent() {
    return std::make_unique<EchoExtentPart>();
}

std::unique_ptr<Command> new_echo_sum() {
    return std::make_unique<EchoSum>();
}

std::unique_ptr<Command> new_echo_signals() {
    return std::make_unique<EchoSignals>();
}

}  // namespace kavro
