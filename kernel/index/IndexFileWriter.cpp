#include "kernel/index/IndexFileWriter.h"

#include <optional>

#include "kernel/common/ByteOrder.h"
#include "kernel/index/Column.h"
#include "kernel/index/Container.h"
#include "kernel/index/IndexFormat.h"
#include "kernel/index/PositionBlock.h"
#include "kernel/storage/Environment.h"

namespace wdb {
namespace {

// A transaction is committed (unsynced) after so many bytes: its dirty pages are memory.
constexpr size_t kCommitBytes = size_t{32} << 20;

// Appends to the tables of a new file.
class FileAppender {
public:
    Status open(const std::string& path, std::span<const TableSpec> tables) {
        EnvironmentOptions options;
        options.create = true;
        options.unpublished = true;
        Result<std::shared_ptr<Environment>> environment = Environment::open(path, tables, options);
        if (!environment) return environment.status();
        environment_ = *environment;
        return begin();
    }
    Status append(Table table, Slice key, Slice value) {
        WDB_TRY(txn_.put(table, key, value, PutMode::Append));
        bytes_ += key.size() + value.size();
        if (bytes_ < kCommitBytes) return WDB_OK;
        WDB_TRY(txn_.commit());
        return begin();
    }
    WriteTxn& txn() { return txn_; }
    Status finish() {
        WDB_TRY(txn_.commit());
        return environment_->sync();
    }

private:
    Status begin() {
        Result<WriteTxn> txn = environment_->write();
        if (!txn) return txn.status();
        txn_ = std::move(*txn);
        bytes_ = 0;
        return WDB_OK;
    }

    std::shared_ptr<Environment> environment_;
    WriteTxn txn_;
    size_t bytes_ = 0;
};

// Cuts the records of one key into containers and appends each as it is complete.
class ContainerAppender {
public:
    ContainerAppender(FileAppender& file, Table table) : file_(file), table_(table) {}

    void start(Slice key) { key_.assign(key); }
    Status add(RecordNumber record) {
        const auto chunk = static_cast<uint16_t>(record >> 16);
        if (!members_.empty() && chunk != chunk_) WDB_TRY(flush());
        chunk_ = chunk;
        members_.push_back(static_cast<uint16_t>(record & 0xFFFF));
        return WDB_OK;
    }
    Status flush() {
        if (members_.empty()) return WDB_OK;
        const size_t size = key_.size();
        appendBig<uint16_t>(key_, chunk_);
        value_.clear();
        appendContainer(members_.data(), static_cast<uint32_t>(members_.size()), value_);
        members_.clear();
        const Status status = file_.append(table_, key_, value_);
        key_.resize(size);
        return status;
    }

private:
    FileAppender& file_;
    const Table table_;
    std::string key_;
    std::string value_;
    uint16_t chunk_ = 0;
    std::vector<uint16_t> members_;
};

class PositionAppender {
public:
    explicit PositionAppender(FileAppender& file) : file_(file) {}

    void start(Slice key) { key_.assign(key); }
    Status add(RecordNumber record, Slice positions) {
        if (!block_.takes(positions.size())) WDB_TRY(flush());
        block_.add(record, positions);
        return WDB_OK;
    }
    Status flush() {
        if (block_.empty()) return WDB_OK;
        const size_t size = key_.size();
        appendBig<uint32_t>(key_, block_.firstRecord());
        const Status status = file_.append(word_table::kPositions, key_, block_.finish());
        key_.resize(size);
        block_.clear();
        return status;
    }

private:
    FileAppender& file_;
    std::string key_;
    PositionBlockWriter block_;
};

Status appendContainers(FileAppender& file, Table table, RunMerger runs) {
    ContainerAppender containers(file, table);
    while (runs.nextKey()) {
        containers.start(runs.key());
        while (runs.nextPosting()) WDB_TRY(containers.add(runs.record()));
        WDB_TRY(containers.flush());
    }
    return WDB_OK;
}

Status appendColumn(FileAppender& file, const FieldColumn& column) {
    ColumnValues values;
    std::string key;
    std::string block;
    const auto flush = [&](uint32_t number) -> Status {
        if (values.empty()) return WDB_OK;
        key.clear();
        appendBig<uint16_t>(key, column.field);
        appendBig<uint32_t>(key, number);
        block.clear();
        values.encode(block);
        values.clear();
        return file.append(value_table::kColumns, key, block);
    };
    uint32_t current = 0;
    for (const auto& [record, value] : column.values) {
        if (columnBlock(record) != current) {
            WDB_TRY(flush(current));
            current = columnBlock(record);
        }
        values.set(record % kColumnRecords, value);
    }
    return flush(current);
}

}  // namespace

Status writeWordFile(const std::string& path, RunMerger words, Position position) {
    FileAppender file;
    WDB_TRY(file.open(path, wordFileTables()));
    ContainerAppender containers(file, word_table::kPostings);
    PositionAppender blocks(file);
    while (words.nextKey()) {
        containers.start(words.key());
        blocks.start(words.key());
        while (words.nextPosting()) {
            WDB_TRY(containers.add(words.record()));
            WDB_TRY(blocks.add(words.record(), words.positions()));
        }
        WDB_TRY(containers.flush());
        WDB_TRY(blocks.flush());
    }
    WDB_TRY(writeWordMeta(file.txn(), position));
    return file.finish();
}

Status writeValueFile(const std::string& path, RunMerger values, RunMerger sets,
                      const std::vector<FieldColumn>& columns, Position position) {
    FileAppender file;
    WDB_TRY(file.open(path, valueFileTables()));
    WDB_TRY(appendContainers(file, value_table::kValues, std::move(values)));
    WDB_TRY(appendContainers(file, value_table::kSets, std::move(sets)));
    for (const FieldColumn& column : columns) WDB_TRY(appendColumn(file, column));
    WDB_TRY(writeValueMeta(file.txn(), position));
    return file.finish();
}

}  // namespace wdb
