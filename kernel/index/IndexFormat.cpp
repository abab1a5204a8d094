#include "kernel/index/IndexFormat.h"

namespace wdb {

namespace {

constexpr TableSpec kWordTables[] = {{"postings"}, {"positions"}, {"meta"}};
constexpr TableSpec kValueTables[] = {{"values"}, {"sets"}, {"columns"}, {"meta"}};

constexpr Slice kPositionKey = "position";
constexpr size_t kMetaSize = 16;

Result<IndexMeta> readMeta(const Txn& txn, Table table, uint32_t format) {
    Slice value;
    const Status status = txn.get(table, kPositionKey, value);
    if (status == WDB_FAIL) return Status{WDB_E_CORRUPT};
    if (!ok(status)) return status;
    if (value.size() != kMetaSize || loadLittle<uint32_t>(value.data()) != format)
        return Status{WDB_E_CORRUPT};
    return IndexMeta{format, loadLittle<uint64_t>(value.data() + 8)};
}

Status writeMeta(WriteTxn& txn, Table table, uint32_t format, Position position) {
    char value[kMetaSize] = {};
    storeLittle(value, format);
    storeLittle(value + 8, position);
    return txn.put(table, kPositionKey, Slice(value, sizeof value));
}

}  // namespace

std::span<const TableSpec> wordFileTables() {
    return kWordTables;
}
std::span<const TableSpec> valueFileTables() {
    return kValueTables;
}

Result<IndexMeta> readWordMeta(const Txn& txn) {
    return readMeta(txn, word_table::kMeta, kWordFormat);
}
Result<IndexMeta> readValueMeta(const Txn& txn) {
    return readMeta(txn, value_table::kMeta, kValueFormat);
}
Status writeWordMeta(WriteTxn& txn, Position position) {
    return writeMeta(txn, word_table::kMeta, kWordFormat, position);
}
Status writeValueMeta(WriteTxn& txn, Position position) {
    return writeMeta(txn, value_table::kMeta, kValueFormat, position);
}

}  // namespace wdb
