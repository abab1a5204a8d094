#pragma once

#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace compare {

// Writes and reads CSV files as RFC 4180 says, with every text quoted and a header line.
class CsvWriter {
public:
    explicit CsvWriter(const std::string& path) : file_(path, std::ios::binary) {}

    void row(const std::vector<std::string_view>& fields);
    // False when something could not be written.
    bool close();

private:
    std::ofstream file_;
    std::string line_;
};

class CsvReader {
public:
    // Reads over the header line.
    explicit CsvReader(const std::string& path);

    bool opened() const { return file_.is_open(); }
    // The next row; false at the end.
    bool row(std::vector<std::string>& fields);

private:
    bool field(std::string& out, bool& last);

    std::ifstream file_;
    std::vector<char> buffer_;
};

}  // namespace compare
