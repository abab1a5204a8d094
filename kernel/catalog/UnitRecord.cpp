#include "kernel/catalog/UnitRecord.h"

#include <xxhash.h>

#include "kernel/catalog/CatalogLayout.h"
#include "kernel/common/ByteOrder.h"
#include "kernel/common/ByteReader.h"
#include "kernel/storage/BaseLayout.h"

namespace wdb::unit_record {

namespace {

using catalog_layout::kUnits;

constexpr size_t kRowSize = size_t{256} << 10;  // of a row of the list, about

// The first row begins with the first base's meta entry, whose date and commit number no other unit has.
uint64_t identityOf(Slice firstRow) {
    return XXH3_64bits(firstRow.data(), firstRow.size()) | 1;
}

// Writes the list row by row.
class ListWriter {
public:
    ListWriter(WriteTxn& txn, uint64_t& identity) : txn_(txn), identity_(identity) {}

    Status base(const BaseWrites& part) {
        begin(part.id);
        const auto take = [&](Table table, Slice key, std::optional<Slice> value) -> Status {
            bytes_.push_back(static_cast<char>(table));
            bytes_.push_back(value ? 1 : 0);
            appendText(bytes_, key);
            if (value) appendText(bytes_, *value);
            if (bytes_.size() < kRowSize) return WDB_OK;
            WDB_TRY(flush());
            begin(part.id);
            return WDB_OK;
        };
        WDB_TRY(part.writer->forEachWrite(take));
        return flush();
    }

private:
    void begin(BaseId id) {
        bytes_.clear();
        appendLittle(bytes_, id);
    }
    Status flush() {
        if (row_ == 0) identity_ = identityOf(bytes_);
        std::string key;
        appendBig(key, row_++);
        return txn_.put(kUnits, key, bytes_);
    }

    WriteTxn& txn_;
    uint64_t& identity_;
    std::string bytes_;
    uint32_t row_ = 0;
};

// Writes one base's rows, which follow each other.
class Redo {
public:
    static Result<std::unique_ptr<Redo>> open(const std::string& path) {
        const auto file = BaseFile::open(path, false);
        if (!file) return file.status();
        auto writer = (*file)->write();
        if (!writer) return writer.status();
        std::unique_ptr<Redo> redo(new Redo);
        redo->file_ = *file;
        redo->writer_ = std::move(*writer);
        return redo;
    }

    Status row(ByteReader& in) {
        while (!in.atEnd() && !done_) {
            const auto table = in.number<uint8_t>();
            const bool stays = in.number<uint8_t>() != 0;
            const std::string key = in.text();
            const std::string value = stays ? in.text() : std::string();
            if (in.failed() || table > base_table::kMeta) return WDB_E_CORRUPT;
            WDB_TRY(write(static_cast<Table>(table), key, stays, value));
        }
        return WDB_OK;
    }
    // Also when everything stands there already: then who wrote it may have fallen before its sync.
    Status commit() { return writer_->writeTxn().commit(); }

private:
    // The meta entry comes first: when it stands in the file already, so does the rest.
    Status write(Table table, Slice key, bool stays, Slice value) {
        WriteTxn& txn = writer_->writeTxn();
        Slice present;
        if (table == base_table::kMeta && key == base_layout::kMetaKey && ok(txn.get(table, key, present)) &&
            present == value) {
            done_ = true;
            return WDB_OK;
        }
        if (stays) return txn.put(table, key, value);
        const Status status = txn.remove(table, key);
        return status == WDB_FAIL ? WDB_OK : status;
    }

    std::shared_ptr<BaseFile> file_;
    std::unique_ptr<BaseWriter> writer_;
    bool done_ = false;
};

}  // namespace

Status store(Environment& catalog, const std::vector<BaseWrites>& bases, uint64_t& identity) {
    identity = 0;
    auto txn = catalog.write();
    if (!txn) return txn.status();
    WDB_TRY(txn->clear(kUnits));
    ListWriter list(*txn, identity);
    for (const BaseWrites& part : bases) WDB_TRY(list.base(part));
    return txn->commit();
}

Status clear(Environment& catalog) {
    auto txn = catalog.write();
    if (!txn) return txn.status();
    WDB_TRY(txn->clear(kUnits));
    return txn->commit();
}

Result<uint64_t> present(Environment& catalog) {
    const auto txn = catalog.read();
    if (!txn) return txn.status();
    Cursor cursor = txn->cursor(kUnits);
    const Status status = cursor.first();
    if (!ok(status)) return status == WDB_FAIL ? Result<uint64_t>(uint64_t{0}) : Result<uint64_t>(status);
    return identityOf(cursor.value());
}

Status apply(Environment& catalog, const PathOf& pathOf) {
    // Who stored the list may have fallen before its sync, and the first base must not outlive the list.
    WDB_TRY(catalog.sync());
    const auto txn = catalog.read();
    if (!txn) return txn.status();
    std::unique_ptr<Redo> redo;
    BaseId open = 0;
    Cursor cursor = txn->cursor(kUnits);
    Status status = cursor.first();
    for (; ok(status); status = cursor.next()) {
        ByteReader in(cursor.value());
        const auto id = in.number<BaseId>();
        if (id != open) {
            if (redo != nullptr) WDB_TRY(redo->commit());
            redo.reset();
            open = id;
            if (const auto path = pathOf(id)) {
                auto opened = Redo::open(*path);
                if (!opened) return opened.status();
                redo = std::move(*opened);
            }
        }
        if (redo != nullptr) WDB_TRY(redo->row(in));
    }
    if (status != WDB_FAIL) return status;
    return redo != nullptr ? redo->commit() : WDB_OK;
}

}  // namespace wdb::unit_record
