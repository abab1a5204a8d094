#pragma once

#include <memory>

#include "kernel/ccl/Tree.h"
#include "kernel/search/SearchSet.h"

namespace wdb {

// Makes the set of a UNION: the rows of two row sets (or unions) with equally many columns, the left ones
// first. DISTINCT leaves the first of equal rows and puts the rows in an order in which equal ones would be
// neighbours. The columns' names and types are the left set's; SORT takes their positions only.
class UnionPlan {
public:
    UnionPlan(const ccl::UnionCommand& command, SearchContext& context, Search& search, CommandError& error)
        : command_(command), context_(context), search_(search), error_(error) {}

    // WDB_E_CCL_SET, WDB_E_CCL_FIELD for a position without a column, WDB_E_TYPE.
    Result<std::unique_ptr<SearchSet>> makeSet();

private:
    Status addSide(int32_t number, uint32_t position, SearchSet& set);
    Status sort(SearchSet& set);

    // What sorting and comparing takes from every row: per row a key for each column, and the row's own.
    struct Keys {
        std::vector<std::vector<std::string>> columns;
        std::vector<std::string> rows;
    };
    Status makeKeys(SearchSet& set, Keys& keys);

    const ccl::UnionCommand& command_;
    SearchContext& context_;
    Search& search_;
    CommandError& error_;
};

}  // namespace wdb
