#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace compare {

// What is asked; the order is that of the table and of kQueries.
enum class Kind {
    Rare,
    Point,
    Common,
    Exact,
    And,
    OrOfThree,
    AndNot,
    WordPrefix,
    NamePrefix,
    WordInfix,
    Phrase,
    Range,
    RangeAndWord,
    WordByName,
    FirstPage,
    Page500,
    Group,
    JoinFew,
    JoinAll
};

// A line of the table. Goals are microseconds; `ahead` is the ratio to the best of the others that is aimed
// at. Below 1 the best of the others may be so much faster. 0: no goal.
struct QueryKind {
    Kind kind;
    const char* key;  // in the file of arguments
    const char* label;
    double goalSmall;
    double goalLarge;
    double ahead;
};

inline constexpr std::array<QueryKind, 19> kQueries = {{
    {Kind::Rare, "rare", "rare word", 20, 22, 1.2},
    {Kind::Point, "point", "point look-up", 12, 12, 1 / 3.5},
    {Kind::Common, "common", "common word", 20, 25, 5},
    {Kind::Exact, "exact", "exact VARCHAR", 20, 25, 5},
    {Kind::And, "and", "AND of two words", 35, 150, 3},
    {Kind::OrOfThree, "or3", "OR of three words", 35, 150, 3},
    {Kind::AndNot, "andnot", "AND NOT", 35, 150, 3},
    {Kind::WordPrefix, "wordprefix", "word truncation comp%", 50, 500, 8},
    {Kind::NamePrefix, "nameprefix", "VARCHAR truncation lib%", 120, 1000, 4},
    {Kind::WordInfix, "infix", "word infix %crypt%", 0, 0, 0},
    {Kind::Phrase, "phrase", "phrase of two words", 80, 3000, 1.9},
    {Kind::Range, "range", "integer range", 40, 300, 5},
    {Kind::RangeAndWord, "rangeword", "range AND word", 40, 300, 5},
    {Kind::WordByName, "wordbyname", "word ORDER BY name, first page", 120, 300, 3},
    {Kind::FirstPage, "firstpage", "all ORDER BY size DESC, first page", 20, 25, 1.1},
    {Kind::Page500, "page500", "all ORDER BY size DESC, page 500", 100, 110, 2.4},
    {Kind::Group, "group", "GROUP BY section, COUNT, SUM", 150, 1500, 2.3},
    {Kind::JoinFew, "joinfew", "join with a filter (some 200 rows)", 500, 1400, 1.25},
    {Kind::JoinAll, "joinall", "a word with all its dependencies", 4000, 100000, 3},
}};

inline constexpr int kPageRows = 20;
inline constexpr int kFarPage = 500;  // pages count from 1

// A query with its arguments: words, prefixes or numbers as digits.
struct Query {
    Kind kind;
    std::vector<std::string> arguments;
};

// What came back: the exact number of hits, and the rows of the page.
struct Answer {
    long long total = -1;
    int rows = 0;
    size_t bytes = 0;  // of the delivered texts
};

// The arguments of a kind, one Query for each line of the file. Empty when there are none.
std::vector<Query> readQueries(const std::string& path, const QueryKind& kind);

}  // namespace compare
