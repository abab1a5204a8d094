#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

// The in-memory twin of one base: what its searches must answer, found by looking at every record.
namespace model {

// Fields of the twin's base, in the order of their numbers.
enum Field : int32_t { kName = 1, kKind, kSize, kPrice, kDay, kNote, kTag, kPage };

struct TwinRecord {
    std::string name;                // unique
    std::string kind;                // PHRASE, one item
    std::vector<std::string> tags;   // PHRASE, several items, empty ones among them; the last one is not
    std::vector<std::string> pages;  // PHRASE of the parts, one each; may be empty
    std::vector<std::string> note;   // TEXT: one string of words per paragraph
    long size = 0;
    bool hasSize = false;
    std::string price;  // NUMBER as typed, or empty
    std::string day;    // DATE as YYYY-MM-DD, or empty
};

using Twin = std::map<int32_t, TwinRecord>;

using Random = std::mt19937;
// `words`: at most so many in a paragraph of the note.
TwinRecord randomRecord(Random& random, int serial, int words = 8);
std::string randomWord(Random& random);

// A record with one of its parts, or with part 0 when it has none: what conditions are decided for.
struct Row {
    int32_t record;
    int32_t part;
    auto operator<=>(const Row&) const = default;
};

// A random criterion as CCL (columns unqualified) and the rows that satisfy it, ascending.
struct Question {
    std::string ccl;
    std::vector<Row> rows;
    // Those that have a row.
    std::vector<int32_t> records() const;
};
Question randomQuestion(Random& random, const Twin& twin);
// Up to three criteria joined by AND, OR and NOT, with parentheses.
Question randomExpression(Random& random, const Twin& twin, int depth);

// The records in the order of one column; empty values first, last when descending; equals by record number.
std::vector<int32_t> sorted(const Twin& twin, Field field, bool descending);

}  // namespace model
