#include "src/ScalarSubselects.h"

#include "src/ElementAt.h"
#include "src/ValueRows.h"
#include "src/WSQLFilter.h"
#include "src/tree/Tree.h"

namespace wsql {

bool fetchSubselect(WSQLFilter& filter, const WSQLLiteralSelect& query, SubselectValue& value) {
    ValueRows rows(filter, *query.select);
    if (!rows.open()) return false;
    value.type = rows.firstType();
    const RowOutcome outcome = rows.next();
    value.hasRow = outcome == RowOutcome::kRow && rows.row().count() > 0;
    if (value.hasRow && rows.row().value(0) != nullptr) {
        value.null = false;
        value.text.assign(rows.row().value(0), static_cast<std::size_t>(rows.row().size(0)));
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
        WSQLScalar& item = elementAt(select.items(), i);
        if (item.asColumnRef() != nullptr) continue;
        auto* query = dynamic_cast<WSQLLiteralSelect*>(&item);
        if (query != nullptr && !evaluateSubselect(filter, *query)) return false;
    }
    return true;
}

}  // namespace wsql
