#include "src/tree/WSQLTimestamp.h"

#include "src/support/CStringBuffer.h"
#include "src/tree/TreeDump.h"

namespace wsql {
namespace {

ConstantValue valueOf(ConstantValue::Kind kind, bool null) {
    ConstantValue result;
    result.kind = kind;
    result.null = null;
    return result;
}

}  // namespace

WSQLTimestamp::WSQLTimestamp(std::string_view date, std::string_view time) {
    text.reserve(date.size() + 1 + time.size());
    text.append(date).append(1, ' ').append(time);
}

std::string_view WSQLTimestamp::datePart() const {
    const size_t blank = text.rfind(' ');
    return blank == std::string::npos ? std::string_view(text) : std::string_view(text).substr(0, blank);
}

std::string_view WSQLTimestamp::timePart() const {
    const size_t blank = text.rfind(' ');
    return blank == std::string::npos ? std::string_view() : std::string_view(text).substr(blank + 1);
}

ConstantValue WSQLTimestamp::constantValue() const {
    return valueOf(ConstantValue::Kind::kText, isNull);
}

void WSQLTimestamp::toText(CStringBuffer& out) const {
    if (!isNull) out.append(std::string_view(text));
}

void WSQLTimestamp::dump(TreeDump& out) const {
    out.open("timestamp");
    out.quoted(text);
    dumpTail(out);
}

std::unique_ptr<WSQLScalar> WSQLTimestamp::clone() const {
    auto copy = std::make_unique<WSQLTimestamp>(std::string_view(text));
    copy->copyLiteral(*this);
    return copy;
}

ConstantValue WSQLDate::constantValue() const {
    return valueOf(ConstantValue::Kind::kDate, isNull);
}

void WSQLDate::dump(TreeDump& out) const {
    out.open("date");
    if (isNull) {
        out.atom("null");
    } else {
        out.quoted(text);
    }
    dumpTail(out);
}

std::unique_ptr<WSQLScalar> WSQLDate::clone() const {
    auto copy = std::make_unique<WSQLDate>(std::string_view(text));
    copy->copyLiteral(*this);
    return copy;
}

ConstantValue WSQLTime::constantValue() const {
    return valueOf(ConstantValue::Kind::kTime, isNull);
}

void WSQLTime::dump(TreeDump& out) const {
    out.open("time");
    out.quoted(text);
    dumpTail(out);
}

std::unique_ptr<WSQLScalar> WSQLTime::clone() const {
    auto copy = std::make_unique<WSQLTime>(std::string_view(text));
    copy->copyLiteral(*this);
    return copy;
}

}  // namespace wsql
