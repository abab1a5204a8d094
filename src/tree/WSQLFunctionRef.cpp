#include "src/tree/WSQLFunctionRef.h"

#include "src/support/CStringBuffer.h"
#include "src/tree/TreeDump.h"

namespace wsql {

WSQLFunctionRef::WSQLFunctionRef(const char* functionName, std::unique_ptr<WSQLScalar> functionArgument,
                                 bool isDistinct)
    : name(functionName), distinct(isDistinct), argument(std::move(functionArgument)) {}

void WSQLFunctionRef::toText(CStringBuffer& out) const {
    out.append(name);
    out.append('(');
    if (argument) {
        argument->toText(out);
    } else {
        out.append('*');
    }
    out.append(')');
}

void WSQLFunctionRef::dump(TreeDump& out) const {
    out.open(name);
    out.flag("distinct", distinct);
    if (argument) {
        argument->dump(out);
    } else {
        out.atom("*");
    }
    dumpScalar(out);
    out.close();
}

std::unique_ptr<WSQLScalar> WSQLFunctionRef::clone() const {
    auto copy = std::make_unique<WSQLFunctionRef>(name, argument ? argument->clone() : nullptr, distinct);
    copy->copyScalar(*this);
    return copy;
}

WSQLVListFunctionRef::WSQLVListFunctionRef(std::unique_ptr<WSQLColumnRef> columnArgument,
                                           std::string separatorText)
    : WSQLFunctionRef("VALUELIST", std::move(columnArgument), false), separator(std::move(separatorText)) {}

void WSQLVListFunctionRef::dump(TreeDump& out) const {
    out.open(name);
    out.child(argument);
    out.quoted(separator);
    if (hasFirst) out.number(first);
    if (hasLast) out.number(last);
    dumpScalar(out);
    out.close();
}

std::unique_ptr<WSQLScalar> WSQLVListFunctionRef::clone() const {
    auto copy = std::make_unique<WSQLVListFunctionRef>(nullptr, separator);
    copy->argument = argument ? argument->clone() : nullptr;
    copy->first = first;
    copy->last = last;
    copy->hasFirst = hasFirst;
    copy->hasLast = hasLast;
    copy->copyScalar(*this);
    return copy;
}

}  // namespace wsql
