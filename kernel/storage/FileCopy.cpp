#include "kernel/storage/FileCopy.h"

#include <unistd.h>

namespace wdb {

namespace {

constexpr uint64_t kBatch = uint64_t{32} << 20;  // bytes per transaction: what memory may hold unwritten

// Copies one table, committing now and then: nobody sees the file before it is whole.
class TableCopy {
public:
    TableCopy(Environment& to, Table table, Progress& progress)
        : to_(&to), table_(table), progress_(&progress) {}

    Status run(const Txn& from) {
        Cursor cursor = from.cursor(table_);
        Status status = cursor.first();
        for (; ok(status); status = cursor.next()) {
            if (!txn_) WDB_TRY(begin());
            WDB_TRY(txn_.put(table_, cursor.key(), cursor.value(), PutMode::Append));
            const uint64_t bytes = cursor.key().size() + cursor.value().size();
            WDB_TRY(progress_->advance(bytes));
            written_ += bytes;
            if (written_ >= kBatch) WDB_TRY(commit());
        }
        if (status != WDB_FAIL) return status;
        return txn_ ? commit() : WDB_OK;
    }

private:
    Status begin() {
        auto txn = to_->write();
        if (!txn) return txn.status();
        txn_ = std::move(*txn);
        return WDB_OK;
    }
    Status commit() {
        written_ = 0;
        return txn_.commit();
    }

    Environment* to_;
    Table table_;
    Progress* progress_;
    WriteTxn txn_;
    uint64_t written_ = 0;
};

Status copyTables(const Txn& from, const std::string& path, Progress& progress) {
    const std::span<const TableSpec> tables = from.environment()->tables();
    EnvironmentOptions options;
    options.create = options.unpublished = true;
    const auto to = Environment::open(path, tables, options);
    if (!to) return to.status();
    for (Table table = 0; table < tables.size(); ++table) WDB_TRY(TableCopy(**to, table, progress).run(from));
    return (*to)->sync();
}

}  // namespace

Status copyFile(const Txn& from, const std::string& path, Progress& progress) {
    if (::access(path.c_str(), F_OK) == 0) return WDB_E_EXISTS;
    const Status status = copyTables(from, path, progress);
    ::unlink((path + "-lock").c_str());
    if (!ok(status)) {
        ::unlink(path.c_str());
        ::unlink((path + "-clean").c_str());
    }
    return status;
}

}  // namespace wdb
