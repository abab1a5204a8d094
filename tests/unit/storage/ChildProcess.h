#pragma once

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

// Runs a function in a forked process, which ends with its result. Fork before anything is opened: open
// storage does not survive one.
class ChildProcess {
public:
    explicit ChildProcess(const std::function<int()>& body) : id_(::fork()) {
        if (id_ == 0) ::_exit(body());
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess() {
        if (id_ > 0) kill();
    }
    // Ends it where it stands.
    void kill() {
        ::kill(id_, SIGKILL);
        wait();
    }
    // Its result, -1 when a signal ended it.
    int wait() {
        int status = 0;
        ::waitpid(id_, &status, 0);
        id_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t id_;
};
