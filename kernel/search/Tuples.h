#pragma once

#include <cstdint>
#include <vector>

#include "kernel/common/Ids.h"

namespace wdb {

// A record with one of its parts; 0 is the head.
struct PartRow {
    RecordNumber record = 0;
    PartNumber part = 0;
    auto operator<=>(const PartRow&) const = default;
};

// The rows of a selection over one or more tables: per table a record (0: none, an outer join's empty side)
// and, where the table's rows are parts, its part.
class Tuples {
public:
    struct Table {
        std::vector<RecordNumber> records;  // by row
        std::vector<PartNumber> parts;      // by row; empty: all of the head
    };

    explicit Tuples(size_t tables = 0) : tables_(tables) {}

    size_t size() const { return size_; }
    size_t tableCount() const { return tables_.size(); }
    RecordNumber record(uint32_t table, size_t row) const { return tables_[table].records[row]; }
    PartNumber part(uint32_t table, size_t row) const {
        return tables_[table].parts.empty() ? 0 : tables_[table].parts[row];
    }
    PartRow at(uint32_t table, size_t row) const { return {record(table, row), part(table, row)}; }
    const std::vector<RecordNumber>& records(uint32_t table) const { return tables_[table].records; }
    const std::vector<PartNumber>& parts(uint32_t table) const { return tables_[table].parts; }
    // Is the table in the rows yet?
    bool has(uint32_t table) const { return tables_[table].records.size() == size_ && joined_[table]; }

    // Makes a table the only one, or gives the present rows one more. As many entries as there are rows.
    void set(uint32_t table, std::vector<RecordNumber> records, std::vector<PartNumber> parts);
    // Rows become those at the given places; the place kNone gives an empty row.
    static constexpr uint32_t kNone = UINT32_MAX;
    void gather(const std::vector<uint32_t>& places);
    // By record and part of the first table, then the second ...
    void sort();
    // One row without any record.
    static Tuples oneEmpty(size_t tables);

private:
    bool before(size_t a, size_t b) const;

    std::vector<Table> tables_;
    std::vector<char> joined_ = std::vector<char>(tables_.size(), 0);
    size_t size_ = 0;
};

}  // namespace wdb
