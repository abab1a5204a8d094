#pragma once

#include <string>

#include "kernel/common/Status.h"

namespace wdb::file_system {

// Makes a directory for its owner only (0700) when it is not there; its parent must be. WDB_E_STORAGE.
Status makeDirectory(const std::string& path);
bool isDirectory(const std::string& path);
bool exists(const std::string& path);
// Whether other machines may write the file system too: locks and maps do not hold there.
bool isRemote(const std::string& path);
// The path without links and dots, empty when there is nothing under it.
std::string resolve(const std::string& path);
// Removes a storage file and the file of its locks; what is not there does not matter.
void removeStorage(const std::string& path);
// What stands beside it, for a copy that is going elsewhere.
void removeNotes(const std::string& path);
Status rename(const std::string& from, const std::string& to);
Status syncDirectory(const std::string& path);
// A whole small file; empty when it cannot be read.
std::string read(const std::string& path);
// Makes a small file, readable for its owner only (0600), and brings it to the disk. WDB_E_STORAGE.
Status write(const std::string& path, const std::string& bytes);

}  // namespace wdb::file_system
