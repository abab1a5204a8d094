#include "host/text/FaultPlace.h"

#include <algorithm>
#include <optional>

#include "host/format/DisplayText.h"
#include "host/input/ColumnNames.h"

namespace host {

namespace {

bool isWord(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_' ||
           static_cast<unsigned char>(c) >= 0x80;
}

bool isQuote(char c) {
    return c == '\'' || c == '"' || c == '`';
}

// The first place outside comments where the word stands as a whole, in quotes or without.
std::optional<std::size_t> findWord(std::string_view sql, std::string_view word) {
    if (word.empty()) return std::nullopt;
    for (std::size_t i = 0; i + word.size() <= sql.size(); ++i) {
        if (sql.substr(i, 2) == "--") {
            i = std::min(sql.find('\n', i), sql.size() - 1);
            continue;
        }
        const bool starts = i == 0 || !isWord(sql[i - 1]) || !isWord(word.front());
        const std::size_t end = i + word.size();
        const bool ends = end == sql.size() || !isWord(sql[end]) || !isWord(word.back());
        if (starts && ends && equalNames(sql.substr(i, word.size()), word)) return i;
    }
    return std::nullopt;
}

// The names in quotes of a message, the last part of a dotted one first.
std::optional<std::size_t> placeOfName(std::string_view message, std::string_view sql) {
    for (std::size_t from = 0; (from = message.find('"', from)) != std::string_view::npos;) {
        const auto to = message.find('"', from + 1);
        if (to == std::string_view::npos) break;
        const std::string_view name = message.substr(from + 1, to - from - 1);
        const auto dot = name.rfind('.');
        auto place = findWord(sql, name);
        if (!place && dot != std::string_view::npos) place = findWord(sql, name.substr(dot + 1));
        if (place) return place;
        from = to + 1;
    }
    return std::nullopt;
}

std::optional<std::size_t> openQuote(std::string_view sql) {
    for (std::size_t i = 0; i < sql.size(); ++i) {
        if (sql.substr(i, 2) == "--") {
            i = std::min(sql.find('\n', i), sql.size() - 1);
        } else if (isQuote(sql[i])) {
            const std::size_t start = i;
            do {
                i = sql.find(sql[start], i + 1);
                if (i == std::string_view::npos) return start;
            } while (sql[i - 1] == '\\');
        }
    }
    return std::nullopt;
}

std::string marked(std::string_view sql, std::size_t place) {
    const auto before = place == 0 ? std::string_view::npos : sql.rfind('\n', place - 1);
    const std::size_t start = before == std::string_view::npos ? 0 : before + 1;
    const std::string head = printable(sql.substr(start, place - start));
    const std::string line = printable(sql.substr(start, sql.find('\n', place) - start));
    return "  " + line + "\n  " + std::string(static_cast<std::size_t>(displayWidth(head)), ' ') + "^\n";
}

}  // namespace

std::string faultText(const Fault& fault, bool verbose) {
    std::string text = "fault " + std::to_string(fault.code) + ": " + printable(fault.message) + "\n";
    if (verbose) text += "  source " + fault.source + ", context " + fault.context + "\n";
    return text;
}

std::string faultPlace(const Fault& fault, const Statement& statement, std::string_view source) {
    const bool syntax = fault.message == "syntax error";
    const std::optional<std::size_t> place =
        syntax ? openQuote(statement.text) : placeOfName(fault.message, statement.text);
    std::string text;
    if (!source.empty()) {
        const auto lines =
            place ? std::count(statement.text.begin(),
                               statement.text.begin() + static_cast<std::ptrdiff_t>(*place), '\n')
                  : 0;
        text += "  at " + std::string(source) + ":" + std::to_string(statement.line + lines) + "\n";
    }
    if (place && syntax) text += "  this quote is not closed:\n";
    if (place) text += marked(statement.text, *place);
    return text;
}

}  // namespace host
