#include "src/InsertColumns.h"

#include <algorithm>
#include <cstdlib>

#include "include/wdb.h"
#include "src/ElementAt.h"
#include "src/support/text.h"
#include "src/tree/Tree.h"

namespace wsql {
namespace {

template <class Literal>
bool is(const WSQLScalar& value) {
    return dynamic_cast<const Literal*>(&value) != nullptr;
}

std::string mustBe(std::int32_t position, const std::string& name, const char* kind) {
    return "Value for column #" + std::to_string(position) + " \"" + name + "\" must be " + kind +
           " constant.";
}

}  // namespace

const WELKFieldInfo* fieldNamed(const WELKFieldInfoList& fields, const std::string& name) {
    for (std::int32_t i = 0; i < fields.Count(); ++i) {
        if (equalNames(fields.Get(i)->name, name)) return fields.Get(i);
    }
    return nullptr;
}

bool targetColumns(const WSQLStmtInsert& insert, std::vector<const WELKFieldInfo*>& columns,
                   std::string& unknown) {
    const WELKFieldInfoList& fields = *insert.table->fields;
    if (count(insert.columns) == 0) {
        for (std::int32_t i = 0; i < fields.Count(); ++i) columns.push_back(fields.Get(i));
        return true;
    }
    for (std::int32_t i = 0; i < insert.columns->Count(); ++i) {
        const std::string& name = elementAt(*insert.columns, i).column;
        // In a list of columns R is the row identifier, whatever the table's fields are called.
        const WELKFieldInfo* field = equalNames(name, "R") ? nullptr : fieldNamed(fields, name);
        if (field == nullptr) {
            unknown = name;
            return false;
        }
        columns.push_back(field);
    }
    return true;
}

bool isNullValue(const WSQLScalar& value) {
    const ConstantValue constant = value.constantValue();
    return constant.kind != ConstantValue::Kind::kNone && constant.null;
}

LiteralClass classOf(const WSQLScalar& value) {
    if (is<WSQLChar>(value)) return LiteralClass::kChar;
    if (is<WSQLInt>(value)) return LiteralClass::kInt;
    if (is<WSQLFloat>(value)) return LiteralClass::kFloat;
    if (is<WSQLDate>(value)) return LiteralClass::kDate;
    return is<WSQLTime>(value) ? LiteralClass::kTime : LiteralClass::kOther;
}

LiteralClass classOfItem(const WSQLScalar& item, std::int32_t type) {
    const LiteralClass literal = classOf(item);
    if (literal != LiteralClass::kOther) return literal;
    switch (type) {
        case WDB_T_INTEGER:
            return LiteralClass::kInt;
        case WDB_T_NUMBER:
            return LiteralClass::kFloat;
        case WDB_T_DATE:
            return LiteralClass::kDate;
        case WDB_T_TIME:
            return LiteralClass::kTime;
        default:
            return LiteralClass::kChar;
    }
}

std::string typeMismatch(LiteralClass literal, const WELKFieldInfo& column, std::int32_t position,
                         TypeRule rule) {
    const auto needs = [&](LiteralClass needed, const char* kind) {
        const bool whole =
            rule == TypeRule::kValidation && needed == LiteralClass::kFloat && literal == LiteralClass::kInt;
        return literal == needed || whole ? std::string() : mustBe(position, column.name, kind);
    };
    switch (column.type) {
        case WDB_T_TEXT:
        case WDB_T_PHRASE:
            return needs(LiteralClass::kChar, "a string");
        case WDB_T_INTEGER:
            return needs(LiteralClass::kInt, "an integer");
        case WDB_T_NUMBER:
            return needs(LiteralClass::kFloat, "a numeric");
        case WDB_T_DATE:
            return needs(LiteralClass::kDate, "a date");
        case WDB_T_TIME:
            return needs(LiteralClass::kTime, "a time");
        case WDB_T_STRING:
            return "Data type LONG VARBINARY cannot be used with INSERT.";
        default:
            return "Unexpected error - unrecognized WELK data type for column " + std::to_string(position) +
                   " \"" + column.name + "\".";
    }
}

std::unique_ptr<WSQLScalar> constantOf(const WSQLStmtSelect& select) {
    const WSQLScalar* item = select.item(0);
    if (item == nullptr || !item->isConstant()) return nullptr;
    const ConstantValue value = item->constantValue();
    if (value.null) return WSQLChar::null();
    if (dynamic_cast<const WSQLOperation*>(item) == nullptr) return item->clone();
    std::unique_ptr<WSQLNumeric> number;
    if (value.kind == ConstantValue::Kind::kInteger) {
        const std::int64_t magnitude = std::abs(std::int64_t{value.integer});
        number = std::make_unique<WSQLInt>(
            static_cast<std::int32_t>(std::min<std::int64_t>(magnitude, INT32_MAX)));
    } else {
        number = std::make_unique<WSQLFloat>(value.real < 0 ? -value.real : value.real);
    }
    if (value.kind == ConstantValue::Kind::kInteger ? value.integer < 0 : value.real < 0) number->sign = '-';
    return number;
}

std::string partColumnText(std::int32_t position, const std::string& name) {
    return "Column " + std::to_string(position) + " \"" + name +
           "\" cannot be modified since it is located in a WELK part record.";
}

}  // namespace wsql
