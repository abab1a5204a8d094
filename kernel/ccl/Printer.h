#pragma once

#include <string>

#include "kernel/ccl/Tree.h"

namespace wdb::ccl {

// A command in its one canonical spelling: canonical command words, one blank between tokens (a column with
// its qualifier and subfield is one token), parentheses around every connective and operator. Reading the
// result gives the same tree.
std::string printCommand(const Command& command);

// The same for parts of a command.
std::string printExpression(const Expression& expression);
std::string printColumn(const Column& column);
std::string printCriterion(const Criterion& criterion);

// Columns and aggregates as the FIELD list names them: FIELD's spelling of a set's columns.
std::string printAggregate(const Aggregate& aggregate);

}  // namespace wdb::ccl
