#include "src/DictionarySelect.h"

#include <set>
#include <string>
#include <vector>

#include "include/wdb.h"
#include "src/DictionaryCondition.h"
#include "src/DictionaryLists.h"
#include "src/DictionaryTables.h"
#include "src/ElementAt.h"
#include "src/WSQLFilter.h"
#include "src/support/text.h"
#include "src/tree/Tree.h"

namespace wsql {
namespace {

/// Keeps the first of rows that are equal in the selected columns, letter case aside.
void dropRepetitions(const WSQLStmtSelect& select, WDBSList& rows) {
    std::set<std::string> seen;
    WDBSList kept;
    for (auto& row : rows) {
        std::string key;
        for (std::int32_t i = 0; i < select.itemCount(); ++i) {
            for (const char c : row->value(elementAt(select.items(), i).asColumnRef()->fieldNumber))
                key.push_back(asciiUpper(c));
            key.push_back('\0');
        }
        if (seen.insert(std::move(key)).second) kept.push_back(std::move(row));
    }
    rows = std::move(kept);
}

bool isCountOfRows(const WSQLStmtSelect& select) {
    const WSQLFunctionRef* function = select.itemCount() == 1 ? select.itemAt(0).asFunctionRef() : nullptr;
    return function != nullptr && !function->argument && equalNames(function->name, "COUNT");
}

bool itemFault(WSQLFilter& filter, const std::string& text) {
    filter.WriteFaultDocument(0, text.c_str(), static_cast<std::int32_t>(text.size()), "validation",
                              "WSQLFilter::CreateDictionaryMetaData");
    return false;
}

bool bindItem(WSQLFilter& filter, WSQLColumnRef& column, const WSQLTableRef& from) {
    const DictionaryKind kind = dictionaryKind(from.table);
    if (!column.owner.empty() && !equalNames(column.owner, "WDBS"))
        return itemFault(filter, "Invalid schema name \"" + column.owner + "\" in column specification.");
    const bool ofFrom = column.table.empty() || equalNames(column.table, from.table) ||
                        equalNames(column.table, from.qualifier());
    const DictionaryKind other = ofFrom ? kind : dictionaryKind(column.table);
    if (other == DictionaryKind::kNone)
        return itemFault(filter, "Table \"WDBS." + column.table + "\" does not exist.");
    const std::int32_t number = dictionaryColumn(other, column.column);
    if (number == 0)
        return itemFault(filter, "Could not find column \"" + column.column + "\" in any specified table.");
    if (other != kind) {
        // The selected table lacks it, the one that was written has it.
        return itemFault(filter, "Column \"" + from.table + "." + column.column +
                                     "\" does not exist - perhaps you mean \"" + column.table + "." +
                                     column.column + "\"?");
    }
    bindDictionaryColumn(kind, number, column);
    return true;
}

}  // namespace

bool selectsDictionary(const WSQLStmtSelect& select) {
    return select.tables->Count() == 1 && isDictionaryTable(elementAt(*select.tables, 0));
}

bool searchDictionary(WSQLFilter& filter, WSQLStmtSelect& select, DictionaryResult& result) {
    const DictionaryKind kind = dictionaryKind(elementAt(*select.tables, 0).table);
    const DictionaryCondition condition(filter, kind, select.where.get());
    std::vector<DatabaseEntry> databases;
    const std::int32_t status = filter.ListDatabases(databases);
    if (!WDB_SUCCESS(status)) {
        filter.ReportKernelError(status, "WdbShowControl", "DICT_GetTablesList");
        return false;
    }
    const auto list = kind == DictionaryKind::kTables    ? DICT_GetTablesList
                      : kind == DictionaryKind::kColumns ? DICT_GetColumnsList
                                                         : DICT_GetReferencesList;
    if (!list(filter, databases, condition, -1, result.rows) || !bindDictionaryItems(filter, select))
        return false;
    result.counts = isCountOfRows(select);
    if (select.distinct && !result.counts) dropRepetitions(select, result.rows);
    return true;
}

bool bindDictionaryItems(WSQLFilter& filter, WSQLStmtSelect& select) {
    if (isCountOfRows(select)) return true;
    for (std::int32_t i = 0; i < select.itemCount(); ++i) {
        WSQLScalar& item = select.itemAt(i);
        if (WSQLColumnRef* column = item.asColumnRef()) {
            if (!bindItem(filter, *column, elementAt(*select.tables, 0))) return false;
            continue;
        }
        CStringBuffer text(64);
        item.toText(text);
        return itemFault(
            filter, "Could not find column \"" + std::string(text.view()) + "\" in any specified table.");
    }
    return true;
}

}  // namespace wsql
