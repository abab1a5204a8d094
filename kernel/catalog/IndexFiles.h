#pragma once

#include <memory>

#include "kernel/catalog/BaseDefinition.h"
#include "kernel/common/Status.h"
#include "kernel/storage/Environment.h"

namespace wdb {

// The open word and value file of a base, of one generation. Whoever reads them keeps them alive; their names
// may be gone.
struct IndexFiles {
    std::shared_ptr<Environment> words;
    std::shared_ptr<Environment> values;

    // WDB_E_STORAGE when one is missing, WDB_E_CORRUPT when one is damaged or of another format.
    static Result<std::shared_ptr<const IndexFiles>> open(const BaseDefinition& definition, bool readOnly);
};

}  // namespace wdb
