// A definition as a JSON object and back.
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "host/Catalog.h"
#include "host/define/TableDefinition.h"
#include "host/input/ColumnNames.h"
#include "wdb.h"

namespace host {

namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kActions[] = {"", "RESTRICT", "CASCADE", "NO ACTION", "SET NULL", "SET DEFAULT"};
constexpr std::int32_t kTypes[] = {WDB_T_TEXT, WDB_T_PHRASE, WDB_T_INTEGER, WDB_T_NUMBER,
                                   WDB_T_DATE, WDB_T_TIME,   WDB_T_STRING};

[[noreturn]] void wrong(const std::string& what) {
    throw std::runtime_error("definition: " + what);
}

std::int32_t actionCode(const std::string& name) {
    for (std::int32_t code = WDB_ACT_RESTRICT; code <= WDB_ACT_SET_DEFAULT; ++code) {
        if (equalNames(name, kActions[code])) return code;
    }
    wrong("no action is called " + name);
}

std::int32_t typeCode(const std::string& name) {
    for (const std::int32_t type : kTypes) {
        if (equalNames(name, sqlTypeName(type))) return type;
    }
    wrong("no type is called " + name);
}

// The members of one object, each taken once; what nobody took is a mistake of the writer.
class Members {
public:
    Members(const Json& object, std::string where) : object_(object), where_(std::move(where)) {
        if (!object.is_object()) wrong(where_ + " is no object");
    }
    std::string text(const char* name, const char* otherwise = "") {
        const Json* value = take(name);
        if (value == nullptr) return otherwise;
        if (!value->is_string()) wrong(where_ + ": " + name + " is no text");
        return value->get<std::string>();
    }
    bool flag(const char* name, bool otherwise) {
        const Json* value = take(name);
        if (value == nullptr) return otherwise;
        if (!value->is_boolean()) wrong(where_ + ": " + name + " is neither true nor false");
        return value->get<bool>();
    }
    const Json* take(const char* name) {
        const auto found = object_.find(name);
        if (found == object_.end()) return nullptr;
        ++taken_;
        return &*found;
    }
    void end() const {
        if (taken_ != object_.size()) wrong(where_ + " has a member that is not known");
    }

private:
    const Json& object_;
    std::string where_;
    std::size_t taken_ = 0;
};

Json referenceJson(const ColumnReference& to) {
    Json json = {{"table", to.table}, {"column", to.column}};
    if (to.onDelete > WDB_ACT_RESTRICT && to.onDelete <= WDB_ACT_SET_DEFAULT)
        json["onDelete"] = kActions[to.onDelete];
    if (to.onUpdate > WDB_ACT_RESTRICT && to.onUpdate <= WDB_ACT_SET_DEFAULT)
        json["onUpdate"] = kActions[to.onUpdate];
    return json;
}

Json columnJson(const ColumnDefinition& column) {
    Json json = {{"name", column.name}, {"type", sqlTypeName(column.type)}};
    if (column.serial) json["serial"] = true;
    if (column.mandatory) json["notNull"] = true;
    if (column.part) json["part"] = true;
    if (column.plain) json["plain"] = true;
    if (column.indexed != (column.type != WDB_T_STRING)) json["indexed"] = column.indexed;
    if (column.defaultValue) json["default"] = *column.defaultValue;
    if (!column.comment.empty()) json["comment"] = column.comment;
    if (column.reference) json["references"] = referenceJson(*column.reference);
    return json;
}

ColumnReference parseReference(const Json& json, const std::string& where) {
    Members members(json, where + ": references");
    ColumnReference to;
    to.table = members.text("table");
    to.column = members.text("column");
    to.onDelete = actionCode(members.text("onDelete", "RESTRICT"));
    to.onUpdate = actionCode(members.text("onUpdate", "RESTRICT"));
    members.end();
    if (to.table.empty() || to.column.empty()) wrong(where + ": references needs table and column");
    return to;
}

ColumnDefinition parseColumn(const Json& json) {
    ColumnDefinition column;
    Members members(json, "a column");
    column.name = members.text("name");
    if (column.name.empty()) wrong("a column has no name");
    column.type = typeCode(members.text("type", "VARCHAR"));
    column.serial = members.flag("serial", false);
    column.mandatory = members.flag("notNull", false);
    column.part = members.flag("part", false);
    column.plain = members.flag("plain", false);
    column.indexed = members.flag("indexed", column.type != WDB_T_STRING);
    if (const Json* value = members.take("default"))
        column.defaultValue = value->is_string() ? value->get<std::string>() : value->dump();
    column.comment = members.text("comment");
    if (const Json* value = members.take("references"))
        column.reference = parseReference(*value, column.name);
    members.end();
    return column;
}

}  // namespace

std::string definitionJson(const TableDefinition& definition) {
    Json json = {{"table", definition.name}};
    if (!definition.comment.empty()) json["comment"] = definition.comment;
    if (!definition.charset.empty() && definition.charset != "MUL") json["charset"] = definition.charset;
    if (!definition.location.empty()) json["location"] = definition.location;
    if (!definition.primaryKey.empty()) json["primaryKey"] = definition.primaryKey;
    json["columns"] = Json::array();
    for (const ColumnDefinition& column : definition.columns) json["columns"].push_back(columnJson(column));
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

TableDefinition parseDefinition(std::string_view text) {
    const Json json = Json::parse(text, nullptr, false);
    if (json.is_discarded()) wrong("the text is no JSON");
    Members members(json, "the table");
    TableDefinition definition;
    definition.name = members.text("table");
    if (definition.name.empty()) wrong("the table has no name");
    definition.comment = members.text("comment");
    definition.charset = members.text("charset");
    definition.location = members.text("location");
    definition.primaryKey = members.text("primaryKey");
    const Json* columns = members.take("columns");
    if (columns == nullptr || !columns->is_array() || columns->empty()) wrong("the table has no columns");
    for (const Json& column : *columns) definition.columns.push_back(parseColumn(column));
    members.end();
    return definition;
}

}  // namespace host
