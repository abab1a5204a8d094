#pragma once

#include <string>
#include <string_view>

#include "host/text/Answer.h"
#include "host/text/StatementSplitter.h"

namespace host {

// "fault CODE: MESSAGE" and, with `verbose`, source and context on a second line.
std::string faultText(const Fault& fault, bool verbose);

// Where in the statement the fault is, as far as that is known: the line with a mark below the name that the
// message speaks of, or below a quote that nothing closes. `source` names the file ("" for a terminal), and
// the statement its line in it. Empty when no place is known and there is no file to name.
std::string faultPlace(const Fault& fault, const Statement& statement, std::string_view source);

}  // namespace host
