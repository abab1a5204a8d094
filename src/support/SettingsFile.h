// Installation-wide settings: the process environment, then the lines of the installation's settings file.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace wsql {

// The value of name: the environment's (at most 1024 bytes), else that of the first line "name=value" of the
// settings file (names compare without regard to case; the value ends before the first "#" and the white
// space in front of it). The file's lines are read once per thread: a later change of the file is not seen by
// a thread that has read it.
std::optional<std::string> settingsFileValue(const char* name);

// The lines of a settings file, at most 511 bytes of each, trailing white space removed; nothing when it
// cannot be opened.
std::optional<std::vector<std::string>> readSettingsLines(const char* path);

// The look-up in such lines.
std::optional<std::string> findSetting(const std::vector<std::string>& lines, const char* name);

}  // namespace wsql
