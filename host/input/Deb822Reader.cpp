#include "host/input/Deb822Reader.h"

#include <algorithm>

namespace host {

namespace {

constexpr std::string_view kLists[] = {"DEPENDS", "PRE_DEPENDS", "RECOMMENDS", "SUGGESTS", "PROVIDES", "TAG"};

bool isBlank(char c) {
    return c == ' ' || c == '\t';
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && (isBlank(text.back()) || text.back() == '\r')) text.remove_suffix(1);
    return text;
}

std::string_view withoutLineEnd(std::string_view line) {
    if (!line.empty() && line.back() == '\n') line.remove_suffix(1);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    return line;
}

}  // namespace

std::size_t Deb822Reader::columnOf(std::string_view name) {
    const auto found = known_.find(name);
    if (found != known_.end()) return found->second;
    std::string upper(name);
    for (char& c : upper) c = c == '-' ? '_' : upperAscii(c);
    // Field names that differ in case only are one field.
    for (const auto& [other, index] : known_) {
        if (equalNames(other, name)) return known_.emplace(std::string(name), index).first->second;
    }
    const bool isKey = upper == "PACKAGE";
    const std::size_t column = names_.add(isKey ? "NAME" : upper);
    if (isKey) key_ = column;
    lists_.push_back(std::find(std::begin(kLists), std::end(kLists), upper) != std::end(kLists));
    known_.emplace(std::string(name), column);
    return column;
}

void Deb822Reader::startField(std::string_view name, std::string_view value, InputRecord& record) {
    const std::size_t column = columnOf(name);
    for (const Field& field : fields_) {
        if (field.column == column && record.problem.empty())
            record.problem = "the field " + std::string(name) + " is there twice";
    }
    const std::size_t begin = text_.size();
    text_ += trimmed(value);
    fields_.push_back({column, begin, text_.size()});
}

void Deb822Reader::takeLine(std::string_view line, InputRecord& record) {
    if (isBlank(line.front())) {
        if (fields_.empty()) {
            if (record.problem.empty()) record.problem = "a continuation line without a field";
            return;
        }
        line.remove_prefix(1);
        while (!line.empty() && (isBlank(line.back()) || line.back() == '\r')) line.remove_suffix(1);
        text_ += '\n';
        if (line != ".") text_ += line;
        fields_.back().end = text_.size();
        return;
    }
    const auto colon = line.find(':');
    if (colon == std::string_view::npos || colon == 0) {
        if (record.problem.empty())
            record.problem = "line " + std::to_string(lines_.lineNumber()) + " is no field";
        return;
    }
    startField(trimmed(line.substr(0, colon)), line.substr(colon + 1), record);
}

bool Deb822Reader::next(InputRecord& record) {
    record.values.clear();
    record.problem.clear();
    text_.clear();
    fields_.clear();
    std::string_view line;
    bool any = false;
    while (lines_.next(line)) {
        line = withoutLineEnd(line);
        if (trimmed(line).empty()) {
            if (any) break;
            continue;
        }
        if (line.front() == '#') continue;
        if (!any) record.line = lines_.lineNumber();
        any = true;
        takeLine(line, record);
    }
    for (const Field& field : fields_) {
        if (field.end > field.begin) {
            record.values.push_back(
                {field.column, std::string_view(text_).substr(field.begin, field.end - field.begin)});
        }
    }
    return any;
}

}  // namespace host
