#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "src/tree/DateForm.h"

namespace wsql {

class WSQLSymbolTable;
class WSQLTimestamp;

/// What the scanner and the grammar's actions ask of the call that they parse for. `WSQLFilter` is the one
/// that serves real statements; tests bring their own and need no kernel.
class ParseContext {
public:
    virtual ~ParseContext() = default;

    /// The keywords (see loadKeywords). Null: every word is a name. Owned by the context.
    virtual const WSQLSymbolTable* symbolTable() const = 0;

    /// Takes the finished text of a parse error, replacing an earlier one. It is user text: never a format.
    virtual void parserMessage(std::string_view text) = 0;

    /// The date and time that every CURRENT_* of this statement stands for; asked only when one is met. The
    /// context keeps it from the first question until the next statement. Never null.
    virtual const WSQLTimestamp* statementInstant() = 0;

    /// The session's date form and its separators; asked only when a date is met.
    virtual DateSettings dateSettings() = 0;
};

}  // namespace wsql
