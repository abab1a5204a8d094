#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace host {

struct Column {
    std::string name;  // the label where there is one
    std::string type;  // SQL type name: "INTEGER", "LONG VARCHAR", ...
    bool isNumber() const { return type == "INTEGER" || type == "NUMERIC"; }
    bool isText() const { return type == "LONG VARCHAR"; }
};

struct Cell {
    std::string text;
    bool isNull = false;
};
using Row = std::vector<Cell>;

// One block of a result. `total` is the exact number of rows of the whole result, `first` the 1-based number
// of this block's first row in it.
struct ResultSet {
    std::string statementType;  // "SELECT", "INSERT", ...
    std::int64_t total = 0;
    std::int64_t first = 1;
    std::vector<Column> columns;
    std::vector<Row> rows;
};

struct Success {
    std::string text;
};

struct Property {
    std::string name, value;
};

// An answer that cannot be read: the engine and this program disagree about its form.
struct Unreadable {
    std::string reason;
};

struct Fault {
    int code = 0;
    std::string message, source, context;
};

using Answer = std::variant<ResultSet, Success, Property, Unreadable>;

// Reads the document of a statement that succeeded. The bytes are used as working memory.
Answer readAnswer(char* document, std::size_t length);

// Reads the document of a statement that failed. Its texts stand there unescaped, so it is no XML; `status`
// and `message` are the record's own fields, which are used when there is no document.
Fault readFault(std::string_view document, int status, std::string_view message);

}  // namespace host
