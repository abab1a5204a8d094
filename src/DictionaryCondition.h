// The WHERE of a selection from the dictionary, judged row by row: no base stands behind its tables that a
// command could search.
#pragma once

#include <cstdint>

#include "src/DictionaryTables.h"

namespace wsql {

class WDBSRow;
class WSQLComparison;
class WSQLCompositeCondition;
class WSQLCondition;
class WSQLFilter;
class WSQLScalar;

class DictionaryCondition {
public:
    /// condition may be null: every row is kept. All outlive this object.
    DictionaryCondition(WSQLFilter& filter, DictionaryKind kind, const WSQLCondition* condition)
        : filter_(filter), kind_(kind), condition_(condition) {}

    bool exists() const { return condition_ != nullptr; }

    /// Whether the row is kept. False after a fault: columns and kinds of condition are judged with a row.
    bool judge(const WDBSRow& row, bool& kept) const;

private:
    bool evaluate(const WSQLCondition& condition, const WDBSRow& row, std::int32_t level, bool& kept) const;
    bool predicate(const WSQLCondition& condition, const WDBSRow& row, bool& kept) const;
    bool like(const WSQLComparison& comparison, const WDBSRow& row, bool& kept) const;
    bool compare(const WSQLComparison& comparison, const WDBSRow& row, bool& kept) const;
    std::int32_t columnOf(const WSQLScalar& scalar) const;
    bool fault(const char* format, const char* name = "") const;

    WSQLFilter& filter_;
    DictionaryKind kind_;
    const WSQLCondition* condition_;
};

}  // namespace wsql
