#include "bench/compare/Csv.h"

namespace compare {

void CsvWriter::row(const std::vector<std::string_view>& fields) {
    line_.clear();
    for (const std::string_view field : fields) {
        if (!line_.empty()) line_ += ',';
        line_ += '"';
        for (const char c : field) {
            if (c == '"') line_ += '"';
            line_ += c;
        }
        line_ += '"';
    }
    line_ += '\n';
    file_.write(line_.data(), static_cast<std::streamsize>(line_.size()));
}

bool CsvWriter::close() {
    file_.close();
    return !file_.fail();
}

CsvReader::CsvReader(const std::string& path) : buffer_(size_t{1} << 20) {
    file_.rdbuf()->pubsetbuf(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
    file_.open(path, std::ios::binary);
    std::vector<std::string> header;
    row(header);
}

bool CsvReader::row(std::vector<std::string>& fields) {
    size_t count = 0;
    bool last = false;
    while (!last) {
        if (fields.size() <= count) fields.emplace_back();
        if (!field(fields[count], last)) return false;
        ++count;
    }
    fields.resize(count);
    return true;
}

bool CsvReader::field(std::string& out, bool& last) {
    out.clear();
    std::streambuf& in = *file_.rdbuf();
    if (in.sbumpc() != '"') return false;
    for (int c = in.sbumpc(); c != EOF; c = in.sbumpc()) {
        if (c == '"') {
            c = in.sbumpc();
            if (c != '"') {
                last = c != ',';
                return true;
            }
        }
        out += static_cast<char>(c);
    }
    return false;
}

}  // namespace compare
