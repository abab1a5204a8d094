#pragma once

#include <string>

#include "tests/crash/Workload.h"

// What programs do with a home directory whose files may hold anything.
namespace crash {

// Reads, searches, verifies, writes and indexes in a session of its own. Empty: every answer was right, or a
// status said that something is wrong. Else the wrong answers that WdbVerifyBase does not explain.
// `complete`: what is damaged can be built anew from the rest, so that nothing may be missing from the
// contents.
std::string useHome(const std::string& home, const Contents& contents, bool complete);

// Verifies, and reads only what was found sound. Empty: something was found, or everything is as it was.
std::string verifyHome(const std::string& home, const Contents& contents);

// An index file: what it holds can be built anew.
bool isIndex(const std::string& file);

}  // namespace crash
