#include "host/Catalog.h"

#include <charconv>

#include "host/Kernel.h"

namespace host {

namespace {

// Fields of a control-list entry.
constexpr std::int32_t kNameField = 44, kOwnerField = 4, kRecordsField = 45, kCommentField = 46;
constexpr std::int32_t kHighestFieldItem = 4, kDataFileItem = 2;

std::string field(WdbRecordControl* control, std::int32_t number) {
    Cursor cursor;
    char text[512] = "";
    std::int32_t length = sizeof text;
    if (!WDB_SUCCESS(WdbSetCursor(cursor.address(), control, number, 0, 0))) return {};
    if (!WDB_SUCCESS(WdbGetItem(cursor.get(), text, &length))) return {};
    return std::string(text, static_cast<std::size_t>(length));
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
    for (TableEntry& table : tables) {
        const std::int32_t status =
            WdbBaseStatus(table.name.c_str(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
        if (status == WDB_E_STORAGE || status == WDB_E_CORRUPT) table.status = status;
    }
    return tables;
}

std::optional<std::int64_t> countRecords(const std::string& table) {
    std::int32_t count = 0;
    if (!WDB_SUCCESS(WdbBaseStatus(table.c_str(), nullptr, nullptr, nullptr, nullptr, &count, nullptr)))
        return std::nullopt;
    return count;
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

}  // namespace host
