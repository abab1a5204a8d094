#pragma once

#include <span>
#include <vector>

#include "kernel/catalog/BaseSnapshot.h"
#include "kernel/search/KeptRecords.h"
#include "kernel/search/RowView.h"
#include "kernel/search/Tuples.h"

namespace wdb {

// Reads the records of rows, one row at a time. Deleted records are marked.
class TupleReader {
public:
    // snapshots: one per table. kept: null, or what the records are read from instead. All outlive the
    // reader.
    TupleReader(std::vector<const BaseSnapshot*> snapshots, const Tuples& rows,
                const KeptRecords* kept = nullptr);

    // Replaces records(). WDB_E_CORRUPT.
    Status read(size_t row);
    std::span<const RowRecord> records() const { return records_; }
    // Had the row records, and are they all deleted?
    bool allDeleted() const;

private:
    Status load(uint32_t table, RowRecord& record);

    std::vector<const BaseSnapshot*> snapshots_;
    const Tuples& rows_;
    const KeptRecords* kept_;
    std::vector<RecordView> views_;
    std::vector<RowRecord> records_;
};

}  // namespace wdb
