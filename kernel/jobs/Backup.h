#pragma once

#include <memory>
#include <string>

#include "kernel/catalog/OpenBase.h"
#include "kernel/catalog/SystemDirectory.h"
#include "kernel/common/Progress.h"
#include "kernel/common/Status.h"

namespace wdb {

// Copies one state of the three files of a base into a directory, under their own names, while others work.
// The directory is made when it is not there. WDB_E_EXISTS when a file of such a name stands in it,
// WDB_E_STORAGE; nothing is left behind by a copy that fails or is ended.
Status backupBase(OpenBase& base, const std::string& directory, Progress& progress);

// Copies the whole home directory, all bases of one moment, so that the copy is a home directory: the
// writer's lock is held while the states are taken, not while they are copied. Bases that lie outside get
// their place in the copy's directory `bases`. The catalogue comes last, so that a directory that has one is
// a whole copy. WDB_E_EXISTS when it has one before.
Status backupHome(SystemDirectory& home, const std::string& directory, std::chrono::milliseconds patience,
                  Progress& progress);

// Writes the files of a base anew without free pages, under new names, and publishes these. The writer's lock
// is held by the caller.
Status compactBase(SystemDirectory& home, const std::shared_ptr<OpenBase>& base, const WriterHold& hold,
                   Progress& progress);

}  // namespace wdb
