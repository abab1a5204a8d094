#include "host/format/CsvFormatter.h"
#include "host/records/RowWriter.h"
#include "host/text/Base64.h"

namespace host {

void CsvRowWriter::begin(std::string& out) {
    for (const TableColumn& column : columns_) {
        if (&column != &columns_.front()) out += ',';
        appendCsvField(column.name, out);
    }
    out += "\r\n";
}

bool CsvRowWriter::row(const StoredRecord& record, std::string& out, std::string& reason) {
    if (!record.parts.empty()) {
        reason = "a CSV file cannot hold part records";
        return false;
    }
    std::string cell;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        if (i > 0) out += ',';
        const StoredValue& value = record.head[i];
        if (value.empty()) continue;
        cell.clear();
        for (const std::optional<std::string>& item : value) {
            if (&item != &value.front()) cell += '\n';
            if (item) cell += columns_[i].type == WDB_T_STRING ? encodeBase64(*item) : *item;
        }
        appendCsvField(cell, out);
    }
    out += "\r\n";
    return true;
}

}  // namespace host
