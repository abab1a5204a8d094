#pragma once

#include <string_view>

namespace host {

class Shell;

// Runs one command of the kernel's command language in the session and writes what it found: for a FIND the
// numbers of the records, for a selection a table whose columns carry their positions. At most a block of
// rows is shown, 20 unless the settings say otherwise. A syntax error is shown with a mark below its place;
// other failures throw KernelError.
void runCcl(Shell& shell, std::string_view command);

}  // namespace host
