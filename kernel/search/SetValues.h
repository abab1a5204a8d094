#pragma once

#include <string>
#include <vector>

#include "kernel/ccl/Tree.h"
#include "kernel/record/Value.h"
#include "kernel/search/Search.h"

namespace wdb {

struct OutputColumn;

// The values of one column of a set: all rows, all items, empty ones left out. A column is meant by its name,
// or, when none has it, is the set's first one.
class SetValues {
public:
    SetValues(SearchContext& context, Search& search, CommandError& error)
        : context_(context), search_(search), error_(error) {}

    // WDB_E_CCL_SET for an unknown set, WDB_E_CCL_FIELD when a record set's base has no such field.
    Status collect(const ccl::SetValue& value, size_t position);

    // The texts as they are delivered.
    std::vector<std::string> texts() const;
    // As canonical values of an item type, ascending, without repetitions; those that the type cannot read
    // left out.
    std::vector<std::string> as(FieldType type) const;

private:
    Status collectColumn(SearchSet& set, const OutputColumn& column);
    Status collectRecords(SearchSet& set, const OutputColumn& column);
    void keep(const OutputColumn& source, Slice value, const DateForm& form);

    SearchContext& context_;
    Search& search_;
    CommandError& error_;
    FieldType type_ = FieldType::Phrase;
    std::vector<std::string> values_;  // canonical values of type_
};

}  // namespace wdb
