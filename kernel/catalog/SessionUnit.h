#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "kernel/catalog/OpenBase.h"
#include "kernel/common/Status.h"
#include "kernel/storage/WriteUnit.h"

namespace wdb {

class BulkIndexBuilder;
class UnitDelta;

// A base within a write unit. Rules read and write keys, serials and objects through `writer`; records go through put()
// and remove(), which keep the unit's delta (or, in a load, the new index) in step.
struct UnitBase {
    UnitBase();
    ~UnitBase();

    std::shared_ptr<OpenBase> base;
    std::shared_ptr<const BaseDefinition> definition;
    BaseWriter* writer = nullptr;
    std::unique_ptr<UnitDelta> delta;     // null in a load
    BulkIndexBuilder* builder = nullptr;  // of a load that builds new index files; new records are handed to it
    bool range = false;                   // a load: new records share one queue entry

    // Stores the image of a new record (a number from writer->newRecord(), the highest so far) or of a stored one.
    Status put(RecordNumber number, Slice image);
    // WDB_FAIL, WDB_E_DELETED when there is nothing to delete.
    Status remove(RecordNumber number);
};

// A session's open write unit: storage transactions plus, per base, what the session's own searches need to see its
// writes. One thread; destroyed without commit() nothing was written.
class SessionUnit {
public:
    explicit SessionUnit(WriterHold hold) : unit_(std::move(hold)) {}
    ~SessionUnit();

    // Joins a base to the unit. The pointer stays valid until the unit ends.
    Result<UnitBase*> base(const std::shared_ptr<OpenBase>& base);
    // The base's part of the unit, or null when the unit has not written to it.
    UnitBase* find(const OpenBase& base) const;
    // One sync per base; then folds the changes into the process's deltas. `now`: microseconds since 1970 UTC.
    Status commit(int64_t now);
    void drop();
    WriteUnit& unit() { return unit_; }
    const std::vector<std::unique_ptr<UnitBase>>& bases() const { return bases_; }

private:
    WriteUnit unit_;
    std::vector<std::unique_ptr<UnitBase>> bases_;
};

}  // namespace wdb
