#pragma once

#include <string>
#include <vector>

#include "tests/crash/Workload.h"

namespace crash {

// Runs SQL in the bound session: WDB_OK when the answer is a success, else the answer's status.
int32_t runSql(const std::string& sql);

// One statement of each kind for a home made by prepare(): through the kernel's interface, then as SQL.
std::vector<Statement> everyKind();

}  // namespace crash
