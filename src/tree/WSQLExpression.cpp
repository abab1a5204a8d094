#include "src/tree/WSQLExpression.h"

#include "src/tree/TreeDump.h"
#include "src/tree/WSQLItemRef.h"

namespace wsql {

void WSQLExpression::toText(CStringBuffer&) const {}

void WSQLExpression::dump(TreeDump& out) const {
    out.atom("?");
}

void WSQLItemRef::copyItem(const WSQLItemRef& from) {
    owner = from.owner;
    table = from.table;
    column = from.column;
}

}  // namespace wsql
