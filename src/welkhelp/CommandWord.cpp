#include "src/welkhelp/CommandWord.h"

#include <cstring>

namespace wsql {

CommandWord::CommandWord(WSQLFilter& filter, const char* canonical) {
    std::memset(text_, ' ', WDB_WORD_MAX);
    text_[WDB_WORD_MAX] = '\0';
    std::memcpy(text_, canonical, strnlen(canonical, WDB_WORD_MAX));
    const auto known = filter.facts().word(canonical);
    if (known && known->size() <= WDB_WORD_MAX) {
        std::memcpy(text_, known->data(), known->size());
        text_[known->size()] = '\0';
    } else {
        filter.GetShellSymbol(text_);
    }
}

}  // namespace wsql
