#include "host/format/JsonFormatter.h"
#include "host/records/RowWriter.h"
#include "host/text/Base64.h"

namespace host {

namespace {

void appendItem(const std::optional<std::string>& item, std::int32_t type, std::string& out) {
    const bool number = type == WDB_T_INTEGER || type == WDB_T_NUMBER;
    if (!item)
        out += "null";
    else if (type == WDB_T_STRING)
        out += std::string("{\"") + kObjectKey + "\":\"" + encodeBase64(*item) + "\"}";
    else if (number && isJsonNumber(*item))
        out += *item;
    else
        out += jsonString(*item);
}

void appendValue(const StoredValue& value, std::int32_t type, std::string& out) {
    if (value.size() == 1) return appendItem(value.front(), type, out);
    out += '[';
    for (const std::optional<std::string>& item : value) {
        if (&item != &value.front()) out += ',';
        appendItem(item, type, out);
    }
    out += ']';
}

}  // namespace

JsonRowWriter::JsonRowWriter(const std::vector<TableColumn>& columns) : columns_(columns) {
    for (const TableColumn& column : columns) keys_.push_back(jsonString(column.name) + ":");
}

void JsonRowWriter::part(const StoredPart& values, const std::vector<StoredPart>* parts,
                         std::string& out) const {
    out += '{';
    const std::size_t start = out.size();
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (values[i].empty()) continue;
        if (out.size() > start) out += ',';
        out += keys_[i];
        appendValue(values[i], columns_[i].type, out);
    }
    if (parts != nullptr && !parts->empty()) {
        if (out.size() > start) out += ',';
        out += std::string("\"") + kPartsKey + "\":[";
        for (const StoredPart& one : *parts) {
            if (&one != &parts->front()) out += ',';
            part(one, nullptr, out);
        }
        out += ']';
    }
    out += '}';
}

bool JsonRowWriter::row(const StoredRecord& record, std::string& out, std::string&) {
    part(record.head, &record.parts, out);
    out += '\n';
    return true;
}

}  // namespace host
