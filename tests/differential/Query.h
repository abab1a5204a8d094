// One SELECT that can be written for both sides.
#pragma once

#include <string>
#include <vector>

#include "tests/differential/Condition.h"

namespace differential {

/// An expression for either side; the twin's answers what the engine's documents show.
struct Expression {
    std::string engine;
    std::string twin;
};

/// One that also sorts: the twin's key compares as the engine's value does.
struct SortedExpression : Expression {
    std::string key;
};

struct OrderItem {
    Expression key;  ///< the twin's compares as the engine's column does
    bool descending = false;
};

struct Query {
    bool distinct = false;
    std::vector<Expression> items;
    Expression from;
    ConditionPtr where;              ///< null: none
    std::vector<Expression> groups;  ///< of GROUP BY; without an engine's text it is the twin's alone
    std::vector<OrderItem> order;
    std::vector<std::string>
        records;                 ///< the twin's record numbers, by which rows come when nothing else says
    bool sequence = true;        ///< the order of the rows is told; else only which rows there are
    std::vector<Query> further;  ///< more members of a UNION; order and page are the first one\'s
    std::vector<std::string>
        sortKeys;      ///< of a UNION's members: the items as they are sorted, k0, k1, ... in the order
    bool all = false;  ///< UNION ALL
    int blockSize = 0, block = 1;  ///< 0: all rows
    std::string fault;             ///< what the engine answers instead of rows; empty: rows
};

std::string forEngine(const Query& query);
std::string forTwin(const Query& query);

/// Smaller queries of the same kind, for narrowing a failure down.
std::vector<Query> simpler(const Query& query);

}  // namespace differential
