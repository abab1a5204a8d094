#include "src/tree/WSQLColumnRef.h"

#include "src/support/CStringBuffer.h"
#include "src/tree/TreeDump.h"

namespace wsql {

void WSQLColumnRef::toText(CStringBuffer& out) const {
    out.append(std::string_view(column));
}

void WSQLColumnRef::dump(TreeDump& out) const {
    out.open("col");
    out.field("owner", owner);
    out.path(table, column);
    if (subscript != 0) out.atom("[" + std::to_string(subscript) + "]");
    if (constantQuote != 0) out.atom("quote=" + std::string(1, constantQuote));
    out.field("alias", correlation);
    if (fieldNumber != 0) {
        out.atom("field=" + std::to_string(fieldNumber) + ":" + std::to_string(fieldType) + ":" +
                 std::to_string(fieldFlags));
    }
    dumpScalar(out);
    out.close();
}

std::unique_ptr<WSQLColumnRef> WSQLColumnRef::cloneColumn() const {
    auto copy = std::make_unique<WSQLColumnRef>();
    copy->copyItem(*this);
    copy->copyScalar(*this);
    copy->correlation = correlation;
    copy->subscript = subscript;
    copy->constantQuote = constantQuote;
    copy->fieldNumber = fieldNumber;
    copy->fieldType = fieldType;
    copy->fieldFlags = fieldFlags;
    copy->keyTable = keyTable;
    return copy;
}

void WSQLAllColumns::toText(CStringBuffer& out) const {
    if (!table.empty()) {
        out.append(std::string_view(table));
        out.append('.');
    }
    out.append('*');
}

void WSQLAllColumns::dump(TreeDump& out) const {
    out.open("all");
    if (!table.empty()) out.name(table);
    dumpScalar(out);
    out.close();
}

std::unique_ptr<WSQLScalar> WSQLAllColumns::clone() const {
    auto copy = std::make_unique<WSQLAllColumns>(table);
    copy->copyScalar(*this);
    return copy;
}

}  // namespace wsql
