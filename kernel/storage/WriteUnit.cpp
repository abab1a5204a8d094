#include "kernel/storage/WriteUnit.h"

#include <algorithm>

namespace wdb {

BaseWriter* WriteUnit::find(const BaseFile* file) const {
    const auto place = std::find_if(members_.begin(), members_.end(),
                                    [file](const Member& member) { return member.file.get() == file; });
    return place == members_.end() ? nullptr : place->writer.get();
}

Result<BaseWriter*> WriteUnit::writer(const std::shared_ptr<BaseFile>& file) {
    if (BaseWriter* present = find(file.get())) return present;
    auto made = file->write();
    if (!made) return made.status();
    members_.push_back({file, std::move(*made)});
    return members_.back().writer.get();
}

bool WriteUnit::empty() const {
    return std::none_of(members_.begin(), members_.end(),
                        [](const Member& member) { return member.writer->changed(); });
}

Status WriteUnit::prepare(int64_t now) {
    for (Member& member : members_) WDB_TRY(member.writer->prepare(now));
    return WDB_OK;
}

Status WriteUnit::commit(int64_t now) {
    Status status = WDB_OK;
    for (Member& member : members_) {
        status = member.writer->commit(now);
        if (!ok(status)) break;
        anyCommitted_ = true;
    }
    members_.clear();
    return status;
}

void WriteUnit::drop() {
    members_.clear();
    hold_.release();
}

}  // namespace wdb
