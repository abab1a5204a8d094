#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"
#include "kernel/index/RecordSet.h"

namespace wdb {

// Blocks of numbers by record (docs/formats/value-index.md, table `columns`).

inline constexpr uint32_t kColumnWords = 63;  // of 64 records
inline constexpr uint32_t kColumnRecords = kColumnWords * 64;
inline constexpr size_t kColumnHeader = 16;

constexpr uint32_t columnBlock(RecordNumber record) {
    return record / kColumnRecords;
}

// The values of one block in plain form, for making and changing it.
class ColumnValues {
public:
    ColumnValues() : values_(kColumnRecords) {}

    // Replaces everything by a stored block. WDB_E_CORRUPT; WDB_FAIL when the block has no entries for its
    // values (width 0).
    Status decode(Slice block);
    void set(uint32_t place, int64_t value) { values_[place] = value; }  // place: record % kColumnRecords
    void reset(uint32_t place) { values_[place].reset(); }
    std::optional<int64_t> at(uint32_t place) const { return values_[place]; }
    void clear() { values_.assign(kColumnRecords, std::nullopt); }
    bool empty() const;
    // Appends the stored form; not for an empty block.
    void encode(std::string& out) const;

private:
    std::vector<std::optional<int64_t>> values_;
};

// One block as stored.
class ColumnView {
public:
    // WDB_E_CORRUPT; WDB_FAIL when it has no entries.
    static Result<ColumnView> open(Slice block);
    std::optional<int64_t> at(uint32_t place) const;
    // For loops over all of it: kColumnRecords little-endian entries of width() bytes, 0 for no value, else
    // the value less base() plus 1.
    const char* entries() const { return data_; }
    unsigned width() const { return width_; }
    int64_t base() const { return base_; }
    // The values of records of this block, 0 where there is none, and whether there is one. first: the
    // block's first record.
    void gather(std::span<const RecordNumber> records, RecordNumber first, int64_t* values,
                char* present) const;
    // Adds the records with a value from low to high, both inside.
    void scan(uint32_t block, int64_t low, int64_t high, RecordSetBuilder& out) const;

private:
    unsigned width_ = 0;
    int64_t base_ = 0;
    const char* data_ = nullptr;
};

Status validateColumn(Slice block);

}  // namespace wdb
