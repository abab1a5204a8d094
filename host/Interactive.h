#pragma once

#include "host/Shell.h"

namespace host {

// Talks with a person on the terminal until they leave.
void runInteractive(Shell& shell);

}  // namespace host
