#include "kernel/storage/BaseFile.h"

#include <array>

#include "kernel/storage/BaseLayout.h"

namespace wdb {

namespace {

// In the order of base_table.
constexpr std::array kTables{TableSpec{"records", true}, TableSpec{"queue", true}, TableSpec{"keys"},
                             TableSpec{"objects"}, TableSpec{"meta"}};

}  // namespace

Result<std::shared_ptr<BaseFile>> BaseFile::create(const std::string& path, int64_t now) {
    EnvironmentOptions options;
    options.create = options.unpublished = true;
    auto environment = Environment::open(path, kTables, options);
    if (!environment) return environment.status();
    auto txn = (*environment)->write();
    if (!txn) return txn.status();
    BaseMeta meta;
    meta.modified = meta.merged = now;
    WDB_TRY(txn->put(base_table::kMeta, base_layout::kMetaKey, base_layout::encodeMeta(meta)));
    WDB_TRY(txn->commit());
    WDB_TRY((*environment)->sync());
    return std::shared_ptr<BaseFile>(new BaseFile(std::move(*environment)));
}

Result<std::shared_ptr<BaseFile>> BaseFile::open(const std::string& path, bool readOnly) {
    EnvironmentOptions options;
    options.readOnly = readOnly;
    auto environment = Environment::open(path, kTables, options);
    if (!environment) return environment.status();
    std::shared_ptr<BaseFile> file(new BaseFile(std::move(*environment)));
    const auto txn = file->read();
    if (!txn) return txn.status();
    const auto meta = BaseReader(*txn).meta();
    if (!meta) return meta.status();
    return file;
}

Result<std::unique_ptr<BaseWriter>> BaseFile::write() const {
    auto txn = environment_->write();
    if (!txn) return txn.status();
    const auto meta = BaseReader(*txn).meta();
    if (!meta) return meta.status();
    return std::make_unique<BaseWriter>(std::move(*txn), *meta);
}

}  // namespace wdb
