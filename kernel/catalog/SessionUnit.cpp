#include "kernel/catalog/SessionUnit.h"

#include <algorithm>

#include "kernel/catalog/SystemDirectory.h"
#include "kernel/index/Delta.h"
#include "kernel/record/RecordImage.h"

namespace wdb {

namespace {

// What a base file says when its part of a unit has been committed.
struct CommitMark {
    std::shared_ptr<BaseFile> file;
    uint64_t number;
};

// Whether certainly no part was: a commit that answered an error may stand all the same.
bool noneStands(const std::vector<CommitMark>& marks) {
    return std::all_of(marks.begin(), marks.end(), [](const CommitMark& mark) {
        const auto txn = mark.file->read();
        if (!txn) return false;
        const auto meta = BaseReader(*txn).meta();
        return meta && meta->commit < mark.number;
    });
}

}  // namespace

UnitBase::UnitBase() = default;
UnitBase::~UnitBase() = default;

Status UnitBase::put(RecordNumber number, Slice image) {
    const auto view = RecordView::validate(image);
    if (!view) return view.status();
    if (load != nullptr && number >= firstNew && number > highest) {
        WDB_TRY(writer->putInRange(number, image));
        highest = number;
        return load->stored(number, *view);
    }
    const auto position = writer->put(number, image);
    if (!position) return position.status();
    if (load != nullptr) load->disturbed();
    return delta == nullptr ? WDB_OK : delta->add(*position, number, &*view);
}

Status UnitBase::remove(RecordNumber number) {
    const auto position = writer->remove(number);
    if (!position) return position.status();
    if (load != nullptr) load->disturbed();
    return delta == nullptr ? WDB_OK : delta->add(*position, number, nullptr);
}

SessionUnit::SessionUnit(WriterHold hold) : unit_(std::move(hold)) {}
SessionUnit::SessionUnit(WriterHold hold, std::shared_ptr<SystemDirectory> directory)
    : unit_(std::move(hold)), directory_(std::move(directory)) {}
SessionUnit::~SessionUnit() = default;

Result<UnitBase*> SessionUnit::base(const std::shared_ptr<OpenBase>& base, LoadSink* load) {
    if (UnitBase* present = find(*base)) return present;
    if (directory_ == nullptr && !bases_.empty()) return Status{WDB_E_UNSUPPORTED};
    WDB_TRY(base->makeCurrent());
    const auto writer = unit_.writer(base->file());
    if (!writer) return writer.status();
    auto joined = std::make_unique<UnitBase>();
    joined->base = base;
    joined->definition = base->definition();
    joined->writer = *writer;
    joined->load = load;
    if (directory_ == nullptr) (*writer)->forgetWrites();
    joined->firstNew = (*writer)->meta().nextRecord;
    if (load == nullptr) joined->delta = std::make_unique<UnitDelta>(joined->definition->schema);
    bases_.push_back(std::move(joined));
    return bases_.back().get();
}

UnitBase* SessionUnit::find(const OpenBase& base) const {
    const auto place = std::find_if(bases_.begin(), bases_.end(),
                                    [&base](const auto& member) { return member->base.get() == &base; });
    return place == bases_.end() ? nullptr : place->get();
}

std::vector<BaseWrites> SessionUnit::writes() const {
    std::vector<BaseWrites> writes;
    for (const auto& base : bases_) {
        if (base->writer->changed()) writes.push_back({base->base->id(), base->writer});
    }
    return writes;
}

Status SessionUnit::commitAll(int64_t now) {
    WDB_TRY(unit_.prepare(now));
    const std::vector<BaseWrites> several = writes();
    if (several.size() < 2) return unit_.commit(now);
    std::vector<CommitMark> marks;
    for (const auto& base : bases_) {
        if (base->writer->changed()) marks.push_back({base->base->file(), base->writer->commitNumber()});
    }
    uint64_t record = 0;
    Status status = directory_->storeUnit(several, record, unit_.hold());
    if (ok(status)) {
        status = unit_.commit(now);
        if (ok(status)) {
            static_cast<void>(directory_->dropUnit(unit_.hold()));  // else the next writer finds all done
            return WDB_OK;
        }
        if (unit_.anyCommitted() || !noneStands(marks)) return directory_->finishUnit(unit_.hold());
    }
    directory_->refuseUnit(record, unit_.hold());
    return status;
}

Status SessionUnit::commit(int64_t now, bool keepLock) {
    const Status status = commitAll(now);
    if (ok(status)) {
        for (const auto& base : bases_) base->base->unitCommitted(*base);
    }
    bases_.clear();
    if (!keepLock) unit_.release();
    return status;
}

void SessionUnit::drop() {
    bases_.clear();
    unit_.drop();
}

}  // namespace wdb
