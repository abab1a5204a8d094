// SELECT: one command for the kernel, one block of rows for the host.
#include <optional>

#include "include/wdb.h"
#include "src/SelectResult.h"
#include "src/SelectSearch.h"
#include "src/StatusScope.h"
#include "src/WSQLFilter.h"
#include "src/tree/Tree.h"

namespace wsql {
namespace {

constexpr const char* kContext = "WSQLFilter::ExecuteSelect";
constexpr std::int32_t kDocumentBlock = 4096;

}  // namespace

bool WSQLFilter::ExecuteSelect(WSQLStmtSelect* select, std::int32_t /*firstRow*/, CStringBuffer* setReference,
                               std::int32_t* setNumber, bool subselect) {
    const bool topLevel = setReference == nullptr && setNumber == nullptr;
    SelectSearch search(*this, *select, {subselect, false, !topLevel});
    if (!search.check()) return false;
    std::optional<StatusScope> scope;
    if (topLevel) {
        scope.emplace(*this, kContext);
        if (select->tables->Count() > 0 && !UseZeroSearchSets()) return false;
    }
    SearchSet set;
    if (!search.run(set)) return false;
    debug(kContext, "Search yielded hits in %d records.\n", set.hits);
    if (setReference != nullptr) setReference->appendFormat("S=%d", set.number);
    if (setNumber != nullptr) *setNumber = set.number;
    if (!topLevel) return true;
    CStringBuffer document(kDocumentBlock);
    if (!SelectResult(*this, *select, set, {"src/WSQLExecSelect", kContext, 1267, false}).write(document))
        return false;
    setStatus(WDB_OK);
    SetAnswer(document);
    debug(kContext, "Cleaning up after SELECT processing\n");
    scope->restore();  // a failure here replaces the answer
    debug(kContext, "SELECT processing complete.\n");
    return true;
}

}  // namespace wsql
