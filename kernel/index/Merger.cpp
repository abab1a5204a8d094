#include "kernel/index/Merger.h"

#include <algorithm>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "kernel/index/Column.h"
#include "kernel/index/ContainerOperations.h"
#include "kernel/index/IndexFormat.h"
#include "kernel/index/PositionBlock.h"
#include "kernel/index/RecordInverter.h"
#include "kernel/index/TermTable.h"

namespace wdb {

namespace {

// What is done to the posting of one record under one key.
struct Operation {
    RecordNumber record;
    bool add;                  // else removed
    uint32_t positionsAt = 0;  // in the pool, as blocks store them
    uint32_t positionsSize = 0;
};

// Operations by key: keys in byte order, the operations of a key by ascending record.
class OperationTable {
public:
    std::string positions;  // pool

    uint32_t key(Slice bytes) { return keys_.intern(bytes); }
    // Records must ascend from call to call.
    void add(uint32_t key, const Operation& operation) { operations_.emplace_back(key, operation); }

    template <typename Apply>
    Status forEachKey(Apply&& apply) const {
        std::vector<size_t> ends(keys_.size() + 1);  // of a key's operations, while they are placed
        for (const auto& [key, operation] : operations_) ++ends[key + 1];
        for (size_t key = 1; key < ends.size(); ++key) ends[key] += ends[key - 1];
        std::vector<Operation> placed(operations_.size());
        for (const auto& [key, operation] : operations_) placed[ends[key]++] = operation;
        for (const uint32_t key : keys_.sorted()) {
            const size_t begin = key == 0 ? 0 : ends[key - 1];
            if (begin == ends[key]) continue;
            const Status status = apply(keys_.term(key), std::span(placed).subspan(begin, ends[key] - begin));
            if (!ok(status)) return status;
        }
        return WDB_OK;
    }

private:
    TermTable keys_;
    std::vector<std::pair<uint32_t, Operation>> operations_;
};

std::vector<const IndexChange*> byRecord(const std::vector<IndexChange>& changes) {
    std::vector<const IndexChange*> out;
    out.reserve(changes.size());
    for (const IndexChange& change : changes) out.push_back(&change);
    std::sort(out.begin(), out.end(),
              [](const IndexChange* a, const IndexChange* b) { return a->record < b->record; });
    return out;
}

// Brings the containers of one key up to date.
class ContainerMerger {
public:
    ContainerMerger(WriteTxn& txn, Table table) : txn_(txn), table_(table) {}

    Status apply(Slice key, std::span<const Operation> operations) {
        for (size_t i = 0; i < operations.size();) {
            const auto chunk = static_cast<uint16_t>(operations[i].record >> 16);
            added_.clear();
            removed_.clear();
            for (; i < operations.size() && operations[i].record >> 16 == chunk; ++i)
                (operations[i].add ? added_ : removed_)
                    .push_back(static_cast<uint16_t>(operations[i].record & 0xFFFF));
            key_.assign(key);
            appendBig(key_, chunk);
            WDB_TRY(applyChunk());
        }
        return WDB_OK;
    }

private:
    Status applyChunk() {
        Slice stored;
        const Status found = txn_.get(table_, key_, stored);
        if (!ok(found) && found != WDB_FAIL) return found;
        OwnedContainer members;
        if (ok(found)) {
            const Result<ContainerView> view = readContainer(stored);
            if (!view) return view.status();
            members.view = *view;
        }
        if (!removed_.empty() && members.view.cardinality > 0) {
            const OwnedContainer gone = fromMembers(removed_.data(), static_cast<uint32_t>(removed_.size()));
            members = subtractContainers(members.view, gone.view);
        }
        if (!added_.empty()) {
            OwnedContainer fresh = fromMembers(added_.data(), static_cast<uint32_t>(added_.size()));
            if (members.view.cardinality == 0)
                members = std::move(fresh);
            else
                members = uniteContainers(members.view, fresh.view);
        }
        if (members.view.cardinality == 0) return ok(found) ? txn_.remove(table_, key_) : WDB_OK;
        value_.clear();
        appendContainer(members.view, value_);
        return txn_.put(table_, key_, value_);
    }

    WriteTxn& txn_;
    const Table table_;
    std::vector<uint16_t> added_;
    std::vector<uint16_t> removed_;
    std::string key_;
    std::string value_;
};

// Brings the position blocks of one term up to date.
class PositionMerger {
public:
    PositionMerger(WriteTxn& txn, const std::string& pool) : txn_(txn), pool_(pool) {}

    Status apply(Slice key, std::span<const Operation> operations) {
        for (size_t i = 0; i < operations.size();) {
            RecordNumber limit = 0;  // first record of the block behind the one that is changed, 0: none
            WDB_TRY(takeBlock(key, operations[i].record, limit));
            size_t end = i + 1;
            while (end < operations.size() && (limit == 0 || operations[end].record < limit)) ++end;
            WDB_TRY(writeBlocks(key, operations.subspan(i, end - i)));
            i = end;
        }
        return WDB_OK;
    }

private:
    // Copies the block that a record belongs to, which may be none. It is to be written over or taken out.
    Status takeBlock(Slice key, RecordNumber record, RecordNumber& limit) {
        block_.clear();
        stands_ = false;
        const auto mine = [&](const Cursor& cursor) {
            return cursor.key().size() == key.size() + 4 && cursor.key().starts_with(key);
        };
        const auto first = [&](const Cursor& cursor) {
            return loadBig<uint32_t>(cursor.key().data() + key.size());
        };
        key_.assign(key);
        appendBig(key_, record);
        Cursor cursor = txn_.cursor(word_table::kPositions);
        Status status = cursor.seek(key_);
        if (!ok(status) && status != WDB_FAIL) return status;
        const bool exact = ok(status) && cursor.key() == key_;
        if (!exact) {
            const bool behind = ok(status) && mine(cursor);
            status = ok(status) ? cursor.previous() : cursor.last();
            if (!ok(status) && status != WDB_FAIL) return status;
            if (!ok(status) || !mine(cursor)) {
                // The record comes before all blocks: it joins the first one.
                if (!behind) return WDB_OK;
                WDB_TRY(cursor.seek(key_));
            }
        }
        first_ = first(cursor);
        block_.assign(cursor.value());
        key_.assign(cursor.key());
        status = cursor.next();
        if (!ok(status) && status != WDB_FAIL) return status;
        if (ok(status) && mine(cursor)) limit = first(cursor);
        stands_ = true;
        return WDB_OK;
    }

    Status writeBlocks(Slice key, std::span<const Operation> operations) {
        Result<PositionBlockReader> reader = PositionBlockReader::open(first_, block_);
        Status old = WDB_FAIL;  // of the old block's next posting
        if (!block_.empty()) {
            if (!reader) return reader.status();
            old = reader->next();
        }
        size_t next = 0;
        while (ok(old) || next < operations.size()) {
            if (next == operations.size() || (ok(old) && reader->record() < operations[next].record)) {
                WDB_TRY(write(key, reader->record(), reader->positions()));
                old = reader->next();
                continue;
            }
            const Operation& operation = operations[next++];
            if (ok(old) && reader->record() == operation.record) old = reader->next();
            if (operation.add)
                WDB_TRY(write(key, operation.record,
                              Slice(pool_).substr(operation.positionsAt, operation.positionsSize)));
        }
        if (old != WDB_FAIL) return old;
        WDB_TRY(flush(key));
        if (!stands_) return WDB_OK;
        key_.assign(key);
        appendBig(key_, first_);
        return txn_.remove(word_table::kPositions, key_);
    }

    Status write(Slice key, RecordNumber record, Slice positions) {
        if (!writer_.takes(positions.size())) WDB_TRY(flush(key));
        writer_.add(record, positions);
        return WDB_OK;
    }

    Status flush(Slice key) {
        if (writer_.empty()) return WDB_OK;
        if (writer_.firstRecord() == first_) stands_ = false;
        key_.assign(key);
        appendBig(key_, writer_.firstRecord());
        const Status status = txn_.put(word_table::kPositions, key_, writer_.finish());
        writer_.clear();
        return status;
    }

    WriteTxn& txn_;
    const std::string& pool_;
    std::string key_;
    std::string block_;  // the block that is changed, empty: none
    RecordNumber first_ = 0;
    bool stands_ = false;  // it is in the table as it was
    PositionBlockWriter writer_;
};

// The words of one image: (key number, position), sorted.
struct WordList {
    OperationTable& table;
    std::vector<std::pair<uint32_t, uint32_t>> words{};

    void present(FieldNumber) {}
    void multi(FieldNumber) {}
    void word(FieldNumber, Slice key, uint32_t position) { words.emplace_back(table.key(key), position); }
};

// What the two images of a record have that the other has not, field by field: a change of one value costs
// nothing for the texts beside it.
template <typename List>
void invertBoth(RecordInverter& inverter, const Schema& schema, const IndexChange& change, List& before,
                List& after) {
    // Copies: what they unpack goes with them, not with the last of many changes.
    const std::optional<RecordView> old = change.before, now = change.after;
    if (old && now) {
        inverter.invertDifference(schema, *old, *now, before);
        inverter.invertDifference(schema, *now, *old, after);
    } else {
        if (old) inverter.invert(schema, *old, before);
        if (now) inverter.invert(schema, *now, after);
    }
}

// Collects what a record's change does to its words.
void compareWords(OperationTable& table, RecordNumber record, WordList& before, WordList& after,
                  std::vector<uint32_t>& positions) {
    std::sort(before.words.begin(), before.words.end());
    std::sort(after.words.begin(), after.words.end());
    auto old = before.words.begin();
    auto now = after.words.begin();
    while (old != before.words.end() || now != after.words.end()) {
        const uint32_t key =
            now == after.words.end() || (old != before.words.end() && old->first < now->first) ? old->first
                                                                                               : now->first;
        const auto sameKey = [key](const auto& word) { return word.first == key; };
        const auto oldEnd = std::find_if_not(old, before.words.end(), sameKey);
        const auto nowEnd = std::find_if_not(now, after.words.end(), sameKey);
        if (now == nowEnd) {
            table.add(key, {record, false});
        } else if (!std::equal(old, oldEnd, now, nowEnd)) {
            positions.clear();
            for (auto word = now; word != nowEnd; ++word) positions.push_back(word->second);
            const auto at = static_cast<uint32_t>(table.positions.size());
            appendPositions(positions, table.positions);
            table.add(key, {record, true, at, static_cast<uint32_t>(table.positions.size()) - at});
        }
        old = oldEnd;
        now = nowEnd;
    }
}

// The values, sets and columns of one image.
struct ValueList {
    OperationTable& values;
    OperationTable& sets;
    std::vector<uint32_t> valueKeys{};
    std::vector<uint32_t> setKeys{};
    std::map<FieldNumber, int64_t> columns{};

    void set(FieldNumber field, SetKind kind) {
        char key[3];
        storeBig(key, field);
        key[2] = static_cast<char>(kind);
        setKeys.push_back(sets.key(Slice(key, sizeof key)));
    }
    void present(FieldNumber field) { set(field, SetKind::Present); }
    void multi(FieldNumber field) { set(field, SetKind::Multi); }
    void value(FieldNumber, Slice key, bool) { valueKeys.push_back(values.key(key)); }
    void column(FieldNumber field, int64_t number) { columns[field] = number; }
};

void compareKeys(OperationTable& table, RecordNumber record, std::vector<uint32_t>& before,
                 std::vector<uint32_t>& after) {
    for (std::vector<uint32_t>* list : {&before, &after}) {
        std::sort(list->begin(), list->end());
        list->erase(std::unique(list->begin(), list->end()), list->end());
    }
    for (const uint32_t key : before) {
        if (!std::binary_search(after.begin(), after.end(), key)) table.add(key, {record, false});
    }
    for (const uint32_t key : after) {
        if (!std::binary_search(before.begin(), before.end(), key)) table.add(key, {record, true});
    }
}

// Values of records that one column block is to have; none: the record has no entry there.
using ColumnChanges = std::vector<std::pair<RecordNumber, std::optional<int64_t>>>;
using ColumnTable = std::map<std::pair<FieldNumber, uint32_t>, ColumnChanges>;

void compareColumns(ColumnTable& table, RecordNumber record, const ValueList& before,
                    const ValueList& after) {
    const uint32_t block = columnBlock(record);
    for (const auto& [field, value] : before.columns) {
        if (!after.columns.contains(field)) table[{field, block}].emplace_back(record, std::nullopt);
    }
    for (const auto& [field, value] : after.columns) {
        const auto old = before.columns.find(field);
        if (old == before.columns.end() || old->second != value)
            table[{field, block}].emplace_back(record, value);
    }
}

Status applyColumn(WriteTxn& txn, FieldNumber field, uint32_t block, const ColumnChanges& changes,
                   ColumnValues& values) {
    std::string key;
    appendBig(key, field);
    appendBig(key, block);
    Slice stored;
    const Status found = txn.get(value_table::kColumns, key, stored);
    if (!ok(found) && found != WDB_FAIL) return found;
    values.clear();
    if (ok(found)) {
        const Status decoded = values.decode(stored);
        if (decoded == WDB_FAIL)
            return WDB_OK;  // a block that gave up on its values stays so until the file is made anew
        WDB_TRY(decoded);
    }
    for (const auto& [record, value] : changes) {
        if (value)
            values.set(record % kColumnRecords, *value);
        else
            values.reset(record % kColumnRecords);
    }
    if (values.empty()) return ok(found) ? txn.remove(value_table::kColumns, key) : WDB_OK;
    std::string encoded;
    values.encode(encoded);
    return txn.put(value_table::kColumns, key, encoded);
}

}  // namespace

Status mergeWords(WriteTxn& words, const Schema& schema, const std::vector<IndexChange>& changes,
                  Position position) {
    OperationTable table;
    RecordInverter inverter;
    std::vector<uint32_t> positions;
    for (const IndexChange* change : byRecord(changes)) {
        WordList before{table};
        WordList after{table};
        invertBoth(inverter, schema, *change, before, after);
        compareWords(table, change->record, before, after, positions);
    }
    ContainerMerger containers(words, word_table::kPostings);
    PositionMerger blocks(words, table.positions);
    const Status applied = table.forEachKey([&](Slice key, std::span<const Operation> operations) -> Status {
        WDB_TRY(containers.apply(key, operations));
        return blocks.apply(key, operations);
    });
    WDB_TRY(applied);
    return writeWordMeta(words, position);
}

Status mergeValues(WriteTxn& values, const Schema& schema, const std::vector<IndexChange>& changes,
                   Position position) {
    OperationTable valueTable;
    OperationTable setTable;
    ColumnTable columns;
    RecordInverter inverter;
    for (const IndexChange* change : byRecord(changes)) {
        ValueList before{valueTable, setTable};
        ValueList after{valueTable, setTable};
        if (change->before && !change->before->deleted()) before.set(0, SetKind::Live);
        if (change->after && !change->after->deleted()) after.set(0, SetKind::Live);
        invertBoth(inverter, schema, *change, before, after);
        compareKeys(valueTable, change->record, before.valueKeys, after.valueKeys);
        compareKeys(setTable, change->record, before.setKeys, after.setKeys);
        compareColumns(columns, change->record, before, after);
    }
    ContainerMerger valueMerger(values, value_table::kValues);
    ContainerMerger setMerger(values, value_table::kSets);
    WDB_TRY(valueTable.forEachKey(
        [&](Slice key, const auto& operations) { return valueMerger.apply(key, operations); }));
    WDB_TRY(setTable.forEachKey(
        [&](Slice key, const auto& operations) { return setMerger.apply(key, operations); }));
    ColumnValues buffer;
    for (const auto& [place, change] : columns)
        WDB_TRY(applyColumn(values, place.first, place.second, change, buffer));
    return writeValueMeta(values, position);
}

}  // namespace wdb
