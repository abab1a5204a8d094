#pragma once

#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "kernel/catalog/BaseSnapshot.h"
#include "kernel/record/RecordImage.h"
#include "kernel/search/OutputColumn.h"

namespace wdb {

// Copies of the records whose values the rows of a set show, made before the session's view of their bases
// changes. Of each record the fields that the set's columns speak of.
class KeptRecords {
public:
    // Until then the rows are read from the snapshots.
    bool made() const { return made_; }
    // What making the copies ended with.
    Status status() const { return status_; }
    void finish(Status status) {
        made_ = true;
        status_ = status;
    }

    // Before the first add(): the columns of the set, which has so many tables.
    void need(std::span<const OutputColumn> columns, size_t tables);
    // Copies a record unless it is there, or gone, or nothing of its table is needed. WDB_E_CORRUPT,
    // WDB_E_VALUE.
    Status add(uint32_t table, RecordNumber number, const BaseSnapshot& snapshot);

    // Is anything of the table needed?
    bool has(uint32_t table) const { return !tables_[table].head.empty() || !tables_[table].parts.empty(); }
    // Null for a record that was gone already. Valid as long as this is.
    const std::string* find(uint32_t table, RecordNumber number) const;

private:
    struct Table {
        std::vector<FieldNumber> head, parts;
        std::unordered_map<RecordNumber, std::string> images;
    };
    void need(const OutputColumn& column);

    std::vector<Table> tables_;
    bool made_ = false;
    Status status_ = WDB_OK;
};

}  // namespace wdb
