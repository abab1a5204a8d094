#include "src/WSQLMilestone.h"

#include "src/tree/Tree.h"

namespace wsql {

bool beyondExecution(const WSQLStmtInsert& insert) {
    if (insert.select) return true;
    for (std::int32_t i = 0; i < count(insert.values); ++i) {
        const auto* value = dynamic_cast<const WSQLLiteralSelect*>(insert.values->Get(i));
        if (value == nullptr) continue;
        const WSQLStmtSelect& query = *value->select;
        if (query.tables->Count() > 0 || query.joinSpec || query.hasUnion()) return true;
    }
    return false;
}

}  // namespace wsql
