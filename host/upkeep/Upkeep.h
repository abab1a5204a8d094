#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "host/text/Answer.h"

namespace host {

// What a check of tables found, as a result with the columns TABLE, SEVERITY, RECORD and FINDING. Severities
// are "note", "repairable" (by .reindex) and "damage".
struct CheckReport {
    ResultSet findings;
    std::int64_t damaged = 0;     // findings that are more than notes
    std::int64_t repairable = 0;  // those of them that .reindex mends
};

// All of them show their progress on a terminal, throw KernelError, and change nothing when they fail. Ctrl-C
// ends them likewise, with Interrupted. A table that cannot be read at all is a finding.
CheckReport checkTables(const std::vector<std::string>& tables);
void rebuildIndexes(const std::vector<std::string>& tables);
void compactTables(const std::vector<std::string>& tables);
// A copy of the whole data directory, all tables of one moment, that can be opened as it is. The directory
// must not exist or be empty.
void backup(const std::string& directory);

}  // namespace host
