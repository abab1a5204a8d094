#pragma once

#include <cstdlib>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/tables/SourceDirectory.h"

namespace tables {

/// One row of a table: "# reason", "> input", "= expected", rows separated by blank lines. <LF>, <CR>, <TAB>
/// and <xHH> stand for bytes that a line cannot show.
struct Row {
    std::string reason;
    std::string input;
    std::string expected;
    size_t line = 0;  ///< of the input, 1-based
};

inline std::string decoded(const std::string& text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text.compare(i, 4, "<LF>") == 0) {
            out += '\n';
            i += 3;
        } else if (text.compare(i, 4, "<CR>") == 0) {
            out += '\r';
            i += 3;
        } else if (text.compare(i, 5, "<TAB>") == 0) {
            out += '\t';
            i += 4;
        } else if (text.compare(i, 2, "<x") == 0 && i + 4 < text.size() && text[i + 4] == '>') {
            out += static_cast<char>(std::stoi(text.substr(i + 2, 2), nullptr, 16));
            i += 4;
        } else {
            out += text[i];
        }
    }
    return out;
}

inline std::string encoded(const std::string& text) {
    std::string out;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 32 && byte < 127) {
            out += c;
        } else if (c == '\n' || c == '\r' || c == '\t') {
            out += c == '\n' ? "<LF>" : c == '\r' ? "<CR>" : "<TAB>";
        } else {
            constexpr const char* kHex = "0123456789abcdef";
            out += {'<', 'x', kHex[byte >> 4], kHex[byte & 15], '>'};
        }
    }
    return out;
}

inline std::string path(const std::string& name) {
    return std::string(sourceDirectory()) + "/tests/tables/" + name;
}

/// The rows as written, bytes not decoded. Throws when the file is missing, empty or torn.
inline std::vector<Row> read(const std::string& name) {
    std::ifstream file(path(name));
    std::vector<Row> rows;
    std::string line;
    Row row;
    for (size_t number = 1; std::getline(file, line); ++number) {
        if (line.rfind("# ", 0) == 0) row.reason = line.substr(2);
        if (line.rfind("> ", 0) == 0) {
            row.input = line.substr(2);
            row.line = number;
        }
        if (line.rfind("=", 0) == 0) {
            row.expected = line.size() > 2 ? line.substr(2) : "";
            if (row.reason.empty() || row.line == 0)
                throw std::runtime_error(name + ": a row without reason or input");
            rows.push_back(row);
            row = Row();
        }
    }
    if (rows.empty()) throw std::runtime_error(name + ": no rows");
    return rows;
}

/// Answers each input and compares; with WELK_REWRITE_TABLES set the file is written anew from the answers
/// instead, for its difference to be reviewed.
inline void check(const std::string& name, const std::function<std::string(const std::string&)>& answer,
                  const std::function<void(const Row&, const std::string&)>& compare) {
    std::vector<Row> rows = read(name);
    const bool rewrite = std::getenv("WELK_REWRITE_TABLES") != nullptr;
    std::string written;
    for (const Row& row : rows) {
        const std::string actual = encoded(answer(decoded(row.input)));
        if (!rewrite) compare(row, actual);
        written +=
            "# " + row.reason + "\n> " + row.input + "\n=" + (actual.empty() ? "" : " ") + actual + "\n\n";
    }
    if (rewrite) std::ofstream(path(name)) << written;
}

}  // namespace tables
