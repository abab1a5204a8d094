// DROP TABLE: the records of a database, as far as they can be deleted, and its definition.
#include "src/StatusScope.h"
#include "src/WSQLFilter.h"
#include "src/tree/Tree.h"
#include "src/welkhelp/CommandWord.h"
#include "src/welkhelp/WelkRecord.h"

namespace wsql {
namespace {

constexpr const char* kContext = "WSQLFilter::ExecuteDropTable";
constexpr std::int32_t kBaseInfoDataFile = 2;

/// WDB_OK when the table exists. A name that is too long is refused, never cut into another one.
std::int32_t findTable(const std::string& name) {
    if (name.size() > WDB_BASE_NAME_MAX) return WDB_E_NAME;
    char file[256];
    std::int32_t length = sizeof file;
    return WdbBaseInfo(name.c_str(), kBaseInfoDataFile, file, &length);
}

/// Deletes what can be deleted: rules of other tables may hold single records. Without its own search nothing
/// is touched, since the current result would be some other one.
void deleteRecords(WSQLFilter& filter, const char* name) {
    const CommandWord find(filter, "FIN"), record(filter, "RXX"), from(filter, "FRL");
    if (!filter.UseZeroSearchSets() || !filter.SearchOpenDB(name)) return;
    if (!WDB_SUCCESS(filter.ExecuteCCL("%s %s=%s 1", find.text(), record.text(), from.text()))) return;
    std::int32_t set = 0, records = 0;
    if (!WDB_SUCCESS(WdbGetSearch(&set, &records, nullptr))) return;
    filter.debug("SQLFilter::ExecuteDropTable", "Dropping %d rows.", records);
    for (std::int32_t k = 1; k <= records; ++k) {
        WelkRecord control;
        std::int32_t recordId = 0;
        if (filter.GetRecordInSearch(control.slot(), set, k, WDB_MODE_DELETE, &recordId))
            WdbDeleteRecordInBase(control.get());
    }
}

}  // namespace

bool WSQLFilter::ExecuteDropTable(WSQLStmtDropTable* drop) {
    const std::string& name = drop->table->table;
    debug(kContext, "Attempting to delete WELK database \"%s\".\n", name.c_str());
    std::int32_t status = findTable(name);
    if (status == WDB_E_NAME) {
        ReportKernelError(status, kContext, "WdbBaseInfo");
        return false;
    }
    if (!WDB_SUCCESS(status)) {
        if (drop->ifExists) {
            ReportSuccess("The table \"%s\" does not exist.", name.c_str());
            return true;
        }
        const std::string text = "The table \"" + name + "\" does not exist.";
        WriteFaultDocument(static_cast<std::uint32_t>(status), text.c_str(), -1, kContext, "WdbBaseInfo");
        return false;
    }
    {
        StatusScope searchState(*this, kContext);
        deleteRecords(*this, name.c_str());
        searchState.restore();
    }
    WdbBaseDef definition{};
    WdbGetBaseDef(name.c_str(), &definition);  // leaves no current definition when it fails
    status = WdbDeleteBaseDef();
    if (!WDB_SUCCESS(status)) {
        // The source is the previous call's: hosts know it so.
        ReportKernelError(status, "WdbGetBaseDef", kContext);
        return false;
    }
    ReportSuccess("The table \"%s\" was successfully dropped.", name.c_str());
    return true;
}

}  // namespace wsql
