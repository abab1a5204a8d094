#pragma once

#include <string>
#include <vector>

#include "kernel/ccl/Tree.h"
#include "kernel/record/Schema.h"
#include "kernel/search/BaseState.h"
#include "kernel/search/Search.h"

namespace wdb {

// An entry of a row: a field's items, a record number or a constant.
struct OutputColumn {
    enum class Kind : uint8_t { Field, Record, Constant, Null };
    Kind kind = Kind::Null;
    FieldNumber field = 0;
    FieldType type = FieldType::Phrase;
    uint32_t first = 0;  // subfields: 0 all items; first == last that item alone; else the items 1 to last
    uint32_t last = 0;
    std::string name;    // the field's spelling
    std::string text;    // of a constant
};

// Binds a FIELD list over one base; an empty list stands for all fields that may be read. `state` is null for a selection
// without a base. WDB_E_CCL_FIELD, WDB_E_CCL_UNSUPPORTED.
Status bindColumns(const BaseState* state, const ccl::TableRef* table, const std::vector<ccl::FieldItem>& items,
                   std::vector<OutputColumn>& columns, CommandError& error);

// All fields of the base that may be read, by number.
std::vector<OutputColumn> allColumns(SearchContext& context, const BaseDefinition& definition);

// Does a column's qualifier mean the table: its alias, its base's name, or nothing?
bool meansTable(const ccl::Column& column, const ccl::TableRef& table);

}  // namespace wdb
