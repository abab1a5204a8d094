#pragma once

#include "kernel/ccl/CommandWords.h"
#include "kernel/ccl/Tree.h"
#include "kernel/common/Status.h"

namespace wdb::ccl {

// Reads one command line. WDB_E_CCL_LENGTH for a text longer than WDB_COMMAND_MAX; WDB_E_CCL_SYNTAX with the
// byte offset (from 0) of the first token that does not fit in *errorPosition. Reads names and values as
// texts: it knows no base and no field. Time and memory grow with the length of the text only, the use of the
// thread's stack not at all.
//
// Grammar (upper-case words in any accepted spelling):
//
//   BAS [name =] name {, [name]}
//   FIN expression
//   DEF FIN MIN = integer
//   SEL [SFX] [DISTINCT] FRL ( [base [alias] {, ...}] ) FIELD ( [entry {, entry}] )
//       {INNER|LEFT|RIGHT ( column comparison column )} [WHR ( expression )] [SORT ( ... )] [GROUP ( ... )]
//   SEL ALL|DISTINCT UNION ( set, set ) [SORT ( position [DES] {, ...} )]
Result<Command> readCommand(std::string_view text, const CommandWords& words, size_t* errorPosition);

}  // namespace wdb::ccl
