#include "host/text/Completion.h"

#include <algorithm>
#include <set>

#include "host/input/ColumnNames.h"

namespace host {

const std::vector<std::string>& sqlKeywords() {
    static const std::vector<std::string> words = {"ACTION",
                                                   "CHAR",
                                                   "NO",
                                                   "ADD",
                                                   "ALL",
                                                   "ALTER",
                                                   "AND",
                                                   "AS",
                                                   "ASC",
                                                   "AVG",
                                                   "BETWEEN",
                                                   "BY",
                                                   "CASCADE",
                                                   "CHARACTER",
                                                   "CHARSET",
                                                   "COLUMN",
                                                   "COMMIT",
                                                   "COUNT",
                                                   "CREATE",
                                                   "CROSS",
                                                   "CURRENT_DATE",
                                                   "CURRENT_TIME",
                                                   "CURRENT_TIMESTAMP",
                                                   "DATA",
                                                   "DATE",
                                                   "DEFAULT",
                                                   "DELETE",
                                                   "DESC",
                                                   "DISTINCT",
                                                   "DROP",
                                                   "EXISTS",
                                                   "FALSE",
                                                   "FOREIGN",
                                                   "FROM",
                                                   "GET",
                                                   "GRANT",
                                                   "GROUP",
                                                   "IF",
                                                   "IGNORE",
                                                   "IN",
                                                   "INNER",
                                                   "INSERT",
                                                   "INTEGER",
                                                   "INTO",
                                                   "IS",
                                                   "JOIN",
                                                   "KEY",
                                                   "LEFT",
                                                   "LIKE",
                                                   "LOCATION",
                                                   "LONG",
                                                   "MAX",
                                                   "MIN",
                                                   "NATURAL",
                                                   "NOT",
                                                   "NULL",
                                                   "NUMERIC",
                                                   "OBJECT",
                                                   "ON",
                                                   "OR",
                                                   "ORDER",
                                                   "OUTER",
                                                   "PRIMARY",
                                                   "PRIVILEGES",
                                                   "PROPERTY",
                                                   "READ",
                                                   "REFERENCES",
                                                   "RESTRICT",
                                                   "REVOKE",
                                                   "RIGHT",
                                                   "ROLLBACK",
                                                   "SELECT",
                                                   "SERIAL",
                                                   "SET",
                                                   "SUM",
                                                   "TABLE",
                                                   "TIME",
                                                   "TO",
                                                   "TRUE",
                                                   "TYPE",
                                                   "UNION",
                                                   "UPDATE",
                                                   "USING",
                                                   "VALUELIST",
                                                   "VALUES",
                                                   "VARBINARY",
                                                   "VARCHAR",
                                                   "WHERE",
                                                   "WITH",
                                                   "WORK",
                                                   "WRITE"};
    return words;
}

namespace {

bool beginsWith(std::string_view text, std::string_view word) {
    return text.size() >= word.size() && equalNames(text.substr(0, word.size()), word);
}

std::string inCaseOf(std::string keyword, std::string_view word) {
    const bool lower = std::any_of(word.begin(), word.end(), [](char c) { return c >= 'a' && c <= 'z'; });
    if (lower) {
        for (char& c : keyword) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return keyword;
}

}  // namespace

bool isKeyword(std::string_view word) {
    const auto& words = sqlKeywords();
    return std::any_of(words.begin(), words.end(),
                       [&](const std::string& keyword) { return equalNames(keyword, word); });
}

std::vector<std::string> completions(std::string_view word, const std::vector<std::string>& names) {
    std::set<std::string> found;
    if (word.empty()) return {};
    for (const std::string& keyword : sqlKeywords()) {
        if (beginsWith(keyword, word)) found.insert(inCaseOf(keyword, word));
    }
    for (const std::string& name : names) {
        if (beginsWith(name, word)) found.insert(name);
    }
    return {found.begin(), found.end()};
}

std::string commonPrefix(const std::vector<std::string>& words) {
    if (words.empty()) return {};
    std::string prefix = words.front();
    for (const std::string& word : words) {
        std::size_t n = 0;
        while (n < prefix.size() && n < word.size() && upperAscii(prefix[n]) == upperAscii(word[n])) ++n;
        prefix.resize(n);
    }
    return prefix;
}

}  // namespace host
