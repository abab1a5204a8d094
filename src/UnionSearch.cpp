#include "src/UnionSearch.h"

#include "include/wdb.h"
#include "src/ElementAt.h"
#include "src/WSQLFilter.h"
#include "src/tree/Tree.h"
#include "src/welkhelp/CclText.h"
#include "src/welkhelp/CommandWord.h"

namespace wsql {
namespace {

constexpr const char* kContext = "WSQLFilter::ExecuteUnion";

class UnionSearch {
public:
    explicit UnionSearch(WSQLFilter& filter)
        : filter_(filter), select_(filter, "SEL"), descending_(filter, "DES") {}

    bool run(WSQLStmtSelect& first, SearchSet& result) {
        if (!searchMember(first, result)) return false;
        bool all = first.unionAll;
        for (WSQLStmtSelect* member = first.nextUnion.get(); member != nullptr;
             member = member->nextUnion.get()) {
            SearchSet set;
            if (!searchMember(*member, set) || !combine(all, *member, set, result)) return false;
            all = member->unionAll;
        }
        return true;
    }

private:
    bool searchMember(WSQLStmtSelect& member, SearchSet& set) {
        SelectSearch search(filter_, member, {false, true, true});
        if (!search.check() || !search.run(set)) return false;
        filter_.debug("WSQLFilter::ExecuteSelect", "Search yielded hits in %d records.\n", set.hits);
        return true;
    }

    bool combine(bool all, const WSQLStmtSelect& member, const SearchSet& set, SearchSet& result) {
        CStringBuffer command(64);
        command.append(select_.text());
        command.append(all ? " ALL" : " DISTINCT");
        command.append(" UNION(");
        appendNumber(command, result.number);
        command.append(',');
        appendNumber(command, set.number);
        command.append(')');
        // Only the last member can be ordered, and it orders the whole.
        if (count(member.orderBy) > 0) appendSort(command, member);
        filter_.debug(kContext, "About to execute UNION: %s\n", command.text());
        std::int32_t status = filter_.ExecuteCommand(command.text());
        if (!WDB_SUCCESS(status)) return kernelFault(status, "ExecuteCCL");
        status = WdbSearchResult(&result.number, &result.hits, nullptr, nullptr, nullptr);
        if (!WDB_SUCCESS(status)) return kernelFault(status, "WdbSearchResult");
        filter_.debug(kContext, "UNION select (set #%d) yielded hits in %d records.", result.number,
                      result.hits);
        return true;
    }

    void appendSort(CStringBuffer& command, const WSQLStmtSelect& member) const {
        command.append(" SORT(");
        for (std::int32_t i = 0; i < member.orderBy->Count(); ++i) {
            const WSQLOrderByItem& order = elementAt(*member.orderBy, i);
            if (i > 0) command.append(',');
            appendNumber(command, order.position);
            if (!order.descending) continue;
            command.append(' ');
            command.append(descending_.text());
        }
        command.append(')');
    }

    bool kernelFault(std::int32_t status, const char* function) {
        filter_.ReportKernelError(status, kContext, function);
        return false;
    }

    WSQLFilter& filter_;
    CommandWord select_;
    CommandWord descending_;
};

}  // namespace

bool searchUnion(WSQLFilter& filter, WSQLStmtSelect& first, SearchSet& result) {
    return UnionSearch(filter).run(first, result);
}

}  // namespace wsql
