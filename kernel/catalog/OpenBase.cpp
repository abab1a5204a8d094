#include "kernel/catalog/OpenBase.h"

#include <algorithm>
#include <exception>

#include "kernel/catalog/DeltaFeed.h"
#include "kernel/catalog/SessionUnit.h"
#include "kernel/index/Delta.h"
#include "kernel/index/IndexFormat.h"

namespace wdb {

Result<std::shared_ptr<OpenBase>> OpenBase::open(std::shared_ptr<const BaseDefinition> definition,
                                                 bool readOnly) {
    auto file = BaseFile::open(definition->basePath(), readOnly);
    if (!file) return file.status();
    std::shared_ptr<OpenBase> base(new OpenBase);
    base->id_ = definition->id;
    base->readOnly_ = readOnly;
    base->file_ = std::move(*file);
    base->definition_ = std::move(definition);
    return base;
}

OpenBase::~OpenBase() = default;

Status OpenBase::useIndex() {
    const auto definition = this->definition();
    const auto files = IndexFiles::open(*definition, readOnly_);
    if (!files) return files.status();
    const auto words = (*files)->words->read();
    const auto values = (*files)->values->read();
    const auto records = file()->read();
    if (!words || !values || !records) return WDB_E_STORAGE;
    const auto wordMeta = readWordMeta(*words);
    const auto valueMeta = readValueMeta(*values);
    const auto meta = BaseReader(*records).meta();
    if (!wordMeta || !valueMeta || !meta) return WDB_E_CORRUPT;
    const auto [low, high] = std::minmax(wordMeta->position, valueMeta->position);
    // Behind what the queue still holds, or ahead of the base: the files of another state of the base.
    if (low < meta->trimmed || high > meta->position()) return WDB_E_CORRUPT;
    const std::lock_guard lock(mutex_);
    files_ = *files;
    delta_ = std::make_shared<Delta>(definition->schema, low);
    if (indexed_ == 0) {
        indexed_ = meta->merged;
        indexedUpTo_ = meta->queueCount == 0 ? meta->modified : 0;
    }
    return WDB_OK;
}

std::shared_ptr<const BaseDefinition> OpenBase::definition() const {
    const std::lock_guard lock(mutex_);
    return definition_;
}

std::shared_ptr<BaseFile> OpenBase::file() const {
    const std::lock_guard lock(mutex_);
    return file_;
}

std::shared_ptr<const IndexFiles> OpenBase::indexFiles() const {
    const std::lock_guard lock(mutex_);
    return files_;
}

Status OpenBase::refresh(std::shared_ptr<const BaseDefinition> definition) {
    bool otherFiles = false;
    std::shared_ptr<BaseFile> file;
    const auto before = this->definition();
    if (definition->version != before->version && definition->basePath() != before->basePath()) {
        auto opened = BaseFile::open(definition->basePath(), readOnly_);
        if (!opened) return opened.status();
        file = std::move(*opened);
    }
    {
        const std::lock_guard lock(mutex_);
        if (definition->version == definition_->version) return WDB_OK;
        if (file != nullptr) file_ = std::move(file);
        otherFiles = files_ == nullptr || definition->generation != definition_->generation;
        const bool otherFields = definition->schema->fields() != definition_->schema->fields();
        definition_ = std::move(definition);
        // What was inverted under the old fields is inverted anew, from the queue.
        if (otherFields && delta_ != nullptr)
            delta_ = std::make_shared<Delta>(definition_->schema, delta_->start());
    }
    return otherFiles ? useIndex() : WDB_OK;
}

Status OpenBase::makeCurrent() const {
    if (makeCurrent_) WDB_TRY(makeCurrent_());
    return gone() ? WDB_E_BASE : WDB_OK;
}

Result<BaseSnapshot> OpenBase::snapshot(UnitBase* unit) {
    // A merge between the beginnings of the three transactions makes a try fail, and so do new index files
    // between the look at the catalogue and them; neither can happen often in a row.
    constexpr int kTries = 20;
    for (int i = 0; i < kTries; ++i) {
        WDB_TRY(makeCurrent());
        auto snapshot = trySnapshot(unit);
        if (snapshot || snapshot.status() != WDB_FAIL) return snapshot;
    }
    return Status{WDB_E_CORRUPT};
}

// The index files first and the base last, so that the queue reaches at least to what the files contain.
// WDB_FAIL when it begins too late for them by then.
Result<BaseSnapshot> OpenBase::trySnapshot(UnitBase* unit) {
    BaseSnapshot snapshot;
    std::shared_ptr<BaseFile> file;
    {
        const std::lock_guard lock(mutex_);
        snapshot.definition_ = definition_;
        snapshot.files_ = files_;
        file = file_;
    }
    if (snapshot.files_ == nullptr) return Status{WDB_E_CORRUPT};
    auto words = snapshot.files_->words->read();
    if (!words) return words.status();
    auto values = snapshot.files_->values->read();
    if (!values) return values.status();
    auto records = file->read();
    if (!records) return records.status();
    const auto wordMeta = readWordMeta(*words);
    const auto valueMeta = readValueMeta(*values);
    const auto meta = BaseReader(*records).meta();
    if (!wordMeta) return wordMeta.status();
    if (!valueMeta) return valueMeta.status();
    if (!meta) return meta.status();
    const Position merged = std::min(wordMeta->position, valueMeta->position);
    if (merged < meta->trimmed) return Status{WDB_FAIL};
    snapshot.delta_ = deltaFor(snapshot.files_.get(), merged);
    if (snapshot.delta_ == nullptr) return Status{WDB_FAIL};
    WDB_TRY(feed(snapshot.delta_, BaseReader(*records), meta->position()));
    snapshot.words_ = std::move(*words);
    snapshot.values_ = std::move(*values);
    snapshot.records_ = std::move(*records);
    snapshot.meta_ = *meta;
    snapshot.wordPosition_ = wordMeta->position;
    snapshot.valuePosition_ = valueMeta->position;
    snapshot.unit_ = unit;
    snapshot.base_ = shared_from_this();
    return snapshot;
}

// The delta that completes files with everything up to `merged`: the present one, or its successor when a
// merge has taken entries of it in. Null when the files or the delta have moved on since the files were
// looked at.
std::shared_ptr<Delta> OpenBase::deltaFor(const IndexFiles* files, Position merged) {
    const std::lock_guard lock(mutex_);
    if (files != files_.get() || (delta_ != nullptr && delta_->start() > merged)) return nullptr;
    if (delta_ == nullptr)
        delta_ = std::make_shared<Delta>(definition_->schema, merged);
    else if (delta_->start() < merged && delta_->caughtUpTo() >= merged)
        delta_ = delta_->successor(merged);
    else if (delta_->start() < merged)
        delta_ = std::make_shared<Delta>(definition_->schema, merged);
    return delta_;
}

void OpenBase::unitCommitted(UnitBase& unit) {
    if (unit.delta == nullptr || unit.delta->empty()) return;
    std::shared_ptr<Delta> delta;
    {
        const std::lock_guard lock(mutex_);
        delta = delta_;
    }
    if (delta == nullptr) return;
    try {
        // Refused when the delta lags behind the unit's beginning: then the next reader catches up from the
        // queue.
        static_cast<void>(delta->append().fold(*unit.delta));
    } catch (const std::exception&) {
        giveUpDelta(delta);  // the commit stands all the same
    }
}

Status OpenBase::feed(const std::shared_ptr<Delta>& delta, const BaseReader& reader, Position position) {
    try {
        return feedDelta(*delta, reader, position);
    } catch (...) {
        giveUpDelta(delta);
        throw;
    }
}

// A record may have been taken in by half when memory ran out: the next reader begins again, from the queue.
void OpenBase::giveUpDelta(const std::shared_ptr<Delta>& delta) noexcept {
    const std::lock_guard lock(mutex_);
    if (delta_ == delta) delta_.reset();
}

Status OpenBase::catchUp(int64_t now) {
    const auto state = snapshot();
    if (!state) return state.status();
    const std::lock_guard lock(mutex_);
    indexed_ = std::max({now, shown(state->meta().modified), indexed_ + 1});
    indexedUpTo_ = std::max(indexedUpTo_, state->meta().modified);
    return WDB_OK;
}

int64_t OpenBase::shown(int64_t modified) {
    if (modified > shownFor_) {
        const int64_t unindexed = modified > indexedUpTo_ ? indexed_ + 1 : 0;
        shownAs_ = std::max({modified, shownAs_ + 1, unindexed});
        shownFor_ = modified;
    }
    return modified == shownFor_ ? shownAs_ : modified;
}

Result<BaseStamps> OpenBase::stamps(const UnitBase* unit) {
    if (unit != nullptr) {
        BaseStamps stamps = this->stamps(unit->writer->meta());
        if (unit->writer->changed()) stamps.modified = std::max(stamps.modified, stamps.indexed) + 1;
        return stamps;
    }
    const auto records = file()->read();
    if (!records) return records.status();
    const auto meta = BaseReader(*records).meta();
    if (!meta) return meta.status();
    return stamps(*meta);
}

BaseStamps OpenBase::stamps(const BaseMeta& meta) {
    const std::lock_guard lock(mutex_);
    return {shown(meta.modified), indexed_, meta.liveCount, meta.queueCount};
}

}  // namespace wdb
