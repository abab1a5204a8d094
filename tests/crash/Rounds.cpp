#include "tests/crash/Rounds.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace crash {

namespace fs = std::filesystem;

bool longForm() {
    const char* value = std::getenv("WELK_LONG");
    return value != nullptr && *value == '1';
}

std::vector<int64_t> pointsOf(int64_t total, size_t most) {
    std::vector<int64_t> points;
    const auto wanted = static_cast<int64_t>(most);
    if (longForm() || total <= wanted || wanted < 2) {
        for (int64_t point = 1; point <= total; ++point) points.push_back(point);
        return points;
    }
    for (int64_t i = 0; i < wanted; ++i) points.push_back(1 + i * (total - 1) / (wanted - 1));
    return points;
}

Scratch::Scratch() {
    // What a killed process leaves does not depend on the disk: memory will do, and syncs cost nothing there.
    const bool inMemory = std::getenv("TMPDIR") == nullptr && fs::is_directory("/dev/shm");
    const fs::path parent = inMemory ? fs::path("/dev/shm") : fs::temp_directory_path();
    std::string path = (parent / "welk-crash-XXXXXX").string();
    if (::mkdtemp(path.data()) == nullptr) std::abort();
    path_ = path;
}

Scratch::~Scratch() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

void copyHome(const std::string& from, const std::string& to) {
    fs::remove_all(to);
    fs::create_directories(to);
    for (const auto& entry : fs::recursive_directory_iterator(from)) {
        const fs::path target = to / fs::relative(entry.path(), from);
        if (entry.is_directory())
            fs::create_directories(target);
        else if (!entry.path().string().ends_with("-lock"))
            fs::copy_file(entry.path(), target);
    }
}

Child::Child(const std::function<int(int)>& body, unsigned patience) {
    int ends[2];
    if (::pipe(ends) != 0) std::abort();
    std::fflush(nullptr);
    id_ = ::fork();
    if (id_ < 0) std::abort();
    if (id_ == 0) {
        ::close(ends[0]);
        ::alarm(patience);
        const int result = body(ends[1]);
        std::fflush(nullptr);
        ::_exit(result);
    }
    ::close(ends[1]);
    pipe_ = ends[0];
}

Child::~Child() {
    if (id_ > 0) kill();
    ::close(pipe_);
}

bool Child::read(int64_t& number) {
    return ::read(pipe_, &number, sizeof number) == sizeof number;
}

void Child::kill() {
    ::kill(id_, SIGKILL);
    wait();
}

int Child::wait() {
    if (id_ <= 0) return outcome_;
    int status = 0;
    ::waitpid(id_, &status, 0);
    id_ = -1;
    outcome_ = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return outcome_;
}

void tell(int pipe, int64_t number) {
    if (::write(pipe, &number, sizeof number) != sizeof number) ::_exit(99);
}

}  // namespace crash
