// The checks of UPDATE and DELETE.
#include "src/ElementAt.h"
#include "src/ValidationFault.h"
#include "src/WSQLFilter.h"
#include "src/tree/Tree.h"

namespace wsql {
namespace {

bool checkTable(WSQLFilter& filter, const WSQLTableRef& table) {
    if (filter.DBTableExists(table.table.c_str())) return true;
    filter.ReportKernelError(filter.lastStatus(), kValidationSource, "Validation");
    return false;
}

}  // namespace

bool WSQLFilter::ValidateUpdate(WSQLStmtUpdate* update) {
    if (!checkTable(*this, *update->table)) return false;
    for (std::int32_t i = 0; i < count(update->assignments); ++i) {
        const auto* query =
            dynamic_cast<const WSQLLiteralSelect*>(elementAt(*update->assignments, i).value.get());
        if (query != nullptr && !ValidateLiteralSelect(query->select.get())) return false;
    }
    return !update->where || ValidateCondition(update, update->where.get());
}

bool WSQLFilter::ValidateDelete(WSQLStmtDelete* statement) {
    return checkTable(*this, *statement->table) &&
           (!statement->where || ValidateCondition(statement, statement->where.get()));
}

}  // namespace wsql
