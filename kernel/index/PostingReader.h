#pragma once

#include <string>

#include "kernel/common/ByteOrder.h"
#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"
#include "kernel/index/RecordSet.h"
#include "kernel/storage/Environment.h"

namespace wdb {

// Reads a table whose keys are some bytes and a chunk number, whose values are containers: the postings,
// values and sets of the index files. Keeps a cursor: it goes before the transaction does. Used by one
// thread.
class PostingReader {
public:
    PostingReader(const Txn& txn, Table table) : txn_(&txn), table_(table) {}

    // Appends the containers of a key (without the chunk), borrowed, to an empty set.
    Status read(Slice key, RecordSet& out);
    // Adds them to a union.
    Status addTo(Slice key, RecordSetBuilder& out);

    // Calls visit(Slice key, uint16_t chunk, Slice container) -> Status for the entries from the first one on
    // whose key is not below `low` and while keys begin with `prefix`. WDB_FAIL from visit ends the walk,
    // which then answers WDB_OK. The visit must not use this reader.
    template <typename Visit>
    Status walk(Slice low, Slice prefix, Visit&& visit) {
        Cursor& cursor = openCursor();
        Status status = cursor.seek(low);
        for (; ok(status); status = cursor.next()) {
            const Slice key = cursor.key();
            if (!key.starts_with(prefix)) return WDB_OK;
            if (key.size() < prefix.size() + 2) return WDB_E_CORRUPT;
            const Slice bytes = key.substr(0, key.size() - 2);
            const Status visited = visit(bytes, loadBig<uint16_t>(key.data() + bytes.size()), cursor.value());
            if (!ok(visited)) return visited == WDB_FAIL ? WDB_OK : visited;
        }
        return status == WDB_FAIL ? WDB_OK : status;
    }

private:
    Cursor& openCursor() {
        if (!open_) cursor_ = txn_->cursor(table_);
        open_ = true;
        return cursor_;
    }

    const Txn* txn_;
    Table table_;
    Cursor cursor_;
    bool open_ = false;
    std::string key_;
};

}  // namespace wdb
