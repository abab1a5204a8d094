#pragma once

#include <string>
#include <vector>

#include "tests/crash/Workload.h"

namespace crash {

// Runs SQL in the bound session: WDB_OK when the answer is a success, else the answer's status.
int32_t runSql(const std::string& sql);

// Statements of the dialect on the rows that prepare() makes.
std::vector<Statement> sqlStatements();

}  // namespace crash
