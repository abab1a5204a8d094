#pragma once

#include <cstdint>
#include <span>

namespace wsql {

class WSQLSymbolTable;

/// One word of the language and its token code.
struct Keyword {
    const char* word;  ///< lower case
    int32_t code;
};

/// All of them, in the order in which they are loaded.
std::span<const Keyword> keywords();

/// Loads the keyword table: names borrowed from the constant table, letter case ignored. What the table held
/// before is removed.
void loadKeywords(WSQLSymbolTable& table);

}  // namespace wsql
