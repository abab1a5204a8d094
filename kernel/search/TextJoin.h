#pragma once

#include <map>
#include <memory>
#include <unordered_map>

#include "kernel/search/Condition.h"
#include "kernel/search/JoinComparison.h"
#include "kernel/search/TableRows.h"

namespace wdb {

// A join comparison with a TEXT column: each different value of the other side is looked for in the text as a
// criterion does it. With texts on both sides the right one's whole text is the value.
class TextJoin {
public:
    TextJoin(const JoinComparison& comparison, SourceTables& tables);

    // The rows of the two sides, as written in the comparison, ascending.
    Status prepare(std::span<const PartRow> left, std::span<const PartRow> right);
    // By places in these rows.
    bool fits(uint32_t left, uint32_t right) const;
    // The rows of the other side that fit a row of one side, ascending. `left`: that row is one of the left
    // side.
    void matches(bool left, uint32_t row, std::vector<uint32_t>& out);

private:
    Status readValues(std::span<const PartRow> rows);
    void invert();
    Status lookUp(const std::string& value, uint32_t place);
    Status lookUpParts(const Condition& condition, const RecordSet& records, std::vector<uint32_t>& rows);

    JoinComparison comparison_;  // the text on its left side
    SourceTables& tables_;
    bool turned_;
    std::span<const PartRow> texts_;
    std::vector<std::vector<uint32_t>> valuesOf_;  // by row of the other side: places in found_
    std::vector<RecordSet> found_;                 // per different value
    bool byPart_ = false;                          // the text lies in parts, and its rows are parts
    std::vector<std::vector<uint32_t>>
        rowsFound_;                           // byPart_: per different value places in texts_, ascending
    std::map<std::string, uint32_t> places_;  // value to place in found_
    bool inverted_ = false;
    // Inverted: rows of the other side by record of the text, byPart_ by its place in texts_.
    std::unordered_map<uint32_t, std::vector<uint32_t>> rowsOf_;
};

}  // namespace wdb
