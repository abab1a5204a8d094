// The records that an UPDATE, a DELETE or the storing of an object works on: one search, walked by ordinals.
#pragma once

#include <cstdint>

namespace wsql {

class WSQLCondition;
class WSQLFilter;
class WelkRecord;

/// What the search found. Ordinals run from 1 to count; changing and deleting the records renumbers none.
struct FoundRecords {
    std::int32_t set = 0;    ///< number of the kernel's set
    std::int32_t count = 0;  ///< records
};

/// Runs the condition, which may be null, in the table that SearchOpenDB opened; without one the result is
/// what was searched last, or all records of the table. False after a fault. source names the executor in
/// faults, logContext in the log.
bool searchRecords(WSQLFilter& filter, WSQLCondition* condition, const char* source, const char* logContext,
                   FoundRecords& found);

enum class FoundRecord {
    kOpen,   ///< the control holds the record
    kGone,   ///< somebody deleted it after the search: no fault, the next one is wanted
    kFailed  ///< a fault has been answered
};

/// Opens the record of that ordinal for writing; mode is WDB_MODE_WRITE or WDB_MODE_DELETE. The record object
/// is emptied first. recordId (optional) receives the record's number.
FoundRecord openFound(WSQLFilter& filter, WelkRecord& record, const FoundRecords& found, std::int32_t ordinal,
                      std::int32_t mode, std::int32_t* recordId);

}  // namespace wsql
