#include "kernel/jobs/IndexShrink.h"

#include "kernel/catalog/IndexFiles.h"
#include "kernel/common/Progress.h"
#include "kernel/storage/FileCopy.h"

namespace wdb {
namespace {

Result<bool> shrinkIsDue(const Txn& words, const Txn& values, uint64_t least) {
    const Result<uint64_t> freeWords = words.freeBytes(), freeValues = values.freeBytes();
    if (!freeWords) return freeWords.status();
    if (!freeValues) return freeValues.status();
    const uint64_t used = words.environment()->usedBytes() + values.environment()->usedBytes();
    const uint64_t free = *freeWords + *freeValues;
    return free >= least && free >= used / 5 * 2;
}

}  // namespace

Status shrinkIndexIfDue(SystemDirectory& directory, OpenBase& base, const WriterHold& hold, uint64_t least) {
    const auto files = base.indexFiles();
    if (files == nullptr) return WDB_E_CORRUPT;
    const auto words = files->words->read();
    const auto values = files->values->read();
    if (!words) return words.status();
    if (!values) return values.status();
    const Result<bool> due = shrinkIsDue(*words, *values, least);
    if (!due || !*due) return due.status();
    const auto present = directory.definition(base.definition()->name);
    if (!present) return present.status();
    BaseDefinition next = **present;
    WDB_TRY(directory.planIndexFiles(next, hold));
    Progress progress;
    WDB_TRY(copyFile(*words, next.wordPath(), progress));
    WDB_TRY(copyFile(*values, next.valuePath(), progress));
    WDB_TRY(directory.storeBase(next, hold));
    const auto stored = directory.definition(next.name);
    return stored ? base.refresh(*stored) : stored.status();
}

}  // namespace wdb
