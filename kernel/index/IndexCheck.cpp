#include "kernel/index/IndexCheck.h"

#include "kernel/index/Column.h"
#include "kernel/index/IndexFormat.h"
#include "kernel/index/PositionBlock.h"
#include "kernel/index/PostingReader.h"
#include "kernel/record/ValueKey.h"

namespace wdb {

namespace {

Status damaged(std::string& reason, const char* what) {
    reason = what;
    return WDB_E_CORRUPT;
}

// Calls check(key, value) for all entries of a table.
template <typename Check>
Status forEntries(const Txn& txn, Table table, Check&& check) {
    Cursor cursor = txn.cursor(table);
    Status status = cursor.first();
    for (; ok(status); status = cursor.next()) {
        const Status checked = check(cursor.key(), cursor.value());
        if (!ok(checked)) return checked;
    }
    return status == WDB_FAIL ? WDB_OK : status;
}

// Compares the records of a term's position blocks with its postings.
class PositionCheck {
public:
    PositionCheck(const Txn& words, std::string& reason)
        : postings_(words, word_table::kPostings), reason_(reason) {}

    Status block(Slice key, Slice block) {
        if (key.size() < 8 || key[key.size() - 5] != '\0') return damaged(reason_, "positions: key");
        const Slice term = key.substr(0, key.size() - 4);
        if (term != term_) {
            WDB_TRY(endTerm());
            term_ = term;
        }
        const RecordNumber first = loadBig<uint32_t>(key.data() + term.size());
        if (!ok(validatePositionBlock(first, block))) return damaged(reason_, "positions: block");
        Result<PositionBlockReader> reader = PositionBlockReader::open(first, block);
        if (!reader) return reader.status();
        while (ok(reader->next())) records_.add(reader->record());
        return WDB_OK;
    }

    Status endTerm() {
        const RecordSet here = records_.finish();
        if (term_.empty()) return WDB_OK;
        RecordSet posted;
        WDB_TRY(postings_.read(term_, posted));
        posted_ += posted.chunkCount();
        return here == posted ? WDB_OK : damaged(reason_, "positions: records differ from the postings");
    }

    // Containers of all terms that had positions.
    uint64_t posted() const { return posted_; }

private:
    PostingReader postings_;
    std::string& reason_;
    std::string term_;
    RecordSetBuilder records_;
    uint64_t posted_ = 0;
};

}  // namespace

Status checkWordFile(const Txn& words, std::string& reason) {
    const Result<IndexMeta> meta = readWordMeta(words);
    if (!meta) return meta.status() == WDB_E_CORRUPT ? damaged(reason, "meta") : meta.status();
    const Status postings = forEntries(words, word_table::kPostings, [&](Slice key, Slice value) {
        if (key.size() < 6 || key.size() > kMaxTerm + 5 || key[key.size() - 3] != '\0')
            return damaged(reason, "postings: key");
        return ok(validateContainer(value)) ? WDB_OK : damaged(reason, "postings: container");
    });
    WDB_TRY(postings);
    PositionCheck positions(words, reason);
    const Status blocks = forEntries(words, word_table::kPositions,
                                     [&](Slice key, Slice value) { return positions.block(key, value); });
    WDB_TRY(blocks);
    WDB_TRY(positions.endTerm());
    return positions.posted() == words.entries(word_table::kPostings)
               ? WDB_OK
               : damaged(reason, "postings: no positions");
}

Status checkValueFile(const Txn& values, std::string& reason) {
    const Result<IndexMeta> meta = readValueMeta(values);
    if (!meta) return meta.status() == WDB_E_CORRUPT ? damaged(reason, "meta") : meta.status();
    const Status keys = forEntries(values, value_table::kValues, [&](Slice key, Slice value) {
        if (key.size() < 5 || key.size() > kMaxValueKey + 4) return damaged(reason, "values: key");
        return ok(validateContainer(value)) ? WDB_OK : damaged(reason, "values: container");
    });
    WDB_TRY(keys);
    const Status sets = forEntries(values, value_table::kSets, [&](Slice key, Slice value) {
        if (key.size() != 5 || static_cast<uint8_t>(key[2]) > static_cast<uint8_t>(SetKind::Multi))
            return damaged(reason, "sets: key");
        return ok(validateContainer(value)) ? WDB_OK : damaged(reason, "sets: container");
    });
    WDB_TRY(sets);
    return forEntries(values, value_table::kColumns, [&](Slice key, Slice value) {
        if (key.size() != 6) return damaged(reason, "columns: key");
        return ok(validateColumn(value)) ? WDB_OK : damaged(reason, "columns: block");
    });
}

}  // namespace wdb
