#pragma once

#include <optional>
#include <string>
#include <vector>

#include "kernel/index/Column.h"
#include "kernel/index/IndexViewImpl.h"

namespace wdb {

// The blocks of a field's column, each opened once.
class ColumnBlocks {
public:
    ColumnBlocks(const Txn& values, FieldNumber field) : values_(values), prefix_(indexKey(field, {})) {}

    // Null for a missing block, which has no values. WDB_FAIL when a block keeps none of its values.
    Status open(uint32_t block, const ColumnView*& view) {
        if (block >= blocks_.size()) blocks_.resize(block + size_t{1});
        Block& entry = blocks_[block];
        if (!entry.looked) WDB_TRY(look(block, entry));
        view = entry.view ? &*entry.view : nullptr;
        return WDB_OK;
    }

private:
    struct Block {
        bool looked = false;
        std::optional<ColumnView> view;
    };
    Status look(uint32_t block, Block& entry) {
        std::string key = prefix_;
        appendBig(key, block);
        Slice stored;
        const Status status = values_.get(value_table::kColumns, key, stored);
        if (!ok(status) && status != WDB_FAIL) return status;
        entry.looked = true;
        if (status == WDB_FAIL) return WDB_OK;
        const Result<ColumnView> view = ColumnView::open(stored);
        if (!view) return view.status();
        entry.view = *view;
        return WDB_OK;
    }

    const Txn& values_;
    const std::string prefix_;
    std::vector<Block> blocks_;
};

}  // namespace wdb
