#pragma once

#include <cstdint>
#include <memory>

#include "kernel/catalog/SessionUnit.h"
#include "kernel/catalog/SystemDirectory.h"
#include "kernel/common/Progress.h"
#include "kernel/common/Status.h"

namespace wdb {

// A load between its begin and its end: one unit on one base that may grow to any size. Records are put
// through unitBase() as by any other unit; new ones share one queue entry and are inverted on the way into
// new index files.
class LoadJob {
public:
    static Result<std::unique_ptr<LoadJob>> begin(std::shared_ptr<SystemDirectory> directory,
                                                  std::shared_ptr<OpenBase> base, WriterHold hold,
                                                  Progress::Listener listener = nullptr);
    ~LoadJob();  // as end(false)

    const std::shared_ptr<OpenBase>& base() const;
    SessionUnit& unit();
    UnitBase& unitBase();

    // Commit: the records are durable when it answers WDB_OK; then new index files are published when the
    // load was large against the base. Else, or when the listener ends it, nothing remains. The lock is given
    // back in both cases.
    Status end(bool commit, int64_t now);

private:
    struct State;
    explicit LoadJob(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

}  // namespace wdb
