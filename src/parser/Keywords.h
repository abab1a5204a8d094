#pragma once

#include <cstdint>

namespace wsql {

class WSQLSymbolTable;

/// One word of the language and its token code. The table ends at the first entry whose code is 0.
struct Keyword {
    const char* word;  ///< lower case
    int32_t code;
};

extern const Keyword kKeywords[];

/// Loads the keyword table: names borrowed from the constant table, letter case ignored. What the table held
/// before is removed.
void loadKeywords(WSQLSymbolTable& table);

}  // namespace wsql
