#include "src/ScalarSubselects.h"

#include "src/ElementAt.h"
#include "src/SelectOutput.h"
#include "src/SelectSearch.h"
#include "src/WSQLFilter.h"
#include "src/WSQLRowCursor.h"
#include "src/tree/Tree.h"

namespace wsql {

bool evaluateSubselect(WSQLFilter& filter, WSQLLiteralSelect& query) {
    WSQLStmtSelect& select = *query.select;
    SelectSearch search(filter, select, {});
    SearchSet set;
    if (!search.check() || !search.run(set)) return false;
    query.result = WSQLChar::null();
    if (set.hits < 1) return true;
    const WSQLFilter::RawValues raw(filter);
    SelectOutput output(filter, select, SelectOutput::Values::kRaw);
    auto row = std::make_unique<WSQLRowData>(set.number, set.hits, select.tables->Count());
    row->lastRow = 1;
    const RowOutcome outcome = WSQLRowCursor(filter, output).next(row);
    if (outcome == RowOutcome::kRow && row->count() > 0 && row->value(0) != nullptr) {
        query.result = std::make_unique<WSQLChar>(
            std::string_view(row->value(0), static_cast<std::size_t>(row->size(0))));
    }
    return outcome != RowOutcome::kFailed;
}

bool evaluateSubselects(WSQLFilter& filter, WSQLStmtSelect& select) {
    for (std::int32_t i = 0; i < select.itemCount(); ++i) {
        auto* query = dynamic_cast<WSQLLiteralSelect*>(select.item(i));
        if (query != nullptr && !evaluateSubselect(filter, *query)) return false;
    }
    return true;
}

}  // namespace wsql
