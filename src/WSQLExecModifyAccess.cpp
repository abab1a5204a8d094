// GRANT and REVOKE: one user's access record of one database, read, changed and stored whole.
#include <cstring>

#include "src/AccessRights.h"
#include "src/ElementAt.h"
#include "src/WSQLFilter.h"
#include "src/tree/Tree.h"
#include "src/welkhelp/WelkRecord.h"

namespace wsql {
namespace {

constexpr const char* kContext = "WSQLFilter::ExecuteModifyAccess";
constexpr std::size_t kNameBuffer = 256;

bool fault(WSQLFilter& filter, std::int32_t status, const char* source) {
    filter.ReportKernelError(status, source, kContext);
    return false;
}

bool changeColumns(WSQLFilter& filter, const WSQLStmtPrivileges& statement, AccessRights& rights) {
    rights.beginColumns();
    WelkRecord control;
    std::int32_t status = WdbCreateRecordControl(&control.slot());
    if (!WDB_SUCCESS(status)) return fault(filter, status, "WdbCreateRecordControl");
    status = WdbSetBase(control.get(), statement.table->table.c_str(), WDB_MODE_READ);
    if (!WDB_SUCCESS(status)) return fault(filter, status, "WdbSetBase");
    for (std::int32_t i = 0; i < statement.columns->Count(); ++i) {
        const std::string& column = elementAt(*statement.columns, i).column;
        char name[kNameBuffer] = {};
        std::int32_t number = 0, type = 0;
        std::uint32_t flags = 0;
        status = WDB_E_FIELD;  // a longer name is no field's
        if (column.size() < kNameBuffer) {
            std::memcpy(name, column.data(), column.size());
            status = WdbCheckField(control.get(), name, &number, &type, &flags);
        }
        if (!WDB_SUCCESS(status)) return fault(filter, status, "WdbCheckField");
        if (number < 1 || number > WDB_FIELD_NUMBER_MAX) return fault(filter, WDB_E_FIELD, "WdbCheckField");
        rights.changeColumn(number);
    }
    return true;
}

}  // namespace

bool WSQLFilter::ExecuteModifyAccess(WSQLStmtPrivileges* privileges) {
    const std::string& database = privileges->table->table;
    // Names that are too long are refused, never cut into others.
    std::int32_t status =
        database.size() > WDB_BASE_NAME_MAX ? WDB_E_NAME : WdbCheckBase(database.c_str(), WDB_MODE_WRITE);
    if (!WDB_SUCCESS(status)) return fault(*this, status, "WdbCheckBase");
    WdbAccessRecord record{};
    status = privileges->grantee.size() > WDB_BASE_NAME_MAX
                 ? WDB_E_NAME
                 : WdbGetDbAccess(privileges->grantee.c_str(), &record);
    if (!WDB_SUCCESS(status)) return fault(*this, status, "WdbGetDbAccess");
    AccessRights rights(record, privileges->grant, privileges->singleRight);
    if (!privileges->columns) {
        rights.changeTable();
    } else if (!changeColumns(*this, *privileges, rights)) {
        return false;
    }
    status = WdbPutDbAccess(&record);
    // The source names an earlier call: hosts know it so.
    if (!WDB_SUCCESS(status)) return fault(*this, status, "WdbSetBase");
    ReportSuccess("Access privileges on %s have been modified.", database.c_str());
    return true;
}

}  // namespace wsql
