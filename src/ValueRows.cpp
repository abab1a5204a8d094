#include "src/ValueRows.h"

#include <limits>

#include "src/WSQLFilter.h"
#include "src/tree/Tree.h"

namespace wsql {

bool ValueRows::open() {
    SelectSearch search(filter_, select_, {});
    SearchSet set;
    if (!search.check() || !search.run(set)) return false;
    const WSQLFilter::RawValues raw(filter_);
    output_ = std::make_unique<SelectOutput>(filter_, select_, SelectOutput::Values::kRaw);
    row_ = std::make_unique<WSQLRowData>(set.number, set.hits, select_.tables->Count());
    row_->lastRow = std::numeric_limits<std::int32_t>::max();
    return true;
}

RowOutcome ValueRows::next() {
    return WSQLRowCursor(filter_, *output_).next(row_);
}

std::int32_t ValueRows::firstType() const {
    return output_->columns().empty() ? 0 : output_->columns().front().type;
}

}  // namespace wsql
