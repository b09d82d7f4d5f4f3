#include "python/turn.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

#include "python/values.h"

namespace kavro {

struct Turn::State {
    std::mutex mutex;
    std::condition_variable changed;
    Turn* innermost = nullptr;
};

Turn::State* Turn::state = new State;

Turn::Turn() {
    constexpr std::chrono::milliseconds between_looks{50};
    const auto mine = [this] {
        const Turn* turn = state_->innermost;
        return turn == nullptr || turn->lent_ || turn->thread_ == thread_;
    };
    const auto begun = [&] {
        const py::gil_scoped_release others_may_run;
        std::unique_lock lock(state_->mutex);
        if (!state_->changed.wait_for(lock, between_looks, mine)) {
            return false;
        }
        outer_ = std::exchange(state_->innermost, this);
        return true;
    };
    while (!begun()) {
        if (PyErr_CheckSignals() != 0) {
            throw py::error_already_set();
        }
    }
}

Turn::~Turn() {
    {
        const std::lock_guard lock(state_->mutex);
        state_->innermost = outer_;
    }
    state_->changed.notify_all();
}

void Turn::forget() {
    state = new State;
}

Turn::Lent::Lent() : state_(state), turn_(state->innermost) {
    {
        const std::lock_guard lock(state_->mutex);
        turn_->lent_ = true;
    }
    state_->changed.notify_all();
}

Turn::Lent::~Lent() {
    std::optional<py::gil_scoped_release> others_may_run;
    if (PyGILState_Check() == 1) {
        others_may_run.emplace();
    }
    std::unique_lock lock(state_->mutex);
    state_->changed.wait(lock, [this] { return state_->innermost == turn_; });
    turn_->lent_ = false;
}

}  // namespace kavro
