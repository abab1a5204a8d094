#pragma once

#include <string>
#include <vector>

#include "bench/compare/Package.h"

namespace compare {

// The packages of a file of Debian control records (see scripts/catalogue); the first record of a name
// counts. Empty when the file cannot be read.
std::vector<Package> readCatalogue(const std::string& path);

}  // namespace compare
