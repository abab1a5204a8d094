// What the validators share: the fault they raise, and what the types of fields allow.
#pragma once

#include <cstdint>

#include "include/wdb.h"

namespace wsql {

/// The unit that validation faults name as their source, beside a line.
inline constexpr const char* kValidationSource = "src/WSQLValidation";

/// The lines that a failed look-up of a column is reported with: in a SELECT, and in the other statements,
/// whose fault names the table or not.
struct ColumnFaultLines {
    std::int32_t select;
    std::int32_t other;
    bool namesTable;
};

/// Whether AVG, SUM, MIN and MAX can work on a field of that type.
constexpr bool isAggregable(std::int32_t type) {
    return type != WDB_T_TEXT && type != WDB_T_PHRASE && type != WDB_T_STRING;
}

}  // namespace wsql
