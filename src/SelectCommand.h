// The one command that a SELECT becomes. Needs no kernel, only the command words.
#pragma once

#include <string>
#include <string_view>

#include "src/support/CStringBuffer.h"

namespace wsql {

class WSQLStmtSelect;

/// Words of the session's command language.
struct SelectWords {
    std::string select;      ///< SEL
    std::string subselect;   ///< SFX
    std::string from;        ///< FRL
    std::string descending;  ///< DES
};

/// What the statement itself does not tell.
struct SelectForm {
    std::string_view where;  ///< the translated condition; empty: none
    bool subselect = false;  ///< run for its values
    bool inUnion = false;    ///< a member of a union: the union removes duplicates and sorts
};

/// Appends the command for a validated statement. False for a join of a kind that no command knows.
bool appendSelectCommand(CStringBuffer& out, const WSQLStmtSelect& select, const SelectWords& words,
                         const SelectForm& form);

}  // namespace wsql
