#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "kernel/catalog/OpenBase.h"
#include "kernel/catalog/UnitRecord.h"
#include "kernel/common/Status.h"
#include "kernel/storage/WriteUnit.h"

namespace wdb {

class SystemDirectory;
class UnitDelta;

// What a load wants to know of the records that are stored in it.
class LoadSink {
public:
    virtual ~LoadSink() = default;
    virtual Status stored(RecordNumber number, const RecordView& record) = 0;  // a new one, above all others
    virtual void disturbed() = 0;  // a record that was there before was changed or deleted
};

// A base within a write unit. Rules read and write keys, serials and objects through `writer`; records go
// through put() and remove(), which keep the unit's delta (or, in a load, the new index) in step.
struct UnitBase {
    UnitBase();
    ~UnitBase();

    std::shared_ptr<OpenBase> base;
    std::shared_ptr<const BaseDefinition> definition;
    BaseWriter* writer = nullptr;
    std::unique_ptr<UnitDelta> delta;  // null in a load: its session searches the state before it
    LoadSink* load = nullptr;          // of a load: new records share one queue entry
    RecordNumber firstNew = 0;         // numbers from here on were not used before the unit
    RecordNumber highest = 0;          // highest number stored by the load

    // Stores the image of a new record (a number from writer->newRecord(), the highest so far) or of a stored
    // one.
    Status put(RecordNumber number, Slice image);
    // WDB_FAIL, WDB_E_DELETED when there is nothing to delete.
    Status remove(RecordNumber number);
};

// A session's open write unit: storage transactions plus, per base, what the session's own searches need to
// see its writes. One thread; destroyed without commit() nothing was written.
class SessionUnit {
public:
    // A unit for one base.
    explicit SessionUnit(WriterHold hold);
    // A unit that may take in several bases of the directory.
    SessionUnit(WriterHold hold, std::shared_ptr<SystemDirectory> directory);
    ~SessionUnit();

    // Joins a base to the unit, as a load when there is a sink. The pointer stays valid until the unit ends.
    // WDB_E_BASE when the base was dropped, WDB_E_UNSUPPORTED for a second base in a unit for one.
    Result<UnitBase*> base(const std::shared_ptr<OpenBase>& base, LoadSink* load = nullptr);
    // The base's part of the unit, or null when the unit has not written to it.
    UnitBase* find(const OpenBase& base) const;
    // One sync per base; then folds the changes into the process's deltas and gives the lock back, unless it
    // is to be kept for work that follows (unit().takeHold()). `now`: microseconds since 1970 UTC. Several
    // bases change together: the directory keeps the list of the writes until all are committed.
    Status commit(int64_t now, bool keepLock = false);
    void drop();
    WriteUnit& unit() { return unit_; }
    const std::vector<std::unique_ptr<UnitBase>>& bases() const { return bases_; }

private:
    Status commitAll(int64_t now);
    std::vector<BaseWrites> writes() const;

    WriteUnit unit_;
    std::shared_ptr<SystemDirectory> directory_;  // null: for one base
    std::vector<std::unique_ptr<UnitBase>> bases_;
};

}  // namespace wdb
