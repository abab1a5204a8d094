#pragma once

#include <csignal>
#include <stdexcept>

namespace host {

// Somebody typed Ctrl-C; the text says what became of the work.
class Interrupted : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// While one lives Ctrl-C does not end the program (nor does it anything where it was ignored before): the
// work that it guards asks `interrupted` from time to time.
class InterruptGuard {
public:
    InterruptGuard();
    ~InterruptGuard();
    InterruptGuard(const InterruptGuard&) = delete;
    InterruptGuard& operator=(const InterruptGuard&) = delete;

private:
    struct sigaction before_ {};
};

// Ctrl-C was typed while the latest guard lived, which still does.
bool interrupted();

}  // namespace host
