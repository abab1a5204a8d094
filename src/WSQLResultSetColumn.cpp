#include "src/WSQLResultSetColumn.h"

#include "include/wdb.h"
#include "src/ElementAt.h"
#include "src/TextWriter.h"
#include "src/support/text.h"
#include "src/tree/Tree.h"

namespace wsql {
namespace {

struct TypeRow {
    std::int32_t code;
    const char* name;
    std::int32_t maxLength;
    std::int32_t precision;
};

/// The last row stands for every other type.
constexpr TypeRow kTypes[] = {
    {WDB_T_TEXT, "LONG VARCHAR", 2147483647, 0},
    {WDB_T_INTEGER, "INTEGER", 4, 0},
    {WDB_T_NUMBER, "NUMERIC", 4, 2},
    {WDB_T_DATE, "DATE", 12, 0},
    {WDB_T_TIME, "TIME", 8, 0},
    {WDB_T_STRING, "LONG VARBINARY", 2147483647, 0},
    {WDB_T_PHRASE, "VARCHAR", 255, 0},
};
constexpr std::size_t kTypeCount = std::size(kTypes);

std::string textOf(const WSQLScalar& scalar) {
    CStringBuffer text(64);
    scalar.toText(text);
    return std::string(text.view());
}

/// The field that a bound column stands for; null for the row identifier and for tables without a field list.
const WELKFieldInfo* fieldOf(const WSQLColumnRef& column, const WSQLStmtSelect& select) {
    for (std::int32_t i = 0; i < select.tables->Count(); ++i) {
        const WSQLTableRef& table = elementAt(*select.tables, i);
        if (!table.fields || !equalNames(table.table, column.table)) continue;
        for (std::int32_t n = 0; n < table.fields->Count(); ++n) {
            const WELKFieldInfo* field = table.fields->Get(n);
            if (field != nullptr && static_cast<std::int32_t>(field->number) == column.fieldNumber)
                return field;
        }
    }
    return nullptr;
}

/// Kernel type of a constant.
std::int32_t constantType(ConstantValue::Kind kind) {
    using Kind = ConstantValue::Kind;
    switch (kind) {
        case Kind::kInteger:
            return WDB_T_INTEGER;
        case Kind::kReal:
            return WDB_T_NUMBER;
        case Kind::kDate:
            return WDB_T_DATE;
        case Kind::kTime:
            return WDB_T_TIME;
        default:
            return WDB_T_PHRASE;
    }
}

/// Arithmetic of integers without division stays an integer.
std::int32_t arithmeticType(const WSQLScalar& scalar) {
    if (const auto* operation = dynamic_cast<const WSQLOperation*>(&scalar)) {
        const bool integer = operation->op() != '/' && arithmeticType(*operation->left()) == WDB_T_INTEGER &&
                             arithmeticType(*operation->right()) == WDB_T_INTEGER;
        return integer ? WDB_T_INTEGER : WDB_T_NUMBER;
    }
    if (const WSQLFunctionRef* function = scalar.asFunctionRef()) {
        if (equalNames(function->name, "COUNT")) return WDB_T_INTEGER;
        return function->argument && !equalNames(function->name, "AVG") ? arithmeticType(*function->argument)
                                                                        : WDB_T_NUMBER;
    }
    const WSQLColumnRef* column = scalar.asColumnRef();
    const bool integer = column != nullptr ? column->fieldType == WDB_T_INTEGER
                                           : scalar.constantValue().kind == ConstantValue::Kind::kInteger;
    return integer ? WDB_T_INTEGER : WDB_T_NUMBER;
}

void fromColumn(WSQLResultSetColumn& result, const WSQLColumnRef& column, const WSQLStmtSelect& select) {
    result.columnName = column.column;
    result.tableName = column.table;
    result.setType(column.fieldType);
    result.isNullable = (column.fieldFlags & WDB_F_NULLABLE) != 0;
    result.isSerial = (column.fieldFlags & WDB_F_SERIAL) != 0;
    const WELKFieldInfo* field = column.keyTable ? fieldOf(column, select) : nullptr;
    result.isPrimaryKey = result.isUnique = field != nullptr && field->primaryKey;
}

void fromFunction(WSQLResultSetColumn& result, const WSQLFunctionRef& function) {
    result.columnName = textOf(function);
    const WSQLColumnRef* argument = function.argument ? function.argument->asColumnRef() : nullptr;
    if (argument != nullptr) result.tableName = argument->table;
    if (equalNames(function.name, "AVG")) {
        result.setType(WDB_T_NUMBER);
    } else {
        result.setType(argument != nullptr ? argument->fieldType : WDB_T_INTEGER);
    }
}

std::string_view flagText(bool value) {
    return value ? "true" : "false";
}

void writePositive(TextWriter& out, std::string_view nameAndQuote, std::int32_t value) {
    if (value > 0) out << nameAndQuote << value << "\"";
}

/// User text: it is converted and escaped straight into the document.
void writeText(TextWriter& writer, CStringBuffer& out, const CharacterSet& set, std::string_view nameAndQuote,
               const std::string& value) {
    writer << nameAndQuote;
    writer.flush();
    appendXmlAttribute(set, out, value);
    writer << "\"";
}

}  // namespace

WSQLResultSetColumn WSQLResultSetColumn::ofItem(std::int32_t id, const WSQLScalar& item,
                                                const WSQLStmtSelect& select) {
    WSQLResultSetColumn result;
    const WSQLColumnRef* column = item.asColumnRef();
    const auto* query = column == nullptr ? dynamic_cast<const WSQLLiteralSelect*>(&item) : nullptr;
    if (query != nullptr && query->select->item(0) != nullptr) {
        // A value like its column's, but of no row in particular: it may be missing and is no key.
        result = ofItem(id, query->select->itemAt(0), *query->select);
        result.label = item.label;
        result.isNullable = true;
        result.isSerial = result.isPrimaryKey = result.isUnique = false;
        return result;
    }
    result.id = id;
    result.label = item.label;
    if (column != nullptr) {
        fromColumn(result, *column, select);
    } else if (const WSQLFunctionRef* function = item.asFunctionRef()) {
        fromFunction(result, *function);
    } else if (item.isConstant()) {
        const ConstantValue value = item.constantValue();
        result.columnName = item.label.empty() ? textOf(item) : item.label;
        result.setType(constantType(value.kind));
        result.isNullable = value.null;
    } else {
        result.columnName = textOf(item);
        result.setType(arithmeticType(item));
        result.isNullable = true;
    }
    return result;
}

WSQLResultSetColumn WSQLResultSetColumn::ofField(std::int32_t id, const WELKFieldInfo& field) {
    WSQLResultSetColumn result;
    result.id = id;
    result.columnName = field.name;
    result.tableName = field.database;
    result.setType(field.type);
    result.isNullable = field.nullable;
    result.isSerial = (field.flags & WDB_F_SERIAL) != 0;
    result.isPrimaryKey = result.isUnique = field.primaryKey;
    return result;
}

void WSQLResultSetColumn::setType(std::int32_t code) {
    typeCode = code;
    std::size_t row = 0;
    while (row + 1 < kTypeCount && kTypes[row].code != code) ++row;
    typeName = kTypes[row].name;
    maxLength = kTypes[row].maxLength;
    precision = kTypes[row].precision;
}

void WSQLResultSetColumn::setType(const std::string& name) {
    std::size_t row = 0;
    while (row + 1 < kTypeCount && !equalNames(kTypes[row].name, name)) ++row;
    setType(kTypes[row].code);
}

void WSQLResultSetColumn::write(CStringBuffer& out, const CharacterSet& set, bool asUnion) const {
    TextWriter writer(out);
    writer << "<ColumnMetaData ID=\"" << id << "\"";
    writeText(writer, out, set, " tableName=\"", asUnion ? "UNION_RESULT" : tableName);
    writeText(writer, out, set, " columnName=\"", columnName);
    if (!label.empty()) writeText(writer, out, set, " columnLabel=\"", label);
    writer << " columnType=\"" << typeName << "\"";
    writePositive(writer, " maxLength=\"", maxLength);
    writePositive(writer, " precision=\"", precision);
    writePositive(writer, " scale=\"", scale);
    writer << " isNullable=\"" << flagText(isNullable) << "\" isSerial=\"" << flagText(isSerial)
           << "\" isPrimaryKey=\"" << flagText(isPrimaryKey) << "\" isUnique=\"" << flagText(isUnique)
           << "\"";
    if (hasDefault) writeText(writer, out, set, " defaultValue=\"", defaultValue);
    writer << "/>\r\n";
    writer.flush();
}

}  // namespace wsql
