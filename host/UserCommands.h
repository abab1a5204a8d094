#pragma once

#include "host/UsageError.h"

namespace host {

class Shell;

// The dot commands about users. Passwords are typed without echo or read from a file, never given as a word.
// They throw UsageError, KernelError and std::runtime_error.
void showUsers(Shell& shell, const Words& words);
void addUser(Shell& shell, const Words& words);
void changePassword(Shell& shell, const Words& words);
void removeUser(Shell& shell, const Words& words);

}  // namespace host
