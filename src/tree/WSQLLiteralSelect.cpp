#include "src/tree/WSQLLiteralSelect.h"

#include "src/tree/TreeDump.h"
#include "src/tree/WSQLStmtSelect.h"

namespace wsql {

WSQLLiteralSelect::WSQLLiteralSelect(std::unique_ptr<WSQLStmtSelect> query) : select(std::move(query)) {}

WSQLLiteralSelect::~WSQLLiteralSelect() = default;

void WSQLLiteralSelect::dump(TreeDump& out) const {
    out.open("value");
    out.child(select);
    if (result) out.child(result);
    dumpScalar(out);
    out.close();
}

std::unique_ptr<WSQLScalar> WSQLLiteralSelect::clone() const {
    auto copy = std::make_unique<WSQLLiteralSelect>(select ? select->clone() : nullptr);
    if (result) copy->result = result->clone();
    copy->copyScalar(*this);
    return copy;
}

}  // namespace wsql
