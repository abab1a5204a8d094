#include "kernel/jobs/LoadJob.h"

#include <optional>

#include "kernel/index/BulkIndexBuilder.h"
#include "kernel/index/Delta.h"
#include "kernel/jobs/IndexJob.h"
#include "kernel/jobs/PublishIndex.h"

namespace wdb {

struct LoadJob::State {
    State(std::shared_ptr<SystemDirectory> home, std::shared_ptr<OpenBase> target, WriterHold hold)
        : directory(std::move(home)), base(std::move(target)), unit(std::move(hold)) {}

    Status publish(const WriterHold& hold);

    std::shared_ptr<SystemDirectory> directory;
    std::shared_ptr<OpenBase> base;
    SessionUnit unit;
    UnitBase* unitBase = nullptr;
    std::unique_ptr<BulkIndexBuilder> builder;  // while everything in the base went through it
};

LoadJob::LoadJob(std::unique_ptr<State> state) : state_(std::move(state)) {}
LoadJob::~LoadJob() = default;

Result<std::unique_ptr<LoadJob>> LoadJob::begin(std::shared_ptr<SystemDirectory> directory, std::shared_ptr<OpenBase> base,
                                                WriterHold hold) {
    auto state = std::make_unique<State>(std::move(directory), std::move(base), std::move(hold));
    const Result<UnitBase*> unitBase = state->unit.base(state->base);
    if (!unitBase) return unitBase.status();
    state->unitBase = *unitBase;
    state->unitBase->range = true;
    state->unitBase->delta.reset();
    if (state->unitBase->writer->meta().liveCount == 0) {
        const auto definition = state->base->definition();
        state->builder = std::make_unique<BulkIndexBuilder>(definition->schema, bulkOptions(*definition));
        state->unitBase->builder = state->builder.get();
    }
    return std::unique_ptr<LoadJob>(new LoadJob(std::move(state)));
}

const std::shared_ptr<OpenBase>& LoadJob::base() const { return state_->base; }
SessionUnit& LoadJob::unit() { return state_->unit; }
UnitBase& LoadJob::unitBase() { return *state_->unitBase; }

Status LoadJob::end(bool commit, int64_t now) {
    if (!commit) {
        state_->unit.drop();
        return WDB_OK;
    }
    // A builder that missed a change of a stored record was taken off on the way.
    if (state_->unitBase->builder == nullptr) state_->builder.reset();
    const WriterHold hold = state_->unit.unit().takeHold();
    WDB_TRY(state_->unit.commit(now));
    // The records are durable now and found through the queue; what follows only makes finding them faster.
    (void)state_->publish(hold);
    return WDB_OK;
}

// With the builder the new files are nearly made; without one a queue that is due is merged, or the files are built anew.
Status LoadJob::State::publish(const WriterHold& hold) {
    Result<ReadTxn> txn = base->file()->read();
    if (!txn) return txn.status();
    const Result<BaseMeta> meta = BaseReader(*txn).meta();
    if (!meta) return meta.status();
    txn->release();
    if (builder != nullptr) {
        WDB_TRY(publishIndex(*directory, base, *builder, meta->position(), hold));
        return trimQueue(*base, meta->position());
    }
    if (meta->queueCount < kMergeRecords && meta->queueBytes < kMergeBytes) return WDB_OK;
    return mergeQueue(*directory, base, hold);
}

}  // namespace wdb
