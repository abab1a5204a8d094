#pragma once

#include <unistd.h>

#include <cstdlib>
#include <string>

namespace host {

// A file with the given bytes, removed with the object.
class TempFile {
public:
    explicit TempFile(const std::string& bytes) : path_("/tmp/wsql-test-XXXXXX") {
        const int file = mkstemp(path_.data());
        if (file < 0 || ::write(file, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
            std::abort();
        ::close(file);
    }
    ~TempFile() { ::unlink(path_.c_str()); }
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

}  // namespace host
