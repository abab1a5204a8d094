// UNION: the sets of several SELECTs combined into one, and one block of its rows for the host.
#include "include/wdb.h"
#include "src/SelectResult.h"
#include "src/StatusScope.h"
#include "src/UnionSearch.h"
#include "src/WSQLFilter.h"
#include "src/tree/Tree.h"

namespace wsql {
namespace {

constexpr const char* kContext = "WSQLFilter::ExecuteUnion";
constexpr std::int32_t kDocumentBlock = 4096;

}  // namespace

bool WSQLFilter::ExecuteUnion(WSQLStmtSelect* select) {
    StatusScope scope(*this, kContext);
    SearchSet set;
    if (!UseZeroSearchSets() || !searchUnion(*this, *select, set)) return false;
    CStringBuffer document(kDocumentBlock);
    if (!SelectResult(*this, *select, set, {"src/WSQLExecUnion", kContext, __LINE__, true}).write(document))
        return false;
    setStatus(WDB_OK);
    SetAnswer(document);
    scope.restore();  // a failure here replaces the answer
    debug(kContext, "UNION processing complete.\n");
    return true;
}

}  // namespace wsql
