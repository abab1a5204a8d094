#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/Catalog.h"
#include "host/Kernel.h"

namespace host {

// A field's content as it is stored: items by position from 1, absent ones without a text. A TEXT has one
// item, its lines joined by line feeds, a large object one with its bytes. Empty when the field is NULL.
using StoredValue = std::vector<std::optional<std::string>>;

// One value per column of the table. The head record has those of every column, a part record those of the
// part columns only.
using StoredPart = std::vector<StoredValue>;

struct StoredRecord {
    std::int32_t number = 0;
    StoredPart head;
    std::vector<StoredPart> parts;  // part n at index n - 1
};

// Walks the records of a table in the order of their numbers. Dates come in the session's date form. What is
// read is one state of the table only while the session has a saved status (WdbSaveStatus).
class TableReader {
public:
    // Throws KernelError when the table cannot be read.
    explicit TableReader(const std::string& table);
    const std::vector<TableColumn>& columns() const { return columns_; }
    bool hasParts() const { return hasParts_; }
    // False at the end. Throws KernelError. An object or text of several hundred megabytes is held in memory
    // once.
    bool next(StoredRecord& record);

private:
    void readPart(std::int32_t part, StoredPart& values);
    void readItems(StoredValue& value, const TableColumn& column);
    void readText(StoredValue& value);
    void readObject(StoredValue& value);

    std::vector<TableColumn> columns_;
    Control control_;
    Cursor cursor_;
    std::vector<char> buffer_;
    std::int32_t number_ = 0;
    bool hasParts_ = false;
};

}  // namespace host
