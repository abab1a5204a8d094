// The checks of join entries, and the order that the kernel takes them in.
#pragma once

namespace wsql {

class WSQLFilter;
class WSQLStmtSelect;

/// Binds the columns of every entry. A NATURAL entry between different tables gives way to one plain entry
/// for each pair of fields of one name and type; between a table and itself it compares the primary key with
/// itself. False after a fault.
bool validateJoins(WSQLFilter& filter, WSQLStmtSelect& select);

/// Whether the entries reach every FROM table from the first one. Inner entries that come before the ones
/// that reach their tables are moved behind them.
bool connectJoins(WSQLStmtSelect& select);

}  // namespace wsql
