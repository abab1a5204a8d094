#include "src/ScalarSubselects.h"

#include "src/ElementAt.h"
#include "src/SelectOutput.h"
#include "src/SelectSearch.h"
#include "src/WSQLFilter.h"
#include "src/WSQLRowCursor.h"
#include "src/tree/Tree.h"

namespace wsql {

bool fetchSubselect(WSQLFilter& filter, const WSQLLiteralSelect& query, SubselectValue& value) {
    WSQLStmtSelect& select = *query.select;
    SelectSearch search(filter, select, {});
    SearchSet set;
    if (!search.check() || !search.run(set)) return false;
    const WSQLFilter::RawValues raw(filter);
    SelectOutput output(filter, select, SelectOutput::Values::kRaw);
    if (!output.columns().empty()) value.type = output.columns().front().type;
    if (set.hits < 1) return true;
    auto row = std::make_unique<WSQLRowData>(set.number, set.hits, select.tables->Count());
    row->lastRow = 1;
    const RowOutcome outcome = WSQLRowCursor(filter, output).next(row);
    value.hasRow = outcome == RowOutcome::kRow && row->count() > 0;
    if (value.hasRow && row->value(0) != nullptr) {
        value.null = false;
        value.text.assign(row->value(0), static_cast<std::size_t>(row->size(0)));
    }
    return outcome != RowOutcome::kFailed;
}

bool evaluateSubselect(WSQLFilter& filter, WSQLLiteralSelect& query) {
    SubselectValue value;
    if (!fetchSubselect(filter, query, value)) return false;
    if (value.null) {
        query.result = WSQLChar::null();
    } else {
        query.result = std::make_unique<WSQLChar>(value.text);
    }
    return true;
}

bool evaluateSubselects(WSQLFilter& filter, WSQLStmtSelect& select) {
    for (std::int32_t i = 0; i < select.itemCount(); ++i) {
        auto* query = dynamic_cast<WSQLLiteralSelect*>(select.item(i));
        if (query != nullptr && !evaluateSubselect(filter, *query)) return false;
    }
    return true;
}

}  // namespace wsql
