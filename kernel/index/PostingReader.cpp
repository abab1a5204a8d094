#include "kernel/index/PostingReader.h"

namespace wdb {

Status PostingReader::read(Slice key, RecordSet& out) {
    key_.assign(key);
    key_.append(2, '\0');
    Cursor& cursor = openCursor();
    Status status = cursor.seek(key_);
    for (; ok(status); status = cursor.next()) {
        const Slice found = cursor.key();
        if (found.size() != key_.size() || !found.starts_with(key)) return WDB_OK;
        WDB_TRY(out.borrow(loadBig<uint16_t>(found.data() + key.size()), cursor.value()));
    }
    return status == WDB_FAIL ? WDB_OK : status;
}

Status PostingReader::addTo(Slice key, RecordSetBuilder& out) {
    RecordSet records;
    WDB_TRY(read(key, records));
    out.add(records);
    return WDB_OK;
}

}  // namespace wdb
