// Lines of a small text file.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace wsql {

// The lines of a file, cut into pieces of at most limit - 1 bytes, without their line feed. Nothing when the
// file cannot be read (a directory, for one). NULs end a line's text.
std::optional<std::vector<std::string>> readLines(const char* path, std::size_t limit);

}  // namespace wsql
