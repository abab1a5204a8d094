// What INSERT writes to, and how literals fit the types of fields.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace wsql {

class WELKFieldInfo;
class WELKFieldInfoList;
class WSQLScalar;
class WSQLStmtInsert;
class WSQLStmtSelect;

/// The field of that name, in any case; null when there is none.
const WELKFieldInfo* fieldNamed(const WELKFieldInfoList& fields, const std::string& name);

/// The target fields in the order of the values: the named columns, or all fields in field-number order. The
/// table's field list must be loaded. False when a column is no field of the table; `unknown` then holds its
/// name.
bool targetColumns(const WSQLStmtInsert& insert, std::vector<const WELKFieldInfo*>& columns,
                   std::string& unknown);

/// True for the keyword NULL and for a date, time or other literal made from it.
bool isNullValue(const WSQLScalar& value);

/// Who asks: validation lets an integer pass for a NUMBER column, execution does not.
enum class TypeRule { kValidation, kExecution };

/// Classes of constants, as far as columns tell them apart.
enum class LiteralClass { kChar, kInt, kFloat, kDate, kTime, kOther };

LiteralClass classOf(const WSQLScalar& value);

/// Class of the value of a sub-query with that select item, whose values have that kernel field type.
LiteralClass classOfItem(const WSQLScalar& item, std::int32_t type);

/// Why a value of that class cannot be stored in the column; empty when it can. position is the column's,
/// 1-based.
std::string typeMismatch(LiteralClass literal, const WELKFieldInfo& column, std::int32_t position,
                         TypeRule rule);

/// The literal that a sub-query over constants stands for: NULL, or a literal of the class of its value. Null
/// when its item is no constant.
std::unique_ptr<WSQLScalar> constantOf(const WSQLStmtSelect& select);

/// "Column %d "%s" cannot be modified since it is located in a WELK part record."
std::string partColumnText(std::int32_t position, const std::string& name);

}  // namespace wsql
