// The one place that knows which statements the engine reads but cannot answer yet.
#pragma once

namespace wsql {

class WSQLStmtInsert;

/// INSERT ... SELECT, and values that have to be searched for.
bool beyondExecution(const WSQLStmtInsert& insert);

}  // namespace wsql
