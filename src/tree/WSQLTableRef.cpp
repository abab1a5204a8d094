#include "src/tree/WSQLTableRef.h"

#include "src/tree/TreeDump.h"

namespace wsql {

WSQLTableRef::WSQLTableRef(std::string tableName) {
    owner = "USER";
    table = std::move(tableName);
}

std::unique_ptr<WSQLTableRef> WSQLTableRef::clone() const {
    auto copy = std::make_unique<WSQLTableRef>();
    copy->copyItem(*this);
    copy->correlation = correlation;
    return copy;
}

void WSQLTableRef::dump(TreeDump& out) const {
    out.open("table");
    out.path(owner, table);
    out.field("alias", correlation);
    out.close();
}

}  // namespace wsql
