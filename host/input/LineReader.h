#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace host {

// The lines of a file through one large buffer, from the start as often as wanted. Standard input ("-") and
// anything else that cannot be read twice is first copied to an unnamed temporary file.
class LineReader {
public:
    // Throws ImportError when the file cannot be opened or copied, and Interrupted.
    explicit LineReader(const std::string& path);
    ~LineReader();
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

    // The next line with its line end, which the last one may lack; the view holds until the next call. False
    // at the end. Throws ImportError when reading fails, and Interrupted.
    bool next(std::string_view& line);
    void rewind();

    std::int64_t lineNumber() const { return lineNumber_; }  // of the latest line, 1-based
    std::int64_t bytesRead() const { return bytesRead_; }    // up to the end of the latest line
    std::int64_t size() const { return size_; }
    const std::string& name() const { return name_; }

private:
    void spool();
    bool fill();

    std::string name_;
    int file_ = -1;
    std::int64_t size_ = 0, lineNumber_ = 0, bytesRead_ = 0;
    std::vector<char> buffer_;
    std::size_t begin_ = 0, end_ = 0;
    bool atEnd_ = false;
};

}  // namespace host
