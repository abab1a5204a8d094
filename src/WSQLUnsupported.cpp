// Statements that have no executor yet: each answers the fault of an unsupported statement where its executor
// will stand.
#include "src/WSQLFilter.h"

namespace wsql {

bool WSQLFilter::ExecuteDropTable(WSQLStmtDropTable* /*drop*/) {
    ReportUnsupported();
    return false;
}

bool WSQLFilter::ExecuteModifyAccess(WSQLStmtPrivileges* /*privileges*/) {
    ReportUnsupported();
    return false;
}

}  // namespace wsql
