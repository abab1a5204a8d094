#pragma once

#include <memory>

#include "src/parser/ParseContext.h"
#include "src/tree/WSQLStatement.h"

namespace wsql {

/// Outcome of a parse.
namespace ParseResult {
constexpr int kSuccess = 0;
constexpr int kError = 1;      ///< syntax error, failed check, or a failure of the scanner itself
constexpr int kExhausted = 2;  ///< nested too deeply or out of memory
}  // namespace ParseResult

/// Parses exactly one statement; `text` ends at its NUL. On success `statement` holds the tree. Otherwise it
/// is null, nothing is left allocated and the context has received the reason ("syntax error", "memory
/// exhausted", ...). Throws std::bad_alloc only when not even the reason can be delivered.
int parseStatement(ParseContext& context, const char* text, std::unique_ptr<WSQLStatement>& statement);

}  // namespace wsql
