#pragma once

#include <string>
#include <vector>

#include "kernel/search/SourceTables.h"
#include "kernel/search/Tuples.h"

namespace wdb {

// A comparison between columns of two tables: it holds for two rows when some pair of their items satisfies
// it; an empty side satisfies nothing.
//
// Values of one type compare as the type does, numbers of both kinds as numbers. Otherwise the right column's
// values are read, as they are delivered, as values of the left column's type, and those that it cannot read
// satisfy nothing. A TEXT column is searched for the other side's values as a criterion does it.
struct JoinComparison {
    BoundColumn left;
    ccl::Comparison comparison = ccl::Comparison::Equal;
    BoundColumn right;

    bool isText() const { return left.type() == FieldType::Text || right.type() == FieldType::Text; }
    bool isEqual() const { return comparison == ccl::Comparison::Equal; }
    // The type that both sides are compared in; not for texts.
    FieldType common() const;
    // With the sides exchanged: the same rows, read from the right.
    ccl::Comparison mirrored() const;
};

// The keys of a column's items in rows, as `common` orders them: entry i for the i-th row. Values that cannot
// be read as `common` have none.
struct JoinKeys {
    std::vector<std::string> keys;   // of all rows, one row after another
    std::vector<uint32_t> begin{0};  // by row, and one more

    size_t size() const { return begin.size() - 1; }
};
Status readJoinKeys(const BoundColumn& column, FieldType common, std::span<const PartRow> rows,
                    SourceTables& tables, JoinKeys& keys);

// Does some pair of keys stand so to each other?
bool anyPair(const JoinKeys& left, size_t leftRow, ccl::Comparison comparison, const JoinKeys& right,
             size_t rightRow);

// Calls visit(Slice) for the items of a column in a record (of its part, when the table's rows are parts;
// else of all).
template <typename Visit>
void visitJoinItems(const BoundColumn& column, const RecordView& record, PartNumber part, bool byPart,
                    Visit&& visit) {
    const bool all = column.ofParts() && !byPart;
    const PartNumber from = column.ofParts() && byPart ? part : 0;
    const PartNumber to = all ? record.partCount() : from;
    for (PartNumber at = from; at <= to; ++at) {
        uint32_t position = 0;
        for (const Slice item : record.items(at, column.field->number)) {
            ++position;
            const bool inside = column.first == 0 || (position >= column.first && position <= column.last);
            if (inside && !item.empty()) visit(item);
        }
    }
}

}  // namespace wdb
