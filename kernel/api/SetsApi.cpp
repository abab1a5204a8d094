// Sets looked at and freed, commands read without being run.
#include "kernel/api/ApiCall.h"
#include "kernel/search/SearchSet.h"

namespace wdb::api {
namespace {

Status setInfo(Session& session, int32_t number, WdbSetInfoRecord* info) {
    if (info == nullptr) return WDB_E_ARGUMENT;
    SearchCounts counts;
    WDB_TRY(number == 0 ? session.search.currentResult(counts) : session.search.counts(number, counts));
    session.searched();
    const SearchSet* set = session.search.find(counts.set);
    if (set == nullptr) return WDB_E_CCL_SET;
    *info = WdbSetInfoRecord{};
    info->number = counts.set;
    info->kind = counts.kind;
    info->rows = counts.rows;
    info->records = counts.records;
    info->parts = counts.parts;
    info->columns = set->kind == SetKind::Records ? 0 : static_cast<int32_t>(set->columns.size());
    info->bases = static_cast<int32_t>(set->bases.size());
    if (!set->bases.empty())
        putName(session, set->bases.front().definition->name, info->base, sizeof info->base);
    putName(session, set->command, info->command, sizeof info->command);
    return WDB_OK;
}

Status dropSet(Session& session, int32_t number) {
    WDB_TRY(session.search.drop(number));
    session.searched();
    return WDB_OK;
}

Status checkCcl(Session& session, const char* command, char* canonical, int32_t* length, int32_t* position) {
    const InText text(session, command);
    const auto checked = session.search.check(text);
    if (checked) return putText(&session, *checked, canonical, length);
    const CommandError& error = session.search.error();
    const int32_t at = positionIn(session, text, error.position);
    putNumber(position, at);
    return session.fail(checked.status(), error.subject, at);
}

}  // namespace
}  // namespace wdb::api

using namespace wdb;
using namespace wdb::api;

int32_t WdbSetInfo(int32_t setNumber, WdbSetInfoRecord* info) {
    return call(__func__, [&](Session& session) { return setInfo(session, setNumber, info); });
}

int32_t WdbDropSet(int32_t setNumber) {
    return call(__func__, [&](Session& session) { return dropSet(session, setNumber); });
}

int32_t WdbCheckCcl(const char* command, char* canonical, int32_t* length, int32_t* position) {
    return call(__func__,
                [&](Session& session) { return checkCcl(session, command, canonical, length, position); });
}
