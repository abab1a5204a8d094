#pragma once

#include <memory>
#include <string>
#include <vector>

#include "kernel/ccl/Tree.h"
#include "kernel/record/Schema.h"
#include "kernel/search/SourceTables.h"

namespace wdb {

struct OutputColumn;

// A step of arithmetic in postfix order: an operand, or an operator that takes the two results before it.
struct ArithmeticStep {
    ccl::ArithmeticTerm::Kind kind = ccl::ArithmeticTerm::Kind::Number;
    uint32_t operand = 0;  // of a column or aggregate: place in ArithmeticColumn::operands
    std::string number;
};
struct ArithmeticColumn {
    std::vector<OutputColumn> operands;  // fields, record numbers, computed values
    std::vector<ArithmeticStep> steps;
};

// An entry of a row: a field's items, a record number, a value computed when the set was made, arithmetic, or
// a constant.
struct OutputColumn {
    enum class Kind : uint8_t { Field, Record, Computed, Arithmetic, Constant, Null };
    Kind kind = Kind::Null;
    FieldType type = FieldType::Phrase;
    bool ofParts = false;
    uint32_t table = 0;  // of a field or record number
    FieldNumber field = 0;
    uint32_t first = 0;  // subfields: 0 all items; first == last that item alone; else the items 1 to last
    uint32_t last = 0;
    uint32_t computed = 0;  // place among the computed columns of the set
    std::string name;       // the field's spelling; aggregateName() of an aggregate
    std::string text;       // of a constant
    std::shared_ptr<const ArithmeticColumn> arithmetic;
};

// An aggregate of a selection; without a column it counts rows.
struct BoundAggregate {
    ccl::Function function = ccl::Function::Count;
    bool distinct = false;
    std::optional<BoundColumn> column;
};

// Tells aggregates of a set apart: the function over the unqualified field.
std::string aggregateName(const ccl::Aggregate& aggregate);

// Binds a FIELD list; an empty one stands for all fields of all tables that may be read. Aggregates are
// numbered in `aggregates`; a computed column stands for each. WDB_E_CCL_FIELD, WDB_E_TYPE.
Status bindColumns(SourceTables& tables, const std::vector<ccl::FieldItem>& items,
                   std::vector<OutputColumn>& columns, std::vector<BoundAggregate>& aggregates,
                   CommandError& error);

// All fields of the base that may be read, by number.
std::vector<OutputColumn> allColumns(SearchContext& context, const BaseDefinition& definition,
                                     uint32_t table = 0);

}  // namespace wdb
