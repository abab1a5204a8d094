// The one place that knows which statements the engine reads but cannot answer yet.
#pragma once

namespace wsql {

class WSQLStmtInsert;
class WSQLStmtSelect;

/// Statements that validation cannot complete: unions, several tables, the dictionary, sub-queries.
bool beyondValidation(const WSQLStmtSelect& select);
/// Statements that are checked in full and then have no execution: DISTINCT, GROUP BY, aggregates, arithmetic
/// over columns.
bool beyondExecution(const WSQLStmtSelect& select);
/// INSERT ... SELECT, and values that have to be searched for.
bool beyondExecution(const WSQLStmtInsert& insert);

}  // namespace wsql
