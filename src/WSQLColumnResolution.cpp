// Binding names to the kernel's tables and fields.
#include <array>
#include <cstring>
#include <vector>

#include "src/DictionaryTables.h"
#include "src/ValidationFault.h"
#include "src/WSQLFilter.h"
#include "src/support/text.h"
#include "src/tree/ExactType.h"
#include "src/tree/Tree.h"
#include "src/welkhelp/KernelExtras.h"
#include "src/welkhelp/WelkRecord.h"

namespace wsql {
namespace {

constexpr const char* kContext = "WSQLFilter::DBColumnExists";
constexpr std::size_t kNameBuffer = 256;
constexpr std::int32_t kFieldCountWhenUnknown = 600;
constexpr std::int32_t kBaseInfoKeyField = 3;
constexpr std::int32_t kBaseInfoFieldCount = 4;

/// A name in the writable buffer that the kernel spells its own version into. Longer names than it holds are
/// no names of fields.
struct FieldName {
    char text[kNameBuffer] = {};
    explicit FieldName(const std::string& name) {
        std::memcpy(text, name.data(), std::min(name.size(), kNameBuffer - 1));
    }
};

/// The name of the table's primary key field; empty when it has none.
std::string keyFieldName(const char* table) {
    char name[kNameBuffer] = {};
    std::int32_t length = sizeof name;
    return WDB_SUCCESS(WdbBaseInfo(table, kBaseInfoKeyField, name, &length)) ? std::string(name)
                                                                             : std::string();
}

/// Attaches a fresh control to the table for reading; the kernel's status.
std::int32_t attach(WelkRecord& record, const char* table) {
    const std::int32_t status = WdbCreateRecordControl(&record.slot());
    return WDB_SUCCESS(status) ? WdbSetBase(record.get(), table, WDB_MODE_READ) : status;
}

bool bindRowIdentifier(WSQLFilter& filter, WSQLColumnRef& column, const char* table) {
    column.table = table;
    column.fieldNumber = WSQLColumnRef::kRowIdentifier;
    column.fieldType = WDB_T_INTEGER;
    column.fieldFlags = 0;
    filter.debug(kContext, "Column \"R\" is a row identifier pseduo column.\n");
    return true;
}

void logLookUp(WSQLFilter& filter, const WSQLColumnRef& column, const char* table) {
    if (column.fieldNumber >= 1) {
        filter.debug(kContext, "Checking if column #%d exists in table \"%s\".\n", column.fieldNumber, table);
    } else {
        filter.debug(kContext, "Checking if column \"%s\" exists in table \"%s\".\n", column.column.c_str(),
                     table);
    }
}

/// Binds to a field of the table's list; false when there is none of that name.
bool bindToField(WSQLFilter& filter, WSQLColumnRef& column, const WSQLTableRef& table) {
    logLookUp(filter, column, table.table.c_str());
    const WELKFieldInfo* found = nullptr;
    bool hasKey = false;
    for (std::int32_t i = 0; table.fields && i < table.fields->Count(); ++i) {
        const WELKFieldInfo* field = table.fields->Get(i);
        hasKey = hasKey || field->primaryKey;
        if (found == nullptr && equalNames(field->name, column.column)) found = field;
    }
    if (found == nullptr) return false;
    filter.setLastStatus(WDB_OK);
    column.table = table.table;
    column.column = found->name;
    column.fieldNumber = static_cast<std::int32_t>(found->number);
    column.fieldType = found->type;
    column.fieldFlags = found->flags;
    column.keyTable = hasKey;
    filter.debug(kContext, "Column \"%s\" is of type %d\n", column.column.c_str(), column.fieldType);
    return true;
}

/// Where a table is asked for a column: its loaded field list comes first, the kernel is asked for what no
/// list knows, and for the status of that.
enum class Source { kFieldList, kKernel };

bool bindInTable(WSQLFilter& filter, WSQLColumnRef& column, const WSQLTableRef& table, Source source) {
    bool bound = false;
    if (source == Source::kKernel) {
        bound = filter.DBColumnExists(&column, table.table.c_str());
    } else if (equalNames(column.column, "R")) {
        bound = bindRowIdentifier(filter, column, table.table.c_str());
    } else {
        bound = bindToField(filter, column, table);
    }
    if (bound) column.correlation = table.correlation;
    return bound;
}

/// Tries the tables that the qualifier allows, in their order: one that goes by exactly the qualifier comes
/// before one whose name stands behind another alias.
bool bindInTables(WSQLFilter& filter, WSQLColumnRef& column, const WSQLList<WSQLTableRef*>& tables,
                  const std::string& qualifier, Source source) {
    for (const bool exact : {true, false}) {
        for (std::int32_t i = 0; i < tables.Count(); ++i) {
            const WSQLTableRef* table = tables.Get(i);
            const bool named = qualifier.empty() || equalNames(table->qualifier(), qualifier);
            const bool tried = exact ? named : !named && equalNames(table->table, qualifier);
            if (tried && bindInTable(filter, column, *table, source)) return true;
        }
    }
    return false;
}

void addField(WSQLTableRef& table, WELKFieldInfoList& fields, const WdbFieldEntry& entry) {
    WELKFieldInfo& info = fields.Add(table.table, entry.name, static_cast<std::uint32_t>(entry.number),
                                     entry.flags, entry.type);
    info.primaryKey = entry.key != 0;
    table.hasPartRecords = table.hasPartRecords || info.partField;
}

/// Asks for all fields at once; null when the kernel cannot tell them so.
std::unique_ptr<WELKFieldInfoList> loadAtOnce(WSQLTableRef& table) {
    if (WdbBaseFields == nullptr) return nullptr;
    std::array<WdbFieldEntry, 32> few;
    std::vector<WdbFieldEntry> many;
    WdbFieldEntry* entries = few.data();
    auto count = static_cast<std::int32_t>(few.size());
    std::int32_t status = WdbBaseFields(table.table.c_str(), entries, &count);
    if (status == WDB_E_BUFFER) {
        many.resize(static_cast<std::size_t>(count));
        entries = many.data();
        status = WdbBaseFields(table.table.c_str(), entries, &count);
    }
    if (!WDB_SUCCESS(status)) return nullptr;
    auto fields = std::make_unique<WELKFieldInfoList>(count);
    for (std::int32_t i = 0; i < count; ++i) addField(table, *fields, entries[i]);
    return fields;
}

/// Asks for number after number.
std::unique_ptr<WELKFieldInfoList> loadOneByOne(WSQLTableRef& table) {
    auto fields = std::make_unique<WELKFieldInfoList>();
    const char* name = table.table.c_str();
    std::int32_t count = 0, size = sizeof count;
    if (!WDB_SUCCESS(WdbBaseInfo(name, kBaseInfoFieldCount, &count, &size))) count = kFieldCountWhenUnknown;
    const std::string key = keyFieldName(name);
    WelkRecord record;
    // Without the base no number can be a field of it.
    if (!WDB_SUCCESS(attach(record, name))) count = 0;
    for (std::int32_t n = 1; n <= count; ++n) {
        WdbFieldEntry entry{};
        std::int32_t number = n;
        if (!WDB_SUCCESS(WdbCheckField(record.get(), entry.name, &number, &entry.type, &entry.flags)))
            continue;
        entry.number = n;
        entry.key = !key.empty() && equalNames(key, entry.name) ? 1 : 0;
        addField(table, *fields, entry);
    }
    return fields;
}

}  // namespace

bool WSQLFilter::DBTableExists(const char* tableName) {
    WelkRecord record;
    const std::int32_t status = attach(record, tableName);
    if (WDB_SUCCESS(status)) return true;
    setLastStatus(status);
    return false;
}

bool WSQLFilter::DBColumnExists(WSQLColumnRef* column, const char* tableName) {
    if (equalNames(column->column, "R")) return bindRowIdentifier(*this, *column, tableName);
    logLookUp(*this, *column, tableName);
    setLastStatus(WDB_OK);
    WelkRecord record;
    std::int32_t status = attach(record, tableName);
    if (WDB_SUCCESS(status) && column->column.size() >= kNameBuffer) status = WDB_E_FIELD;
    FieldName name(column->column);
    std::int32_t number =
        column->column.empty() ? column->fieldNumber : 0;  // a nameless column is looked up by number
    std::int32_t type = 0;
    std::uint32_t flags = 0;
    if (WDB_SUCCESS(status)) status = WdbCheckField(record.get(), name.text, &number, &type, &flags);
    if (!WDB_SUCCESS(status)) {
        setLastStatus(status);
        return false;
    }
    column->table = tableName;
    column->fieldNumber = number;
    column->fieldType = type;
    column->fieldFlags = flags;
    debug(kContext, "Column \"%s\" is of type %d\n", column->column.c_str(), type);
    if (!keyFieldName(tableName).empty()) column->keyTable = true;
    type = 0;
    flags = 0;
    if (WDB_SUCCESS(WdbCheckField(record.get(), name.text, &number, &type, &flags)))
        column->column = name.text;
    return true;
}

bool WSQLFilter::DBColumnExists(WSQLColumnRef* column, const WSQLList<WSQLTableRef*>* tables) {
    // The kernel is asked by table name: what was typed before the dot, an alias perhaps, only chooses among
    // the tables.
    const std::string qualifier = column->qualifier();
    const std::int32_t count = tables->Count();
    if (qualifier.empty()) {
        debug(kContext, "Column column \"%s\" is specified to exist in one of %d tables. Checking...\n",
              column->column.c_str(), count);
    } else {
        debug(kContext, "Column column \"%s\" is specified to exist in table \"%s\". Checking...\n",
              column->column.c_str(), qualifier.c_str());
    }
    return bindInTables(*this, *column, *tables, qualifier, Source::kFieldList) ||
           bindInTables(*this, *column, *tables, qualifier, Source::kKernel);
}

bool WSQLFilter::BindInTable(WSQLColumnRef* column, const WSQLTableRef& table) {
    return bindInTable(*this, *column, table, Source::kFieldList) ||
           bindInTable(*this, *column, table, Source::kKernel);
}

bool WSQLFilter::LoadFields(WSQLTableRef* table) {
    if (table->fields) return true;
    if (isDictionaryTable(*table)) {
        table->fields = dictionaryFields(dictionaryKind(table->table));
        return true;
    }
    auto fields = loadAtOnce(*table);
    table->fields = fields != nullptr ? std::move(fields) : loadOneByOne(*table);
    return true;
}

namespace {

/// Where the columns of a statement are looked up.
struct LookUp {
    WSQLStmtSelect* select = nullptr;  ///< over its FROM list
    const char* table = nullptr;       ///< in this table, unless select is set
};

LookUp lookUpOf(WSQLStatement* statement) {
    LookUp lookUp;
    lookUp.select = exactly<WSQLStmtSelect>(statement);
    const WSQLTableRef* table = nullptr;
    if (lookUp.select != nullptr) return lookUp;
    if (const auto* remove = dynamic_cast<WSQLStmtDelete*>(statement)) table = remove->table.get();
    if (const auto* update = dynamic_cast<WSQLStmtUpdate*>(statement)) table = update->table.get();
    if (const auto* object = dynamic_cast<WSQLStmtSetObject*>(statement)) {
        table = object->table.get();
        if (table == nullptr && object->column) lookUp.table = object->column->table.c_str();
    }
    if (table != nullptr) lookUp.table = table->table.c_str();
    return lookUp;
}

}  // namespace

bool WSQLFilter::BindColumn(WSQLStatement* statement, WSQLColumnRef* column, const ColumnFaultLines& lines,
                            const char* context) {
    const LookUp lookUp = lookUpOf(statement);
    const char* name = column != nullptr ? column->column.c_str() : "(null)";
    if (lookUp.select != nullptr) {
        if (column == nullptr || !DBColumnExists(column, lookUp.select->tables.get())) {
            ReportValidationFault(lines.select, context,
                                  "Could not find column \"%s\" in any specified table.", name);
            return false;
        }
        if ((column->fieldFlags & WSQLColumnRef::kPartField) != 0) lookUp.select->needsPartRecords = true;
        return true;
    }
    if (lookUp.table != nullptr && (column == nullptr || !DBColumnExists(column, lookUp.table))) {
        if (lines.namesTable) {
            ReportValidationFault(lines.other, context, "Could not find column \"%s\" in table %s.", name,
                                  lookUp.table);
        } else {
            ReportValidationFault(lines.other, context,
                                  "Could not find column \"%s\" in any specified table.", name);
        }
        return false;
    }
    return true;
}

bool WSQLFilter::ValidateScalar(WSQLStatement* statement, WSQLScalar* scalar) {
    constexpr const char* kMethod = "WSQLFilter::ValidateScalar";
    if (scalar == nullptr) {
        ReportValidationFault(212, kMethod, "%s", "NULL scalar expression in condition.");
        return false;
    }
    if (WSQLColumnRef* column = scalar->asColumnRef()) {
        return BindColumn(statement, column, {234, 248, true}, kMethod);
    }
    WSQLFunctionRef* function = scalar->asFunctionRef();
    if (function == nullptr) return true;
    if (!ValidateScalar(statement, function->argument.get())) return false;
    const WSQLColumnRef* argument = function->argument->asColumnRef();
    if (argument != nullptr && !isAggregable(argument->fieldType)) {
        ReportValidationFault(268, kMethod, "%s",
                              "Type of aggregate function argument must be numeric or date/time.");
        return false;
    }
    return true;
}

}  // namespace wsql
