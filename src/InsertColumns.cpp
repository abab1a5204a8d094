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

const WELKFieldInfo* writableField(const WELKFieldInfoList& fields, const std::string& name) {
    if (equalNames(name, "R")) return nullptr;
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
        const WELKFieldInfo* field = writableField(fields, name);
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

std::string typeMismatch(const WSQLScalar& value, const WELKFieldInfo& column, std::int32_t position,
                         TypeRule rule) {
    switch (column.type) {
        case WDB_T_TEXT:
        case WDB_T_PHRASE:
            return is<WSQLChar>(value) ? std::string() : mustBe(position, column.name, "a string");
        case WDB_T_INTEGER:
            return is<WSQLInt>(value) ? std::string() : mustBe(position, column.name, "an integer");
        case WDB_T_NUMBER: {
            const bool fits = rule == TypeRule::kValidation ? is<WSQLNumeric>(value) : is<WSQLFloat>(value);
            return fits ? std::string() : mustBe(position, column.name, "a numeric");
        }
        case WDB_T_DATE:
            return is<WSQLDate>(value) ? std::string() : mustBe(position, column.name, "a date");
        case WDB_T_TIME:
            return is<WSQLTime>(value) ? std::string() : mustBe(position, column.name, "a time");
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
