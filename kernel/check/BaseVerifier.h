#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "kernel/catalog/BaseSnapshot.h"
#include "kernel/common/Progress.h"
#include "kernel/common/Status.h"

namespace wdb {

enum class Severity : int32_t { Note = 1, Repairable = 2, Damage = 3 };

struct VerifyOptions {
    bool skipIndex = false;
    bool stopAtFirst = false;
    Progress* progress = nullptr;  // counts records, once and once more per field; an end is the status
};

// One finding; record 0 when it concerns no single record. False ends the check.
using FindingSink = std::function<bool(Severity severity, RecordNumber record, const std::string& text)>;

// Walks the pages of a base's three files, before anything reads them by the storage library. WDB_OK when the
// base file is sound; `indexDamaged` then tells whether an index file is not. Else WDB_E_CORRUPT.
Status verifyFiles(OpenBase& base, const VerifyOptions& options, const FindingSink& report,
                   bool& indexDamaged);

// Reads a whole base: every record decodes, every value fits its type, unique keys match the records, and
// every live record that is not pending is in the index exactly with its terms and nothing else is. WDB_OK
// when sound, else WDB_E_CORRUPT; notes do not count.
Status verifyBase(const BaseSnapshot& snapshot, const VerifyOptions& options, const FindingSink& report);

}  // namespace wdb
