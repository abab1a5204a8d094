#include "kernel/jobs/Backup.h"

#include <vector>

#include "kernel/catalog/BaseFileNames.h"
#include "kernel/catalog/CatalogLayout.h"
#include "kernel/catalog/FileSystem.h"
#include "kernel/catalog/IndexFiles.h"
#include "kernel/storage/FileCopy.h"

namespace wdb {

namespace {

// Files that a job has made: they go again unless it comes to its end.
class MadeFiles {
public:
    MadeFiles() = default;
    MadeFiles(const MadeFiles&) = delete;
    MadeFiles& operator=(const MadeFiles&) = delete;
    ~MadeFiles() {
        for (const std::string& path : paths_) file_system::removeStorage(path);
    }
    Status copy(const Txn& from, const std::string& path, Progress& progress) {
        WDB_TRY(copyFile(from, path, progress));
        paths_.push_back(path);
        return WDB_OK;
    }
    // A name that a file gets: an answer that it did not says nothing sure.
    Status rename(const std::string& from, const std::string& to) {
        paths_.push_back(to);
        return file_system::rename(from, to);
    }
    void keep() { paths_.clear(); }

private:
    std::vector<std::string> paths_;
};

uint64_t bytesOf(const BaseSnapshot& state) {
    uint64_t bytes = 0;
    const BaseReader records = state.reader();
    for (const Txn* txn : {&records.txn(), static_cast<const Txn*>(&state.words()),
                           static_cast<const Txn*>(&state.values())}) {
        bytes += txn->environment()->usedBytes();
    }
    return bytes;
}

// To the paths that the definition names; the base file last, since nothing is there without it.
Status copyState(const BaseSnapshot& state, const BaseDefinition& names, MadeFiles& made,
                 Progress& progress) {
    WDB_TRY(made.copy(state.words(), names.wordPath(), progress));
    WDB_TRY(made.copy(state.values(), names.valuePath(), progress));
    return made.copy(state.reader().txn(), names.basePath(), progress);
}

Status makeTarget(const std::string& directory) {
    if (directory.empty()) return WDB_E_ARGUMENT;
    return file_system::makeDirectory(directory);
}

struct BaseState {
    BaseDefinition definition;
    BaseSnapshot snapshot;
};

// The home directory as one moment has it.
struct HomeState {
    ReadTxn catalog;
    std::vector<BaseState> bases;
};

Result<HomeState> takeState(SystemDirectory& home, std::chrono::milliseconds patience) {
    const auto hold = home.acquireWriter(patience);
    if (!hold) return hold.status();
    HomeState state;
    auto catalog = home.readCatalog();
    if (!catalog) return catalog.status();
    state.catalog = std::move(*catalog);
    const auto definitions = home.definitions();
    if (!definitions) return definitions.status();
    for (const auto& definition : *definitions) {
        const auto base = home.find(definition->name, &*hold);
        if (!base) return base.status();
        auto snapshot = (*base)->snapshot();
        if (!snapshot) return snapshot.status();
        state.bases.push_back({*(*base)->definition(), std::move(*snapshot)});
    }
    return state;
}

// The copied catalogue names the copied files, and nothing that belongs to the original's work.
Status changeCatalog(const std::string& path, const std::vector<BaseState>& bases) {
    auto catalog = Environment::open(path, catalog_layout::kTables, {});
    if (!catalog) return catalog.status();
    auto txn = (*catalog)->write();
    if (!txn) return txn.status();
    WDB_TRY(txn->clear(catalog_layout::kFiles));
    WDB_TRY(txn->clear(catalog_layout::kUnits));
    for (const BaseState& base : bases) {
        BaseDefinition stored = base.definition;
        stored.directory = "bases";
        WDB_TRY(txn->put(catalog_layout::kBases, foldName(stored.name), encodeDefinition(stored)));
    }
    return txn->commit();
}

Status copySettings(const std::string& from, const std::string& to) {
    const std::string settings = file_system::read(from + "/conf/welk.rcs");
    if (settings.empty()) return WDB_OK;
    WDB_TRY(file_system::makeDirectory(to + "/conf"));
    return file_system::write(to + "/conf/welk.rcs", settings);
}

}  // namespace

Status backupBase(OpenBase& base, const std::string& directory, Progress& progress) {
    WDB_TRY(makeTarget(directory));
    const auto state = base.snapshot();
    if (!state) return state.status();
    BaseDefinition names = state->definition();
    names.directory = directory;
    progress.begin(bytesOf(*state));
    MadeFiles made;
    WDB_TRY(copyState(*state, names, made, progress));
    WDB_TRY(progress.finish());
    for (const std::string& path : {names.wordPath(), names.valuePath(), names.basePath()})
        file_system::removeNotes(path);
    WDB_TRY(file_system::syncDirectory(directory));
    made.keep();
    return WDB_OK;
}

Status backupHome(SystemDirectory& home, const std::string& directory, std::chrono::milliseconds patience,
                  Progress& progress) {
    WDB_TRY(makeTarget(directory));
    const std::string bases = directory + "/bases";
    const std::string catalog = directory + "/system.mdb";
    if (file_system::exists(catalog)) return WDB_E_EXISTS;
    auto state = takeState(home, patience);
    if (!state) return state.status();
    uint64_t total = 0;
    for (const BaseState& base : state->bases) total += bytesOf(base.snapshot);
    progress.begin(total);
    WDB_TRY(file_system::makeDirectory(bases));
    MadeFiles made;
    for (BaseState& base : state->bases) {
        base.definition.directory = bases;
        nameFiles(base.definition);
        WDB_TRY(copyState(base.snapshot, base.definition, made, progress));
        base.snapshot = BaseSnapshot();
    }
    WDB_TRY(copySettings(home.home(), directory));
    const std::string working = directory + "/system.new";
    file_system::removeStorage(working);
    WDB_TRY(made.copy(state->catalog, working, progress));
    WDB_TRY(changeCatalog(working, state->bases));
    WDB_TRY(progress.finish());
    WDB_TRY(file_system::syncDirectory(bases));
    WDB_TRY(made.rename(working, catalog));
    file_system::removeStorage(working);  // the file of its locks
    made.keep();
    return file_system::syncDirectory(directory);
}

Status compactBase(SystemDirectory& home, const std::shared_ptr<OpenBase>& base, const WriterHold& hold,
                   Progress& progress) {
    const auto present = home.definition(base->definition()->name);
    if (!present) return present.status();
    BaseDefinition next = **present;
    WDB_TRY(home.planFiles(next, hold));
    std::shared_ptr<OpenBase> opened;
    {
        const auto state = base->snapshot();
        if (!state) return state.status();
        progress.begin(bytesOf(*state));
        MadeFiles made;
        WDB_TRY(copyState(*state, next, made, progress));
        WDB_TRY(progress.finish());
        // What cannot be opened shall not become the base; what opening makes beside the files is made while
        // a failure changes nothing yet.
        auto copy = OpenBase::open(std::make_shared<const BaseDefinition>(next), false);
        if (!copy) return copy.status();
        opened = std::move(*copy);
        WDB_TRY(opened->useIndex());
        WDB_TRY(file_system::syncDirectory(next.directory));
        made.keep();
    }
    return home.storeBase(next, hold);
}

}  // namespace wdb
