#pragma once

#include <optional>
#include <string>
#include <vector>

#include "kernel/ccl/Tree.h"
#include "kernel/record/Value.h"
#include "kernel/search/Operand.h"
#include "kernel/search/Search.h"

namespace wdb {

struct OutputColumn;

// The values of one column of a set: all rows, all items, empty ones left out. A column is meant by its name,
// or, when none has it, is the set's only one.
class SetValues {
public:
    SetValues(SearchContext& context, Search& search, CommandError& error)
        : context_(context), search_(search), error_(error) {}

    // WDB_E_CCL_SET for an unknown set, WDB_E_CCL_FIELD when a record set's base has no such field or no
    // column of several is meant.
    Status collect(const ccl::SetValue& value, size_t position);

    // The texts as they are delivered.
    std::vector<std::string> texts() const;
    // As canonical values of an item type, ascending, without repetitions; those that the type cannot read
    // left out, and decimals beside whole numbers.
    std::vector<std::string> as(FieldType type) const;
    // The least or the greatest of them as an item type orders them, decimals beside whole numbers included.
    std::optional<Operand> extreme(FieldType type, bool greatest) const;

private:
    Status collectColumn(SearchSet& set, const OutputColumn& column);
    Status collectNumbers(SearchSet& set);
    Status collectRecords(SearchSet& set, const OutputColumn& column);
    std::vector<Operand> operands(FieldType type) const;

    SearchContext& context_;
    Search& search_;
    CommandError& error_;
    // Members of a union may have other types than its first one.
    struct Kept {
        FieldType type;
        std::string value;  // canonical
    };
    std::vector<Kept> values_;
};

}  // namespace wdb
