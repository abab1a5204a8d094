#include "src/StatusScope.h"

#include "include/wdb.h"
#include "src/WSQLFilter.h"

namespace wsql {

StatusScope::StatusScope(WSQLFilter& filter, const char* method) : filter_(filter), method_(method) {
    // Without a status of its own the scope would restore one that the host has saved.
    open_ = WDB_SUCCESS(WdbSaveStatus());
}

StatusScope::~StatusScope() {
    try {
        restore();
    } catch (...) {
        filter_.AnswerException(method_);
    }
}

std::int32_t StatusScope::restore() {
    if (!open_) return WDB_OK;
    open_ = false;
    const std::int32_t status = WdbLoadStatus(3);
    if (!WDB_SUCCESS(status) && status != WDB_E_NO_STATUS && status != WDB_E_NO_SESSION) {
        filter_.ReportKernelError(status, "WdbLoadStatus", method_);
    }
    return status;
}

}  // namespace wsql
