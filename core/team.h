// The threads of a parallel region, any of which may fail, and which the user may want to stop.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>

#ifdef _OPENMP
#include <omp.h>
#endif

#include "core/console.h"
#include "core/interrupted.h"

namespace kavro {

// What one thread throws ends the work of all, and is thrown again where they have met.
class Team {
public:
    // A thread of it; to be made within the region.
    class Member {
    public:
        explicit Member(Team& team) : team_(team) {}

        // Does a part of the work, unless it is given up. Nothing leaves that the part throws.
        template <class Part>
        void work(Part part) {
            if (team_.given_up_) {
                return;
            }
            try {
                part();
            } catch (...) {
                team_.give_up(std::current_exception());
            }
        }

        // For a part to call now and then: throws Interrupted where the work is given up. The
        // calling thread asks the console port, too.
        void look() {
            if (team_.given_up_ || (is_callers() && console::interrupted())) {
                throw Interrupted();
            }
        }

        // Whether parts that are left need not be begun.
        bool has_given_up() const { return team_.given_up_; }

        // Returns where all parts are done, as `all_done` says, or the work is given up. The
        // calling thread looks meanwhile; the others do not wait.
        template <class AllDone>
        void wait(AllDone all_done) {
            const auto begin = std::chrono::steady_clock::now();
            while (is_callers() && !all_done() && !has_given_up()) {
                if (std::chrono::steady_clock::now() - begin < std::chrono::milliseconds(1)) {
                    std::this_thread::yield();
                } else {
                    std::this_thread::sleep_for(std::chrono::milliseconds(1));
                    work([this] { look(); });
                }
            }
        }

        // The same for a part to tell of the steps it is about to make; looks once in a while.
        void spend(std::int64_t steps) {
            steps_ += steps;
            if (steps_ >= steps_between_looks) {
                steps_ = 0;
                look();
            }
        }

        // Whether it is the thread that called into the library.
        static bool is_callers() {
#ifdef _OPENMP
            return omp_get_thread_num() == 0;
#else
            return true;
#endif
        }

    private:
        Team& team_;
        std::int64_t steps_ = 0;
    };

    // To be called after the region: throws what the first part threw that threw anything.
    void finish() {
        if (error_) {
            std::rethrow_exception(error_);
        }
    }

private:
    void give_up(std::exception_ptr error) {
        const std::lock_guard lock(mutex_);
        if (!given_up_) {
            error_ = std::move(error);
            given_up_ = true;
        }
    }

    std::atomic<bool> given_up_{false};
    std::mutex mutex_;
    std::exception_ptr error_;
};

}  // namespace kavro
