// Bounded waits for tests that wait on another process or on a store's
// lock. A fault that makes such a wait endless (a lock never given back, a
// child that never ends) then fails its test within seconds, with a message
// saying what hung, instead of holding the suite until the test driver's
// own timeout.
#pragma once

#include <signal.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

// While it lives, ends the test process with a message and exit status 124
// when the guarded steps take longer than the given number of seconds.
class Watchdog {
public:
    explicit Watchdog(const char* what, unsigned seconds = 20) {
        std::snprintf(Message(), kMessageSize, "Watchdog: %s did not finish within %u s\n", what, seconds);
        struct sigaction action {};
        action.sa_handler = [](int) {
            (void)!::write(STDERR_FILENO, Message(), std::strlen(Message()));
            ::_exit(124);
        };
        ::sigaction(SIGALRM, &action, &previous_);
        ::alarm(seconds);
    }
    ~Watchdog() {
        ::alarm(0);
        ::sigaction(SIGALRM, &previous_, nullptr);
    }
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

private:
    static constexpr std::size_t kMessageSize = 256;
    static char* Message() {
        static char message[kMessageSize];
        return message;
    }
    struct sigaction previous_ {};
};

// Waits for a child process for at most the given number of seconds; a
// child still running then is killed. Returns whether it ended by itself,
// with its wait status in *status.
inline bool WaitForChild(pid_t child, int* status, int seconds = 20) {
    const timespec pause{0, 10 * 1000 * 1000};
    for (int tick = 0; tick < seconds * 100; ++tick) {
        pid_t done = ::waitpid(child, status, WNOHANG);
        if (done == child) return true;
        if (done < 0) return false;
        ::nanosleep(&pause, nullptr);
    }
    ::kill(child, SIGKILL);
    ::waitpid(child, status, 0);
    return false;
}
