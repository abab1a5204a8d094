#include "src/welkhelp/CommandWord.h"

#include <cstring>

namespace wsql {

CommandWord::CommandWord(WSQLFilter& filter, const char* canonical) {
    std::memset(text_, ' ', WDB_WORD_MAX);
    text_[WDB_WORD_MAX] = '\0';
    std::memcpy(text_, canonical, strnlen(canonical, WDB_WORD_MAX));
    filter.GetShellSymbol(text_);
}

}  // namespace wsql
