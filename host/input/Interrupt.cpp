#include "host/input/Interrupt.h"

namespace host {

namespace {
volatile std::sig_atomic_t typed = 0;  // a signal handler can reach nothing else
void note(int) {
    typed = 1;
}
}  // namespace

InterruptGuard::InterruptGuard() {
    typed = 0;
    struct sigaction action {};
    action.sa_handler = note;  // and no SA_RESTART: a read that waits comes back
    sigaction(SIGINT, nullptr, &before_);
    if (before_.sa_handler != SIG_IGN) sigaction(SIGINT, &action, nullptr);
}

InterruptGuard::~InterruptGuard() {
    typed = 0;
    sigaction(SIGINT, &before_, nullptr);
}

bool interrupted() {
    return typed != 0;
}

}  // namespace host
