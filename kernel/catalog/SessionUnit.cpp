#include "kernel/catalog/SessionUnit.h"

#include <algorithm>

#include "kernel/catalog/SystemDirectory.h"
#include "kernel/index/Delta.h"
#include "kernel/record/RecordImage.h"

namespace wdb {

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
    WDB_TRY(directory_->storeUnit(several, unit_.hold()));
    const Status status = unit_.commit(now);
    if (!ok(status) && unit_.anyCommitted()) return directory_->finishUnit(unit_.hold());
    // Done, or nothing of it. A record that cannot be removed is looked at by the next writer.
    const Status cleared = directory_->dropUnit(unit_.hold());
    return ok(status) ? WDB_OK : (ok(cleared) ? status : WDB_E_STORAGE);
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
