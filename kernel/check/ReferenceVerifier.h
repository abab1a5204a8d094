#pragma once

#include <chrono>

#include "kernel/catalog/SystemDirectory.h"
#include "kernel/check/BaseVerifier.h"

namespace wdb {

// Looks up every value of the base's referential rules among the keys that it refers to. Bases are read one
// after the other, so that what seems to be missing is looked at again under the writer's lock, unless the
// caller has it: WDB_E_LOCKED when that is not to be had. `snapshot` takes the state of a base that the
// caller sees. WDB_OK when sound, else WDB_E_CORRUPT.
struct ReferenceCheck {
    SystemDirectory& directory;
    std::function<Result<BaseSnapshot>(const std::shared_ptr<OpenBase>&)> snapshot;
    bool holdsLock = false;
    std::chrono::milliseconds patience{0};
};
Status verifyReferences(const std::shared_ptr<OpenBase>& base, const ReferenceCheck& check,
                        const VerifyOptions& options, const FindingSink& report);

}  // namespace wdb
