#pragma once

#include "host/UsageError.h"

namespace host {

class Shell;

// The dot commands about whole tables. They throw UsageError, KernelError and std::runtime_error.
void showSchema(Shell& shell, const Words& words);
void defineTable(Shell& shell, const Words& words);
void exportRows(Shell& shell, const Words& words);
void dumpScript(Shell& shell, const Words& words);
void beginRows(Shell& shell, const Words& words);
void checkSoundness(Shell& shell, const Words& words);
void reindex(Shell& shell, const Words& words);
void compact(Shell& shell, const Words& words);
void makeBackup(Shell& shell, const Words& words);

}  // namespace host
