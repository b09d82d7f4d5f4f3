// Whose turn it is among the calls of one process.
#pragma once

#include <thread>

namespace kavro {

// Console, progress and number of threads belong to the process, so calls take turns: one begins
// when the one before has ended. They also nest, where the innermost call has lent its turn, or is
// this thread's. Nobody waits with the interpreter's lock in hand.
class Turn {
    struct State;

public:
    // Waits, and is not deaf to Ctrl-C. Throws what Python raised meanwhile.
    Turn();
    ~Turn();
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

    // While a user's function runs, which may wait for threads that call the solver. The calls that
    // have begun meanwhile end before this one goes on.
    class Lent {
    public:
        Lent();
        ~Lent();
        Lent(const Lent&) = delete;
        Lent& operator=(const Lent&) = delete;

    private:
        State* state_;
        Turn* turn_;
    };

    // In a forked child: whoever had its turn in the parent is not there to end it.
    static void forget();

private:
    static State* state;  // never released: a fork may leave it locked

    State* state_ = state;
    Turn* outer_ = nullptr;
    std::thread::id thread_ = std::this_thread::get_id();
    bool lent_ = false;
};

}  // namespace kavro
