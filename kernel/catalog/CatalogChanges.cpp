#include <algorithm>

#include "kernel/catalog/BaseFileNames.h"
#include "kernel/catalog/CatalogLayout.h"
#include "kernel/catalog/FileSystem.h"
#include "kernel/catalog/SystemDirectory.h"
#include "kernel/index/BulkIndexBuilder.h"

// The part of SystemDirectory that changes the catalogue; its callers hold the writer's lock.

namespace wdb {

using namespace catalog_layout;

std::string SystemDirectory::storedPath(const std::string& path) const {
    const std::string prefix = home_ + "/";
    return path.starts_with(prefix) ? path.substr(prefix.size()) : path;
}

std::string SystemDirectory::fullPath(Slice stored) const {
    return stored.starts_with('/') ? std::string(stored) : home_ + "/" + std::string(stored);
}

Status SystemDirectory::publish(const std::function<Status(WriteTxn&)>& change) {
    auto txn = catalog_->write();
    if (!txn) return txn.status();
    auto meta = readMeta(*txn);
    if (!meta) return meta.status();
    WDB_TRY(change(*txn));
    meta = readMeta(*txn);
    if (!meta) return meta.status();
    ++meta->version;
    WDB_TRY(txn->put(kMeta, kMetaKey, encodeMeta(*meta)));
    lock_->catalogVersion().beginChange();
    const Status status = txn->commit();
    lock_->catalogVersion().endChange();
    return status;
}

// Not a change of what the catalogue says: nobody has to read it again.
Status SystemDirectory::noteFiles(const std::vector<std::string>& paths) {
    auto txn = catalog_->write();
    if (!txn) return txn.status();
    for (const std::string& path : paths) WDB_TRY(txn->put(kFiles, storedPath(path), Slice()));
    return txn->commit();
}

Status SystemDirectory::createBase(BaseDefinition definition, int64_t now, const WriterHold& hold) {
    WDB_TRY(refresh());
    if (this->definition(definition.name)) return WDB_E_EXISTS;
    static_cast<void>(removeLeftovers(hold));
    if (!file_system::isDirectory(definition.directory) || file_system::isRemote(definition.directory))
        return WDB_E_STORAGE;
    definition.directory = file_system::resolve(definition.directory);
    nameFiles(definition);
    WDB_TRY(noteFiles(pathsOf(definition)));
    if (const auto file = BaseFile::create(definition.basePath(), now); !file) return file.status();
    WDB_TRY(createIndexFiles(definition.wordPath(), definition.valuePath()));
    const Status published = publish([&](WriteTxn& txn) -> Status {
        auto meta = readMeta(txn);
        if (!meta) return meta.status();
        definition.id = meta->nextBase++;
        definition.version = meta->version + 1;
        WDB_TRY(txn.put(kMeta, kMetaKey, encodeMeta(*meta)));
        for (const std::string& path : pathsOf(definition)) WDB_TRY(txn.remove(kFiles, storedPath(path)));
        BaseDefinition stored = definition;
        stored.directory = storedPath(definition.directory);
        return txn.put(kBases, foldName(definition.name), encodeDefinition(stored), PutMode::Insert);
    });
    return ok(published) ? refresh() : published;
}

Status SystemDirectory::storeBase(BaseDefinition definition, const WriterHold&) {
    std::vector<std::string> old;
    const Status published = publish([&](WriteTxn& txn) -> Status {
        const auto meta = readMeta(txn);
        if (!meta) return meta.status();
        Slice bytes;
        const Status found = txn.get(kBases, foldName(definition.name), bytes);
        if (!ok(found)) return found == WDB_FAIL ? Status{WDB_E_BASE} : found;
        auto before = decodeDefinition(bytes);
        if (!before) return before.status();
        before->directory = fullPath(before->directory);
        definition.version = meta->version + 1;
        const auto paths = pathsOf(*before), now = pathsOf(definition);
        for (size_t i = 0; i < paths.size(); ++i) {
            if (paths[i] == now[i]) continue;
            old.push_back(paths[i]);
            WDB_TRY(txn.put(kFiles, storedPath(paths[i]), Slice()));
            const Status removed = txn.remove(kFiles, storedPath(now[i]));
            if (!ok(removed) && removed != WDB_FAIL) return removed;
        }
        BaseDefinition stored = definition;
        stored.directory = storedPath(definition.directory);
        return txn.put(kBases, foldName(definition.name), encodeDefinition(stored));
    });
    WDB_TRY(published);
    // Whoever reads the old files has them open and keeps them; their names go now, their notes at the next
    // clearing.
    for (const std::string& path : old) file_system::removeStorage(path);
    return refresh();
}

Status SystemDirectory::dropBase(Slice name, const WriterHold&) {
    WDB_TRY(refresh());
    const auto dropped = definition(name);
    if (!dropped) return dropped.status();
    const auto others = referrers(name);
    if (!others) return others.status();
    const auto files = pathsOf(**dropped);
    const Status published = publish([&](WriteTxn& txn) -> Status {
        const auto meta = readMeta(txn);
        if (!meta) return meta.status();
        for (const Referrer& other : *others) {
            BaseDefinition stored = *other.base;
            std::erase_if(stored.rules, [&](const ReferenceRule& rule) {
                return foldName(rule.table) == foldName((*dropped)->name);
            });
            stored.version = meta->version + 1;
            stored.directory = storedPath(stored.directory);
            WDB_TRY(txn.put(kBases, foldName(stored.name), encodeDefinition(stored)));
        }
        for (const std::string& path : files) WDB_TRY(txn.put(kFiles, storedPath(path), Slice()));
        WDB_TRY(dropAccess(txn, (*dropped)->id));
        return txn.remove(kBases, foldName((*dropped)->name));
    });
    WDB_TRY(published);
    for (const std::string& path : files) file_system::removeStorage(path);
    return refresh();
}

Status SystemDirectory::planFiles(BaseDefinition& definition, const WriterHold&) {
    ++definition.generation;
    nameFiles(definition);
    return noteFiles(pathsOf(definition));
}

Status SystemDirectory::planIndexFiles(BaseDefinition& definition, const WriterHold&) {
    do {
        ++definition.generation;
        nameIndexFiles(definition);
    } while (file_system::exists(definition.wordPath()) || file_system::exists(definition.valuePath()));
    return noteFiles({definition.wordPath(), definition.valuePath()});
}

Status SystemDirectory::buildIndex(OpenBase& base, const WriterHold& hold, Progress* progress) {
    const auto present = definition(base.definition()->name);
    if (!present) return present.status();
    BaseDefinition next = **present;
    WDB_TRY(planIndexFiles(next, hold));
    WDB_TRY(base.file()->environment().sync());
    const auto records = base.file()->read();
    if (!records) return records.status();
    const BaseReader reader(*records);
    const auto meta = reader.meta();
    if (!meta) return meta.status();
    if (progress != nullptr) progress->begin(meta->liveCount);
    BulkIndexOptions options;
    options.spillDirectory = next.directory;
    BulkIndexBuilder builder(next.schema, options);
    const Status added = reader.forEachRecord(1, [&](RecordNumber number, Slice image) -> Status {
        // A damaged record stays unfound, a finding of the verifier; the others are to be found.
        const auto view = RecordView::validate(image);
        if (view) WDB_TRY(builder.add(number, *view));
        return progress != nullptr ? progress->advance() : WDB_OK;
    });
    WDB_TRY(added);
    if (progress != nullptr) WDB_TRY(progress->finish());
    WDB_TRY(builder.write(next.wordPath(), next.valuePath(), meta->position()));
    WDB_TRY(storeBase(next, hold));
    const auto stored = definition(next.name);
    if (!stored) return stored.status();
    WDB_TRY(base.refresh(*stored));
    if (meta->queueCount == 0) return WDB_OK;
    auto writer = base.file()->write();
    if (!writer) return writer.status();
    WDB_TRY((*writer)->trimQueue(meta->position(), meta->modified));
    return (*writer)->commit(meta->modified);
}

Status SystemDirectory::storeUnit(const std::vector<BaseWrites>& bases, uint64_t& identity,
                                  const WriterHold&) {
    lock_->unitPending().store(1);
    return unit_record::store(*catalog_, bases, identity);
}

void SystemDirectory::refuseUnit(uint64_t identity, const WriterHold& hold) {
    if (identity != 0) lock_->unitVoid().store(identity);
    static_cast<void>(dropUnit(hold));
}

Status SystemDirectory::dropUnit(const WriterHold&) {
    WDB_TRY(unit_record::clear(*catalog_));
    lock_->unitPending().store(0);
    return WDB_OK;
}

Status SystemDirectory::finishUnit(const WriterHold& hold) {
    const auto there = unit_record::present(*catalog_);
    if (!there) return there.status();
    if (*there != 0 && *there != lock_->unitVoid().load()) {
        lock_->unitPending().store(1);
        WDB_TRY(refresh());
        const auto pathOf = [this](BaseId id) -> std::optional<std::string> {
            const std::shared_lock lock(mutex_);
            for (const auto& [name, entry] : entries_) {
                if (entry.definition->id == id) return entry.definition->basePath();
            }
            return std::nullopt;
        };
        WDB_TRY(unit_record::apply(*catalog_, pathOf));
    }
    return dropUnit(hold);
}

Status SystemDirectory::removeLeftovers(const WriterHold&) {
    std::vector<std::string> stored;
    {
        const auto txn = catalog_->read();
        if (!txn) return txn.status();
        Cursor cursor = txn->cursor(kFiles);
        for (Status status = cursor.first(); ok(status); status = cursor.next())
            stored.emplace_back(cursor.key());
    }
    if (stored.empty()) return WDB_OK;
    // A state that no sync has brought to the disk may be taken back, and with it these files come to be in
    // use.
    WDB_TRY(catalog_->sync());
    for (const std::string& path : stored) file_system::removeStorage(fullPath(path));
    auto txn = catalog_->write();
    if (!txn) return txn.status();
    for (const std::string& path : stored) {
        const Status status = txn->remove(kFiles, path);
        if (!ok(status) && status != WDB_FAIL) return status;
    }
    return txn->commit();
}

Status SystemDirectory::storeSetting(Slice name, std::optional<Slice> value, const WriterHold&) {
    const std::string key = foldName(name);
    return publish([&](WriteTxn& txn) -> Status {
        if (value) return txn.put(kSettings, key, *value);
        const Status status = txn.remove(kSettings, key);
        return status == WDB_FAIL ? WDB_OK : status;
    });
}

}  // namespace wdb
