#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "host/Catalog.h"
#include "host/Kernel.h"
#include "host/input/RecordReader.h"

namespace host {

struct LoadCounts {
    std::int64_t stored = 0;
    std::int64_t duplicates = 0;  // records whose key was there already
    std::int64_t refused = 0;     // records that could not be used
};

// Stores records in one table as one change: all of them are there after commit(), none when the object goes
// without.
class Loader {
public:
    // Throws KernelError when the table cannot be written.
    explicit Loader(const std::string& table);
    ~Loader();
    Loader(const Loader&) = delete;
    Loader& operator=(const Loader&) = delete;

    // The input's columns by name; call again when the reader has met new ones. Answers those that the table
    // lacks.
    std::vector<std::string> mapColumns(const RecordReader& reader);
    // False, with the reason, for a record that is refused; a duplicate is counted only. Throws KernelError
    // when loading cannot go on.
    bool put(const RecordReader& reader, const InputRecord& record, std::string& reason);
    void commit();
    const LoadCounts& counts() const { return counts_; }
    // Why the latest record was not stored; WDB_OK when it was.
    std::int32_t lastStatus() const { return lastStatus_; }

private:
    std::int32_t setValue(const TableColumn& column, const RecordReader& reader, const InputValue& value);
    std::int32_t setList(const TableColumn& column, std::string_view text);
    std::int32_t setLines(const TableColumn& column, std::string_view text);
    std::int32_t setWhole(const TableColumn& column, std::string_view text);
    std::int32_t selectPart(std::int32_t part);
    std::int32_t setItem(const TableColumn& column, std::int32_t position, std::string_view text);

    std::string table_;
    std::vector<TableColumn> columns_;
    std::vector<const TableColumn*> targets_;  // by input column; null for those that the table lacks
    Control control_;
    Cursor cursor_;
    std::string line_;       // a value on one line
    std::int32_t part_ = 0;  // current part of the control's record
    LoadCounts counts_;
    std::int32_t lastStatus_ = WDB_OK;
    bool loading_ = false;
};

}  // namespace host
