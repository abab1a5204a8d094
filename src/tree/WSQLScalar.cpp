#include "src/tree/WSQLScalar.h"

#include "src/tree/TreeDump.h"

namespace wsql {

void WSQLScalar::copyScalar(const WSQLScalar& from) {
    label = from.label;
    parenthesised = from.parenthesised;
}

void WSQLScalar::dumpScalar(TreeDump& out) const {
    out.flag("paren", parenthesised);
    out.field("as", label);
}

}  // namespace wsql
