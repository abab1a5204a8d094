// CREATE TABLE: a database definition from columns, types and constraints.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "src/ElementAt.h"
#include "src/InsertColumns.h"
#include "src/WSQLFilter.h"
#include "src/tree/Tree.h"

namespace wsql {
namespace {

constexpr const char* kContext = "WSQLFilter::ExecuteCreateTable";
constexpr const char* kFieldContext = "WSQLFilter::CreateField";
constexpr const char* kPhase = "execution";
constexpr const char* kDefaultLocation = "WELKSQL_BASES";
constexpr std::int32_t kBaseInfoDataFile = 2;
constexpr std::size_t kLongestKeyField = 16;

/// Copies as much as the field holds beside its NUL.
template <std::size_t N>
void copyText(char (&target)[N], std::string_view text) {
    const std::size_t length = std::min(text.size(), N - 1);
    std::memcpy(target, text.data(), length);
    target[length] = '\0';
}

bool fault(WSQLFilter& filter, const std::string& text, const char* source = kContext, std::uint32_t code = 0,
           const char* context = kPhase) {
    filter.WriteFaultDocument(code, text.c_str(), static_cast<std::int32_t>(text.size()), source, context);
    return false;
}

bool kernelFault(WSQLFilter& filter, std::int32_t status, const char* function, const char* context) {
    filter.ReportKernelError(status, function, context);
    return false;
}

/// Copies at most 60 characters for the question; a longer name is refused later, never cut into another one.
bool tableExists(const std::string& name) {
    char file[256];
    std::int32_t length = sizeof file;
    return name.size() <= WDB_BASE_NAME_MAX &&
           WDB_SUCCESS(WdbBaseInfo(name.c_str(), kBaseInfoDataFile, file, &length));
}

/// Checks that the location's symbol names a directory.
bool checkLocation(WSQLFilter& filter, const std::string& location) {
    CStringBuffer path(256);
    if (!kernelSetting(location.c_str(), path) || path.empty()) {
        return fault(filter, "Table location \"" + location + "\" does not exist.");
    }
    switch (platform::fileKind(path.text())) {
        case platform::FileKind::kMissing:
            return fault(filter, "The symbol \"" + location + "\" is not a table location.");
        case platform::FileKind::kDirectory:
            return true;
        default:
            return fault(filter, "Table location \"" + location + "\" does not refer to a directory.");
    }
}

void fillDefinition(const WSQLFilter& filter, WdbBaseDef& definition, std::string location,
                    const WSQLStmtCreateTable& create) {
    // A file name has no room for the underscore of a symbol's name: its first one stands there as a dollar
    // sign.
    const std::size_t underscore = location.find('_');
    if (underscore != std::string::npos) location[underscore] = '$';
    const std::string file = location + ":" + create.table->table;
    copyText(definition.baseFile, file + ".BAF");
    copyText(definition.indexFile, file + ".BIF");
    copyText(definition.valueFile, file + ".VIF");
    copyText(definition.comment, "Database created via the CREATE TABLE command in WELKsql.");
    definition.active = 1;
    const char* converter = filter.conversionSet().converter;
    const bool chinese = converter != nullptr && std::strcmp(converter, "GBK") == 0;
    copyText(definition.charset, chinese ? "CHI" : "MUL");
    definition.charsetFlag = chinese ? 1 : 0;
    if (create.options && !create.options->characterSet.empty()) {
        copyText(definition.charset, std::string_view(create.options->characterSet).substr(0, 4));
    }
}

std::string primaryKeyColumn(const WSQLStmtCreateTable& create) {
    for (std::int32_t i = 0; i < create.columns->Count(); ++i) {
        const WSQLColumnElement& column = elementAt(*create.columns, i);
        if (column.constraint && column.constraint->primaryKey)
            return column.column.substr(0, kLongestKeyField);
    }
    return {};
}

/// Kernel type and the settings that come with it; false for a type that has none.
bool mapType(WSQLType::Code code, WdbFieldSpec& field) {
    using Code = WSQLType::Code;
    field.indexed = code != Code::kLongVarbinary;
    switch (code) {
        case Code::kVarchar:
            copyText(field.typeName, "PHRASE");
            break;
        case Code::kLongVarchar:
            copyText(field.typeName, "TEXT");
            break;
        case Code::kLongVarbinary:
            copyText(field.typeName, "STRING");
            break;
        case Code::kInteger:
            copyText(field.typeName, "INTEGER");
            break;
        case Code::kNumeric:
            copyText(field.typeName, "NUMBER");
            break;
        case Code::kDate:
            copyText(field.typeName, "DATE");
            break;
        case Code::kTime:
            copyText(field.typeName, "TIME");
            break;
        case Code::kSerial:
            copyText(field.typeName, "INTEGER");
            copyText(field.comment, "SQL: SERIAL");
            field.serial = 1;
            field.mandatory = 1;
            break;
        default:
            return false;
    }
    field.wholeValue = code != Code::kLongVarchar && code != Code::kLongVarbinary;
    return true;
}

void applyConstraint(const WSQLColumnConstraint& constraint, WdbFieldSpec& field) {
    if (constraint.notNull) field.mandatory = 1;
    if (constraint.primaryKey) field.key = 1;
    if (constraint.isReference()) {
        field.hasReference = 1;
        copyText(field.reference, constraint.referencedTable + "." + constraint.referencedColumn);
    }
}

}  // namespace

bool WSQLFilter::ExecuteCreateTable(WSQLStmtCreateTable* create) {
    const std::string& name = create->table->table;
    if (tableExists(name)) {
        if (!create->ifNotExists) {
            return fault(*this, "The table \"" + name + "\" already exists.", kContext, WDB_E_BASE,
                         "WdbBaseInfo");
        }
        ReportSuccess("The table \"%s\" already exists.", name.c_str());
        return true;
    }
    if (!create->options) create->options = std::make_unique<WSQLWithOptions>();
    if (create->options->location.empty()) create->options->location = kDefaultLocation;
    if (!checkLocation(*this, create->options->location)) return false;
    WdbBaseDef definition{};
    std::int32_t status = WdbGetBaseDef(name.c_str(), &definition);
    if (!WDB_SUCCESS(status)) return kernelFault(*this, status, "WdbGetBaseDef", kContext);
    debug(kContext, "Attempting to create WELK database \"%s\".\n", name.c_str());
    debug(kContext, "Table check rc = %d\n", status);
    fillDefinition(*this, definition, create->options->location, *create);
    for (std::int32_t i = 0; i < create->columns->Count(); ++i) {
        if (!CreateField(create->columns->Get(i))) return false;
    }
    copyText(definition.uniqueKey, primaryKeyColumn(*create));
    status = WdbPutBaseDef(&definition);
    if (!WDB_SUCCESS(status)) return kernelFault(*this, status, "WdbPutBaseDef", kContext);
    ApplyReferences(create);
    ReportSuccess("The table \"%s\" was successfully created.", name.c_str());
    return true;
}

bool WSQLFilter::CreateField(WSQLColumnElement* column) {
    const std::string& name = column->column;
    if (name.size() > WDB_FIELD_NAME_MAX) {
        return fault(*this, "Column name is too long: \"" + name + "\".", kFieldContext);
    }
    WdbFieldSpec field{};
    copyText(field.name, name);
    std::int32_t status = WdbGetFieldSpec(&field);
    if (status != WDB_OK && status != WDB_FAIL)
        return kernelFault(*this, status, "WdbGetFieldSpec", kFieldContext);
    if (!mapType(column->type->code, field)) {
        return fault(*this, "Unknown data type for column \"" + name + "\".", kFieldContext);
    }
    if (column->constraint) applyConstraint(*column->constraint, field);
    field.hasDefault = column->defaultValue ? 1 : 0;
    debug(kFieldContext, "Attempting to create WELK database field \"%s\" of type \"%s\".\n", name.c_str(),
          field.typeName);
    status = WdbPutFieldSpec(&field);
    if (!WDB_SUCCESS(status)) return kernelFault(*this, status, "WdbPutFieldSpec", kFieldContext);
    if (!column->defaultValue) return true;
    CStringBuffer text(256);
    if (const auto* subselect = dynamic_cast<const WSQLLiteralSelect*>(column->defaultValue.get())) {
        // The way to write a negative number: (SELECT -5).
        const std::unique_ptr<WSQLScalar> literal = constantOf(*subselect->select);
        if (!literal) {
            ReportUnsupported();
            return false;
        }
        literal->toText(text);
    } else {
        column->defaultValue->toText(text);
    }
    status = WdbPutDefaultValue(&field, text.text());
    return WDB_SUCCESS(status) || kernelFault(*this, status, "WdbPutDefaultValue", kFieldContext);
}

void WSQLFilter::ApplyReferences(WSQLStmtCreateTable* create) {
    constexpr const char* kMethod = "WSQLFilter::ApplyReferences";
    const char* table = create->table->table.c_str();
    WdbBaseDef definition{};
    std::int32_t status = WdbGetBaseDef(table, &definition);
    if (!WDB_SUCCESS(status)) {
        messageToStatus(status, "WdbGetBaseDef");
        warning(kMethod, status, "Could apply foreign key constraints for %s\n", table);
        return;
    }
    std::int32_t set = 0;
    for (std::int32_t i = 0; i < create->columns->Count(); ++i) {
        const WSQLColumnElement& column = elementAt(*create->columns, i);
        if (!column.constraint || !column.constraint->isReference()) continue;
        const WSQLColumnConstraint& key = *column.constraint;
        status = WdbSetForeignKey(column.column.c_str(), key.referencedTable.c_str(),
                                  key.referencedColumn.c_str(), key.onUpdate, key.onDelete);
        if (WDB_SUCCESS(status)) {
            ++set;
            continue;
        }
        messageToStatus(status, "WdbSetForeignKey");
        warning(kMethod, status, "Could not apply foreign key constraint for %s.%s\n", table,
                column.column.c_str());
    }
    if (set == 0) return;
    status = WdbPutBaseDef(&definition);
    if (!WDB_SUCCESS(status)) {
        messageToStatus(status, "WdbPutBaseDef");
        warning(kMethod, status, "Could commit foreign key constraints for %s\n", table);
    }
}

}  // namespace wsql
