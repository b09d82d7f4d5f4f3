// The threads of a call.
#pragma once

namespace kavro {

// The threads that a call asks for, while its solver runs: then those of the call around it again.
// 0 stands for what KAVRO_THREADS says. Warns where more are asked for than are used.
class CallThreads {
public:
    // Delegates, so that the former ones are put back even where there is no memory for a warning.
    explicit CallThreads(int n);
    ~CallThreads();
    CallThreads(const CallThreads&) = delete;
    CallThreads& operator=(const CallThreads&) = delete;

private:
    CallThreads(int n, int former);

    int former_;
};

}  // namespace kavro
