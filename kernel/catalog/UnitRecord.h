#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "kernel/common/Ids.h"
#include "kernel/common/Status.h"
#include "kernel/storage/BaseFile.h"
#include "kernel/storage/Environment.h"

namespace wdb {

// One base's part of a unit, prepared and not committed.
struct BaseWrites {
    BaseId id = 0;
    const BaseWriter* writer = nullptr;
};

// The list of the writes of a unit over several bases, in the catalogue (docs/formats/system-directory.md).
// Each base has a transaction of its own, so the list is what makes the unit one: it is durable before the
// first base is committed and goes after the last. The holder of the writer's lock calls these functions.
namespace unit_record {

// `identity` gets a number that no other list has, also when the list could not be stored for certain.
Status store(Environment& catalog, const std::vector<BaseWrites>& bases, uint64_t& identity);
Status clear(Environment& catalog);
// The identity of the list that is there, 0 when there is none.
Result<uint64_t> present(Environment& catalog);

// Path of the base file; nothing when the base is gone.
using PathOf = std::function<std::optional<std::string>(BaseId)>;
// Writes the list to the bases that were not committed, one commit each. May be done again. WDB_E_CORRUPT.
Status apply(Environment& catalog, const PathOf& pathOf);

}  // namespace unit_record

}  // namespace wdb
