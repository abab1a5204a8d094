#include "host/format/JsonFormatter.h"

#include <nlohmann/json.hpp>
#include <set>

namespace host {

namespace {
std::size_t digits(std::string_view text) {
    std::size_t n = 0;
    while (n < text.size() && text[n] >= '0' && text[n] <= '9') ++n;
    return n;
}
}  // namespace

std::string jsonString(std::string_view text) {
    return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

bool isJsonNumber(std::string_view text) {
    if (!text.empty() && text.front() == '-') text.remove_prefix(1);
    const std::size_t whole = digits(text);
    if (whole == 0 || (whole > 1 && text.front() == '0')) return false;
    text.remove_prefix(whole);
    if (text.empty()) return true;
    if (text.front() != '.') return false;
    text.remove_prefix(1);
    return !text.empty() && digits(text) == text.size();
}

void JsonFormatter::begin(const std::vector<Column>& columns, std::string& out) {
    std::set<std::string> taken;
    for (const Column& column : columns) {
        std::string name = column.name;
        for (int n = 2; !taken.insert(name).second; ++n) name = column.name + "_" + std::to_string(n);
        keys_.push_back(jsonString(name) + ": ");
        numbers_.push_back(column.isNumber());
    }
    out += '[';
}

void JsonFormatter::rows(const std::vector<Row>& rows, std::string& out) {
    for (const Row& row : rows) {
        out += empty_ ? "\n  {" : ",\n  {";
        empty_ = false;
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (i > 0) out += ", ";
            out += keys_[i];
            if (row[i].isNull)
                out += "null";
            else if (numbers_[i] && isJsonNumber(row[i].text))
                out += row[i].text;
            else
                out += jsonString(row[i].text);
        }
        out += '}';
    }
}

void JsonFormatter::end(const ResultEnd&, std::string& out) {
    out += empty_ ? "]\n" : "\n]\n";
}

}  // namespace host
