// Names and values as CCL takes them: user text can neither end a command nor add to it.
#pragma once

#include <cstdint>
#include <string_view>

#include "src/support/CStringBuffer.h"

namespace wsql {

/// Appends a table name, alias or column name: bare when it reads as one word of letters, digits and
/// underscores (bytes from 128 up count as letters) that is no command word, else in double quotes, inner
/// ones doubled.
void appendCclName(CStringBuffer& out, std::string_view name);

/// Appends the text between double quotes, inner ones doubled.
void appendCclQuoted(CStringBuffer& out, std::string_view text);

/// How the text of a constant is to be understood.
enum class CclValueKind {
    kBare,    ///< number, date or time: letters, digits, signs, points and date separators only
    kText,    ///< text of a comparison or a range: "%" stands for any characters, all others for themselves
    kPattern  ///< text whose wildcards are the kernel's already
};

/// Appends the value, quoted where it has to be. The empty text becomes "".
void appendCclValue(CStringBuffer& out, std::string_view text, CclValueKind kind);

/// A LIKE pattern with the kernel's wildcards: "%" becomes "$", "_" becomes "!"; a backslash takes the
/// meaning from
/// "%" and "!" and vanishes, stays in front of every other character, and vanishes at the end.
void appendLikePattern(CStringBuffer& out, std::string_view pattern);

/// Appends a number in decimal.
void appendNumber(CStringBuffer& out, std::int64_t number);

}  // namespace wsql
