#include "host/input/LineReader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <system_error>

#include "host/input/ImportError.h"
#include "host/input/Interrupt.h"

namespace host {

namespace {

constexpr std::size_t kBuffer = 1 << 20;

[[noreturn]] void fail(const std::string& what, const std::string& name) {
    if (errno == EINTR && interrupted()) throw Interrupted("interrupted");
    throw ImportError(what + " " + name + ": " + std::generic_category().message(errno));
}

ssize_t readSome(int file, char* to, std::size_t count) {
    for (;;) {
        const ssize_t got = ::read(file, to, count);
        if (got >= 0 || errno != EINTR || interrupted()) return got;
    }
}

}  // namespace

LineReader::LineReader(const std::string& path)
    : name_(path == "-" ? "standard input" : path), buffer_(kBuffer) {
    file_ = path == "-" ? ::dup(STDIN_FILENO) : ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file_ < 0) fail("cannot open", name_);
    struct stat info {};
    if (::fstat(file_, &info) != 0) fail("cannot read", name_);
    if (S_ISDIR(info.st_mode)) throw ImportError(name_ + " is a directory");
    if (S_ISREG(info.st_mode) && path != "-") {
        size_ = info.st_size;
    } else {
        spool();
    }
}

LineReader::~LineReader() {
    if (file_ >= 0) ::close(file_);
}

void LineReader::spool() {
    const char* directory = std::getenv("TMPDIR");
    std::string path =
        std::string(directory != nullptr && *directory != 0 ? directory : "/tmp") + "/wsql-XXXXXX";
    const int copy = ::mkstemp(path.data());
    if (copy < 0) fail("cannot make the temporary file", path);
    ::unlink(path.c_str());
    const int source = file_;
    file_ = copy;
    ssize_t got = 0;
    while (!interrupted() && (got = readSome(source, buffer_.data(), buffer_.size())) > 0) {
        for (ssize_t done = 0; done < got;) {
            const ssize_t put = ::write(copy, buffer_.data() + done, static_cast<std::size_t>(got - done));
            if (put < 0 && errno == EINTR) continue;
            if (put <= 0) {
                ::close(source);
                fail("cannot write the temporary file", path);
            }
            done += put;
        }
        size_ += got;
    }
    ::close(source);
    if (interrupted()) throw Interrupted("interrupted");
    if (got < 0) fail("cannot read", name_);
    rewind();
}

void LineReader::rewind() {
    if (::lseek(file_, 0, SEEK_SET) < 0) fail("cannot read", name_);
    begin_ = end_ = 0;
    lineNumber_ = bytesRead_ = 0;
    atEnd_ = false;
}

// Makes room behind what is left of the buffer and reads into it. False at the end of the file.
bool LineReader::fill() {
    if (begin_ > 0) {
        std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
        end_ -= begin_;
        begin_ = 0;
    }
    if (end_ == buffer_.size()) buffer_.resize(buffer_.size() * 2);
    const ssize_t got = readSome(file_, buffer_.data() + end_, buffer_.size() - end_);
    if (interrupted()) throw Interrupted("interrupted");
    if (got < 0) fail("cannot read", name_);
    end_ += static_cast<std::size_t>(got);
    return got > 0;
}

bool LineReader::next(std::string_view& line) {
    std::size_t searched = 0;
    for (;;) {
        const char* from = buffer_.data() + begin_;
        const void* found = std::memchr(from + searched, '\n', end_ - begin_ - searched);
        if (found != nullptr) {
            line = {from, static_cast<std::size_t>(static_cast<const char*>(found) - from) + 1};
            break;
        }
        searched = end_ - begin_;
        if (atEnd_ || !fill()) {
            atEnd_ = true;
            if (begin_ == end_) return false;
            line = {buffer_.data() + begin_, end_ - begin_};
            break;
        }
    }
    begin_ += line.size();
    bytesRead_ += static_cast<std::int64_t>(line.size());
    ++lineNumber_;
    return true;
}

}  // namespace host
