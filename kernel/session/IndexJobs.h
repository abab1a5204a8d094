#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "kernel/catalog/OpenBase.h"
#include "kernel/catalog/SystemDirectory.h"
#include "kernel/common/Status.h"

namespace wdb {

// Index jobs of a session that run in the background, one after another on a thread of their own. Destroyed
// when all of them are done.
class IndexJobs {
public:
    explicit IndexJobs(std::shared_ptr<SystemDirectory> directory);
    ~IndexJobs();

    // A job of kind 2 for the base; one that waits or runs already takes the request over. WDB_E_INDEX when
    // there is no thread to run it. `now`: see SessionClock.
    Status submit(const std::shared_ptr<OpenBase>& base, bool mayMerge, int64_t now);

private:
    struct Worker;
    std::shared_ptr<SystemDirectory> directory_;
    std::unique_ptr<Worker> worker_;  // made with the first job
};

}  // namespace wdb
