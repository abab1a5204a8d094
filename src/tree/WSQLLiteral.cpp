#include "src/tree/WSQLLiteral.h"

#include "src/support/CStringBuffer.h"
#include "src/tree/TreeDump.h"

namespace wsql {

void WSQLLiteral::copyLiteral(const WSQLLiteral& from) {
    copyScalar(from);
    isNull = from.isNull;
    sign = from.sign;
}

void WSQLLiteral::dumpTail(TreeDump& out) const {
    if (sign != 0) out.atom("sign=" + std::string(1, sign));
    dumpScalar(out);
    out.close();
}

ConstantValue WSQLBoolean::constantValue() const {
    ConstantValue result;
    result.kind = ConstantValue::Kind::kBoolean;
    result.boolean = value;
    return result;
}

void WSQLBoolean::toText(CStringBuffer& out) const {
    out.append(value ? "true" : "false");
}

void WSQLBoolean::dump(TreeDump& out) const {
    out.open(value ? "true" : "false");
    dumpTail(out);
}

std::unique_ptr<WSQLScalar> WSQLBoolean::clone() const {
    auto copy = std::make_unique<WSQLBoolean>(value);
    copy->copyLiteral(*this);
    return copy;
}

std::unique_ptr<WSQLChar> WSQLChar::null() {
    auto literal = std::make_unique<WSQLChar>();
    literal->isNull = true;
    return literal;
}

ConstantValue WSQLChar::constantValue() const {
    ConstantValue result;
    result.kind = ConstantValue::Kind::kText;
    result.null = isNull;
    return result;
}

void WSQLChar::toText(CStringBuffer& out) const {
    out.append(std::string_view(text));
}

void WSQLChar::dump(TreeDump& out) const {
    if (isNull) {
        out.open("null");
    } else {
        out.open("char");
        out.quoted(text);
    }
    dumpTail(out);
}

std::unique_ptr<WSQLScalar> WSQLChar::clone() const {
    auto copy = std::make_unique<WSQLChar>(text, quote);
    copy->copyLiteral(*this);
    return copy;
}

ConstantValue WSQLBinary::constantValue() const {
    ConstantValue result;
    result.kind = ConstantValue::Kind::kText;
    result.null = isNull;
    return result;
}

void WSQLBinary::toText(CStringBuffer& out) const {
    out.append(std::string_view(bytes));
}

void WSQLBinary::dump(TreeDump& out) const {
    out.open("binary");
    out.quoted(bytes);
    dumpTail(out);
}

std::unique_ptr<WSQLScalar> WSQLBinary::clone() const {
    auto copy = std::make_unique<WSQLBinary>(bytes);
    copy->copyLiteral(*this);
    return copy;
}

}  // namespace wsql
