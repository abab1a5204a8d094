#pragma once

#include <string>
#include <vector>

#include "kernel/catalog/BaseDefinition.h"

namespace wdb {

// Names the index files after the base file and the generation.
void nameIndexFiles(BaseDefinition& definition);
// Names all three files so that none of them stands in the definition's directory: as the maker of the base
// wanted, or with a number behind the name.
void nameFiles(BaseDefinition& definition);
// Base, word and value file.
std::vector<std::string> pathsOf(const BaseDefinition& definition);

}  // namespace wdb
