#include "host/format/CsvFormatter.h"

namespace host {

namespace {
constexpr const char* kLineEnd = "\r\n";
}

void appendCsvField(std::string_view text, std::string& out) {
    const bool plain = !text.empty() && text.find_first_of(",\"\r\n") == std::string_view::npos &&
                       text.front() != ' ' && text.back() != ' ';
    if (plain) {
        out += text;
        return;
    }
    out += '"';
    for (const char c : text) {
        if (c == '"') out += '"';
        out += c;
    }
    out += '"';
}

void CsvFormatter::begin(const std::vector<Column>& columns, std::string& out) {
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (i > 0) out += ',';
        appendCsvField(columns[i].name, out);
    }
    out += kLineEnd;
}

void CsvFormatter::rows(const std::vector<Row>& rows, std::string& out) {
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (i > 0) out += ',';
            if (!row[i].isNull) appendCsvField(row[i].text, out);
        }
        out += kLineEnd;
    }
}

void CsvFormatter::end(const ResultEnd&, std::string&) {}

}  // namespace host
