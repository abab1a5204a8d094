// Command words of the session's language, looked up where a command is built.
#pragma once

#include "include/wdb.h"
#include "src/WSQLFilter.h"

namespace wsql {

/// One command word: constructed from its canonical name, it holds the session's word, or the padded
/// canonical name when the look-up fails.
class CommandWord {
public:
    /// canonical: three letters.
    CommandWord(WSQLFilter& filter, const char* canonical);
    const char* text() const { return text_; }

private:
    char text_[WDB_WORD_SIZE];
};

}  // namespace wsql
