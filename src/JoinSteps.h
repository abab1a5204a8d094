// FROM t JOIN u ... as written becomes a FROM list and join entries.
#pragma once

namespace wsql {

class WSQLStmtSelect;

/// Moves the tables of a written join into the FROM list, in their order. The steps keep everything else.
void takeJoinTables(WSQLStmtSelect& select);

/// Turns the steps into join entries and drops the written form. The field lists of the tables are loaded;
/// columns are not bound yet. ON gives an entry per comparison, the later table on the right (operands that
/// stand the other way round are exchanged and their operator mirrored); USING one per column; NATURAL and
/// CROSS, and a step without any condition, one entry without columns.
void makeJoinEntries(WSQLStmtSelect& select);

}  // namespace wsql
