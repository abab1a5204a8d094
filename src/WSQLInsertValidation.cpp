// The checks of an INSERT, and of a sub-query that stands for one value.
#include <string>
#include <vector>

#include "src/ElementAt.h"
#include "src/InsertColumns.h"
#include "src/WSQLFilter.h"
#include "src/tree/Tree.h"

namespace wsql {
namespace {

constexpr const char* kLog = "WSQLFilter::ValidateInsert";
constexpr const char* kContext = "SQLFilter::ValidateInsert";

bool fault(WSQLFilter& filter, const std::string& text, const char* context = kContext) {
    filter.WriteFaultDocument(static_cast<std::uint32_t>(filter.lastStatus()), text.c_str(),
                              static_cast<std::int32_t>(text.size()), "validation", context);
    return false;
}

bool checkValue(WSQLFilter& filter, const WSQLScalar* value, const WELKFieldInfo& column,
                std::int32_t position) {
    filter.debug(kLog, "Processing column #%d\n", position);
    if (value == nullptr) {
        return fault(filter,
                     "Internal error: NULL pointer to value for column " + std::to_string(position) + ".");
    }
    if (const auto* subselect = dynamic_cast<const WSQLLiteralSelect*>(value)) {
        return filter.ValidateLiteralSelect(subselect->select.get());
    }
    if (column.partField) return fault(filter, partColumnText(position, column.name));
    filter.debug(kLog, "Data type verification.\n");
    if (!isNullValue(*value)) {
        const std::string mismatch = typeMismatch(classOf(*value), column, position, TypeRule::kValidation);
        if (!mismatch.empty()) return fault(filter, mismatch);
    }
    filter.debug(kLog, "Column type verified.\n");
    return true;
}

}  // namespace

bool WSQLFilter::ValidateLiteralSelect(WSQLStmtSelect* select) {
    constexpr const char* kMethod = "SQLFilter::ValidateLiteralSelect";
    if (select == nullptr || !ValidateSelect(select)) return false;
    if (select->itemCount() > 1) {
        setLastStatus(0);
        return fault(*this,
                     "A subselect statement in the VALUES list of an INSERT may only return one column.",
                     kMethod);
    }
    if (select->hasUnion()) {
        return fault(*this, "Cannot use UNION in a subselect statement within an INSERT.", kMethod);
    }
    if (select->itemCount() > 0) return true;
    std::int32_t fields = 0;
    for (std::int32_t i = 0; i < select->tables->Count(); ++i) {
        const WSQLTableRef& table = elementAt(*select->tables, i);
        if (table.fields) fields += table.fields->Count();
    }
    return fields < 1 || fault(*this, "Subselect expression returns more than one column.", kMethod);
}

bool WSQLFilter::ValidateInsert(WSQLStmtInsert* insert) {
    if (!insert->table) return fault(*this, "Internal error - table reference was NULL.");
    const std::string& name = insert->table->table;
    if (!DBTableExists(name.c_str())) return fault(*this, "Table \"" + name + "\" does not exist.");
    LoadFields(insert->table.get());
    std::vector<const WELKFieldInfo*> columns;
    std::string unknown;
    if (!targetColumns(*insert, columns, unknown)) {
        return fault(*this, "Column \"" + unknown + "\" does not exist or is not writable.");
    }
    if (insert->select) return ValidateSelect(insert->select.get());
    const std::int32_t values = count(insert->values);
    if (values != static_cast<std::int32_t>(columns.size())) {
        return fault(*this, "Specified number of values (" + std::to_string(values) +
                                ") does not match the number of columns in the table (" +
                                std::to_string(columns.size()) + ").");
    }
    for (std::int32_t i = 0; i < values; ++i) {
        if (!checkValue(*this, insert->values->Get(i), *columns[static_cast<std::size_t>(i)], i + 1))
            return false;
    }
    return true;
}

}  // namespace wsql
