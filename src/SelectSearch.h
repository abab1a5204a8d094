// The search of one SELECT: from the validated statement to a numbered set of rows.
#pragma once

#include <cstdint>
#include <string>

namespace wsql {

class CStringBuffer;
class WSQLFilter;
class WSQLStmtSelect;

/// What the set is for.
struct SearchForm {
    bool subselect = false;  ///< its values are compared with
    bool inUnion = false;    ///< the union removes duplicates and sorts
    bool asSet = false;      ///< a set is needed even of a SELECT without FROM
};

/// A set of the kernel. Number 0: no set, the rows are the statement's own constants.
struct SearchSet {
    std::int32_t number = 0;
    std::int32_t hits = 0;  ///< rows
};

class SelectSearch {
public:
    /// Both outlive the search.
    SelectSearch(WSQLFilter& filter, WSQLStmtSelect& select, const SearchForm& form)
        : filter_(filter), select_(select), form_(form) {}

    /// Refuses what no command can ask for. False after a fault; needs no saved status.
    bool check();

    /// Evaluates sub-queries that stand for values, brings the indexes up to date and runs the command. False
    /// after a fault.
    bool run(SearchSet& result);

private:
    bool openTables();
    bool checkJoinKinds();
    bool runCommand(const CStringBuffer& where, SearchSet& result);
    bool fault(std::int32_t line, std::uint32_t code, const char* text);
    bool kernelFault(std::int32_t status, const char* function);

    WSQLFilter& filter_;
    WSQLStmtSelect& select_;
    SearchForm form_;
};

}  // namespace wsql
