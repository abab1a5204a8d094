#include "src/DictionaryTables.h"

#include "include/wdb.h"
#include "src/ElementAt.h"
#include "src/support/text.h"
#include "src/tree/Tree.h"

namespace wsql {
namespace {

struct DictionaryColumn {
    DictionaryKind kind;
    const char* name;
    std::int32_t type;
};

constexpr const char* kKindNames[] = {"", "TABLES", "COLUMNS", "KEYREFS"};

constexpr DictionaryColumn kColumns[] = {
    {DictionaryKind::kTables, "NAME", WDB_T_PHRASE},
    {DictionaryKind::kTables, "OWNER", WDB_T_PHRASE},
    {DictionaryKind::kColumns, "TABLENAME", WDB_T_PHRASE},
    {DictionaryKind::kColumns, "COLNAME", WDB_T_PHRASE},
    {DictionaryKind::kColumns, "SQLTYPE", WDB_T_PHRASE},
    {DictionaryKind::kColumns, "NULLABLE", WDB_T_INTEGER},
    {DictionaryKind::kColumns, "ORDINAL", WDB_T_INTEGER},
    {DictionaryKind::kColumns, "PRIMARYKEY", WDB_T_INTEGER},
    {DictionaryKind::kKeyRefs, "FKTABLE_NAME", WDB_T_PHRASE},
    {DictionaryKind::kKeyRefs, "FKCOLUMN_NAME", WDB_T_PHRASE},
    {DictionaryKind::kKeyRefs, "PKTABLE_NAME", WDB_T_PHRASE},
    {DictionaryKind::kKeyRefs, "PKCOLUMN_NAME", WDB_T_PHRASE},
    {DictionaryKind::kKeyRefs, "DELETE_RULE", WDB_T_PHRASE},
    {DictionaryKind::kKeyRefs, "UPDATE_RULE", WDB_T_PHRASE},
};

}  // namespace

bool isDictionaryTable(const WSQLTableRef& table) {
    return equalNames(table.owner, "WDBS");
}

bool namesDictionary(const WSQLStmtSelect& select) {
    for (std::int32_t i = 0; i < select.tables->Count(); ++i) {
        if (isDictionaryTable(elementAt(*select.tables, i))) return true;
    }
    return false;
}

DictionaryKind dictionaryKind(std::string_view table) {
    for (std::int32_t kind = 1; kind <= 3; ++kind) {
        if (equalNames(table, kKindNames[kind])) return static_cast<DictionaryKind>(kind);
    }
    return DictionaryKind::kNone;
}

std::unique_ptr<WELKFieldInfoList> dictionaryFields(DictionaryKind kind) {
    auto fields = std::make_unique<WELKFieldInfoList>();
    std::uint32_t number = 0;
    for (const DictionaryColumn& column : kColumns) {
        if (column.kind != kind) continue;
        fields->Add(kKindNames[static_cast<std::int32_t>(kind)], column.name, ++number, 0, column.type);
    }
    return fields;
}

std::int32_t dictionaryColumn(DictionaryKind kind, std::string_view name) {
    std::int32_t number = 0;
    for (const DictionaryColumn& column : kColumns) {
        if (column.kind != kind) continue;
        ++number;
        if (equalNames(name, column.name)) return number;
    }
    return 0;
}

void bindDictionaryColumn(DictionaryKind kind, std::int32_t number, WSQLColumnRef& column) {
    std::int32_t before = 0;
    for (const DictionaryColumn& entry : kColumns) {
        if (entry.kind != kind || ++before != number) continue;
        column.table = kKindNames[static_cast<std::int32_t>(kind)];
        column.column = entry.name;
        column.fieldNumber = number;
        column.fieldType = entry.type;
        column.fieldFlags = 0;
    }
}

}  // namespace wsql
