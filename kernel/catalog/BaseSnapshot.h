#pragma once

#include <memory>

#include "kernel/catalog/BaseDefinition.h"
#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"
#include "kernel/index/Delta.h"
#include "kernel/index/IndexView.h"
#include "kernel/record/RecordImage.h"
#include "kernel/storage/BaseFile.h"
#include "kernel/storage/Environment.h"

namespace wdb {

class OpenBase;
struct IndexFiles;
struct UnitBase;

// One state of a base: the committed records up to queue position q, found through the index files (each
// complete up to a position of its own) and the delta for the rest, and on top of it the writes of the
// reading session's open unit. It holds three read transactions; it may move between threads and is used by
// one at a time. A snapshot with a unit is used on the unit's thread and goes before the unit ends.
class BaseSnapshot : private RecordSource {
public:
    BaseSnapshot() = default;
    BaseSnapshot(BaseSnapshot&&) noexcept = default;
    BaseSnapshot& operator=(BaseSnapshot&&) noexcept = default;
    ~BaseSnapshot() override;
    bool live() const { return base_ != nullptr; }

    const OpenBase& base() const { return *base_; }
    const std::shared_ptr<OpenBase>& sharedBase() const { return base_; }
    const BaseDefinition& definition() const { return *definition_; }
    const Schema& schema() const { return *definition_->schema; }
    const std::shared_ptr<const BaseDefinition>& sharedDefinition() const { return definition_; }

    // q, and the positions up to which the two index files are complete.
    Position position() const { return meta_.position(); }
    Position wordPosition() const { return wordPosition_; }
    Position valuePosition() const { return valuePosition_; }
    // The numbers of the committed state that is read.
    const BaseMeta& meta() const { return meta_; }
    // Number of the last commit that this state contains, the unit's own writes included when there is one.
    uint64_t commitNumber() const;
    uint64_t liveCount() const;

    // What a search works with. It points into this snapshot, which must stay where it is meanwhile.
    IndexView index() const;
    // The record's current state. WDB_FAIL when no record ever had the number, WDB_E_DELETED, WDB_E_CORRUPT.
    // The view points into the mapped file: with a unit until its next write, else as long as the snapshot
    // lives. Long values may be the view's own.
    Result<RecordView> record(RecordNumber number) const;
    Result<RecordView> record(RecordNumber number) override;
    // For records that are read together: what BaseReader::images() knows of them, and the record of which
    // that is the image. An empty image is looked up.
    void images(std::span<const RecordNumber> numbers, std::span<Slice> images) const;
    Result<RecordView> record(RecordNumber number, Slice image) const;
    // For large objects and walks.
    BaseReader reader() const;
    const UnitBase* unit() const { return unit_; }
    // The committed states of the index files, for checks.
    const ReadTxn& words() const { return words_; }
    const ReadTxn& values() const { return values_; }

private:
    friend class OpenBase;
    Result<RecordView> view(const BaseReader& reader, RecordNumber number, Slice image) const;

    std::shared_ptr<OpenBase> base_;
    std::shared_ptr<const BaseDefinition> definition_;
    std::shared_ptr<const IndexFiles> files_;
    ReadTxn words_;
    ReadTxn values_;
    ReadTxn records_;
    BaseMeta meta_;
    Position wordPosition_ = 0;
    Position valuePosition_ = 0;
    std::shared_ptr<Delta> delta_;  // caught up to q
    UnitBase* unit_ = nullptr;
};

}  // namespace wdb
