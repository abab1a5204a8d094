#include "kernel/jobs/LoadJob.h"

#include "kernel/common/Contained.h"
#include "kernel/index/BulkIndexBuilder.h"
#include "kernel/jobs/IndexJob.h"
#include "kernel/jobs/PublishIndex.h"

namespace wdb {

namespace {

// Below this a merge of the queue is cheaper than new files.
constexpr uint64_t kBulkRecords = 2048;

}  // namespace

// While new records come, they are inverted on the way, as soon as there are enough of them against what the
// base held before. A change of a record that was handed on makes that work void: the queue knows better
// then.
struct LoadJob::State : LoadSink {
    State(std::shared_ptr<SystemDirectory> home, std::shared_ptr<OpenBase> target, WriterHold hold,
          bool alone)
        : directory(std::move(home)),
          base(std::move(target)),
          unit(std::move(hold), alone ? nullptr : directory) {}

    Status stored(RecordNumber number, const RecordView& record) override;
    void disturbed() override {
        spoilt = true;
        builder.reset();
    }
    Status startBuilder();
    Status commitAndBuild(int64_t now);
    Status publish(const BaseDefinition& next, const WriterHold& hold);

    std::shared_ptr<SystemDirectory> directory;
    std::shared_ptr<OpenBase> base;
    SessionUnit unit;
    UnitBase* unitBase = nullptr;
    std::unique_ptr<BulkIndexBuilder> builder;
    uint64_t recordsBefore = 0;
    uint64_t loaded = 0;
    Progress progress;  // counts records
    bool spoilt = false;
};

Status LoadJob::State::stored(RecordNumber number, const RecordView& record) {
    ++loaded;
    WDB_TRY(progress.advance());
    if (builder != nullptr) return builder->add(number, record);
    const bool large = loaded >= kBulkRecords && loaded >= recordsBefore / 4;
    return large && !spoilt ? startBuilder() : WDB_OK;
}

// Gives the builder what the base holds by now, the present record included.
Status LoadJob::State::startBuilder() {
    const auto definition = base->definition();
    builder = std::make_unique<BulkIndexBuilder>(definition->schema, bulkOptions(*definition));
    return unitBase->writer->forEachRecord(1, [this](RecordNumber number, Slice image) -> Status {
        const auto view = RecordView::validate(image);
        return view ? builder->add(number, *view) : WDB_OK;  // damage is the verifier's to tell
    });
}

LoadJob::LoadJob(std::unique_ptr<State> state) : state_(std::move(state)) {}
LoadJob::~LoadJob() = default;

Result<std::unique_ptr<LoadJob>> LoadJob::begin(std::shared_ptr<SystemDirectory> directory,
                                                std::shared_ptr<OpenBase> base, WriterHold hold,
                                                Progress::Listener listener) {
    // Rules of other bases may have their records change with those of this one.
    const auto referrers = directory->referrers(base->definition()->name);
    if (!referrers) return referrers.status();
    auto state =
        std::make_unique<State>(std::move(directory), std::move(base), std::move(hold), referrers->empty());
    const Result<UnitBase*> unitBase = state->unit.base(state->base, state.get());
    if (!unitBase) return unitBase.status();
    state->unitBase = *unitBase;
    state->progress = Progress(std::move(listener));
    state->recordsBefore = (*unitBase)->writer->meta().liveCount;
    return std::unique_ptr<LoadJob>(new LoadJob(std::move(state)));
}

const std::shared_ptr<OpenBase>& LoadJob::base() const {
    return state_->base;
}
SessionUnit& LoadJob::unit() {
    return state_->unit;
}
UnitBase& LoadJob::unitBase() {
    return *state_->unitBase;
}

Status LoadJob::end(bool commit, int64_t now) {
    const Status status = commit ? state_->progress.finish() : WDB_OK;
    if (!commit || !ok(status)) {
        state_->builder.reset();
        state_->unit.drop();
        return status;
    }
    if (state_->builder != nullptr) return state_->commitAndBuild(now);
    WDB_TRY(state_->unit.commit(now, true));
    const WriterHold hold = state_->unit.unit().takeHold();
    // The records are durable and found through the queue; a merge only makes finding them faster.
    static_cast<void>(mergeIfDue(*state_->directory, state_->base, hold));
    return WDB_OK;
}

// The index files first and the base's commit then, so that the load's range stands in the queue for the
// moment of two commits only: whoever reads in between inverts it for himself. Should the process end there,
// the next open builds anew; files that nobody names are removed then.
Status LoadJob::State::commitAndBuild(int64_t now) {
    BaseDefinition next = *base->definition();
    Status built = directory->planIndexFiles(next, unit.unit().hold());
    if (ok(built))
        built = builder->write(next.wordPath(), next.valuePath(), unitBase->writer->meta().position());
    builder.reset();
    unitBase = nullptr;
    const Status committed = unit.commit(now, true);
    const WriterHold hold = unit.unit().takeHold();
    if (!ok(committed)) {
        static_cast<void>(directory->removeLeftovers(hold));
        return committed;
    }
    if (ok(built)) built = contained([&] { return publish(next, hold); });
    if (!ok(built)) static_cast<void>(mergeIfDue(*directory, base, hold));
    return WDB_OK;
}

Status LoadJob::State::publish(const BaseDefinition& next, const WriterHold& hold) {
    WDB_TRY(directory->storeBase(next, hold));
    const auto published = directory->definition(next.name);
    if (!published) return published.status();
    WDB_TRY(base->refresh(*published));
    return trimQueue(*base);
}

}  // namespace wdb
