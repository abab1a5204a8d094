#include "src/SelectSearch.h"

#include "include/wdb.h"
#include "src/DictionarySelect.h"
#include "src/DictionaryTables.h"
#include "src/ElementAt.h"
#include "src/ScalarSubselects.h"
#include "src/SelectCommand.h"
#include "src/SelectJoins.h"
#include "src/WSQLFilter.h"
#include "src/tree/Tree.h"
#include "src/welkhelp/CommandWord.h"

namespace wsql {
namespace {

constexpr const char* kContext = "WSQLFilter::ExecuteSelect";
constexpr const char* kSource = "src/WSQLExecSelect";
constexpr std::uint32_t kNotSupported = static_cast<std::uint32_t>(-4);  ///< fault code

}  // namespace

bool SelectSearch::fault(std::int32_t line, std::uint32_t code, const char* text) {
    filter_.ReportFault(code, text, -1, kSource, line, kContext);
    return false;
}

bool SelectSearch::kernelFault(std::int32_t status, const char* function) {
    filter_.ReportKernelError(status, kContext, function);
    return false;
}

bool SelectSearch::check() {
    filter_.debug(kContext, "About to execute select statement.\n");
    if (select_.functionItemCount() > 0) filter_.debug(kContext, "Checking aggregate functions.\n");
    if (select_.tables->Count() > 1 && (select_.joins->Count() == 0 || !connectJoins(select_))) {
        return fault(730, 0, "JOIN conditions must be specified for multi-table selects.");
    }
    bool parts = false;
    for (std::int32_t i = 0; i < select_.tables->Count(); ++i) {
        WSQLTableRef& table = elementAt(*select_.tables, i);
        filter_.LoadFields(&table);
        if (!table.hasPartRecords || parts) continue;
        filter_.debug(kContext, "Part field(s) selected - creating implicit join.\n");
        parts = true;
    }
    if (parts && select_.tables->Count() > 1) {
        return fault(792, kNotSupported, "Joins not supported between WELK databases with part records.");
    }
    // The dictionary has no search sets that others could combine or compare with.
    const bool rowsAlone = !form_.asSet && !form_.inUnion && !form_.subselect;
    if (!namesDictionary(select_) || (selectsDictionary(select_) && rowsAlone)) return true;
    filter_.ReportUnsupported();
    return false;
}

bool SelectSearch::openTables() {
    if (select_.tables->Count() == 1) {
        const std::string& name = elementAt(*select_.tables, 0).table;
        filter_.debug(kContext, "Opening database \"%s\"\n", name.c_str());
        return filter_.SearchOpenDB(name.c_str());
    }
    for (std::int32_t i = 0; i < select_.tables->Count(); ++i) {
        filter_.IndexDatabase(elementAt(*select_.tables, i).table.c_str(), true, false);
    }
    return true;
}

bool SelectSearch::checkJoinKinds() {
    const std::int32_t count = select_.joins->Count();
    for (std::int32_t i = 1; i < count; ++i) {
        const bool cross = elementAt(*select_.joins, i).kind == JoinKind::kCross;
        if (cross != (elementAt(*select_.joins, i - 1).kind == JoinKind::kCross)) {
            return fault(899, kNotSupported, "CROSS JOIN is not supported when mixed with other JOIN types.");
        }
    }
    return count == 0 || elementAt(*select_.joins, count - 1).kind != JoinKind::kCross ||
           fault(924, kNotSupported, "CROSS JOIN not yet implemented.");
}

bool SelectSearch::run(SearchSet& result) {
    if (selectsDictionary(select_)) {
        auto found = std::make_unique<DictionaryResult>();
        if (!searchDictionary(filter_, select_, *found)) return false;
        result.hits = found->hits();
        filter_.setDictionaryResult(std::move(found));
        return true;
    }
    CStringBuffer where(256);
    if (select_.tables->Count() == 0) {
        bool holds = true;
        if (!filter_.EvaluateConstantCondition(select_.where.get(), holds)) return false;
        result.hits = holds ? 1 : 0;
        if (!form_.asSet) return true;
        // The one row of a set without tables is there unless a condition takes it away.
        return (holds || filter_.TranslateCondition(select_.where.get(), 1, nullptr, &where)) &&
               runCommand(where, result);
    }
    return evaluateSubselects(filter_, select_) && openTables() &&
           filter_.TranslateCondition(select_.where.get(), 1, nullptr, &where) && checkJoinKinds() &&
           runCommand(where, result);
}

bool SelectSearch::runCommand(const CStringBuffer& where, SearchSet& result) {
    const SelectWords words{CommandWord(filter_, "SEL").text(),
                            form_.subselect ? CommandWord(filter_, "SFX").text() : "",
                            CommandWord(filter_, "FRL").text(),
                            count(select_.orderBy) > 0 ? CommandWord(filter_, "DES").text() : ""};
    CStringBuffer command(1024);
    if (!appendSelectCommand(command, select_, words, {where.view(), form_.subselect, form_.inUnion})) {
        return fault(1018, kNotSupported, "Invalid JOIN type.");
    }
    if (filter_.logs(kLogDebug)) filter_.debug(kContext, "Translated statement: \"%s\"\n", command.text());
    std::int32_t status = filter_.ExecuteCommand(command.text());
    if (!WDB_SUCCESS(status)) return kernelFault(status, "ExecuteCCL");
    status = WdbSearchResult(&result.number, &result.hits, nullptr, nullptr, nullptr);
    return WDB_SUCCESS(status) || kernelFault(status, "WdbSearchResult");
}

}  // namespace wsql
