#include "host/Catalog.h"

#include <charconv>
#include <cstring>

#include "host/Kernel.h"
#include "host/input/ColumnNames.h"

namespace host {

namespace {

// Fields of a control-list entry.
constexpr std::int32_t kNameField = 44, kOwnerField = 4, kRecordsField = 45, kCommentField = 46;
constexpr std::int32_t kHighestFieldItem = 4, kUniqueKeyItem = 3, kDataFileItem = 2;

std::string field(WdbRecordControl* control, std::int32_t number) {
    Cursor cursor;
    char text[512] = "";
    std::int32_t length = sizeof text;
    if (!WDB_SUCCESS(WdbSetCursor(cursor.address(), control, number, 0, 0))) return {};
    if (!WDB_SUCCESS(WdbGetItem(cursor.get(), text, &length))) return {};
    return std::string(text, static_cast<std::size_t>(length));
}

std::string uniqueKey(const std::string& table) {
    char name[WDB_FIELD_NAME_SIZE] = "";
    std::int32_t length = sizeof name;
    return WDB_SUCCESS(WdbBaseInfo(table.c_str(), kUniqueKeyItem, name, &length)) ? name : "";
}

std::string quotedText(std::string_view text) {
    return "'" + std::string(text) + "'";
}

// What the definition knows beyond the field's flags: only its owner may read it.
std::string definitionClauses(const std::string& column) {
    WdbFieldSpec spec{};
    std::strncpy(spec.name, column.c_str(), sizeof spec.name - 1);
    if (!WDB_SUCCESS(WdbGetFieldSpec(&spec))) return {};
    std::string text;
    if (spec.hasDefault != 0) {
        const bool number = spec.typeCode == WDB_T_INTEGER || spec.typeCode == WDB_T_NUMBER;
        text += std::string(" DEFAULT ") +
                (number ? std::string(spec.defaultValue) : quotedText(spec.defaultValue));
    }
    if (spec.hasReference != 0) {
        const std::string_view reference = spec.reference;
        const auto dot = reference.rfind('.');
        if (dot != std::string_view::npos) {
            text += " REFERENCES " + std::string(reference.substr(0, dot)) + " (" +
                    std::string(reference.substr(dot + 1)) + ")";
        }
    }
    return text;
}

}  // namespace

std::vector<TableEntry> listTables() {
    std::vector<TableEntry> tables;
    WdbSaveStatus();  // the list is part of the session's status
    if (WDB_SUCCESS(WdbShowControl(1, 0, "1", ""))) {
        WdbRecordControl* control = nullptr;
        while (WDB_SUCCESS(WdbNextControl(&control))) {
            TableEntry entry{field(control, kNameField), field(control, kOwnerField),
                             field(control, kCommentField), 0};
            const std::string records = field(control, kRecordsField);
            std::from_chars(records.data(), records.data() + records.size(), entry.records);
            tables.push_back(std::move(entry));
        }
    }
    WdbLoadStatus(3);
    return tables;
}

bool tableExists(const std::string& table) {
    char file[256];
    std::int32_t length = sizeof file;
    return WDB_SUCCESS(WdbBaseInfo(table.c_str(), kDataFileItem, file, &length));
}

std::vector<TableColumn> listColumns(const std::string& table) {
    Control control;
    check(WdbSetBase(control.get(), table.c_str(), WDB_MODE_READ));
    std::int32_t highest = WDB_FIELD_NUMBER_MAX, length = sizeof highest;
    WdbBaseInfo(table.c_str(), kHighestFieldItem, &highest, &length);
    std::vector<TableColumn> columns;
    for (std::int32_t i = 1; i <= highest; ++i) {
        char name[WDB_FIELD_NAME_SIZE] = "";
        TableColumn column;
        column.number = i;
        if (!WDB_SUCCESS(WdbCheckField(control.get(), name, &column.number, &column.type, &column.flags)))
            continue;
        column.name = name;
        columns.push_back(std::move(column));
    }
    return columns;
}

const char* sqlTypeName(std::int32_t type) {
    switch (type) {
        case WDB_T_TEXT:
            return "LONG VARCHAR";
        case WDB_T_INTEGER:
            return "INTEGER";
        case WDB_T_NUMBER:
            return "NUMERIC";
        case WDB_T_DATE:
            return "DATE";
        case WDB_T_TIME:
            return "TIME";
        case WDB_T_STRING:
            return "LONG VARBINARY";
        default:
            return "VARCHAR";
    }
}

std::string tableSchema(const std::string& table) {
    const std::vector<TableColumn> columns = listColumns(table);
    const std::string key = uniqueKey(table);
    WdbBaseDef definition{};
    const bool defined = WDB_SUCCESS(WdbGetBaseDef(table.c_str(), &definition)) && definition.isNew == 0;
    std::string sql = "CREATE TABLE " + table + " (";
    for (const TableColumn& column : columns) {
        const bool serial = (column.flags & WDB_F_SERIAL) != 0;
        const bool plain =
            column.name.find_first_not_of(
                "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_") == std::string::npos;
        sql += &column == &columns.front() ? "\n  " : ",\n  ";
        sql += plain ? column.name : '"' + column.name + '"';
        sql += std::string(" ") + (serial ? "SERIAL" : sqlTypeName(column.type));
        if (defined) sql += definitionClauses(column.name);
        if (equalNames(column.name, key))
            sql += " PRIMARY KEY";
        else if (!serial && (column.flags & WDB_F_NULLABLE) == 0)
            sql += " NOT NULL";
    }
    return sql + "\n);";
}

}  // namespace host
