#include "host/Password.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace host {

namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

std::string readLine(std::FILE* file) {
    std::string line;
    for (int c = std::fgetc(file); c != EOF && c != '\n'; c = std::fgetc(file)) line += static_cast<char>(c);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

}  // namespace

std::optional<std::string> givenPassword(const std::string& file) {
    if (!file.empty()) {
        const File input(std::fopen(file.c_str(), "re"));
        if (!input) throw std::runtime_error("cannot read the password file " + file);
        return readLine(input.get());
    }
    const char* value = std::getenv("WSQL_PASSWORD");
    if (value == nullptr) return std::nullopt;
    return value;
}

std::optional<std::string> askPassword(const std::string& user) {
    if (::isatty(STDIN_FILENO) == 0) return std::nullopt;
    const File terminal(std::fopen("/dev/tty", "r+e"));
    if (!terminal) return std::nullopt;
    const int file = ::fileno(terminal.get());
    termios before{};
    if (::tcgetattr(file, &before) != 0) return std::nullopt;
    termios silent = before;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    if (::tcsetattr(file, TCSAFLUSH, &silent) != 0) return std::nullopt;
    std::fprintf(terminal.get(), "Password of %s: ", user.c_str());
    std::fflush(terminal.get());
    const std::string password = readLine(terminal.get());
    ::tcsetattr(file, TCSAFLUSH, &before);
    std::fputc('\n', terminal.get());
    return password;
}

}  // namespace host
