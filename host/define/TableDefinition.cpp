#include "host/define/TableDefinition.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "host/Catalog.h"
#include "host/Kernel.h"
#include "host/input/ColumnNames.h"
#include "host/records/RowWriter.h"

namespace host {

namespace {

constexpr const char* kUsualLocation = "WELKSQL_BASES";
constexpr std::int32_t kUniqueKeyItem = 3;
constexpr const char* kTypeNames[] = {"TEXT", "PHRASE", "INTEGER", "NUMBER", "DATE", "TIME", "STRING"};
constexpr std::int32_t kTypes[] = {WDB_T_TEXT, WDB_T_PHRASE, WDB_T_INTEGER, WDB_T_NUMBER,
                                   WDB_T_DATE, WDB_T_TIME,   WDB_T_STRING};

template <std::size_t N>
void copyText(char (&target)[N], const std::string& text) {
    if (text.size() >= N) throw KernelError(WDB_E_NAME, "too long: " + text);
    std::memcpy(target, text.c_str(), text.size() + 1);
}

struct FreeRules {
    void operator()(WdbIntegrityRules* rules) const { WdbFreeIntegrityRules(&rules); }
};

// The setting that a file name "WELKSQL$BASES:T.BAF" begins with; empty for the usual one.
std::string locationOf(const char* file) {
    std::string location(file, std::strcspn(file, ":"));
    std::replace(location.begin(), location.end(), '$', '_');
    return location == kUsualLocation ? std::string() : location;
}

void readReferences(const std::string& table, std::vector<ColumnDefinition>& columns) {
    WdbIntegrityRules* list = nullptr;
    if (!WDB_SUCCESS(WdbCheckBase(table.c_str(), WDB_MODE_READ)) || !WDB_SUCCESS(WdbGetIntegrityRules(&list)))
        return;
    const std::unique_ptr<WdbIntegrityRules, FreeRules> rules(list);
    for (std::int32_t i = 0; i < rules->count; ++i) {
        const WdbIntegrityRule& rule = rules->rule[i];
        constexpr std::int32_t kReferential = 1;
        if (rule.kind != kReferential) continue;
        for (ColumnDefinition& column : columns) {
            if (equalNames(column.name, rule.fkColumn))
                column.reference = {rule.pkTable, rule.pkColumn, rule.deleteAction, rule.updateAction};
        }
    }
}

void readSpec(ColumnDefinition& column) {
    WdbFieldSpec spec{};
    copyText(spec.name, column.name);
    if (!WDB_SUCCESS(WdbGetFieldSpec(&spec))) return;
    column.comment = spec.comment;
    column.mandatory = spec.mandatory != 0;
    column.plain = spec.plain != 0;
    column.indexed = spec.indexed != 0;
    if (spec.hasDefault != 0) column.defaultValue = spec.defaultValue;
}

const char* kernelTypeName(std::int32_t type) {
    const auto found = std::find(std::begin(kTypes), std::end(kTypes), type);
    return found == std::end(kTypes) ? "" : kTypeNames[found - std::begin(kTypes)];
}

WdbFieldSpec fieldSpec(const ColumnDefinition& column, const std::string& primaryKey) {
    WdbFieldSpec spec{};
    copyText(spec.name, column.name);
    copyText(spec.comment, column.comment);
    copyText(spec.typeName, kernelTypeName(column.type));
    spec.indexed = column.indexed ? 1 : 0;
    spec.serial = column.serial ? 1 : 0;
    spec.mandatory = column.mandatory ? 1 : 0;
    spec.part = column.part ? 1 : 0;
    spec.plain = column.plain ? 1 : 0;
    spec.key = equalNames(column.name, primaryKey) ? 1 : 0;
    spec.wholeValue = column.type != WDB_T_TEXT && column.type != WDB_T_STRING ? 1 : 0;
    spec.hasDefault = column.defaultValue ? 1 : 0;
    if (column.reference) {
        spec.hasReference = 1;
        copyText(spec.reference, column.reference->table + "." + column.reference->column);
    }
    return spec;
}

void fillNew(WdbBaseDef& base, const TableDefinition& definition) {
    std::string location = definition.location.empty() ? kUsualLocation : definition.location;
    // A file name has no room for the underscore of a symbol's name: its first one stands there as a dollar
    // sign.
    const auto underscore = location.find('_');
    if (underscore != std::string::npos) location[underscore] = '$';
    const std::string file = location + ":" + definition.name;
    copyText(base.baseFile, file + ".BAF");
    copyText(base.indexFile, file + ".BIF");
    copyText(base.valueFile, file + ".VIF");
    base.active = 1;
    copyText(base.charset, definition.charset.empty() ? "MUL" : definition.charset);
    base.charsetFlag = definition.charset == "CHI" ? 1 : 0;
}

void addColumn(const ColumnDefinition& column, const std::string& primaryKey) {
    WdbFieldSpec spec = fieldSpec(column, primaryKey);
    WdbFieldSpec known{};
    copyText(known.name, column.name);
    const std::int32_t status = WdbGetFieldSpec(&known);
    if (status == WDB_OK) return;
    if (status != WDB_FAIL) check(status);
    check(WdbPutFieldSpec(&spec));
    if (column.defaultValue) check(WdbPutDefaultValue(&spec, column.defaultValue->c_str()));
    if (!column.reference) return;
    const ColumnReference& to = *column.reference;
    check(
        WdbSetForeignKey(column.name.c_str(), to.table.c_str(), to.column.c_str(), to.onUpdate, to.onDelete));
}

}  // namespace

TableDefinition readDefinition(const std::string& table) {
    TableDefinition definition;
    definition.name = table;
    for (const TableEntry& entry : listTables()) {
        if (equalNames(entry.name, table)) {
            definition.name = entry.name;
            definition.comment = entry.comment;
        }
    }
    for (const TableColumn& known : listColumns(table)) {
        ColumnDefinition column;
        column.name = known.name;
        column.type = known.type;
        column.serial = (known.flags & WDB_F_SERIAL) != 0;
        column.part = (known.flags & WDB_F_PART) != 0;
        column.plain = (known.flags & WDB_F_PLAIN) != 0;
        column.mandatory = (known.flags & WDB_F_NULLABLE) == 0;
        definition.columns.push_back(std::move(column));
    }
    char key[WDB_FIELD_NAME_SIZE] = "";
    std::int32_t length = sizeof key;
    if (WDB_SUCCESS(WdbBaseInfo(table.c_str(), kUniqueKeyItem, key, &length))) definition.primaryKey = key;
    readReferences(table, definition.columns);
    WdbBaseDef base{};
    if (WDB_SUCCESS(WdbGetBaseDef(table.c_str(), &base)) && base.isNew == 0) {
        definition.charset = base.charset;
        definition.location = locationOf(base.baseFile);
        for (ColumnDefinition& column : definition.columns) readSpec(column);
    }
    return definition;
}

void storeDefinition(const TableDefinition& definition) {
    WdbBaseDef base{};
    check(WdbGetBaseDef(definition.name.c_str(), &base));
    if (base.isNew != 0) fillNew(base, definition);
    for (const ColumnDefinition& column : definition.columns) addColumn(column, definition.primaryKey);
    if (!definition.comment.empty()) copyText(base.comment, definition.comment);
    if (!definition.primaryKey.empty()) copyText(base.uniqueKey, definition.primaryKey);
    check(WdbPutBaseDef(&base));
}

}  // namespace host
