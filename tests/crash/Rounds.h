#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// What the tests of this folder share: processes that end badly, and homes to let them end in.
namespace crash {

// Whether the long form was asked for, by WELK_LONG=1 in the environment.
bool longForm();

// At most so many of the numbers 1 to total, evenly spread with the first and the last; all in the long form.
std::vector<int64_t> pointsOf(int64_t total, size_t most);

// A directory of its own, gone at the end.
class Scratch {
public:
    Scratch();
    ~Scratch();
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    std::string operator/(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

// A copy of a home directory that nobody has open; a directory that is there before goes. Lock files belong
// to processes and are left out.
void copyHome(const std::string& from, const std::string& to);

// A forked process. Its body writes numbers to the pipe that it is given.
class Child {
public:
    // The body's result is the exit code. A body that takes longer than so many seconds is ended by SIGALRM.
    explicit Child(const std::function<int(int pipe)>& body, unsigned patience = 120);
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    pid_t id() const { return id_; }
    // Waits for the next number; false when the child has closed the pipe.
    bool read(int64_t& number);
    void kill();
    // Waits for its end: the exit code, or minus the number of the signal.
    int wait();

private:
    pid_t id_ = -1;
    int pipe_ = -1;
    int outcome_ = 0;
};

void tell(int pipe, int64_t number);

}  // namespace crash
