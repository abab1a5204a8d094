#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "kernel/ccl/Tree.h"
#include "kernel/search/BaseState.h"
#include "kernel/search/Search.h"

namespace wdb {

// One table of a selection: a base under a name. The same base may stand under several names.
struct SourceTable {
    ccl::TableRef name;
    std::shared_ptr<OpenBase> base;
    std::unique_ptr<BaseState> state;
    bool byPart = false;  // its rows are the parts of its records
};

// A column of a selection: some items of a field, or the record number.
struct BoundColumn {
    uint32_t table = 0;  // place among the tables
    const FieldDefinition* field =
        nullptr;         // null: the record number; lives as long as the base's definition
    uint32_t first = 0;  // subfields, 0: all
    uint32_t last = 0;

    // Of its values; record numbers are whole numbers.
    FieldType type() const { return field == nullptr ? FieldType::Integer : field->type; }
    bool ofParts() const { return field != nullptr && field->part; }
};

// The tables of one selection, opened for the length of a call.
class SourceTables {
public:
    SourceTables(SearchContext& context, CommandError& error) : context_(context), error_(error) {}

    // Adds a table. WDB_E_BASE.
    Status add(const ccl::TableRef& name);
    // The table that a qualifier means: an alias before the name of a base.
    std::optional<uint32_t> find(Slice qualifier) const;
    // Without a qualifier: the first table that has the field. WDB_E_CCL_FIELD.
    Result<BoundColumn> bind(const ccl::Column& column);

    uint32_t size() const { return static_cast<uint32_t>(tables_.size()); }
    SourceTable& operator[](uint32_t table) { return tables_[table]; }
    const SourceTable& operator[](uint32_t table) const { return tables_[table]; }
    SearchContext& context() { return context_; }
    // Has the base fields that lie in parts?
    bool hasPartFields(uint32_t table) const;

private:
    SearchContext& context_;
    CommandError& error_;
    std::vector<SourceTable> tables_;
};

}  // namespace wdb
